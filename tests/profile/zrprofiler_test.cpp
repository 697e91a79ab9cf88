#include <gtest/gtest.h>

#include <string>

#include "common/profile/zrprofiler.h"
#include "common/time/timer.h"

namespace
{
unsigned long s_ulNow = 0;

unsigned long FakeClock()
{
    return s_ulNow;
}

class ZRProfiler : public ::testing::Test
{
protected:
    void SetUp() override { TIME_SetClock(FakeClock); }
    void TearDown() override { TIME_SetClock(nullptr); }

    // Opens the sample at one millisecond and closes it at another.
    void Run(char const * szName, unsigned long ulBegin, unsigned long ulEnd)
    {
        s_ulNow = ulBegin;
        m_Profiler.SampleBegin(szName);
        s_ulNow = ulEnd;
        m_Profiler.SampleEnd(szName);
    }
    void BeginFrame(unsigned long ulAt)
    {
        s_ulNow = ulAt;
        m_Profiler.Begin();
    }
    void EndFrame(unsigned long ulAt)
    {
        s_ulNow = ulAt;
        m_Profiler.End();
    }
    CZRProfileData Data(int nIndex)
    {
        CZRProfileData data;
        EXPECT_TRUE(m_Profiler.GetSampleData(nIndex, data));
        return data;
    }

    CZRProfiler m_Profiler;
};

constexpr float SECONDS = 1e-5f;
constexpr float PERCENT = 1e-3f;
} // namespace

TEST_F(ZRProfiler, SlotsAndFreeSlotsLeaveDataAlone)
{
    EXPECT_EQ(m_Profiler.GetNumSamples(), 50);
    EXPECT_EQ(CZRProfiler(3).GetNumSamples(), 3);

    BeginFrame(0);
    Run("Only", 0, 10);
    EndFrame(100);
    CZRProfileData data = Data(0);
    for (int nIndex : {-1, 1, 50})
    {
        EXPECT_FALSE(m_Profiler.GetSampleData(nIndex, data));
        EXPECT_STREQ(data.GetName(), "Only");
        EXPECT_EQ(data.GetNumInstances(), 1);
        EXPECT_NEAR(data.GetAverageTimePerFrame(), 10.0f, PERCENT);
    }
}

TEST_F(ZRProfiler, OverlongNameIsCutInsideItsField)
{
    std::string const sLong(300, 'x');
    CZRProfiler Single(1);
    s_ulNow = 0;
    Single.Begin();
    Single.SampleBegin(sLong.c_str());
    Single.SampleEnd(sLong.substr(0, 255).c_str());
    Single.SampleBegin(sLong.substr(0, 255).c_str());
    Single.SampleEnd(sLong.substr(0, 255).c_str());
    s_ulNow = 100;
    Single.End();
    CZRProfileData data;
    ASSERT_TRUE(Single.GetSampleData(0, data));
    EXPECT_EQ(std::string(data.GetName()), sLong.substr(0, 255));
    EXPECT_EQ(data.GetNumInstances(), 2);
}

TEST_F(ZRProfiler, RepeatedRunsAddUpAndFirstDataIsTheShare)
{
    BeginFrame(0);
    Run("Physics", 0, 10);
    Run("Physics", 20, 30);
    Run("Physics", 40, 70);
    EndFrame(100);

    CZRProfileData const data = Data(0);
    EXPECT_STREQ(data.GetName(), "Physics");
    EXPECT_EQ(data.GetNumInstances(), 3);
    EXPECT_EQ(data.GetNumParents(), 0);
    EXPECT_NEAR(data.GetAbsoluteTimePerFrame(), 0.05f, SECONDS);
    EXPECT_NEAR(data.GetAverageTimePerFrame(), 50.0f, PERCENT);
    EXPECT_FLOAT_EQ(data.GetMinimumTimePerFrame(), data.GetAverageTimePerFrame());
    EXPECT_FLOAT_EQ(data.GetMaximumTimePerFrame(), data.GetAverageTimePerFrame());
}

