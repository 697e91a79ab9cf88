#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <string>

#include "banner.h"
#include "common/file/memfileio.h"
#include "common/kernel/memory.h"
#include "workdir.h"

namespace
{
unsigned char * NewBlock(std::uint32_t ulSize, char cFill)
{
    unsigned char * pBlock = static_cast<unsigned char *>(MEM_Alloc(ulSize));
    std::memset(pBlock, cFill, ulSize);
    return pBlock;
}

std::string Contents(CMemFileIO const & Stream)
{
    return std::string(reinterpret_cast<char const *>(Stream.GetBuffer()), Stream.GetSize());
}

// Writes the rows' sizes one after another, each in bytes of its own, expecting the
// block's size behind each; gives what was written.
std::string ExpectGrowth(CMemFileIO & Stream,
                         std::initializer_list<std::pair<std::uint32_t, std::uint32_t>> Rows)
{
    std::string sWritten;
    char cFill = 'a';
    for (auto const & Row : Rows)
    {
        std::string const sData(Row.first, cFill++);
        EXPECT_TRUE(Stream.Write(sData.data(), Row.first));
        EXPECT_EQ(Stream.GetBufferSize(), Row.second) << "after a write of " << Row.first;
        sWritten += sData;
    }
    return sWritten;
}
} // namespace

TEST(MemFileIO, GrowsLinearlyByItsStepFromTheCapacityThereIs)
{
    CMemFileIO Stream;
    EXPECT_EQ(Stream.GetBuffer(), nullptr);
    EXPECT_EQ(static_cast<void *>(Stream), nullptr);
    EXPECT_EQ(Stream.GetBufferSize() + Stream.GetSize(), 0u);
    EXPECT_TRUE(Stream.IsEof() && Stream.IsOpened());
    char cByte = 0;
    EXPECT_FALSE(Stream.Read(&cByte, 1));
    // A write that ends at the capacity fits.
    std::string const sWritten =
        ExpectGrowth(Stream, {{1, 1024}, {1024, 2048}, {1023, 2048}, {1, 3072}});
    EXPECT_EQ(Stream.GetFilePointerPos(), 2049u);
    EXPECT_EQ(Contents(Stream), sWritten);

    // From the capacity there is, not from a multiple of the step.
    CMemFileIO Attached(NewBlock(30, 'a'), 30, 100);
    ExpectGrowth(Attached, {{31, 130}, {31, 130}, {31, 130}, {31, 130}, {7, 230}});
    MEM_Free(Attached.Detach());
    // An end beyond 32 bits is a block that can't be had.
    EXPECT_TRUE(Stream.SetFilePointerPos(UINT32_MAX));
    EXPECT_EQ(ErrorCodeOf([&] { Stream.Write("x", 1); }), 4601u);
    EXPECT_EQ(Stream.GetBufferSize(), 3072u);
}

TEST(MemFileIO, AFixedBlockIsDataThatCannotGrow)
{
    unsigned char aBlock[100];
    for (int i = 0; i < 100; ++i)
        aBlock[i] = static_cast<unsigned char>(i);
    CMemFileIO Stream(aBlock, 100, 0);
    EXPECT_EQ(Stream.GetSize(), 100u);
    EXPECT_EQ(Stream.GetBuffer(), aBlock);
    unsigned char aRead[4] = {};
    EXPECT_TRUE(Stream.Read(aRead, 4));
    EXPECT_EQ(aRead[3], 3);

    std::string const sData(100, 'w');
    EXPECT_TRUE(Stream.SetFilePointerPos(0));
    EXPECT_TRUE(Stream.Write(sData.data(), 100));
    EXPECT_EQ(aBlock[99], 'w');
    EXPECT_EQ(ErrorCodeOf([&] { Stream.Write("x", 1); }), 4600u);
    EXPECT_EQ(Stream.GetFilePointerPos(), 100u);
    EXPECT_EQ(Stream.GetSize(), 100u);
    EXPECT_EQ(ErrorCodeOf([&] { Stream.SetSize(101); }), 4600u);

    // A block with a step is an empty file in a ready block, grown by reallocation.
    CMemFileIO Growing;
    Growing.Attach(NewBlock(100, 'z'), 100, 64);
    EXPECT_EQ(Growing.GetSize(), 0u);
    EXPECT_FALSE(Growing.Read(aRead, 1));
    std::string const sLong(101, 'g');
    EXPECT_TRUE(Growing.Write(sLong.data(), 101));
    EXPECT_EQ(Growing.GetBufferSize(), 164u);
    EXPECT_EQ(Contents(Growing), sLong);
    MEM_Free(Growing.Detach());
}

