// The developer channel and the fatal check. Debug_Printf and Debug_Warning format a
// text and send it, byte for byte, to the debugger channel (stderr here); no line end
// is added. Debug_Assert writes the four-line assertion banner there and aborts. None
// of them takes a lock; each call formats into a buffer of its own.
#pragma once

#include "common/kernel/api.h"

// Writes the assertion banner and ends the process; does not return.
[[noreturn]] COMMON_API void Debug_Assert(char const * szExpression, char const * szFile,
                                          int nLine);
// Formats a text as printf does and sends it to the debugger channel.
COMMON_API void Debug_Printf(char const * szFormat, ...) __attribute__((format(printf, 1, 2)));
// The same as Debug_Printf: same channel, no prefix.
COMMON_API void Debug_Warning(char const * szFormat, ...) __attribute__((format(printf, 1, 2)));
