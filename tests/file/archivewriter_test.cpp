#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <map>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

#include "testos.h"

#include "archivebuilder.h"
#include "common/file/extendedfilesystem.h"
#include "workdir.h"

namespace fs = std::filesystem;

namespace
{
std::uint32_t U32At(std::string const & sBytes, std::size_t nOffset)
{
    std::uint32_t ulValue = 0;
    for (int nByte = 3; nByte >= 0; --nByte)
        ulValue = (ulValue << 8) | static_cast<unsigned char>(sBytes.at(nOffset + nByte));
    return ulValue;
}

struct sUnit
{
    std::uint32_t ulSize, ulDirectoryOffset, ulCount;
    struct sEntry
    {
        std::string sName;
        std::uint32_t ulOffset, ulSize;
        bool bDirectory;
    };
    std::vector<sEntry> vEntries;
};

sUnit UnitAt(std::string const & sArchive, std::size_t nStart)
{
    EXPECT_EQ(sArchive.substr(nStart, 6), std::string("ARCX\x01\x00", 6));
    sUnit Unit{U32At(sArchive, nStart + 6),
               U32At(sArchive, nStart + 10),
               U32At(sArchive, nStart + 14),
               {}};
    for (std::uint32_t ulIndex = 0; ulIndex < Unit.ulCount; ++ulIndex)
    {
        std::size_t const nRecord = nStart + Unit.ulDirectoryOffset + 276 * ulIndex;
        Unit.vEntries.push_back({sArchive.substr(nRecord, 256).c_str(),
                                 U32At(sArchive, nRecord + 256), U32At(sArchive, nRecord + 260),
                                 sArchive.at(nRecord + 264) == 1});
    }
    return Unit;
}

// Every directory and file below a path: relative name to content, "/" for a directory.
std::map<std::string, std::string> TreeOf(fs::path const & Root)
{
    std::map<std::string, std::string> Tree;
    for (auto const & Item : fs::recursive_directory_iterator(Root))
    {
        std::string const sName = fs::relative(Item.path(), Root).generic_string();
        if (Item.is_directory())
        {
            Tree[sName] = "/";
            continue;
        }
        std::ifstream In(Item.path(), std::ios::binary);
        Tree[sName] = std::string(std::istreambuf_iterator<char>(In), {});
    }
    return Tree;
}

struct sEvent
{
    int nCode;
    std::string sDirectory;
    std::string sName;
    bool operator==(sEvent const & Other) const
    {
        return nCode == Other.nCode && sDirectory == Other.sDirectory && sName == Other.sName;
    }
};

void PrintTo(sEvent const & Event, std::ostream * pOut)
{
    *pOut << "{" << Event.nCode << ", \"" << Event.sDirectory << "\", \"" << Event.sName << "\"}";
}

void RecordEvent(int nCode, ZR_ULONG_PTR ulArg1, ZR_ULONG_PTR, ZR_ULONG_PTR ulUser)
{
    auto * pEvents = reinterpret_cast<std::vector<sEvent> *>(ulUser);
    if (nCode == XFS_NOTIFY_MAKEDIR)
    {
        pEvents->push_back({nCode, reinterpret_cast<char const *>(ulArg1), ""});
        return;
    }
    auto const * pEvent = reinterpret_cast<CExtendedFileSystem::sArchiveFileEvent const *>(ulArg1);
    pEvents->push_back({nCode, pEvent->m_szDirectory, pEvent->m_szFileName});
}

class ArchiveWriter : public CWorkDirTest
{
protected:
    std::unique_ptr<CExtendedFileSystem> m_pXfs = std::make_unique<CExtendedFileSystem>();
    CExtendedFileSystem & Xfs() { return *m_pXfs; }
    // The current directory, or sBelow under it, in the system's own form.
    std::string Cwd(std::string const & sBelow = "") const
    {
        if (sBelow.empty())
            return fs::current_path().string();
        return (fs::current_path() / fs::path(sBelow).make_preferred()).string();
    }
};
} // namespace

