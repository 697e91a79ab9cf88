#include "common/platform/streamio.h"

#include <stdio_ext.h>
#include <unistd.h>

eFileCopy PLATFORM_CopyFileToStream(int nFrom, std::uint64_t ullOffset, std::uint64_t ullSize,
                                    std::FILE * pStream, std::uint64_t & ullCopied)
{
    ullCopied = 0;
    if (::fflush_unlocked(pStream) != 0)
        return FILECOPY_WRITE_FAILED;
    // With its buffer empty, the stream goes on where the copy ended, as the descriptor's
    // position moved with it: a flush leaves the stream no position of its own.
    return PLATFORM_CopyFileData(nFrom, ullOffset, ullSize, ::fileno_unlocked(pStream), ullCopied);
}

bool PLATFORM_CutStream(std::FILE * pStream, std::uint64_t ullLength)
{
    // What a failed flush leaves in the buffer would be written behind the cut later.
    bool const bFlushed = ::fflush_unlocked(pStream) == 0;
    ::__fpurge(pStream);
    off_t const llLength = static_cast<off_t>(ullLength);
    return ::ftruncate(::fileno_unlocked(pStream), llLength) == 0 &&
           ::fseeko(pStream, llLength, SEEK_SET) == 0 && bFlushed;
}
