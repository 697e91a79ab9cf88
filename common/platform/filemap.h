// Read-only views of a range of a file, for copying large files without a copy in
// memory: every page is read in before the view is handed out, so that a range that
// can't be read fails here, as a read would, and not later where the view is used.
// The view shows the file as it is, so it is handed only to system calls, which report
// a page that vanished (the file cut short meanwhile) as an error instead of a crash.
#pragma once

#include <cstddef>
#include <cstdint>

struct sFileView
{
    void const * pData;  // the first byte of the range
    void * pBase;        // what the system mapped; null for none
    std::size_t nLength; // how much it mapped
};

// Maps nSize bytes from ullOffset of the open file nFile, which must lie inside it;
// false when the range can't be mapped or read, View then holds no mapping.
bool PLATFORM_MapFileRange(int nFile, std::uint64_t ullOffset, std::size_t nSize, sFileView & View);
// Releases a view of PLATFORM_MapFileRange; one that holds no mapping is allowed.
void PLATFORM_UnmapFileRange(sFileView & View);
