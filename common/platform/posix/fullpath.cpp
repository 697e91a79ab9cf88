#include "common/platform/fullpath.h"

#include <climits>
#include <cstdlib>
#include <cstring>
#include <string>

#include <sys/stat.h>

#include "common/platform/diskpath.h"

namespace
{
void ToIdentity(struct stat const & Status, sFileIdentity & Identity)
{
    Identity.m_ullDevice = static_cast<std::uint64_t>(Status.st_dev);
    Identity.m_ullInode = static_cast<std::uint64_t>(Status.st_ino);
}
} // namespace

char * PLATFORM_GetFullDirectoryPath(char const * szDirectory, char * szBuffer, int nSize)
{
    std::string const sPath = PLATFORM_DiskPath(szDirectory);
    char szFull[PATH_MAX];
    if (nSize <= 0 || ::realpath(sPath.empty() ? "." : sPath.c_str(), szFull) == nullptr)
        return nullptr;
    std::size_t const nLength = std::strlen(szFull);
    if (nLength >= static_cast<std::size_t>(nSize))
        return nullptr;
    std::memcpy(szBuffer, szFull, nLength + 1);
    return szBuffer;
}

bool PLATFORM_GetStreamIdentity(std::FILE * pStream, sFileIdentity & Identity)
{
    struct stat Status;
    if (::fstat(::fileno(pStream), &Status) != 0)
        return false;
    ToIdentity(Status, Identity);
    return true;
}

bool PLATFORM_GetPathIdentity(char const * szPath, sFileIdentity & Identity)
{
    struct stat Status;
    if (::stat(PLATFORM_DiskPath(szPath).c_str(), &Status) != 0)
        return false;
    ToIdentity(Status, Identity);
    return true;
}
