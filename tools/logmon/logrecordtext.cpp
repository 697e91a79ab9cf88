#include "logrecordtext.h"

#include <cstdio>

namespace
{
std::string Text(CZRString const & sText)
{
    if (sText.GetLength() == 0)
        return std::string();
    return std::string(sText.GetString(), static_cast<std::size_t>(sText.GetLength()));
}

std::string Signed(std::uint32_t ulValue)
{
    return std::to_string(static_cast<std::int32_t>(ulValue));
}

// The texts are bytes of an unknown code page. Bytes from 0x80 on are written as
// \u0080 to \u00FF, so that the output is always valid JSON whatever came in.
std::string JsonString(CZRString const & sText)
{
    std::string sOut = "\"";
    for (char const c : Text(sText))
    {
        unsigned char const uc = static_cast<unsigned char>(c);
        if (c == '"' || c == '\\')
        {
            sOut += '\\';
            sOut += c;
        }
        else if (c == '\n')
            sOut += "\\n";
        else if (c == '\r')
            sOut += "\\r";
        else if (c == '\t')
            sOut += "\\t";
        else if (uc < 0x20 || uc >= 0x7F)
        {
            char szEscape[8];
            std::snprintf(szEscape, sizeof(szEscape), "\\u%04x", uc);
            sOut += szEscape;
        }
        else
            sOut += c;
    }
    sOut += '"';
    return sOut;
}
} // namespace

void DecodeRecord(CZRMailSlot & Slot, sWireRecord & Record)
{
    Slot.Read(Record.m_sComputerName);
    Slot.Read(Record.m_sLogName);
    Slot.Read(&Record.m_ulProcessId, 4);
    Slot.Read(&Record.m_ulLevel, 4);
    Slot.Read(Record.m_sTickText);
    Slot.Read(Record.m_sContext);
    Slot.Read(Record.m_sSourceFile);
    Slot.Read(&Record.m_ulLine, 4);
    Slot.Read(Record.m_sMessage);
    Slot.EndRead();
    Record.m_bSenderKnown = Slot.GetSender(Record.m_ulSenderProcessId, Record.m_ulSenderUserId);
}

std::string FormatRecordLine(sWireRecord const & Record)
{
    std::string const sSeparator = " | ";
    return Text(Record.m_sComputerName) + sSeparator + Text(Record.m_sLogName) + sSeparator +
           Signed(Record.m_ulProcessId) + sSeparator + Signed(Record.m_ulLevel) + sSeparator +
           Text(Record.m_sTickText) + sSeparator + Text(Record.m_sContext) + sSeparator +
           Text(Record.m_sSourceFile) + sSeparator + Signed(Record.m_ulLine) + sSeparator +
           Text(Record.m_sMessage);
}

std::string FormatRecordJson(sWireRecord const & Record)
{
    return "{\"computer\":" + JsonString(Record.m_sComputerName) +
           ",\"log\":" + JsonString(Record.m_sLogName) +
           ",\"pid\":" + Signed(Record.m_ulProcessId) + ",\"level\":" + Signed(Record.m_ulLevel) +
           ",\"tick\":" + JsonString(Record.m_sTickText) +
           ",\"context\":" + JsonString(Record.m_sContext) +
           ",\"file\":" + JsonString(Record.m_sSourceFile) +
           ",\"line\":" + Signed(Record.m_ulLine) +
           ",\"message\":" + JsonString(Record.m_sMessage) + ",\"sender_pid\":" +
           (Record.m_bSenderKnown ? std::to_string(Record.m_ulSenderProcessId) : "null") +
           ",\"sender_uid\":" +
           (Record.m_bSenderKnown ? std::to_string(Record.m_ulSenderUserId) : "null") +
           ",\"pid_differs\":" + (ClaimsOtherProcess(Record) ? "true" : "false") + "}";
}

std::string FormatSenderTag(sWireRecord const & Record)
{
    if (!Record.m_bSenderKnown)
        return "[sender unknown] ";
    std::string sTag = "[pid " + std::to_string(Record.m_ulSenderProcessId) + " uid " +
                       std::to_string(Record.m_ulSenderUserId);
    if (ClaimsOtherProcess(Record))
        sTag += " CLAIMS " + Signed(Record.m_ulProcessId);
    return sTag + "] ";
}

bool ClaimsOtherProcess(sWireRecord const & Record)
{
    return Record.m_bSenderKnown && Record.m_ulSenderProcessId != Record.m_ulProcessId;
}
