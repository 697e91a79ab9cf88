#include <gtest/gtest.h>

#include "common/kernel/debug.h"

TEST(Debug, BannerIsFourExactLinesThenAbort)
{
    EXPECT_DEATH(Debug_Assert("x > 0", "common/kernel/demo", 42),
                 "^\\*\\*\\* TOLLENSTRAND ASSERTION \\*\\*\\*\nexpression: x > 0\n"
                 "file: common/kernel/demo\nline: 42\n$");
}

TEST(Debug, PrintfAndWarningSendTheSameBytesWithoutLineEnd)
{
    testing::internal::CaptureStderr();
    Debug_Printf("%s=%d;", "a", 7);
    Debug_Warning("%s=%d;", "a", 7);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "a=7;a=7;");
}

TEST(Debug, TextLongerThanTheBufferIsSentWhole)
{
    std::string const sLong(3000, 'q');
    testing::internal::CaptureStderr();
    Debug_Printf("<%s>", sLong.c_str());
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "<" + sLong + ">");
}
