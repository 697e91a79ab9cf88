#include "common/platform/fileopen.h"

#include <cerrno>
#include <io.h>
#include <windows.h>

namespace
{
// Windows fails to open a directory by itself; a device name (NUL, CON) or a pipe
// opens, and is refused here, so that only a file on disk is read.
bool IsDiskFile(std::FILE * pFile)
{
    HANDLE const hFile = reinterpret_cast<HANDLE>(::_get_osfhandle(::_fileno(pFile)));
    return hFile != INVALID_HANDLE_VALUE && ::GetFileType(hFile) == FILE_TYPE_DISK;
}

std::FILE * OpenDiskFile(char const * szPath, char const * szMode)
{
    std::FILE * const pFile = std::fopen(szPath, szMode);
    if (pFile == nullptr)
        return nullptr;
    if (!IsDiskFile(pFile))
    {
        std::fclose(pFile);
        errno = EISDIR;
        return nullptr;
    }
    return pFile;
}
} // namespace

std::FILE * PLATFORM_OpenFile(char const * szPath, char const * szMode)
{
    if (szMode[0] != 'r')
        return std::fopen(szPath, szMode);
    return OpenDiskFile(szPath, szMode);
}

std::FILE * PLATFORM_OpenFileToRead(char const * szPath, std::uint64_t ullOffset, char * pBuffer,
                                    std::size_t nBufferSize, std::uint64_t * pullSize)
{
    std::FILE * const pFile = OpenDiskFile(szPath, "rb");
    if (pFile == nullptr)
        return nullptr;
    if (pBuffer != nullptr)
        std::setvbuf(pFile, pBuffer, _IOFBF, nBufferSize);
    LARGE_INTEGER Size;
    if (!::GetFileSizeEx(reinterpret_cast<HANDLE>(::_get_osfhandle(::_fileno(pFile))), &Size) ||
        ::_fseeki64(pFile, static_cast<__int64>(ullOffset), SEEK_SET) != 0)
    {
        std::fclose(pFile);
        return nullptr;
    }
    *pullSize = static_cast<std::uint64_t>(Size.QuadPart);
    return pFile;
}
