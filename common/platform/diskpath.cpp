#include "common/platform/diskpath.h"

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
