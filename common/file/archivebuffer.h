// The copy buffer of archive creation and extraction, private to the library. A file is
// held in memory as a whole while it is copied: a small one in the buffer, which grows
// to the largest such file and is kept until the walk ends, so that each file doesn't
// pay for fresh pages; a large one as a read-in view of the file itself, which spares
// copying it through memory that can't stay in the cache. One walk runs at a time in a
// process, so there is one buffer.
#pragma once

#include <cstdint>

#include "common/platform/filemap.h"

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

// Bytes of an open file read whole: in the copy buffer or in a view of the file.
class CArchiveData
{
public:
    CArchiveData() = default;
    ~CArchiveData() { PLATFORM_UnmapFileRange(m_View); }
    CArchiveData(CArchiveData const &) = delete;
    CArchiveData & operator=(CArchiveData const &) = delete;

    // Reads ulSize bytes from ullOffset of the descriptor nFile, whose size is
    // ullFileSize; false when they can't all be read.
    bool Read(int nFile, std::uint64_t ullFileSize, std::uint64_t ullOffset, std::uint32_t ulSize);
    // Takes bytes of a view that someone else holds.
    void Borrow(void const * pData);
    // The bytes read; null for none.
    void const * Get() const { return m_pData; }
    // Whether the bytes are a view of a file, which only system calls may read.
    bool IsView() const { return m_bView; }

private:
    sFileView m_View = {nullptr, nullptr, 0};
    void const * m_pData = nullptr;
    bool m_bView = false;
};

// The archive file of one unit's file pass, opened at the unit's first file and shared
// by its files. When the bytes of all the unit's files are few, they are read in one
// view when the file is opened, rather than entry by entry; should that fail, each entry
// is read on its own and reports its own failure.
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
    // The archive file's length.
    std::uint64_t Length() const { return m_ullLength; }
    // Reads ulSize bytes from ullOffset whole; false when they can't all be read.
    bool Read(std::uint64_t ullOffset, std::uint32_t ulSize, CArchiveData & Data) const;

private:
    std::uint64_t m_ullFilesFrom;
    std::uint64_t m_ullFilesTo;
    int m_nFile = -1;
    std::uint64_t m_ullLength = 0;
    sFileView m_View = {nullptr, nullptr, 0};
};
