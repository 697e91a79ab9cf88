#include "common/profile/zrprofiler.h"

#include <cstddef>
#include <map>
#include <mutex>
#include <new>

#include "common/kernel/check.h"
#include "common/kernel/text.h"
#include "common/platform/clock.h"

static char const s_szSourceFile[] = "common/profile/zrprofiler";

namespace
{
constexpr int NAME_LIMIT = 256;

char FoldCase(char cChar)
{
    return (cChar >= 'A' && cChar <= 'Z') ? static_cast<char>(cChar - 'A' + 'a') : cChar;
}

// The first characters decide most comparisons on their own; only when they agree is
// the full comparison called. STR_stricmp folds the ASCII letters alone, as this does.
bool EqualNoCase(char const * szSlotName, char const * szName)
{
    return FoldCase(szSlotName[0]) == FoldCase(szName[0]) && STR_stricmp(szSlotName, szName) == 0;
}

bool Equal(char const * szSlotName, char const * szName)
{
    return szSlotName[0] == szName[0] && STR_strcmp(szSlotName, szName) == 0;
}

// Names equal with regard to case are equal without, and the case-true comparison is
// the faster one: hosts mostly repeat a name exactly.
bool EqualAnyCase(char const * szSlotName, char const * szName)
{
    return Equal(szSlotName, szName) || EqualNoCase(szSlotName, szName);
}
} // namespace

// The fields read by every walk come first, so that a walk touches one cache line of
// each slot.
struct sProfileSample
{
    bool m_bValid;               // in use in this frame
    int m_nOpenProfiles;         // SampleBegin calls without their SampleEnd yet
    float m_fStartTime;          // s, at the latest SampleBegin
    int m_nProfileInstances;     // SampleBegin calls in this frame
    float m_fAccumulator;        // s, all runs in this frame, children included
    float m_fChildrenSampleTime; // s, runs of the samples directly nested in it
    int m_nNumParents;           // samples open at its latest SampleEnd
    char m_szName[NAME_LIMIT];   // terminated
};

struct sProfileHistory
{
    bool m_bValid;             // the slot has a history
    char m_szName[NAME_LIMIT]; // the sample that first filled the slot
    float m_fAverage;          // percent
    float m_fMinimum;          // percent
    float m_fMaximum;          // percent
};

// Inline here rather than a call through the exported class, on the path of every sample.
inline bool CZRProfiler::IsSlotInUse(int nIndex) const
{
    return nIndex >= 0 && nIndex < m_nMaxSamples && m_pSampleData[nIndex].m_bValid;
}

inline float CZRProfiler::GetExactTime() const
{
    // For every 32-bit count the product rounds to the same float as the quotient by
    // 1000.0 (checked over the whole range), and a multiplication costs far less than a
    // division on the path of every sample.
    return static_cast<float>(PLATFORM_GetClockMs() * 0.001);
}

CZRProfileData::CZRProfileData()
    : m_szName(), m_fAverageTimePerFrame(0.0f), m_fMinimumTimePerFrame(0.0f),
      m_fMaximumTimePerFrame(0.0f), m_fAbsoluteTimePerFrame(0.0f), m_nNumInstances(0),
      m_nNumParents(0)
{
}

// Both arrays start zeroed: every history slot is free, and so is every sample slot,
// which makes a SampleBegin before the first Begin harmless.
CZRProfiler::CZRProfiler(int nMaxSamples)
    : m_pSampleData(nMaxSamples < 0 ? nullptr : new (std::nothrow) sProfileSample[nMaxSamples]()),
      m_pHistoryData(nMaxSamples < 0 ? nullptr : new (std::nothrow) sProfileHistory[nMaxSamples]()),
      m_nMaxSamples(nMaxSamples), m_fStartProfile(0.0f), m_fEndProfile(0.0f), m_nLastSlot(0)
{
    ZR_CHECK(m_pSampleData != NULL, s_szSourceFile);
    ZR_CHECK(m_pHistoryData != NULL, s_szSourceFile);
}

namespace
{
// Profilers that copies made share their arrays: the number of extra holders of each
// sample array, so that only the last holder frees the pair. Copies are rare; the lock
// is taken only when a profiler is copied or destroyed.
std::mutex s_SharesLock;

std::map<void const *, int> & ExtraHolders()
{
    // Never destroyed: a profiler may be a static object that goes after this one.
    static std::map<void const *, int> * s_pExtraHolders = new std::map<void const *, int>;
    return *s_pExtraHolders;
}
} // namespace

