#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <string>

#include "archivebuilder.h"
#include "common/file/extendedfilesystem.h"
#include "workdir.h"

namespace
{
class ExtendedFileSystem : public CXfsTest
{
protected:
    std::uint32_t OpenTen()
    {
        m_Dir.WriteFile("ten.bin", "0123456789");
        return Xfs().OpenFile("ten.bin");
    }
};
} // namespace

TEST_F(ExtendedFileSystem, HandleTableHas256SlotsAndReusesTheLowestFree)
{
    for (std::uint32_t ulHandle = 1; ulHandle <= 256; ++ulHandle)
        ASSERT_EQ(Xfs().CreateFile(("f" + std::to_string(ulHandle)).c_str()), ulHandle);
    EXPECT_EQ(ErrorOf([&] { Xfs().CreateFile("more"); }), "4001 Too many open files.");
    EXPECT_EQ(ErrorCodeOf([&] { Xfs().AppendFile("more"); }), 4001u);
    EXPECT_EQ(ErrorOf([&] { Xfs().OpenFile("f1"); }), "4002 File not found.");
    EXPECT_FALSE(Xfs().FileExists("f1"));

    EXPECT_TRUE(Xfs().CloseFile(7));
    EXPECT_TRUE(Xfs().CloseFile(9));
    EXPECT_EQ(Xfs().OpenFile("f3"), 7u);
    EXPECT_EQ(Xfs().AppendFile("f4"), 9u);
    for (std::uint32_t ulHandle = 1; ulHandle <= 256; ++ulHandle)
        Xfs().CloseFile(ulHandle);
}

TEST_F(ExtendedFileSystem, InvalidHandlesAndNullNames)
{
    EXPECT_EQ(ErrorOf([&] { Xfs().Tell(0); }), "4008 Invalid file handle.");
    EXPECT_EQ(ErrorCodeOf([&] { Xfs().Tell(257); }), 4008u);
    Xfs().CloseFile(Xfs().CreateFile("new"));
    EXPECT_EQ(ErrorCodeOf([&] { Xfs().Tell(1); }), 4008u);
    EXPECT_EQ(ErrorCodeOf([&] { Xfs().CloseFile(1); }), 4008u);
    EXPECT_EQ(ErrorCodeOf([&] { Xfs().IsEof(1); }), 4008u);
    EXPECT_EQ(ErrorCodeOf([&] { Xfs().GetFileSize(1); }), 4008u);
    EXPECT_EQ(ErrorCodeOf([&] { Xfs().Flush(1); }), 4008u);
    EXPECT_TRUE(Xfs().WriteFile(1, "x", 0));

    EXPECT_EQ(Xfs().CreateFile(nullptr), 0u);
    EXPECT_EQ(Xfs().AppendFile(nullptr), 0u);
    EXPECT_EQ(ErrorCodeOf([&] { Xfs().OpenFile(nullptr); }), 4002u);
    EXPECT_FALSE(Xfs().FileExists(nullptr));
    // A directory is not a file to read, and can't be created over.
    std::filesystem::create_directory("dir");
    EXPECT_EQ(ErrorCodeOf([&] { Xfs().OpenFile("dir"); }), 4002u);
    EXPECT_EQ(ErrorOf([&] { Xfs().CreateFile("dir"); }), "4005 Could not create file for writing.");
    EXPECT_EQ(ErrorOf([&] { Xfs().AppendFile("dir"); }), "4015 Could not open file for appending.");
}

