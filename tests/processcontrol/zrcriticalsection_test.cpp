#include <gtest/gtest.h>

#include <chrono>
#include <future>
#include <thread>

#include "common/processcontrol/zrcriticalsection.h"
#include "common/time/timer.h"

namespace
{
unsigned long s_ulNow = 0;

unsigned long FakeClock()
{
    return s_ulNow;
}

// Runs the function on a thread of its own; false when it does not end in time, and
// then the thread is left behind rather than hanging the test.
template <typename Function>
bool FinishesInTime(Function fnWork)
{
    std::packaged_task<void()> Task(fnWork);
    std::future<void> Done = Task.get_future();
    std::thread Worker(std::move(Task));
    if (Done.wait_for(std::chrono::seconds(30)) != std::future_status::ready)
    {
        Worker.detach();
        return false;
    }
    Worker.join();
    return true;
}
} // namespace

TEST(ZRCriticalSection, StampsEnterAndMeasuresTillLeave)
{
    TIME_SetClock(FakeClock);
    CZRCriticalSection Default;
    CZRCriticalSection WithArgument(7);
    for (CZRCriticalSection * pSection : {&Default, &WithArgument})
    {
        EXPECT_EQ(pSection->GetTime(), 0u);
        s_ulNow = 5000;
        pSection->Enter();
        EXPECT_EQ(pSection->GetTime(), 5000u);
        s_ulNow = 5030;
        pSection->Leave();
        EXPECT_EQ(pSection->GetTime(), 30u);
    }
    TIME_SetClock(nullptr);
}

TEST(ZRCriticalSection, OwnerMayEnterAgainAndOthersGetInAfterward)
{
    CZRCriticalSection Section;
    Section.Enter();
    Section.Enter();
    Section.Leave();
    Section.Leave();
    EXPECT_TRUE(FinishesInTime(
        [&Section]
        {
            Section.Enter();
            Section.Leave();
        }));
}

TEST(ZRCriticalSection, KeepsOtherThreadsOut)
{
    CZRCriticalSection Section;
    long lCounter = 0;
    auto Increment = [&Section, &lCounter]
    {
        for (int nRound = 0; nRound < 100000; ++nRound)
        {
            Section.Enter();
            long const lSeen = lCounter;
            lCounter = lSeen + 1;
            Section.Leave();
        }
    };
    std::thread Other(Increment);
    Increment();
    Other.join();
    EXPECT_EQ(lCounter, 200000);
}
