// logmon end to end: the built tool serves "\\.\mailslot\debug", another process logs
// through the mailslot sink, and the records are read back from logmon's output.
#include <gtest/gtest.h>

#include <cstdint>
#include <cstdlib>
#include <map>
#include <string>
#include <thread>
#include <vector>

#include "common/log/zrlog.h"
#include "common/mailslot/zrmailslot.h"
#include "logtext.h"
#include "testos.h"

namespace
{
// Guards against a hang only; every wait normally ends within milliseconds.
constexpr int HANG_GUARD_MILLISECONDS = 30000;

// Why the end of logmon (its exit code and counts) can't be checked; all before is.
char const * const CANT_INTERRUPT =
    "Ctrl-C can't reach logmon: this process has no console to carry it (wine without one)";

// A process that logs through the mailslot sink what it is told (tests/logsender); it
// waits for its commands, so that a test can learn its id before it logs.
void StartSender(CTestProcess & Sender)
{
    ASSERT_TRUE(Sender.Start({TEST_ToolPath("../tests/logsender")}))
        << "logsender is not built: " << TEST_ToolPath("../tests/logsender");
}

// The command of one record for logsender.
std::string Record(std::string const & sFile, std::string const & sLog,
                   std::string const & sContext, std::uint32_t ulLine, std::uint32_t ulLevel,
                   std::string const & sMessage)
{
    return "log\t" + sFile + "\t" + sLog + "\t" + sContext + "\t" + std::to_string(ulLine) + "\t" +
           std::to_string(ulLevel) + "\t" + sMessage + "\n";
}

// Ends the sender's input and gives its exit code.
int EndSender(CTestProcess & Sender)
{
    Sender.CloseInput();
    return Sender.Wait();
}

// How logmon names the sender of a record of process ulPid, in a line and in JSON: the
// system tells it on Linux, not on Windows.
std::string SenderTag(std::uint32_t ulPid)
{
    if (!TEST_MailSlotTellsSender())
        return "[sender unknown] ";
    return "[pid " + std::to_string(ulPid) + " uid " + std::to_string(TEST_UserId()) + "] ";
}

std::string SenderJson(std::uint32_t ulPid)
{
    if (!TEST_MailSlotTellsSender())
        return ",\"sender_pid\":null,\"sender_uid\":null,\"pid_differs\":false}";
    return ",\"sender_pid\":" + std::to_string(ulPid) +
           ",\"sender_uid\":" + std::to_string(TEST_UserId()) + ",\"pid_differs\":false}";
}

// Runs one logmon with its stdout and stderr on pipes.
class LogMon : public testing::Test
{
protected:
    // Starts logmon and waits until it serves the slot; skips the test when another
    // process serves it already.
    void Serve(std::vector<std::string> vArgs)
    {
        vArgs.insert(vArgs.begin(), TEST_ToolPath("logmon/logmon"));
        ASSERT_TRUE(m_LogMon.Start(vArgs)) << "logmon is not built: " << vArgs[0];
        std::string sLine;
        ASSERT_TRUE(ReadLine(2, sLine));
        if (sLine.find("cannot serve") != std::string::npos)
            GTEST_SKIP() << "another process serves \\\\.\\mailslot\\debug: " << sLine;
        ASSERT_EQ(sLine, "logmon: serving \\\\.\\mailslot\\debug, Ctrl-C ends");
    }

    // The next whole line of stdout (1) or stderr (2), without its line end.
    bool ReadLine(int nStream, std::string & sLine)
    {
        return m_LogMon.ReadLine(nStream, sLine, HANG_GUARD_MILLISECONDS);
    }

    // The next stdout line matched against its parts around the tick.
    void ExpectLine(std::string const & sBefore, std::string const & sAfter)
    {
        std::string sLine;
        ASSERT_TRUE(ReadLine(1, sLine));
        EXPECT_TRUE(MatchesWithTicks(sLine, {sBefore, sAfter})) << sLine;
    }

    // Ctrl-C, then the exit status; -1 when logmon did not end by itself.
    int Interrupt() { return m_LogMon.Interrupt(); }

    CTestProcess m_LogMon;
};
} // namespace