TEST_F(ArchiveWriter, WritesTheFormatByteForByte)
{
    m_Dir.WriteFile("src/a.txt", "abc");
    ASSERT_TRUE(Xfs().CreateArchive("small", "./src"));
    EXPECT_EQ(m_Dir.ReadFile("small.arc"), ArchiveUnit({{"a.txt", "abc"}}));
    EXPECT_EQ(m_Dir.ReadFile("small.arc").size(), 311u);

    fs::create_directory("empty");
    ASSERT_TRUE(Xfs().CreateArchive("empty.ARC", "./empty"));
    EXPECT_EQ(m_Dir.ReadFile("empty.ARC"), ArchiveHeader(32, 32, 0));
    EXPECT_FALSE(fs::exists("empty.ARC.arc"));
    // Any other extension gets ".arc" added; the source's extension is dropped.
    ASSERT_TRUE(Xfs().CreateArchive("copy.pak", "./src.old"));
    EXPECT_EQ(m_Dir.ReadFile("copy.pak.arc"), ArchiveUnit({{"a.txt", "abc"}}));
    // An empty file, and a source given by its full path.
    m_Dir.WriteFile("zero/nothing", "");
    ASSERT_TRUE(Xfs().CreateArchive("zero.arc", (m_Dir / "zero").c_str()));
    EXPECT_EQ(m_Dir.ReadFile("zero.arc"), ArchiveUnit({{"nothing", ""}}));
}

TEST_F(ArchiveWriter, FilesComeBeforeSubdirectoriesAndUnitsNest)
{
    for (char const * szName : {"b/x.dat", "a1.txt", "c/d/deep.bin", "z.txt", "c/e.txt"})
        m_Dir.WriteFile(std::string("tree/") + szName, std::string(szName) + " data");
    fs::create_directories("tree/c/empty");
    ASSERT_TRUE(Xfs().CreateArchive("tree.arc", "./tree"));
    std::string const sArchive = m_Dir.ReadFile("tree.arc");

    // Walks every unit: files first, each entry inside its unit, each nested unit's
    // size equal to its header's, its header at the entry's offset.
    std::vector<std::pair<std::size_t, std::string>> vUnits = {{0, ""}};
    std::vector<std::string> vFiles;
    while (!vUnits.empty())
    {
        auto const [nStart, sPath] = vUnits.back();
        vUnits.pop_back();
        sUnit const Unit = UnitAt(sArchive, nStart);
        EXPECT_EQ(Unit.ulSize, Unit.ulDirectoryOffset + 276 * Unit.ulCount);
        bool bSeenDirectory = false;
        for (auto const & Entry : Unit.vEntries)
        {
            EXPECT_FALSE(bSeenDirectory && !Entry.bDirectory) << Entry.sName;
            bSeenDirectory = Entry.bDirectory;
            EXPECT_LE(Entry.ulOffset + Entry.ulSize, Unit.ulDirectoryOffset);
            if (Entry.bDirectory)
            {
                EXPECT_EQ(UnitAt(sArchive, nStart + Entry.ulOffset).ulSize, Entry.ulSize);
                vUnits.push_back({nStart + Entry.ulOffset, sPath + Entry.sName + "/"});
                continue;
            }
            vFiles.push_back(sPath + Entry.sName);
            EXPECT_EQ(sArchive.substr(nStart + Entry.ulOffset, Entry.ulSize),
                      sPath + Entry.sName + " data");
        }
    }
    EXPECT_THAT(vFiles, testing::UnorderedElementsAre("a1.txt", "z.txt", "b/x.dat", "c/e.txt",
                                                      "c/d/deep.bin"));
    EXPECT_EQ(sArchive.size(), UnitAt(sArchive, 0).ulSize);
}

