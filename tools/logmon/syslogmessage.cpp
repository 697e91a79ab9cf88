#include "syslogmessage.h"

namespace
{
constexpr int FACILITY_USER = 1;

// The header fields' limits in RFC 5424.
constexpr std::size_t HOSTNAME_MAX = 255;
constexpr std::size_t APPNAME_MAX = 48;

std::string Bytes(CZRString const & sText)
{
    if (sText.GetLength() == 0)
        return std::string();
    return std::string(sText.GetString(), static_cast<std::size_t>(sText.GetLength()));
}

// A byte from 0x80 on is the character of the same number, in two UTF-8 bytes.
void AppendCharacter(std::string & sOut, unsigned char uc)
{
    if (uc < 0x80)
    {
        sOut += static_cast<char>(uc);
        return;
    }
    sOut += static_cast<char>(0xC0 | (uc >> 6));
    sOut += static_cast<char>(0x80 | (uc & 0x3F));
}

// Header fields allow printable ASCII only and no blank; "-" stands for an empty one.
std::string HeaderField(std::string const & sText, std::size_t nMax)
{
    std::string sOut;
    for (char const c : sText.substr(0, nMax))
    {
        unsigned char const uc = static_cast<unsigned char>(c);
        sOut += (uc > 32 && uc < 127) ? c : '_';
    }
    return sOut.empty() ? "-" : sOut;
}

// A PARAM-VALUE: '"', '\' and ']' are escaped with a backslash.
std::string ParamValue(std::string const & sText)
{
    std::string sOut;
    for (char const c : sText)
    {
        if (c == '"' || c == '\\' || c == ']')
            sOut += '\\';
        AppendCharacter(sOut, static_cast<unsigned char>(c));
    }
    return sOut;
}

std::string Param(char const * szName, std::string const & sValue)
{
    return std::string(" ") + szName + "=\"" + ParamValue(sValue) + "\"";
}

std::string Signed(std::uint32_t ulValue)
{
    return std::to_string(static_cast<std::int32_t>(ulValue));
}

std::string Timestamp(std::time_t tNow)
{
    std::tm const * pTime = std::gmtime(&tNow);
    if (pTime == nullptr)
        return "-";
    char szText[32];
    std::strftime(szText, sizeof(szText), "%Y-%m-%dT%H:%M:%SZ", pTime);
    return szText;
}

bool ParseHostPort(std::string const & sRest, sSyslogAddress & Address, std::string & sError)
{
    std::size_t nColon = std::string::npos;
    if (!sRest.empty() && sRest[0] == '[')
    {
        std::size_t const nClose = sRest.find(']');
        if (nClose == std::string::npos || nClose + 1 >= sRest.size() || sRest[nClose + 1] != ':')
        {
            sError = "an IPv6 host is written [HOST]:PORT";
            return false;
        }
        Address.m_sHost = sRest.substr(1, nClose - 1);
        nColon = nClose + 1;
    }
    else
    {
        nColon = sRest.rfind(':');
        if (nColon == std::string::npos)
        {
            sError = "the port is missing (HOST:PORT)";
            return false;
        }
        Address.m_sHost = sRest.substr(0, nColon);
    }
    Address.m_sPort = sRest.substr(nColon + 1);
    if (Address.m_sHost.empty())
    {
        sError = "the host is missing (HOST:PORT)";
        return false;
    }
    bool bDigits = !Address.m_sPort.empty() && Address.m_sPort.size() <= 5;
    for (char const c : Address.m_sPort)
        bDigits = bDigits && c >= '0' && c <= '9';
    if (!bDigits || std::stoul(Address.m_sPort) == 0 || std::stoul(Address.m_sPort) > 65535)
    {
        sError = "the port must be a number from 1 to 65535";
        return false;
    }
    return true;
}
} // namespace

bool ParseSyslogAddress(std::string const & sText, sSyslogAddress & Address, std::string & sError)
{
    Address = sSyslogAddress();
    if (sText.compare(0, 6, "udp://") == 0 || sText.compare(0, 6, "tcp://") == 0)
    {
        Address.m_eTransport = sText[0] == 'u' ? SYSLOG_UDP : SYSLOG_TCP;
        return ParseHostPort(sText.substr(6), Address, sError);
    }
    if (sText.empty() || sText[0] != '/')
    {
        sError = "expected udp://HOST:PORT, tcp://HOST:PORT or the path of a local socket";
        return false;
    }
    Address.m_sHost = sText;
    return true;
}

int SyslogSeverity(std::uint32_t ulLevel)
{
    return ulLevel > 7 ? 7 : static_cast<int>(ulLevel);
}

std::string FormatSyslogMessage(sWireRecord const & Record, std::time_t tNow)
{
    std::uint32_t const ulProcessId =
        Record.m_bSenderKnown ? Record.m_ulSenderProcessId : Record.m_ulProcessId;
    std::string sMessage =
        "<" + std::to_string(FACILITY_USER * 8 + SyslogSeverity(Record.m_ulLevel)) + ">1 " +
        Timestamp(tNow) + " " + HeaderField(Bytes(Record.m_sComputerName), HOSTNAME_MAX) + " " +
        HeaderField(Bytes(Record.m_sLogName), APPNAME_MAX) + " " + std::to_string(ulProcessId) +
        " log [zrlog@32473";
    sMessage += Param("computer", Bytes(Record.m_sComputerName));
    sMessage += Param("log", Bytes(Record.m_sLogName));
    sMessage += Param("pid", Signed(Record.m_ulProcessId));
    if (Record.m_bSenderKnown)
    {
        sMessage += Param("sender_pid", std::to_string(Record.m_ulSenderProcessId));
        sMessage += Param("sender_uid", std::to_string(Record.m_ulSenderUserId));
    }
    sMessage += Param("level", Signed(Record.m_ulLevel));
    sMessage += Param("tick", Bytes(Record.m_sTickText));
    sMessage += Param("context", Bytes(Record.m_sContext));
    sMessage += Param("file", Bytes(Record.m_sSourceFile));
    sMessage += Param("line", Signed(Record.m_ulLine));
    sMessage += "] ";
    for (char const c : Bytes(Record.m_sMessage))
        AppendCharacter(sMessage, static_cast<unsigned char>(c));
    return sMessage;
}
