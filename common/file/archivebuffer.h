// The copy buffer of archive creation and extraction, private to the library. No file is
// held in memory whole: one of at most ARCHIVE_COPY_CHUNK bytes is read into the buffer,
// which grows to the largest such file and is kept until the walk ends, so that each
// file doesn't pay for fresh pages; a larger one is copied between the files by the
// system, through a buffer of the same size where the system can't. One walk runs at a
// time in a process, so there is one buffer.
#pragma once

#include <cstdint>

#include "common/platform/filemap.h"

// Files up to this size are copied through the buffer.
constexpr std::uint32_t ARCHIVE_COPY_CHUNK = 1u << 20;

// A block of at least ulSize bytes, at most ARCHIVE_COPY_CHUNK, valid until the next
// call or the release; null when it can't be had. A size of 0 gives null.
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

// The archive file of one unit's file pass, opened at the unit's first file and shared
// by its files. When the bytes of all the unit's files are few, they are read in one
// view when the file is opened, rather than entry by entry; should that fail, each entry
// is copied on its own and reports its own failure.
class CArchiveSource
{
public:
    // ullFilesFrom and ullFilesTo bound the bytes of the unit's files in the archive.
    CArchiveSource(std::uint64_t ullFilesFrom, std::uint64_t ullFilesTo);
    ~CArchiveSource();
    CArchiveSource(CArchiveSource const &) = delete;
    CArchiveSource & operator=(CArchiveSource const &) = delete;

    // Opens the archive file; false when it can't be opened.
    bool Open(char const * szPath);
    bool IsOpen() const { return m_nFile != -1; }
    int File() const { return m_nFile; }
    // The archive file's length.
    std::uint64_t Length() const { return m_ullLength; }
    // The ulSize bytes from ullOffset in the view, or null when the view doesn't hold
    // them. A view shows the file as it is: only system calls may read it.
    void const * ViewOf(std::uint64_t ullOffset, std::uint32_t ulSize) const;

private:
    std::uint64_t m_ullFilesFrom;
    std::uint64_t m_ullFilesTo;
    int m_nFile = -1;
    std::uint64_t m_ullLength = 0;
    sFileView m_View = {nullptr, nullptr, 0};
};
