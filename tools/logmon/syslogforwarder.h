// logmon --syslog: sends each record it is given to a syslog server as an RFC 5424
// message, without ever making the monitor wait. Messages that the system cannot take
// at once (a local server's queue holds only a few datagrams, a TCP connection may be
// slow or still being made) wait in memory, up to 1 MiB, and go when the monitor wakes
// next. A record is counted as not forwarded and dropped when that queue is full, when
// the server is gone, or when a TCP connection is not made within a second; what waits
// when the socket fails goes with it. stderr is told when forwarding stops and when it
// works again. A lost socket is opened anew for a later record, at most once a second.
#pragma once

#include <chrono>
#include <cstdint>
#include <deque>
#include <string>

#include "common/platform/clientsocket.h"
#include "logrecordtext.h"
#include "syslogmessage.h"

class CSyslogForwarder
{
public:
    CSyslogForwarder() = default;
    CSyslogForwarder(CSyslogForwarder const &) = delete;
    CSyslogForwarder & operator=(CSyslogForwarder const &) = delete;
    ~CSyslogForwarder();

    // Takes the ADDRESS of --syslog; false with the reason when it cannot be understood.
    bool Prepare(std::string const & sAddress, std::string & sError);
    // Says where records go and opens the socket. A server that cannot be reached yet is
    // no failure here: it is tried again for a later record.
    void Start();
    void Forward(sWireRecord const & Record);
    // Sends what waits, and gives up on a TCP connection that is not made in time; call
    // it whenever the monitor wakes.
    void Pump();
    // How long the monitor may sleep, at most ulIdle: while messages wait, 5 ms, twice
    // as long after each look that sent nothing, up to ulIdle.
    std::uint32_t GetWait(std::uint32_t ulIdle) const;
    // At the end: up to a second for what still waits, then the counts on stderr.
    void Finish();

    std::uint64_t GetForwarded() const { return m_ullForwarded; }
    std::uint64_t GetFailed() const { return m_ullFailed; }

private:
    using Clock = std::chrono::steady_clock;

    bool EnsureOpen();
    void Close();
    void Fail(std::string const & sReason, std::uint64_t ullRecords);
    void Succeed(std::uint64_t ullRecords);
    bool Connected();
    void Flush();
    void Backoff(bool bProgress);
    void Drop(std::string const & sReason);

    std::string m_sAddressText;
    sSyslogAddress m_Address;
    std::intptr_t m_hSocket = PLATFORM_INVALID_SOCKET;
    bool m_bConnecting = false; // a TCP connection is being made, until m_ConnectBy
    Clock::time_point m_ConnectBy{};
    Clock::time_point m_NextOpen{};
    std::deque<std::string> m_dPending; // messages (framed for TCP) the system has not taken
    std::size_t m_nPendingBytes = 0;
    std::size_t m_nFrontSent = 0;    // bytes of the first one that TCP has taken already
    std::uint32_t m_ulRetryWait = 0; // the next GetWait while messages wait
    std::uint64_t m_ullForwarded = 0;
    std::uint64_t m_ullFailed = 0;
    std::uint64_t m_ullFailedSinceReport = 0;
    bool m_bFailing = false;
};
