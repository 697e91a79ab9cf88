#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <filesystem>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "common/file/zrfilescanner.h"
#include "common/processcontrol/zrevent.h"
#include "tempdir.h"

namespace
{
using Names = std::vector<std::string>;

// Collects the callbacks of one scan from whatever thread makes them: a file as its
// name, the other calls as "<started>", "<finished>" or "<stopped>". A test waits for
// the end of a threaded scan with a time limit, so that no test can hang.
class CRecorder
{
public:
    static void Callback(eScannerMode eMode, sFileData * pData, ZR_ULONG_PTR ulUser)
    {
        CRecorder * const pThis = reinterpret_cast<CRecorder *>(ulUser);
        if (eMode == SCAN_FILE && pThis->m_bStopAtFirstFile)
            CZRFileScanner::StopThread();
        std::lock_guard<std::mutex> Lock(pThis->m_Mutex);
        pThis->m_ThreadId = std::this_thread::get_id();
        if (pData == nullptr)
        {
            pThis->m_vCalls.push_back(eMode == SCAN_STARTED    ? "<started>"
                                      : eMode == SCAN_FINISHED ? "<finished>"
                                                               : "<stopped>");
        }
        else
        {
            EXPECT_TRUE(pData->m_sSubDirectory.IsEmpty());
            pThis->m_vCalls.push_back(pData->m_sFileName.GetString());
            pThis->m_vPlaces.push_back(std::string(pData->m_sDirectory.GetString()) + " " +
                                       pData->m_sSearchPath.GetString());
        }
        pThis->m_Changed.notify_all();
    }
    ZR_ULONG_PTR User() { return reinterpret_cast<ZR_ULONG_PTR>(this); }

    bool WaitForEnd()
    {
        std::unique_lock<std::mutex> Lock(m_Mutex);
        return m_Changed.wait_for(Lock, std::chrono::seconds(30),
                                  [this]
                                  {
                                      return !m_vCalls.empty() &&
                                             (m_vCalls.back() == "<finished>" ||
                                              m_vCalls.back() == "<stopped>");
                                  });
    }
    Names Calls()
    {
        std::lock_guard<std::mutex> Lock(m_Mutex);
        return m_vCalls;
    }
    // The names of the files reported, or their "directory search-path", sorted.
    Names Files(bool bPlaces = false)
    {
        std::lock_guard<std::mutex> Lock(m_Mutex);
        Names vNames = bPlaces ? m_vPlaces : m_vCalls;
        vNames.erase(std::remove_if(vNames.begin(), vNames.end(),
                                    [](std::string const & s) { return s[0] == '<'; }),
                     vNames.end());
        std::sort(vNames.begin(), vNames.end());
        return vNames;
    }

    bool m_bStopAtFirstFile = false;
    std::thread::id m_ThreadId;

private:
    std::mutex m_Mutex;
    std::condition_variable m_Changed;
    Names m_vCalls;
    Names m_vPlaces;
};

Names ScanFiles(CZRFileScanner & Scanner)
{
    CRecorder Recorder;
    Scanner.Run(CRecorder::Callback, Recorder.User());
    return Recorder.Files();
}
} // namespace

TEST(ZRFileScanner, FilesComeBeforeSubdirectoriesAndDotDirectoriesAreSkipped)
{
    CTempDir Temp;
    for (char const * szName : {"a", "b", ".profile", "s/c", ".git/hidden"})
        Temp.WriteFile(std::string("top/") + szName, "");
    std::string const sTop = Temp / "top";
    CZRFileScanner Scanner;
    Scanner.AddScanDirectory(sTop.c_str(), "*.*");
    CRecorder Recorder;
    Scanner.Run(CRecorder::Callback, Recorder.User());
    EXPECT_EQ(Recorder.Files(), (Names{".profile", "a", "b", "c"}));
    EXPECT_EQ(Recorder.Calls().back(), "c");
    std::string const sPlace = sTop + " " + sTop + "\\*.*";
    std::string const sSub = sTop + "\\s " + sTop + "\\s\\*.*";
    EXPECT_EQ(Recorder.Files(true), (Names{sPlace, sPlace, sPlace, sSub}));
    Scanner.SetIncludeSubDirs(false);
    EXPECT_EQ(ScanFiles(Scanner), (Names{".profile", "a", "b"}));
}

