#include "common/platform/streamio.h"

#include <io.h>
#include <windows.h>

std::size_t PLATFORM_WriteStreamThrough(void const * pBuffer, std::size_t nSize,
                                        std::FILE * pStream)
{
    if (std::fflush(pStream) != 0)
        return 0;
    HANDLE const hFile = reinterpret_cast<HANDLE>(::_get_osfhandle(::_fileno(pStream)));
    if (hFile == INVALID_HANDLE_VALUE)
        return 0;
    char const * pNext = static_cast<char const *>(pBuffer);
    std::size_t nDone = 0;
    while (nDone < nSize)
    {
        std::size_t const nLeft = nSize - nDone;
        DWORD const dwChunk = nLeft > 0x40000000 ? 0x40000000 : static_cast<DWORD>(nLeft);
        DWORD dwWritten = 0;
        if (!::WriteFile(hFile, pNext + nDone, dwChunk, &dwWritten, nullptr) || dwWritten == 0)
            break;
        nDone += dwWritten;
    }
    // With its buffer empty, the stream goes on where these writes ended: the C library
    // keeps no position of its own for a flushed stream.
    return nDone;
}
