#include "common/string/zrstring.h"

#include <climits>
#include <cstddef>
#include <new>

#include "common/kernel/check.h"
#include "common/kernel/libraryobjects.h"
#include "common/kernel/memory.h"
#include "common/kernel/text.h"

static char const s_szSourceFile[] = "common/string/zrstring";

// Shared by every FormatV under g_FormatMutex.
static char s_szFormatBuffer[1024];

CZRString::CZRString()
{
    Init();
}

CZRString::CZRString(char const * szString)
{
    Init();
    *this = szString;
}

CZRString::CZRString(CZRString const & sOther)
{
    Init();
    *this = sOther;
}

CZRString::CZRString(char cChar, int nCount)
{
    Init();
    if (nCount >= 1)
    {
        AllocBuffer(nCount);
        MEM_Set(m_sData.m_pchData, static_cast<unsigned char>(cChar),
                static_cast<std::uint32_t>(nCount));
    }
}

CZRString::~CZRString()
{
    FreeBuffer();
}

void CZRString::Init()
{
    m_sData.m_nRefs = 0;
    m_sData.m_nStringLength = 0;
    m_sData.m_nAllocLength = 0;
    m_sData.m_pchData = nullptr;
}

char * CZRString::Alloc(int nLength)
{
    ZR_CHECK(nLength >= 0, s_szSourceFile);
    // clang-format off
    ZR_CHECK(nLength <= INT_MAX-1, s_szSourceFile);
    // clang-format on
    return static_cast<char *>(::operator new(static_cast<size_t>(nLength)));
}

void CZRString::AllocBuffer(int nLength)
{
    ZR_CHECK(nLength >= 0, s_szSourceFile);
    // clang-format off
    ZR_CHECK(nLength <= INT_MAX-1, s_szSourceFile);
    // clang-format on
    if (nLength == 0)
    {
        Init();
        return;
    }
    m_sData.m_pchData = Alloc(nLength + 1);
    m_sData.m_nRefs = 1;
    m_sData.m_nStringLength = nLength;
    m_sData.m_nAllocLength = nLength;
    m_sData.m_pchData[nLength] = '\0';
}

void CZRString::FreeBuffer()
{
    if (m_sData.m_pchData != nullptr)
        ::operator delete(m_sData.m_pchData);
    Init();
}

void CZRString::GrowBufferIfNeeded(int nLength)
{
    if (nLength > m_sData.m_nAllocLength)
    {
        FreeBuffer();
        AllocBuffer(nLength);
    }
    ZR_CHECK(GetData()->m_nRefs <= 1, s_szSourceFile);
}

void CZRString::AssignCopy(int nSrcLen, char const * szSrcData)
{
    if (nSrcLen >= 1)
    {
        GrowBufferIfNeeded(nSrcLen);
        MEM_Copy(m_sData.m_pchData, szSrcData, static_cast<std::uint32_t>(nSrcLen));
    }
    else if (m_sData.m_pchData == nullptr)
    {
        return;
    }
    m_sData.m_nStringLength = nSrcLen;
    m_sData.m_pchData[nSrcLen] = '\0';
}

void CZRString::ConcatCopy(int nSrc1Len, char const * szSrc1Data, int nSrc2Len,
                           char const * szSrc2Data)
{
    int const nNewLength = nSrc1Len + nSrc2Len;
    if (nNewLength == 0)
        return;
    AllocBuffer(nNewLength);
    MEM_Copy(m_sData.m_pchData, szSrc1Data, static_cast<std::uint32_t>(nSrc1Len));
    MEM_Copy(m_sData.m_pchData + nSrc1Len, szSrc2Data, static_cast<std::uint32_t>(nSrc2Len));
}

