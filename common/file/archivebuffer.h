// The copy buffer of archive creation and extraction, private to the library. A file is
// held in memory as a whole while it is copied; the buffer grows to the largest file
// and is kept until the walk ends, so that each file doesn't pay for fresh pages. One
// walk runs at a time in a process, so there is one buffer.
#pragma once

#include <cstdint>

// A block of at least ulSize bytes, valid until the next call or the release; null
// when it can't be had. A size of 0 gives null.
void * ARCHIVE_CopyBuffer(std::uint32_t ulSize);
void ARCHIVE_ReleaseCopyBuffer();

// Releases the copy buffer when the walk is left, also by an error.
class CArchiveBufferRelease
{
public:
    CArchiveBufferRelease() = default;
    ~CArchiveBufferRelease() { ARCHIVE_ReleaseCopyBuffer(); }
    CArchiveBufferRelease(CArchiveBufferRelease const &) = delete;
    CArchiveBufferRelease & operator=(CArchiveBufferRelease const &) = delete;
};