TEST(ZRFileScanner, MasksFollowTheWindowsRules)
{
    CTempDir Temp;
    for (char const * szName : {"a.txt", "ab.TXT", "b.dat", "noext", "sub/c.txt", "m.txt/d.txt"})
        Temp.WriteFile(szName, "");
    // Links where the system lets a program make them (not Windows' C++ library).
    std::error_code Error;
    std::filesystem::create_symlink(Temp / "a.txt", Temp / "link.txt", Error);
    bool const bLinks = !Error;
    if (bLinks)
    {
        std::filesystem::create_directory_symlink(Temp / "sub", Temp / "linkdir.txt");
        std::filesystem::create_symlink(Temp / "missing", Temp / "broken.txt");
    }
    // A subdirectory is entered whatever its name, a directory matching the mask is not
    // a file, a link counts as its target, and a link to a directory is not seen at all.
    Names const vAll{"a.txt", "ab.TXT", "b.dat", "c.txt", "d.txt", "link.txt", "noext"};
    std::pair<char const *, Names> const aRows[] = {
        {"*.txt", {"a.txt", "ab.TXT", "c.txt", "d.txt", "link.txt"}},
        {"?.TxT", {"a.txt", "c.txt", "d.txt"}},
        {"*.*", vAll},
        {"*", vAll},
        {"a*t", {"a.txt", "ab.TXT"}},
        {"", {}}};
    for (auto const & Row : aRows)
    {
        Names vExpected = Row.second;
        if (!bLinks)
            vExpected.erase(std::remove(vExpected.begin(), vExpected.end(), "link.txt"),
                            vExpected.end());
        CZRFileScanner Scanner;
        Scanner.AddScanDirectory(Temp.Path().string().c_str(), Row.first);
        EXPECT_EQ(ScanFiles(Scanner), vExpected) << Row.first;
    }
}

// Files come in NTFS's order whatever order they were made in and the file system
// keeps: ASCII letters upper-cased, so '_' and '~' follow 'Z', a name before its longer
// forms, and names equal but for case upper case first where the disk can hold both.
TEST(ZRFileScanner, FilesComeInOneOrderOnEverySystem)
{
    CTempDir Temp;
    Temp.WriteFile("b", "");
    bool const bCaseApart = !std::filesystem::exists(Temp / "B");
    Names vMade{"~t", "_x", "a_b", "Z", "10", "ab", "a.b", "2", "A", "b"};
    Names vOrder{"10", "2", "A", "a.b", "ab", "a_b", "b", "Z", "_x", "~t"};
    if (bCaseApart)
    {
        vMade.insert(vMade.begin() + 3, {"B", "aB"});
        vOrder = {"10", "2", "A", "a.b", "aB", "ab", "a_b", "B", "b", "Z", "_x", "~t"};
    }
    for (std::string const & sName : vMade)
        Temp.WriteFile("top/" + sName, "");
    CZRFileScanner Scanner;
    Scanner.AddScanDirectory((Temp / "top").c_str(), "*.*");
    CRecorder Recorder;
    Scanner.Run(CRecorder::Callback, Recorder.User());
    EXPECT_EQ(Recorder.Calls(), vOrder);
}

TEST(ZRFileScanner, EachDirectoryHasItsOwnMaskAndCountsUseTheArgument)
{
    CTempDir Temp;
    for (char const * szName :
         {"one/x.txt", "one/y.dat", "one/in/z.dat", "one/.hidden/w.txt", "two/p.dat", "two/q.txt"})
        Temp.WriteFile(szName, "");
    CZRFileScanner Scanner;
    Scanner.AddScanDirectory((Temp / "one").c_str(), "*.txt");
    Scanner.AddScanDirectory((Temp / "two").c_str(), "*.dat");
    CRecorder Recorder;
    Scanner.Run(CRecorder::Callback, Recorder.User());
    EXPECT_EQ(Recorder.Calls(), (Names{"x.txt", "p.dat"}));

    int nFiles = -1;
    int nFolders = -1;
    Scanner.SetIncludeSubDirs(false);
    Scanner.GetFolderFileCount(nFiles, nFolders, "*.dat");
    EXPECT_EQ(nFiles, 3);
    EXPECT_EQ(nFolders, 1);
    Scanner.GetFolderFileCount(nFiles, nFolders, "*.*");
    EXPECT_EQ(nFiles, 5);
}

