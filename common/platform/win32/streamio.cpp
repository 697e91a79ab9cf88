#include "common/platform/streamio.h"

#include <io.h>

eFileCopy PLATFORM_CopyFileToStream(int nFrom, std::uint64_t ullOffset, std::uint64_t ullSize,
                                    std::FILE * pStream, std::uint64_t & ullCopied)
{
    ullCopied = 0;
    if (std::fflush(pStream) != 0)
        return FILECOPY_WRITE_FAILED;
    // With its buffer empty, the stream goes on where the copy ended: the C library
    // keeps no position of its own for a flushed stream.
    return PLATFORM_CopyFileData(nFrom, ullOffset, ullSize, ::_fileno(pStream), ullCopied);
}

bool PLATFORM_CutStream(std::FILE * pStream, std::uint64_t ullLength)
{
    bool const bFlushed = std::fflush(pStream) == 0;
    return ::_chsize_s(::_fileno(pStream), static_cast<__int64>(ullLength)) == 0 &&
           ::_fseeki64(pStream, static_cast<__int64>(ullLength), SEEK_SET) == 0 && bFlushed;
}