TEST(MemFileIO, PositionsMayPassTheEndOfTheData)
{
    CMemFileIO Stream;
    ASSERT_TRUE(Stream.Write("0123456789", 10));
    EXPECT_TRUE(Stream.SetFilePointerPos(1000));
    EXPECT_TRUE(Stream.IsEof());
    char cByte = 0;
    EXPECT_FALSE(Stream.Read(&cByte, 1));
    EXPECT_EQ(Stream.GetSize(), 10u);
    EXPECT_TRUE(Stream.Write("!", 1));
    EXPECT_EQ(Stream.GetSize(), 1001u);
    EXPECT_EQ(Stream.GetBuffer()[1000], '!');

    EXPECT_TRUE(Stream.SetFilePointerPos(0));
    EXPECT_EQ(ErrorCodeOf([&] { Stream.Skip(-1); }), 4602u);
    EXPECT_EQ(Stream.GetFilePointerPos(), 0u);
    EXPECT_TRUE(Stream.Skip(5000));
    EXPECT_EQ(Stream.GetFilePointerPos(), 5000u);
    EXPECT_TRUE(Stream.Skip(-4999));
    EXPECT_TRUE(Stream.Read(&cByte, 1));
    EXPECT_EQ(cByte, '1');

    // A read across the end copies what remains and is true; ReadRaw counts it.
    char aRead[10] = {};
    EXPECT_TRUE(Stream.SetFilePointerPos(998));
    EXPECT_TRUE(Stream.Read(aRead, 10));
    EXPECT_EQ(aRead[2], '!');
    EXPECT_TRUE(Stream.SetFilePointerPos(998));
    EXPECT_EQ(Stream.ReadRaw(aRead, 1, 10), 3);
    EXPECT_EQ(Stream.ReadRaw(aRead, 1, 10), 0);
    EXPECT_TRUE(Stream.Read(nullptr, 0) && Stream.Write(nullptr, 0));

    // SetSize moves the position but never shrinks the block.
    EXPECT_TRUE(Stream.SetFilePointerPos(20));
    Stream.SetSize(10);
    EXPECT_EQ(Stream.GetFilePointerPos(), 10u);
    EXPECT_EQ(Stream.GetSize(), 10u);
    unsigned char * pBlock = Stream.GetBuffer();
    Stream.SetSize(0);
    EXPECT_EQ(Stream.GetBuffer(), pBlock);
    EXPECT_EQ(Stream.GetBufferSize(), 1024u);
    Stream.SetSize(1500);
    EXPECT_EQ(Stream.GetSize(), 1500u);
    EXPECT_EQ(Stream.GetBufferSize(), 2048u);
    EXPECT_EQ(Stream.GetFilePointerPos(), 0u);
}

TEST(MemFileIO, DetachAndCloseEndTheStream)
{
    CMemFileIO Stream;
    ASSERT_TRUE(Stream.Write("abc", 3));
    unsigned char * pBlock = Stream.Detach();
    ASSERT_NE(pBlock, nullptr);
    EXPECT_EQ(std::memcmp(pBlock, "abc", 3), 0);
    EXPECT_EQ(Stream.GetSize() + Stream.GetBufferSize() + Stream.GetFilePointerPos(), 0u);
    EXPECT_EQ(Stream.GetBuffer(), nullptr);
    MEM_Free(pBlock);

    // After a Detach the stream keeps its step but owns nothing, also what it
    // allocates later: Close leaves that block to the caller.
    ASSERT_TRUE(Stream.Write("de", 2));
    EXPECT_EQ(Stream.GetBufferSize(), 1024u);
    pBlock = Stream.GetBuffer();
    EXPECT_TRUE(Stream.Close());
    EXPECT_EQ(Stream.GetBuffer(), nullptr);
    MEM_Free(pBlock);

    CMemFileIO Closed;
    ASSERT_TRUE(Closed.Write("x", 1));
    EXPECT_TRUE(Closed.Close() && Closed.Close() && Closed.IsOpened() && Closed.Write("", 0));
    EXPECT_EQ(ErrorCodeOf([&] { Closed.Write("x", 1); }), 4600u);
    EXPECT_TRUE(Closed.Open("ignored", 0));
    EXPECT_EQ(ErrorCodeOf([&] { Closed.Write("x", 1); }), 4600u);
    EXPECT_TRUE(Closed.Flush());
    EXPECT_FALSE(Closed.Printf("%d", 1));
    EXPECT_EQ(Closed.GetSize(), 0u);
}

TEST(MemFileIO, ACopyOwnsACopyOfAnOwnedBlockAndSharesAnAttachedOne)
{
    CMemFileIO Stream;
    ASSERT_TRUE(Stream.Write("abc", 3));
    {
        CMemFileIO Copy(Stream);
        EXPECT_NE(Copy.GetBuffer(), Stream.GetBuffer());
        EXPECT_EQ(Contents(Copy), "abc");
        EXPECT_EQ(Copy.GetFilePointerPos(), 3u);
        EXPECT_TRUE(Copy.Write("d", 1));
        CMemFileIO Assigned;
        ASSERT_TRUE(Assigned.Write("old", 3));
        Assigned = Copy;
        EXPECT_EQ(Contents(Assigned), "abcd");
    }
    EXPECT_EQ(Contents(Stream), "abc");

    unsigned char aBlock[4] = {'w', 'x', 'y', 'z'};
    CMemFileIO Attached(aBlock, 4, 0);
    CMemFileIO Shared(Attached);
    EXPECT_EQ(Shared.GetBuffer(), aBlock);
    EXPECT_EQ(Shared.GetSize(), 4u);
}

TEST(MemFileIO, InheritsTheBinaryStoredForms)
{
    CMemFileIO Stream(16);
    EXPECT_TRUE(Stream.Write(vector4{1, 2, 3, 4}) && Stream.Write(4000000000UL) &&
                Stream.Write(CZRString("text")));
    EXPECT_EQ(Stream.GetSize(), 16u + 4u + 8u);
    EXPECT_EQ(Stream.GetBufferSize(), 32u);
    EXPECT_TRUE(Stream.SetFilePointerPos(0));
    vector4 r4 = {};
    unsigned long ulValue = 0;
    CZRString sValue;
    EXPECT_TRUE(Stream.Read(r4) && Stream.Read(ulValue) && Stream.Read(sValue));
    EXPECT_EQ(r4.w, 4.0f);
    EXPECT_EQ(ulValue, 4000000000UL);
    EXPECT_STREQ(sValue.GetString(), "text");
    EXPECT_FALSE(Stream.Read(ulValue));
}

TEST(MemFileIODeathTest, AttachNeedsABlock)
{
    CMemFileIO Stream;
    EXPECT_DEATH(Stream.Attach(nullptr, 10, 0),
                 BannerPattern("pBuffer != NULL", "common/file/memfileio"));
}
