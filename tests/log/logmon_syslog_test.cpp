// logmon --syslog end to end: the built tool serves "\\.\mailslot\debug", this process
// logs through _ZR_Log_Fn with the mailslot sink, and what logmon forwards is read by a
// socket of the test (the exact RFC 5424 form, TCP framing, a server that is gone, does
// not read or does not accept) or by a real rsyslogd on loopback ports.
#include <gtest/gtest.h>

#include <algorithm>
#include <csignal>
#include <cstdint>
#include <cstdlib>
#include <fstream>
#include <functional>
#include <regex>
#include <string>
#include <vector>

#include <arpa/inet.h>
#include <fcntl.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>

#include "common/log/zrlog.h"
#include "tempdir.h"

namespace
{
// Guards against a hang only; every wait normally ends within milliseconds.
constexpr int HANG_GUARD_MILLISECONDS = 30000;
// Records logged between two looks at logmon's output, so that its stdout pipe, which
// the test reads only then, never fills.
constexpr int BATCH = 100;

std::string HostName()
{
    char szName[256] = "";
    ::gethostname(szName, sizeof(szName) - 1);
    return szName;
}

void Log(char const * szLogName, char const * szContext, unsigned long ulLevel,
         std::string const & sMessage)
{
    _ZR_Log_Fn("a.src", szLogName, szContext, 12, 0, 4, ulLevel, "%s", sMessage.c_str());
}

// A socket of the test on 127.0.0.1, on nPort or, when it is 0, a port the system
// chooses; a TCP one listens with the backlog given. A receive buffer of nReceive bytes
// when it is not 0.
int LoopbackSocket(int nType, int & nPort, int nBacklog = 4, int nReceive = 0)
{
    // Close-on-exec, so that logmon does not keep it open when the test closes it.
    int const nSocket = ::socket(AF_INET, nType | SOCK_CLOEXEC, 0);
    int const nOn = 1;
    sockaddr_in Address{};
    Address.sin_family = AF_INET;
    Address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    Address.sin_port = htons(static_cast<std::uint16_t>(nPort));
    socklen_t nLength = sizeof(Address);
    if (nSocket < 0 || ::setsockopt(nSocket, SOL_SOCKET, SO_REUSEADDR, &nOn, sizeof(nOn)) != 0 ||
        (nReceive > 0 &&
         ::setsockopt(nSocket, SOL_SOCKET, SO_RCVBUF, &nReceive, sizeof(nReceive)) != 0) ||
        ::bind(nSocket, reinterpret_cast<sockaddr *>(&Address), nLength) != 0 ||
        ::getsockname(nSocket, reinterpret_cast<sockaddr *>(&Address), &nLength) != 0 ||
        (nType == SOCK_STREAM && ::listen(nSocket, nBacklog) != 0))
        return -1;
    nPort = ntohs(Address.sin_port);
    return nSocket;
}

bool Readable(int nFd, int nMilliseconds = HANG_GUARD_MILLISECONDS)
{
    pollfd Poll{nFd, POLLIN, 0};
    return ::poll(&Poll, 1, nMilliseconds) == 1;
}

// The next octet-counted message of a TCP connection; sStream keeps what came after it.
std::string ReadFrame(int nConnection, std::string & sStream)
{
    std::size_t nBlank = 0;
    while ((nBlank = sStream.find(' ')) == std::string::npos ||
           sStream.size() < nBlank + 1 + std::stoul(sStream.substr(0, nBlank)))
    {
        char achChunk[4096];
        ssize_t nRead = 0;
        if (!Readable(nConnection) ||
            (nRead = ::recv(nConnection, achChunk, sizeof(achChunk), 0)) <= 0)
            return std::string();
        sStream.append(achChunk, static_cast<std::size_t>(nRead));
    }
    std::size_t const nLength = std::stoul(sStream.substr(0, nBlank));
    std::string const sMessage = sStream.substr(nBlank + 1, nLength);
    sStream.erase(0, nBlank + 1 + nLength);
    return sMessage;
}

// Runs one logmon with its stdout and stderr on pipes, until Stop or the end of the test.
class SyslogMonitor : public testing::Test
{
protected:
    ~SyslogMonitor() override
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

