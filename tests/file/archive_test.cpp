#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "archivebuilder.h"
#include "common/file/extendedfilesystem.h"
#include "common/file/fileio.h"
#include "testos.h"
#include "workdir.h"

using testing::internal::CaptureStderr;
using testing::internal::GetCapturedStderr;

namespace
{
using Archive = CXfsTest;

std::string const s_sTown = ArchiveUnit({{"hall.dat", "HALL"}, {"well.dat", "water"}},
                                        {{"cellar", ArchiveUnit({{"barrel.dat", "wine!"}})}});
std::string const s_sMaps =
    ArchiveUnit({{"a.txt", "abc"}, {"next.txt", "NEXT"}}, {{"town", s_sTown}});
} // namespace

TEST_F(Archive, PathsWalkIntoArchivesWithCaseBlindNames)
{
    // The builder's bytes of a small archive, which the reader finds too.
    std::string const sSmall = ArchiveUnit({{"a.txt", "abc"}});
    ASSERT_EQ(sSmall.size(), 311u);
    EXPECT_EQ(sSmall.substr(0, 18),
              std::string("ARCX\x01\x00\x37\x01\0\0\x23\0\0\0\x01\0\0\0", 18));
    m_Dir.WriteFile("small.arc", sSmall);
    EXPECT_EQ(ReadAll("small\\a.txt"), "abc");

    m_Dir.WriteFile("maps.arc", s_sMaps);
    EXPECT_EQ(ErrorOfOpen("a.txt"), 4002u);
    // The first use opens maps.arc on the disk; later ones find it registered.
    EXPECT_EQ(ReadAll("maps\\a.txt"), "abc");
    EXPECT_EQ(ReadAll("MAPS\\A.TXT"), "abc");
    EXPECT_EQ(ReadAll("maps\\town\\HALL.dat"), "HALL");
    EXPECT_EQ(ReadAll("maps\\Town\\cellar\\barrel.dat"), "wine!");
    EXPECT_TRUE(Xfs().FileExists("maps\\town\\well.dat"));
    EXPECT_FALSE(Xfs().FileExists("maps\\town\\none.dat"));
    // A subdirectory opened as a file reads as its nested unit.
    EXPECT_EQ(ReadAll("maps\\town"), s_sTown);

    // A file entry is no directory; a directory further down is out of reach; an
    // empty part names nothing; a slash is no separator for the walk.
    m_Dir.WriteFile("data/maps.arc", s_sMaps);
    for (char const * szPath :
         {"maps\\a.txt\\b", "data\\maps\\a.txt", "maps\\\\a.txt", "\\a.txt", "maps/a.txt"})
        EXPECT_EQ(ErrorOfOpen(szPath), 4002u) << szPath;
    // A name with a dot is taken as it is; without one, ".arc" is added.
    m_Dir.WriteFile("maps.pak", s_sMaps);
    EXPECT_EQ(ReadAll("maps.pak\\next.txt"), "NEXT");

    // Of names equal without regard to case the first record counts, also among many.
    std::vector<std::pair<std::string, std::string>> vFiles;
    for (int nIndex = 0; nIndex < 300; ++nIndex)
        vFiles.emplace_back("f" + std::to_string(nIndex), "#" + std::to_string(nIndex));
    vFiles.insert(vFiles.begin() + 100, {"F7", "first"});
    vFiles.emplace_back("f250", "late");
    m_Dir.WriteFile("many.arc", ArchiveUnit(vFiles));
    for (int nIndex = 0; nIndex < 300; ++nIndex)
    {
        std::string const sName = "many\\F" + std::to_string(nIndex);
        EXPECT_EQ(ReadAll(sName.c_str()), "#" + std::to_string(nIndex));
    }
    EXPECT_EQ(ErrorOfOpen("many\\f300"), 4002u);
}

