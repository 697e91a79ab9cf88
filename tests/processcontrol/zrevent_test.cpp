#include <gtest/gtest.h>

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "common/processcontrol/zrevent.h"

namespace
{
// A log that threads append to and the test can wait on, with a time limit.
class CLog
{
public:
    void Add(std::string const & sEntry)
    {
        std::lock_guard<std::mutex> Lock(m_Mutex);
        m_vEntries.push_back(sEntry);
        m_Changed.notify_all();
    }
    bool WaitForSize(size_t nSize)
    {
        std::unique_lock<std::mutex> Lock(m_Mutex);
        return m_Changed.wait_for(Lock, std::chrono::seconds(30),
                                  [&] { return m_vEntries.size() >= nSize; });
    }
    std::vector<std::string> Entries()
    {
        std::lock_guard<std::mutex> Lock(m_Mutex);
        return m_vEntries;
    }

private:
    std::mutex m_Mutex;
    std::condition_variable m_Changed;
    std::vector<std::string> m_vEntries;
};
} // namespace

TEST(ZREvent, StaysSetForEveryWaiterUntilReset)
{
    CZREvent Event;
    CLog Log;
    Event.Set();
    // Both waiters pass the one Set: the event resets only by hand.
    std::thread First(
        [&]
        {
            Event.Wait();
            Log.Add("first");
        });
    std::thread Second(
        [&]
        {
            Event.Wait();
            Log.Add("second");
        });
    ASSERT_TRUE(Log.WaitForSize(2));
    First.join();
    Second.join();

    Event.Reset();
    std::thread Held(
        [&]
        {
            Log.Add("waiting");
            Event.Wait();
            Log.Add("passed");
        });
    ASSERT_TRUE(Log.WaitForSize(3));
    for (int nRound = 0; nRound < 1000; ++nRound)
        std::this_thread::yield();
    Log.Add("set");
    Event.Set();
    bool const bPassed = Log.WaitForSize(5);
    if (!bPassed)
        Held.detach();
    else
        Held.join();
    ASSERT_TRUE(bPassed);
    std::vector<std::string> const vEntries = Log.Entries();
    EXPECT_EQ(vEntries[2], "waiting");
    EXPECT_EQ(vEntries[3], "set");
    EXPECT_EQ(vEntries[4], "passed");
}
