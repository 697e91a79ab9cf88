#include "common/platform/diskpath.h"

#include <cstring>

// Windows takes backslashes and slashes alike, so a path reaches it as it was given.
std::string PLATFORM_DiskPath(char const * szPath)
{
    return szPath != nullptr ? szPath : "";
}

bool PLATFORM_DiskPathInto(char const * szPath, char * szBuffer, std::size_t nSize)
{
    if (szPath == nullptr)
        szPath = "";
    std::size_t const nLength = std::strlen(szPath);
    if (nLength >= nSize)
        return false;
    std::memcpy(szBuffer, szPath, nLength + 1);
    return true;
}
