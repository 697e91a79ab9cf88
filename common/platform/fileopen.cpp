#include "common/platform/fileopen.h"

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "common/platform/diskpath.h"

namespace
{
// Opens for reading without blocking, so that a pipe or device standing at the place of
// a file fails at once instead of waiting for a writer; a regular file never blocks, and
// its descriptor is put back to blocking before it becomes a stream.
std::FILE * OpenRegularFile(std::string const & sPath, char const * szMode)
{
    int const nAccess = std::strchr(szMode, '+') != nullptr ? O_RDWR : O_RDONLY;
    int const nFile = ::open(sPath.c_str(), nAccess | O_NONBLOCK);
    if (nFile < 0)
        return nullptr;
    // Looked at on the open descriptor, not by name, so that nothing can swap the file.
    struct stat Status;
    if (::fstat(nFile, &Status) != 0 || !S_ISREG(Status.st_mode))
    {
        ::close(nFile);
        errno = EISDIR;
        return nullptr;
    }
    int const nFlags = ::fcntl(nFile, F_GETFL);
    std::FILE * pFile = nullptr;
    if (nFlags != -1 && ::fcntl(nFile, F_SETFL, nFlags & ~O_NONBLOCK) != -1)
        pFile = ::fdopen(nFile, szMode);
    if (pFile == nullptr)
        ::close(nFile);
    return pFile;
}
} // namespace

std::FILE * PLATFORM_OpenFile(char const * szPath, char const * szMode)
{
    std::string const sPath = PLATFORM_DiskPath(szPath);
    if (szMode[0] == 'r')
        return OpenRegularFile(sPath, szMode);
    return std::fopen(sPath.c_str(), szMode);
}
