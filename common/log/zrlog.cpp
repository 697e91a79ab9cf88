#include "common/log/zrlog.h"

#include <cstdarg>

#include "common/kernel/debug.h"
#include "common/kernel/text.h"
#include "common/log/logrecord.h"
#include "common/platform/computername.h"
#include "common/platform/process.h"
#include "common/platform/tickcount.h"

namespace
{
// The registry value that this stands in for is read into 260 bytes and lent to a
// string of 256; the string takes its length from the terminator.
void ReadComputerName(CZRString & sName)
{
    char szValue[260];
    PLATFORM_GetComputerName(szValue, 256);
    char * szBuffer = sName.GetBuffer(255);
    STR_strncpy(szBuffer, szValue, 256);
    szBuffer[255] = '\0';
    sName.ReleaseBuffer();
}

void FormatMessage(char (&szMessage)[256], char const * szFormat, va_list pArgs)
{
    STR_vsnprintf(szMessage, sizeof(szMessage), szFormat, pArgs);
    // A text of 256 bytes or more fills the buffer without a terminator: cut it to 255.
    szMessage[sizeof(szMessage) - 1] = '\0';
}

void DeliverToDebugger(sLogRecord const & Record)
{
    Debug_Printf("%s", Record.m_szMessage);
    Debug_Printf("\n");
}
} // namespace

bool _ZR_Log_Fn(char const * szSourceFile, char const * szLogName, char const * szContext,
                std::uint32_t ulLine, std::uint32_t ulReserved, std::uint32_t ulSinks,
                std::uint32_t ulLevel, char const * szFormat, ...)
{
    static_cast<void>(ulReserved);

    sLogRecord Record;
    ReadComputerName(Record.m_sComputerName);
    Record.m_sLogName = szLogName;
    Record.m_sTickText.Format("%d", static_cast<int>(PLATFORM_GetTickCount()));
    Record.m_sContext = szContext;
    Record.m_ulProcessId = PLATFORM_GetProcessId();
    Record.m_ulLevel = ulLevel;
    Record.m_sSourceFile = szSourceFile;
    Record.m_ulLine = ulLine;

    va_list pArgs;
    va_start(pArgs, szFormat);
    FormatMessage(Record.m_szMessage, szFormat, pArgs);
    va_end(pArgs);

    if ((ulSinks & LOG_DEBUGOUTPUT) != 0)
        DeliverToDebugger(Record);
    // The .log file (LOG_FILE) and the mailslot (LOG_MAILSLOT) sinks take the same
    // record, after the debugger channel; they are not part of the library yet.
    return true;
}
