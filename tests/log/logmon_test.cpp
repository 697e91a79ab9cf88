// logmon end to end: the built tool serves "\\.\mailslot\debug", another process logs
// through the mailslot sink, and the records are read back from logmon's output.
#include <gtest/gtest.h>

#include <csignal>
#include <cstdint>
#include <cstdlib>
#include <functional>
#include <map>
#include <string>
#include <thread>
#include <vector>

#include <fcntl.h>
#include <poll.h>
#include <sys/wait.h>
#include <unistd.h>

#include "common/log/zrlog.h"
#include "common/mailslot/zrmailslot.h"
#include "logtext.h"

namespace
{
// Guards against a hang only; every wait normally ends within milliseconds.
constexpr int HANG_GUARD_MILLISECONDS = 30000;

int ExitCode(pid_t nPid)
{
    int nStatus = 0;
    ::waitpid(nPid, &nStatus, 0);
    return WIFEXITED(nStatus) ? WEXITSTATUS(nStatus) : -1;
}

// Forks a process that runs fnLog once LetLog lets it, and ends with 0 when fnLog raised
// nothing. The wait lets a test learn its id before it logs.
pid_t ForkLogger(std::function<void()> const & fnLog, int & nGo)
{
    int anGo[2];
    if (::pipe(anGo) != 0)
        return -1;
    pid_t const nPid = ::fork();
    if (nPid == 0)
    {
        ::close(anGo[1]);
        char cGo;
        if (::read(anGo[0], &cGo, 1) != 1)
            ::_exit(2);
        try
        {
            fnLog();
        }
        catch (...)
        {
            ::_exit(1);
        }
        ::_exit(0);
    }
    ::close(anGo[0]);
    nGo = anGo[1];
    return nPid;
}

// Lets the logger log and waits for it; its exit code.
int LetLog(pid_t nPid, int nGo)
{
    EXPECT_EQ(::write(nGo, "g", 1), 1);
    ::close(nGo);
    return ExitCode(nPid);
}

// Runs one logmon with its stdout and stderr on pipes.
class LogMon : public testing::Test
{
protected:
    ~LogMon() override
    {
        if (m_nPid > 0)
        {
            ::kill(m_nPid, SIGKILL);
            ::waitpid(m_nPid, nullptr, 0);
        }
        for (int const nFd : m_anFd)
        {
            if (nFd >= 0)
                ::close(nFd);
        }
    }

    // Starts logmon and waits until it serves the slot; skips the test when another
    // process serves it already.
    void Serve(std::vector<std::string> vArgs)
    {
        char const * szDir = std::getenv("COMMON_TEST_TOOLS_DIR");
        vArgs.insert(vArgs.begin(), std::string(szDir != nullptr ? szDir : ".") + "/logmon/logmon");
        ASSERT_EQ(::access(vArgs[0].c_str(), X_OK), 0) << "logmon is not built: " << vArgs[0];
        int anOut[2];
        int anErr[2];
        ASSERT_TRUE(::pipe(anOut) == 0 && ::pipe(anErr) == 0);
        m_nPid = ::fork();
        if (m_nPid == 0)
        {
            ::dup2(anOut[1], STDOUT_FILENO);
            ::dup2(anErr[1], STDERR_FILENO);
            std::vector<char *> vArgv;
            for (std::string & sArg : vArgs)
                vArgv.push_back(&sArg[0]);
            vArgv.push_back(nullptr);
            ::execv(vArgv[0], vArgv.data());
            ::_exit(127);
        }
        ::close(anOut[1]);
        ::close(anErr[1]);
        m_anFd[1] = anOut[0];
        // Room for a burst's output, so that logmon does not wait for this test to read.
        ::fcntl(anOut[0], F_SETPIPE_SZ, 1 << 20);
        m_anFd[2] = anErr[0];
        std::string sLine;
        ASSERT_TRUE(ReadLine(2, sLine));
        if (sLine.find("cannot serve") != std::string::npos)
            GTEST_SKIP() << "another process serves \\\\.\\mailslot\\debug: " << sLine;
        ASSERT_EQ(sLine, "logmon: serving \\\\.\\mailslot\\debug, Ctrl-C ends");
    }

    // The next whole line of stdout (1) or stderr (2), without its line feed.
    bool ReadLine(int nStream, std::string & sLine)
    {
        std::string & sBuffer = m_asBuffer[nStream];
        while (sBuffer.find('\n') == std::string::npos)
        {
            pollfd Poll{m_anFd[nStream], POLLIN, 0};
            char achChunk[4096];
            ssize_t nRead = 0;
            if (::poll(&Poll, 1, HANG_GUARD_MILLISECONDS) != 1 ||
                (nRead = ::read(m_anFd[nStream], achChunk, sizeof(achChunk))) <= 0)
                return false;
            sBuffer.append(achChunk, static_cast<std::size_t>(nRead));
        }
        std::size_t const nEnd = sBuffer.find('\n');
        sLine = sBuffer.substr(0, nEnd);
        sBuffer.erase(0, nEnd + 1);
        return true;
    }

