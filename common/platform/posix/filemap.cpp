#include "common/platform/filemap.h"

#include <sys/mman.h>
#include <unistd.h>

bool PLATFORM_MapFileRange(int nFile, std::uint64_t ullOffset, std::size_t nSize, sFileView & View)
{
    View = sFileView{nullptr, nullptr, 0};
    if (nSize == 0)
        return false;
    std::uint64_t const ullPage = static_cast<std::uint64_t>(::sysconf(_SC_PAGESIZE));
    std::uint64_t const ullStart = ullOffset / ullPage * ullPage;
    std::size_t const nLength = nSize + static_cast<std::size_t>(ullOffset - ullStart);
    void * const pBase =
        ::mmap(nullptr, nLength, PROT_READ, MAP_SHARED, nFile, static_cast<off_t>(ullStart));
    if (pBase == MAP_FAILED)
        return false;
    // Reads every page now and reports a failure, which MAP_POPULATE would not.
    if (::madvise(pBase, nLength, MADV_POPULATE_READ) != 0)
    {
        ::munmap(pBase, nLength);
        return false;
    }
    View.pData = static_cast<char const *>(pBase) + (ullOffset - ullStart);
    View.pBase = pBase;
    View.nLength = nLength;
    return true;
}

void PLATFORM_UnmapFileRange(sFileView & View)
{
    if (View.pBase != nullptr)
        ::munmap(View.pBase, View.nLength);
    View = sFileView{nullptr, nullptr, 0};
}
