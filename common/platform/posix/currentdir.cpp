#include "common/platform/currentdir.h"

#include <sys/stat.h>
#include <unistd.h>

#include "common/platform/diskpath.h"

char * PLATFORM_GetCurrentDirectory(char * szBuffer, int nSize)
{
    if (nSize <= 0)
        return nullptr;
    return ::getcwd(szBuffer, static_cast<size_t>(nSize));
}

int PLATFORM_ChangeDirectory(char const * szPath)
{
    return ::chdir(PLATFORM_DiskPath(szPath).c_str()) == 0 ? 0 : -1;
}

int PLATFORM_MakeDirectory(char const * szPath)
{
    return ::mkdir(PLATFORM_DiskPath(szPath).c_str(), 0777) == 0 ? 0 : -1;
}
