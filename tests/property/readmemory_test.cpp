// Memory that the readers of stored collections ask for, counted by a global operator
// new of this test program: what a damaged count makes them reserve, and what happens
// when memory runs out while they read.
#include <gtest/gtest.h>

#include <cstdlib>
#include <new>
#include <string>

#include "common/property/zrparams.h"
#include "common/property/zrpropertymanager.h"
#include "streambytes.h"

namespace
{
bool s_bCounting = false;
std::size_t s_nRequested = 0;
std::size_t s_nLargest = static_cast<std::size_t>(-1); // a larger request fails
std::size_t s_nBudget = static_cast<std::size_t>(-1);  // so does one past this in total

void * Allocate(std::size_t nSize)
{
    if (s_bCounting)
    {
        if (nSize > s_nLargest || s_nRequested + nSize > s_nBudget)
            throw std::bad_alloc();
        s_nRequested += nSize;
    }
    void * pMemory = std::malloc(nSize != 0 ? nSize : 1);
    if (pMemory == nullptr)
        throw std::bad_alloc();
    return pMemory;
}

// The bytes asked for while Statement runs.
template <typename Statement>
std::size_t RequestedBy(Statement Run, std::size_t nLargest = static_cast<std::size_t>(-1),
                        std::size_t nBudget = static_cast<std::size_t>(-1))
{
    s_nRequested = 0;
    s_nLargest = nLargest;
    s_nBudget = nBudget;
    s_bCounting = true;
    Run();
    s_bCounting = false;
    return s_nRequested;
}

// False where the program's operator new is not the one below, as under valgrind, which
// puts its own in place: what the readers ask for can't be counted there.
bool AllocationsAreCounted()
{
    // Kept in a volatile, so that the compiler can't leave the pair out.
    return RequestedBy(
               []
               {
                   int * volatile pProbe = new int(0);
                   delete pProbe;
               }) > 0;
}

std::string Int32(std::uint32_t ulValue)
{
    return Bytes({static_cast<int>(ulValue & 0xFF), static_cast<int>((ulValue >> 8) & 0xFF),
                  static_cast<int>((ulValue >> 16) & 0xFF), static_cast<int>(ulValue >> 24)});
}
} // namespace

void * operator new(std::size_t nSize)
{
    return Allocate(nSize);
}
void * operator new[](std::size_t nSize)
{
    return Allocate(nSize);
}
void operator delete(void * pMemory) noexcept
{
    std::free(pMemory);
}
void operator delete[](void * pMemory) noexcept
{
    std::free(pMemory);
}
void operator delete(void * pMemory, std::size_t) noexcept
{
    std::free(pMemory);
}
void operator delete[](void * pMemory, std::size_t) noexcept
{
    std::free(pMemory);
}

TEST(ReadMemory, ADamagedCountReservesNothing)
{
    if (!AllocationsAreCounted())
        GTEST_SKIP() << "operator new is replaced from outside (valgrind)";
    // The largest count, then a first element that can't be read (a string longer than
    // the stream) and more bytes behind it: at 1, 4 and 16 times the size, what is asked
    // for stays below the input's own size.
    for (std::size_t nScale : {1u, 4u, 16u})
    {
        std::string const sJunk(nScale * 64 * 1024, '\xEE');
        CByteStream Params(Int32(0x7FFFFFFF) + Int32('s') + Int32(0x7FFFFFF0) + sJunk);
        CZRParams List;
        bool bRead = true;
        std::size_t const nBytes = RequestedBy([&] { bRead = List.Read(&Params); });
        EXPECT_FALSE(bRead);
        EXPECT_LT(nBytes, sJunk.size()) << nScale;
    }
    // Elements that are there cost memory in proportion to their number.
    std::size_t anBytes[3] = {};
    int nStep = 0;
    for (std::size_t nScale : {1u, 4u, 16u})
    {
        CZRParams Full;
        for (std::size_t i = 0; i < nScale * 500; ++i)
            Full.Add(CZRProperty(static_cast<int>(i)));
        CMemFileIO Stored;
        ASSERT_TRUE(Full.Write(&Stored));
        Stored.SetFilePointerPos(0);
        CZRParams List;
        anBytes[nStep++] = RequestedBy([&] { EXPECT_TRUE(List.Read(&Stored)); });
        EXPECT_EQ(List.GetCount(), static_cast<long>(nScale * 500));
    }
    EXPECT_LT(anBytes[1], 4 * anBytes[0] * 3 / 2);
    EXPECT_LT(anBytes[2], 16 * anBytes[0] * 3 / 2);
}

