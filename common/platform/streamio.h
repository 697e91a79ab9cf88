// Transfers on the C streams of the file system. Each stream belongs to one file
// system object, which one thread uses at a time, so the stream's own lock is not
// taken: for small values that lock costs as much as the copy itself.
#pragma once

#include <cstddef>
#include <cstdio>

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

// Writes nSize bytes at the stream's position past its buffer: what the buffer holds is
// written first, then the bytes in system calls of their own, never touched here, so a
// view of PLATFORM_MapFileRange may be written. Returns the number of bytes written.
std::size_t PLATFORM_WriteStreamThrough(void const * pBuffer, std::size_t nSize,
                                        std::FILE * pStream);