TEST_F(LogMon, PrintsRecordsOfAnotherProcessAndReportsMalformedOnes)
{
    std::string const sLog = "e2e-" + std::to_string(TEST_ProcessId());
    Serve({"--log", sLog});
    if (IsSkipped() || HasFatalFailure())
        return;

    // A block whose first length runs past the 400 bytes.
    CZRMailSlot Client;
    Client.Open("\\\\.\\mailslot\\debug", false);
    Client.BeginWrite();
    std::int32_t const lBadLength = 1000;
    Client.Write(&lBadLength, 4);
    Client.EndWrite();

    CTestProcess Sender;
    StartSender(Sender);
    std::string const sPid = std::to_string(Sender.Id());
    std::string const sPrefix = SenderTag(Sender.Id()) + HostName() + " | " + sLog + " | " + sPid;
    EXPECT_TRUE(Sender.Write(Record("a.src", sLog, "", 1, 5, "first") +
                             Record("b.src", "other log", "", 2, 5, "filtered out") +
                             Record("b.src", sLog, "ctx", 2, 3, "second | 100%d") +
                             Record("c.src", sLog, "", 0xFFFFFFFF, 5, "third")));
    EXPECT_EQ(EndSender(Sender), 0);

    std::string sLine;
    ASSERT_TRUE(ReadLine(2, sLine));
    EXPECT_EQ(sLine, "logmon: malformed record (a length runs past the 400 bytes), skipped");
    ExpectLine(sPrefix + " | 5 | ", " |  | a.src | 1 | first");
    ExpectLine(sPrefix + " | 3 | ", " | ctx | b.src | 2 | second | 100%d");
    ExpectLine(sPrefix + " | 5 | ", " |  | c.src | -1 | third");
    if (!TEST_CanInterrupt())
        GTEST_SKIP() << CANT_INTERRUPT;
    EXPECT_EQ(Interrupt(), 0);
}

TEST_F(LogMon, PrintsJsonFilteredByLevelAndProcess)
{
    std::string const sLog = "e2e-json-" + std::to_string(TEST_ProcessId());
    CTestProcess Sender;
    StartSender(Sender);
    std::string const sChild = std::to_string(Sender.Id());
    Serve({"--json", "--level", "7", "--pid", sChild});
    if (IsSkipped() || HasFatalFailure())
        return;
    // This process is not the one asked for.
    _ZR_Log_Fn("a.src", sLog.c_str(), "", 9, 0, LOG_MAILSLOT, 7, "%s", "parent");
    EXPECT_TRUE(Sender.Write(Record("a.src", sLog, "", 1, 7, "a") +
                             Record("a.src", sLog, "", 2, 5, "b") +
                             Record("a.src", sLog, "q\"uote\\\x01\xE9", 3, 7, "c")));
    EXPECT_EQ(EndSender(Sender), 0);

    std::string const sPrefix = "{\"computer\":\"" + HostName() + "\",\"log\":\"" + sLog +
                                "\",\"pid\":" + sChild + ",\"level\":7,\"tick\":\"";
    std::string const sSender = SenderJson(Sender.Id());
    ExpectLine(sPrefix,
               "\",\"context\":\"\",\"file\":\"a.src\",\"line\":1,\"message\":\"a\"" + sSender);
    ExpectLine(sPrefix, "\",\"context\":\"q\\\"uote\\\\\\u0001\\u00e9\",\"file\":\"a.src\","
                        "\"line\":3,\"message\":\"c\"" +
                            sSender);
    if (!TEST_CanInterrupt())
        GTEST_SKIP() << CANT_INTERRUPT;
    EXPECT_EQ(Interrupt(), 0);
    std::string sLine;
    ASSERT_TRUE(ReadLine(1, sLine));
    EXPECT_TRUE(sLine.find(",\"shown\":2,\"lost\":0}") != std::string::npos) << sLine;
}

namespace
{
// The process id and the message of a line "[sender] computer | log | pid | ... | message".
bool SplitLine(std::string const & sLine, std::string & sPid, std::string & sMessage)
{
    std::size_t const nTagEnd = sLine.find("] ");
    std::size_t const nLog = sLine.find(" | ", nTagEnd);
    std::size_t const nPid = sLine.find(" | ", nLog + 3);
    std::size_t const nPidEnd = sLine.find(" | ", nPid + 3);
    std::size_t const nLast = sLine.rfind(" | ");
    if (nTagEnd == std::string::npos || nLog == std::string::npos || nPid == std::string::npos ||
        nPidEnd == std::string::npos)
        return false;
    sPid = sLine.substr(nPid + 3, nPidEnd - nPid - 3);
    sMessage = sLine.substr(nLast + 3);
    return true;
}
} // namespace

