// logmon end to end: the built tool serves "\\.\mailslot\debug", another process logs
// through the mailslot sink, and the records are read back from logmon's output.
#include <gtest/gtest.h>

#include <csignal>
#include <cstdint>
#include <cstdlib>
#include <functional>
#include <string>
#include <vector>

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