TEST_F(ExtendedFileSystem, ReadsStopAtTheEndAndSeeksStayInside)
{
    std::uint32_t const ulNew = Xfs().CreateFile("empty");
    char acBuffer[16] = {};
    EXPECT_EQ(Where(ulNew), "0/0");
    EXPECT_TRUE(Xfs().IsEof(ulNew));
    EXPECT_FALSE(Xfs().ReadFile(ulNew, acBuffer, 1));

    std::uint32_t const ulHandle = OpenTen();
    EXPECT_EQ(ErrorCodeOf([&] { Xfs().ReadFile(ulHandle, acBuffer, 0); }), 4008u);
    Xfs().Seek(ulHandle, 6);
    EXPECT_TRUE(Xfs().ReadFile(ulHandle, acBuffer, 10));
    EXPECT_EQ(std::string(acBuffer, 5), std::string("6789\0", 5));
    EXPECT_TRUE(Xfs().IsEof(ulHandle));
    EXPECT_EQ(Xfs().Tell(ulHandle), 10u);
    EXPECT_FALSE(Xfs().ReadFile(ulHandle, acBuffer, 10));
    Xfs().Rewind(ulHandle);
    int nChar = 0x7F7F7F00;
    EXPECT_TRUE(Xfs().ReadChar(ulHandle, &nChar));
    EXPECT_EQ(nChar, 0x7F7F7F30);

    EXPECT_TRUE(Xfs().Seek(ulHandle, 10));
    EXPECT_EQ(ErrorOf([&] { Xfs().Seek(ulHandle, 11); }),
              "4009 Error trying to set the file pointer.");
    EXPECT_EQ(Xfs().Tell(ulHandle), 10u);
    EXPECT_TRUE(Xfs().SeekEnd(ulHandle, 0));
    EXPECT_EQ(Xfs().Tell(ulHandle), 10u);
    EXPECT_TRUE(Xfs().SeekEnd(ulHandle, 10));
    EXPECT_EQ(Xfs().Tell(ulHandle), 0u);
    EXPECT_EQ(ErrorCodeOf([&] { Xfs().SeekEnd(ulHandle, 11); }), 4009u);
    Xfs().Seek(ulHandle, 4);
    EXPECT_EQ(ErrorCodeOf([&] { Xfs().SeekCurrent(ulHandle, -5); }), 4009u);
    EXPECT_EQ(ErrorCodeOf([&] { Xfs().SeekCurrent(ulHandle, 7); }), 4009u);
    EXPECT_EQ(Xfs().Tell(ulHandle), 4u);
    EXPECT_TRUE(Xfs().SeekCurrent(ulHandle, -4) && Xfs().SeekCurrent(ulHandle, 6));
    EXPECT_TRUE(Xfs().SeekCurrent(ulHandle, 4));
    EXPECT_EQ(Xfs().Tell(ulHandle), 10u);
    Xfs().Seek(ulHandle, 3);
    EXPECT_TRUE(Xfs().ReadFile(ulHandle, acBuffer, 1));
    EXPECT_EQ(acBuffer[0], '3');
}

TEST_F(ExtendedFileSystem, WritesGrowTheFileAndOverwriteInside)
{
    std::uint32_t const ulHandle = Xfs().CreateFile("out");
    EXPECT_TRUE(Xfs().WriteFile(ulHandle, "0123456789", 10));
    EXPECT_TRUE(Xfs().Seek(ulHandle, 2));
    EXPECT_TRUE(Xfs().WriteFile(ulHandle, "abc", 3));
    EXPECT_EQ(Where(ulHandle), "5/10");
    EXPECT_TRUE(Xfs().SeekEnd(ulHandle, 0));
    EXPECT_TRUE(Xfs().WriteLine(ulHandle, "xyz"));
    EXPECT_EQ(Xfs().Tell(ulHandle), 13u);
    EXPECT_TRUE(Xfs().WriteFile(ulHandle, 0x141));
    EXPECT_TRUE(Xfs().Printf(ulHandle, "<%d>", 42));
    EXPECT_EQ(Where(ulHandle), "18/18");
    EXPECT_EQ(ErrorCodeOf([&] { Xfs().WriteLine(ulHandle, nullptr); }), 4008u);
    EXPECT_EQ(ErrorCodeOf([&] { Xfs().Printf(ulHandle, nullptr); }), 4008u);
    EXPECT_EQ(ErrorOf([&] { Xfs().Printf(0, "x"); }),
              "4008 Invalid file handle or invalid argument.");
    EXPECT_TRUE(Xfs().Flush(ulHandle));
    Xfs().CloseFile(ulHandle);
    EXPECT_EQ(m_Dir.ReadFile("out"), "01abc56789xyzA<42>");

    // A write into a file opened for reading fails and leaves it usable.
    std::uint32_t const ulTen = OpenTen();
    Xfs().Seek(ulTen, 4);
    EXPECT_EQ(ErrorOf([&] { Xfs().WriteFile(ulTen, "x", 1); }), "4007 Error writing to file.");
    EXPECT_EQ(ErrorCodeOf([&] { Xfs().WriteLine(ulTen, "x"); }), 4007u);
    EXPECT_EQ(Where(ulTen), "4/10");
    char acBuffer[2] = {};
    EXPECT_TRUE(Xfs().ReadFile(ulTen, acBuffer, 2));
    EXPECT_EQ(std::string(acBuffer, 2), "45");
}

