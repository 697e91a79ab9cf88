#include "common/kernel/memory.h"

#include <cstdlib>
#include <cstring>

#include "common/kernel/check.h"

static char const s_szSourceFile[] = "common/kernel/memory";

void * MEM_Alloc(std::uint32_t ulSize)
{
    return std::malloc(ulSize);
}

void * MEM_Realloc(void * pMemoryBlock, std::uint32_t ulSize)
{
    ZR_CHECK(pMemoryBlock != NULL, s_szSourceFile);
    return std::realloc(pMemoryBlock, ulSize);
}

void MEM_Free(void * pMemory)
{
    ZR_CHECK(pMemory != NULL, s_szSourceFile);
    std::free(pMemory);
}

void MEM_Zero(void * pMemory, std::uint32_t ulSize)
{
    ZR_CHECK(pMemory != NULL, s_szSourceFile);
    std::memset(pMemory, 0, ulSize);
}

void MEM_Copy(void * pDestination, void const * pSource, std::uint32_t ulSize)
{
    if (ulSize == 0)
        return;
    ZR_CHECK(pDestination != NULL, s_szSourceFile);
    ZR_CHECK(pSource != NULL, s_szSourceFile);
    std::memcpy(pDestination, pSource, ulSize);
}

void MEM_Move(void * pDestination, void const * pSource, std::uint32_t ulSize)
{
    ZR_CHECK(pDestination != NULL, s_szSourceFile);
    ZR_CHECK(pSource != NULL, s_szSourceFile);
    std::memmove(pDestination, pSource, ulSize);
}

void MEM_Set(void * pDestination, unsigned char ucValue, std::uint32_t ulSize)
{
    ZR_CHECK(pDestination != NULL, s_szSourceFile);
    std::memset(pDestination, ucValue, ulSize);
}

bool MEM_FastCmp(void * pBlock1, void * pBlock2, std::uint32_t ulSize)
{
    // Word by word; the blocks need not be aligned, so each word is loaded by memcpy.
    unsigned char const * pBytes1 = static_cast<unsigned char const *>(pBlock1);
    unsigned char const * pBytes2 = static_cast<unsigned char const *>(pBlock2);
    std::uint32_t const ulWords = ulSize >> 2;
    for (std::uint32_t i = 0; i < ulWords; ++i)
    {
        std::uint32_t ulWord1;
        std::uint32_t ulWord2;
        std::memcpy(&ulWord1, pBytes1 + i * 4, 4);
        std::memcpy(&ulWord2, pBytes2 + i * 4, 4);
        if (ulWord1 != ulWord2)
            return false;
    }
    return true;
}
