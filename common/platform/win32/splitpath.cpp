#include "common/platform/splitpath.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace
{
void CopyPart(char * szTarget, int nSize, char const * szPart)
{
    if (szTarget != nullptr)
        std::snprintf(szTarget, static_cast<std::size_t>(nSize), "%s", szPart);
}
} // namespace

void PLATFORM_SplitPath(char const * szPath, char * szDrive, char * szDirectory, char * szFileName,
                        char * szExtension)
{
    // A path shorter than the smallest of the path buffers fits each of them; a longer
    // one the run-time function would overrun.
    if (std::strlen(szPath) >= static_cast<std::size_t>(PLATFORM_MAX_DIR))
    {
        PLATFORM_SplitAnyPath(szPath, szDrive, szDirectory, szFileName, szExtension);
        return;
    }
    char szRunDrive[_MAX_DRIVE];
    char szRunDirectory[_MAX_DIR];
    char szRunFileName[_MAX_FNAME];
    char szRunExtension[_MAX_EXT];
    ::_splitpath(szPath, szRunDrive, szRunDirectory, szRunFileName, szRunExtension);
    CopyPart(szDrive, PLATFORM_MAX_DRIVE, szRunDrive);
    CopyPart(szDirectory, PLATFORM_MAX_DIR, szRunDirectory);
    CopyPart(szFileName, PLATFORM_MAX_FNAME, szRunFileName);
    CopyPart(szExtension, PLATFORM_MAX_EXT, szRunExtension);
}