TEST_F(ArchiveWriter, RaisesTheEventsInOrder)
{
    m_Dir.WriteFile("top/f", "F");
    m_Dir.WriteFile("top/d/g", "G");
    std::vector<sEvent> vEvents;
    Xfs().AddCallback(RecordEvent, reinterpret_cast<ZR_ULONG_PTR>(&vEvents));
    ASSERT_TRUE(Xfs().CreateArchive("top.arc", "./top"));
    // The directories as the system names the current one; the writer walks by changing
    // into each.
    std::string const sTop = Cwd("top");
    ASSERT_EQ(vEvents.size(), 5u);
    EXPECT_THAT(std::vector<sEvent>(vEvents.begin(), vEvents.begin() + 2),
                testing::UnorderedElementsAre(sEvent{4, sTop, "f"}, sEvent{4, sTop, "d"}));
    EXPECT_EQ(vEvents[2], (sEvent{1, sTop, "f"}));
    EXPECT_EQ(vEvents[3], (sEvent{4, Cwd("top/d"), "g"}));
    EXPECT_EQ(vEvents[4], (sEvent{1, Cwd("top/d"), "g"}));

    vEvents.clear();
    fs::create_directory("out");
    ASSERT_TRUE(Xfs().ExtractArchive("top.arc", "out/"));
    // A new directory's name is joined with a backslash to the current one.
    EXPECT_THAT(vEvents, testing::ElementsAre(sEvent{3, Cwd("out") + "\\top", ""},
                                              sEvent{2, Cwd("out/top"), "f"},
                                              sEvent{3, Cwd("out/top") + "\\d", ""},
                                              sEvent{2, Cwd("out/top/d"), "g"}));
}

TEST_F(ArchiveWriter, RoundTripsATreeAndRestoresTheCurrentDirectory)
{
    m_Dir.WriteFile("data/readme.txt", "hello");
    m_Dir.WriteFile("data/empty.bin", "");
    m_Dir.WriteFile("data/maps/town/hall.dat", std::string(70000, 'h') + "end");
    m_Dir.WriteFile("data/maps/Town.dat", "case differs");
    fs::create_directories("data/maps/none/deeper/still");
    fs::create_directories("data/void");
    fs::create_directories("target");
    std::string const sBefore = Cwd();

    ASSERT_TRUE(Xfs().CreateArchive("pack.arc", "./data"));
    EXPECT_EQ(Cwd(), sBefore);
    ASSERT_TRUE(Xfs().ExtractArchive("pack", "target/ignored"));
    EXPECT_EQ(Cwd(), sBefore);
    EXPECT_EQ(TreeOf("target/pack"), TreeOf("data"));
    // The archive stays registered: the walk reads from the same record.
    std::uint32_t const ulHandle = Xfs().OpenFile("pack\\maps\\town\\hall.dat");
    EXPECT_EQ(Xfs().GetFileSize(ulHandle), 70003u);
    Xfs().CloseFile(ulHandle);

    // Over an existing tree: same names are overwritten, other files stay.
    m_Dir.WriteFile("target/pack/readme.txt", "old text that is longer");
    m_Dir.WriteFile("target/pack/mine.txt", "keep");
    ASSERT_TRUE(Xfs().ExtractArchive("pack.arc", "target/"));
    EXPECT_EQ(m_Dir.ReadFile("target/pack/readme.txt"), "hello");
    EXPECT_EQ(m_Dir.ReadFile("target/pack/mine.txt"), "keep");
}

TEST_F(ArchiveWriter, LargeFilesKeepTheirPlaceAmongSmallOnes)
{
    // Files of a megabyte and more are copied past the stream's buffer: their bytes must
    // land at their offsets between the buffered small files, in nested units too.
    auto const Pattern = [](std::size_t nSize, int nSeed)
    {
        std::string sBytes(nSize, '\0');
        for (std::size_t nByte = 0; nByte < nSize; ++nByte)
            sBytes[nByte] = static_cast<char>((nByte * 7 + nSeed) % 251);
        return sBytes;
    };
    m_Dir.WriteFile("big/a.txt", "abc");
    m_Dir.WriteFile("big/b.bin", Pattern((3u << 19) + 3, 1));
    m_Dir.WriteFile("big/c.txt", "xyz");
    m_Dir.WriteFile("big/sub/d.bin", Pattern(1u << 20, 2));
    m_Dir.WriteFile("big/sub/e", "e");
    ASSERT_TRUE(Xfs().CreateArchive("big.arc", "./big"));
    std::string const sArchive = m_Dir.ReadFile("big.arc");
    sUnit const Top = UnitAt(sArchive, 0);
    EXPECT_EQ(sArchive.size(), Top.ulSize);
    for (auto const & Entry : Top.vEntries)
    {
        if (Entry.bDirectory)
        {
            sUnit const Sub = UnitAt(sArchive, Entry.ulOffset);
            EXPECT_EQ(Sub.ulSize, Entry.ulSize);
            for (auto const & Inner : Sub.vEntries)
                EXPECT_EQ(sArchive.substr(Entry.ulOffset + Inner.ulOffset, Inner.ulSize),
                          m_Dir.ReadFile("big/sub/" + Inner.sName));
            continue;
        }
        EXPECT_EQ(sArchive.substr(Entry.ulOffset, Entry.ulSize),
                  m_Dir.ReadFile("big/" + Entry.sName));
    }
    fs::create_directory("out");
    ASSERT_TRUE(Xfs().ExtractArchive("big.arc", "out/"));
    EXPECT_EQ(TreeOf("out/big"), TreeOf("big"));
}