void CZRString::ConcatInPlace(int nSrcLen, char const * szSrcData)
{
    if (nSrcLen == 0)
        return;
    int const nOldLength = m_sData.m_nStringLength;
    if (nOldLength + nSrcLen > m_sData.m_nAllocLength)
    {
        // The source is copied into the new block before the old one is released, so
        // that a string may be appended to itself.
        int const nNewLength = nOldLength + nSrcLen;
        char * pchNew = Alloc(nNewLength + 1);
        MEM_Copy(pchNew, m_sData.m_pchData, static_cast<std::uint32_t>(nOldLength));
        MEM_Copy(pchNew + nOldLength, szSrcData, static_cast<std::uint32_t>(nSrcLen));
        FreeBuffer();
        m_sData.m_pchData = pchNew;
        m_sData.m_nRefs = 1;
        m_sData.m_nStringLength = nOldLength;
        m_sData.m_nAllocLength = nNewLength;
    }
    else
    {
        MEM_Copy(m_sData.m_pchData + nOldLength, szSrcData, static_cast<std::uint32_t>(nSrcLen));
    }
    m_sData.m_nStringLength += nSrcLen;
    ZR_CHECK(m_sData.m_nStringLength <= m_sData.m_nAllocLength, s_szSourceFile);
    m_sData.m_pchData[m_sData.m_nStringLength] = '\0';
}

int CZRString::GetSafeStringLength(char const * szString)
{
    return szString == nullptr ? 0 : STR_strlen(szString);
}

CZRString const & CZRString::operator=(CZRString const & sOther)
{
    if (m_sData.m_pchData != sOther.m_sData.m_pchData)
        AssignCopy(sOther.m_sData.m_nStringLength, sOther.m_sData.m_pchData);
    return *this;
}

CZRString const & CZRString::operator=(char const * szString)
{
    if (szString == nullptr)
        Empty();
    else
        AssignCopy(GetSafeStringLength(szString), szString);
    return *this;
}

CZRString const & CZRString::operator=(char cChar)
{
    char const szText[2] = {cChar, '\0'};
    return *this = szText;
}

CZRString const & CZRString::operator+=(CZRString const & sOther)
{
    ConcatInPlace(sOther.m_sData.m_nStringLength, sOther.m_sData.m_pchData);
    return *this;
}

CZRString const & CZRString::operator+=(char const * szString)
{
    ZR_CHECK(szString != NULL, s_szSourceFile);
    ConcatInPlace(GetSafeStringLength(szString), szString);
    return *this;
}

CZRString const & CZRString::operator+=(char cChar)
{
    ConcatInPlace(1, &cChar);
    return *this;
}

char CZRString::GetAt(int nIndex) const
{
    ZR_CHECK(nIndex >= 0, s_szSourceFile);
    ZR_CHECK(nIndex < m_sData.m_nStringLength, s_szSourceFile);
    return m_sData.m_pchData[nIndex];
}

char CZRString::operator[](int nIndex) const
{
    ZR_CHECK(nIndex >= 0, s_szSourceFile);
    ZR_CHECK(nIndex < m_sData.m_nStringLength, s_szSourceFile);
    return m_sData.m_pchData[nIndex];
}

void CZRString::SetAt(int nIndex, char cChar)
{
    ZR_CHECK(nIndex >= 0, s_szSourceFile);
    ZR_CHECK(nIndex < m_sData.m_nStringLength, s_szSourceFile);
    m_sData.m_pchData[nIndex] = cChar;
}

char * CZRString::GetBuffer(int nMinLength)
{
    GrowBufferIfNeeded(nMinLength + 1);
    ++m_sData.m_nRefs;
    return m_sData.m_pchData;
}

void CZRString::ReleaseBuffer(int nNewLength)
{
    if (nNewLength == -1)
        nNewLength = GetSafeStringLength(m_sData.m_pchData);
    ZR_CHECK(nNewLength <= m_sData.m_nAllocLength, s_szSourceFile);
    m_sData.m_nStringLength = nNewLength;
    if (m_sData.m_pchData != nullptr)
        m_sData.m_pchData[nNewLength] = '\0';
    --m_sData.m_nRefs;
}

void CZRString::Empty()
{
    if (m_sData.m_nStringLength != 0)
    {
        m_sData.m_nStringLength = 0;
        m_sData.m_pchData[0] = '\0';
    }
    ZR_CHECK(GetData()->m_nStringLength == 0, s_szSourceFile);
}

