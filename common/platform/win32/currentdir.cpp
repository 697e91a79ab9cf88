#include "common/platform/currentdir.h"

#include <direct.h>

char * PLATFORM_GetCurrentDirectory(char * szBuffer, int nSize)
{
    if (nSize <= 0)
        return nullptr;
    return ::_getcwd(szBuffer, nSize);
}

int PLATFORM_ChangeDirectory(char const * szPath)
{
    return ::_chdir(szPath) == 0 ? 0 : -1;
}

int PLATFORM_MakeDirectory(char const * szPath)
{
    return ::_mkdir(szPath) == 0 ? 0 : -1;
}
