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
struct sCall
{
    eScannerMode eMode;
    std::string sFileName;
    std::string sDirectory;
    std::string sSubDirectory;
    std::string sSearchPath;
    std::thread::id ThreadId;
};

std::string Text(CZRString const & sText)
{
    return sText.GetString() != nullptr ? sText.GetString() : "";
}

// Collects the callbacks of one scan from whatever thread makes them; the test waits
// for the end of a threaded scan with a time limit, so that no test can hang.
class CRecorder
{
public:
    static void Callback(eScannerMode eMode, sFileData * pData, unsigned long ulUser)
    {
        reinterpret_cast<CRecorder *>(ulUser)->Add(eMode, pData);
    }
    unsigned long User() { return reinterpret_cast<unsigned long>(this); }

    void Add(eScannerMode eMode, sFileData const * pData)
    {
        sCall Call{eMode, "", "", "", "", std::this_thread::get_id()};
        if (pData != nullptr)
        {
            Call.sFileName = Text(pData->m_sFileName);
            Call.sDirectory = Text(pData->m_sDirectory);
            Call.sSubDirectory = Text(pData->m_sSubDirectory);
            Call.sSearchPath = Text(pData->m_sSearchPath);
        }
        if (eMode == SCAN_FILE && m_bStopAtFirstFile)
            CZRFileScanner::StopThread();
        std::lock_guard<std::mutex> Lock(m_Mutex);
        m_vCalls.push_back(Call);
        m_Changed.notify_all();
    }
    bool WaitForEnd()
    {
        std::unique_lock<std::mutex> Lock(m_Mutex);
        return m_Changed.wait_for(Lock, std::chrono::seconds(30),
                                  [this]
                                  {
                                      return !m_vCalls.empty() &&
                                             (m_vCalls.back().eMode == SCAN_FINISHED ||
                                              m_vCalls.back().eMode == SCAN_STOPPED);
                                  });
    }
    std::vector<sCall> Calls()
    {
        std::lock_guard<std::mutex> Lock(m_Mutex);
        return m_vCalls;
    }
    // The names of the reported files, in order.
    std::vector<std::string> Files()
    {
        std::vector<std::string> vNames;
        for (sCall const & Call : Calls())
            if (Call.eMode == SCAN_FILE)
                vNames.push_back(Call.sFileName);
        return vNames;
    }

    bool m_bStopAtFirstFile = false;

private:
    std::mutex m_Mutex;
    std::condition_variable m_Changed;
    std::vector<sCall> m_vCalls;
};

std::vector<std::string> Sorted(std::vector<std::string> vNames)
{
    std::sort(vNames.begin(), vNames.end());
    return vNames;
}

size_t PositionOf(std::vector<std::string> const & vNames, std::string const & sName)
{
    return static_cast<size_t>(std::find(vNames.begin(), vNames.end(), sName) - vNames.begin());
}

using Names = std::vector<std::string>;
} // namespace

TEST(ZRFileScanner, FilesComeBeforeSubdirectoriesAndDotDirectoriesAreSkipped)
{
    CTempDir Temp;
    Temp.WriteFile("top/a", "1");
    Temp.WriteFile("top/b", "2");
    Temp.WriteFile("top/.profile", "3");
    Temp.WriteFile("top/s/c", "4");
    Temp.WriteFile("top/.git/hidden", "5");
    std::string const sTop = Temp / "top";

    CZRFileScanner Scanner;
    Scanner.AddScanDirectory(sTop.c_str(), "*.*");
    CRecorder Recorder;
    Scanner.Run(CRecorder::Callback, Recorder.User());

    Names const vFiles = Recorder.Files();
    ASSERT_EQ(Sorted(vFiles), (Names{".profile", "a", "b", "c"}));
    EXPECT_EQ(vFiles.back(), "c");
    for (sCall const & Call : Recorder.Calls())
    {
        EXPECT_EQ(Call.eMode, SCAN_FILE);
        EXPECT_EQ(Call.sSubDirectory, "");
        std::string const sDirectory = Call.sFileName == "c" ? sTop + "\\s" : sTop;
        EXPECT_EQ(Call.sDirectory, sDirectory);
        EXPECT_EQ(Call.sSearchPath, sDirectory + "\\*.*");
    }

    Scanner.SetIncludeSubDirs(false);
    CRecorder TopOnly;
    Scanner.Run(CRecorder::Callback, TopOnly.User());
    EXPECT_EQ(Sorted(TopOnly.Files()), (Names{".profile", "a", "b"}));
}

