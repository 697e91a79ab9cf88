// The text form of CFileIO: values separated by "; ", quoted strings and characters,
// "//" comments up to a line end or a byte above 127, white space of blank, tab, line
// feed and carriage return between values. Everything here goes through the virtual raw
// and position operations, one byte at a time on reading, so CMemFileIO inherits it.
#include "common/file/fileio.h"
#include "common/kernel/libraryobjects.h"

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <new>
#include <string>

namespace
{
// Room for a number token, terminator included. The longest token a writer produces is
// the 45 bytes of -FLT_MAX under "%.4f"; a longer token is consumed to its delimiter
// and leaves the target unchanged, like a token that doesn't parse.
constexpr int TOKEN_SIZE = 64;

bool IsWhiteSpace(char c)
{
    return c == ' ' || c == '\t' || c == '\n' || c == '\r';
}

// The byte an escape stands for, or -1 when the byte after the backslash is no escape.
int TranslateEscape(char c)
{
    switch (c)
    {
        case 'a':
            return 7;
        case 'b':
            return 8;
        case 'f':
            return 12;
        case 'n':
            return 10;
        case 'r':
            return 13;
        case 't':
            return 9;
        case 'v':
            return 11;
        case '\'':
            return 39;
        case '"':
            return 34;
        case '\\':
            return 92;
        default:
            return -1;
    }
}

// Formats fValue for the text form. "%.4f" is the form wherever it reads back as the
// same float; where it would lose the value (most fractions, and everything below
// 0.00005) the shortest "%.<n>g" that reads back exactly is written instead, nine
// significant digits at most, which is enough for every finite float. Infinities and
// NaNs come out as printf spells them ("inf", "-inf", "nan", "-nan"), which "%f" reads
// back as the same infinity or as a quiet NaN of the same sign.
int FormatFloat(char * szText, int nSize, float fValue)
{
    // Four decimals, whatever the magnitude: FLT_MAX gives a 45-byte token, which the
    // token buffer takes, so every value written reads back (to four decimals).
    return std::snprintf(szText, nSize, "%.4f; ", static_cast<double>(fValue));
}

int FormatInt(char * szText, int nSize, std::uint32_t ulValue)
{
    // Every number goes out as a 32-bit signed value.
    return std::snprintf(szText, nSize, "%i; ", static_cast<int>(ulValue));
}

// Reads a number token: its first byte after white space and comments, then every byte
// as it stands up to the delimiter, which is consumed and not stored. A token too long
// for the buffer comes back empty, so that it parses as nothing. "%i" on the token
// stores the number cut to 32 bits, as a 32-bit int takes it.
bool ReadToken(CFileIO & File, char cDelimiter, char (&szToken)[TOKEN_SIZE])
{
    char c = 0;
    if (!File.ReadAscii(c, true))
        return false;
    int nLength = 0;
    bool bTooLong = false;
    while (c != cDelimiter)
    {
        if (nLength < TOKEN_SIZE - 1)
            szToken[nLength++] = c;
        else
            bTooLong = true;
        if (!File.Read(c))
            return false;
    }
    szToken[bTooLong ? 0 : nLength] = '\0';
    return true;
}

// The bytes of a quoted text behind its opening quote, escapes translated, up to the
// ';' behind the closing quote; false when the stream ends first.
bool GatherQuoted(CFileIO & File, std::string & sGathered)
{
    bool bInEscape = false;
    bool bEnded = false;
    char c = 0;
    while (File.Read(c))
    {
        if (!bInEscape && c == '\\')
        {
            bInEscape = true;
            continue;
        }
        if (bInEscape)
        {
            int const nTranslated = TranslateEscape(c);
            if (nTranslated < 0)
                sGathered += '\\';
            else
                c = static_cast<char>(nTranslated);
        }
        // Behind the closing quote the escape state is never left, so each further
        // byte without an escape of its own adds a backslash, as the steps of this
        // reader have always done.
        if (!bEnded)
        {
            if (c == '"' && !bInEscape)
            {
                bEnded = true;
            }
            else
            {
                sGathered += c;
                bInEscape = false;
                continue;
            }
        }
        if (c == ';')
            return true;
    }
    return false;
}

} // namespace

bool CFileIO::ReadAscii(unsigned long & ulValue, char cDelimiter)
{
    RememberParsePos();
    char szToken[TOKEN_SIZE];
    if (!ReadToken(*this, cDelimiter, szToken))
        return false;
    // The text is a 32-bit signed number: -294967296 reads as 4000000000.
    int nValue = 0;
    if (std::sscanf(szToken, "%i", &nValue) == 1)
        ulValue = static_cast<std::uint32_t>(nValue);
    return true;
}

bool CFileIO::ReadAscii(long & lValue, char cDelimiter)
{
    RememberParsePos();
    char szToken[TOKEN_SIZE];
    if (!ReadToken(*this, cDelimiter, szToken))
        return false;
    int nValue = 0;
    if (std::sscanf(szToken, "%i", &nValue) == 1)
        lValue = nValue;
    return true;
}

bool CFileIO::ReadAscii(float & fValue, char cDelimiter)
{
    RememberParsePos();
    char szToken[TOKEN_SIZE];
    if (!ReadToken(*this, cDelimiter, szToken))
        return false;
    std::sscanf(szToken, "%f", &fValue);
    return true;
}

bool CFileIO::ReadAscii(int & nValue, char cDelimiter)
{
    RememberParsePos();
    char szToken[TOKEN_SIZE];
    if (!ReadToken(*this, cDelimiter, szToken))
        return false;
    std::sscanf(szToken, "%i", &nValue);
    return true;
}

