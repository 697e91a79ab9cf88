#include "syslogforwarder.h"

#include <algorithm>
#include <cstdio>
#include <ctime>
#include <utility>

namespace
{
constexpr std::size_t PENDING_MAX = 1 << 20;
constexpr std::chrono::seconds REOPEN_PAUSE{1};
constexpr std::chrono::seconds CONNECT_BOUND{1};
constexpr int FINISH_MILLISECONDS = 1000;
constexpr std::uint32_t RETRY_FIRST_MILLISECONDS = 5;
constexpr std::uint32_t RETRY_LAST_MILLISECONDS = 1000;

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

// The socket failed: what waits for it is lost, and it is made anew later.
void CSyslogForwarder::Drop(std::string const & sReason)
{
    std::uint64_t const ullLost = m_dPending.size();
    m_dPending.clear();
    m_nPendingBytes = 0;
    m_nFrontSent = 0;
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
    if (m_Address.m_eTransport == SYSLOG_TCP)
        sMessage = std::to_string(sMessage.size()) + " " + sMessage;
    if (m_nPendingBytes + sMessage.size() > PENDING_MAX)
    {
        Fail("the server does not keep up", 1);
        return;
    }
    m_nPendingBytes += sMessage.size();
    m_dPending.push_back(std::move(sMessage));
    Flush();
}

// Sends waiting messages until the system takes no more; a datagram goes whole or not
// at all, a TCP message may go in parts.
void CSyslogForwarder::Flush()
{
    if (!Connected())
    {
        Backoff(false);
        return;
    }
    std::uint64_t ullWhole = 0;
    bool bProgress = false;
    std::string sError;
    long long llSent = 0;
    while (!m_dPending.empty())
    {
        std::string const & sFront = m_dPending.front();
        llSent = PLATFORM_SendSocket(m_hSocket, sFront.data() + m_nFrontSent,
                                     sFront.size() - m_nFrontSent, sError);
        if (llSent <= 0)
            break;
        bProgress = true;
        m_nFrontSent += static_cast<std::size_t>(llSent);
        if (m_nFrontSent < sFront.size())
            continue;
        m_nPendingBytes -= sFront.size();
        m_nFrontSent = 0;
        m_dPending.pop_front();
        ++ullWhole;
    }
    if (ullWhole > 0)
        Succeed(ullWhole);
    Backoff(bProgress);
    if (llSent < 0)
        Drop(sError);
}

// A server that takes nothing is looked at less and less often, up to the idle wait.
void CSyslogForwarder::Backoff(bool bProgress)
{
    m_ulRetryWait = bProgress ? RETRY_FIRST_MILLISECONDS
                              : std::min(2 * std::max(m_ulRetryWait, RETRY_FIRST_MILLISECONDS),
                                         RETRY_LAST_MILLISECONDS);
}

std::uint32_t CSyslogForwarder::GetWait(std::uint32_t ulIdle) const
{
    if (m_dPending.empty() && !m_bConnecting)
        return ulIdle;
    return std::min(ulIdle, std::max(m_ulRetryWait, RETRY_FIRST_MILLISECONDS));
}

void CSyslogForwarder::Pump()
{
    if (m_hSocket != PLATFORM_INVALID_SOCKET && (m_bConnecting || !m_dPending.empty()))
        Flush();
}

void CSyslogForwarder::Finish()
{
    Clock::time_point const End = Clock::now() + std::chrono::milliseconds(FINISH_MILLISECONDS);
    while (!m_dPending.empty() && m_hSocket != PLATFORM_INVALID_SOCKET && Clock::now() < End)
    {
        int const nLeft = static_cast<int>(
            std::chrono::duration_cast<std::chrono::milliseconds>(End - Clock::now()).count());
        if (PLATFORM_WaitSocketWritable(m_hSocket, nLeft > 0 ? nLeft : 0))
            Flush();
    }
    if (!m_dPending.empty())
        Drop("the connection did not take the last records in time");
    Close();
    std::fprintf(stderr, "logmon: syslog %s: %llu records forwarded, %llu not forwarded\n",
                 m_sAddressText.c_str(), static_cast<unsigned long long>(m_ullForwarded),
                 static_cast<unsigned long long>(m_ullFailed));
}
