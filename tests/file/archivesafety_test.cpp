// Archives from a hostile or unlucky world: links planted in the target, units that
// point back at themselves, more units than can be registered, names repeated, and
// disks that fill up.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <string>
#include <sys/mount.h>
#include <unistd.h>

#include "archivebuilder.h"
#include "common/file/extendedfilesystem.h"
#include "workdir.h"

namespace fs = std::filesystem;

namespace
{
using ArchiveSafety = CXfsTest;

std::string const s_sMaps =
    ArchiveUnit({{"a.txt", "abc"}}, {{"town", ArchiveUnit({{"hall.dat", "HALL"}})}});

// Every name below a directory, relative to it, in sorted order.
std::string TreeOf(fs::path const & Directory)
{
    std::vector<std::string> vNames;
    for (auto const & Entry : fs::recursive_directory_iterator(Directory))
        vNames.push_back(fs::relative(Entry.path(), Directory).string() +
                         (Entry.is_symlink() ? "@" : ""));
    std::sort(vNames.begin(), vNames.end());
    std::string sTree;
    for (std::string const & sName : vNames)
        sTree += sName + " ";
    return sTree;
}

std::uint32_t DirectoryOffsetOf(std::string const & sUnit)
{
    return static_cast<unsigned char>(sUnit[10]) + 256u * static_cast<unsigned char>(sUnit[11]) +
           65536u * static_cast<unsigned char>(sUnit[12]);
}

// A unit whose only directory entry "d" points back at the unit itself.
std::string SelfReferringUnit()
{
    std::string sUnit = ArchiveUnit({{"x", "data"}}, {{"d", ArchiveUnit({})}});
    std::uint32_t const ulDirectory = DirectoryOffsetOf(sUnit);
    SetU32(sUnit, ulDirectory + 276 + 256, 0);
    SetU32(sUnit, ulDirectory + 276 + 260, static_cast<std::uint32_t>(sUnit.size()));
    return sUnit;
}

// A small tmpfs mounted for the test, which needs root; unmounted at the end.
class CSmallDisk
{
public:
    explicit CSmallDisk(fs::path const & Where) : m_Where(Where)
    {
        fs::create_directory(Where);
        m_bMounted = ::mount("tmpfs", Where.c_str(), "tmpfs", 0, "size=64k") == 0;
    }
    ~CSmallDisk()
    {
        if (m_bMounted)
            ::umount2(m_Where.c_str(), MNT_DETACH);
    }
    bool IsMounted() const { return m_bMounted; }

private:
    fs::path m_Where;
    bool m_bMounted = false;
};
} // namespace

TEST_F(ArchiveSafety, ExtractionNeverWritesThroughALink)
{
    m_Dir.WriteFile("maps.arc", s_sMaps);
    fs::create_directories("out");
    fs::create_directories("elsewhere");
    // The archive's own directory as a link to elsewhere: refused before anything is
    // written there.
    fs::create_directory_symlink(fs::absolute("elsewhere"), "out/maps");
    EXPECT_EQ(ErrorCodeOf([&] { Xfs().ExtractArchive("maps.arc", "out/"); }), 4016u);
    fs::current_path(m_Dir.Path());
    EXPECT_EQ(TreeOf("elsewhere"), "");

    // A directory below it as a link.
    fs::remove("out/maps");
    fs::create_directories("out/maps");
    fs::create_directory_symlink(fs::absolute("elsewhere"), "out/maps/town");
    EXPECT_EQ(ErrorCodeOf([&] { Xfs().ExtractArchive("maps.arc", "out/"); }), 4016u);
    fs::current_path(m_Dir.Path());
    EXPECT_EQ(TreeOf("elsewhere"), "");

    // A file's name as a link: the link is replaced by the file, its target untouched,
    // and no temporary file stays behind.
    fs::remove("out/maps/town");
    fs::remove("out/maps/a.txt");
    m_Dir.WriteFile("elsewhere/victim", "keep");
    fs::create_symlink(fs::absolute("elsewhere/victim"), "out/maps/a.txt");
    EXPECT_TRUE(Xfs().ExtractArchive("maps.arc", "out/"));
    EXPECT_EQ(m_Dir.ReadFile("elsewhere/victim"), "keep");
    EXPECT_EQ(m_Dir.ReadFile("out/maps/a.txt"), "abc");
    EXPECT_EQ(TreeOf("out"), "maps maps/a.txt maps/town maps/town/hall.dat ");
}

TEST_F(ArchiveSafety, AUnitThatCantBeRegisteredFailsBeforeAnythingIsWritten)
{
    // A file entry whose bytes lie beyond the archive fails alone: earlier files stay,
    // and no half-written file has its name.
    fs::create_directories("out");
    std::string sCut = ArchiveUnit({{"first", "1111"}, {"second", "2222"}});
    SetU32(sCut, DirectoryOffsetOf(sCut) + 276 + 260, 100000);
    m_Dir.WriteFile("cut.arc", sCut);
    EXPECT_EQ(ErrorCodeOf([&] { Xfs().ExtractArchive("cut.arc", "out/"); }), 4006u);
    fs::current_path(m_Dir.Path());
    EXPECT_EQ(TreeOf("out"), "cut cut/first ");

    // Units are all registered before the first file is written.
    ArchiveEntries vDirectories;
    for (int nDirectory = 0; nDirectory < 300; ++nDirectory)
        vDirectories.emplace_back("d" + std::to_string(nDirectory), ArchiveUnit({{"x", "y"}}));
    m_Dir.WriteFile("big.arc", ArchiveUnit({{"top", "t"}}, vDirectories));
    EXPECT_EQ(ErrorCodeOf([&] { Xfs().ExtractArchive("big.arc", "out/"); }), 4010u);
    fs::current_path(m_Dir.Path());
    EXPECT_EQ(TreeOf("out"), "cut cut/first ");
}