TEST_F(ArchiveWriter, AnArchiveAnywhereExtractsItsOwnBytes)
{
    m_Dir.WriteFile("maps.arc", ArchiveUnit({{"a.txt", "here"}}));
    m_Dir.WriteFile("far/away/maps.arc", ArchiveUnit({{"a.txt", "far"}}));
    EXPECT_TRUE(Xfs().FileExists("maps\\a.txt")); // registers the one in this directory
    fs::create_directory("out");
    ASSERT_TRUE(Xfs().ExtractArchive("far/away/maps.arc", "out/"));
    EXPECT_EQ(m_Dir.ReadFile("out/maps/a.txt"), "far");
    // Found again by the walk from its own directory.
    fs::current_path("far/away");
    std::uint32_t const ulHandle = Xfs().OpenFile("maps\\a.txt");
    EXPECT_EQ(Xfs().GetFileSize(ulHandle), 3u);
    Xfs().CloseFile(ulHandle);
}

TEST_F(ArchiveWriter, RefusesNamesThatLeaveTheTarget)
{
    fs::create_directories("out/inner");
    for (std::string const sName : {"..", ".", "", "a/b", "..\\x", "/abs"})
    {
        for (bool const bDirectory : {false, true})
        {
            SCOPED_TRACE(sName + (bDirectory ? " (directory)" : " (file)"));
            std::string sUnit =
                bDirectory ? ArchiveUnit({{"ok.txt", "ok"}}, {{sName, ArchiveUnit({{"x", "bad"}})}})
                           : ArchiveUnit({{"ok.txt", "ok"}, {sName, "bad"}});
            m_Dir.WriteFile("evil.arc", sUnit);
            auto const pFresh = std::make_unique<CExtendedFileSystem>();
            std::vector<sEvent> vEvents;
            pFresh->AddCallback(RecordEvent, reinterpret_cast<ZR_ULONG_PTR>(&vEvents));
            std::string sText;
            EXPECT_EQ(
                ErrorCodeOf([&] { pFresh->ExtractArchive("evil.arc", "out/inner/"); }, &sText),
                4005u);
            EXPECT_EQ(sText, "Could not create file.");
            // The step's event comes first, as for any entry that can't be created.
            ASSERT_FALSE(vEvents.empty());
            EXPECT_EQ(vEvents.back().nCode,
                      bDirectory ? XFS_NOTIFY_MAKEDIR : XFS_NOTIFY_EXTRACTFILE);
            fs::current_path(m_Dir.Path());
            EXPECT_EQ(TreeOf("out"),
                      (std::map<std::string, std::string>{
                          {"inner", "/"}, {"inner/evil", "/"}, {"inner/evil/ok.txt", "ok"}}));
            fs::remove_all("out/inner/evil");
        }
    }
}