TEST_F(LogMon, ABurstOfSeveralProcessesArrivesWholeAndInOrder)
{
    std::string const sLog = "burst-" + std::to_string(TEST_ProcessId());
    Serve({"--log", sLog});
    if (IsSkipped() || HasFatalFailure())
        return;
    // Far more records than the system's datagram queue holds, sent at once.
    constexpr int PROCESSES = 4;
    constexpr int RECORDS = 5000;
    CTestProcess aSenders[PROCESSES];
    std::map<std::string, int> mNext;
    for (CTestProcess & Sender : aSenders)
    {
        StartSender(Sender);
        mNext[std::to_string(Sender.Id())] = 0;
    }
    // The reader thread starts after the senders, so that no child copies a running thread.
    std::vector<std::string> vLines;
    std::thread Reader(
        [&]
        {
            std::string sLine;
            while (vLines.size() < std::size_t{PROCESSES * RECORDS} && ReadLine(1, sLine))
                vLines.push_back(sLine);
        });
    for (CTestProcess & Sender : aSenders)
        EXPECT_TRUE(Sender.Write("burst\t" + sLog + "\t" + std::to_string(RECORDS) + "\t\n"));
    for (CTestProcess & Sender : aSenders)
        EXPECT_EQ(EndSender(Sender), 0);
    Reader.join();
    ASSERT_EQ(vLines.size(), static_cast<std::size_t>(PROCESSES * RECORDS));

    // Every record of every process, each process's in the order it sent them.
    for (std::string const & sLine : vLines)
    {
        std::string sPid;
        std::string sMessage;
        ASSERT_TRUE(SplitLine(sLine, sPid, sMessage)) << sLine;
        ASSERT_EQ(mNext.count(sPid), 1u) << sLine;
        ASSERT_EQ(sMessage, std::to_string(mNext[sPid]++));
    }

    if (!TEST_CanInterrupt())
        GTEST_SKIP() << CANT_INTERRUPT;
    EXPECT_EQ(Interrupt(), 0);
    std::string sLine;
    while (ReadLine(2, sLine) && sLine.find("received") == std::string::npos)
        continue;
    EXPECT_NE(sLine.find(", 20000 shown, 0 known lost"), std::string::npos) << sLine;
}

TEST_F(LogMon, RecordsAStuckMonitorMissedAreReportedAtItsEnd)
{
    std::string const sLog = "stuck-" + std::to_string(TEST_ProcessId());
    Serve({"--json", "--log", sLog});
    if (IsSkipped() || HasFatalFailure())
        return;
    constexpr int STUCK_RECORDS = 40;
    CTestProcess Sender;
    StartSender(Sender);

    // The monitor stops reading while the process logs; its sends wait once, then drop.
    // The process ends at once after its losses (_Exit), with no record or close behind
    // them that could still tell of them.
    ASSERT_TRUE(m_LogMon.Pause());
    EXPECT_TRUE(
        Sender.Write("burst\t" + sLog + "\t" + std::to_string(STUCK_RECORDS) + "\t\nexit\n"));
    EXPECT_EQ(Sender.Wait(), 0);
    ASSERT_TRUE(m_LogMon.Resume());
    // A record of another process marks the end of what the first one got through.
    CTestProcess Marker;
    StartSender(Marker);
    EXPECT_TRUE(Marker.Write(Record("a.src", sLog, "", 1, 5, "after")));
    EXPECT_EQ(EndSender(Marker), 0);

    int nShown = 0;
    std::string sLine;
    while (ReadLine(1, sLine) && sLine.find("\"message\":\"after\"") == std::string::npos)
        ++nShown;
    if (!TEST_CanInterrupt())
        GTEST_SKIP() << CANT_INTERRUPT;
    EXPECT_EQ(Interrupt(), 0);
    ASSERT_TRUE(ReadLine(1, sLine));
    std::size_t const nLost = sLine.find("\"lost\":");
    ASSERT_NE(nLost, std::string::npos) << sLine;
    int const nKnownLost = std::atoi(sLine.c_str() + nLost + 7);
    // Every record is shown or known lost, whatever the load.
    EXPECT_GT(nShown, 0);
    EXPECT_EQ(nShown + nKnownLost, STUCK_RECORDS) << sLine;
}
