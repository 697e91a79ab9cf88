// Large blocks of memory that are filled once and used for long: backed by huge pages
// where the system allows, so that touching them costs a few page faults rather than
// one per 4 KB page. Contents start zeroed. Any thread; each block is its owner's.
#pragma once

#include <cstddef>

// A block of at least nSize bytes, or null.
void * PLATFORM_AllocLargeBlock(std::size_t nSize);
// Frees a block of PLATFORM_AllocLargeBlock with the size it was asked for; null is allowed.
void PLATFORM_FreeLargeBlock(void * pBlock, std::size_t nSize);