// Reads of every size, small ones served by the stream's buffer and large ones past it,
// mixed with seeks, on a file and on an archive member lying between other bytes: each
// gives the bytes of the file, Tell counts them, and the position check never logs.
TEST_F(ExtendedFileSystem, ReadsOfEverySizeAndSeeksAgreeWithTheBytes)
{
    std::string sData(20000, '\0');
    for (std::size_t nIndex = 0; nIndex < sData.size(); ++nIndex)
        sData[nIndex] = static_cast<char>(nIndex * 7 + nIndex / 251);
    m_Dir.WriteFile("data.bin", sData);
    m_Dir.WriteFile("pack.arc",
                    ArchiveUnit({{"before", "0123"}, {"data.bin", sData}, {"after", "x"}}));
    struct sStep
    {
        std::uint32_t m_ulSeek; // 0xFFFFFFFF: no seek before the read
        std::uint32_t m_ulSize;
    };
    sStep const aSteps[] = {{0xFFFFFFFF, 1},    {0xFFFFFFFF, 4095}, {0xFFFFFFFF, 4096},
                            {0xFFFFFFFF, 3},    {0xFFFFFFFF, 5000}, {100, 2},
                            {0xFFFFFFFF, 8192}, {19990, 4096},      {5, 4100},
                            {0xFFFFFFFF, 7},    {4096, 1},          {0xFFFFFFFF, 4096}};
    for (char const * szName : {"data.bin", "pack\\data.bin"})
    {
        SCOPED_TRACE(szName);
        testing::internal::CaptureStderr();
        std::uint32_t const ulHandle = Xfs().OpenFile(szName);
        std::uint32_t ulPosition = 0;
        for (sStep const & Step : aSteps)
        {
            if (Step.m_ulSeek != 0xFFFFFFFF)
            {
                Xfs().Seek(ulHandle, Step.m_ulSeek);
                ulPosition = Step.m_ulSeek;
            }
            std::string sRead(Step.m_ulSize, '\0');
            ASSERT_TRUE(Xfs().ReadFile(ulHandle, sRead.data(), Step.m_ulSize));
            std::uint32_t const ulCount =
                std::min<std::uint32_t>(Step.m_ulSize, 20000 - ulPosition);
            EXPECT_EQ(sRead.substr(0, ulCount), sData.substr(ulPosition, ulCount));
            ulPosition += ulCount;
            EXPECT_EQ(Xfs().Tell(ulHandle), ulPosition);
        }
        Xfs().CloseFile(ulHandle);
        EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
    }
}

