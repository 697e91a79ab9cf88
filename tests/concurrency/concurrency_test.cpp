// What the library does on several threads at once, for ThreadSanitizer (the tsan
// preset) as much as for the results: formatting from many threads, the locks under
// contention, scans on worker threads, and several senders on one mailslot.
#include <gtest/gtest.h>

#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <fstream>
#include <map>
#include <mutex>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include <unistd.h>

#include "common/file/zrfilescanner.h"
#include "common/mailslot/zrmailslot.h"
#include "common/processcontrol/zrcriticalsection.h"
#include "common/processcontrol/zrevent.h"
#include "common/processcontrol/zrmutex.h"
#include "common/string/zrstring.h"
#include "tempdir.h"

namespace
{
constexpr int THREADS = 4;

template <typename fnWork>
void OnThreads(fnWork Work)
{
    std::vector<std::thread> vThreads;
    for (int nThread = 0; nThread < THREADS; ++nThread)
        vThreads.emplace_back(Work, nThread);
    for (std::thread & Thread : vThreads)
        Thread.join();
}
} // namespace

TEST(Concurrency, FormatFromManyThreadsGivesEachItsOwnText)
{
    std::atomic<int> nWrong(0);
    OnThreads(
        [&](int nThread)
        {
            for (int i = 0; i < 2000; ++i)
            {
                CZRString sText;
                sText.Format("thread %d, line %d, %s", nThread, i, "some text to format");
                std::string const sWanted = "thread " + std::to_string(nThread) + ", line " +
                                            std::to_string(i) + ", some text to format";
                if (sWanted != sText.GetString())
                    ++nWrong;
            }
        });
    EXPECT_EQ(nWrong.load(), 0);
}

TEST(Concurrency, MutexAndCriticalSectionKeepACounterWhole)
{
    CZRMutex Mutex;
    CZRCriticalSection Section;
    long lUnderMutex = 0;
    long lUnderSection = 0;
    OnThreads(
        [&](int)
        {
            for (int i = 0; i < 5000; ++i)
            {
                // Taken twice: both locks are recursive.
                Mutex.Lock();
                Mutex.Lock();
                ++lUnderMutex;
                Mutex.Unlock();
                Mutex.Unlock();
                Section.Enter();
                ++lUnderSection;
                Section.Leave();
            }
        });
    EXPECT_EQ(lUnderMutex, THREADS * 5000L);
    EXPECT_EQ(lUnderSection, THREADS * 5000L);
    EXPECT_FALSE(Mutex.IsLocked());
}

namespace
{
// Collects the files of several threaded scans; the callbacks run on their workers.
struct sScans
{
    std::mutex m_Lock;
    std::condition_variable m_Done;
    std::map<ZR_ULONG_PTR, std::set<std::string>> m_mFiles;
    int m_nEnded = 0;

    static void Callback(eScannerMode eMode, sFileData * pData, ZR_ULONG_PTR ulUser)
    {
        sScans * pScans = s_pScans;
        std::lock_guard<std::mutex> Hold(pScans->m_Lock);
        if (eMode == SCAN_FILE)
            pScans->m_mFiles[ulUser].insert(pData->m_sFileName.GetString());
        if (eMode == SCAN_FINISHED || eMode == SCAN_STOPPED)
        {
            ++pScans->m_nEnded;
            pScans->m_Done.notify_all();
        }
    }
    static sScans * s_pScans;
};
sScans * sScans::s_pScans = nullptr;
} // namespace

TEST(Concurrency, ScansOnWorkerThreadsStartTogetherAndFindEveryFile)
{
    CTempDir Dir;
    for (int i = 0; i < 20; ++i)
        Dir.WriteFile("sub/file" + std::to_string(i) + ".txt", "x");
    sScans Scans;
    sScans::s_pScans = &Scans;
    CZREvent Start;
    {
        CZRFileScanner Scanner;
        Scanner.AddScanDirectory(CZRString(Dir.Path().string().c_str()), CZRString("*.txt"));
        for (ZR_ULONG_PTR ulScan = 0; ulScan < THREADS; ++ulScan)
            Scanner.RunThread(sScans::Callback, ulScan, &Start);
        // The scanner may go while its workers wait: they scan copies.
    }
    Start.Set();
    std::unique_lock<std::mutex> Hold(Scans.m_Lock);
    ASSERT_TRUE(Scans.m_Done.wait_for(Hold, std::chrono::seconds(30),
                                      [&] { return Scans.m_nEnded == THREADS; }));
    ASSERT_EQ(Scans.m_mFiles.size(), static_cast<std::size_t>(THREADS));
    for (auto const & Scan : Scans.m_mFiles)
        EXPECT_EQ(Scan.second.size(), 20u);
}

TEST(Concurrency, SeveralSendersOnOneSlotLoseNothing)
{
    std::string const sName = "\\\\.\\mailslot\\zrtest\\" + std::to_string(::getpid()) + "\\many";
    CZRMailSlot Server;
    Server.Open(sName.c_str(), true);
    constexpr std::int32_t MESSAGES = 3000;
    std::atomic<int> nSendersDone(0);
    std::map<std::int32_t, std::int32_t> mNext;
    std::int32_t lReceived = 0;
    // A record that comes after a gap or out of its sender's order; the reader goes on,
    // so that the count of what arrived stays true.
    std::int32_t lOutOfOrder = 0;
    std::thread Reader(
        [&]
        {
            while (lReceived < THREADS * MESSAGES)
            {
                if (!Server.WaitForMessage(1000) && nSendersDone.load() == THREADS)
                    break;
                while (Server.AreMessagesWaiting())
                {
                    Server.BeginRead();
                    std::int32_t alMessage[2] = {-1, -1};
                    Server.Read(alMessage, sizeof(alMessage));
                    Server.EndRead();
                    std::int32_t & lNext = mNext[alMessage[0]];
                    if (alMessage[1] != lNext)
                        ++lOutOfOrder;
                    lNext = alMessage[1] + 1;
                    ++lReceived;
                }
            }
        });
    // Broadcast clients, each on its own thread, as the log sink of several processes.
    OnThreads(
        [&](int nThread)
        {
            CZRMailSlot Client;
            Client.Open(("\\\\*" + sName.substr(3)).c_str(), false);
            for (std::int32_t i = 0; i < MESSAGES; ++i)
            {
                std::int32_t const alMessage[2] = {nThread, i};
                Client.BeginWrite();
                Client.Write(alMessage, sizeof(alMessage));
                Client.EndWrite();
            }
            EXPECT_EQ(Client.GetMessagesLost(), 0u);
            ++nSendersDone;
        });
    Reader.join();
    EXPECT_EQ(lReceived, THREADS * MESSAGES);
    EXPECT_EQ(lOutOfOrder, 0);
    EXPECT_EQ(Server.GetMessagesLost(), 0u);
}