TEST_F(ArchiveWriter, ErrorCodesOfCreation)
{
    std::string sText;
    m_Dir.WriteFile("src/a.txt", "abc");
    EXPECT_EQ(ErrorCodeOf([&] { Xfs().CreateArchive("no/such/dir/x.arc", "./src"); }, &sText),
              4010u);
    EXPECT_EQ(sText, "Could not open file.");
    // A source without a directory part changes to the empty text, which fails.
    EXPECT_EQ(ErrorCodeOf([&] { Xfs().CreateArchive("x.arc", "src"); }, &sText), 4016u);
    EXPECT_EQ(sText, "Could not change to the directory, the directory doesn't probably exist.");
    EXPECT_EQ(ErrorCodeOf([&] { Xfs().CreateArchive("x.arc", "./missing"); }), 4016u);
    EXPECT_EQ(ErrorCodeOf([&] { Xfs().CreateArchive("x.arc", "./missing/src"); }), 4016u);
    fs::current_path(m_Dir.Path());

    // A file of 4 GiB is refused before anything is read (sparse: costs no disk).
    fs::create_directory("big");
    std::ofstream("big/huge.bin").close();
    fs::resize_file("big/huge.bin", 0x100000000ull);
    EXPECT_EQ(ErrorCodeOf([&] { Xfs().CreateArchive("big.arc", "./big"); }, &sText), 4006u);
    EXPECT_EQ(sText, "Error reading from file.");
    // The error leaves the current directory where the walk was.
    EXPECT_EQ(Cwd(), m_Dir / "big");
    fs::current_path(m_Dir.Path());
    // What was written reaches the disk: the unfinished unit reads as an empty archive.
    EXPECT_EQ(m_Dir.ReadFile("big.arc"), ArchiveHeader(0, 0, 0));

    // An archive that can't take the data.
    if (fs::exists("/dev/full"))
    {
        fs::create_symlink("/dev/full", "full.arc");
        EXPECT_EQ(ErrorCodeOf([&] { Xfs().CreateArchive("full.arc", "./src"); }, &sText), 4013u);
        EXPECT_EQ(sText, "Error writing archive directory.");
    }
}

TEST_F(ArchiveWriter, ErrorCodesOfExtraction)
{
    fs::create_directory("out");
    EXPECT_FALSE(Xfs().ExtractArchive("missing.arc", "out/"));
    m_Dir.WriteFile("text.arc", std::string(100, 't'));
    m_Dir.WriteFile("tiny.arc", std::string(10, 't'));
    EXPECT_EQ(ErrorCodeOf([&] { Xfs().ExtractArchive("text", "out/"); }), 4014u);
    EXPECT_EQ(ErrorCodeOf([&] { Xfs().ExtractArchive("tiny", "out/"); }), 4006u);

    m_Dir.WriteFile("good.arc", ArchiveUnit({{"a", "1"}}));
    EXPECT_EQ(ErrorCodeOf([&] { Xfs().ExtractArchive("good", "nowhere/"); }), 4016u);
    EXPECT_EQ(ErrorCodeOf([&] { Xfs().ExtractArchive("good", ""); }), 4016u);
    fs::current_path(m_Dir.Path());
    EXPECT_FALSE(fs::exists("good"));
    // The top directory is named by the archive's file: an empty name can't be changed
    // to, "." is the target itself, and ".." would leave it.
    fs::copy_file("good.arc", ".arc");
    fs::copy_file("good.arc", "..arc");
    fs::copy_file("good.arc", "...arc");
    EXPECT_EQ(ErrorCodeOf([&] { Xfs().ExtractArchive(".arc", "out/"); }), 4016u);
    fs::current_path(m_Dir.Path());
    EXPECT_TRUE(Xfs().ExtractArchive("..arc", "out/"));
    EXPECT_EQ(m_Dir.ReadFile("out/a"), "1");
    EXPECT_EQ(ErrorCodeOf([&] { Xfs().ExtractArchive("...arc", "out/"); }), 4005u);
    fs::current_path(m_Dir.Path());
    EXPECT_FALSE(fs::exists("a"));

    // An entry whose bytes lie beyond the archive is refused before its file is made.
    std::string sLie = ArchiveUnit({{"first", "1"}, {"past", "2"}});
    SetU32(sLie, 32 + 2 + 276 + 260, 0xFFFFFF00);
    m_Dir.WriteFile("lie.arc", sLie);
    EXPECT_EQ(ErrorCodeOf([&] { Xfs().ExtractArchive("lie", "out/"); }), 4006u);
    fs::current_path(m_Dir.Path());
    EXPECT_EQ(m_Dir.ReadFile("out/lie/first"), "1");
    EXPECT_FALSE(fs::exists("out/lie/past"));
    // A name that is taken by a directory can't be created.
    fs::create_directories("out/good/a");
    EXPECT_EQ(ErrorCodeOf([&] { Xfs().ExtractArchive("good", "out/"); }), 4005u);
}

