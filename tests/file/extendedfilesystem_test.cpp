#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "common/file/extendedfilesystem.h"
#include "workdir.h"

using testing::internal::CaptureStderr;
using testing::internal::GetCapturedStderr;

namespace
{
class ExtendedFileSystem : public CWorkDirTest
{
protected:
    // The object holds 256 file and 257 archive records: too large for the stack.
    std::unique_ptr<CExtendedFileSystem> m_pXfs = std::make_unique<CExtendedFileSystem>();
    CExtendedFileSystem & Xfs() { return *m_pXfs; }

    std::uint32_t OpenTen()
    {
        m_Dir.WriteFile("ten.bin", "0123456789");
        return Xfs().OpenFile("ten.bin");
    }
};
} // namespace

TEST_F(ExtendedFileSystem, HandleTableHas256SlotsAndReusesTheLowestFree)
{
    std::vector<std::uint32_t> vHandles;
    for (int nFile = 0; nFile < 256; ++nFile)
        vHandles.push_back(Xfs().CreateFile(("f" + std::to_string(nFile)).c_str()));
    for (std::uint32_t ulIndex = 0; ulIndex < 256; ++ulIndex)
        EXPECT_EQ(vHandles[ulIndex], ulIndex + 1);

    std::string sText;
    EXPECT_EQ(ErrorCodeOf([&] { Xfs().CreateFile("more"); }, &sText), 4001u);
    EXPECT_EQ(sText, "Too many open files.");
    EXPECT_EQ(ErrorCodeOf([&] { Xfs().AppendFile("more"); }), 4001u);
    EXPECT_EQ(ErrorCodeOf([&] { Xfs().OpenFile("f0"); }, &sText), 4002u);
    EXPECT_EQ(sText, "File not found.");
    EXPECT_FALSE(Xfs().FileExists("f0"));

    EXPECT_TRUE(Xfs().CloseFile(7));
    EXPECT_TRUE(Xfs().CloseFile(9));
    EXPECT_EQ(Xfs().OpenFile("f3"), 7u);
    EXPECT_EQ(Xfs().AppendFile("f4"), 9u);
    for (std::uint32_t ulHandle = 1; ulHandle <= 256; ++ulHandle)
        Xfs().CloseFile(ulHandle);
}

TEST_F(ExtendedFileSystem, InvalidHandlesAndNullNames)
{
    std::string sText;
    EXPECT_EQ(ErrorCodeOf([&] { Xfs().Tell(0); }, &sText), 4008u);
    EXPECT_EQ(sText, "Invalid file handle.");
    EXPECT_EQ(ErrorCodeOf([&] { Xfs().Tell(257); }), 4008u);
    std::uint32_t const ulHandle = Xfs().CreateFile("new");
    EXPECT_EQ(ulHandle, 1u);
    Xfs().CloseFile(ulHandle);
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
    std::filesystem::create_directory(m_Dir.Path() / "dir");
    EXPECT_EQ(ErrorCodeOf([&] { Xfs().OpenFile("dir"); }), 4002u);
    EXPECT_EQ(ErrorCodeOf([&] { Xfs().CreateFile("dir"); }, &sText), 4005u);
    EXPECT_EQ(sText, "Could not create file for writing.");
    EXPECT_EQ(ErrorCodeOf([&] { Xfs().AppendFile("dir"); }, &sText), 4015u);
    EXPECT_EQ(sText, "Could not open file for appending.");
}

TEST_F(ExtendedFileSystem, ReadsStopAtTheEnd)
{
    std::uint32_t const ulNew = Xfs().CreateFile("empty");
    char acBuffer[16] = {};
    EXPECT_EQ(Xfs().GetFileSize(ulNew), 0u);
    EXPECT_EQ(Xfs().Tell(ulNew), 0u);
    EXPECT_TRUE(Xfs().IsEof(ulNew));
    EXPECT_FALSE(Xfs().ReadFile(ulNew, acBuffer, 1));

    std::uint32_t const ulHandle = OpenTen();
    EXPECT_EQ(ErrorCodeOf([&] { Xfs().ReadFile(ulHandle, acBuffer, 0); }), 4008u);
    Xfs().Seek(ulHandle, 6);
    EXPECT_TRUE(Xfs().ReadFile(ulHandle, acBuffer, 10));
    EXPECT_EQ(std::string(acBuffer, 4), "6789");
    EXPECT_EQ(acBuffer[4], '\0');
    EXPECT_TRUE(Xfs().IsEof(ulHandle));
    EXPECT_EQ(Xfs().Tell(ulHandle), 10u);
    EXPECT_FALSE(Xfs().ReadFile(ulHandle, acBuffer, 10));

    Xfs().Rewind(ulHandle);
    int nChar = 0x7F7F7F00;
    EXPECT_TRUE(Xfs().ReadChar(ulHandle, &nChar));
    EXPECT_EQ(nChar, 0x7F7F7F30);
}