    // Starts logmon with --syslog ADDRESS and the other arguments, and waits until it
    // serves the slot; skips the test when another process serves it already.
    void Serve(std::string const & sAddress, std::vector<std::string> const & vMore = {})
    {
        char const * szDir = std::getenv("COMMON_TEST_TOOLS_DIR");
        std::string const sTool = std::string(szDir != nullptr ? szDir : ".") + "/logmon/logmon";
        ASSERT_EQ(::access(sTool.c_str(), X_OK), 0) << "logmon is not built: " << sTool;
        std::vector<std::string> vArgs = {sTool, "--syslog", sAddress};
        vArgs.insert(vArgs.end(), vMore.begin(), vMore.end());
        std::vector<char *> vArgv;
        for (std::string & sArg : vArgs)
            vArgv.push_back(&sArg[0]);
        vArgv.push_back(nullptr);
        int anOut[2];
        int anErr[2];
        ASSERT_TRUE(::pipe2(anOut, O_CLOEXEC) == 0 && ::pipe2(anErr, O_CLOEXEC) == 0);
        m_nPid = ::fork();
        if (m_nPid == 0)
        {
            ::dup2(anOut[1], STDOUT_FILENO);
            ::dup2(anErr[1], STDERR_FILENO);
            ::execv(sTool.c_str(), vArgv.data());
            ::_exit(127);
        }
        ::close(anOut[1]);
        ::close(anErr[1]);
        m_nOut = anOut[0];
        m_nErr = anErr[0];
        std::string sLine;
        ASSERT_TRUE(ReadLine(m_nErr, m_sErr, sLine));
        if (sLine.find("cannot serve") != std::string::npos)
            GTEST_SKIP() << "another process serves \\\\.\\mailslot\\debug: " << sLine;
        ASSERT_TRUE(ReadLine(m_nErr, m_sErr, sLine));
        ASSERT_EQ(sLine, "logmon: forwarding records to syslog " + sAddress);
    }

    static bool ReadLine(int nFd, std::string & sBuffer, std::string & sLine)
    {
        while (sBuffer.find('\n') == std::string::npos)
        {
            char achChunk[4096];
            ssize_t nRead = 0;
            if (!Readable(nFd) || (nRead = ::read(nFd, achChunk, sizeof(achChunk))) <= 0)
                return false;
            sBuffer.append(achChunk, static_cast<std::size_t>(nRead));
        }
        std::size_t const nEnd = sBuffer.find('\n');
        sLine = sBuffer.substr(0, nEnd);
        sBuffer.erase(0, nEnd + 1);
        return true;
    }

    // Logs nRecords records with fnLog(n), in batches, each shown by logmon before the
    // next one goes: a monitor held up by its forwarding would fall behind and its
    // senders would lose records, which then never show.
    void LogShown(int nRecords, std::function<void(int)> const & fnLog)
    {
        std::string sLine;
        for (int nDone = 0; nDone < nRecords;)
        {
            int const nBatch = std::min(BATCH, nRecords - nDone);
            for (int n = 0; n < nBatch; ++n)
                fnLog(nDone + n);
            for (int n = 0; n < nBatch; ++n, ++nDone)
                ASSERT_TRUE(ReadLine(m_nOut, m_sOut, sLine)) << "after " << nDone << " records";
        }
    }

    // Waits for a line of logmon's stderr that holds sText; the lines before it are kept.
    void WaitError(std::string const & sText)
    {
        std::string sLine;
        do
        {
            ASSERT_TRUE(ReadLine(m_nErr, m_sErr, sLine)) << "no stderr line holds: " << sText;
            m_sErrSeen += sLine + "\n";
        } while (sLine.find(sText) == std::string::npos);
    }

