#include "common/platform/largeblock.h"

#include <windows.h>

// Large pages need a privilege that a process seldom holds, so the block is made of
// ordinary committed pages, which the system hands out zeroed.
void * PLATFORM_AllocLargeBlock(std::size_t nSize)
{
    if (nSize == 0)
        nSize = 1;
    return ::VirtualAlloc(nullptr, nSize, MEM_RESERVE | MEM_COMMIT, PAGE_READWRITE);
}

void PLATFORM_FreeLargeBlock(void * pBlock, std::size_t)
{
    if (pBlock != nullptr)
        ::VirtualFree(pBlock, 0, MEM_RELEASE);
}
