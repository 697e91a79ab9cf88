// Archives from a hostile or unlucky world: links planted in the target, units that
// point back at themselves, more units than can be registered, names repeated, and
// disks that fill up.
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <string>

#include "archivebuilder.h"
#include "common/file/extendedfilesystem.h"
#include "testos.h"
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
        vNames.push_back(fs::relative(Entry.path(), Directory).generic_string() +
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

// The process-wide count of registered units, reset so that one test can register
// more than 256 archives one after the other.
void ForgetUnits()
{
    static auto * const s_pCounter = static_cast<std::uint32_t *>(
        TEST_LibrarySymbol("_ZN19CExtendedFileSystem16s_ulArchiveCountE"));
    ASSERT_NE(s_pCounter, nullptr);
    *s_pCounter = 0;
}

// Cuts the archive s_CutArchive short when extraction comes to its second file. Windows
// doesn't cut a file that is open: s_bCut tells whether it was.
int s_nExtracted = 0;
fs::path s_CutArchive;
bool s_bCut = false;
void CutArchiveAtSecondFile(int nCode, ZR_ULONG_PTR, ZR_ULONG_PTR, ZR_ULONG_PTR)
{
    std::error_code Error;
    if (nCode == XFS_NOTIFY_EXTRACTFILE && ++s_nExtracted == 2)
    {
        fs::resize_file(s_CutArchive, 100, Error);
        s_bCut = !Error;
    }
}

// A small disk mounted for the test, which needs root; unmounted at the end.
class CSmallDisk
{
public:
    explicit CSmallDisk(fs::path const & Where) : m_Where(Where.string())
    {
        fs::create_directory(Where);
        m_bMounted = TEST_MountSmallDisk(m_Where);
    }
    ~CSmallDisk()
    {
        if (m_bMounted)
            TEST_UnmountSmallDisk(m_Where);
    }
    bool IsMounted() const { return m_bMounted; }

private:
    std::string m_Where;
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
    if (!TEST_MakeLink(fs::absolute("elsewhere").string(), "out/maps", true))
        GTEST_SKIP() << "symbolic links can't be made here";
    EXPECT_EQ(ErrorCodeOf([&] { Xfs().ExtractArchive("maps.arc", "out/"); }), 4016u);
    fs::current_path(m_Dir.Path());
    EXPECT_EQ(TreeOf("elsewhere"), "");

    // A directory below it as a link.
    fs::remove("out/maps");
    fs::create_directories("out/maps");
    ASSERT_TRUE(TEST_MakeLink(fs::absolute("elsewhere").string(), "out/maps/town", true));
    EXPECT_EQ(ErrorCodeOf([&] { Xfs().ExtractArchive("maps.arc", "out/"); }), 4016u);
    fs::current_path(m_Dir.Path());
    EXPECT_EQ(TreeOf("elsewhere"), "");

    // A file's name as a link: the link is replaced by the file, its target untouched,
    // and no temporary file stays behind.
    fs::remove("out/maps/town");
    fs::remove("out/maps/a.txt");
    m_Dir.WriteFile("elsewhere/victim", "keep");
    ASSERT_TRUE(TEST_MakeLink(fs::absolute("elsewhere/victim").string(), "out/maps/a.txt", false));
    EXPECT_TRUE(Xfs().ExtractArchive("maps.arc", "out/"));
    EXPECT_EQ(m_Dir.ReadFile("elsewhere/victim"), "keep");
    EXPECT_EQ(m_Dir.ReadFile("out/maps/a.txt"), "abc");
    EXPECT_EQ(TreeOf("out"), "maps maps/a.txt maps/town maps/town/hall.dat ");
    // Files made under a name nobody used (hall.dat) and by way of a temporary name
    // (a.txt) get the rights any new file gets.
    m_Dir.WriteFile("fresh", "");
    EXPECT_EQ(fs::status("out/maps/town/hall.dat").permissions(),
              fs::status("fresh").permissions());
    EXPECT_EQ(fs::status("out/maps/a.txt").permissions(), fs::status("fresh").permissions());

    // A link to nothing under a file's name: the file takes the link's place, and nothing
    // is created where the link points.
    fs::remove("out/maps/a.txt");
    ASSERT_TRUE(TEST_MakeLink(fs::absolute("elsewhere/absent").string(), "out/maps/a.txt", false));
    EXPECT_TRUE(Xfs().ExtractArchive("maps.arc", "out/"));
    EXPECT_EQ(TreeOf("elsewhere"), "victim ");
    EXPECT_EQ(m_Dir.ReadFile("out/maps/a.txt"), "abc");
    EXPECT_EQ(TreeOf("out"), "maps maps/a.txt maps/town maps/town/hall.dat ");
}

TEST_F(ArchiveSafety, AFailingEntryEndsTheExtractionAndLeavesNoPartFile)
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

    // Extraction writes the unit's files, then fails at the entry.
    fs::create_directories("out");
    EXPECT_EQ(ErrorCodeOf([&] { Xfs().ExtractArchive("self.arc", "out/"); }), 4006u);
    fs::current_path(m_Dir.Path());
    EXPECT_EQ(TreeOf("out"), "self self/x ");
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
    // Extraction finds units by name as reading does, and writes the unit that both
    // d and D lead to once.
    fs::create_directories("out");
    EXPECT_TRUE(Xfs().ExtractArchive("same.arc", "out/"));
    EXPECT_EQ(m_Dir.ReadFile("out/same/d/x"), "small");
    // No name "D", whether or not the file system folds case.
    for (auto const & Entry : fs::directory_iterator("out/same"))
        EXPECT_NE(Entry.path().filename().string(), "D");
    EXPECT_EQ(m_Dir.ReadFile("out/same/a"), "third");
}

