// The C streams of the file system's open files, and what they cost. A stream is opened
// into a block of PLATFORM_STREAM_BLOCK_SIZE bytes of the caller, which holds its buffer
// and whatever else the system keeps for it, and must outlive the stream; reads and the
// position are asked here with that block. Every stream made here belongs to one file
// system object, which one thread uses at a time, so the stream's own lock is not taken.
// Paths are those of the original platform.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>

extern std::size_t const PLATFORM_STREAM_BLOCK_SIZE;

// Opens a regular file for reading, as PLATFORM_OpenFile(szPath, "rb") does, standing at
// ullOffset, and gives its size in *pullSize. pBlock may be null; the stream then makes
// its buffer itself. Null when the file can't be opened.
std::FILE * PLATFORM_OpenStreamToRead(char const * szPath, std::uint64_t ullOffset, void * pBlock,
                                      std::uint64_t * pullSize);
// Opens for writing as fopen does, with "wb" or "ab", into pBlock as a stream for
// reading is (pBlock may be null); null on failure.
std::FILE * PLATFORM_OpenStreamToWrite(char const * szPath, char const * szMode, void * pBlock);
// Reads up to nSize bytes, as fread does; pBlock is the block the stream was opened
// with, or null for any other stream. A read larger than the buffer goes past it.
std::size_t PLATFORM_ReadFileStream(void * pBuffer, std::size_t nSize, std::FILE * pStream,
                                    void * pBlock);
// Writes nSize bytes, as fwrite does; the count written.
std::size_t PLATFORM_WriteFileStream(void const * pBuffer, std::size_t nSize, std::FILE * pStream);
// The stream's position, as ftell gives it; -1 when it has none.
long PLATFORM_TellFileStream(std::FILE * pStream, void const * pBlock);