    // Whether logmon has said sText on stderr by now; does not wait.
    bool ErrorSaid(std::string const & sText)
    {
        std::string sLine;
        while (m_sErr.find('\n') != std::string::npos || Readable(m_nErr, 0))
        {
            if (!ReadLine(m_nErr, m_sErr, sLine))
                return false;
            m_sErrSeen += sLine + "\n";
        }
        return m_sErrSeen.find(sText) != std::string::npos;
    }

    // Ctrl-C; all that logmon wrote to stderr after its first lines, once it has ended
    // with exit code 0. Its stdout's last line goes to m_sLastOut.
    std::string Stop()
    {
        ::kill(m_nPid, SIGINT);
        int nStatus = -1;
        ::waitpid(m_nPid, &nStatus, 0);
        m_nPid = -1;
        EXPECT_TRUE(WIFEXITED(nStatus) && WEXITSTATUS(nStatus) == 0);
        std::string sAll = m_sErrSeen + m_sErr;
        char achChunk[4096];
        ssize_t nRead = 0;
        while ((nRead = ::read(m_nErr, achChunk, sizeof(achChunk))) > 0)
            sAll.append(achChunk, static_cast<std::size_t>(nRead));
        for (std::string sLine; ReadLine(m_nOut, m_sOut, sLine);)
            m_sLastOut = sLine;
        ::close(m_nOut);
        ::close(m_nErr);
        m_nOut = m_nErr = -1;
        m_sOut.clear();
        m_sErr.clear();
        m_sErrSeen.clear();
        return sAll;
    }

