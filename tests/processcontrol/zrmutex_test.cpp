#include <gtest/gtest.h>

#include <chrono>
#include <future>
#include <thread>

#include "common/processcontrol/zrmutex.h"

// Bounded waits only: a wait that must time out uses a short bound, one that must
// succeed a long one, so a slow machine cannot turn a pass into a failure.
static auto const s_Short = std::chrono::milliseconds(100);
static auto const s_Long = std::chrono::seconds(30);

// Probes the mutex from another thread.
static bool IsLockedElsewhere(CZRMutex & Mutex)
{
    return std::async(std::launch::async, [&Mutex] { return Mutex.IsLocked(); }).get();
}

TEST(ZRMutex, RecursiveLockThenFreeForOthers)
{
    CZRMutex Mutex;
    EXPECT_FALSE(Mutex.IsLocked());
    EXPECT_FALSE(IsLockedElsewhere(Mutex)); // the probe gave back what it took
    Mutex.Lock();
    Mutex.Lock();
    EXPECT_FALSE(Mutex.IsLocked()); // the owner may take it again
    EXPECT_TRUE(IsLockedElsewhere(Mutex));
    Mutex.Unlock();
    EXPECT_TRUE(IsLockedElsewhere(Mutex));
    Mutex.Unlock();
    EXPECT_FALSE(IsLockedElsewhere(Mutex));
}

TEST(ZRMutex, SecondThreadBlocksUntilUnlock)
{
    CZRMutex Mutex;
    Mutex.Lock();
    std::promise<void> Acquired;
    std::future<void> AcquiredFuture = Acquired.get_future();
    std::thread Other(
        [&]
        {
            Mutex.Lock();
            Acquired.set_value();
            Mutex.Unlock();
        });
    EXPECT_EQ(AcquiredFuture.wait_for(s_Short), std::future_status::timeout);
    Mutex.Unlock();
    EXPECT_EQ(AcquiredFuture.wait_for(s_Long), std::future_status::ready);
    Other.join();
    EXPECT_FALSE(IsLockedElsewhere(Mutex));
}