TEST_F(ZRProfiler, NestedTimeComesOffTheDirectParentOnly)
{
    BeginFrame(0);
    s_ulNow = 0;
    m_Profiler.SampleBegin("Outer");
    s_ulNow = 10;
    m_Profiler.SampleBegin("Middle");
    Run("Inner", 20, 50);
    s_ulNow = 70;
    m_Profiler.SampleEnd("Middle");
    s_ulNow = 100;
    m_Profiler.SampleEnd("Outer");
    EndFrame(200);

    CZRProfileData const Outer = Data(0);
    CZRProfileData const Middle = Data(1);
    CZRProfileData const Inner = Data(2);
    EXPECT_EQ(Outer.GetNumParents(), 0);
    EXPECT_EQ(Middle.GetNumParents(), 1);
    EXPECT_EQ(Inner.GetNumParents(), 2);
    EXPECT_NEAR(Outer.GetAbsoluteTimePerFrame(), 0.1f, SECONDS);
    EXPECT_NEAR(Middle.GetAbsoluteTimePerFrame(), 0.06f, SECONDS);
    EXPECT_NEAR(Inner.GetAbsoluteTimePerFrame(), 0.03f, SECONDS);
    EXPECT_NEAR(Outer.GetAverageTimePerFrame(), 20.0f, PERCENT);
    EXPECT_NEAR(Middle.GetAverageTimePerFrame(), 15.0f, PERCENT);
    EXPECT_NEAR(Inner.GetAverageTimePerFrame(), 15.0f, PERCENT);
}

TEST_F(ZRProfiler, OfEquallyOldOpenSamplesTheLaterSlotIsTheParent)
{
    BeginFrame(0);
    s_ulNow = 0;
    m_Profiler.SampleBegin("A");
    m_Profiler.SampleBegin("B");
    Run("C", 10, 20);
    s_ulNow = 30;
    m_Profiler.SampleEnd("B");
    s_ulNow = 40;
    m_Profiler.SampleEnd("A");
    EndFrame(100);

    // C belongs to B, B to A: A keeps 10 ms of its own, B 20 ms.
    EXPECT_NEAR(Data(0).GetAverageTimePerFrame(), 10.0f, PERCENT);
    EXPECT_NEAR(Data(1).GetAverageTimePerFrame(), 20.0f, PERCENT);
    EXPECT_EQ(Data(2).GetNumParents(), 2);
}

TEST_F(ZRProfiler, SmoothingFollowsTheFrameLength)
{
    // Frame 1: the first share fills all three values.
    BeginFrame(0);
    Run("S", 0, 500);
    EndFrame(1000);
    Data(0);

    // Frame 2, 0.5 s long: w = 0.4. A lower share pulls the minimum down at once, the
    // average and the maximum only by w.
    BeginFrame(1000);
    Run("S", 1000, 1125);
    EndFrame(1500);
    CZRProfileData data = Data(0);
    EXPECT_NEAR(data.GetAverageTimePerFrame(), 0.6f * 50 + 0.4f * 25, PERCENT);
    EXPECT_NEAR(data.GetMinimumTimePerFrame(), 25.0f, PERCENT);
    EXPECT_NEAR(data.GetMaximumTimePerFrame(), 0.6f * 50 + 0.4f * 25, PERCENT);

    // Frame 3, 17 ms long: w is about 0.0136. The maximum jumps up, the minimum drifts.
    BeginFrame(1500);
    Run("S", 1500, 1517);
    EndFrame(1517);
    data = Data(0);
    float const fWeight = 0.017f * 0.8f;
    EXPECT_NEAR(data.GetAverageTimePerFrame(), 40.0f + fWeight * (100 - 40), 0.01f);
    EXPECT_NEAR(data.GetMinimumTimePerFrame(), 25.0f + fWeight * (100 - 25), 0.01f);
    EXPECT_NEAR(data.GetMaximumTimePerFrame(), 100.0f, PERCENT);

    // Frame 4, exactly 1.25 s: w = 1, so all three become the new share.
    BeginFrame(2000);
    Run("S", 2000, 2125);
    EndFrame(3250);
    data = Data(0);
    EXPECT_FLOAT_EQ(data.GetAverageTimePerFrame(), 10.0f);
    EXPECT_FLOAT_EQ(data.GetMinimumTimePerFrame(), 10.0f);
    EXPECT_FLOAT_EQ(data.GetMaximumTimePerFrame(), 10.0f);

    // Frame 5, 2 s: w is held at 1, the minimum rises to the new share in one step.
    BeginFrame(4000);
    Run("S", 4000, 4600);
    EndFrame(6000);
    data = Data(0);
    EXPECT_FLOAT_EQ(data.GetAverageTimePerFrame(), 30.0f);
    EXPECT_FLOAT_EQ(data.GetMinimumTimePerFrame(), 30.0f);
    EXPECT_FLOAT_EQ(data.GetMaximumTimePerFrame(), 30.0f);
}