TEST(ZRFileScanner, MasksFollowTheWindowsRules)
{
    CTempDir Temp;
    Temp.WriteFile("a.txt", "");
    Temp.WriteFile("ab.TXT", "");
    Temp.WriteFile("b.dat", "");
    Temp.WriteFile("noext", "");
    Temp.WriteFile("sub/c.txt", "");
    Temp.WriteFile("match.txt/d.txt", "");
    std::filesystem::create_symlink(Temp / "a.txt", Temp / "link.txt");
    std::filesystem::create_directory_symlink(Temp / "sub", Temp / "linkdir.txt");
    std::filesystem::create_symlink(Temp / "missing", Temp / "broken.txt");

    auto Scan = [&Temp](char const * szMask)
    {
        CZRFileScanner Scanner;
        Scanner.AddScanDirectory(Temp.Path().c_str(), szMask);
        CRecorder Recorder;
        Scanner.Run(CRecorder::Callback, Recorder.User());
        return Sorted(Recorder.Files());
    };
    // A subdirectory is entered whatever its name, a directory matching the mask is not
    // a file, a link counts as its target, and a link to a directory is not seen at all.
    EXPECT_EQ(Scan("*.txt"), (Names{"a.txt", "ab.TXT", "c.txt", "d.txt", "link.txt"}));
    EXPECT_EQ(Scan("?.TxT"), (Names{"a.txt", "c.txt", "d.txt"}));
    EXPECT_EQ(Scan("*"),
              (Names{"a.txt", "ab.TXT", "b.dat", "c.txt", "d.txt", "link.txt", "noext"}));
    EXPECT_EQ(Scan("*.*"), Scan("*"));
    EXPECT_EQ(Scan("a*t"), (Names{"a.txt", "ab.TXT"}));
    EXPECT_EQ(Scan("noext"), (Names{"noext"}));
    EXPECT_EQ(Scan(""), Names{});
}

TEST(ZRFileScanner, EachDirectoryHasItsOwnMaskAndCountsUseTheArgument)
{
    CTempDir Temp;
    Temp.WriteFile("one/x.txt", "");
    Temp.WriteFile("one/y.dat", "");
    Temp.WriteFile("one/inner/z.dat", "");
    Temp.WriteFile("one/.hidden/w.txt", "");
    Temp.WriteFile("two/p.dat", "");
    Temp.WriteFile("two/q.txt", "");

    CZRFileScanner Scanner;
    Scanner.AddScanDirectory((Temp / "one").c_str(), "*.txt");
    Scanner.AddScanDirectory((Temp / "two").c_str(), "*.dat");
    CRecorder Recorder;
    Scanner.Run(CRecorder::Callback, Recorder.User());
    EXPECT_EQ(Recorder.Files(), (Names{"x.txt", "p.dat"}));

    int nFiles = -1;
    int nFolders = -1;
    Scanner.SetIncludeSubDirs(false);
    Scanner.GetFolderFileCount(nFiles, nFolders, "*.dat");
    EXPECT_EQ(nFiles, 3);
    EXPECT_EQ(nFolders, 1);
    Scanner.GetFolderFileCount(nFiles, nFolders, "*.*");
    EXPECT_EQ(nFiles, 5);
    EXPECT_EQ(nFolders, 1);
}

