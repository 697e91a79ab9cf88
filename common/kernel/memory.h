// Raw memory blocks: thin wrappers over the C heap and block functions that check their
// pointer arguments. A failed check ends the process through Debug_Assert; a failed
// allocation is not reported, the caller gets null. Stateless, callable from any thread.
#pragma once

#include <cstdint>

#include "common/kernel/api.h"

// malloc; null is handed back to the caller.
COMMON_API void * MEM_Alloc(std::uint32_t ulSize);
// realloc of an existing block; a null block is a failed check, not an allocation.
COMMON_API void * MEM_Realloc(void * pMemoryBlock, std::uint32_t ulSize);
// free; freeing null is a failed check.
COMMON_API void MEM_Free(void * pMemory);
// Fills with zeros; a null block is a failed check, also for a size of 0.
COMMON_API void MEM_Zero(void * pMemory, std::uint32_t ulSize);
// memcpy; a size of 0 returns before any check.
COMMON_API void MEM_Copy(void * pDestination, void const * pSource, std::uint32_t ulSize);
// memmove: the blocks may overlap; a null pointer is a failed check, also for size 0.
COMMON_API void MEM_Move(void * pDestination, void const * pSource, std::uint32_t ulSize);
// memset with the byte value; a null block is a failed check, also for size 0.
COMMON_API void MEM_Set(void * pDestination, unsigned char ucValue, std::uint32_t ulSize);
// True when the first ulSize / 4 32-bit words are equal; trailing bytes never count.
COMMON_API bool MEM_FastCmp(void * pBlock1, void * pBlock2, std::uint32_t ulSize);