    // The next stdout line matched against its parts around the tick.
    void ExpectLine(std::string const & sBefore, std::string const & sAfter)
    {
        std::string sLine;
        ASSERT_TRUE(ReadLine(1, sLine));
        EXPECT_TRUE(MatchesWithTicks(sLine, {sBefore, sAfter})) << sLine;
    }

    // Ctrl-C, then the exit status; -1 when logmon did not end by itself.
    int Interrupt()
    {
        ::kill(m_nPid, SIGINT);
        int const nCode = ExitCode(m_nPid);
        m_nPid = -1;
        return nCode;
    }

    pid_t m_nPid = -1;
    int m_anFd[3] = {-1, -1, -1};
    std::string m_asBuffer[3];
};
} // namespace

TEST_F(LogMon, PrintsRecordsOfAnotherProcessAndReportsMalformedOnes)
{
    std::string const sLog = "e2e-" + std::to_string(::getpid());
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

    int nGo = -1;
    pid_t const nChild = ForkLogger(
        [&]
        {
            _ZR_Log_Fn("a.src", sLog.c_str(), "", 1, 0, LOG_MAILSLOT, 5, "%s", "first");
            _ZR_Log_Fn("b.src", "other log", "", 2, 0, LOG_MAILSLOT, 5, "%s", "filtered out");
            _ZR_Log_Fn("b.src", sLog.c_str(), "ctx", 2, 0, LOG_MAILSLOT, 3, "%s", "second | 100%d");
            _ZR_Log_Fn("c.src", sLog.c_str(), "", 0xFFFFFFFF, 0, LOG_MAILSLOT, 5, "%s", "third");
        },
        nGo);
    std::string const sPrefix = "[pid " + std::to_string(nChild) + " uid " +
                                std::to_string(::getuid()) + "] " + HostName() + " | " + sLog +
                                " | " + std::to_string(nChild);
    EXPECT_EQ(LetLog(nChild, nGo), 0);

    std::string sLine;
    ASSERT_TRUE(ReadLine(2, sLine));
    EXPECT_EQ(sLine, "logmon: malformed record (a length runs past the 400 bytes), skipped");
    ExpectLine(sPrefix + " | 5 | ", " |  | a.src | 1 | first");
    ExpectLine(sPrefix + " | 3 | ", " | ctx | b.src | 2 | second | 100%d");
    ExpectLine(sPrefix + " | 5 | ", " |  | c.src | -1 | third");
    EXPECT_EQ(Interrupt(), 0);
}

TEST_F(LogMon, PrintsJsonFilteredByLevelAndProcess)
{
    std::string const sLog = "e2e-json-" + std::to_string(::getpid());
    int nGo = -1;
    pid_t const nChild = ForkLogger(
        [&]
        {
            _ZR_Log_Fn("a.src", sLog.c_str(), "", 1, 0, LOG_MAILSLOT, 7, "%s", "a");
            _ZR_Log_Fn("a.src", sLog.c_str(), "", 2, 0, LOG_MAILSLOT, 5, "%s", "b");
            _ZR_Log_Fn("a.src", sLog.c_str(), "q\"uote\\\x01\xE9", 3, 0, LOG_MAILSLOT, 7, "%s",
                       "c");
        },
        nGo);
    std::string const sChild = std::to_string(nChild);
    Serve({"--json", "--level", "7", "--pid", sChild});
    if (IsSkipped() || HasFatalFailure())
        return;
    // This process is not the one asked for.
    _ZR_Log_Fn("a.src", sLog.c_str(), "", 9, 0, LOG_MAILSLOT, 7, "%s", "parent");
    EXPECT_EQ(LetLog(nChild, nGo), 0);

    std::string const sPrefix = "{\"computer\":\"" + HostName() + "\",\"log\":\"" + sLog +
                                "\",\"pid\":" + sChild + ",\"level\":7,\"tick\":\"";
    std::string const sSender = ",\"sender_pid\":" + sChild +
                                ",\"sender_uid\":" + std::to_string(::getuid()) +
                                ",\"pid_differs\":false}";
    ExpectLine(sPrefix,
               "\",\"context\":\"\",\"file\":\"a.src\",\"line\":1,\"message\":\"a\"" + sSender);
    ExpectLine(sPrefix, "\",\"context\":\"q\\\"uote\\\\\\u0001\\u00e9\",\"file\":\"a.src\","
                        "\"line\":3,\"message\":\"c\"" +
                            sSender);
    EXPECT_EQ(Interrupt(), 0);
    std::string sLine;
    ASSERT_TRUE(ReadLine(1, sLine));
    EXPECT_TRUE(sLine.find(",\"shown\":2,\"lost\":0}") != std::string::npos) << sLine;
}

