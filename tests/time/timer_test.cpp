#include <gtest/gtest.h>

#include "common/time/timer.h"

namespace
{
unsigned long s_ulNow = 0;

unsigned long FakeClock()
{
    return s_ulNow;
}

class Timer : public ::testing::Test
{
protected:
    void SetUp() override { TIME_SetClock(FakeClock); }
    void TearDown() override { TIME_SetClock(nullptr); }
};
} // namespace

TEST_F(Timer, MeasureGivesFrameLengthIn17MsUnits)
{
    s_ulNow = 5000;
    CTimer::StartMeasure();
    s_ulNow = 5017;
    EXPECT_FLOAT_EQ(CTimer::Measure(), 1.0f);
    EXPECT_EQ(CTimer::m_ulTimePassed, 0u);
    s_ulNow = 5051;
    EXPECT_FLOAT_EQ(CTimer::Measure(), 2.0f);
    s_ulNow = 5061;
    EXPECT_FLOAT_EQ(CTimer::m_fDeltaMoveTime, 2.0f);
    EXPECT_FLOAT_EQ(CTimer::Measure(), 10.0f / 17.0f);
    EXPECT_EQ(CTimer::m_ulTimePassed, 0u);
    EXPECT_EQ(CTimer::m_ulLastTime, 5061u);

    std::uint32_t const ulFrames = CTimer::m_ulFrames;
    EXPECT_FLOAT_EQ(CTimer::Measure(), 0.0f);
    EXPECT_EQ(CTimer::m_ulFrames, ulFrames + 1);
}

TEST_F(Timer, RemainderStaysZeroForLongFrames)
{
    // Without StartMeasure the first frame is the whole uptime. Its quotient narrowed to
    // float, times 17, lies above the elapsed time for 100000000 and 3000000000 ms and
    // below it for 1000000000 ms: the remainder must come from the unnarrowed quotient.
    s_ulNow = 100000000;
    EXPECT_FLOAT_EQ(CTimer::Measure(), static_cast<float>(100000000 / 17.0));
    EXPECT_EQ(CTimer::m_ulTimePassed, 0u);

    CTimer::m_ulLastTime = 0;
    s_ulNow = 1000000000;
    CTimer::Measure();
    EXPECT_EQ(CTimer::m_ulTimePassed, 0u);

    CTimer::m_ulLastTime = 0;
    s_ulNow = 3000000000u;
    EXPECT_FLOAT_EQ(CTimer::Measure(), static_cast<float>(3000000000u / 17.0));
    EXPECT_EQ(CTimer::m_ulTimePassed, 0u);
}

TEST_F(Timer, ClockIsCutTo32BitsAndWraps)
{
    // Beyond 32 bits where unsigned long is wider (Linux x86-64); 5 where it is not.
    s_ulNow = static_cast<unsigned long>(0x100000005ull);
    EXPECT_EQ(CTimer::GetCurTimeInMs(), 5u);
    EXPECT_DOUBLE_EQ(CTimer::GetCurTime(), 0.005);

    s_ulNow = 0xFFFFFFF8u;
    CTimer::StartMeasure();
    s_ulNow = 9;
    EXPECT_FLOAT_EQ(CTimer::Measure(), 1.0f);
    EXPECT_EQ(CTimer::m_ulTimePassed, 0u);

    s_ulNow = 0xFFFFFF00u;
    CTimer::Start();
    s_ulNow = 0x10;
    EXPECT_EQ(CTimer::Stop(), 0x110u);
}

TEST_F(Timer, FrameRateRefreshesAfterMoreThanOneSecond)
{
    // The frame-rate stamp starts at 0: a first frame exactly one second in does not
    // refresh, the next one, a millisecond later, does, and counts both frames.
    s_ulNow = 1000;
    CTimer::Measure();
    EXPECT_FLOAT_EQ(CTimer::m_fFPS, 0.0f);
    EXPECT_EQ(CTimer::m_ulFrames, 1u);
    s_ulNow = 1001;
    CTimer::Measure();
    EXPECT_NEAR(CTimer::m_fFPS, 2.0f / 1.001f, 1e-4);
    EXPECT_EQ(CTimer::m_ulFrames, 0u);
    EXPECT_FLOAT_EQ(CTimer::m_fLastTime, 1.001f);

    // Frames 10 ms apart for five seconds: about one refresh a second, near 100.
    int nRefreshes = 0;
    for (int nFrame = 0; nFrame < 500; ++nFrame)
    {
        s_ulNow += 10;
        CTimer::Measure();
        if (CTimer::m_ulFrames == 0)
        {
            ++nRefreshes;
            EXPECT_NEAR(CTimer::m_fFPS, 100.0f, 1.0f);
        }
    }
    EXPECT_GE(nRefreshes, 4);
    EXPECT_LE(nRefreshes, 5);
}

TEST_F(Timer, StopwatchMeasuresFromOneStart)
{
    s_ulNow = 1000;
    CTimer::StartMeasure();
    CTimer::Start();
    s_ulNow = 1100;
    EXPECT_EQ(CTimer::Stop(), 100u);
    CTimer::Measure();
    s_ulNow = 1250;
    EXPECT_EQ(CTimer::Stop(), 250u);
    EXPECT_DOUBLE_EQ(CTimer::GetCurTime(), 1.25);
}
