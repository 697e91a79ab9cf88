#include <gtest/gtest.h>

#include <string>

#include "common/log/zrlog.h"

using testing::internal::CaptureStderr;
using testing::internal::GetCapturedStderr;

TEST(ZRLog, NoSinkDeliversNothing)
{
    CaptureStderr();
    EXPECT_TRUE(_ZR_Log_Fn("a.src", "Unknown", "", 12, 0, 0, 5, "%s", "quiet"));
    EXPECT_EQ(GetCapturedStderr(), "");
}

TEST(ZRLog, DebuggerSinkGetsTheMessageAndALineFeed)
{
    CaptureStderr();
    EXPECT_TRUE(_ZR_Log_Fn("a.src", "Unknown", "", 12, 0, LOG_DEBUGOUTPUT, 5, "%s %d", "ok", 7));
    // Null texts count as empty; other sink bits deliver nothing here yet.
    EXPECT_TRUE(
        _ZR_Log_Fn(nullptr, nullptr, nullptr, 1, 0, LOG_DEBUGOUTPUT | LOG_FILE, 5, "%s", "second"));
    EXPECT_EQ(GetCapturedStderr(), "ok 7\nsecond\n");
}

TEST(ZRLog, MessageIsCutTo255AndNotFormattedTwice)
{
    std::string const sLong(300, 'x');
    CaptureStderr();
    _ZR_Log_Fn("a.src", "Unknown", "", 1, 0, LOG_DEBUGOUTPUT, 5, "%s", sLong.c_str());
    _ZR_Log_Fn("a.src", "Unknown", "", 1, 0, LOG_DEBUGOUTPUT, 5, "%s", "100%d %s");
    EXPECT_EQ(GetCapturedStderr(), std::string(255, 'x') + "\n100%d %s\n");
}
