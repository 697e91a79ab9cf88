#include "common/platform/rawfile.h"

#include <cerrno>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "common/platform/diskpath.h"

int PLATFORM_OpenFileForReading(char const * szPath, std::uint64_t & ullSize)
{
    // Without blocking, so that a pipe or device at the place of a file fails at once;
    // for a regular file the flag changes nothing.
    int const nFile = ::open(PLATFORM_DiskPath(szPath).c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
    if (nFile < 0)
        return -1;
    struct stat Status;
    if (::fstat(nFile, &Status) != 0 || !S_ISREG(Status.st_mode))
    {
        ::close(nFile);
        errno = EISDIR;
        return -1;
    }
    ullSize = static_cast<std::uint64_t>(Status.st_size);
    return nFile;
}

int PLATFORM_CreateFileForWriting(char const * szPath)
{
    int const nFile =
        ::open(PLATFORM_DiskPath(szPath).c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666);
    return nFile < 0 ? -1 : nFile;
}

bool PLATFORM_ReadFileAt(int nFile, void * pBuffer, std::size_t nSize, std::uint64_t ullOffset)
{
    char * pNext = static_cast<char *>(pBuffer);
    while (nSize > 0)
    {
        ssize_t const nRead = ::pread(nFile, pNext, nSize, static_cast<off_t>(ullOffset));
        if (nRead < 0 && errno == EINTR)
            continue;
        if (nRead <= 0)
            return false;
        pNext += nRead;
        nSize -= static_cast<std::size_t>(nRead);
        ullOffset += static_cast<std::uint64_t>(nRead);
    }
    return true;
}

bool PLATFORM_WriteFileData(int nFile, void const * pBuffer, std::size_t nSize)
{
    char const * pNext = static_cast<char const *>(pBuffer);
    while (nSize > 0)
    {
        ssize_t const nWritten = ::write(nFile, pNext, nSize);
        if (nWritten < 0 && errno == EINTR)
            continue;
        if (nWritten <= 0)
            return false;
        pNext += nWritten;
        nSize -= static_cast<std::size_t>(nWritten);
    }
    return true;
}

bool PLATFORM_CloseFileDescriptor(int nFile)
{
    return ::close(nFile) == 0;
}
