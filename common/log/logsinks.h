// The two sinks of _ZR_Log_Fn that leave the process. Private to the library.
// The file sink appends one line to "<log name>.log": the nine fields joined by " | "
// and ended by "\r\n", the file opened and closed for each record; any failure in it
// ends there with a message on the debugger channel. The mailslot sink sends one
// 400-byte message to "\\*\mailslot\debug" through the library's one CZRMailSlot; its
// exceptions pass to the caller. The mailslot sink is used by one thread at a time.
#pragma once

#include "common/log/logrecord.h"

void LOG_DeliverToFile(sLogRecord const & Record);
void LOG_DeliverToMailSlot(sLogRecord const & Record);