// Writes of every size with seeks back over what was written: the file holds what a
// model of it holds, and the position check never logs.
TEST_F(ExtendedFileSystem, WritesOfEverySizeAndSeeksAgreeWithTheBytes)
{
    std::string sModel;
    testing::internal::CaptureStderr();
    std::uint32_t const ulHandle = Xfs().CreateFile("out.bin");
    std::uint32_t ulPosition = 0;
    std::uint32_t const aSizes[] = {4, 1, 4095, 4096, 3, 9000, 2, 4097, 5};
    for (std::uint32_t ulSize : aSizes)
    {
        std::string const sPiece(ulSize, static_cast<char>('a' + ulSize % 26));
        ASSERT_TRUE(Xfs().WriteFile(ulHandle, sPiece.data(), ulSize));
        sModel.replace(ulPosition, std::min<std::size_t>(ulSize, sModel.size() - ulPosition),
                       sPiece);
        ulPosition += ulSize;
        EXPECT_EQ(Xfs().Tell(ulHandle), ulPosition);
        // Every other piece steps back over part of itself, so the next overwrites it.
        if (ulSize % 2 == 1)
        {
            ulPosition -= ulSize / 2;
            Xfs().Seek(ulHandle, ulPosition);
        }
    }
    EXPECT_EQ(Xfs().GetFileSize(ulHandle), sModel.size());
    Xfs().CloseFile(ulHandle);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
    EXPECT_EQ(m_Dir.ReadFile("out.bin"), sModel);
}

TEST_F(ExtendedFileSystem, AppendStartsAtTheEndAndThePositionCheckLogs)
{
    m_Dir.WriteFile("log", std::string(100, 'a'));
    std::uint32_t const ulHandle = Xfs().AppendFile("log");
    EXPECT_EQ(Where(ulHandle), "100/100");
    EXPECT_TRUE(Xfs().WriteFile(ulHandle, "bbbbb", 5));
    EXPECT_EQ(Where(ulHandle), "105/105");

    // The stream appends whatever the position says: the check logs, the class's own
    // position stands.
    Xfs().Seek(ulHandle, 10);
    testing::internal::CaptureStderr();
    EXPECT_TRUE(Xfs().WriteFile(ulHandle, "cc", 2));
    Xfs().Flush(ulHandle);
    EXPECT_EQ(Where(ulHandle), "12/105");
    std::string const sLog = testing::internal::GetCapturedStderr();
    EXPECT_NE(sLog.find("VERIFY_FILEPOS failure\n"), std::string::npos);
    Xfs().CloseFile(ulHandle);
    EXPECT_EQ(m_Dir.ReadFile("log"), std::string(100, 'a') + "bbbbbcc");
}

TEST_F(ExtendedFileSystem, ReadLineKeepsLineEndsAndRaisesAtTheEnd)
{
    m_Dir.WriteFile("lines", "first\r\nsecond\nabcdefg");
    std::uint32_t const ulHandle = Xfs().OpenFile("lines");
    char acLine[64];
    struct
    {
        std::uint32_t ulSize;
        char const * szLine;
        std::uint32_t ulTell;
    } const aRows[] = {
        {64, "first\r\n", 7}, {64, "second\n", 14}, {4, "abc", 17}, {64, "defg", 21}};
    for (auto const & Row : aRows)
    {
        EXPECT_TRUE(Xfs().ReadLine(ulHandle, acLine, Row.ulSize));
        EXPECT_STREQ(acLine, Row.szLine);
        EXPECT_EQ(Xfs().Tell(ulHandle), Row.ulTell);
    }
    EXPECT_EQ(ErrorCodeOf([&] { Xfs().ReadLine(ulHandle, acLine, sizeof(acLine)); }), 4006u);
    EXPECT_EQ(ErrorCodeOf([&] { Xfs().ReadLine(ulHandle, acLine, 0); }), 4008u);
    EXPECT_EQ(Xfs().Tell(ulHandle), 21u);
}

