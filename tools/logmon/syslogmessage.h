// What logmon sends to a syslog server: where it goes (an ADDRESS of --syslog) and the
// RFC 5424 message that one log record becomes. Facility user (1); the level chooses the
// severity (0 to 7 as they are, higher levels debug). The header carries the computer
// name as HOSTNAME, the log name as APP-NAME, the sender's process id as PROCID and
// "log" as MSGID; the structured element zrlog@32473 repeats every field of the record.
// Texts are bytes of an unknown code page: bytes from 0x80 on go out as the characters
// U+0080 to U+00FF in UTF-8, as logmon's JSON has them, so every message is valid UTF-8.
#pragma once

#include <cstdint>
#include <ctime>
#include <string>

#include "logrecordtext.h"

enum eSyslogTransport
{
    SYSLOG_LOCAL, // a local datagram socket, /dev/log by default
    SYSLOG_UDP,
    SYSLOG_TCP, // octet-counted framing (RFC 6587)
};

struct sSyslogAddress
{
    eSyslogTransport m_eTransport = SYSLOG_LOCAL;
    std::string m_sHost; // the socket's path for SYSLOG_LOCAL
    std::string m_sPort;
};

// "/dev/log" or another absolute path, "udp://HOST:PORT", "tcp://HOST:PORT"; an IPv6
// host goes in brackets ("udp://[::1]:514"). False with the reason in sError.
bool ParseSyslogAddress(std::string const & sText, sSyslogAddress & Address, std::string & sError);

// 0 to 7 for levels 0 to 7, 7 (debug) above.
int SyslogSeverity(std::uint32_t ulLevel);

// The whole message without framing. tNow is the time of the TIMESTAMP (UTC, seconds):
// the record itself has only the sender's tick count.
std::string FormatSyslogMessage(sWireRecord const & Record, std::time_t tNow);