TEST_F(Archive, AnEntryReadsLikeAFileOfItsOwnSize)
{
    m_Dir.WriteFile("maps.arc", s_sMaps);
    std::uint32_t const ulHandle = Xfs().OpenFile("maps\\town\\cellar\\barrel.dat");
    EXPECT_EQ(Where(ulHandle), "0/5");
    // Seeks before the start would land inside the archive file: refused all the same.
    EXPECT_EQ(ErrorCodeOf([&] { Xfs().SeekCurrent(ulHandle, -1); }), 4009u);
    char acBuffer[16] = {};
    EXPECT_TRUE(Xfs().Seek(ulHandle, 2));
    EXPECT_TRUE(Xfs().ReadFile(ulHandle, acBuffer, sizeof(acBuffer)));
    EXPECT_EQ(std::string(acBuffer), "ne!");
    EXPECT_TRUE(Xfs().IsEof(ulHandle));
    EXPECT_FALSE(Xfs().ReadFile(ulHandle, acBuffer, 1));
    EXPECT_EQ(ErrorCodeOf([&] { Xfs().Seek(ulHandle, 6); }), 4009u);
    EXPECT_TRUE(Xfs().SeekEnd(ulHandle, 5));
    EXPECT_TRUE(Xfs().ReadLine(ulHandle, acBuffer, sizeof(acBuffer)));
    EXPECT_STREQ(acBuffer, "wine!");
    EXPECT_EQ(ErrorCodeOf([&] { Xfs().ReadLine(ulHandle, acBuffer, sizeof(acBuffer)); }), 4006u);
    // Read-only: a write fails in the stream.
    Xfs().Rewind(ulHandle);
    EXPECT_EQ(ErrorCodeOf([&] { Xfs().WriteFile(ulHandle, "x", 1); }), 4007u);
    EXPECT_EQ(Xfs().Tell(ulHandle), 0u);
    Xfs().CloseFile(ulHandle);

    // Every handle has a stream of its own.
    std::uint32_t const ulFirst = Xfs().OpenFile("maps\\a.txt");
    std::uint32_t const ulSecond = Xfs().OpenFile("maps\\next.txt");
    Xfs().ReadFile(ulSecond, acBuffer, 4);
    Xfs().ReadFile(ulFirst, acBuffer + 4, 3);
    EXPECT_EQ(std::string(acBuffer, 7), "NEXTabc");
}

TEST_F(Archive, StreamsStayInStepAcrossBlocksAndSlots)
{
    // A member at an odd offset, longer than a stream's buffer, read in pieces that
    // cross block boundaries, with seeks in between.
    std::string sBig(10000, '\0');
    for (std::size_t nIndex = 0; nIndex < sBig.size(); ++nIndex)
        sBig[nIndex] = static_cast<char>(nIndex * 7 % 251);
    m_Dir.WriteFile("pack.arc", ArchiveUnit({{"pad", "12345"}, {"big", sBig}, {"small", "tiny"}}));
    m_Dir.WriteFile("big", sBig);
    char acBuffer[5000] = {};
    auto const ReadAt = [&](std::uint32_t ulHandle, std::uint32_t ulSize)
    {
        std::uint32_t const ulFrom = Xfs().Tell(ulHandle);
        EXPECT_TRUE(Xfs().ReadFile(ulHandle, acBuffer, ulSize));
        EXPECT_EQ(std::string(acBuffer, ulSize), sBig.substr(ulFrom, ulSize));
        EXPECT_EQ(Xfs().Tell(ulHandle), ulFrom + ulSize);
    };
    CaptureStderr();
    for (char const * szName : {"pack\\big", "big"})
    {
        std::uint32_t const ulHandle = Xfs().OpenFile(szName);
        EXPECT_EQ(Xfs().GetFileSize(ulHandle), 10000u);
        ReadAt(ulHandle, 3);
        ReadAt(ulHandle, 4500);
        Xfs().Seek(ulHandle, 4090);
        ReadAt(ulHandle, 20);
        Xfs().SeekCurrent(ulHandle, -15);
        ReadAt(ulHandle, 4096);
        Xfs().SeekEnd(ulHandle, 5);
        ReadAt(ulHandle, 5);
        EXPECT_TRUE(Xfs().IsEof(ulHandle));
        Xfs().CloseFile(ulHandle);
    }
    // The slot's next stream reads its own bytes, not what the last one left behind.
    EXPECT_EQ(ReadAll("pack\\small"), "tiny");
    EXPECT_EQ(GetCapturedStderr().find("VERIFY_FILEPOS"), std::string::npos);

    // A copy taken while a file is open reads on after the original is gone.
    std::uint32_t const ulHandle = Xfs().OpenFile("pack\\big");
    ReadAt(ulHandle, 10);
    auto pCopy = std::make_unique<CExtendedFileSystem>(Xfs());
    m_pXfs.reset();
    m_pXfs = std::move(pCopy);
    ReadAt(ulHandle, 4200);
    Xfs().CloseFile(ulHandle);
    EXPECT_EQ(ReadAll("pack\\small"), "tiny");
}