TEST_F(ExtendedFileSystem, SeeksStayInsideTheFile)
{
    std::uint32_t const ulHandle = OpenTen();
    std::string sText;
    EXPECT_TRUE(Xfs().Seek(ulHandle, 10));
    EXPECT_EQ(ErrorCodeOf([&] { Xfs().Seek(ulHandle, 11); }, &sText), 4009u);
    EXPECT_EQ(sText, "Error trying to set the file pointer.");
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
    EXPECT_TRUE(Xfs().SeekCurrent(ulHandle, -4));
    EXPECT_TRUE(Xfs().SeekCurrent(ulHandle, 6));
    EXPECT_TRUE(Xfs().SeekCurrent(ulHandle, 4));
    EXPECT_EQ(Xfs().Tell(ulHandle), 10u);
    char cByte = 0;
    Xfs().Seek(ulHandle, 3);
    Xfs().ReadFile(ulHandle, &cByte, 1);
    EXPECT_EQ(cByte, '3');
}

TEST_F(ExtendedFileSystem, WritesGrowTheFileAndOverwriteInside)
{
    std::uint32_t const ulHandle = Xfs().CreateFile("out");
    EXPECT_TRUE(Xfs().WriteFile(ulHandle, "0123456789", 10));
    EXPECT_TRUE(Xfs().Seek(ulHandle, 2));
    EXPECT_TRUE(Xfs().WriteFile(ulHandle, "abc", 3));
    EXPECT_EQ(Xfs().GetFileSize(ulHandle), 10u);
    EXPECT_EQ(Xfs().Tell(ulHandle), 5u);
    EXPECT_TRUE(Xfs().SeekEnd(ulHandle, 0));
    EXPECT_TRUE(Xfs().WriteLine(ulHandle, "xyz"));
    EXPECT_EQ(Xfs().Tell(ulHandle), 13u);
    EXPECT_TRUE(Xfs().WriteFile(ulHandle, 0x141));
    EXPECT_TRUE(Xfs().Printf(ulHandle, "<%d>", 42));
    EXPECT_EQ(Xfs().Tell(ulHandle), 18u);
    EXPECT_EQ(Xfs().GetFileSize(ulHandle), 18u);
    std::string sText;
    EXPECT_EQ(ErrorCodeOf([&] { Xfs().WriteLine(ulHandle, nullptr); }), 4008u);
    EXPECT_EQ(ErrorCodeOf([&] { Xfs().Printf(ulHandle, nullptr); }, &sText), 4008u);
    EXPECT_EQ(sText, "Invalid file handle or invalid argument.");
    EXPECT_EQ(ErrorCodeOf([&] { Xfs().Printf(0, "x"); }, &sText), 4008u);
    EXPECT_EQ(sText, "Invalid file handle or invalid argument.");
    EXPECT_TRUE(Xfs().Flush(ulHandle));
    Xfs().CloseFile(ulHandle);
    EXPECT_EQ(m_Dir.ReadFile("out"), "01abc56789xyzA<42>");
}

TEST_F(ExtendedFileSystem, AppendStartsAtTheEndAndThePositionCheckLogs)
{
    m_Dir.WriteFile("log", std::string(100, 'a'));
    std::uint32_t const ulHandle = Xfs().AppendFile("log");
    EXPECT_EQ(Xfs().Tell(ulHandle), 100u);
    EXPECT_EQ(Xfs().GetFileSize(ulHandle), 100u);
    EXPECT_TRUE(Xfs().WriteFile(ulHandle, "bbbbb", 5));
    EXPECT_EQ(Xfs().Tell(ulHandle), 105u);
    EXPECT_EQ(Xfs().GetFileSize(ulHandle), 105u);

    // The stream appends whatever the position says: the check logs, the class's own
    // position stands.
    Xfs().Seek(ulHandle, 10);
    CaptureStderr();
    EXPECT_TRUE(Xfs().WriteFile(ulHandle, "cc", 2));
    Xfs().Flush(ulHandle);
    EXPECT_EQ(Xfs().Tell(ulHandle), 12u);
    std::string const sLog = GetCapturedStderr();
    EXPECT_NE(sLog.find("VERIFY_FILEPOS failure\n"), std::string::npos);
    EXPECT_EQ(Xfs().GetFileSize(ulHandle), 105u);
    Xfs().CloseFile(ulHandle);
    EXPECT_EQ(m_Dir.ReadFile("log"), std::string(100, 'a') + "bbbbbcc");
}

