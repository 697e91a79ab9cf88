#include "common/kernel/text.h"

#include <cerrno>
#include <climits>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <strings.h>

namespace
{
inline unsigned char FoldLower(unsigned char c)
{
    return (c >= 'A' && c <= 'Z') ? static_cast<unsigned char>(c + ('a' - 'A')) : c;
}

inline unsigned char FoldUpper(unsigned char c)
{
    return (c >= 'a' && c <= 'z') ? static_cast<unsigned char>(c - ('a' - 'A')) : c;
}

// Case-blind comparison of ASCII letters by their lower-case form, byte values unsigned.
int CompareFolded(char const * szString1, char const * szString2)
{
    unsigned char const * p1 = reinterpret_cast<unsigned char const *>(szString1);
    unsigned char const * p2 = reinterpret_cast<unsigned char const *>(szString2);
    for (;; ++p1, ++p2)
    {
        unsigned char const c1 = FoldLower(*p1);
        unsigned char const c2 = FoldLower(*p2);
        if (c1 != c2 || c1 == 0)
            return static_cast<int>(c1) - static_cast<int>(c2);
    }
}

// Texts that reach the limit of STR_vsnprintf are formatted once more into a block one
// byte longer than the limit. Up to this limit the block lives on the stack, so that
// CZRString::Format (limit 1024) allocates nothing even when its text is cut.
constexpr int STACK_FORMAT_LIMIT = 1024;

// Failed candidate positions STR_strstr tries itself before it hands over to strstr.
constexpr int SHORT_SEARCH_MISSES = 4;

// C's vsnprintf always terminates, so the last byte of a full buffer holds the
// terminator; the contract of STR_vsnprintf is a buffer full of text. Only that one
// byte is missing.
void FillLastByte(char * szBuffer, int nLimit, char const * szFormat, va_list pArgs)
{
    size_t const nSize = static_cast<size_t>(nLimit) + 1;
    char szStack[STACK_FORMAT_LIMIT + 1];
    char * szFull =
        nLimit <= STACK_FORMAT_LIMIT ? szStack : static_cast<char *>(std::malloc(nSize));
    if (szFull == nullptr)
        return;
    std::vsnprintf(szFull, nSize, szFormat, pArgs);
    szBuffer[nLimit - 1] = szFull[nLimit - 1];
    if (szFull != szStack)
        std::free(szFull);
}

// Skips what strtol skips in front of a number and tells whether a minus sign follows.
bool HasMinusSign(char const * szString)
{
    while (*szString == ' ' || (*szString >= '\t' && *szString <= '\r'))
        ++szString;
    return *szString == '-';
}
} // namespace

int STR_strcmp(char const * szString1, char const * szString2)
{
    return std::strcmp(szString1, szString2);
}

int STR_stricmp(char const * szString1, char const * szString2)
{
    return CompareFolded(szString1, szString2);
}

int STR_strcoll(char const * szString1, char const * szString2)
{
    return std::strcoll(szString1, szString2);
}

int STR_stricoll(char const * szString1, char const * szString2)
{
    return CompareFolded(szString1, szString2);
}

int STR_strlen(char const * szString)
{
    return static_cast<int>(std::strlen(szString));
}

char * STR_strlwr(char * szString)
{
    for (unsigned char * p = reinterpret_cast<unsigned char *>(szString); *p != 0; ++p)
        *p = FoldLower(*p);
    return szString;
}

char * STR_strupr(char * szString)
{
    for (unsigned char * p = reinterpret_cast<unsigned char *>(szString); *p != 0; ++p)
        *p = FoldUpper(*p);
    return szString;
}

char * STR_strrev(char * szString)
{
    size_t const nLength = std::strlen(szString);
    if (nLength > 1)
    {
        for (size_t i = 0, j = nLength - 1; i < j; ++i, --j)
        {
            char const c = szString[i];
            szString[i] = szString[j];
            szString[j] = c;
        }
    }
    return szString;
}

char * STR_strchr(char const * szString, int nChar)
{
    return const_cast<char *>(std::strchr(szString, nChar));
}

char * STR_strrchr(char const * szString, int nChar)
{
    return const_cast<char *>(std::strrchr(szString, nChar));
}

// Texts and words searched in this library are short, where the setup of the C
// library's general search costs more than the search. So the first byte of the word is
// found with strchr and the rest compared in place. Each failed comparison costs at most
// the word's length; after SHORT_SEARCH_MISSES of them the rest of the text goes to
// strstr, so a text built to fail often costs only those few comparisons more, never a
// quadratic search. Every position before the hand-over is ruled out, so the result is
// strstr's on every input: the first match, the search stopping at the first NUL.
char * STR_strstr(char const * szString, char const * szSubString)
{
    char const cFirst = szSubString[0];
    if (cFirst == '\0')
        return const_cast<char *>(szString);
    for (int nMisses = 0; nMisses < SHORT_SEARCH_MISSES; ++nMisses)
    {
        char const * pCandidate = std::strchr(szString, cFirst);
        if (pCandidate == nullptr)
            return nullptr;
        std::size_t nAt = 1;
        while (szSubString[nAt] != '\0' && pCandidate[nAt] == szSubString[nAt])
            ++nAt;
        if (szSubString[nAt] == '\0')
            return const_cast<char *>(pCandidate);
        // The text ends inside the word here, and so it does for every later position.
        if (pCandidate[nAt] == '\0')
            return nullptr;
        szString = pCandidate + 1;
    }
    return const_cast<char *>(std::strstr(szString, szSubString));
}