TEST_F(ArchiveWriter, ATreeThatChangesDuringTheWalk)
{
    // Each file added removes the subdirectory "gone", so the directory pass finds one
    // subdirectory less than the counting pass: the log says so and the record stays
    // zero. Adding a subdirectory instead finds one more than the table holds: it is
    // packed all the same, and only its record is missing.
    m_Dir.WriteFile("tree/f", "F");
    fs::create_directory("tree/gone");
    auto const Remove = [](int nCode, ZR_ULONG_PTR, ZR_ULONG_PTR, ZR_ULONG_PTR)
    {
        if (nCode == XFS_NOTIFY_ADDFILE)
            fs::remove("gone");
    };
    Xfs().AddCallback(Remove, 0);
    testing::internal::CaptureStderr();
    ASSERT_TRUE(Xfs().CreateArchive("fewer.arc", "./tree"));
    std::string const sLog = testing::internal::GetCapturedStderr();
    // Three lines in turn on the debugger channel, each closed by the channel.
    EXPECT_EQ(sLog, "CreateArchive: Directory entry count out of sync for \ntree\n\n\n");
    EXPECT_EQ(m_Dir.ReadFile("fewer.arc"), ArchiveHeader(32 + 1 + 2 * 276, 33, 2) + "F" +
                                               ArchiveRecord("f", 32, 1, false) +
                                               std::string(276, '\0'));

    Xfs().RemoveCallback(Remove);
    auto const Add = [](int nCode, ZR_ULONG_PTR, ZR_ULONG_PTR, ZR_ULONG_PTR)
    {
        if (nCode == XFS_NOTIFY_ADDFILE)
            fs::create_directory("extra");
    };
    Xfs().AddCallback(Add, 0);
    testing::internal::CaptureStderr();
    ASSERT_TRUE(Xfs().CreateArchive("more.arc", "./tree"));
    EXPECT_THAT(testing::internal::GetCapturedStderr(), testing::HasSubstr("out of sync"));
    EXPECT_EQ(m_Dir.ReadFile("more.arc"), ArchiveHeader(32 + 1 + 32 + 276, 65, 1) + "F" +
                                              ArchiveHeader(32, 32, 0) +
                                              ArchiveRecord("f", 32, 1, false));
}

TEST_F(ArchiveWriter, TheArchiveInsideItsOwnTreeIsLeftOut)
{
    m_Dir.WriteFile("self/self.arc.old", "not me");
    ASSERT_TRUE(Xfs().CreateArchive("self/self.arc", "./self"));
    EXPECT_EQ(m_Dir.ReadFile("self/self.arc"), ArchiveUnit({{"self.arc.old", "not me"}}));
}

namespace
{
// Runs CreateArchive in the current directory and exits with the low byte of the code
// of the error it raised (0 for none; 255 for an unexpected text), so that a crash
// shows as a signal and not as an exit code.
[[noreturn]] void PackAndExit(char const * szArchive, char const * szSource)
{
    CExtendedFileSystem * const pXfs = new CExtendedFileSystem;
    std::string sText;
    std::uint32_t const ulCode =
        ErrorCodeOf([&] { pXfs->CreateArchive(szArchive, szSource); }, &sText);
    bool const bText =
        ulCode == 0 ||
        sText == "Could not change to the directory, the directory doesn't probably exist.";
    std::exit(bText ? static_cast<int>(ulCode % 256) : 255);
}
} // namespace