void CZRString::MakeLower()
{
    if (m_sData.m_pchData != nullptr)
        STR_strlwr(m_sData.m_pchData);
}

void CZRString::MakeUpper()
{
    if (m_sData.m_pchData != nullptr)
        STR_strupr(m_sData.m_pchData);
}

void CZRString::MakeReverse()
{
    if (m_sData.m_pchData != nullptr)
        STR_strrev(m_sData.m_pchData);
}

int CZRString::Replace(char cOld, char cNew)
{
    if (cOld == cNew || m_sData.m_pchData == nullptr)
        return 0;
    int nCount = 0;
    char * const pEnd = m_sData.m_pchData + m_sData.m_nStringLength;
    for (char * p = m_sData.m_pchData; p < pEnd; p = STR_strinc(p))
    {
        if (*p == cOld)
        {
            *p = cNew;
            ++nCount;
        }
    }
    return nCount;
}

void CZRString::Format(char const * szFormat, ...)
{
    va_list pArgs;
    va_start(pArgs, szFormat);
    FormatV(szFormat, pArgs);
    va_end(pArgs);
}

void CZRString::FormatV(char const * szFormat, va_list pArgs)
{
    g_FormatMutex.Lock();
    STR_vsnprintf(s_szFormatBuffer, sizeof(s_szFormatBuffer), szFormat, pArgs);
    // A text of 1024 bytes or more leaves the buffer full and unterminated; the last
    // byte becomes the terminator, so the string keeps the first 1023 bytes. A shorter
    // text ends before that byte, so the result needs no examination.
    s_szFormatBuffer[sizeof(s_szFormatBuffer) - 1] = '\0';
    *this = s_szFormatBuffer;
    g_FormatMutex.Unlock();
}

// Left, Right and Mid build and return one named result on every path, so that the
// compiler constructs it in the caller's object: CZRString has no move, and a second
// object would cost a second block and copy.
CZRString CZRString::Left(int nCount) const
{
    if (nCount < 0)
        nCount = 0;
    CZRString sResult;
    if (nCount >= m_sData.m_nStringLength)
        sResult = *this;
    else
        sResult.AssignPart(m_sData.m_pchData, nCount);
    return sResult;
}

CZRString CZRString::Right(int nCount) const
{
    if (nCount < 0)
        nCount = 0;
    CZRString sResult;
    if (nCount >= m_sData.m_nStringLength)
        sResult = *this;
    else
        sResult.AssignPart(m_sData.m_pchData + m_sData.m_nStringLength - nCount, nCount);
    return sResult;
}

CZRString CZRString::Mid(int nFirst) const
{
    return Mid(nFirst, m_sData.m_nStringLength - nFirst);
}

CZRString CZRString::Mid(int nFirst, int nCount) const
{
    CZRString sResult;
    if (nCount == 0)
        return sResult;
    if (nFirst < 0)
        nFirst = 0;
    int const nLength = m_sData.m_nStringLength;
    // Widened so that a huge count cannot overflow the sum.
    if (static_cast<long long>(nFirst) + nCount >= nLength)
        nCount = nLength - nFirst;
    if (nFirst >= nLength)
        nCount = 0;
    if (nFirst == 0 && nFirst + nCount == nLength)
        sResult = *this;
    else
        sResult.AssignPart(m_sData.m_pchData + nFirst, nCount);
    return sResult;
}

// On a string without a block: a block of exactly nCount bytes holding the text at
// szPart, or no block for 0.
void CZRString::AssignPart(char const * szPart, int nCount)
{
    AllocBuffer(nCount);
    MEM_Copy(m_sData.m_pchData, szPart, static_cast<std::uint32_t>(nCount));
}

int CZRString::Find(char cCharToSearch, int nStartPos) const
{
    ZR_CHECK((0 <= nStartPos) && (cCharToSearch != '\0'), s_szSourceFile);
    if (nStartPos >= m_sData.m_nStringLength)
        return -1;
    char const * pFound = STR_strchr(m_sData.m_pchData + nStartPos, cCharToSearch);
    return pFound == nullptr ? -1 : static_cast<int>(pFound - m_sData.m_pchData);
}

