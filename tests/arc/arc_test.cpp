// The arc tool as a user runs it: its exit code and what it writes to stdout and
// stderr, on trees and archives the test makes.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "../file/archivebuilder.h"
#include "common/file/fileio.h"
#include "tempdir.h"
#include "testos.h"

namespace fs = std::filesystem;
using testing::HasSubstr;

namespace
{
struct sRun
{
    int nExit;
    std::string sOut;
    std::string sErr;
};

class Arc : public testing::Test
{
protected:
    // Runs arc with the arguments in the directory sWhere below the test's directory,
    // without root's rights when bUnprivileged.
    sRun Run(std::vector<std::string> const & vArguments, std::string const & sWhere = ".",
             bool bUnprivileged = false)
    {
        std::vector<std::string> vCommand{TEST_ToolPath("arc/arc")};
        vCommand.insert(vCommand.end(), vArguments.begin(), vArguments.end());
        int const nExit = TEST_RunProgram(vCommand, m_Dir / sWhere, m_Output / "out",
                                          m_Output / "err", bUnprivileged);
        return {nExit, Lines(m_Output.ReadFile("out")), Lines(m_Output.ReadFile("err"))};
    }

    // Text written with the line ends of the system: Windows' text mode ends lines with
    // "\r\n".
    static std::string Lines(std::string sText)
    {
        for (std::size_t nEnd; (nEnd = sText.find("\r\n")) != std::string::npos;)
            sText.erase(nEnd, 1);
        return sText;
    }

    // Runs arc in the test's directory with a terminal for stderr (stdout goes nowhere):
    // what the terminal showed, with "exit N" in front when arc failed. False where no
    // terminal can be made for it.
    bool RunOnTerminal(std::vector<std::string> const & vArguments, std::string & sShown)
    {
        std::vector<std::string> vCommand{TEST_ToolPath("arc/arc")};
        vCommand.insert(vCommand.end(), vArguments.begin(), vArguments.end());
        int nExit = -1;
        if (!TEST_RunOnTerminal(vCommand, m_Dir.Path().string(), sShown, nExit))
            return false;
        if (nExit != 0)
            sShown = "exit " + std::to_string(nExit) + ": " + sShown;
        return true;
    }

    void MakeTree()
    {
        m_Dir.WriteFile("data/a.txt", "abc");
        m_Dir.WriteFile("data/town/hall.dat", "HALL");
        m_Dir.WriteFile("data/town/cellar/barrel.dat", "wine!");
        fs::create_directories(m_Dir.Path() / "data/empty");
    }

    CTempDir m_Dir;
    CTempDir m_Output;
};

sRun const s_Success{0, "", ""};

bool operator==(sRun const & Left, sRun const & Right)
{
    return Left.nExit == Right.nExit && Left.sOut == Right.sOut && Left.sErr == Right.sErr;
}

void PrintTo(sRun const & Run, std::ostream * pOut)
{
    *pOut << "exit " << Run.nExit << ", stdout \"" << Run.sOut << "\", stderr \"" << Run.sErr
          << "\"";
}
} // namespace

