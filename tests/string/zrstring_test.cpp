#include <gtest/gtest.h>

#include "common/string/zrstring.h"

TEST(ZRString, EmptyStatesAndNullText)
{
    CZRString sDefault;
    CZRString sFromEmpty("");
    EXPECT_EQ(sDefault.GetLength(), 0);
    EXPECT_EQ(sDefault.GetString(), nullptr);
    EXPECT_EQ(sFromEmpty.GetString(), nullptr);

    CZRString sText("abc");
    sText = "";
    EXPECT_EQ(sText.GetLength(), 0);
    ASSERT_NE(sText.GetString(), nullptr);
    EXPECT_EQ(sText.GetString()[0], '\0');
}
