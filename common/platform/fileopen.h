// fopen for paths of the original platform: backslashes become slashes, and a mode
// that reads opens regular files only, so that a directory fails to open as it does
// there, and a pipe or device fails at once rather than waiting for a writer. The
// stream is an ordinary C stream, closed with fclose.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>

std::FILE * PLATFORM_OpenFile(char const * szPath, char const * szMode);

// Opens a regular file as PLATFORM_OpenFile(szPath, "rb") does, standing at ullOffset
// from its start, and gives its size in *pullSize. When pBuffer isn't null the stream
// buffers in those nBufferSize bytes, which must outlive it. Null on failure.
std::FILE * PLATFORM_OpenFileToRead(char const * szPath, std::uint64_t ullOffset, char * pBuffer,
                                    std::size_t nBufferSize, std::uint64_t * pullSize);
