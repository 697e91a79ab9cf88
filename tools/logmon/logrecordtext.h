// The log record as it arrives on the mailslot, and its two printed forms: the line
// of the .log file (nine fields joined by " | ") and one JSON object. Decoding takes
// the fields from a received CZRMailSlot block in wire order; a length that runs past
// the 400 bytes raises the slot's CMailSlotException 5002.
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
};

// Reads the nine fields of the block that BeginRead has just received.
void DecodeRecord(CZRMailSlot & Slot, sWireRecord & Record);
// The .log line without its line end; the numbers as signed decimals, as the file has them.
std::string FormatRecordLine(sWireRecord const & Record);
// One JSON object on one line. The tick stays a string, as on the wire.
std::string FormatRecordJson(sWireRecord const & Record);
