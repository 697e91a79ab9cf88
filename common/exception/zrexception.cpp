#include "common/exception/zrexception.h"

#include "common/kernel/check.h"
#include "common/kernel/text.h"

static char const s_szSourceFile[] = "common/exception/zrexception";

namespace
{
// The limited copy leaves a full buffer unterminated when the text has 256 bytes or
// more; the last byte is cleared so that the readers always return a terminated text.
void CopyText(char (&szBuffer)[256], char const * szText)
{
    STR_strncpy(szBuffer, szText, sizeof(szBuffer));
    szBuffer[sizeof(szBuffer) - 1] = '\0';
}
} // namespace

CZRException::CZRException(eErrorClass eClass, std::uint32_t ulCode, std::uint32_t ulLine,
                           char const * szFile, char const * szError)
    : m_eErrorClass(eClass), m_ulErrorCode(ulCode), m_ulLine(ulLine)
{
    ZR_CHECK(szFile != nullptr, s_szSourceFile);
    CopyText(m_szFileName, szFile);
    if (szError != nullptr)
        CopyText(m_szErrorString, szError);
    else
        m_szErrorString[0] = '\0';
}

char const * CZRException::GetErrorString() const
{
    return m_szErrorString;
}

char const * CZRException::GetFileName() const
{
    return m_szFileName;
}

std::uint32_t CZRException::GetLine() const
{
    return m_ulLine;
}

eErrorClass CZRException::GetErrorClass() const
{
    return m_eErrorClass;
}

std::uint32_t CZRException::GetErrorCode() const
{
    return m_ulErrorCode;
}

CXfsException::CXfsException(std::uint32_t ulCode, std::uint32_t ulLine, char const * szFile,
                             char const * szError)
    : CZRException(ERRORCLASS_FILE, ulCode, ulLine, szFile, szError)
{
}

CFileIOException::CFileIOException(std::uint32_t ulCode, std::uint32_t ulLine, char const * szFile,
                                   char const * szError)
    : CZRException(ERRORCLASS_FILE, ulCode, ulLine, szFile, szError)
{
}

CMemFileIOException::CMemFileIOException(std::uint32_t ulCode, std::uint32_t ulLine,
                                         char const * szFile, char const * szError)
    : CZRException(ERRORCLASS_FILE, ulCode, ulLine, szFile, szError)
{
}

CMailSlotException::CMailSlotException(std::uint32_t ulCode, std::uint32_t ulLine,
                                       char const * szFile, char const * szError)
    : CZRException(ERRORCLASS_MAILSLOT, ulCode, ulLine, szFile, szError)
{
}