TEST(ZRFileScanner, EmptyListsAndMissingDirectoriesGiveNoFiles)
{
    CZRFileScanner Empty;
    EXPECT_TRUE(ScanFiles(Empty).empty());
    int nFiles = -1;
    int nFolders = -1;
    Empty.GetFolderFileCount(nFiles, nFolders, "*.*");
    EXPECT_EQ(nFiles + nFolders, 0);

    CTempDir Temp;
    CZRFileScanner Missing;
    Missing.AddScanDirectory((Temp / "nowhere").c_str(), "*.*");
    for (CZRFileScanner * pScanner : {&Empty, &Missing})
    {
        CRecorder Recorder;
        pScanner->RunThread(CRecorder::Callback, Recorder.User(), nullptr);
        ASSERT_TRUE(Recorder.WaitForEnd());
        EXPECT_EQ(Recorder.Calls(), (Names{"<started>", "<finished>"}));
        EXPECT_NE(Recorder.m_ThreadId, std::this_thread::get_id());
    }
}

TEST(ZRFileScanner, ThreadedScanWaitsForItsEventAndUsesASnapshot)
{
    CTempDir Temp;
    for (int nFile = 0; nFile < 200; ++nFile)
        Temp.WriteFile("busy/f" + std::to_string(nFile), "");
    Temp.WriteFile("first/a", "");
    Temp.WriteFile("later/b", "");

    CZREvent Start;
    CRecorder Recorder;
    {
        CZRFileScanner Scanner;
        Scanner.AddScanDirectory((Temp / "first").c_str(), "*.*");
        Scanner.RunThread(CRecorder::Callback, Recorder.User(), &Start);
        // Neither a later change nor the end of the scanner reaches the worker.
        Scanner.AddScanDirectory((Temp / "later").c_str(), "*.*");
    }
    // A worker that failed to wait would show itself while a second worker, started
    // after it, scans a busy directory to the end.
    CZRFileScanner Busy;
    Busy.AddScanDirectory((Temp / "busy").c_str(), "*.*");
    CRecorder Witness;
    Busy.RunThread(CRecorder::Callback, Witness.User(), nullptr);
    ASSERT_TRUE(Witness.WaitForEnd());
    EXPECT_EQ(Witness.Files().size(), 200u);
    EXPECT_TRUE(Recorder.Calls().empty());

    Start.Set();
    ASSERT_TRUE(Recorder.WaitForEnd());
    EXPECT_EQ(Recorder.Calls(), (Names{"<started>", "a", "<finished>"}));
}

TEST(ZRFileScanner, StopEndsTheWalkWithScanStopped)
{
    CTempDir Temp;
    for (std::string const sDirectory : {"top/s1", "top/s2", "second"})
    {
        for (int nFile = 0; nFile < 5; ++nFile)
            Temp.WriteFile(sDirectory + "/f" + std::to_string(nFile) + ".txt", "");
        Temp.WriteFile(sDirectory + "/deeper/never.txt", "");
    }
    CZRFileScanner Scanner;
    Scanner.AddScanDirectory((Temp / "top").c_str(), "*.txt");
    Scanner.AddScanDirectory((Temp / "second").c_str(), "*.txt");
    CRecorder Recorder;
    Recorder.m_bStopAtFirstFile = true;
    Scanner.RunThread(CRecorder::Callback, Recorder.User(), nullptr);
    ASSERT_TRUE(Recorder.WaitForEnd());

    // The stop is tested only behind the second hit, so each directory searched reports
    // two files: s1, s2 (listed before the stop) and the second scan directory. Nothing
    // below them is entered.
    EXPECT_EQ(Recorder.Calls().front(), "<started>");
    EXPECT_EQ(Recorder.Calls().back(), "<stopped>");
    Names vDirectories;
    for (std::string const & sPlace : Recorder.Files(true))
        vDirectories.push_back(sPlace.substr(0, sPlace.find(' ')));
    std::string const sTop = Temp / "top";
    EXPECT_EQ(vDirectories, (Names{Temp / "second", Temp / "second", sTop + "\\s1", sTop + "\\s1",
                                   sTop + "\\s2", sTop + "\\s2"}));

    // Once no scan runs, the next one starts with the flag cleared.
    EXPECT_EQ(ScanFiles(Scanner).size(), 18u);

    // A stop from Run's own callback shortens Run the same way.
    CRecorder Shortened;
    Shortened.m_bStopAtFirstFile = true;
    Scanner.Run(CRecorder::Callback, Shortened.User());
    EXPECT_EQ(Shortened.Files().size(), 6u);
}
