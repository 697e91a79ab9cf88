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

constexpr float SECONDS = 1e-5f;
constexpr float PERCENT = 1e-3f;

// Drives one profiler with the clock in milliseconds.
class ZRProfiler : public ::testing::Test
{
protected:
    void SetUp() override { TIME_SetClock(FakeClock); }

    void At(unsigned long ulNow) { s_ulNow = ulNow; }
    void Run(char const * szName, unsigned long ulBegin, unsigned long ulEnd)
    {
        At(ulBegin);
        m_Profiler.SampleBegin(szName);
        At(ulEnd);
        m_Profiler.SampleEnd(szName);
    }
    void Frame(unsigned long ulBegin, unsigned long ulEnd, char const * szName,
               unsigned long ulSampleBegin, unsigned long ulSampleEnd)
    {
        At(ulBegin);
        m_Profiler.Begin();
        Run(szName, ulSampleBegin, ulSampleEnd);
        At(ulEnd);
        m_Profiler.End();
    }
    CZRProfileData Data(int nIndex)
    {
        CZRProfileData data;
        EXPECT_TRUE(m_Profiler.GetSampleData(nIndex, data));
        return data;
    }
    // Reads slot 0 and checks its smoothed average, minimum and maximum.
    void ExpectHistory(float fAverage, float fMinimum, float fMaximum, float fTolerance)
    {
        CZRProfileData const data = Data(0);
        EXPECT_NEAR(data.GetAverageTimePerFrame(), fAverage, fTolerance);
        EXPECT_NEAR(data.GetMinimumTimePerFrame(), fMinimum, fTolerance);
        EXPECT_NEAR(data.GetMaximumTimePerFrame(), fMaximum, fTolerance);
    }

    CZRProfiler m_Profiler;
};
} // namespace

TEST_F(ZRProfiler, RunsAddUpAndFreeSlotsLeaveDataAlone)
{
    EXPECT_EQ(m_Profiler.GetNumSamples(), 50);
    At(0);
    m_Profiler.Begin();
    Run("Physics", 0, 10);
    Run("Physics", 20, 30);
    Run("Physics", 40, 70);
    At(100);
    m_Profiler.End();

    CZRProfileData data = Data(0);
    EXPECT_STREQ(data.GetName(), "Physics");
    EXPECT_EQ(data.GetNumInstances(), 3);
    EXPECT_EQ(data.GetNumParents(), 0);
    EXPECT_NEAR(data.GetAbsoluteTimePerFrame(), 0.05f, SECONDS);
    EXPECT_NEAR(data.GetAverageTimePerFrame(), 50.0f, PERCENT);
    for (int nIndex : {-1, 1, 50})
    {
        EXPECT_FALSE(m_Profiler.GetSampleData(nIndex, data));
        EXPECT_EQ(data.GetNumInstances(), 3);
    }
}

TEST_F(ZRProfiler, NestedTimeComesOffTheDirectParentOnly)
{
    At(0);
    m_Profiler.Begin();
    m_Profiler.SampleBegin("Outer");
    At(10);
    m_Profiler.SampleBegin("Middle");
    Run("Inner", 20, 50);
    At(70);
    m_Profiler.SampleEnd("Middle");
    At(100);
    m_Profiler.SampleEnd("Outer");
    At(200);
    m_Profiler.End();

    float const afAbsolute[] = {0.1f, 0.06f, 0.03f};
    float const afShare[] = {20.0f, 15.0f, 15.0f};
    for (int nIndex = 0; nIndex < 3; ++nIndex)
    {
        CZRProfileData const data = Data(nIndex);
        EXPECT_EQ(data.GetNumParents(), nIndex);
        EXPECT_NEAR(data.GetAbsoluteTimePerFrame(), afAbsolute[nIndex], SECONDS);
        EXPECT_NEAR(data.GetAverageTimePerFrame(), afShare[nIndex], PERCENT);
    }

    // Of two open samples started at the same time the later slot is the parent: C
    // belongs to B, B to A. The frame of 1.25 s makes the histories the new shares.
    At(1000);
    m_Profiler.Begin();
    m_Profiler.SampleBegin("A");
    m_Profiler.SampleBegin("B");
    Run("C", 1010, 1020);
    At(1030);
    m_Profiler.SampleEnd("B");
    At(1040);
    m_Profiler.SampleEnd("A");
    At(2250);
    m_Profiler.End();
    EXPECT_NEAR(Data(0).GetAverageTimePerFrame(), 0.8f, PERCENT);
    EXPECT_NEAR(Data(1).GetAverageTimePerFrame(), 1.6f, PERCENT);
}