bool CFileIO::ReadAscii(CZRString & sValue)
{
    RememberParsePos();
    if (!ReadConstAscii('"'))
        return false;
    sValue.Empty();
    // Gathered apart and handed over once, since the string grows by exact steps. What
    // is gathered is backed by bytes read, yet may be more than memory holds: a text too
    // long for it is bad input, read as false.
    try
    {
        std::string sGathered;
        bool const bComplete = GatherQuoted(*this, sGathered);
        if (!sGathered.empty())
        {
            int const nLength = static_cast<int>(sGathered.size());
            char * pBuffer = sValue.GetBuffer(nLength);
            sGathered.copy(pBuffer, sGathered.size());
            sValue.ReleaseBuffer(nLength);
        }
        return bComplete;
    }
    catch (std::bad_alloc const &)
    {
        sValue.Empty();
        return false;
    }
}

bool CFileIO::ReadAscii(char & cValue, bool bSkip)
{
    // The fresh read after a comment is this loop again, with white space skipped, so
    // that any number of comments costs no stack.
    for (;;)
    {
        if (!Read(&cValue, 1))
            return false;
        if (cValue == '/')
        {
            std::uint32_t const ulBehind = GetFilePointerPos();
            if (!Read(&cValue, 1))
                return false;
            if (cValue == '/')
            {
                while (cValue != 10 && cValue != 13 && static_cast<signed char>(cValue) >= 0)
                {
                    if (!Read(&cValue, 1))
                        return false;
                }
                bSkip = true;
                continue;
            }
            // A file of the file system puts the byte back into its stream, which costs no
            // seek; any other stream is placed anew.
            if (m_ulFileHandle != 0)
                g_FileSystem.UnreadChar(m_ulFileHandle, cValue);
            else
                SetFilePointerPos(ulBehind);
            cValue = '/';
        }
        if (!bSkip || !IsWhiteSpace(cValue))
            return true;
    }
}

bool CFileIO::ReadConstAscii(CZRString const & sConstant)
{
    RememberParsePos();
    // An empty constant still matches one byte: its terminator.
    int const nLength = sConstant.GetLength();
    for (int i = 0; i == 0 || i < nLength; ++i)
    {
        char const cExpected = i < nLength ? sConstant.GetString()[i] : '\0';
        if (!ReadConstAscii(cExpected))
            return false;
    }
    return true;
}

bool CFileIO::ReadConstAscii(char cConstant)
{
    RememberParsePos();
    char cRead = ' ';
    ReadAscii(cRead, true);
    return cRead == cConstant;
}

bool CFileIO::WriteAscii(unsigned long ulValue)
{
    char szText[TOKEN_SIZE];
    int const nLength = FormatInt(szText, sizeof(szText), static_cast<std::uint32_t>(ulValue));
    return Write(szText, static_cast<std::uint32_t>(nLength));
}

bool CFileIO::WriteAscii(long lValue)
{
    char szText[TOKEN_SIZE];
    int const nLength = FormatInt(szText, sizeof(szText), static_cast<std::uint32_t>(lValue));
    return Write(szText, static_cast<std::uint32_t>(nLength));
}

bool CFileIO::WriteAscii(float fValue)
{
    char szText[TOKEN_SIZE];
    int const nLength = FormatFloat(szText, sizeof(szText), fValue);
    return Write(szText, static_cast<std::uint32_t>(nLength));
}

bool CFileIO::WriteAscii(int nValue)
{
    char szText[TOKEN_SIZE];
    int const nLength = FormatInt(szText, sizeof(szText), static_cast<std::uint32_t>(nValue));
    return Write(szText, static_cast<std::uint32_t>(nLength));
}

bool CFileIO::WriteAscii(CZRString const & sValue)
{
    if (!WriteConstAscii('"'))
        return false;
    if (!Write(sValue.GetString(), static_cast<std::uint32_t>(sValue.GetLength())))
        return false;
    return WriteConstAscii(CZRString("\"; "));
}

bool CFileIO::WriteAscii(char cValue)
{
    if (!WriteConstAscii(CZRString("'")))
        return false;
    // A zero byte goes out as it is; the text form has no escape for it.
    char const * szBody = &cValue;
    std::uint32_t ulBodySize = 1;
    if (cValue == '\t')
        szBody = "\\t";
    else if (cValue == '\n')
        szBody = "\\n";
    else if (cValue == '\r')
        szBody = "\\r";
    if (szBody != &cValue)
        ulBodySize = 2;
    if (!Write(szBody, ulBodySize))
        return false;
    return WriteConstAscii(CZRString("'; "));
}

bool CFileIO::WriteConstAscii(char cValue)
{
    if (cValue == '\n')
        return Write("\r\n", 2);
    return Write(&cValue, 1);
}

bool CFileIO::WriteConstAscii(CZRString const & sValue)
{
    return Write(sValue.GetString(), static_cast<std::uint32_t>(sValue.GetLength()));
}

bool CFileIO::ReadLine(void * pBuffer, unsigned int nSize)
{
    if (pBuffer == nullptr || nSize == 0)
        return false;
    char * szLine = static_cast<char *>(pBuffer);
    unsigned int nStored = 0;
    while (nStored < nSize - 1)
    {
        char c = 0;
        if (!Read(c))
        {
            szLine[nStored] = '\0';
            return false;
        }
        if (c == '\r' || c == '\n' || c == '\0')
            break;
        szLine[nStored++] = c;
    }
    szLine[nStored] = '\0';
    char cNext = 0;
    if (Read(cNext) && cNext != '\n')
        SetFilePointerPos(GetFilePointerPos() - 1);
    return true;
}

void CFileIO::StepBack()
{
    SetFilePointerPos(m_ulParsePos);
}

void CFileIO::RememberParsePos()
{
    m_ulParsePos = GetFilePointerPos();
}