TEST_F(ArchiveWriter, ASubdirectoryThatCannotBeEnteredEndsThePackWithoutACrash)
{
    // 4016 is 0xFB0: exit code 176.
    int const nChangeDirectory = 4016 % 256;
    // A backslash counts as a separator on the way to the disk: "a\b" leads nowhere
    // where a name may hold one.
    if (TEST_NamesHoldBackslashes())
    {
        m_Dir.WriteFile("slash/first.txt", "1");
        fs::create_directories("slash/a\\b");
        m_Dir.WriteFile("slash/a\\b/inside.txt", "2");
        EXPECT_EXIT(PackAndExit("slash.arc", "./slash"), testing::ExitedWithCode(nChangeDirectory),
                    "");
        // The error leaves the current directory where the walk was, and the archive with
        // the provisional header of the unit that wasn't finished: an empty archive.
        EXPECT_EQ(ErrorCodeOf([&] { Xfs().CreateArchive("slash.arc", "./slash"); }), 4016u);
        EXPECT_EQ(Cwd(), m_Dir / "slash");
        fs::current_path(m_Dir.Path());
        EXPECT_EQ(m_Dir.ReadFile("slash.arc").substr(0, 32), ArchiveHeader(0, 0, 0));
    }

    // A tree deeper than the 1024 bytes in which the walk keeps the directory it came from.
    std::string sDeep = "./deep";
    while (sDeep.size() < 1100)
        sDeep += "/" + std::string(200, 'd');
    fs::create_directories(sDeep);
    m_Dir.WriteFile(sDeep.substr(2) + "/leaf.txt", "leaf");
    EXPECT_EXIT(PackAndExit("deep.arc", "./deep"), testing::ExitedWithCode(nChangeDirectory), "");
}

TEST_F(ArchiveWriter, ADirectoryWithoutPermissionEndsThePackWithoutACrash)
{
    if (!TEST_PermissionsLockOut())
        GTEST_SKIP() << "std::filesystem::permissions sets only the read-only attribute here";
    // Permissions bind only a process that isn't root: the child drops to nobody.
    fs::permissions(m_Dir.Path(), fs::perms::all);
    m_Dir.WriteFile("tree/a.txt", "a");
    fs::create_directories("tree/locked/inner");
    fs::permissions("tree", fs::perms::all);
    fs::permissions("tree/locked", fs::perms::none);
    auto const PackAsNobody = []
    {
        if (!TEST_DropRootRights())
            std::exit(254);
        PackAndExit("tree.arc", "./tree");
    };
    EXPECT_EXIT(PackAsNobody(), testing::ExitedWithCode(4016 % 256), "");
    fs::permissions("tree/locked", fs::perms::owner_all);
}

namespace
{
void RecordSurvey(CExtendedFileSystem::sSurveyEntry const & Entry, ZR_ULONG_PTR ulUser)
{
    char const * const aszKinds[] = {"",          "D ",       "F ", "E ", "not entered ",
                                     "too deep ", "left out "};
    std::string & sTranscript = *reinterpret_cast<std::string *>(ulUser);
    sTranscript += aszKinds[Entry.m_nKind] + std::string(Entry.m_szName);
    if (Entry.m_nKind == SURVEY_FILE)
        sTranscript += " " + std::to_string(Entry.m_ullSize);
    sTranscript += "\n";
}

// The lines of a transcript that name what packing leaves out, taken out of it, sorted.
std::vector<std::string> TakeLeftOut(std::string & sTranscript)
{
    std::vector<std::string> vLeftOut;
    std::string sRest;
    std::istringstream In(sTranscript);
    for (std::string sLine; std::getline(In, sLine);)
    {
        if (sLine.rfind("left out ", 0) == 0)
            vLeftOut.push_back(sLine.substr(9));
        else
            sRest += sLine + "\n";
    }
    sTranscript = sRest;
    std::sort(vLeftOut.begin(), vLeftOut.end());
    return vLeftOut;
}

// The transcript that SurveyArchive gives for a tree, read back from its archive: a
// unit's files with their sizes, then its subdirectories in turn.
std::string TranscriptOf(std::string const & sArchive, std::size_t nStart,
                         std::string const & sName)
{
    sUnit const Unit = UnitAt(sArchive, nStart);
    std::string sTranscript = "D " + sName + "\n";
    for (auto const & Entry : Unit.vEntries)
        if (!Entry.bDirectory)
            sTranscript += "F " + Entry.sName + " " + std::to_string(Entry.ulSize) + "\n";
    for (auto const & Entry : Unit.vEntries)
        if (Entry.bDirectory)
            sTranscript += TranscriptOf(sArchive, nStart + Entry.ulOffset, Entry.sName);
    return sTranscript + "E " + sName + "\n";
}
} // namespace

