#include "common/platform/rawfile.h"

#include <cerrno>
#include <fcntl.h>
#include <io.h>
#include <memory>
#include <sys/stat.h>
#include <windows.h>

namespace
{
HANDLE SystemHandle(int nFile)
{
    return reinterpret_cast<HANDLE>(::_get_osfhandle(nFile));
}

DWORD Chunk(std::size_t nSize)
{
    return nSize > 0x40000000 ? 0x40000000 : static_cast<DWORD>(nSize);
}
} // namespace

int PLATFORM_OpenFileForReading(char const * szPath, std::uint64_t & ullSize)
{
    int const nFile = ::_open(szPath, _O_RDONLY | _O_BINARY | _O_NOINHERIT);
    if (nFile < 0)
        return -1;
    // Only a file on disk: a device name (NUL, CON) or a pipe opens too.
    LARGE_INTEGER Size;
    HANDLE const hFile = SystemHandle(nFile);
    if (::GetFileType(hFile) != FILE_TYPE_DISK || !::GetFileSizeEx(hFile, &Size))
    {
        ::_close(nFile);
        errno = EISDIR;
        return -1;
    }
    ullSize = static_cast<std::uint64_t>(Size.QuadPart);
    return nFile;
}

int PLATFORM_CreateFileForWriting(char const * szPath)
{
    int const nFile = ::_open(szPath, _O_WRONLY | _O_CREAT | _O_TRUNC | _O_BINARY | _O_NOINHERIT,
                              _S_IREAD | _S_IWRITE);
    return nFile < 0 ? -1 : nFile;
}

bool PLATFORM_ReadFileAt(int nFile, void * pBuffer, std::size_t nSize, std::uint64_t ullOffset)
{
    HANDLE const hFile = SystemHandle(nFile);
    char * pNext = static_cast<char *>(pBuffer);
    while (nSize > 0)
    {
        // The offset of an OVERLAPPED record makes a synchronous read positioned.
        OVERLAPPED Position{};
        Position.Offset = static_cast<DWORD>(ullOffset);
        Position.OffsetHigh = static_cast<DWORD>(ullOffset >> 32);
        DWORD dwRead = 0;
        if (!::ReadFile(hFile, pNext, Chunk(nSize), &dwRead, &Position) || dwRead == 0)
            return false;
        pNext += dwRead;
        nSize -= dwRead;
        ullOffset += dwRead;
    }
    return true;
}

bool PLATFORM_WriteFileData(int nFile, void const * pBuffer, std::size_t nSize)
{
    HANDLE const hFile = SystemHandle(nFile);
    char const * pNext = static_cast<char const *>(pBuffer);
    while (nSize > 0)
    {
        DWORD dwWritten = 0;
        if (!::WriteFile(hFile, pNext, Chunk(nSize), &dwWritten, nullptr) || dwWritten == 0)
            return false;
        pNext += dwWritten;
        nSize -= dwWritten;
    }
    return true;
}

bool PLATFORM_CloseFileDescriptor(int nFile)
{
    return ::_close(nFile) == 0;
}

eFileCopy PLATFORM_CopyFileData(int nFrom, std::uint64_t ullOffset, std::uint64_t ullSize, int nTo,
                                std::uint64_t & ullCopied)
{
    // Windows has no copy between open files: the bytes go through a buffer.
    ullCopied = 0;
    std::size_t const nBuffer =
        ullSize < (1u << 20) ? static_cast<std::size_t>(ullSize) : std::size_t(1) << 20;
    if (nBuffer == 0)
        return FILECOPY_DONE;
    std::unique_ptr<char[]> const pBuffer(new char[nBuffer]);
    HANDLE const hFrom = SystemHandle(nFrom);
    while (ullCopied < ullSize)
    {
        std::uint64_t const ullLeft = ullSize - ullCopied;
        DWORD const dwChunk =
            ullLeft < nBuffer ? static_cast<DWORD>(ullLeft) : static_cast<DWORD>(nBuffer);
        OVERLAPPED Position{};
        std::uint64_t const ullAt = ullOffset + ullCopied;
        Position.Offset = static_cast<DWORD>(ullAt);
        Position.OffsetHigh = static_cast<DWORD>(ullAt >> 32);
        DWORD dwRead = 0;
        if (!::ReadFile(hFrom, pBuffer.get(), dwChunk, &dwRead, &Position) || dwRead == 0)
            return FILECOPY_SHORT_READ;
        if (!PLATFORM_WriteFileData(nTo, pBuffer.get(), dwRead))
            return FILECOPY_WRITE_FAILED;
        ullCopied += dwRead;
    }
    return FILECOPY_DONE;
}
