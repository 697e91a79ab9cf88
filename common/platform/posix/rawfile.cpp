#include "common/platform/rawfile.h"

#include <cerrno>
#include <memory>

#include <fcntl.h>
#include <sys/sendfile.h>
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

namespace
{
// The most one system call is asked to copy; also the buffer of a copy by hand.
constexpr std::size_t SYSTEM_COPY_CHUNK = 1 << 30;
constexpr std::size_t BUFFER_CHUNK = 1 << 20;

enum eCopyWay
{
    COPY_RANGE, // copy_file_range: within one file system, shared blocks where it can
    COPY_SEND,  // sendfile: between file systems
    COPY_BY_HAND,
};

bool IsFullTarget(int nError)
{
    return nError == ENOSPC || nError == EDQUOT || nError == EFBIG;
}

// Whether the source holds a byte at ullOffset, for a system copy that copied nothing:
// some file systems report their files' ends wrongly there.
bool HasByteAt(int nFrom, std::uint64_t ullOffset)
{
    char cByte = 0;
    return ::pread(nFrom, &cByte, 1, static_cast<off_t>(ullOffset)) == 1;
}

// One step of a copy by the system: the bytes copied, 0 at the source's end, -1 on
// failure with errno set.
ssize_t SystemCopy(eCopyWay eWay, int nFrom, std::uint64_t ullOffset, std::size_t nSize, int nTo)
{
    off_t llFrom = static_cast<off_t>(ullOffset);
    if (eWay == COPY_RANGE)
        return ::copy_file_range(nFrom, &llFrom, nTo, nullptr, nSize, 0);
    return ::sendfile(nTo, nFrom, &llFrom, nSize);
}

eFileCopy CopyByHand(int nFrom, std::uint64_t ullOffset, std::uint64_t ullSize, int nTo,
                     std::uint64_t & ullCopied)
{
    std::size_t const nBuffer = ullSize - ullCopied < BUFFER_CHUNK
                                    ? static_cast<std::size_t>(ullSize - ullCopied)
                                    : BUFFER_CHUNK;
    std::unique_ptr<char[]> const pBuffer(new char[nBuffer]);
    while (ullCopied < ullSize)
    {
        std::size_t const nChunk =
            ullSize - ullCopied < nBuffer ? static_cast<std::size_t>(ullSize - ullCopied) : nBuffer;
        ssize_t const nRead =
            ::pread(nFrom, pBuffer.get(), nChunk, static_cast<off_t>(ullOffset + ullCopied));
        if (nRead < 0 && errno == EINTR)
            continue;
        if (nRead <= 0)
            return FILECOPY_SHORT_READ;
        if (!PLATFORM_WriteFileData(nTo, pBuffer.get(), static_cast<std::size_t>(nRead)))
            return FILECOPY_WRITE_FAILED;
        ullCopied += static_cast<std::uint64_t>(nRead);
    }
    return FILECOPY_DONE;
}
} // namespace

eFileCopy PLATFORM_CopyFileData(int nFrom, std::uint64_t ullOffset, std::uint64_t ullSize, int nTo,
                                std::uint64_t & ullCopied)
{
    ullCopied = 0;
    eCopyWay eWay = COPY_RANGE;
    while (ullCopied < ullSize && eWay != COPY_BY_HAND)
    {
        std::size_t const nChunk = ullSize - ullCopied < SYSTEM_COPY_CHUNK
                                       ? static_cast<std::size_t>(ullSize - ullCopied)
                                       : SYSTEM_COPY_CHUNK;
        ssize_t const nCopied = SystemCopy(eWay, nFrom, ullOffset + ullCopied, nChunk, nTo);
        if (nCopied > 0)
            ullCopied += static_cast<std::uint64_t>(nCopied);
        else if (nCopied == 0 && !HasByteAt(nFrom, ullOffset + ullCopied))
            return FILECOPY_SHORT_READ;
        else if (nCopied < 0 && errno == EINTR)
            continue;
        else if (nCopied < 0 && IsFullTarget(errno))
            return FILECOPY_WRITE_FAILED;
        else
            // Files the system can't copy between this way, and failures whose side only
            // a copy by hand can tell.
            eWay = static_cast<eCopyWay>(eWay + 1);
    }
    return CopyByHand(nFrom, ullOffset, ullSize, nTo, ullCopied);
}
