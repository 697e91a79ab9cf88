#include "common/processcontrol/zrcriticalsection.h"

#include "common/platform/criticalsection.h"
#include "common/time/timer.h"

CZRCriticalSection::CZRCriticalSection(std::uint32_t /*ulParam*/)
    : m_ulTime(0), m_CriticalSection(PLATFORM_CreateCriticalSection())
{
}

CZRCriticalSection::~CZRCriticalSection()
{
    PLATFORM_DestroyCriticalSection(m_CriticalSection);
}

void CZRCriticalSection::Enter()
{
    m_ulTime.store(CTimer::GetCurTimeInMs(), std::memory_order_relaxed);
    PLATFORM_EnterCriticalSection(m_CriticalSection);
}

void CZRCriticalSection::Leave()
{
    PLATFORM_LeaveCriticalSection(m_CriticalSection);
    std::uint32_t const ulEntered = m_ulTime.load(std::memory_order_relaxed);
    m_ulTime.store(CTimer::GetCurTimeInMs() - ulEntered, std::memory_order_relaxed);
}