TEST_F(Arc, CreateListCatVerifyExtract)
{
    MakeTree();
    EXPECT_EQ(Run({"create", "maps", "data"}), s_Success);
    ASSERT_TRUE(fs::exists(m_Dir.Path() / "maps.arc"));

    sRun const List = Run({"list", "maps"});
    EXPECT_EQ(List.nExit, 0);
    // Files before subdirectories in each unit; the search decides the rest of the order.
    EXPECT_THAT(List.sOut, HasSubstr("a.txt  3\n"));
    EXPECT_THAT(List.sOut, HasSubstr("  hall.dat  4\n"));
    EXPECT_THAT(List.sOut, HasSubstr("  cellar/\n    barrel.dat  5\n"));
    EXPECT_THAT(List.sOut, HasSubstr("empty/\n"));
    EXPECT_LT(List.sOut.find("a.txt"), List.sOut.find("town/"));
    sRun const Long = Run({"list", "-l", "maps.arc"});
    EXPECT_THAT(Long.sOut, HasSubstr("a.txt  3  @32\n"));
    EXPECT_THAT(Long.sOut, HasSubstr("\nempty/  unit 32  @"));

    EXPECT_EQ(Run({"cat", "maps", "town/cellar/barrel.dat"}), (sRun{0, "wine!", ""}));
    EXPECT_EQ(Run({"cat", "maps.arc", "TOWN\\Hall.dat"}), (sRun{0, "HALL", ""}));
    EXPECT_EQ(Run({"cat", "maps", "town"}),
              (sRun{1, "", "arc: town is a directory in maps.arc\n"}));
    EXPECT_EQ(Run({"cat", "maps", "town/none"}),
              (sRun{1, "", "arc: town/none in maps.arc: File not found. (error 4002)\n"}));
    EXPECT_EQ(Run({"verify", "maps"}),
              (sRun{0, "maps.arc: OK, 4 units, 3 files, 12 bytes of file data\n", ""}));

    fs::create_directories(m_Dir.Path() / "out");
    EXPECT_EQ(Run({"extract", "maps", "out"}), s_Success);
    EXPECT_EQ(m_Dir.ReadFile("out/maps/town/cellar/barrel.dat"), "wine!");
    EXPECT_TRUE(fs::is_directory(m_Dir.Path() / "out/maps/empty"));
    // Into the current directory by default, over what is there.
    m_Dir.WriteFile("out/maps/a.txt", "changed");
    m_Dir.WriteFile("out/maps/mine.txt", "mine");
    EXPECT_EQ(Run({"extract", "../maps.arc"}, "out"), s_Success);
    EXPECT_EQ(m_Dir.ReadFile("out/maps/a.txt"), "abc");
    EXPECT_EQ(m_Dir.ReadFile("out/maps/mine.txt"), "mine");
}

TEST_F(Arc, TakesPathsAsUsersWriteThem)
{
    MakeTree();
    EXPECT_EQ(Run({"create", "plain", "data"}).nExit, 0);
    std::string const sPlain = m_Dir.ReadFile("plain.arc");
    for (std::string const & sDirectory :
         std::vector<std::string>{"./data", "data/", (m_Dir.Path() / "data").string()})
    {
        SCOPED_TRACE(sDirectory);
        EXPECT_EQ(Run({"create", "other.arc", sDirectory}), s_Success);
        EXPECT_EQ(m_Dir.ReadFile("other.arc"), sPlain);
    }
    // The current directory, from inside; the archive elsewhere.
    EXPECT_EQ(Run({"create", "../dot", "."}, "data/town"), s_Success);
    EXPECT_EQ(Run({"cat", "dot", "cellar\\barrel.dat"}, "data").sOut, "wine!");
    // A directory with dots of its own is packed whole, not cut at its extension.
    m_Dir.WriteFile("data.old/old.txt", "old");
    EXPECT_EQ(Run({"create", "old", "data.old"}), s_Success);
    EXPECT_EQ(m_Dir.ReadFile("old.arc"), ArchiveUnit({{"old.txt", "old"}}));

    // An archive in another directory, extracted to a target with or without a slash.
    fs::create_directories(m_Dir.Path() / "store");
    fs::create_directories(m_Dir.Path() / "t1");
    EXPECT_EQ(Run({"create", "store/pack.arc", "data"}), s_Success);
    EXPECT_EQ(Run({"extract", "store/pack", "t1/"}), s_Success);
    EXPECT_EQ(Run({"extract", (m_Dir.Path() / "store/pack.arc").string(), "t2"}).nExit, 1);
    fs::create_directories(m_Dir.Path() / "t2");
    EXPECT_EQ(Run({"extract", (m_Dir.Path() / "store/pack.arc").string(), "t2"}), s_Success);
    EXPECT_EQ(m_Dir.ReadFile("t1/pack/town/hall.dat"), "HALL");
    EXPECT_EQ(m_Dir.ReadFile("t2/pack/town/hall.dat"), "HALL");
    EXPECT_EQ(Run({"cat", "../store/pack.arc", "/a.txt"}, "t1").sOut, "abc");
}