TEST_F(ZRProfiler, HistoryBelongsToTheSlotNotTheName)
{
    BeginFrame(0);
    Run("First", 0, 500);
    EndFrame(1000);
    Data(0);

    // Another sample takes slot 0 and blends into its values; w = 0.4.
    BeginFrame(1000);
    Run("Second", 1000, 1100);
    Run("First", 1100, 1200);
    EndFrame(1500);
    CZRProfileData const Second = Data(0);
    EXPECT_STREQ(Second.GetName(), "Second");
    EXPECT_NEAR(Second.GetAverageTimePerFrame(), 0.6f * 50 + 0.4f * 20, PERCENT);
    CZRProfileData const First = Data(1);
    EXPECT_NEAR(First.GetAverageTimePerFrame(), 20.0f, PERCENT);
    EXPECT_NEAR(First.GetMaximumTimePerFrame(), 20.0f, PERCENT);
}

TEST_F(ZRProfiler, BeginFindsAnyCaseEndOnlyTheFirstCase)
{
    BeginFrame(0);
    Run("Render", 0, 10);
    s_ulNow = 20;
    m_Profiler.SampleBegin("render");
    s_ulNow = 30;
    m_Profiler.SampleEnd("Render");
    m_Profiler.SampleEnd("nobody");
    EndFrame(100);
    CZRProfileData const data = Data(0);
    EXPECT_EQ(data.GetNumInstances(), 2);
    EXPECT_NEAR(data.GetAbsoluteTimePerFrame(), 0.02f, SECONDS);
    CZRProfileData Unused;
    EXPECT_FALSE(m_Profiler.GetSampleData(1, Unused));

    EXPECT_DEATH(
        {
            BeginFrame(200);
            Run("Render", 200, 210);
            s_ulNow = 220;
            m_Profiler.SampleBegin("render");
            m_Profiler.SampleEnd("render");
            EndFrame(300);
            m_Profiler.GetSampleData(0, Unused);
        },
        "expression: !\"ProfileBegin\\(\\) called without a ProfileEnd\\(\\)\"\n"
        "file: common/profile/zrprofiler\n");
}

TEST_F(ZRProfiler, ChecksEndTheProcess)
{
    CZRProfileData data;
    EXPECT_DEATH(CZRProfiler(-1), "expression: m_pSampleData != NULL\n"
                                  "file: common/profile/zrprofiler\n");
    EXPECT_DEATH(
        {
            BeginFrame(0);
            m_Profiler.SampleBegin("Twice");
            m_Profiler.SampleBegin("TWICE");
        },
        "expression: m_pSampleData\\[nIndex\\].m_nOpenProfiles == 1\n");
    EXPECT_DEATH(
        {
            CZRProfiler Small(2);
            Small.Begin();
            Small.SampleBegin("a");
            Small.SampleBegin("b");
            Small.SampleBegin("c");
        },
        "expression: !\"Exceeded Max Available Profile Samples\"\n");
    EXPECT_DEATH(
        {
            BeginFrame(0);
            Run("Once", 0, 10);
            m_Profiler.SampleEnd("Once");
            EndFrame(100);
            m_Profiler.GetSampleData(0, data);
        },
        "expression: !\"ProfileEnd\\(\\) called without a ProfileBegin\\(\\)\"\n");
}
