#include <gtest/gtest.h>

#include <string>

#include "common/log/zrlog.h"

TEST(ZRLog, OnlyTheDebuggerSinkWritesTheMessageWithALineFeed)
{
    testing::internal::CaptureStderr();
    EXPECT_TRUE(_ZR_Log_Fn("a.src", "Unknown", "", 12, 0, 0, 5, "%s", "quiet"));
    EXPECT_TRUE(_ZR_Log_Fn("a.src", "Unknown", "", 12, 0, LOG_DEBUGOUTPUT, 5, "%s %d", "ok", 7));
    // Null texts count as empty; without a log name the file sink writes nothing.
    EXPECT_TRUE(
        _ZR_Log_Fn(nullptr, nullptr, nullptr, 1, 0, LOG_DEBUGOUTPUT | LOG_FILE, 5, "%s", "second"));
    // Messages are cut to 255 and not formatted a second time.
    _ZR_Log_Fn("a.src", "Unknown", "", 1, 0, LOG_DEBUGOUTPUT, 5, "%s",
               std::string(300, 'x').c_str());
    _ZR_Log_Fn("a.src", "Unknown", "", 1, 0, LOG_DEBUGOUTPUT, 5, "%s", "100%d %s");
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "ok 7\nsecond\n" + std::string(255, 'x') + "\n100%d %s\n");
}