TEST_F(Arc, ExitCodesAndErrorLines)
{
    MakeTree();
    EXPECT_EQ(Run({}).nExit, 2);
    EXPECT_EQ(Run({"create", "only-one"}).nExit, 2);
    EXPECT_EQ(Run({"list", "--bogus", "x"}).nExit, 2);
    EXPECT_EQ(Run({"frobnicate"}).nExit, 2);
    for (char const * szCommand : {"create", "extract", "list", "cat", "verify"})
    {
        sRun const Help = Run({szCommand, "--help"});
        EXPECT_EQ(Help.nExit, 0) << szCommand;
        EXPECT_THAT(Help.sOut, HasSubstr(std::string("Usage: arc ") + szCommand));
    }

    EXPECT_EQ(Run({"create", "x", "missing"}), (sRun{1, "", "arc: no such directory: missing\n"}));
    EXPECT_EQ(Run({"create", "no/such/dir/x", "data"}),
              (sRun{1, "",
                    "arc: no/such/dir/x.arc: Could not open file. (error 4010); no archive was "
                    "written\n"}));
    EXPECT_EQ(Run({"list", "none"}), (sRun{1, "", "arc: cannot open archive: none.arc\n"}));
    EXPECT_EQ(Run({"extract", "none"}), (sRun{1, "", "arc: cannot open archive: none.arc\n"}));
    EXPECT_EQ(Run({"create", "maps", "data"}).nExit, 0);
    EXPECT_EQ(Run({"extract", "maps", "nowhere"}),
              (sRun{1, "", "arc: no such directory: nowhere\n"}));
    // A name that the target already has as a directory.
    fs::create_directories(m_Dir.Path() / "out/maps/a.txt");
    EXPECT_EQ(
        Run({"extract", "maps", "out"}),
        (sRun{1, "", "arc: maps/a.txt (from maps.arc): Could not create file. (error 4005)\n"}));
}

TEST_F(Arc, VerifyReportsWhatIsWrong)
{
    m_Dir.WriteFile("text.arc", std::string(100, 't'));
    sRun const Text = Run({"verify", "text"});
    EXPECT_EQ(Text.nExit, 1);
    EXPECT_EQ(Text.sOut, "text.arc: top unit: not an archive unit (no \"ARCX\" at its start)\n"
                         "text.arc: 1 problem found\n");
    EXPECT_EQ(Run({"extract", "text"}),
              (sRun{1, "", "arc: text.arc is damaged (1 problem); 'arc verify' lists them\n"}));

    // A nested unit whose header disagrees with its entry, an entry reaching into the
    // directory, a name that would leave the target, and a newer version below.
    std::string sNested = ArchiveUnit({{"n.txt", "nn"}});
    std::string sNewer = ArchiveHeader(32, 32, 0);
    sNewer[4] = 2;
    std::string sBad =
        ArchiveUnit({{"a.txt", "abc"}, {"..", "x"}}, {{"sub", sNested + "pad"}, {"new", sNewer}});
    std::uint32_t const ulDirectory =
        static_cast<unsigned char>(sBad[10]) + 256u * static_cast<unsigned char>(sBad[11]);
    SetU32(sBad, ulDirectory + 260, 500); // a.txt reaches into the directory
    m_Dir.WriteFile("bad.arc", sBad);
    sRun const Bad = Run({"verify", "bad.arc"});
    EXPECT_EQ(Bad.nExit, 1);
    EXPECT_THAT(Bad.sOut, HasSubstr("bad.arc: entry '..' is named like a directory link\n"));
    EXPECT_THAT(Bad.sOut, HasSubstr("bad.arc: entry 'a.txt': bytes 32 to 532 lie outside its "
                                    "unit's data, which runs from 32 to "));
    EXPECT_THAT(Bad.sOut, HasSubstr("bad.arc: entry 'sub': its size 313 differs from its unit's "
                                    "size 310\n"));
    EXPECT_THAT(Bad.sOut, HasSubstr("bad.arc: unit 'new': version 2.0, only 1.0 can be read\n"));
    EXPECT_THAT(Bad.sOut, HasSubstr("bad.arc: 4 problems found\n"));
    // Listing shows what it can and reports the rest; extraction refuses.
    sRun const List = Run({"list", "bad"});
    EXPECT_EQ(List.nExit, 1);
    EXPECT_THAT(List.sOut, HasSubstr("sub/\n  n.txt  2\n"));
    EXPECT_THAT(List.sErr, HasSubstr("bad.arc: unit 'new': version 2.0"));
    EXPECT_EQ(Run({"extract", "bad"}),
              (sRun{1, "", "arc: bad.arc is damaged (4 problems); 'arc verify' lists them\n"}));
    EXPECT_FALSE(fs::exists(m_Dir.Path() / "bad"));
}

