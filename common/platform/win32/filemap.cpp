#include "common/platform/filemap.h"

#include <io.h>
#include <windows.h>

// While a view of a file exists, Windows refuses to cut the file short, so touching
// each page here can fail only on a read error of the disk itself.
bool PLATFORM_MapFileRange(int nFile, std::uint64_t ullOffset, std::size_t nSize, sFileView & View)
{
    View = sFileView{nullptr, nullptr, 0};
    if (nSize == 0)
        return false;
    HANDLE const hFile = reinterpret_cast<HANDLE>(::_get_osfhandle(nFile));
    if (hFile == INVALID_HANDLE_VALUE)
        return false;
    HANDLE const hMapping = ::CreateFileMappingA(hFile, nullptr, PAGE_READONLY, 0, 0, nullptr);
    if (hMapping == nullptr)
        return false;
    SYSTEM_INFO System;
    ::GetSystemInfo(&System);
    std::uint64_t const ullGranule = System.dwAllocationGranularity;
    std::uint64_t const ullStart = ullOffset / ullGranule * ullGranule;
    std::size_t const nLength = nSize + static_cast<std::size_t>(ullOffset - ullStart);
    void * const pBase =
        ::MapViewOfFile(hMapping, FILE_MAP_READ, static_cast<DWORD>(ullStart >> 32),
                        static_cast<DWORD>(ullStart), nLength);
    // The view keeps the mapping alive on its own.
    ::CloseHandle(hMapping);
    if (pBase == nullptr)
        return false;
    volatile char cSum = 0;
    for (std::size_t nPage = 0; nPage < nLength; nPage += System.dwPageSize)
        cSum = cSum + static_cast<char const *>(pBase)[nPage];
    View.pData = static_cast<char const *>(pBase) + (ullOffset - ullStart);
    View.pBase = pBase;
    View.nLength = nLength;
    return true;
}

void PLATFORM_UnmapFileRange(sFileView & View)
{
    if (View.pBase != nullptr)
        ::UnmapViewOfFile(View.pBase);
    View = sFileView{nullptr, nullptr, 0};
}