TEST_F(ArchiveSafety, AFullDiskIsAnErrorAndLeavesNoCutFile)
{
    CSmallDisk Disk(m_Dir.Path() / "small");
    if (!Disk.IsMounted())
        GTEST_SKIP() << "mounting a small disk needs root on Linux and can't be done on Windows";
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
    if (TEST_FullDevice() == nullptr)
        GTEST_SKIP() << "the system has no device that is always full";
    std::uint32_t const ulFile = Xfs().CreateFile(TEST_FullDevice());
    ASSERT_NE(ulFile, 0u);
    // A small write stays in the stream's buffer; the flush finds the disk full.
    EXPECT_TRUE(Xfs().WriteFile(ulFile, "abc", 3));
    EXPECT_FALSE(Xfs().Flush(ulFile));
    std::string const sLarge(1 << 20, 'x');
    EXPECT_EQ(ErrorCodeOf([&] { Xfs().WriteFile(ulFile, sLarge.data(), 1 << 20); }), 4007u);
    Xfs().CloseFile(ulFile);
}

TEST_F(ArchiveSafety, UnreadableSourcesAndUnwritableTargetsForAnOrdinaryUser)
{
    if (!TEST_PermissionsLockOut())
        GTEST_SKIP() << "permissions can't make a file unreadable to its owner here";
    // The work directory is opened to everybody; what is taken away is taken from the
    // files and directories themselves.
    fs::permissions(m_Dir.Path(), fs::perms::all);
    m_Dir.WriteFile("tree/open.txt", "open");
    m_Dir.WriteFile("tree/secret.txt", "secret");
    fs::permissions("tree/secret.txt", fs::perms::owner_write);
    fs::create_directories("shut/inner");
    m_Dir.WriteFile("shut/inner/x", "x");
    fs::permissions("shut/inner", fs::perms::none);
    fs::create_directories("packs");
    fs::create_directories("locked");
    fs::permissions("packs", fs::perms::all);
    fs::permissions("locked", fs::perms::owner_all);
    m_Dir.WriteFile("maps.arc", s_sMaps);
    fs::permissions("maps.arc", fs::perms::owner_read | fs::perms::others_read);

    std::string const sWhere = m_Dir.Path().string() + "/";
    auto const CodeOf = [&](auto Statement)
    {
        return TEST_RunUnprivileged(
            [&]
            {
                auto pXfs = std::make_unique<CExtendedFileSystem>();
                return static_cast<int>(ErrorCodeOf([&] { Statement(*pXfs); }) % 100);
            });
    };
    // 4010 for the file that can't be read, 4016 for the directory that can't be entered,
    // 4016 for a target that can't be written, as extraction can't create its directory
    // there; and a readable archive into a writable place works.
    EXPECT_EQ(
        CodeOf([&](CExtendedFileSystem & Xfs)
               { Xfs.CreateArchive((sWhere + "packs/a").c_str(), (sWhere + "tree").c_str()); }),
        10);
    EXPECT_EQ(
        CodeOf([&](CExtendedFileSystem & Xfs)
               { Xfs.CreateArchive((sWhere + "packs/b").c_str(), (sWhere + "shut").c_str()); }),
        16);
    EXPECT_EQ(
        CodeOf(
            [&](CExtendedFileSystem & Xfs)
            { Xfs.ExtractArchive((sWhere + "maps.arc").c_str(), (sWhere + "locked/").c_str()); }),
        16);
    EXPECT_EQ(
        CodeOf([&](CExtendedFileSystem & Xfs)
               { Xfs.ExtractArchive((sWhere + "maps.arc").c_str(), (sWhere + "packs/").c_str()); }),
        0);
    EXPECT_EQ(m_Dir.ReadFile("packs/maps/town/hall.dat"), "HALL");
    fs::permissions("shut/inner", fs::perms::owner_all);
}