CZRProfiler::CZRProfiler(CZRProfiler const & Other)
{
    CopyMembers(Other);
}

CZRProfiler & CZRProfiler::operator=(CZRProfiler const & Other)
{
    if (this != &Other && m_pSampleData != Other.m_pSampleData)
    {
        ReleaseArrays();
        CopyMembers(Other);
    }
    return *this;
}

CZRProfiler::~CZRProfiler()
{
    ReleaseArrays();
}

void CZRProfiler::CopyMembers(CZRProfiler const & Other)
{
    m_pSampleData = Other.m_pSampleData;
    m_pHistoryData = Other.m_pHistoryData;
    m_nMaxSamples = Other.m_nMaxSamples;
    m_fStartProfile = Other.m_fStartProfile;
    m_fEndProfile = Other.m_fEndProfile;
    m_nLastSlot = Other.m_nLastSlot;
    std::lock_guard<std::mutex> Hold(s_SharesLock);
    ++ExtraHolders()[m_pSampleData];
}

void CZRProfiler::ReleaseArrays()
{
    {
        std::lock_guard<std::mutex> Hold(s_SharesLock);
        auto Found = ExtraHolders().find(m_pSampleData);
        if (Found != ExtraHolders().end())
        {
            if (--Found->second == 0)
                ExtraHolders().erase(Found);
            return;
        }
    }
    delete[] m_pSampleData;
    delete[] m_pHistoryData;
}

void CZRProfiler::Begin()
{
    for (int nIndex = 0; nIndex < m_nMaxSamples; ++nIndex)
        m_pSampleData[nIndex].m_bValid = false;
    m_fStartProfile = GetExactTime();
    m_fEndProfile = 0.0f;
}

void CZRProfiler::End()
{
    m_fEndProfile = GetExactTime();
}

void CZRProfiler::SampleBegin(char const * szName)
{
    int nIndex = m_nLastSlot;
    if (!IsSlotInUse(nIndex) || !EqualAnyCase(m_pSampleData[nIndex].m_szName, szName))
    {
        nIndex = 0;
        while (nIndex < m_nMaxSamples && m_pSampleData[nIndex].m_bValid &&
               !EqualNoCase(m_pSampleData[nIndex].m_szName, szName))
            ++nIndex;
    }
    if (nIndex == m_nMaxSamples)
    {
        // clang-format off
        ZR_CHECK(!"Exceeded Max Available Profile Samples", s_szSourceFile);
        // clang-format on
        return;
    }
    m_nLastSlot = nIndex;

    sProfileSample & Sample = m_pSampleData[nIndex];
    if (Sample.m_bValid)
    {
        ++Sample.m_nOpenProfiles;
        ++Sample.m_nProfileInstances;
        Sample.m_fStartTime = GetExactTime();
        ZR_CHECK(m_pSampleData[nIndex].m_nOpenProfiles == 1, s_szSourceFile);
        return;
    }

    STR_strncpy(Sample.m_szName, szName, NAME_LIMIT);
    // A name of 256 bytes or more would leave the field without a terminator, and every
    // later comparison would read beyond it; it is cut to 255 bytes instead.
    Sample.m_szName[NAME_LIMIT - 1] = '\0';
    Sample.m_bValid = true;
    Sample.m_nOpenProfiles = 1;
    Sample.m_nProfileInstances = 1;
    Sample.m_fAccumulator = 0.0f;
    Sample.m_fStartTime = GetExactTime();
    Sample.m_fChildrenSampleTime = 0.0f;
}

