#include "common/platform/fileopen.h"

#include <cerrno>
#include <climits>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "common/platform/diskpath.h"

namespace
{
// Opens for reading without blocking, so that a pipe or device standing at the place of
// a file fails at once instead of waiting for a writer; a regular file never blocks, and
// its descriptor is put back to blocking before it becomes a stream. -1 on failure.
int OpenRegularFile(char const * szPath, int nAccess, struct stat & Status)
{
    int const nFile = ::open(szPath, nAccess | O_NONBLOCK);
    if (nFile < 0)
        return -1;
    // Looked at on the open descriptor, not by name, so that nothing can swap the file.
    if (::fstat(nFile, &Status) != 0 || !S_ISREG(Status.st_mode))
    {
        ::close(nFile);
        errno = EISDIR;
        return -1;
    }
    // Of the flags that F_SETFL changes, open was given O_NONBLOCK only, so clearing
    // them all clears just that one, without asking for the flags first.
    if (::fcntl(nFile, F_SETFL, 0) == -1)
    {
        ::close(nFile);
        return -1;
    }
    return nFile;
}

std::FILE * OpenRegularStream(char const * szPath, char const * szMode, struct stat & Status)
{
    int const nAccess = std::strchr(szMode, '+') != nullptr ? O_RDWR : O_RDONLY;
    int const nFile = OpenRegularFile(szPath, nAccess, Status);
    if (nFile < 0)
        return nullptr;
    std::FILE * pFile = ::fdopen(nFile, szMode);
    if (pFile == nullptr)
        ::close(nFile);
    return pFile;
}
} // namespace

std::FILE * PLATFORM_OpenFile(char const * szPath, char const * szMode)
{
    std::string const sPath = PLATFORM_DiskPath(szPath);
    if (szMode[0] != 'r')
        return std::fopen(sPath.c_str(), szMode);
    struct stat Status;
    return OpenRegularStream(sPath.c_str(), szMode, Status);
}

std::FILE * PLATFORM_OpenFileToRead(char const * szPath, std::uint64_t ullOffset, char * pBuffer,
                                    std::size_t nBufferSize, std::uint64_t * pullSize)
{
    // No path longer than PATH_MAX can be opened at all.
    char szDiskPath[PATH_MAX];
    if (!PLATFORM_DiskPathInto(szPath, szDiskPath, sizeof(szDiskPath)))
    {
        errno = ENAMETOOLONG;
        return nullptr;
    }
    struct stat Status;
    std::FILE * pFile = OpenRegularStream(szDiskPath, "rb", Status);
    if (pFile == nullptr)
        return nullptr;
    // With a buffer of its own the C library doesn't ask the file for its block size.
    if (pBuffer != nullptr)
        std::setvbuf(pFile, pBuffer, _IOFBF, nBufferSize);
    // The fresh stream stands at 0, so a seek from the current position lands where one
    // from the start would. The C library does it as one lseek, while from the start it
    // would first read from the block boundary below the target up to the target.
    std::fseek(pFile, static_cast<long>(ullOffset), SEEK_CUR);
    *pullSize = Status.st_size > 0 ? static_cast<std::uint64_t>(Status.st_size) : 0;
    return pFile;
}