    pid_t m_nPid = -1;
    int m_nOut = -1;
    int m_nErr = -1;
    std::string m_sOut;
    std::string m_sErr;
    std::string m_sErrSeen;
    std::string m_sLastOut;
};

// The forwarded and not forwarded counts of logmon's last report.
void ExpectCounts(std::string const & sErr, int & nForwarded, int & nFailed)
{
    std::smatch Match;
    ASSERT_TRUE(std::regex_search(sErr, Match,
                                  std::regex("(\\d+) records forwarded, (\\d+) not forwarded")))
        << sErr;
    nForwarded = std::stoi(Match[1]);
    nFailed = std::stoi(Match[2]);
}

TEST_F(SyslogMonitor, RecordsBecomeRfc5424MessagesWithSeverityFieldsAndEscapes)
{
    int nPort = 0;
    int const nSocket = LoopbackSocket(SOCK_DGRAM, nPort);
    ASSERT_GE(nSocket, 0);
    Serve("udp://127.0.0.1:" + std::to_string(nPort));
    if (IsSkipped())
        return;
    std::string const sLongName = "a name of more than forty-eight bytes, with blanks";
    Log("editor", "a\"b]c\\d", 3, "ok \"q\" ]\\ \xE9");
    Log("", "", 9, "");
    Log(sLongName.c_str(), "", 0, "x");

    // APP-NAME holds 48 printable characters at most.
    std::string sAppName = sLongName.substr(0, 48);
    std::replace(sAppName.begin(), sAppName.end(), ' ', '_');
    std::string const sHost = HostName();
    std::string const sPid = std::to_string(::getpid());
    std::string const sSender =
        "sender_pid=\"" + sPid + "\" sender_uid=\"" + std::to_string(::getuid()) + "\"";
    std::string const sTime = "\\d{4}-\\d\\d-\\d\\dT\\d\\d:\\d\\d:\\d\\dZ";
    std::vector<std::string> const vExpected = {
        "<11>1 " + sTime + " " + sHost + " editor " + sPid + " log \\[zrlog@32473 computer=\"" +
            sHost + "\" log=\"editor\" pid=\"" + sPid + "\" " + sSender +
            " level=\"3\" tick=\"-?\\d+\" context=\"a\\\\\"b\\\\]c\\\\\\\\d\" file=\"a.src\" "
            "line=\"12\"\\] ok \"q\" \\]\\\\ \xC3\xA9",
        "<15>1 " + sTime + " " + sHost + " - " + sPid + " log \\[zrlog@32473 computer=\"" + sHost +
            "\" log=\"\" pid=\"" + sPid + "\" " + sSender +
            " level=\"9\" tick=\"-?\\d+\" context=\"\" file=\"a.src\" line=\"12\"\\] ",
        "<8>1 " + sTime + " " + sHost + " " + sAppName + " " + sPid +
            " log \\[zrlog@32473 computer=\"" + sHost + "\" log=\"" + sLongName + "\" .*\\] x"};
    for (std::string const & sExpected : vExpected)
    {
        ASSERT_TRUE(Readable(nSocket));
        char achMessage[2048];
        ssize_t const nRead = ::recv(nSocket, achMessage, sizeof(achMessage), 0);
        ASSERT_GT(nRead, 0);
        std::string const sMessage(achMessage, static_cast<std::size_t>(nRead));
        EXPECT_TRUE(std::regex_match(sMessage, std::regex(sExpected))) << sMessage;
    }
    int nForwarded = 0;
    int nFailed = 0;
    ExpectCounts(Stop(), nForwarded, nFailed);
    EXPECT_EQ(nForwarded, 3);
    EXPECT_EQ(nFailed, 0);
    ::close(nSocket);
}

// Octet-counted frames on TCP; the server goes away, and the monitor still shows every
// record, counts what it could not forward and says so; the server comes back on the
// same port, and a later record reaches it over a new connection.
TEST_F(SyslogMonitor, TcpFramesMessagesCountsWhatIsLostWhileTheServerIsGoneAndReconnects)
{
    int nPort = 0;
    int nListen = LoopbackSocket(SOCK_STREAM, nPort);
    ASSERT_GE(nListen, 0);
    Serve("tcp://127.0.0.1:" + std::to_string(nPort), {"--json"});
    if (IsSkipped())
        return;
    ASSERT_TRUE(Readable(nListen));
    int nConnection = ::accept(nListen, nullptr, nullptr);
    ASSERT_GE(nConnection, 0);
    LogShown(3, [](int n) { Log("tcp", "", 5, "record " + std::to_string(n)); });
    std::string sStream;
    for (int n = 0; n < 3; ++n)
    {
        std::string const sMessage = ReadFrame(nConnection, sStream);
        ASSERT_GT(sMessage.size(), 10u);
        EXPECT_EQ(sMessage.substr(0, 7), "<13>1 2");
        EXPECT_EQ(sMessage.substr(sMessage.size() - 10), "] record " + std::to_string(n));
    }

    ::close(nConnection);
    ::close(nListen);
    LogShown(20, [](int) { Log("tcp", "", 5, "after the server left"); });
    WaitError("records that cannot be forwarded are counted and dropped");

    nListen = LoopbackSocket(SOCK_STREAM, nPort);
    ASSERT_GE(nListen, 0);
    // A new connection is tried for a record that comes a second or more after the last
    // try; records go until one does.
    int nWhileAway = 20;
    for (int nTry = 0; nTry < HANG_GUARD_MILLISECONDS / 50 && !Readable(nListen, 50); ++nTry)
    {
        LogShown(1, [](int) { Log("tcp", "", 5, "while the server comes back"); });
        ++nWhileAway;
    }
    nConnection = ::accept(nListen, nullptr, nullptr);
    ASSERT_GE(nConnection, 0);
    LogShown(1, [](int) { Log("tcp", "", 5, "back"); });
    sStream.clear();
    std::string sMessage;
    do
        sMessage = ReadFrame(nConnection, sStream);
    while (!sMessage.empty() && sMessage.substr(sMessage.size() - 6) != "] back");
    EXPECT_FALSE(sMessage.empty());
    WaitError("forwarding again");

    std::string const sErr = Stop();
    int nForwarded = 0;
    int nFailed = 0;
    ExpectCounts(sErr, nForwarded, nFailed);
    // A connection that the peer has closed still takes a record or two before the
    // system learns of it; those count as forwarded, as TCP cannot tell.
    EXPECT_EQ(nForwarded + nFailed, 3 + nWhileAway + 1);
    EXPECT_GE(nForwarded, 4);
    EXPECT_GE(nFailed, 17);
    EXPECT_EQ(m_sLastOut, "{\"received\":" + std::to_string(3 + nWhileAway + 1) +
                              ",\"shown\":" + std::to_string(3 + nWhileAway + 1) +
                              ",\"lost\":0,\"forwarded\":" + std::to_string(nForwarded) +
                              ",\"not_forwarded\":" + std::to_string(nFailed) + "}");
    ::close(nConnection);
    ::close(nListen);
}

// A TCP server that accepts and never reads: once the system's buffers and logmon's own
// queue are full, records are counted and dropped, and the monitor keeps up all along.
TEST_F(SyslogMonitor, TcpServerThatNeverReadsNeverHoldsTheMonitorUp)
{
    int nPort = 0;
    int const nListen = LoopbackSocket(SOCK_STREAM, nPort, 4, 4096);
    ASSERT_GE(nListen, 0);
    Serve("tcp://127.0.0.1:" + std::to_string(nPort));
    if (IsSkipped())
        return;
    ASSERT_TRUE(Readable(nListen));
    int const nConnection = ::accept(nListen, nullptr, nullptr);
    ASSERT_GE(nConnection, 0);
    // About 500 bytes a message, in batches until logmon's queue of 1 MiB and the
    // system's buffers (some MiB) are full and it says so.
    std::string const sText(200, 'x');
    int nRecords = 0;
    for (; nRecords < 100000 && !HasFatalFailure() && !ErrorSaid("the server does not keep up");
         nRecords += BATCH)
        LogShown(BATCH, [&sText](int) { Log("stuck", "", 6, sText); });
    std::string const sErr = Stop();
    int nForwarded = 0;
    int nFailed = 0;
    ExpectCounts(sErr, nForwarded, nFailed);
    EXPECT_EQ(nForwarded + nFailed, nRecords);
    EXPECT_GT(nFailed, 0);
    ::close(nConnection);
    ::close(nListen);
}

// A TCP server whose backlog is full drops the connection request: logmon gives the
// connection up within its bound and counts the records that waited for it.
TEST_F(SyslogMonitor, TcpConnectionNotMadeInTimeIsGivenUpAndCounted)
{
    int nPort = 0;
    int const nListen = LoopbackSocket(SOCK_STREAM, nPort, 0);
    ASSERT_GE(nListen, 0);
    int const nFiller = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_in Address{};
    Address.sin_family = AF_INET;
    Address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    Address.sin_port = htons(static_cast<std::uint16_t>(nPort));
    ASSERT_EQ(::connect(nFiller, reinterpret_cast<sockaddr *>(&Address), sizeof(Address)), 0);
    Serve("tcp://127.0.0.1:" + std::to_string(nPort));
    if (IsSkipped())
        return;
    LogShown(5, [](int n) { Log("unheard", "", 4, "record " + std::to_string(n)); });
    WaitError("no connection within a second");
    std::string const sErr = Stop();
    int nForwarded = 0;
    int nFailed = 0;
    ExpectCounts(sErr, nForwarded, nFailed);
    EXPECT_EQ(nForwarded, 0);
    EXPECT_EQ(nFailed, 5);
    ::close(nFiller);
    ::close(nListen);
}

// A local server that never reads: its queue fills, then logmon's, and the monitor goes
// on showing every record instead of waiting for it.
TEST_F(SyslogMonitor, LocalServerThatDoesNotReadNeverHoldsTheMonitorUp)
{
    CTempDir Dir;
    std::string const sPath = Dir / "log";
    int const nSocket = ::socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    sockaddr_un Address{};
    Address.sun_family = AF_UNIX;
    ASSERT_LT(sPath.size(), sizeof(Address.sun_path));
    sPath.copy(Address.sun_path, sPath.size());
    ASSERT_EQ(::bind(nSocket, reinterpret_cast<sockaddr *>(&Address), sizeof(Address)), 0);
    Serve(sPath);
    if (IsSkipped())
        return;
    // Its queue takes a few datagrams, logmon's own 1 MiB more; then records are dropped.
    int nRecords = 0;
    for (; nRecords < 100000 && !HasFatalFailure() && !ErrorSaid("the server does not keep up");
         nRecords += BATCH)
        LogShown(BATCH,
                 [](int) { Log("local", "", 6, "a record for a server that does not read"); });
    std::string const sErr = Stop();
    int nForwarded = 0;
    int nFailed = 0;
    ExpectCounts(sErr, nForwarded, nFailed);
    EXPECT_EQ(nForwarded + nFailed, nRecords);
    EXPECT_GT(nFailed, 0);

    int nQueued = 0;
    char achMessage[2048];
    while (::recv(nSocket, achMessage, sizeof(achMessage), MSG_DONTWAIT) > 0)
        ++nQueued;
    EXPECT_EQ(nQueued, nForwarded);
    ::close(nSocket);
}

// A real rsyslogd, with a configuration written here, takes messages on a loopback UDP
// and TCP port and on a local socket and writes them to its file, every record with the fields
// logmon put in its message. It runs as this user, with its own work directory and pid file, and
// touches nothing of the system's.
class RsyslogServer : public SyslogMonitor
{
protected:
    ~RsyslogServer() override
    {
        if (m_nRsyslog > 0)
        {
            ::kill(m_nRsyslog, SIGTERM);
            ::waitpid(m_nRsyslog, nullptr, 0);
        }
    }