TEST_F(ArchiveSafety, NoUnitIsItsOwnAncestor)
{
    m_Dir.WriteFile("self.arc", SelfReferringUnit());
    EXPECT_EQ(ReadAll("self\\x"), "data");
    std::string sLong = "self";
    for (int nStep = 0; nStep < 300; ++nStep)
        sLong += "\\d";
    EXPECT_EQ(ErrorOfOpen(sLong + "\\x"), 4006u);
    // The walk registered nothing for it: 254 units of another archive still fit.
    ArchiveEntries vDirectories;
    for (int nDirectory = 0; nDirectory < 254; ++nDirectory)
        vDirectories.emplace_back("d" + std::to_string(nDirectory),
                                  ArchiveUnit({{"x", std::to_string(nDirectory)}}));
    m_Dir.WriteFile("many.arc", ArchiveUnit({}, vDirectories));
    EXPECT_EQ(ReadAll("many\\d253\\x"), "253");

    // Extraction writes nothing for it.
    fs::create_directories("out");
    EXPECT_EQ(ErrorCodeOf([&] { Xfs().ExtractArchive("self.arc", "out/"); }), 4006u);
    fs::current_path(m_Dir.Path());
    EXPECT_EQ(TreeOf("out"), "");
}

TEST_F(ArchiveSafety, OfEqualNamesTheFirstWinsAndEachUnitIsWrittenOnce)
{
    m_Dir.WriteFile("same.arc",
                    ArchiveUnit({{"a", "first"}, {"A", "second"}, {"a", "third"}, {"b", "b"}},
                                {{"d", ArchiveUnit({{"x", "small"}})},
                                 {"D", ArchiveUnit({{"x", std::string(3000, 'L')}})}}));
    EXPECT_EQ(ReadAll("same\\A"), "first");
    EXPECT_EQ(ReadAll("same\\B"), "b");
    EXPECT_EQ(ReadAll("same\\D\\x"), "small");
    // Each directory entry gets its own unit: D's bytes are D's, whatever name came first.
    fs::create_directories("out");
    EXPECT_TRUE(Xfs().ExtractArchive("same.arc", "out/"));
    EXPECT_EQ(m_Dir.ReadFile("out/same/d/x"), "small");
    EXPECT_EQ(m_Dir.ReadFile("out/same/D/x"), std::string(3000, 'L'));
    EXPECT_EQ(m_Dir.ReadFile("out/same/a"), "third");
}

TEST_F(ArchiveSafety, AFullDiskIsAnErrorAndLeavesNoCutFile)
{
    CSmallDisk Disk(m_Dir.Path() / "small");
    if (!Disk.IsMounted())
        GTEST_SKIP() << "mounting a tmpfs needs root";
    std::string const sBig(200 * 1024, 'B');
    m_Dir.WriteFile("big.arc", ArchiveUnit({{"small.txt", "ok"}, {"big.bin", sBig}}));
    EXPECT_EQ(ErrorCodeOf([&] { Xfs().ExtractArchive("big.arc", "small/"); }), 4007u);
    fs::current_path(m_Dir.Path());
    EXPECT_EQ(TreeOf("small"), "big big/small.txt ");

    m_Dir.WriteFile("tree/big.bin", sBig);
    // The stream's buffer decides whether the data or the directory meets the full disk.
    std::uint32_t const ulCreate =
        ErrorCodeOf([&] { Xfs().CreateArchive("small/packed", "./tree"); });
    EXPECT_TRUE(ulCreate == 4007u || ulCreate == 4013u) << ulCreate;
    fs::current_path(m_Dir.Path());

    // The write functions of the file system on the same full disk.
    std::uint32_t const ulFile = Xfs().CreateFile("small/fill");
    EXPECT_EQ(ErrorCodeOf([&] { Xfs().WriteFile(ulFile, sBig.data(), 200 * 1024); }), 4007u);
    Xfs().CloseFile(ulFile);
}

TEST_F(ArchiveSafety, DevFullFailsFlushAndWrites)
{
    std::uint32_t const ulFile = Xfs().CreateFile("/dev/full");
    ASSERT_NE(ulFile, 0u);
    // A small write stays in the stream's buffer; the flush finds the disk full.
    EXPECT_TRUE(Xfs().WriteFile(ulFile, "abc", 3));
    EXPECT_FALSE(Xfs().Flush(ulFile));
    std::string const sLarge(1 << 20, 'x');
    EXPECT_EQ(ErrorCodeOf([&] { Xfs().WriteFile(ulFile, sLarge.data(), 1 << 20); }), 4007u);
    Xfs().CloseFile(ulFile);
}
