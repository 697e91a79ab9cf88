// _ZR_Log_Fn: the library's one log entry. It assembles a record of nine fields (the
// computer's name, log name, process id, level, tick text, context, source file, source
// line and a message cut to 255 bytes) and hands it to the sinks asked for, in this
// order: the debugger channel, "<log name>.log", the mailslot "\\*\mailslot\debug". A
// failing file sink stays inside; the mailslot sink raises CMailSlotException to the
// caller. Takes no lock: calls with the mailslot bit are serialized by the callers.
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
// context. ulReserved is not read and ulLevel is passed on uninterpreted. True whenever
// it returns.
COMMON_API bool _ZR_Log_Fn(char const * szSourceFile, char const * szLogName,
                           char const * szContext, std::uint32_t ulLine, std::uint32_t ulReserved,
                           std::uint32_t ulSinks, std::uint32_t ulLevel, char const * szFormat, ...)
    __attribute__((format(printf, 8, 9)));
