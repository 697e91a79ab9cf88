// Path texts of archive reading, writing and extraction, private to the library. The
// drive and directory parts are taken whole, not through _splitpath's 256-byte directory
// buffer, so that archives and trees deep on disk keep their full paths.
#pragma once

#include <cstddef>
#include <cstring>

#include "common/platform/currentdir.h"

// Copies szText into szBuffer of nSize bytes; false when it doesn't fit.
inline bool ARCHIVE_CopyText(char * szBuffer, std::size_t nSize, char const * szText)
{
    std::size_t const nLength = std::strlen(szText);
    if (nLength >= nSize)
        return false;
    std::memcpy(szBuffer, szText, nLength + 1);
    return true;
}

// Appends szTail to the text in szBuffer of nSize bytes; false when it doesn't fit.
inline bool ARCHIVE_AppendText(char * szBuffer, std::size_t nSize, char const * szTail)
{
    std::size_t const nLength = std::strlen(szBuffer);
    return ARCHIVE_CopyText(szBuffer + nLength, nSize - nLength, szTail);
}

// The drive and directory parts of szPath joined, as _splitpath cuts them: a leading
// "x:" and everything up to the last slash or backslash. False when they don't fit.
inline bool ARCHIVE_DirectoryPart(char const * szPath, char * szBuffer, std::size_t nSize)
{
    std::size_t nLength = (szPath[0] != '\0' && szPath[1] == ':') ? 2 : 0;
    for (std::size_t nIndex = nLength; szPath[nIndex] != '\0'; ++nIndex)
    {
        if (szPath[nIndex] == '/' || szPath[nIndex] == '\\')
            nLength = nIndex + 1;
    }
    if (nLength >= nSize)
        return false;
    std::memcpy(szBuffer, szPath, nLength);
    szBuffer[nLength] = '\0';
    return true;
}

// Copies szText into szBuffer of nSize bytes, cut to fit.
inline void ARCHIVE_CopyTextCut(char * szBuffer, std::size_t nSize, char const * szText)
{
    std::size_t nLength = std::strlen(szText);
    if (nLength >= nSize)
        nLength = nSize - 1;
    std::memcpy(szBuffer, szText, nLength);
    szBuffer[nLength] = '\0';
}

// The current directory for the events of archive creation and extraction, whose text
// holds 260 bytes: a longer one is cut, an unreadable one is empty.
inline void ARCHIVE_ReadEventDirectory(char (&szDirectory)[260])
{
    char szCurrent[1024];
    if (PLATFORM_GetCurrentDirectory(szCurrent, sizeof(szCurrent)) == nullptr)
        szCurrent[0] = '\0';
    ARCHIVE_CopyTextCut(szDirectory, sizeof(szDirectory), szCurrent);
}
