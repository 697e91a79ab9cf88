#include "common/platform/streamio.h"

#include <cerrno>
#include <unistd.h>

std::size_t PLATFORM_WriteStreamThrough(void const * pBuffer, std::size_t nSize,
                                        std::FILE * pStream)
{
    if (::fflush_unlocked(pStream) != 0)
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
    // With its buffer empty, the stream goes on where these writes ended, as the
    // descriptor's position moved with them; no seek is needed, which an archive that
    // can't seek would fail.
    return nDone;
}
