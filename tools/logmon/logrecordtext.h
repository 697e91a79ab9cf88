// The log record as it arrives on the mailslot, and its two printed forms: the line
// of the .log file (nine fields joined by " | ") and one JSON object. Decoding takes
// the fields from a received CZRMailSlot block in wire order; a length that runs past
// the 400 bytes raises the slot's CMailSlotException 5002. Beside the record, not in it,
// travels its sender as the system vouches for it, where the system tells.
#pragma once

#include <cstdint>
#include <string>

#include "common/mailslot/zrmailslot.h"
#include "common/string/zrstring.h"

struct sWireRecord
{
    CZRString m_sComputerName;
    CZRString m_sLogName;
    std::uint32_t m_ulProcessId = 0;
    std::uint32_t m_ulLevel = 0;
    CZRString m_sTickText; // decimal text on the wire, kept as text
    CZRString m_sContext;
    CZRString m_sSourceFile;
    std::uint32_t m_ulLine = 0;
    CZRString m_sMessage;
    // Not on the wire: who really sent it (SCM_CREDENTIALS on Linux; unknown on Windows).
    bool m_bSenderKnown = false;
    std::uint32_t m_ulSenderProcessId = 0;
    std::uint32_t m_ulSenderUserId = 0;
};

// Reads the nine fields of the block that BeginRead has just received, and its sender.
void DecodeRecord(CZRMailSlot & Slot, sWireRecord & Record);
// The .log line without its line end; the numbers as signed decimals, as the file has them.
std::string FormatRecordLine(sWireRecord const & Record);
// One JSON object on one line. The tick stays a string, as on the wire. The sender
// follows the nine fields: "sender_pid", "sender_uid" (null when unknown) and
// "pid_differs", true when the record claims another process than the one that sent it.
std::string FormatRecordJson(sWireRecord const & Record);
// The sender in front of a line: "[pid 4242 uid 1000] ", "[pid 4242 uid 1000 CLAIMS
// 77] " when the record names another process, "[sender unknown] ".
std::string FormatSenderTag(sWireRecord const & Record);
// True when the system named a sender and the record claims another process id.
bool ClaimsOtherProcess(sWireRecord const & Record);
