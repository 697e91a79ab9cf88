#include "common/platform/rawfile.h"

#include <cerrno>
#include <fcntl.h>
#include <io.h>
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
