#include "common/log/logsinks.h"

#include "common/file/fileio.h"
#include "common/kernel/libraryobjects.h"
#include "common/platform/debugchannel.h"

namespace
{
char const s_szSeparator[] = " | ";
char const s_szLineEnd[] = "\r\n";
char const s_szMailSlotName[] = "\\\\*\\mailslot\\debug";

CZRString NumberText(std::uint32_t ulValue)
{
    CZRString sText;
    sText.Format("%d", static_cast<int>(ulValue));
    return sText;
}

void WriteLine(CFileIO & File, sLogRecord const & Record)
{
    CZRString const sSeparator(s_szSeparator);
    File.WriteConstAscii(Record.m_sComputerName);
    File.WriteConstAscii(sSeparator);
    File.WriteConstAscii(Record.m_sLogName);
    File.WriteConstAscii(sSeparator);
    File.WriteConstAscii(NumberText(Record.m_ulProcessId));
    File.WriteConstAscii(sSeparator);
    File.WriteConstAscii(NumberText(Record.m_ulLevel));
    File.WriteConstAscii(sSeparator);
    File.WriteConstAscii(Record.m_sTickText);
    File.WriteConstAscii(sSeparator);
    File.WriteConstAscii(Record.m_sContext);
    File.WriteConstAscii(sSeparator);
    File.WriteConstAscii(Record.m_sSourceFile);
    File.WriteConstAscii(sSeparator);
    File.WriteConstAscii(NumberText(Record.m_ulLine));
    File.WriteConstAscii(sSeparator);
    File.WriteConstAscii(CZRString(Record.m_szMessage));
    File.WriteConstAscii(CZRString(s_szLineEnd));
}
} // namespace

void LOG_DeliverToFile(sLogRecord const & Record)
{
    // The stream lives outside the guarded block: were it destroyed while an exception
    // unwinds, a second exception from its closing would end the process. The handler
    // closes it instead.
    CFileIO File;
    bool bWritten = false;
    try
    {
        CZRString sName(Record.m_sLogName);
        if (sName.IsEmpty())
            return;
        sName += ".log";
        File.Open(sName, FILEIO_APPEND);
        WriteLine(File, Record);
        // The line waits in the stream's buffer until here: a full disk shows at the
        // flush, which reports it by its result, not by an exception.
        bWritten = File.Flush();
        if (bWritten)
            File.Close();
    }
    catch (...)
    {
        bWritten = false;
    }
    if (!bWritten)
    {
        // The one catch of the library: a log file that fails must not fail the caller.
        PLATFORM_WriteDebugText("Error while writing to log file. Hard disk full?\n");
        if (File.IsOpened())
            File.Close();
    }
}

void LOG_DeliverToMailSlot(sLogRecord const & Record)
{
    if (!g_MailSlot.IsOpened())
        g_MailSlot.Open(s_szMailSlotName, false);
    g_MailSlot.BeginWrite();
    g_MailSlot.Write(Record.m_sComputerName);
    g_MailSlot.Write(Record.m_sLogName);
    g_MailSlot.Write(&Record.m_ulProcessId, 4);
    g_MailSlot.Write(&Record.m_ulLevel, 4);
    g_MailSlot.Write(Record.m_sTickText);
    g_MailSlot.Write(Record.m_sContext);
    g_MailSlot.Write(Record.m_sSourceFile);
    g_MailSlot.Write(&Record.m_ulLine, 4);
    g_MailSlot.Write(CZRString(Record.m_szMessage));
    g_MailSlot.EndWrite();
}