int CZRString::Find(char const * szSubStringToSearch, int nStartPos) const
{
    ZR_CHECK((0 <= nStartPos) && (szSubStringToSearch != NULL), s_szSourceFile);
    if (m_sData.m_nStringLength == 0 || szSubStringToSearch[0] == '\0')
        return -1;
    if (nStartPos > m_sData.m_nStringLength)
        return -1;
    char const * pFound = STR_strstr(m_sData.m_pchData + nStartPos, szSubStringToSearch);
    return pFound == nullptr ? -1 : static_cast<int>(pFound - m_sData.m_pchData);
}

int CZRString::ReverseFind(char cCharToSearch) const
{
    if (m_sData.m_pchData == nullptr)
        return -1;
    char const * pFound = STR_strrchr(m_sData.m_pchData, cCharToSearch);
    return pFound == nullptr ? -1 : static_cast<int>(pFound - m_sData.m_pchData);
}

int CZRString::FindOneOf(char const * szCharSet) const
{
    ZR_CHECK(szCharSet != NULL, s_szSourceFile);
    if (m_sData.m_pchData == nullptr)
        return -1;
    char const * pFound = STR_strpbrk(m_sData.m_pchData, szCharSet);
    return pFound == nullptr ? -1 : static_cast<int>(pFound - m_sData.m_pchData);
}

int CZRString::ReverseFindOneOf(char const * szCharSet) const
{
    ZR_CHECK(szCharSet != NULL, s_szSourceFile);
    if (m_sData.m_pchData == nullptr)
        return -1;
    char const * pFound = STR_strrpbrk(m_sData.m_pchData, szCharSet);
    return pFound == nullptr ? -1 : static_cast<int>(pFound - m_sData.m_pchData);
}

int CZRString::Compare(char const * szOther) const
{
    char const * szThis = m_sData.m_pchData != nullptr ? m_sData.m_pchData : "";
    return STR_strcmp(szThis, szOther != nullptr ? szOther : "");
}

int CZRString::CompareNoCase(char const * szOther) const
{
    return STR_stricmp(m_sData.m_pchData != nullptr ? m_sData.m_pchData : "", szOther);
}

int CZRString::Collate(char const * szOther) const
{
    return STR_strcoll(m_sData.m_pchData != nullptr ? m_sData.m_pchData : "", szOther);
}

int CZRString::CollateNoCase(char const * szOther) const
{
    return STR_stricoll(m_sData.m_pchData != nullptr ? m_sData.m_pchData : "", szOther);
}

int CZRString::ToInt(int nBase) const
{
    return m_sData.m_nStringLength == 0 ? 0 : STR_strtol(m_sData.m_pchData, nullptr, nBase);
}

std::int32_t CZRString::ToLong(int nBase) const
{
    return m_sData.m_nStringLength == 0 ? 0 : STR_strtol(m_sData.m_pchData, nullptr, nBase);
}

unsigned int CZRString::ToUint(int nBase) const
{
    return m_sData.m_nStringLength == 0 ? 0 : STR_strtoul(m_sData.m_pchData, nullptr, nBase);
}

std::uint32_t CZRString::ToUlong(int nBase) const
{
    return m_sData.m_nStringLength == 0 ? 0 : STR_strtoul(m_sData.m_pchData, nullptr, nBase);
}

float CZRString::ToFloat() const
{
    return m_sData.m_nStringLength == 0
               ? 0.0f
               : static_cast<float>(STR_strtod(m_sData.m_pchData, nullptr));
}

double CZRString::ToDouble() const
{
    return m_sData.m_nStringLength == 0 ? 0.0 : STR_strtod(m_sData.m_pchData, nullptr);
}

bool CZRString::ToBool() const
{
    if (m_sData.m_nStringLength == 1)
        return m_sData.m_pchData[0] == '1';
    if (m_sData.m_nStringLength == 4)
        return CompareNoCase("TRUE") == 0;
    return false;
}