TEST_F(Archive, TheDiskWinsAndTheCurrentDirectoryKeysTheArchive)
{
    // maps.arc is no archive at all: touching it would raise 4014.
    m_Dir.WriteFile("maps.arc", std::string(100, 'x'));
    m_Dir.WriteFile("maps/a.txt", "disk");
    EXPECT_EQ(ReadAll("maps\\a.txt"), "disk");
    EXPECT_EQ(ErrorOf([&] { Xfs().OpenFile("maps\\b.txt"); }), "4014 Incorrect archive version.");

    m_Dir.WriteFile("one/maps.arc", ArchiveUnit({{"a.txt", "one"}}));
    m_Dir.WriteFile("two/maps.arc", ArchiveUnit({{"first", "1"}, {"a.txt", "second"}}));
    std::filesystem::current_path(m_Dir.Path() / "one");
    EXPECT_EQ(ReadAll("maps\\a.txt"), "one");
    std::filesystem::current_path(m_Dir.Path() / "two");
    EXPECT_EQ(ReadAll("maps\\a.txt"), "second");
}

TEST_F(Archive, RootsTakePartInTheWalk)
{
    m_Dir.WriteFile("pack.arc", ArchiveUnit({{"a.txt", "from pack"}}));
    m_Dir.WriteFile("loose/a.txt", "loose");
    m_Dir.WriteFile("loose/b.txt", "loose b");
    Xfs().AddRoot("pack");
    Xfs().AddRoot("loose");
    EXPECT_EQ(ReadAll("a.txt"), "from pack");
    EXPECT_EQ(ReadAll("b.txt"), "loose b");
    EXPECT_TRUE(Xfs().FileExists("A.TXT"));

    // A broken archive stops the search: the later roots are not tried.
    m_Dir.WriteFile("bad.txt", "short");
    Xfs().RemoveAllRoots();
    Xfs().AddRoot("bad.txt");
    Xfs().AddRoot("loose");
    EXPECT_EQ(ErrorOf([&] { Xfs().OpenFile("b.txt"); }), "4006 Error reading from file.");
    EXPECT_EQ(ErrorCodeOf([&] { Xfs().FileExists("b.txt"); }), 4006u);
}

