// _ZR_Log_Fn: the library's one log entry. It assembles a record of nine fields (the
// computer's name, log name, process id, level, tick text, context, source file, source
// line and a message cut to 255 bytes) and hands it to the sinks asked for. Bit 1 is
// the debugger channel. Bits 2 (the .log file) and 4 (the mailslot) are not served yet
// and deliver nothing. Takes no lock; the record lives on the caller's stack.
#pragma once

#include <cstdint>

#include "common/kernel/api.h"

// The sink bits of _ZR_Log_Fn; independent, served in this order.
enum eLogSink : std::uint32_t
{
    LOG_DEBUGOUTPUT = 1,
    LOG_FILE = 2,
    LOG_MAILSLOT = 4,
};

// Delivers one record; a null text counts as empty for the source file, log name and
// context. ulReserved is not read and ulLevel is passed on uninterpreted. Always true.
COMMON_API bool _ZR_Log_Fn(char const * szSourceFile, char const * szLogName,
                           char const * szContext, std::uint32_t ulLine, std::uint32_t ulReserved,
                           std::uint32_t ulSinks, std::uint32_t ulLevel, char const * szFormat, ...)
    __attribute__((format(printf, 8, 9)));