TEST_F(ZRProfiler, SmoothingFollowsTheFrameLength)
{
    Frame(0, 1000, "S", 0, 500); // the first read gives the share three times
    ExpectHistory(50.0f, 50.0f, 50.0f, PERCENT);

    // 0.5 s: w = 0.4. A lower share pulls the minimum down at once, the others by w.
    Frame(1000, 1500, "S", 1000, 1125);
    ExpectHistory(0.6f * 50 + 0.4f * 25, 25.0f, 0.6f * 50 + 0.4f * 25, PERCENT);
    // 17 ms: w is about 0.0136. The maximum jumps up, the minimum drifts.
    Frame(1500, 1517, "S", 1500, 1517);
    float const fWeight = 0.017f * 0.8f;
    ExpectHistory(40.0f + fWeight * (100 - 40), 25.0f + fWeight * (100 - 25), 100.0f, 0.01f);
    // Exactly 1.25 s: w = 1, all three become the share.
    Frame(2000, 3250, "S", 2000, 2125);
    ExpectHistory(10.0f, 10.0f, 10.0f, 1e-5f);
    // 2 s: w is held at 1, so the minimum rises to the share in one step.
    Frame(4000, 6000, "S", 4000, 4600);
    ExpectHistory(30.0f, 30.0f, 30.0f, 1e-5f);
}

TEST_F(ZRProfiler, HistoryBelongsToTheSlotNotTheName)
{
    Frame(0, 1000, "First", 0, 500);
    Data(0);
    // Another sample takes slot 0 and blends into its values (w = 0.4); the old one
    // starts a fresh history in slot 1.
    Frame(1000, 1500, "Second", 1000, 1100);
    Run("First", 1100, 1200);
    CZRProfileData const Second = Data(0);
    EXPECT_STREQ(Second.GetName(), "Second");
    EXPECT_NEAR(Second.GetAverageTimePerFrame(), 0.6f * 50 + 0.4f * 20, PERCENT);
    EXPECT_NEAR(Data(1).GetMaximumTimePerFrame(), 20.0f, PERCENT);
}

TEST_F(ZRProfiler, BeginFindsAnyCaseEndOnlyTheFirstCase)
{
    Frame(0, 100, "Render", 0, 10);
    m_Profiler.SampleBegin("render");
    m_Profiler.SampleEnd("Render");
    EXPECT_EQ(Data(0).GetNumInstances(), 2);
    CZRProfileData Unused;
    EXPECT_FALSE(m_Profiler.GetSampleData(1, Unused));

    EXPECT_DEATH(
        {
            Frame(200, 300, "Render", 200, 210);
            At(220);
            m_Profiler.SampleBegin("render");
            m_Profiler.SampleEnd("render");
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
            m_Profiler.Begin();
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
            Frame(0, 100, "Once", 0, 10);
            m_Profiler.SampleEnd("Once");
            m_Profiler.GetSampleData(0, data);
        },
        "expression: !\"ProfileEnd\\(\\) called without a ProfileBegin\\(\\)\"\n");
}

TEST_F(ZRProfiler, OverlongNameIsCutInsideItsField)
{
    std::string const sLong(300, 'x');
    std::string const sCut = sLong.substr(0, 255);
    CZRProfiler Single(1);
    Single.Begin();
    Single.SampleBegin(sLong.c_str());
    Single.SampleEnd(sCut.c_str());
    Single.SampleBegin(sCut.c_str());
    Single.SampleEnd(sCut.c_str());
    At(100);
    Single.End();
    CZRProfileData data;
    ASSERT_TRUE(Single.GetSampleData(0, data));
    EXPECT_EQ(data.GetName(), sCut);
    EXPECT_EQ(data.GetNumInstances(), 2);
}

TEST_F(ZRProfiler, CopiesShareTheSamplesAndTheLastOneFreesThem)
{
    At(0);
    m_Profiler.Begin();
    Run("Physics", 0, 10);
    {
        CZRProfiler Copy(m_Profiler);
        CZRProfiler Assigned(4);
        Assigned = Copy;
        Assigned = Assigned;
        // A sample run through one copy is a sample of all of them.
        Run("Render", 10, 30);
        Assigned.SampleBegin("Audio");
        Assigned.SampleEnd("Audio");
        At(100);
        Copy.End();
        CZRProfileData data;
        ASSERT_TRUE(m_Profiler.GetSampleData(2, data));
        EXPECT_STREQ(data.GetName(), "Audio");
        EXPECT_EQ(Assigned.GetNumSamples(), 50);
    }
    // Both copies are gone; the original's arrays are still there.
    CZRProfileData data;
    ASSERT_TRUE(m_Profiler.GetSampleData(1, data));
    EXPECT_STREQ(data.GetName(), "Render");
    CZRProfiler * pOther = new CZRProfiler(m_Profiler);
    m_Profiler = CZRProfiler(3);
    ASSERT_TRUE(pOther->GetSampleData(0, data));
    EXPECT_STREQ(data.GetName(), "Physics");
    delete pOther;
    EXPECT_EQ(m_Profiler.GetNumSamples(), 3);
}
