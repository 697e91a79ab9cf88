// CZRProfiler: named samples within one frame. Begin/End bracket a frame, SampleBegin/
// SampleEnd a stretch of code; after End, GetSampleData gives each slot's share of the
// frame without its nested samples, smoothed in time, with a running minimum and
// maximum. All storage is allocated by the constructor; nothing allocates afterwards.
// Samples take slots in the order of their first SampleBegin in a frame and the history
// belongs to the slot, not the name. One thread at a time. Times are read from the
// clock that TIME_SetClock sets.
#pragma once

#include "common/kernel/api.h"

// The result record for one slot. Its values have meaning after a GetSampleData that
// returned true; until then they are zero and the name is empty.
class COMMON_API CZRProfileData
{
public:
    CZRProfileData();
    virtual ~CZRProfileData() = default;

    // The name of the sample that holds the slot in this frame.
    char const * GetName() const { return m_szName; }
    // Share of the frame in percent, without nested samples, smoothed.
    float GetAverageTimePerFrame() const { return m_fAverageTimePerFrame; }
    // The lowest share in percent: it drops at once and drifts back up.
    float GetMinimumTimePerFrame() const { return m_fMinimumTimePerFrame; }
    // The highest share in percent: it rises at once and drifts back down.
    float GetMaximumTimePerFrame() const { return m_fMaximumTimePerFrame; }
    // Seconds in this frame, nested samples included, not smoothed.
    float GetAbsoluteTimePerFrame() const { return m_fAbsoluteTimePerFrame; }
    // How many times the sample ran in this frame.
    int GetNumInstances() const { return m_nNumInstances; }
    // The number of samples open around it at its latest SampleEnd.
    int GetNumParents() const { return m_nNumParents; }

private:
    friend class CZRProfiler;

    char m_szName[256];
    float m_fAverageTimePerFrame;
    float m_fMinimumTimePerFrame;
    float m_fMaximumTimePerFrame;
    float m_fAbsoluteTimePerFrame;
    int m_nNumInstances;
    int m_nNumParents;
};

struct sProfileSample;
struct sProfileHistory;

class COMMON_API CZRProfiler
{
public:
    // Allocates nMaxSamples slots. Begin must run before the first SampleBegin.
    CZRProfiler(int nMaxSamples = 50);
    virtual ~CZRProfiler();

    // Copies share the arrays, which go with the last of the profilers that hold them.
    CZRProfiler(CZRProfiler const & Other);
    // Gives up the hold on its own arrays, then shares Other's.
    CZRProfiler & operator=(CZRProfiler const & Other);

    // Starts a frame: every sample slot becomes free, the histories stay.
    void Begin();
    // Ends a frame; the results are read after it. An unbalanced sample is a failed
    // check in GetSampleData.
    void End();
    // Finds the sample without regard to case, or takes the next free slot. A sample
    // can run many times in a frame but must not be opened while it is open.
    void SampleBegin(char const * szName);
    // Finds the sample with regard to case; an unknown name has no effect.
    void SampleEnd(char const * szName);
    // Fills data for the slot and feeds its history; false, data untouched, for an
    // index out of range or a free slot. Call it once per slot and frame.
    bool GetSampleData(int nIndex, CZRProfileData & data);
    // The number of slots, not the number in use.
    int GetNumSamples() const { return m_nMaxSamples; }

private:
    void UpdateHistoryData(int nIndex, float fNewValue);
    void GetHistoryData(int nIndex, float & fAverage, float & fMinimum, float & fMaximum);
    float GetElapsedTime() const { return m_fEndProfile - m_fStartProfile; }
    // The clock in seconds, as a float.
    float GetExactTime() const;
    bool IsSlotInUse(int nIndex) const;
    void CopyMembers(CZRProfiler const & Other);
    // Gives up this profiler's hold on its arrays, freeing them when it was the last.
    void ReleaseArrays();

    sProfileSample * m_pSampleData;   // this frame's samples, m_nMaxSamples of them
    sProfileHistory * m_pHistoryData; // the smoothed values, m_nMaxSamples of them
    int m_nMaxSamples;
    float m_fStartProfile; // s, at the last Begin
    float m_fEndProfile;   // s, at the last End; 0 from Begin until End
    // The slot of the latest SampleBegin or SampleEnd, tried before any walk. Names in
    // use differ without regard to case, so a hit there is the one the walk would find.
    int m_nLastSlot;
};