TEST_F(ArchiveSafety, DamageFoundDuringExtractionEndsItCleanly)
{
    // A bit of every third byte of a small archive flipped in turn: each extraction either works or
    // raises an error of the file system, and never leaves a temporary file or anything
    // outside its directory.
    std::string const sArchive =
        ArchiveUnit({{"a.txt", "abc"}}, {{"d", ArchiveUnit({{"b", "bb"}})}});
    fs::create_directories("out");
    for (std::size_t nByte = 0; nByte < sArchive.size(); nByte += 3)
    {
        std::string sFlipped = sArchive;
        sFlipped[nByte] = static_cast<char>(sFlipped[nByte] ^ (1 << (nByte % 8)));
        m_Dir.WriteFile("flip.arc", sFlipped);
        ForgetUnits();
        auto pXfs = std::make_unique<CExtendedFileSystem>();
        try
        {
            pXfs->ExtractArchive("flip.arc", "out/");
        }
        catch (CZRException const & Error)
        {
            EXPECT_GE(Error.GetErrorCode(), 4001u) << nByte;
            EXPECT_LE(Error.GetErrorCode(), 4016u) << nByte;
        }
        fs::current_path(m_Dir.Path());
        for (auto const & Entry : fs::recursive_directory_iterator("out"))
            ASSERT_EQ(Entry.path().filename().string().find(".part"), std::string::npos) << nByte;
        fs::remove_all("out/flip");
    }
    EXPECT_EQ(TreeOf("."), "flip.arc out ");

    // The archive cut short while it is being extracted: the file being written when
    // its bytes are gone fails with 4006 and leaves nothing under its name.
    m_Dir.WriteFile("cut.arc",
                    ArchiveUnit({{"first", "1111"}, {"second", std::string(9000, '2')}}));
    s_nExtracted = 0;
    s_CutArchive = fs::absolute("cut.arc");
    Xfs().AddCallback(CutArchiveAtSecondFile, 0);
    // Whether the bytes are found missing when read or when written depends on how they
    // are read.
    std::uint32_t const ulCut = ErrorCodeOf([&] { Xfs().ExtractArchive("cut.arc", "out/"); });
    fs::current_path(m_Dir.Path());
    if (!s_bCut)
    {
        EXPECT_EQ(ulCut, 0u);
        EXPECT_EQ(TreeOf("out"), "cut cut/first cut/second ");
        return;
    }
    EXPECT_TRUE(ulCut == 4006u || ulCut == 4007u) << ulCut;
    EXPECT_EQ(TreeOf("out"), "cut cut/first ");
}

TEST_F(ArchiveSafety, AllHandlesInUse)
{
    // Packing and unpacking need no handle of the table; opening a member does.
    m_Dir.WriteFile("maps.arc", s_sMaps);
    m_Dir.WriteFile("plain.txt", "p");
    std::vector<std::uint32_t> vHandles;
    for (int nFile = 0; nFile < 256; ++nFile)
        vHandles.push_back(Xfs().OpenFile("plain.txt"));
    EXPECT_EQ(ErrorOfOpen("maps\\a.txt"), 4002u);
    EXPECT_EQ(ErrorCodeOf([&] { Xfs().CreateFile("new.txt"); }), 4001u);
    fs::create_directories("out");
    EXPECT_TRUE(Xfs().ExtractArchive("maps.arc", "out/"));
    EXPECT_TRUE(Xfs().CreateArchive("again", "./out/maps"));
    Xfs().CloseFile(vHandles[6]);
    EXPECT_EQ(ReadAll("again\\town\\hall.dat"), "HALL");
    for (std::uint32_t ulHandle : vHandles)
        if (ulHandle != vHandles[6])
            Xfs().CloseFile(ulHandle);
}
