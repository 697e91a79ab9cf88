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

// The position, the size of the data and the size of the block, as "pos/size/block".
std::string State(CMemFileIO const & Stream)
{
    return std::to_string(Stream.GetFilePointerPos()) + "/" + std::to_string(Stream.GetSize()) +
           "/" + std::to_string(Stream.GetBufferSize());
}

// Writes nSize bytes of cFill and gives the state behind the write.
std::string WriteAndState(CMemFileIO & Stream, std::uint32_t nSize, char cFill = 'd')
{
    std::string const sData(nSize, cFill);
    EXPECT_TRUE(Stream.Write(sData.data(), nSize));
    return State(Stream);
}
} // namespace

TEST(MemFileIO, GrowsLinearlyByItsStepFromTheCapacityThereIs)
{
    CMemFileIO Stream;
    EXPECT_EQ(Stream.GetBuffer(), nullptr);
    EXPECT_EQ(static_cast<void *>(Stream), nullptr);
    EXPECT_EQ(State(Stream), "0/0/0");
    EXPECT_TRUE(Stream.IsEof() && Stream.IsOpened());
    char cByte = 0;
    EXPECT_FALSE(Stream.Read(&cByte, 1));
    // A write that ends at the capacity fits.
    EXPECT_EQ(WriteAndState(Stream, 1, 'a'), "1/1/1024");
    EXPECT_EQ(WriteAndState(Stream, 1024, 'b'), "1025/1025/2048");
    EXPECT_EQ(WriteAndState(Stream, 1023, 'c'), "2048/2048/2048");
    EXPECT_EQ(WriteAndState(Stream, 1, 'e'), "2049/2049/3072");
    EXPECT_EQ(Contents(Stream), "a" + std::string(1024, 'b') + std::string(1023, 'c') + "e");
    // An end beyond 32 bits is a block that can't be had.
    EXPECT_TRUE(Stream.SetFilePointerPos(UINT32_MAX));
    EXPECT_EQ(ErrorCodeOf([&] { Stream.Write("x", 1); }), 4601u);
    EXPECT_EQ(Stream.GetBufferSize(), 3072u);

    // From the capacity there is, not from a multiple of the step.
    CMemFileIO Attached(NewBlock(30, 'a'), 30, 100);
    EXPECT_EQ(WriteAndState(Attached, 31), "31/31/130");
    EXPECT_EQ(WriteAndState(Attached, 93), "124/124/130");
    EXPECT_EQ(WriteAndState(Attached, 7), "131/131/230");
    MEM_Free(Attached.Detach());
}

TEST(MemFileIO, AFixedBlockIsDataThatCannotGrow)
{
    unsigned char aBlock[100];
    for (int i = 0; i < 100; ++i)
        aBlock[i] = static_cast<unsigned char>(i);
    CMemFileIO Stream(aBlock, 100, 0);
    EXPECT_EQ(Stream.GetBuffer(), aBlock);
    unsigned char aRead[4] = {};
    EXPECT_TRUE(Stream.Read(aRead, 4));
    EXPECT_EQ(aRead[3], 3);
    EXPECT_EQ(State(Stream), "4/100/100");
    EXPECT_TRUE(Stream.SetFilePointerPos(0));
    EXPECT_EQ(WriteAndState(Stream, 100, 'w'), "100/100/100");
    EXPECT_EQ(aBlock[99], 'w');
    EXPECT_EQ(ErrorCodeOf([&] { Stream.Write("x", 1); }), 4600u);
    EXPECT_EQ(ErrorCodeOf([&] { Stream.SetSize(101); }), 4600u);
    EXPECT_EQ(State(Stream), "100/100/100");

    // A block with a step is an empty file in a ready block, grown by reallocation.
    CMemFileIO Growing;
    Growing.Attach(NewBlock(100, 'z'), 100, 64);
    EXPECT_EQ(State(Growing), "0/0/100");
    EXPECT_FALSE(Growing.Read(aRead, 1));
    EXPECT_EQ(WriteAndState(Growing, 101, 'g'), "101/101/164");
    EXPECT_EQ(Contents(Growing), std::string(101, 'g'));
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
    EXPECT_EQ(State(Stream), "1000/10/1024");
    EXPECT_EQ(WriteAndState(Stream, 1, '!'), "1001/1001/1024");
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
    EXPECT_EQ(State(Stream), "10/10/1024");
    unsigned char * pBlock = Stream.GetBuffer();
    Stream.SetSize(0);
    EXPECT_EQ(Stream.GetBuffer(), pBlock);
    Stream.SetSize(1500);
    EXPECT_EQ(State(Stream), "0/1500/2048");
}

TEST(MemFileIO, DetachAndCloseEndTheStream)
{
    CMemFileIO Stream;
    ASSERT_TRUE(Stream.Write("abc", 3));
    unsigned char * pBlock = Stream.Detach();
    ASSERT_NE(pBlock, nullptr);
    EXPECT_EQ(std::memcmp(pBlock, "abc", 3), 0);
    EXPECT_EQ(State(Stream), "0/0/0");
    EXPECT_EQ(Stream.GetBuffer(), nullptr);
    MEM_Free(pBlock);

    // After a Detach the stream keeps its step but owns nothing, also what it
    // allocates later: Close leaves that block to the caller.
    EXPECT_EQ(WriteAndState(Stream, 2), "2/2/1024");
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
    EXPECT_EQ(State(Stream), "28/28/32");
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