TEST_F(Arc, VerifyReportsRepeatedNamesAndUnitsThatContainThemselves)
{
    m_Dir.WriteFile("same.arc", ArchiveUnit({{"a", ""}, {"A", ""}, {"b", "b"}, {"a", ""}}));
    sRun const Same = Run({"verify", "same"});
    EXPECT_EQ(Same.nExit, 1);
    EXPECT_EQ(Same.sOut, "same.arc: entry 'A' has the name of entry 'a', which hides it\n"
                         "same.arc: entry 'a' has the name of entry 'a', which hides it\n"
                         "same.arc: 2 problems found\n");

    std::string sSelf = ArchiveUnit({{"x", "data"}}, {{"d", ArchiveUnit({})}});
    std::uint32_t const ulDirectory =
        static_cast<unsigned char>(sSelf[10]) + 256u * static_cast<unsigned char>(sSelf[11]);
    SetU32(sSelf, ulDirectory + 276 + 256, 0);
    SetU32(sSelf, ulDirectory + 276 + 260, static_cast<std::uint32_t>(sSelf.size()));
    m_Dir.WriteFile("self.arc", sSelf);
    sRun const Self = Run({"verify", "self"});
    EXPECT_EQ(Self.nExit, 1);
    EXPECT_EQ(Self.sOut, "self.arc: entry 'd': a directory that points back at its own unit "
                         "(offset 0)\nself.arc: 1 problem found\n");
    EXPECT_EQ(Run({"extract", "self"}).nExit, 1);
    EXPECT_FALSE(fs::exists(m_Dir.Path() / "self"));
}

TEST_F(Arc, ProgressBarOnlyOnATerminalWithoutQuiet)
{
    MakeTree();
    std::string sShown;
    if (!RunOnTerminal({"create", "maps", "data"}, sShown))
        GTEST_SKIP() << "no terminal can be made here for arc to draw on";
    EXPECT_THAT(sShown, testing::StartsWith("\rpacking ["));
    EXPECT_THAT(sShown, HasSubstr("] 100% 3/3 files"));
    ASSERT_TRUE(RunOnTerminal({"extract", "maps", "data"}, sShown));
    EXPECT_THAT(sShown, HasSubstr("] 100% 3/3 files"));
    ASSERT_TRUE(RunOnTerminal({"-q", "create", "maps", "data"}, sShown));
    EXPECT_EQ(sShown, "");
    ASSERT_TRUE(RunOnTerminal({"extract", "--quiet", "maps", "data"}, sShown));
    EXPECT_EQ(sShown, "");
}

TEST_F(Arc, TreesPastTheLimitsAreRefusedBeforeAnythingIsWritten)
{
    // 257 directories, counting the top one and empty ones.
    for (int nDirectory = 0; nDirectory < 256; ++nDirectory)
        fs::create_directories(m_Dir.Path() / "many" / ("d" + std::to_string(nDirectory)));
    sRun const Many = Run({"create", "many", "many"});
    EXPECT_EQ(Many.nExit, 1);
    EXPECT_THAT(Many.sErr, HasSubstr("arc: many can't be packed so that it reads back whole; "
                                     "nothing was written\n"));
    EXPECT_THAT(Many.sErr, HasSubstr("arc: 257 directories, counting many itself; an archive "
                                     "holds at most 256, since the library's file system "
                                     "registers at most 256 units (directories) per process:\n"));
    EXPECT_THAT(Many.sErr, HasSubstr("arc:   and 251 more\narc:   split the tree"));
    EXPECT_FALSE(fs::exists(m_Dir.Path() / "many.arc"));
    // An archive made elsewhere with as many is refused by extraction before it writes,
    // where the library would leave the subtrees past its table out without a word.
    ArchiveEntries vDirectories;
    for (int nDirectory = 0; nDirectory < 256; ++nDirectory)
        vDirectories.emplace_back("d" + std::to_string(nDirectory), ArchiveUnit({{"x", "x"}}));
    m_Dir.WriteFile("made.arc", ArchiveUnit({}, vDirectories));
    fs::create_directories(m_Dir.Path() / "into");
    EXPECT_EQ(Run({"extract", "made", "into"}),
              (sRun{1, "",
                    "arc: made.arc holds 257 directories; extraction unpacks at most 256, since "
                    "the library's file system registers at most 256 units per process\n"}));
    EXPECT_TRUE(fs::is_empty(m_Dir.Path() / "into"));

    // A sparse file of 4 GiB: refused by its size, not one byte of it copied.
    fs::create_directories(m_Dir.Path() / "big");
    {
        std::ofstream Huge(m_Dir / "big/huge");
    }
    fs::resize_file(m_Dir.Path() / "big/huge", 4ull << 30);
    sRun const Big = Run({"create", "big", "big"});
    EXPECT_EQ(Big.nExit, 1);
    EXPECT_THAT(Big.sErr, HasSubstr("arc: 1 file of 4 GiB or more; sizes in an archive have 32 "
                                    "bits:\narc:   big/huge (4294967296 bytes)\n"));
    EXPECT_THAT(Big.sErr, HasSubstr("arc: the archive would take 4294967604 bytes"));
    EXPECT_FALSE(fs::exists(m_Dir.Path() / "big.arc"));
}

