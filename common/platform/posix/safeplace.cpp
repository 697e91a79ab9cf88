#include "common/platform/safeplace.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <string>
#include <unistd.h>

#include "common/platform/diskpath.h"

int PLATFORM_EnterOwnDirectory(char const * szPath)
{
    int const nDirectory =
        ::open(PLATFORM_DiskPath(szPath).c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
    if (nDirectory < 0)
        return -1;
    int const nResult = ::fchdir(nDirectory);
    ::close(nDirectory);
    return nResult == 0 ? 0 : -1;
}

int PLATFORM_CreateUniqueFile(char const * szBeside, char * szName, std::size_t nSize)
{
    // A hidden name in the current directory; the one of szBeside keeps the look of it.
    std::string sTemplate = ".";
    sTemplate += PLATFORM_DiskPath(szBeside);
    std::size_t const nSlash = sTemplate.find_last_of('/');
    if (nSlash != std::string::npos)
        sTemplate = "." + sTemplate.substr(nSlash + 1);
    if (sTemplate.size() > 200)
        sTemplate.resize(200);
    sTemplate += ".partXXXXXX";
    if (sTemplate.size() >= nSize)
        return -1;
    std::memcpy(szName, sTemplate.c_str(), sTemplate.size() + 1);
    int const nFile = ::mkostemp(szName, O_CLOEXEC);
    return nFile < 0 ? -1 : nFile;
}

bool PLATFORM_ReplaceFile(char const * szFrom, char const * szTo)
{
    return std::rename(PLATFORM_DiskPath(szFrom).c_str(), PLATFORM_DiskPath(szTo).c_str()) == 0;
}

bool PLATFORM_RemoveFile(char const * szPath)
{
    return ::unlink(PLATFORM_DiskPath(szPath).c_str()) == 0;
}