void CZRProfiler::SampleEnd(char const * szName)
{
    float const fNow = GetExactTime();

    int nIndex = m_nLastSlot;
    if (!IsSlotInUse(nIndex) || !Equal(m_pSampleData[nIndex].m_szName, szName))
    {
        // Slots are taken in order from index 0 and freed only all together by Begin, so
        // the slots in use are the ones before the first free one.
        nIndex = 0;
        while (nIndex < m_nMaxSamples && m_pSampleData[nIndex].m_bValid &&
               !Equal(m_pSampleData[nIndex].m_szName, szName))
            ++nIndex;
        if (!IsSlotInUse(nIndex))
            return;
        m_nLastSlot = nIndex;
    }

    sProfileSample & Sample = m_pSampleData[nIndex];
    --Sample.m_nOpenProfiles;

    // The parent is the open sample that started last; of equal start times the one
    // found last.
    int nParents = 0;
    sProfileSample * pParent = nullptr;
    for (int nOther = 0; nOther < m_nMaxSamples && m_pSampleData[nOther].m_bValid; ++nOther)
    {
        sProfileSample & Other = m_pSampleData[nOther];
        if (Other.m_nOpenProfiles <= 0)
            continue;
        ++nParents;
        if (pParent == nullptr || Other.m_fStartTime >= pParent->m_fStartTime)
            pParent = &Other;
    }

    Sample.m_nNumParents = nParents;
    if (pParent != nullptr)
        pParent->m_fChildrenSampleTime += fNow - Sample.m_fStartTime;
    Sample.m_fAccumulator += fNow - Sample.m_fStartTime;
}

bool CZRProfiler::GetSampleData(int nIndex, CZRProfileData & data)
{
    if (!IsSlotInUse(nIndex))
        return false;

    sProfileSample const & Sample = m_pSampleData[nIndex];
    // clang-format off
    if (Sample.m_nOpenProfiles < 0)
        ZR_CHECK(!"ProfileEnd() called without a ProfileBegin()", s_szSourceFile);
    if (Sample.m_nOpenProfiles > 0)
        ZR_CHECK(!"ProfileBegin() called without a ProfileEnd()", s_szSourceFile);
    // clang-format on

    float const fOwnTime = Sample.m_fAccumulator - Sample.m_fChildrenSampleTime;
    data.m_fAbsoluteTimePerFrame = Sample.m_fAccumulator;
    // A frame shorter than the clock's step has length 0 and gives an infinite or NaN
    // share; nothing guards it, the caller's frames are expected to be longer.
    float const fShare = static_cast<float>(fOwnTime / (m_fEndProfile - m_fStartProfile) * 100.0);
    UpdateHistoryData(nIndex, fShare);
    STR_strncpy(data.m_szName, Sample.m_szName, NAME_LIMIT);
    GetHistoryData(nIndex, data.m_fAverageTimePerFrame, data.m_fMinimumTimePerFrame,
                   data.m_fMaximumTimePerFrame);
    data.m_nNumInstances = Sample.m_nProfileInstances;
    data.m_nNumParents = Sample.m_nNumParents;
    return true;
}

// The weight grows with the frame's length, so that the values move at a constant
// speed in time rather than per frame.
void CZRProfiler::UpdateHistoryData(int nIndex, float fNewValue)
{
    float fWeight = static_cast<float>(GetElapsedTime() * 0.8);
    if (fWeight > 1.0f)
        fWeight = 1.0f;
    float const fKeep = 1.0f - fWeight;

    sProfileHistory & History = m_pHistoryData[nIndex];
    if (!History.m_bValid)
    {
        STR_strncpy(History.m_szName, m_pSampleData[nIndex].m_szName, NAME_LIMIT);
        History.m_bValid = true;
        History.m_fAverage = fNewValue;
        History.m_fMinimum = fNewValue;
        History.m_fMaximum = fNewValue;
        return;
    }

    History.m_fAverage = fKeep * History.m_fAverage + fWeight * fNewValue;

    // The minimum jumps down at once and drifts back up; the maximum the other way.
    if (fNewValue < History.m_fMinimum)
        History.m_fMinimum = fNewValue;
    else
        History.m_fMinimum = fKeep * History.m_fMinimum + fWeight * fNewValue;
    if (History.m_fMinimum < 0.0f)
        History.m_fMinimum = 0.0f;

    if (fNewValue > History.m_fMaximum)
        History.m_fMaximum = fNewValue;
    else
        History.m_fMaximum = fKeep * History.m_fMaximum + fWeight * fNewValue;
}

void CZRProfiler::GetHistoryData(int nIndex, float & fAverage, float & fMinimum, float & fMaximum)
{
    if (nIndex < 0 || nIndex >= m_nMaxSamples)
        return;
    sProfileHistory const & History = m_pHistoryData[nIndex];
    if (!History.m_bValid)
    {
        fAverage = 0.0f;
        fMinimum = 0.0f;
        fMaximum = 0.0f;
        return;
    }
    fAverage = History.m_fAverage;
    fMinimum = History.m_fMinimum;
    fMaximum = History.m_fMaximum;
}