TEST_F(Archive, FilesThatAreNoArchives)
{
    m_Dir.WriteFile("notes.txt", std::string(100, 'n'));
    m_Dir.WriteFile("tiny.txt", std::string(10, 't'));
    std::string sHeader = ArchiveHeader(32, 32, 0);
    m_Dir.WriteFile("empty.arc", sHeader);
    sHeader[5] = 1; // version 1.1
    m_Dir.WriteFile("newer.arc", sHeader);
    std::filesystem::create_directory("folder.arc");
    // A pipe that nobody writes would block an open that waits for a writer; Windows
    // has no pipes in the file system, and "pipe" is then a name that doesn't exist.
    bool const bPipe = TEST_MakePipe("pipe.arc");
    struct
    {
        char const * szPath;
        std::uint32_t ulCode;
    } const aRows[] = {{"notes.txt\\a", 4014}, {"tiny.txt\\a", 4006}, {"newer\\a", 4014},
                       {"empty\\a", 4002},     {"folder\\a", 4002},   {"pipe\\a", 4002}};
    for (auto const & Row : aRows)
    {
        if (bPipe || std::string(Row.szPath) != "pipe\\a")
        {
            EXPECT_EQ(ErrorOfOpen(Row.szPath), Row.ulCode) << Row.szPath;
        }
    }
    // A failed registration leaves nothing behind: a repaired file registers.
    m_Dir.WriteFile("tiny.txt", ArchiveUnit({{"a", "ok"}}));
    EXPECT_EQ(ReadAll("tiny.txt\\a"), "ok");
}

TEST_F(Archive, LyingDirectoriesNeverLeadOutside)
{
    // The entry count claims far more records than the file holds; the directory lies
    // beyond the end.
    std::string sHuge = ArchiveUnit({{"a", "x"}});
    std::string sFar = sHuge;
    SetU32(sHuge, 14, 0xFFFFFFFF);
    SetU32(sFar, 10, 0x7FFFFFF0);
    m_Dir.WriteFile("huge.arc", sHuge);
    m_Dir.WriteFile("far.arc", sFar);
    EXPECT_EQ(ErrorOfOpen("huge\\a"), 4006u);
    EXPECT_EQ(ErrorOfOpen("far\\a"), 4006u);

    // Entries reaching past the end of the file read short at the moment they are read.
    std::string const sDirectory = ArchiveRecord("past", 1100, 100, false) +
                                   ArchiveRecord("away", 0xFFFFFFF0, 4, false) +
                                   ArchiveRecord("sub", 0xFFFFFF00, 64, true) +
                                   ArchiveRecord(std::string(255, 'n'), 32, 4, false);
    m_Dir.WriteFile("lie.arc", ArchiveHeader(0, 42, 4) + "0123456789" + sDirectory);
    std::uint32_t const ulPast = Xfs().OpenFile("lie\\past");
    EXPECT_EQ(Xfs().GetFileSize(ulPast), 100u);
    char acBuffer[128];
    EXPECT_TRUE(Xfs().Seek(ulPast, 100));
    EXPECT_TRUE(Xfs().SeekEnd(ulPast, 100));
    EXPECT_EQ(ErrorCodeOf([&] { Xfs().ReadFile(ulPast, acBuffer, 100); }), 4006u);
    EXPECT_EQ(Xfs().Tell(ulPast), 0u);
    std::uint32_t const ulAway = Xfs().OpenFile("lie\\away");
    EXPECT_EQ(ErrorCodeOf([&] { Xfs().ReadFile(ulAway, acBuffer, 4); }), 4006u);
    EXPECT_EQ(ErrorOfOpen("lie\\sub\\x"), 4006u);
    // A name of 255 bytes fills its field with the terminator; a name without one makes
    // the whole directory unreadable.
    EXPECT_EQ(ReadAll("lie\\" + std::string(255, 'N')), "0123");
    m_Dir.WriteFile("noend.arc", ArchiveUnit({{"a", "x"}, {std::string(256, 'n'), "y"}}));
    EXPECT_EQ(ErrorOfOpen("noend\\a"), 4006u);
}