    void Start()
    {
        char const * const szRsyslogd = "/usr/sbin/rsyslogd";
        if (::access(szRsyslogd, X_OK) != 0)
            GTEST_SKIP() << "rsyslogd is not installed (scripts/install-deps.sh installs rsyslog)";
        int const nUdp = LoopbackSocket(SOCK_DGRAM, m_nUdpPort);
        int const nTcp = LoopbackSocket(SOCK_STREAM, m_nTcpPort);
        ASSERT_TRUE(nUdp >= 0 && nTcp >= 0);
        ::close(nUdp);
        ::close(nTcp);
        m_sFile = m_Dir / "out.log";
        m_sSocket = m_Dir / "log";
        std::string sText = "global(workDirectory=\"" + m_Dir.Path().string() + "\")\n";
        sText += "module(load=\"imudp\")\n";
        sText += "input(type=\"imudp\" address=\"127.0.0.1\" port=\"" + std::to_string(m_nUdpPort) +
                 "\" rcvBufSize=\"4m\")\n";
        sText += "module(load=\"imuxsock\" SysSock.Use=\"off\")\n";
        sText += "input(type=\"imuxsock\" Socket=\"" + m_sSocket +
                 "\" UseSpecialParser=\"off\" ParseHostname=\"on\")\n";
        sText += "module(load=\"imtcp\")\n";
        sText += "input(type=\"imtcp\" address=\"127.0.0.1\" port=\"" + std::to_string(m_nTcpPort) +
                 "\")\n";
        sText += "template(name=\"fields\" type=\"string\" string=\"%hostname% %app-name% "
                 "%procid% %msgid% %syslogseverity% %msg%\\n\")\n";
        sText += "action(type=\"omfile\" file=\"" + m_sFile + "\" template=\"fields\")\n";
        m_Dir.WriteFile("rsyslog.conf", sText);
        std::string const sConf = m_Dir / "rsyslog.conf";
        std::string const sPidFile = m_Dir / "rsyslogd.pid";
        m_nRsyslog = ::fork();
        if (m_nRsyslog == 0)
        {
            ::execl(szRsyslogd, szRsyslogd, "-n", "-C", "-f", sConf.c_str(), "-i", sPidFile.c_str(),
                    nullptr);
            ::_exit(127);
        }
        // rsyslogd has started its inputs once a connection to its TCP port succeeds.
        bool bListening = false;
        for (int nTry = 0; nTry < HANG_GUARD_MILLISECONDS / 10 && !bListening; ++nTry)
        {
            int const nSocket = ::socket(AF_INET, SOCK_STREAM, 0);
            sockaddr_in Address{};
            Address.sin_family = AF_INET;
            Address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
            Address.sin_port = htons(static_cast<std::uint16_t>(m_nTcpPort));
            bListening =
                ::connect(nSocket, reinterpret_cast<sockaddr *>(&Address), sizeof(Address)) == 0;
            ::close(nSocket);
            if (!bListening)
                ::poll(nullptr, 0, 10);
        }
        ASSERT_TRUE(bListening) << "rsyslogd did not listen on port " << m_nTcpPort;
    }

