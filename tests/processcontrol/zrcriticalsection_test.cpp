#include <gtest/gtest.h>

#include "common/processcontrol/zrcriticalsection.h"
#include "common/time/timer.h"
#include "detachedtask.h"

namespace
{
unsigned long s_ulNow = 0;

unsigned long FakeClock()
{
    return s_ulNow;
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
}

TEST(ZRCriticalSection, ExcludesOtherThreadsAndAllowsTheOwnerAgain)
{
    CZRCriticalSection Section;
    std::future<void> Again = StartDetached(
        [&Section]
        {
            Section.Enter();
            Section.Enter();
            Section.Leave();
            Section.Leave();
        });
    ASSERT_TRUE(FinishesInTime(Again));

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
    std::future<void> Other = StartDetached(Increment);
    Increment();
    ASSERT_TRUE(FinishesInTime(Other));
    EXPECT_EQ(lCounter, 200000);
}
