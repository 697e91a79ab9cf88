#include "syslogforwarder.h"

#include <cstdio>
#include <ctime>

namespace
{
constexpr std::size_t PENDING_MAX = 1 << 20;
constexpr std::chrono::seconds REOPEN_PAUSE{1};
constexpr std::chrono::seconds CONNECT_BOUND{1};
constexpr int FINISH_MILLISECONDS = 1000;

ePlatformSocketKind SocketKind(eSyslogTransport eTransport)
{
    if (eTransport == SYSLOG_TCP)
        return PLATFORM_SOCKET_TCP;
    return eTransport == SYSLOG_UDP ? PLATFORM_SOCKET_UDP : PLATFORM_SOCKET_LOCAL;
}
} // namespace

CSyslogForwarder::~CSyslogForwarder()
{
    Close();
}

bool CSyslogForwarder::Prepare(std::string const & sAddress, std::string & sError)
{
    m_sAddressText = sAddress;
    return ParseSyslogAddress(sAddress, m_Address, sError);
}

void CSyslogForwarder::Start()
{
    std::fprintf(stderr, "logmon: forwarding records to syslog %s\n", m_sAddressText.c_str());
    EnsureOpen();
}

bool CSyslogForwarder::EnsureOpen()
{
    if (m_hSocket != PLATFORM_INVALID_SOCKET)
        return true;
    Clock::time_point const Now = Clock::now();
    if (Now < m_NextOpen)
        return false;
    m_NextOpen = Now + REOPEN_PAUSE;
    std::string sError;
    m_hSocket =
        PLATFORM_OpenClientSocket(SocketKind(m_Address.m_eTransport), m_Address.m_sHost.c_str(),
                                  m_Address.m_sPort.c_str(), sError);
    if (m_hSocket == PLATFORM_INVALID_SOCKET)
    {
        Fail(sError, 0);
        return false;
    }
    m_bConnecting = m_Address.m_eTransport == SYSLOG_TCP;
    m_ConnectBy = Now + CONNECT_BOUND;
    return true;
}

void CSyslogForwarder::Close()
{
    PLATFORM_CloseSocket(m_hSocket);
    m_hSocket = PLATFORM_INVALID_SOCKET;
    m_bConnecting = false;
}

void CSyslogForwarder::Fail(std::string const & sReason, std::uint64_t ullRecords)
{
    m_ullFailed += ullRecords;
    m_ullFailedSinceReport += ullRecords;
    if (m_bFailing)
        return;
    m_bFailing = true;
    std::fprintf(stderr,
                 "logmon: syslog %s: %s; records that cannot be forwarded are counted and "
                 "dropped\n",
                 m_sAddressText.c_str(), sReason.c_str());
}

void CSyslogForwarder::Succeed(std::uint64_t ullRecords)
{
    m_ullForwarded += ullRecords;
    if (!m_bFailing)
        return;
    m_bFailing = false;
    std::fprintf(stderr, "logmon: syslog %s: forwarding again; %llu records were not forwarded\n",
                 m_sAddressText.c_str(), static_cast<unsigned long long>(m_ullFailedSinceReport));
    m_ullFailedSinceReport = 0;
}

// The connection failed: what waits for it is lost, and the socket is made anew later.
void CSyslogForwarder::Drop(std::string const & sReason)
{
    std::uint64_t const ullLost = m_dPendingEnds.size();
    m_sPending.clear();
    m_dPendingEnds.clear();
    Close();
    Fail(sReason, ullLost);
}

// Whether the TCP connection is made; one that failed or is overdue is dropped.
bool CSyslogForwarder::Connected()
{
    if (!m_bConnecting)
        return true;
    std::string sError;
    int const nState = PLATFORM_GetSocketConnected(m_hSocket, sError);
    if (nState > 0)
    {
        m_bConnecting = false;
        return true;
    }
    if (nState < 0)
        Drop(sError);
    else if (Clock::now() >= m_ConnectBy)
        Drop("no connection within a second");
    return false;
}

void CSyslogForwarder::Forward(sWireRecord const & Record)
{
    std::string sMessage = FormatSyslogMessage(Record, std::time(nullptr));
    if (!EnsureOpen())
    {
        Fail("no connection", 1);
        return;
    }
    if (m_Address.m_eTransport != SYSLOG_TCP)
    {
        std::string sError;
        long long const llSent =
            PLATFORM_SendSocket(m_hSocket, sMessage.data(), sMessage.size(), sError);
        if (llSent > 0)
            Succeed(1);
        else if (llSent == 0)
            Fail("the server's queue is full", 1);
        else
        {
            Close();
            Fail(sError, 1);
        }
        return;
    }
    std::string const sFramed = std::to_string(sMessage.size()) + " " + sMessage;
    if (m_sPending.size() + sFramed.size() > PENDING_MAX)
    {
        Fail("the connection does not keep up", 1);
        return;
    }
    m_sPending += sFramed;
    m_dPendingEnds.push_back(m_sPending.size());
    Flush();
}

void CSyslogForwarder::Flush()
{
    if (!Connected())
        return;
    std::size_t nTaken = 0;
    std::string sError;
    bool bFailed = false;
    while (nTaken < m_sPending.size())
    {
        long long const llSent = PLATFORM_SendSocket(m_hSocket, m_sPending.data() + nTaken,
                                                     m_sPending.size() - nTaken, sError);
        bFailed = llSent < 0;
        if (llSent <= 0)
            break;
        nTaken += static_cast<std::size_t>(llSent);
    }
    std::uint64_t ullWhole = 0;
    while (!m_dPendingEnds.empty() && m_dPendingEnds.front() <= nTaken)
    {
        m_dPendingEnds.pop_front();
        ++ullWhole;
    }
    for (std::size_t & nEnd : m_dPendingEnds)
        nEnd -= nTaken;
    m_sPending.erase(0, nTaken);
    if (ullWhole > 0)
        Succeed(ullWhole);
    if (bFailed)
        Drop(sError);
}

void CSyslogForwarder::Pump()
{
    if (m_hSocket != PLATFORM_INVALID_SOCKET && (m_bConnecting || !m_sPending.empty()))
        Flush();
}

void CSyslogForwarder::Finish()
{
    Clock::time_point const End = Clock::now() + std::chrono::milliseconds(FINISH_MILLISECONDS);
    while (!m_sPending.empty() && m_hSocket != PLATFORM_INVALID_SOCKET && Clock::now() < End)
    {
        int const nLeft = static_cast<int>(
            std::chrono::duration_cast<std::chrono::milliseconds>(End - Clock::now()).count());
        if (PLATFORM_WaitSocketWritable(m_hSocket, nLeft > 0 ? nLeft : 0))
            Flush();
    }
    if (!m_sPending.empty())
        Drop("the connection did not take the last records in time");
    Close();
    std::fprintf(stderr, "logmon: syslog %s: %llu records forwarded, %llu not forwarded\n",
                 m_sAddressText.c_str(), static_cast<unsigned long long>(m_ullForwarded),
                 static_cast<unsigned long long>(m_ullFailed));
}