    // Runs a logmon forwarding to sAddress and logs nRecords records of the log name.
    void Forward(std::string const & sAddress, char const * szLogName, int nRecords)
    {
        Serve(sAddress);
        if (IsSkipped() || HasFatalFailure())
            return;
        LogShown(nRecords,
                 [szLogName](int n) {
                     Log(szLogName, "", static_cast<unsigned long>(n % 8),
                         "record " + std::to_string(n));
                 });
        int nForwarded = 0;
        int nFailed = 0;
        ExpectCounts(Stop(), nForwarded, nFailed);
        EXPECT_EQ(nForwarded, nRecords);
        for (int n = 0; n < nRecords; ++n)
            m_vExpected.push_back(HostName() + " " + szLogName + " " + std::to_string(::getpid()) +
                                  " log " + std::to_string(n % 8) + " record " + std::to_string(n));
    }

    // The lines of rsyslogd's file, once it has as many as were forwarded: it writes the
    // file a little after it has the messages.
    std::vector<std::string> WrittenLines()
    {
        std::vector<std::string> vLines;
        for (int nTry = 0;
             nTry < HANG_GUARD_MILLISECONDS / 10 && vLines.size() < m_vExpected.size(); ++nTry)
        {
            vLines.clear();
            std::ifstream In(m_sFile);
            for (std::string sLine; std::getline(In, sLine);)
                vLines.push_back(sLine);
            if (vLines.size() < m_vExpected.size())
                ::poll(nullptr, 0, 10);
        }
        return vLines;
    }

