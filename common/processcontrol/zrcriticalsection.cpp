#include "common/processcontrol/zrcriticalsection.h"

#include "common/platform/mutex.h"
#include "common/time/timer.h"

CZRCriticalSection::CZRCriticalSection(std::uint32_t /*ulParam*/)
    : m_ulTime(0), m_CriticalSection(PLATFORM_CreateMutex())
{
}

CZRCriticalSection::~CZRCriticalSection()
{
    PLATFORM_DestroyMutex(m_CriticalSection);
}

void CZRCriticalSection::Enter()
{
    m_ulTime.store(CTimer::GetCurTimeInMs(), std::memory_order_relaxed);
    PLATFORM_LockMutex(m_CriticalSection);
}

void CZRCriticalSection::Leave()
{
    PLATFORM_UnlockMutex(m_CriticalSection);
    std::uint32_t const ulEntered = m_ulTime.load(std::memory_order_relaxed);
    m_ulTime.store(CTimer::GetCurTimeInMs() - ulEntered, std::memory_order_relaxed);
}
