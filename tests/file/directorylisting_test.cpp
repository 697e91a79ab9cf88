// Listing across the disk, archives and roots: every name listed must open, and open
// from the source that wins in the search.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "archivebuilder.h"
#include "common/file/extendedfilesystem.h"
#include "workdir.h"

namespace
{
class DirectoryListing : public CXfsTest
{
protected:
    // The listing as "files | directories", names joined by spaces; the count must
    // agree with the lists.
    std::string List(char const * szDirectory, char const * szMask = "*.*")
    {
        std::vector<CZRString> vFiles{CZRString("stale")};
        std::vector<CZRString> vDirectories{CZRString("stale")};
        std::int32_t const lCount = Xfs().ListDirectory(szDirectory, szMask, vFiles, vDirectories);
        EXPECT_EQ(lCount, static_cast<std::int32_t>(vFiles.size() + vDirectories.size()));
        return Join(vFiles) + "| " + Join(vDirectories);
    }

    static std::string Join(std::vector<CZRString> const & vNames)
    {
        std::string sText;
        for (CZRString const & sName : vNames)
            sText += std::string(sName.GetString()) + " ";
        return sText;
    }

    // Disk data/ beside data.arc, a root r1 on disk and a root r2 that is an archive,
    // with names that shadow each other exactly or only without regard to case.
    void MakeSources()
    {
        m_Dir.WriteFile("data/a.txt", "disk a");
        m_Dir.WriteFile("data/Readme.txt", "disk readme");
        m_Dir.WriteFile("data/maps/m1.map", "disk map");
        m_Dir.WriteFile("data/empty/.keep", "");
        std::filesystem::remove(m_Dir.Path() / "data/empty/.keep");
        m_Dir.WriteFile("data.arc", ArchiveUnit({{"A.TXT", "arc a"},
                                                 {"b.txt", "arc b"},
                                                 {"readme.TXT", "arc readme"},
                                                 {"back\\slash", "x"},
                                                 {".", "dot"}},
                                                {{"town", ArchiveUnit({{"hall.dat", "hall"}})},
                                                 {"MAPS", ArchiveUnit({{"m2.map", "arc map"}})}}));
        m_Dir.WriteFile("r1/data/c.txt", "r1 c");
        m_Dir.WriteFile("r1/data/B.txt", "r1 b");
        m_Dir.WriteFile("r1/data/d.TXT", "r1 d");
        m_Dir.WriteFile("r2.arc", ArchiveUnit({}, {{"data", ArchiveUnit({{"D.txt", "r2 d"},
                                                                         {"e.txt", "r2 e"},
                                                                         {"town", "a file"}})}}));
        Xfs().AddRoot("r1");
        Xfs().AddRoot("r2");
    }
};
} // namespace

TEST_F(DirectoryListing, MergesDiskArchivesAndRootsInTheOrderOfTheSearch)
{
    MakeSources();
    EXPECT_EQ(List("data"), "a.txt b.txt c.txt d.TXT e.txt Readme.txt | empty maps town ");
    // Each file listed opens, and from the source that listed it.
    EXPECT_EQ(ReadAll("data\\a.txt"), "disk a");
    EXPECT_EQ(ReadAll("data\\b.txt"), "arc b");
    EXPECT_EQ(ReadAll("data\\c.txt"), "r1 c");
    EXPECT_EQ(ReadAll("data\\d.TXT"), "r1 d");
    EXPECT_EQ(ReadAll("data\\e.txt"), "r2 e");
    EXPECT_EQ(ReadAll("data\\Readme.txt"), "disk readme");

    // A directory merges in the same way: disk maps/ and the archive's unit MAPS.
    EXPECT_EQ(List("data\\maps"), "m1.map m2.map | ");
    EXPECT_EQ(List("data\\town"), "hall.dat | ");
    // The top: data.arc and r2.arc stand for the directories data and r2 as well.
    EXPECT_EQ(List(""), "data.arc r2.arc | data r1 r2 ");
    EXPECT_EQ(List("r2"), "| data ");
}

TEST_F(DirectoryListing, MasksFollowTheScannerAndEmptyOrMissingDirectoriesGiveNothing)
{
    MakeSources();
    EXPECT_EQ(List("data", "*.TXT"), "a.txt b.txt c.txt d.TXT e.txt Readme.txt | ");
    EXPECT_EQ(List("data", "?.t*"), "a.txt b.txt c.txt d.TXT e.txt | ");
    EXPECT_EQ(List("data", "*a*"), "a.txt Readme.txt | maps ");
    EXPECT_EQ(List("data", "t?wn"), "| town ");
    EXPECT_EQ(List("data", "*.map"), "| ");
    EXPECT_EQ(List("data", nullptr), List("data", "*.*"));

    for (char const * szNowhere : {"data\\empty", "nowhere", "data\\a.txt", "data\\\\town",
                                   "data\\town\\hall.dat", "r1\\data\\c.txt"})
        EXPECT_EQ(List(szNowhere), "| ") << szNowhere;
    std::vector<CZRString> vFiles;
    std::vector<CZRString> vDirectories;
    EXPECT_EQ(Xfs().ListDirectory(nullptr, "*.*", vFiles, vDirectories), 0);
}

TEST_F(DirectoryListing, DamagedArchivesRaiseAsTheSearchDoesAndLeaveTheLists)
{
    MakeSources();
    m_Dir.WriteFile("bad.arc", std::string(100, 'x'));
    m_Dir.WriteFile("short.arc", "ARCX\x01");
    std::string sLost = ArchiveUnit({}, {{"lost", ArchiveUnit({{"f", "bytes"}})}});
    SetU32(sLost, sLost.size() - 276 + 256, 1u << 30); // the unit's offset lies past the end
    m_Dir.WriteFile("lost.arc", sLost);
    for (char const * szDirectory : {"bad", "short", "lost\\lost"})
    {
        std::string const sName = std::string(szDirectory) + "\\f";
        std::uint32_t const ulExpected = ErrorOfOpen(sName);
        EXPECT_NE(ulExpected, 0u);
        std::vector<CZRString> vFiles{CZRString("kept")};
        std::vector<CZRString> vDirectories;
        EXPECT_EQ(
            ErrorCodeOf([&] { Xfs().ListDirectory(szDirectory, "*.*", vFiles, vDirectories); }),
            ulExpected)
            << szDirectory;
        EXPECT_EQ(vFiles.size(), 1u);
    }
    // A damaged root spoils every listing that reaches it, as it spoils every search
    // that gets that far; the sources before it are still listed when it goes.
    Xfs().AddRoot("bad");
    EXPECT_EQ(ErrorCodeOf([&] { List("data"); }), 4014u);
    Xfs().RemoveRoot("bad");
    EXPECT_EQ(List("data", "a*"), "a.txt | ");
}
