#include <gtest/gtest.h>

#include <atomic>

#include "common/processcontrol/zrevent.h"
#include "detachedtask.h"

TEST(ZREvent, ManualResetReleasesEveryWaiterUntilReset)
{
    CZREvent Event;
    Event.Set();
    std::future<void> First = StartDetached([&Event] { Event.Wait(); });
    std::future<void> Second = StartDetached([&Event] { Event.Wait(); });
    ASSERT_TRUE(FinishesInTime(First));
    ASSERT_TRUE(FinishesInTime(Second));

    // After Reset a waiter is held until the next Set: it must see the step the test
    // takes just before setting, however long it had to run before that.
    Event.Reset();
    std::atomic<int> nStep{0};
    std::atomic<int> nSeenAfterWait{-1};
    std::promise<void> Waiting;
    std::future<void> Held = StartDetached(
        [&]
        {
            Waiting.set_value();
            Event.Wait();
            nSeenAfterWait = nStep.load();
        });
    ASSERT_EQ(Waiting.get_future().wait_for(std::chrono::seconds(30)), std::future_status::ready);
    for (int nRound = 0; nRound < 1000; ++nRound)
        std::this_thread::yield();
    nStep = 1;
    Event.Set();
    ASSERT_TRUE(FinishesInTime(Held));
    EXPECT_EQ(nSeenAfterWait, 1);
}
