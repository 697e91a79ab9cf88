#include "common/platform/streamio.h"

#include <cerrno>
#include <unistd.h>

std::size_t PLATFORM_WriteStreamThrough(void const * pBuffer, std::size_t nSize,
                                        std::FILE * pStream)
{
    if (::fflush_unlocked(pStream) != 0)
        return 0;
    long const lPosition = std::ftell(pStream);
    if (lPosition < 0)
        return 0;
    int const nFile = ::fileno_unlocked(pStream);
    char const * pNext = static_cast<char const *>(pBuffer);
    std::size_t nDone = 0;
    while (nDone < nSize)
    {
        ssize_t const nWritten = ::write(nFile, pNext + nDone, nSize - nDone);
        if (nWritten < 0 && errno == EINTR)
            continue;
        if (nWritten <= 0)
            break;
        nDone += static_cast<std::size_t>(nWritten);
    }
    // The stream keeps its own idea of the position, which the writes moved past.
    if (std::fseek(pStream, lPosition + static_cast<long>(nDone), SEEK_SET) != 0)
        return 0;
    return nDone;
}