TEST(ZRFileScanner, EmptyListsAndMissingDirectoriesGiveNoFiles)
{
    CZRFileScanner Empty;
    CRecorder RunRecorder;
    Empty.Run(CRecorder::Callback, RunRecorder.User());
    EXPECT_TRUE(RunRecorder.Calls().empty());
    int nFiles = -1;
    int nFolders = -1;
    Empty.GetFolderFileCount(nFiles, nFolders, "*.*");
    EXPECT_EQ(nFiles, 0);
    EXPECT_EQ(nFolders, 0);

    CTempDir Temp;
    CZRFileScanner Missing;
    Missing.AddScanDirectory((Temp / "nowhere").c_str(), "*.*");
    for (CZRFileScanner * pScanner : {&Empty, &Missing})
    {
        CRecorder Recorder;
        pScanner->RunThread(CRecorder::Callback, Recorder.User(), nullptr);
        ASSERT_TRUE(Recorder.WaitForEnd());
        std::vector<sCall> const vCalls = Recorder.Calls();
        ASSERT_EQ(vCalls.size(), 2u);
        EXPECT_EQ(vCalls[0].eMode, SCAN_STARTED);
        EXPECT_EQ(vCalls[1].eMode, SCAN_FINISHED);
        EXPECT_NE(vCalls[0].ThreadId, std::this_thread::get_id());
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

    // Give a worker that failed to wait every chance to show it: scan a busy directory
    // on this thread before the event is set.
    CZRFileScanner Busy;
    Busy.AddScanDirectory((Temp / "busy").c_str(), "*.*");
    CRecorder BusyRecorder;
    Busy.Run(CRecorder::Callback, BusyRecorder.User());
    EXPECT_EQ(BusyRecorder.Files().size(), 200u);
    EXPECT_TRUE(Recorder.Calls().empty());

    Start.Set();
    ASSERT_TRUE(Recorder.WaitForEnd());
    std::vector<sCall> const vCalls = Recorder.Calls();
    ASSERT_EQ(vCalls.size(), 3u);
    EXPECT_EQ(vCalls[0].eMode, SCAN_STARTED);
    EXPECT_EQ(vCalls[1].sFileName, "a");
    EXPECT_EQ(vCalls[2].eMode, SCAN_FINISHED);
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

    // The first directory with files reports two: the stop is only tested behind the
    // second hit. Subdirectories already listed are still searched, but none is entered,
    // and the second scan directory still gets its two.
    std::vector<sCall> const vCalls = Recorder.Calls();
    EXPECT_EQ(vCalls.front().eMode, SCAN_STARTED);
    EXPECT_EQ(vCalls.back().eMode, SCAN_STOPPED);
    std::vector<std::string> vDirectories;
    for (sCall const & Call : vCalls)
        if (Call.eMode == SCAN_FILE)
            vDirectories.push_back(Call.sDirectory);
    EXPECT_EQ(Sorted(vDirectories),
              (Names{Temp / "second", Temp / "second", Temp / "top" + "\\s1", Temp / "top" + "\\s1",
                     Temp / "top" + "\\s2", Temp / "top" + "\\s2"}));
    EXPECT_EQ(PositionOf(Recorder.Files(), "never.txt"), Recorder.Files().size());

    // Once no scan runs, the next one starts with the flag cleared.
    CRecorder Again;
    Scanner.Run(CRecorder::Callback, Again.User());
    EXPECT_EQ(Again.Files().size(), 18u);
}

TEST(ZRFileScanner, StopShortensRunOnTheCallersThread)
{
    CTempDir Temp;
    for (int nFile = 0; nFile < 5; ++nFile)
        Temp.WriteFile("f" + std::to_string(nFile), "");
    Temp.WriteFile("sub/g", "");

    CZRFileScanner Scanner;
    Scanner.AddScanDirectory(Temp.Path().c_str(), "*.*");
    CRecorder Recorder;
    Recorder.m_bStopAtFirstFile = true;
    Scanner.Run(CRecorder::Callback, Recorder.User());
    Names const vFiles = Recorder.Files();
    EXPECT_LE(vFiles.size(), 2u);
    EXPECT_GE(vFiles.size(), 1u);
    EXPECT_EQ(PositionOf(vFiles, "g"), vFiles.size());
    for (sCall const & Call : Recorder.Calls())
        EXPECT_EQ(Call.eMode, SCAN_FILE);
}