TEST_F(Archive, AtMost256UnitsAreRegistered)
{
    // 300 opens of one archive register it once; registrations that fail count nothing.
    m_Dir.WriteFile("maps.arc", s_sMaps);
    for (int nOpen = 0; nOpen < 300; ++nOpen)
        ASSERT_EQ(ReadAll("maps\\a.txt"), "abc");
    m_Dir.WriteFile("bad.arc", "ARCX");
    EXPECT_EQ(ErrorOfOpen("bad\\x"), 4006u);
    std::string sBadNested = ArchiveUnit({}, {{"sub", ArchiveUnit({})}});
    sBadNested[32] = 'Z';
    m_Dir.WriteFile("badnested.arc", sBadNested);
    EXPECT_EQ(ErrorOfOpen("badnested\\sub\\x"), 4014u);

    // big and its 253 first subdirectories fill the table with maps and badnested to
    // 256 units.
    ArchiveEntries vDirectories;
    for (int nDirectory = 0; nDirectory < 256; ++nDirectory)
        vDirectories.emplace_back("d" + std::to_string(nDirectory),
                                  ArchiveUnit({{"x", std::to_string(nDirectory)}}));
    m_Dir.WriteFile("big.arc", ArchiveUnit({}, vDirectories));
    for (int nDirectory = 0; nDirectory < 253; ++nDirectory)
    {
        std::string const sName = "big\\d" + std::to_string(nDirectory) + "\\x";
        ASSERT_EQ(ErrorCodeOf([&] { ReadAll(sName); }), 0u) << sName;
    }
    EXPECT_EQ(ErrorOfOpen("big\\d253\\x"), 4002u);
    m_Dir.WriteFile("other.arc", ArchiveUnit({{"x", "y"}}));
    EXPECT_EQ(ErrorOfOpen("other\\x"), 4002u);
    // A full table is looked at before the file is read, and it is full for every
    // instance of the class.
    EXPECT_EQ(ErrorOfOpen("bad\\x"), 4002u);
    auto pOther = std::make_unique<CExtendedFileSystem>();
    EXPECT_EQ(ErrorCodeOf([&] { pOther->OpenFile("other\\x"); }), 4002u);
    // Units already registered go on working, new nested ones are refused too, and a
    // root still finds the file on disk.
    EXPECT_EQ(ReadAll("maps\\next.txt"), "NEXT");
    EXPECT_EQ(ErrorOfOpen("maps\\town\\hall.dat"), 4002u);
    EXPECT_EQ(ReadAll("big\\d3\\x"), "3");
    m_Dir.WriteFile("disk/big/d253/x", "disk");
    Xfs().AddRoot("disk");
    EXPECT_EQ(ReadAll("big\\d253\\x"), "disk");
}

TEST_F(Archive, CopiesKeepArchivesOfTheirOwnAndCFileIOReadsEntries)
{
    m_Dir.WriteFile("maps.arc", s_sMaps);
    EXPECT_EQ(ReadAll("maps\\town\\hall.dat"), "HALL");
    auto pCopy = std::make_unique<CExtendedFileSystem>(Xfs());
    m_pXfs.reset();
    // The archive file is gone: only the copied directories can find the entry.
    std::filesystem::rename("maps.arc", "moved");
    EXPECT_EQ(ErrorCodeOf([&] { pCopy->OpenFile("maps\\town\\hall.dat"); }), 4010u);
    std::filesystem::rename("moved", "maps.arc");
    m_pXfs = std::move(pCopy);
    EXPECT_EQ(ReadAll("maps\\town\\cellar\\barrel.dat"), "wine!");

    std::string sHall;
    PutU32(sHall, 5);
    sHall += "stone";
    PutU32(sHall, 7);
    m_Dir.WriteFile("stored.arc", ArchiveUnit({}, {{"town", ArchiveUnit({{"hall.dat", sHall}})}}));
    CFileIO File;
    ASSERT_TRUE(File.Open("stored\\town\\hall.dat", FILEIO_READ));
    CZRString sText;
    int nValue = 0;
    EXPECT_TRUE(File.Read(sText) && File.Read(nValue));
    EXPECT_STREQ(sText.GetString(), "stone");
    EXPECT_EQ(nValue, 7);
    EXPECT_TRUE(File.IsEof());
    EXPECT_FALSE(File.Read(nValue));
    EXPECT_TRUE(File.Close());
}
