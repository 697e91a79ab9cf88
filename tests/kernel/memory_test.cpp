#include <gtest/gtest.h>

#include <cstring>

#include "banner.h"
#include "common/kernel/memory.h"

static std::string const s_sFile = "common/kernel/memory";

TEST(Memory, NullChecksAndTheirOrder)
{
    char cByte = 0;
    MEM_Copy(nullptr, nullptr, 0); // size 0 returns before any check
    EXPECT_DEATH(MEM_Copy(nullptr, nullptr, 1), BannerPattern("pDestination != NULL", s_sFile));
    EXPECT_DEATH(MEM_Copy(&cByte, nullptr, 1), BannerPattern("pSource != NULL", s_sFile));
    EXPECT_DEATH(MEM_Move(nullptr, nullptr, 0), BannerPattern("pDestination != NULL", s_sFile));
    EXPECT_DEATH(MEM_Move(&cByte, nullptr, 0), BannerPattern("pSource != NULL", s_sFile));
    EXPECT_DEATH(MEM_Zero(nullptr, 0), BannerPattern("pMemory != NULL", s_sFile));
    EXPECT_DEATH(MEM_Set(nullptr, 1, 0), BannerPattern("pDestination != NULL", s_sFile));
    EXPECT_DEATH(MEM_Free(nullptr), BannerPattern("pMemory != NULL", s_sFile));
    EXPECT_DEATH(MEM_Realloc(nullptr, 8), BannerPattern("pMemoryBlock != NULL", s_sFile));
}

TEST(Memory, BlockOperations)
{
    char * pBlock = static_cast<char *>(MEM_Alloc(8));
    ASSERT_NE(pBlock, nullptr);
    MEM_Set(pBlock, 'x', 8);
    MEM_Zero(pBlock, 2);
    MEM_Copy(pBlock + 2, "ab", 2);
    MEM_Move(pBlock + 3, pBlock + 2, 4); // overlapping
    EXPECT_EQ(std::string(pBlock, 8), std::string("\0\0aabxxx", 8));
    pBlock = static_cast<char *>(MEM_Realloc(pBlock, 16));
    ASSERT_NE(pBlock, nullptr);
    EXPECT_EQ(pBlock[4], 'b');
    MEM_Free(pBlock);
}

TEST(Memory, FastCmpComparesWholeWordsOnly)
{
    unsigned char a[8] = {1, 2, 3, 4, 5, 6, 7, 8};
    unsigned char b[8] = {9, 9, 9, 4, 5, 6, 7, 9};
    EXPECT_TRUE(MEM_FastCmp(nullptr, nullptr, 3)); // no word: blocks are not touched
    EXPECT_TRUE(MEM_FastCmp(a, b, 3));
    EXPECT_FALSE(MEM_FastCmp(a, b, 4));
    b[0] = 1, b[1] = 2, b[2] = 3;
    EXPECT_TRUE(MEM_FastCmp(a, b, 4));
    EXPECT_TRUE(MEM_FastCmp(a, b, 7)); // last word never reached
    EXPECT_FALSE(MEM_FastCmp(a, b, 8));
    EXPECT_TRUE(MEM_FastCmp(a + 1, a + 1, 6)); // unaligned
}
