// logmon end to end: the built tool serves "\\.\mailslot\debug", another process logs
// through the mailslot sink, and the records are read back from logmon's output.
#include <gtest/gtest.h>

#include <cerrno>
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

namespace
{
// Guards against a hang only; every wait normally ends within milliseconds.
constexpr int HANG_GUARD_MILLISECONDS = 30000;

std::string HostName()
{
    char szName[256] = {};
    ::gethostname(szName, sizeof(szName) - 1);
    return szName;
}

std::string LogMonPath()
{
    char const * szDir = std::getenv("COMMON_TEST_TOOLS_DIR");
    return std::string(szDir != nullptr ? szDir : ".") + "/logmon/logmon";
}

// One running logmon with its stdout and stderr on pipes.
class CLogMon
{
public:
    ~CLogMon()
    {
        if (m_nPid > 0)
        {
            ::kill(m_nPid, SIGKILL);
            ::waitpid(m_nPid, nullptr, 0);
        }
        for (int const nFd : {m_nOut, m_nErr})
        {
            if (nFd >= 0)
                ::close(nFd);
        }
    }

    bool Start(std::vector<std::string> const & vArgs)
    {
        int anOut[2];
        int anErr[2];
        if (::pipe(anOut) != 0 || ::pipe(anErr) != 0)
            return false;
        std::string const sPath = LogMonPath();
        m_nPid = ::fork();
        if (m_nPid == 0)
        {
            ::dup2(anOut[1], STDOUT_FILENO);
            ::dup2(anErr[1], STDERR_FILENO);
            for (int const nFd : {anOut[0], anOut[1], anErr[0], anErr[1]})
                ::close(nFd);
            std::vector<char *> vArgv;
            vArgv.push_back(const_cast<char *>(sPath.c_str()));
            for (std::string const & sArg : vArgs)
                vArgv.push_back(const_cast<char *>(sArg.c_str()));
            vArgv.push_back(nullptr);
            ::execv(sPath.c_str(), vArgv.data());
            ::_exit(127);
        }
        ::close(anOut[1]);
        ::close(anErr[1]);
        m_nOut = anOut[0];
        m_nErr = anErr[0];
        return m_nPid > 0;
    }

    // The next whole line of stdout (bStdout) or stderr, without its line feed.
    bool ReadLine(bool bStdout, std::string & sLine)
    {
        std::string & sBuffer = bStdout ? m_sOut : m_sErr;
        int const nFd = bStdout ? m_nOut : m_nErr;
        for (;;)
        {
            std::size_t const nEnd = sBuffer.find('\n');
            if (nEnd != std::string::npos)
            {
                sLine = sBuffer.substr(0, nEnd);
                sBuffer.erase(0, nEnd + 1);
                return true;
            }
            pollfd Poll{nFd, POLLIN, 0};
            if (::poll(&Poll, 1, HANG_GUARD_MILLISECONDS) != 1)
                return false;
            char achChunk[4096];
            ssize_t const nRead = ::read(nFd, achChunk, sizeof(achChunk));
            if (nRead <= 0)
                return false;
            sBuffer.append(achChunk, static_cast<std::size_t>(nRead));
        }
    }

    // Ctrl-C, then the exit status; -1 when logmon did not end by itself.
    int Interrupt()
    {
        ::kill(m_nPid, SIGINT);
        int nStatus = 0;
        ::waitpid(m_nPid, &nStatus, 0);
        m_nPid = -1;
        return WIFEXITED(nStatus) ? WEXITSTATUS(nStatus) : -1;
    }

private:
    pid_t m_nPid = -1;
    int m_nOut = -1;
    int m_nErr = -1;
    std::string m_sOut;
    std::string m_sErr;
};

// Starts logmon and waits until it serves the slot; false (with a skip reason) when
// another process serves it already.
bool StartServing(CLogMon & LogMon, std::vector<std::string> const & vArgs, std::string & sSkip)
{
    EXPECT_EQ(::access(LogMonPath().c_str(), X_OK), 0) << "logmon is not built: " << LogMonPath();
    EXPECT_TRUE(LogMon.Start(vArgs));
    std::string sLine;
    EXPECT_TRUE(LogMon.ReadLine(false, sLine));
    if (sLine.find("cannot serve") != std::string::npos)
        sSkip = "another process serves \\\\.\\mailslot\\debug: " + sLine;
    else
        EXPECT_EQ(sLine, "logmon: serving \\\\.\\mailslot\\debug, Ctrl-C ends");
    return sSkip.empty() && !testing::Test::HasFailure();
}

// Runs fnLog in a child process once the returned pipe end is written to; the child
// ends with 0 when fnLog raised nothing.
class CChildLogger
{
public:
    explicit CChildLogger(std::function<void()> const & fnLog)
    {
        int anGo[2];
        if (::pipe(anGo) != 0)
            return;
        m_nPid = ::fork();
        if (m_nPid == 0)
        {
            ::close(anGo[1]);
            char cGo;
            int nCode = ::read(anGo[0], &cGo, 1) == 1 ? 0 : 2;
            try
            {
                if (nCode == 0)
                    fnLog();
            }
            catch (...)
            {
                nCode = 1;
            }
            ::_exit(nCode);
        }
        ::close(anGo[0]);
        m_nGo = anGo[1];
    }
    ~CChildLogger() { Finish(); }