    CTempDir m_Dir;
    pid_t m_nRsyslog = -1;
    int m_nUdpPort = 0;
    int m_nTcpPort = 0;
    std::string m_sFile;
    std::string m_sSocket; // a local socket as /dev/log, where rsyslogd reads RFC 5424
    std::vector<std::string> m_vExpected;
};

TEST_F(RsyslogServer, KeepsEveryRecordForwardedOverTcpUdpAndALocalSocket)
{
    Start();
    if (IsSkipped() || HasFatalFailure())
        return;
    constexpr int RECORDS = 400;
    Forward("tcp://127.0.0.1:" + std::to_string(m_nTcpPort), "rsyslogtcp", RECORDS);
    if (IsSkipped() || HasFatalFailure())
        return;
    Forward("udp://127.0.0.1:" + std::to_string(m_nUdpPort), "rsyslogudp", RECORDS);
    if (IsSkipped() || HasFatalFailure())
        return;
    Forward(m_sSocket, "rsysloglocal", RECORDS);
    if (IsSkipped() || HasFatalFailure())
        return;
    std::vector<std::string> vLines = WrittenLines();
    // Each transport keeps its order; which of them rsyslogd wrote first is its own
    // affair, so both lists are compared sorted.
    std::sort(vLines.begin(), vLines.end());
    std::sort(m_vExpected.begin(), m_vExpected.end());
    EXPECT_EQ(vLines, m_vExpected);
}
} // namespace