namespace
{
// The sender's process id and the message of a line "[pid P uid U] ... | message".
bool SplitLine(std::string const & sLine, std::string & sPid, std::string & sMessage)
{
    std::size_t const nPidEnd = sLine.find(' ', 5);
    std::size_t const nLast = sLine.rfind(" | ");
    if (sLine.compare(0, 5, "[pid ") != 0 || nPidEnd == std::string::npos ||
        nLast == std::string::npos)
        return false;
    sPid = sLine.substr(5, nPidEnd - 5);
    sMessage = sLine.substr(nLast + 3);
    return true;
}
} // namespace

TEST_F(LogMon, ABurstOfSeveralProcessesArrivesWholeAndInOrder)
{
    std::string const sLog = "burst-" + std::to_string(::getpid());
    Serve({"--log", sLog});
    if (IsSkipped() || HasFatalFailure())
        return;
    // Far more records than the system's datagram queue holds, sent at once.
    constexpr int PROCESSES = 4;
    constexpr int RECORDS = 5000;
    std::vector<pid_t> vChildren;
    std::vector<int> vGo;
    for (int nProcess = 0; nProcess < PROCESSES; ++nProcess)
    {
        int nGo = -1;
        vChildren.push_back(ForkLogger(
            [&]
            {
                for (int i = 0; i < RECORDS; ++i)
                    _ZR_Log_Fn("a.src", sLog.c_str(), "", 1, 0, LOG_MAILSLOT, 5, "%d", i);
            },
            nGo));
        vGo.push_back(nGo);
    }
    // The reader thread starts after the forks, so that no child copies a running thread.
    std::vector<std::string> vLines;
    std::thread Reader(
        [&]
        {
            std::string sLine;
            while (ReadLine(1, sLine))
                vLines.push_back(sLine);
        });

    for (int const nGo : vGo)
    {
        EXPECT_EQ(::write(nGo, "g", 1), 1);
        ::close(nGo);
    }
    for (pid_t const nChild : vChildren)
        EXPECT_EQ(ExitCode(nChild), 0);
    EXPECT_EQ(Interrupt(), 0);
    Reader.join();

    std::string sLine;
    while (ReadLine(2, sLine) && sLine.find("received") == std::string::npos)
        continue;
    EXPECT_NE(sLine.find(", 20000 shown, 0 known lost"), std::string::npos) << sLine;
    ASSERT_EQ(vLines.size(), static_cast<std::size_t>(PROCESSES * RECORDS)) << sLine;

    // Every record of every process, each process's in the order it sent them.
    std::map<std::string, int> mNext;
    for (pid_t const nChild : vChildren)
        mNext[std::to_string(nChild)] = 0;
    for (std::string const & sLine : vLines)
    {
        std::string sPid;
        std::string sMessage;
        ASSERT_TRUE(SplitLine(sLine, sPid, sMessage)) << sLine;
        ASSERT_EQ(mNext.count(sPid), 1u) << sLine;
        ASSERT_EQ(sMessage, std::to_string(mNext[sPid]++));
    }
}

TEST_F(LogMon, RecordsAStuckMonitorMissedAreReportedAtItsEnd)
{
    std::string const sLog = "stuck-" + std::to_string(::getpid());
    Serve({"--json", "--log", sLog});
    if (IsSkipped() || HasFatalFailure())
        return;
    constexpr int STUCK_RECORDS = 40;
    int nGo = -1;
    // The process ends by _exit at once after its losses, with no record or close behind
    // them that could still tell of them.
    pid_t const nChild = ForkLogger(
        [&]
        {
            for (int i = 0; i < STUCK_RECORDS; ++i)
                _ZR_Log_Fn("a.src", sLog.c_str(), "", 1, 0, LOG_MAILSLOT, 5, "%d", i);
        },
        nGo);

    // The monitor stops reading while the process logs; its sends wait once, then drop.
    ::kill(m_nPid, SIGSTOP);
    int nStatus = 0;
    ASSERT_EQ(::waitpid(m_nPid, &nStatus, WUNTRACED), m_nPid);
    EXPECT_EQ(LetLog(nChild, nGo), 0);
    ::kill(m_nPid, SIGCONT);
    // A record of another process marks the end of what the first one got through.
    pid_t const nMarker = ForkLogger(
        [&] { _ZR_Log_Fn("a.src", sLog.c_str(), "", 1, 0, LOG_MAILSLOT, 5, "%s", "after"); }, nGo);
    EXPECT_EQ(LetLog(nMarker, nGo), 0);

    int nShown = 0;
    std::string sLine;
    while (ReadLine(1, sLine) && sLine.find("\"message\":\"after\"") == std::string::npos)
        ++nShown;
    EXPECT_EQ(Interrupt(), 0);
    ASSERT_TRUE(ReadLine(1, sLine));
    std::size_t const nLost = sLine.find("\"lost\":");
    ASSERT_NE(nLost, std::string::npos) << sLine;
    int const nKnownLost = std::atoi(sLine.c_str() + nLost + 7);
    // Every record is shown or known lost, whatever the load.
    EXPECT_GT(nShown, 0);
    EXPECT_EQ(nShown + nKnownLost, STUCK_RECORDS) << sLine;
}