    pid_t Pid() const { return m_nPid; }
    // Lets the child log and waits for it; its exit code.
    int Finish()
    {
        if (m_nPid <= 0)
            return -1;
        bool const bSent = ::write(m_nGo, "g", 1) == 1;
        ::close(m_nGo);
        EXPECT_TRUE(bSent);
        int nStatus = 0;
        ::waitpid(m_nPid, &nStatus, 0);
        m_nPid = -1;
        return WIFEXITED(nStatus) ? WEXITSTATUS(nStatus) : -1;
    }

private:
    pid_t m_nPid = -1;
    int m_nGo = -1;
};

void ExpectLine(std::string const & sLine, std::string const & sPrefix, std::string const & sEnd)
{
    ASSERT_GE(sLine.size(), sPrefix.size() + sEnd.size()) << sLine;
    EXPECT_EQ(sLine.substr(0, sPrefix.size()), sPrefix) << sLine;
    EXPECT_EQ(sLine.substr(sLine.size() - sEnd.size()), sEnd) << sLine;
    std::string const sTick =
        sLine.substr(sPrefix.size(), sLine.size() - sPrefix.size() - sEnd.size());
    EXPECT_EQ(sTick.find_first_not_of("-0123456789"), std::string::npos) << sLine;
}
} // namespace

TEST(LogMon, PrintsRecordsOfAnotherProcessAndReportsMalformedOnes)
{
    std::string const sLog = "e2e-" + std::to_string(::getpid());
    CLogMon LogMon;
    std::string sSkip;
    if (!StartServing(LogMon, {"--log", sLog}, sSkip))
    {
        if (!sSkip.empty())
            GTEST_SKIP() << sSkip;
        return;
    }

    // A block whose first length runs past the 400 bytes.
    CZRMailSlot Client;
    Client.Open("\\\\.\\mailslot\\debug", false);
    Client.BeginWrite();
    std::int32_t const lBadLength = 1000;
    Client.Write(&lBadLength, 4);
    Client.EndWrite();

    CChildLogger Child(
        [&]
        {
            _ZR_Log_Fn("a.src", sLog.c_str(), "", 1, 0, LOG_MAILSLOT, 5, "%s", "first");
            _ZR_Log_Fn("b.src", "other log", "", 2, 0, LOG_MAILSLOT, 5, "%s", "filtered out");
            _ZR_Log_Fn("b.src", sLog.c_str(), "ctx", 2, 0, LOG_MAILSLOT, 3, "%s", "second | 100%d");
            _ZR_Log_Fn("c.src", sLog.c_str(), "", 0xFFFFFFFF, 0, LOG_MAILSLOT, 5, "%s", "third");
        });
    std::string const sPrefix = HostName() + " | " + sLog + " | " + std::to_string(Child.Pid());
    EXPECT_EQ(Child.Finish(), 0);

    std::string sLine;
    ASSERT_TRUE(LogMon.ReadLine(false, sLine));
    EXPECT_EQ(sLine, "logmon: malformed record (a length runs past the 400 bytes), skipped");
    ASSERT_TRUE(LogMon.ReadLine(true, sLine));
    ExpectLine(sLine, sPrefix + " | 5 | ", " |  | a.src | 1 | first");
    ASSERT_TRUE(LogMon.ReadLine(true, sLine));
    ExpectLine(sLine, sPrefix + " | 3 | ", " | ctx | b.src | 2 | second | 100%d");
    ASSERT_TRUE(LogMon.ReadLine(true, sLine));
    ExpectLine(sLine, sPrefix + " | 5 | ", " |  | c.src | -1 | third");

    EXPECT_EQ(LogMon.Interrupt(), 0);
}

TEST(LogMon, PrintsJsonFilteredByLevelAndProcess)
{
    std::string const sLog = "e2e-json-" + std::to_string(::getpid());
    CChildLogger Child(
        [&]
        {
            _ZR_Log_Fn("a.src", sLog.c_str(), "", 1, 0, LOG_MAILSLOT, 7, "%s", "a");
            _ZR_Log_Fn("a.src", sLog.c_str(), "", 2, 0, LOG_MAILSLOT, 5, "%s", "b");
            _ZR_Log_Fn("a.src", sLog.c_str(), "q\"uote\\\x01\xE9", 3, 0, LOG_MAILSLOT, 7, "%s",
                       "c");
        });
    std::string const sChild = std::to_string(Child.Pid());
    CLogMon LogMon;
    std::string sSkip;
    if (!StartServing(LogMon, {"--json", "--level", "7", "--pid", sChild}, sSkip))
    {
        if (!sSkip.empty())
            GTEST_SKIP() << sSkip;
        return;
    }
    // This process is not the one asked for.
    _ZR_Log_Fn("a.src", sLog.c_str(), "", 9, 0, LOG_MAILSLOT, 7, "%s", "parent");
    EXPECT_EQ(Child.Finish(), 0);

    std::string const sPrefix = "{\"computer\":\"" + HostName() + "\",\"log\":\"" + sLog +
                                "\",\"pid\":" + sChild + ",\"level\":7,\"tick\":\"";
    std::string sLine;
    ASSERT_TRUE(LogMon.ReadLine(true, sLine));
    ExpectLine(sLine, sPrefix,
               "\",\"context\":\"\",\"file\":\"a.src\",\"line\":1,\"message\":\"a\"}");
    ASSERT_TRUE(LogMon.ReadLine(true, sLine));
    ExpectLine(sLine, sPrefix,
               "\",\"context\":\"q\\\"uote\\\\\\u0001\\u00e9\",\"file\":\"a.src\",\"line\":3,"
               "\"message\":\"c\"}");

    EXPECT_EQ(LogMon.Interrupt(), 0);
}