TEST(ReadMemory, MemoryThatRunsOutIsAFalseResult)
{
    if (!AllocationsAreCounted())
        GTEST_SKIP() << "operator new is replaced from outside (valgrind)";
    // A string property of 256 KB that the stream holds, read where no block of more than
    // 16 KB can be had.
    CZRParams Big;
    Big.Add(CZRProperty(CZRString(std::string(1 << 18, 's').c_str())));
    CMemFileIO Stored;
    ASSERT_TRUE(Big.Write(&Stored));
    Stored.SetFilePointerPos(0);
    CZRParams List;
    bool bRead = true;
    RequestedBy([&] { bRead = List.Read(&Stored); }, 16 * 1024);
    EXPECT_FALSE(bRead);

    CZRPropertyManager Manager;
    Manager.SetProperty(CZRString("big"),
                        CZRProperty(CZRString(std::string(1 << 18, 'm').c_str())));
    CMemFileIO Managed;
    ASSERT_TRUE(Manager.Write(&Managed));
    Managed.SetFilePointerPos(0);
    CZRPropertyManager Read;
    RequestedBy([&] { bRead = Read.Read(&Managed); }, 16 * 1024);
    EXPECT_FALSE(bRead);
    // Enough memory, and the same bytes read.
    Stored.SetFilePointerPos(0);
    EXPECT_TRUE(List.Read(&Stored));
    EXPECT_EQ(List.Get(0).GetString().GetLength(), 1 << 18);
}

TEST(ReadMemory, TheTextFormsStringReaderTurnsMemoryThatRunsOutIntoFalse)
{
    if (!AllocationsAreCounted())
        GTEST_SKIP() << "operator new is replaced from outside (valgrind)";
    // A quoted text of 256 KB that the stream holds whole, read where no block of more
    // than 16 KB can be had; then the same text where memory suffices, and a property
    // of the binary form whose string is read and then copied.
    std::string const sText(1 << 18, 't');
    CByteStream Quoted("\"" + sText + "\"; ");
    CZRString sValue("old");
    bool bRead = true;
    RequestedBy([&] { bRead = Quoted.ReadAscii(sValue); }, 16 * 1024);
    EXPECT_FALSE(bRead);
    EXPECT_TRUE(sValue.IsEmpty());
    Quoted.SetFilePointerPos(0);
    EXPECT_TRUE(Quoted.ReadAscii(sValue));
    EXPECT_EQ(sValue.GetLength(), 1 << 18);

    // Room for the string read, not for the property's copy of it.
    CByteStream Stored(Int32('s') + Int32(1 << 18) + sText);
    CZRProperty Value;
    RequestedBy([&] { bRead = Value.Read(&Stored); }, static_cast<std::size_t>(-1),
                (1 << 18) + 1024);
    EXPECT_FALSE(bRead);

    // What the reader asks for grows with the text, not faster.
    std::size_t anBytes[3] = {};
    int nStep = 0;
    for (std::size_t nScale : {1u, 4u, 16u})
    {
        CByteStream Scaled("\"" + std::string(nScale * 16 * 1024, 'x') + "\";");
        CZRString sScaled;
        anBytes[nStep++] = RequestedBy([&] { EXPECT_TRUE(Scaled.ReadAscii(sScaled)); });
    }
    EXPECT_LT(anBytes[1], 4 * anBytes[0] * 3 / 2);
    EXPECT_LT(anBytes[2], 16 * anBytes[0] * 3 / 2);
}