TEST_F(ArchiveWriter, TheSurveySeesWhatThePackHoldsInItsOrder)
{
    for (int nFile = 0; nFile < 40; ++nFile)
        m_Dir.WriteFile("tree/d" + std::to_string(nFile % 4) + "/f" + std::to_string(nFile),
                        std::string(static_cast<std::size_t>(nFile), 'x'));
    m_Dir.WriteFile("tree/top.txt", "top");
    fs::create_directories("tree/d1/empty");
    // Links where the system lets a program make them (not Windows' C++ library).
    // wine reports success and makes none, so the link itself is looked for.
    std::error_code Error;
    fs::create_symlink("d0", "tree/link-to-dir", Error);
    bool const bLinks = !Error && fs::is_symlink(fs::symlink_status("tree/link-to-dir"));
    if (bLinks)
    {
        fs::create_symlink("top.txt", "tree/link-to-file");
        fs::create_symlink("nowhere", "tree/dangling");
    }
    m_Dir.WriteFile("tree/tree.arc", "the archive itself, emptied and left out");

    std::string sSurvey;
    Xfs().SurveyArchive("tree/tree", "./tree", RecordSurvey,
                        reinterpret_cast<ZR_ULONG_PTR>(&sSurvey));
    EXPECT_EQ(Cwd(), m_Dir.Path().string());
    ASSERT_TRUE(Xfs().CreateArchive("tree/tree", "./tree"));
    // The search tells of the names it leaves out, right behind the directory's files.
    // (Plain finds: the regular expressions of GoogleTest on Windows have no groups.)
    if (bLinks)
    {
        EXPECT_TRUE(sSurvey.find("F top.txt 3\nleft out ") != std::string::npos ||
                    sSurvey.find("F top.txt 3\nF link-to-file 3\nleft out ") != std::string::npos)
            << sSurvey;
    }
    std::vector<std::string> const vLeftOut =
        bLinks ? std::vector<std::string>{"dangling", "link-to-dir"} : std::vector<std::string>{};
    EXPECT_EQ(TakeLeftOut(sSurvey), vLeftOut);
    EXPECT_EQ(sSurvey, TranscriptOf(m_Dir.ReadFile("tree/tree.arc"), 0, "tree"));
    if (bLinks)
    {
        EXPECT_THAT(sSurvey, testing::HasSubstr("F link-to-file 3\n"));
    }

    // Where packing would stop, the survey reports and goes on.
    if (TEST_NamesHoldBackslashes())
    {
        fs::create_directories("odd/a\\b");
        m_Dir.WriteFile("odd/z/z.txt", "z");
        sSurvey.clear();
        Xfs().SurveyArchive("odd", "./odd", RecordSurvey, reinterpret_cast<ZR_ULONG_PTR>(&sSurvey));
        EXPECT_THAT(sSurvey, testing::HasSubstr("not entered a\\b\n"));
        EXPECT_THAT(sSurvey, testing::HasSubstr("D z\nF z.txt 1\nE z\n"));
        EXPECT_EQ(Cwd(), m_Dir.Path().string());
    }
    // The directory that holds the source must be there; the source itself is reported.
    EXPECT_EQ(ErrorCodeOf([&] { Xfs().SurveyArchive("x", "./missing/src", RecordSurvey, 0); }),
              4016u);
    fs::current_path(m_Dir.Path());
    sSurvey.clear();
    Xfs().SurveyArchive("x", "./missing", RecordSurvey, reinterpret_cast<ZR_ULONG_PTR>(&sSurvey));
    EXPECT_EQ(sSurvey, "not entered missing\n");
}