TEST_F(ExtendedFileSystem, FailedTransfersKeepTheFileUsable)
{
    std::uint32_t const ulHandle = OpenTen();
    Xfs().Seek(ulHandle, 4);
    std::string sText;
    EXPECT_EQ(ErrorCodeOf([&] { Xfs().WriteFile(ulHandle, "x", 1); }, &sText), 4007u);
    EXPECT_EQ(sText, "Error writing to file.");
    EXPECT_EQ(ErrorCodeOf([&] { Xfs().WriteLine(ulHandle, "x"); }), 4007u);
    EXPECT_EQ(Xfs().Tell(ulHandle), 4u);
    EXPECT_EQ(Xfs().GetFileSize(ulHandle), 10u);
    char acBuffer[2] = {};
    EXPECT_TRUE(Xfs().ReadFile(ulHandle, acBuffer, 2));
    EXPECT_EQ(std::string(acBuffer, 2), "45");
}

TEST_F(ExtendedFileSystem, ReadLineKeepsLineEndsAndRaisesAtTheEnd)
{
    m_Dir.WriteFile("lines", "first\r\nsecond\nabcdefg");
    std::uint32_t const ulHandle = Xfs().OpenFile("lines");
    char acLine[64];
    EXPECT_TRUE(Xfs().ReadLine(ulHandle, acLine, sizeof(acLine)));
    EXPECT_STREQ(acLine, "first\r\n");
    EXPECT_EQ(Xfs().Tell(ulHandle), 7u);
    EXPECT_TRUE(Xfs().ReadLine(ulHandle, acLine, sizeof(acLine)));
    EXPECT_STREQ(acLine, "second\n");
    EXPECT_TRUE(Xfs().ReadLine(ulHandle, acLine, 4));
    EXPECT_STREQ(acLine, "abc");
    EXPECT_TRUE(Xfs().ReadLine(ulHandle, acLine, sizeof(acLine)));
    EXPECT_STREQ(acLine, "defg");
    EXPECT_EQ(Xfs().Tell(ulHandle), 21u);
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

    char acBuffer[8] = {};
    std::uint32_t ulHandle = Xfs().OpenFile("a.txt");
    Xfs().ReadFile(ulHandle, acBuffer, 3);
    EXPECT_EQ(std::string(acBuffer, 3), "one");
    Xfs().CloseFile(ulHandle);
    EXPECT_TRUE(Xfs().FileExists("b.txt"));
    ulHandle = Xfs().OpenFile("b.txt");
    EXPECT_EQ(Xfs().GetFileSize(ulHandle), 5u);
    Xfs().CloseFile(ulHandle);

    Xfs().RemoveRoot("ONE");
    EXPECT_EQ(Xfs().GetRootCount(), 2);
    EXPECT_STREQ(Xfs().GetRoot(0).GetString(), "two");
    ulHandle = Xfs().OpenFile("a.txt");
    Xfs().ReadFile(ulHandle, acBuffer, 3);
    EXPECT_EQ(std::string(acBuffer, 3), "two");
    Xfs().CloseFile(ulHandle);
    Xfs().RemoveRoot("nothing");
    EXPECT_EQ(Xfs().GetRootCount(), 2);
    Xfs().RemoveAllRoots();
    EXPECT_FALSE(Xfs().FileExists("a.txt"));
}

TEST_F(ExtendedFileSystem, CallbackListKeepsDuplicatesAndRemovesTheFirst)
{
    auto const pfnFirst = [](int, unsigned long, unsigned long, unsigned long) {};
    auto const pfnSecond = [](int, unsigned long, unsigned long, unsigned long) {};
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
