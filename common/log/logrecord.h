// The log record as the sinks of _ZR_Log_Fn take it, in the order of the nine fields
// of both stored forms. Private to the library.
#pragma once

#include <cstdint>

#include "common/string/zrstring.h"

struct sLogRecord
{
    CZRString m_sComputerName; // at most 255 bytes, empty when none is to be had
    CZRString m_sLogName;      // also the base name of the log file
    std::uint32_t m_ulProcessId;
    std::uint32_t m_ulLevel; // passed on, not interpreted
    CZRString m_sTickText;   // the tick count made text with "%d"
    CZRString m_sContext;
    CZRString m_sSourceFile;
    std::uint32_t m_ulLine;
    char m_szMessage[256]; // the formatted message, cut to 255 bytes
};
