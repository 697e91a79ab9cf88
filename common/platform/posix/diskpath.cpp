#include "common/platform/diskpath.h"

#include <cstring>

std::string PLATFORM_DiskPath(char const * szPath)
{
    std::string sPath = szPath != nullptr ? szPath : "";
    for (char & cChar : sPath)
    {
        if (cChar == '\\')
            cChar = '/';
    }
    return sPath;
}

bool PLATFORM_DiskPathInto(char const * szPath, char * szBuffer, std::size_t nSize)
{
    if (szPath == nullptr)
        szPath = "";
    std::size_t const nLength = std::strlen(szPath);
    if (nLength >= nSize)
        return false;
    for (std::size_t nIndex = 0; nIndex <= nLength; ++nIndex)
        szBuffer[nIndex] = szPath[nIndex] == '\\' ? '/' : szPath[nIndex];
    return true;
}
