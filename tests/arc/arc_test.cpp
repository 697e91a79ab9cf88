// The arc tool as a user runs it: a command line in a shell, its exit code and what it
// writes to stdout and stderr, on trees and archives the test makes.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <string>
#include <vector>

#include <fcntl.h>
#include <pty.h>
#include <sys/wait.h>
#include <unistd.h>

#include "../file/archivebuilder.h"
#include "tempdir.h"

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

std::string Quote(std::string const & sText)
{
    std::string sQuoted = "'";
    for (char const cChar : sText)
        sQuoted += cChar == '\'' ? std::string("'\\''") : std::string(1, cChar);
    return sQuoted + "'";
}

class Arc : public testing::Test
{
protected:
    // Runs arc with the arguments in the directory sWhere below the test's directory.
    sRun Run(std::vector<std::string> const & vArguments, std::string const & sWhere = ".")
    {
        char const * szTools = std::getenv("COMMON_TEST_TOOLS_DIR");
        EXPECT_NE(szTools, nullptr) << "COMMON_TEST_TOOLS_DIR is set by ctest";
        std::string sCommand = "cd " + Quote(m_Dir / sWhere) + " && " +
                               Quote(std::string(szTools != nullptr ? szTools : "") + "/arc/arc");
        for (std::string const & sArgument : vArguments)
            sCommand += " " + Quote(sArgument);
        sCommand += " >" + Quote(m_Output / "out") + " 2>" + Quote(m_Output / "err");
        int const nStatus = std::system(sCommand.c_str());
        return {WIFEXITED(nStatus) ? WEXITSTATUS(nStatus) : -1, m_Output.ReadFile("out"),
                m_Output.ReadFile("err")};
    }

    // Runs arc in the test's directory with a terminal for stderr (stdout goes nowhere),
    // and gives what the terminal showed, or "exit N" in front of it when arc failed.
    std::string RunOnTerminal(std::vector<std::string> const & vArguments)
    {
        char const * szTools = std::getenv("COMMON_TEST_TOOLS_DIR");
        std::string const sTool = std::string(szTools != nullptr ? szTools : "") + "/arc/arc";
        std::vector<char *> vArgv{const_cast<char *>(sTool.c_str())};
        for (std::string const & sArgument : vArguments)
            vArgv.push_back(const_cast<char *>(sArgument.c_str()));
        vArgv.push_back(nullptr);
        int nTerminal = -1;
        pid_t const nChild = ::forkpty(&nTerminal, nullptr, nullptr, nullptr);
        if (nChild == 0)
        {
            // Only stderr stays on the terminal.
            int const nNull = ::open("/dev/null", O_WRONLY);
            if (nNull >= 0 && ::dup2(nNull, STDOUT_FILENO) >= 0 &&
                ::chdir(m_Dir.Path().c_str()) == 0)
                ::execv(sTool.c_str(), vArgv.data());
            ::_exit(127);
        }
        EXPECT_GT(nChild, 0);
        std::string sShown;
        char aBuffer[4096];
        for (ssize_t nRead; (nRead = ::read(nTerminal, aBuffer, sizeof(aBuffer))) > 0;)
            sShown.append(aBuffer, static_cast<std::size_t>(nRead));
        ::close(nTerminal);
        int nStatus = 0;
        ::waitpid(nChild, &nStatus, 0);
        bool const bSuccess = WIFEXITED(nStatus) && WEXITSTATUS(nStatus) == 0;
        return bSuccess ? sShown : "exit " + std::to_string(nStatus) + ": " + sShown;
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
    EXPECT_THAT(Long.sOut, testing::ContainsRegex("empty/  unit 32  @[0-9]+\n"));

    EXPECT_EQ(Run({"cat", "maps", "town/cellar/barrel.dat"}), (sRun{0, "wine!", ""}));
    EXPECT_EQ(Run({"cat", "maps.arc", "TOWN\\Hall.dat"}), (sRun{0, "HALL", ""}));
    EXPECT_EQ(Run({"cat", "maps", "town"}),
              (sRun{1, "", "arc: town is a directory in maps.arc\n"}));
    EXPECT_EQ(Run({"cat", "maps", "town/none"}),
              (sRun{1, "", "arc: File not found. (error 4002)\n"}));
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
              (sRun{1, "", "arc: Could not open file. (error 4010)\n"}));
    EXPECT_EQ(Run({"list", "none"}), (sRun{1, "", "arc: cannot open archive: none.arc\n"}));
    EXPECT_EQ(Run({"extract", "none"}), (sRun{1, "", "arc: cannot open archive: none.arc\n"}));
    EXPECT_EQ(Run({"create", "maps", "data"}).nExit, 0);
    EXPECT_EQ(Run({"extract", "maps", "nowhere"}),
              (sRun{1, "", "arc: no such directory: nowhere\n"}));
    // A name that the target already has as a directory.
    fs::create_directories(m_Dir.Path() / "out/maps/a.txt");
    EXPECT_EQ(Run({"extract", "maps", "out"}),
              (sRun{1, "", "arc: Could not create file. (error 4005)\n"}));
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
    std::string const sPacking = RunOnTerminal({"create", "maps", "data"});
    EXPECT_THAT(sPacking, testing::StartsWith("\rpacking ["));
    EXPECT_THAT(sPacking, HasSubstr("] 100% 3/3 files"));
    EXPECT_THAT(RunOnTerminal({"extract", "maps", "data"}), HasSubstr("] 100% 3/3 files"));
    EXPECT_EQ(RunOnTerminal({"-q", "create", "maps", "data"}), "");
    EXPECT_EQ(RunOnTerminal({"extract", "--quiet", "maps", "data"}), "");
}