TEST_F(Arc, NamesThatWouldNotReadBackAreRefused)
{
    // A backslash in a file's and in a directory's name (the latter crashed the pack);
    // names equal without case, of files and of directories.
    m_Dir.WriteFile("names/a\\b.txt", "1");
    fs::create_directories(m_Dir.Path() / "names/c\\d");
    m_Dir.WriteFile("names/man/NAN.3.gz", "2");
    m_Dir.WriteFile("names/man/nan.3.gz", "3");
    m_Dir.WriteFile("names/Sub/x", "4");
    m_Dir.WriteFile("names/sub/y", "5");
    auto const Count = [&](char const * szDirectory)
    {
        fs::directory_iterator const Names(m_Dir.Path() / szDirectory);
        return std::distance(fs::begin(Names), fs::end(Names));
    };
    if (Count("names") != 5 || Count("names/man") != 2)
        GTEST_SKIP() << "this file system takes a backslash for a separator or folds case, so "
                        "such names can't be made";
    EXPECT_EQ(Run({"create", "names", "names"}),
              (sRun{1, "",
                    "arc: names can't be packed so that it reads back whole; nothing was written\n"
                    "arc: 2 names with a backslash, which the library reads as a path separator:\n"
                    "arc:   names/a\\\\b.txt\n"
                    "arc:   names/c\\\\d\n"
                    "arc:   rename them\n"
                    "arc: 2 pairs of names equal without case in one directory; names in an "
                    "archive compare without case, so only one of each pair could be read:\n"
                    "arc:   names/man/NAN.3.gz and nan.3.gz\n"
                    "arc:   names/Sub and sub\n"
                    "arc:   rename one name of each pair\n"}));
    EXPECT_FALSE(fs::exists(m_Dir.Path() / "names.arc"));
}

TEST_F(Arc, ExactlyTheLimitOf256DirectoriesPacksAndEveryMemberReads)
{
    for (int nDirectory = 0; nDirectory < 255; ++nDirectory)
    {
        std::string const sName = "d" + std::to_string(nDirectory);
        m_Dir.WriteFile("full/" + sName + "/f", sName);
    }
    ASSERT_EQ(Run({"create", "full", "full"}), s_Success);
    fs::create_directories(m_Dir.Path() / "out");
    ASSERT_EQ(Run({"extract", "full", "out"}), s_Success);
    // Through the library, every unit registered: the top one and 255 nested.
    std::filesystem::path const Saved = fs::current_path();
    fs::current_path(m_Dir.Path());
    for (int nDirectory = 0; nDirectory < 255; ++nDirectory)
    {
        std::string const sName = "d" + std::to_string(nDirectory);
        EXPECT_EQ(m_Dir.ReadFile("out/full/" + sName + "/f"), sName);
        CFileIO File;
        File.Open(("full.arc\\" + sName + "\\f").c_str(), FILEIO_READ);
        std::string sData(File.GetSize(), '\0');
        File.Read(sData.data(), static_cast<std::uint32_t>(sData.size()));
        EXPECT_EQ(sData, sName);
    }
    fs::current_path(Saved);
}

TEST_F(Arc, WhatPackingLeavesOutIsWarnedAboutOneLineEach)
{
    m_Dir.WriteFile("odd/dir/file.txt", "kept");
    if (!TEST_MakeLink("dir", m_Dir / "odd/to-dir", true))
        GTEST_SKIP() << "symbolic links can't be made here";
    ASSERT_TRUE(TEST_MakeLink("nowhere", m_Dir / "odd/dangling", false));
    ASSERT_TRUE(TEST_MakeLink("dir/file.txt", m_Dir / "odd/to-file", false));
    // Windows has no named pipes in its file system.
    bool const bPipe = TEST_MakePipe((m_Dir / "odd/fifo").c_str());
    sRun const Create = Run({"create", "odd", "odd"});
    EXPECT_EQ(Create.nExit, 0);
    EXPECT_THAT(Create.sErr, HasSubstr("arc: warning: leaving out odd/to-dir: a link to a "
                                       "directory\n"));
    EXPECT_THAT(Create.sErr, HasSubstr("arc: warning: leaving out odd/dangling: a dangling "
                                       "link\n"));
    if (bPipe)
    {
        EXPECT_THAT(Create.sErr, HasSubstr("arc: warning: leaving out odd/fifo: a FIFO\n"));
    }
    EXPECT_EQ(std::count(Create.sErr.begin(), Create.sErr.end(), '\n'), bPipe ? 3 : 2);
    EXPECT_EQ(Run({"list", "odd"}).sOut, "to-file  4\ndir/\n  file.txt  4\n");
}

