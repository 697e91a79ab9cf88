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

int PLATFORM_CreateNewFile(char const * szPath, bool & bTaken)
{
    // The mode is that of fopen's files.
    int const nFile = ::open(PLATFORM_DiskPath(szPath).c_str(),
                             O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0666);
    bTaken = nFile < 0 && errno == EEXIST;
    return nFile < 0 ? -1 : nFile;
}

int PLATFORM_CreateUniqueFile(char const * szBeside, char * szName, std::size_t nSize)
{
    // A hidden name in the current directory; the one of szBeside keeps the look of it.
    std::string sBase = PLATFORM_DiskPath(szBeside);
    std::size_t const nSlash = sBase.find_last_of('/');
    if (nSlash != std::string::npos)
        sBase = sBase.substr(nSlash + 1);
    if (sBase.size() > 200)
        sBase.resize(200);
    static unsigned int s_uNext = 0;
    for (int nTry = 0; nTry < 1000; ++nTry)
    {
        std::string const sName =
            "." + sBase + ".part" + std::to_string(::getpid()) + "-" + std::to_string(s_uNext++);
        if (sName.size() >= nSize)
            return -1;
        // Exclusive creation never opens what is there, a link included; the mode is that
        // of fopen's files, so that the finished file looks as it always did.
        int const nFile =
            ::open(sName.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0666);
        if (nFile >= 0)
        {
            std::memcpy(szName, sName.c_str(), sName.size() + 1);
            return nFile;
        }
        if (errno != EEXIST)
            return -1;
    }
    return -1;
}

bool PLATFORM_ReplaceFile(char const * szFrom, char const * szTo)
{
    return std::rename(PLATFORM_DiskPath(szFrom).c_str(), PLATFORM_DiskPath(szTo).c_str()) == 0;
}

bool PLATFORM_RemoveFile(char const * szPath)
{
    return ::unlink(PLATFORM_DiskPath(szPath).c_str()) == 0;
}
