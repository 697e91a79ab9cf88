// Transfers on the C streams of the file system. Each stream belongs to one file
// system object, which one thread uses at a time, so the stream's own lock is not
// taken: for small values that lock costs as much as the copy itself.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>

#include "common/platform/rawfile.h"

// The run-time library of Windows that mingw-w64 links has no unlocked forms.
#if defined(_WIN32)
inline std::size_t PLATFORM_ReadStream(void * pBuffer, std::size_t nSize, std::FILE * pStream)
{
    return std::fread(pBuffer, 1, nSize, pStream);
}

inline std::size_t PLATFORM_WriteStream(void const * pBuffer, std::size_t nSize,
                                        std::FILE * pStream)
{
    return std::fwrite(pBuffer, 1, nSize, pStream);
}
#else
inline std::size_t PLATFORM_ReadStream(void * pBuffer, std::size_t nSize, std::FILE * pStream)
{
    return ::fread_unlocked(pBuffer, 1, nSize, pStream);
}

inline std::size_t PLATFORM_WriteStream(void const * pBuffer, std::size_t nSize,
                                        std::FILE * pStream)
{
    return ::fwrite_unlocked(pBuffer, 1, nSize, pStream);
}
#endif

// Copies nSize bytes from ullOffset of the file nFrom to the stream's position, past its
// buffer, as PLATFORM_CopyFileData does: what the buffer holds is written first, and
// the stream goes on behind the copied bytes.
eFileCopy PLATFORM_CopyFileToStream(int nFrom, std::uint64_t ullOffset, std::uint64_t ullSize,
                                    std::FILE * pStream, std::uint64_t & ullCopied);
// Cuts the stream's file at ullLength, after what its buffer holds is written out, and
// stands the stream there; false when the file can't be cut.
bool PLATFORM_CutStream(std::FILE * pStream, std::uint64_t ullLength);
