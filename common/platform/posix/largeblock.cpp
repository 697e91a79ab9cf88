#include "common/platform/largeblock.h"

#include <cstdint>

#include <sys/mman.h>

namespace
{
constexpr std::size_t HUGE_PAGE = 2u << 20;

std::size_t Rounded(std::size_t nSize)
{
    return (nSize + HUGE_PAGE - 1) / HUGE_PAGE * HUGE_PAGE;
}
} // namespace

void * PLATFORM_AllocLargeBlock(std::size_t nSize)
{
    // One huge page more than needed, so that the block can start on a huge page.
    std::size_t const nMapped = Rounded(nSize) + HUGE_PAGE;
    void * const pMapped =
        ::mmap(nullptr, nMapped, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (pMapped == MAP_FAILED)
        return nullptr;
    std::uintptr_t const uStart = reinterpret_cast<std::uintptr_t>(pMapped);
    std::uintptr_t const uAligned = (uStart + HUGE_PAGE - 1) / HUGE_PAGE * HUGE_PAGE;
    std::size_t const nHead = uAligned - uStart;
    if (nHead > 0)
        ::munmap(pMapped, nHead);
    std::size_t const nTail = nMapped - nHead - Rounded(nSize);
    if (nTail > 0)
        ::munmap(reinterpret_cast<void *>(uAligned + Rounded(nSize)), nTail);
    void * const pBlock = reinterpret_cast<void *>(uAligned);
    ::madvise(pBlock, Rounded(nSize), MADV_HUGEPAGE);
    return pBlock;
}

void PLATFORM_FreeLargeBlock(void * pBlock, std::size_t nSize)
{
    if (pBlock != nullptr)
        ::munmap(pBlock, Rounded(nSize));
}