char * STR_strpbrk(char const * szString, char const * szCharSet)
{
    return const_cast<char *>(std::strpbrk(szString, szCharSet));
}

char * STR_strrpbrk(char const * szString, char const * szCharSet)
{
    int const nLength = STR_strlen(szString);
    if (nLength == 0)
        return nullptr;
    // The walk tests the first byte too, so that a text whose only match stands at
    // position 0 finds it, as STR_strpbrk would.
    char const * pCurrent = szString + nLength - 1;
    while (pCurrent != nullptr)
    {
        if (STR_strchr(szCharSet, *pCurrent) != nullptr)
            return const_cast<char *>(pCurrent);
        pCurrent = STR_strdec(szString, pCurrent);
    }
    return nullptr;
}

int STR_sprintf(char * szBuffer, char const * szFormat, ...)
{
    va_list pArgs;
    va_start(pArgs, szFormat);
    int const nResult = STR_vsprintf(szBuffer, szFormat, pArgs);
    va_end(pArgs);
    return nResult;
}

int STR_snprintf(char * szBuffer, int nLimit, char const * szFormat, ...)
{
    va_list pArgs;
    va_start(pArgs, szFormat);
    int const nResult = STR_vsnprintf(szBuffer, nLimit, szFormat, pArgs);
    va_end(pArgs);
    return nResult;
}

int STR_vsprintf(char * szBuffer, char const * szFormat, va_list pArgs)
{
    return std::vsprintf(szBuffer, szFormat, pArgs);
}

int STR_vsnprintf(char * szBuffer, int nLimit, char const * szFormat, va_list pArgs)
{
    if (nLimit <= 0)
        return -1;
    va_list pCopy;
    va_copy(pCopy, pArgs);
    int const nNeeded = std::vsnprintf(szBuffer, static_cast<size_t>(nLimit), szFormat, pCopy);
    va_end(pCopy);
    if (nNeeded < 0 || nNeeded < nLimit)
        return nNeeded;
    FillLastByte(szBuffer, nLimit, szFormat, pArgs);
    return nNeeded == nLimit ? nLimit : -1;
}

char * STR_strcpy(char * szDestination, char const * szSource)
{
    return std::strcpy(szDestination, szSource);
}

char * STR_strcat(char * szDestination, char const * szSource)
{
    return std::strcat(szDestination, szSource);
}

char * STR_strncpy(char * szDestination, char const * szSource, int nLimit)
{
    return std::strncpy(szDestination, szSource, static_cast<size_t>(nLimit));
}

char * STR_strncat(char * szDestination, char const * szSource, int nLimit)
{
    return std::strncat(szDestination, szSource, static_cast<size_t>(nLimit));
}

char * STR_strinc(char const * szCurrent)
{
    return const_cast<char *>(szCurrent + 1);
}

char * STR_strdec(char const * szStart, char const * szCurrent)
{
    if (szStart >= szCurrent)
        return nullptr;
    return const_cast<char *>(szCurrent - 1);
}

// The 64-bit parse consumes the same characters as a 32-bit one; only the value is
// narrowed. Out of 32-bit range it saturates and sets ERANGE, as a 32-bit long does;
// otherwise errno is left as the parse left it, or as the caller had it.
std::int32_t STR_strtol(char const * szString, char ** pEnd, int nBase)
{
    int const nSavedErrno = errno;
    errno = 0;
    long const lValue = std::strtol(szString, pEnd, nBase);
    if (lValue > INT32_MAX || lValue < INT32_MIN)
    {
        errno = ERANGE;
        return lValue > 0 ? INT32_MAX : INT32_MIN;
    }
    if (errno == 0)
        errno = nSavedErrno;
    return static_cast<std::int32_t>(lValue);
}

std::uint32_t STR_strtoul(char const * szString, char ** pEnd, int nBase)
{
    // A 32-bit strtoul saturates when the magnitude does not fit 32 bits and negates
    // in 32 bits otherwise ("-1" is 4294967295); the 64-bit one must be narrowed so.
    int const nSavedErrno = errno;
    errno = 0;
    unsigned long const ulValue = std::strtoul(szString, pEnd, nBase);
    bool const bNegative = HasMinusSign(szString);
    unsigned long const ulMagnitude = bNegative ? (0UL - ulValue) : ulValue;
    if (errno == ERANGE || ulMagnitude > UINT32_MAX)
    {
        errno = ERANGE;
        return UINT32_MAX;
    }
    if (errno == 0)
        errno = nSavedErrno;
    std::uint32_t const ulNarrow = static_cast<std::uint32_t>(ulMagnitude);
    return bNegative ? static_cast<std::uint32_t>(0U - ulNarrow) : ulNarrow;
}

double STR_strtod(char const * szString, char ** pEnd)
{
    return std::strtod(szString, pEnd);
}