TEST_F(Arc, ExtractionChecksThePathsBeforeWriting)
{
    if (TEST_LongestPath() < 1024)
        GTEST_SKIP() << "the system's paths end before the library's 1024 bytes";
    std::string const sDeep =
        "deep/" + std::string(200, 'a') + "/" + std::string(200, 'b') + "/" + std::string(200, 'c');
    m_Dir.WriteFile(sDeep + "/f.txt", "deep");
    ASSERT_EQ(Run({"create", "deep", "deep"}), s_Success);
    fs::path const Long = m_Dir.Path() / std::string(250, 'L') / std::string(250, 'M');
    fs::create_directories(Long);
    std::string const sDeepest = (Long / "deep").string() + sDeep.substr(4) + "/f.txt";
    EXPECT_EQ(Run({"extract", "deep", Long.string()}),
              (sRun{1, "",
                    "arc: deep.arc can't be extracted into " + Long.string() +
                        "; nothing was written\n"
                        "arc: 2 paths would have 1024 bytes or more, which the library's path "
                        "buffers don't hold; the deepest member:\n"
                        "arc:   " +
                        sDeepest + " (" + std::to_string(sDeepest.size()) +
                        " bytes)\n"
                        "arc:   extract into a directory with a shorter path\n"}));
    EXPECT_TRUE(fs::is_empty(Long));
    fs::create_directories(m_Dir.Path() / "short");
    EXPECT_EQ(Run({"extract", "deep", "short"}), s_Success);
    EXPECT_EQ(m_Dir.ReadFile("short/" + sDeep + "/f.txt"), "deep");
}

TEST_F(Arc, ListEscapesNamesAsLsDoesUnlessRaw)
{
    m_Dir.WriteFile("ctl/line\nbreak", "1");
    m_Dir.WriteFile("ctl/tab\tand space", "22");
    if (!fs::exists(m_Dir.Path() / "ctl/line\nbreak"))
        GTEST_SKIP() << "this file system takes no control characters in names";
    ASSERT_EQ(Run({"create", "ctl", "ctl"}), s_Success);
    sRun const List = Run({"list", "ctl"});
    EXPECT_THAT(List.sOut, HasSubstr("line\\nbreak  1\n"));
    EXPECT_THAT(List.sOut, HasSubstr("tab\\tand\\ space  2\n"));
    EXPECT_EQ(std::count(List.sOut.begin(), List.sOut.end(), '\n'), 2);
    EXPECT_THAT(Run({"list", "--raw", "ctl"}).sOut, HasSubstr("line\nbreak  1\n"));
    EXPECT_EQ(
        Run({"cat", "ctl", "line\nbreak\\none"}),
        (sRun{1, "", "arc: line\\nbreak\\\\none in ctl.arc: File not found. (error 4002)\n"}));
}

TEST_F(Arc, APackThatFailsNamesTheFileAndLeavesNoArchive)
{
    // A file that can't be read stops the pack; permissions bind only a process that
    // isn't root, so a root run drops to nobody.
    if (!TEST_PermissionsLockOut())
        GTEST_SKIP() << "permissions can't make a file unreadable to its owner here";
    MakeTree();
    m_Dir.WriteFile("data/town/secret", "s");
    fs::permissions(m_Dir.Path(), fs::perms::all);
    for (auto const & Item : fs::recursive_directory_iterator(m_Dir.Path()))
        fs::permissions(Item.path(), Item.is_directory()
                                         ? fs::perms::all
                                         : fs::perms::owner_read | fs::perms::others_read);
    fs::permissions(m_Dir.Path() / "data/town/secret", fs::perms::none);
    EXPECT_EQ(Run({"create", "maps", "data"}, ".", true),
              (sRun{1, "",
                    "arc: data/town/secret (it can't be read): Could not open file. (error 4010); "
                    "the cut-off archive was removed\n"}));
    EXPECT_FALSE(fs::exists(m_Dir.Path() / "maps.arc"));
}