TEST_F(ExtendedFileSystem, RootsAreSearchedInOrder)
{
    m_Dir.WriteFile("one/a.txt", "one");
    m_Dir.WriteFile("two/a.txt", "two");
    m_Dir.WriteFile("two/b.txt", "two b");
    Xfs().AddRoot("");
    EXPECT_FALSE(Xfs().HasRoots());
    Xfs().AddRoot("one");
    Xfs().AddRoot(CZRString("two"));
    Xfs().AddRoot("one");
    EXPECT_EQ(Xfs().GetRootCount(), 3);
    EXPECT_STREQ(Xfs().GetRoot(1).GetString(), "two");
    EXPECT_EQ(ReadAll("a.txt"), "one");
    EXPECT_TRUE(Xfs().FileExists("b.txt"));
    EXPECT_EQ(ReadAll("b.txt"), "two b");

    Xfs().RemoveRoot("ONE");
    Xfs().RemoveRoot("nothing");
    EXPECT_EQ(Xfs().GetRootCount(), 2);
    EXPECT_STREQ(Xfs().GetRoot(0).GetString(), "two");
    EXPECT_EQ(ReadAll("a.txt"), "two");
    Xfs().RemoveAllRoots();
    EXPECT_FALSE(Xfs().FileExists("a.txt"));
}

TEST_F(ExtendedFileSystem, CallbackListKeepsDuplicatesAndRemovesTheFirst)
{
    auto const pfnFirst = [](int, ZR_ULONG_PTR, ZR_ULONG_PTR, ZR_ULONG_PTR) {};
    auto const pfnSecond = [](int, ZR_ULONG_PTR, ZR_ULONG_PTR, ZR_ULONG_PTR) {};
    Xfs().AddCallback(nullptr, 1);
    EXPECT_FALSE(Xfs().HasCallbacks());
    Xfs().AddCallback(pfnFirst, 1);
    Xfs().AddCallback(pfnSecond, 2);
    Xfs().AddCallback(pfnFirst, 3);
    EXPECT_EQ(Xfs().GetCallbackCount(), 3);
    Xfs().RemoveCallback(pfnFirst);
    EXPECT_EQ(Xfs().GetCallbackCount(), 2);
    Xfs().RemoveCallback(nullptr);
    Xfs().RemoveCallback(pfnFirst);
    Xfs().RemoveCallback(pfnFirst);
    EXPECT_EQ(Xfs().GetCallbackCount(), 1);
    EXPECT_TRUE(Xfs().HasCallbacks());
}

TEST(ExtendedFileSystemDeathTest, RootIndexOutOfRangeIsAFailedCheck)
{
    auto pXfs = std::make_unique<CExtendedFileSystem>();
    pXfs->AddRoot("r");
    EXPECT_DEATH(pXfs->GetRoot(1), "expression: lIndex >= 0 && lIndex < GetRootCount\\(\\)");
}

TEST_F(ExtendedFileSystem, CopiesHoldOpenStreamsWithoutClosingThemTwice)
{
    m_Dir.WriteFile("shared", "0123456789");
    std::uint32_t const ulHandle = Xfs().OpenFile("shared");
    auto pCopy = std::make_unique<CExtendedFileSystem>(Xfs());
    // Closed in the copy: the original still reads through the stream, then closes it.
    EXPECT_TRUE(pCopy->CloseFile(ulHandle));
    EXPECT_EQ(ErrorCodeOf([&] { pCopy->Tell(ulHandle); }), 4008u);
    char acText[4] = {};
    EXPECT_TRUE(Xfs().ReadFile(ulHandle, acText, 3));
    EXPECT_STREQ(acText, "012");
    EXPECT_TRUE(Xfs().CloseFile(ulHandle));
    // The slot's next stream in the copy is a stream of its own.
    std::uint32_t const ulAgain = pCopy->OpenFile("shared");
    EXPECT_EQ(ulAgain, ulHandle);
    EXPECT_TRUE(pCopy->ReadFile(ulAgain, acText, 3));
    EXPECT_STREQ(acText, "012");

    // Assigned over a table with open files: those are closed, the other's are shared.
    std::uint32_t const ulOther = Xfs().OpenFile("shared");
    *pCopy = Xfs();
    EXPECT_TRUE(pCopy->CloseFile(ulOther));
    EXPECT_TRUE(Xfs().ReadFile(ulOther, acText, 3));
    pCopy.reset();
    EXPECT_TRUE(Xfs().CloseFile(ulOther));
}
