#include "common/time/timer.h"

#include "common/platform/clock.h"

std::uint32_t CTimer::m_ulLastTime = 0;
std::uint32_t CTimer::m_ulTimePassed = 0;
std::uint32_t CTimer::m_ulFrames = 0;
float CTimer::m_fDeltaMoveTime = 0.0f;
float CTimer::m_fFPS = 0.0f;
float CTimer::m_fLastTime = 0.0f;
std::uint32_t CTimer::m_ulDebugMeasureTime = 0;

void TIME_SetClock(unsigned long (*pfnClock)())
{
    PLATFORM_SetClock(pfnClock);
}

void CTimer::StartMeasure()
{
    m_ulLastTime = PLATFORM_GetClockMs();
    m_ulTimePassed = 0;
}

float CTimer::Measure()
{
    std::uint32_t const ulNow = PLATFORM_GetClockMs();
    float const fNow = static_cast<float>(ulNow) * 0.001f;
    ++m_ulFrames;

    float const fSinceRefresh = fNow - m_fLastTime;
    if (fSinceRefresh > 1.0f)
    {
        m_fFPS = static_cast<float>(m_ulFrames) / fSinceRefresh;
        m_fLastTime = fNow;
        m_ulFrames = 0;
    }

    m_ulTimePassed += ulNow - m_ulLastTime;
    m_ulLastTime = ulNow;

    // The remainder is formed from the double quotient: the float one, times 17, can
    // exceed m_ulTimePassed and wrap it below zero.
    double const dUnits = m_ulTimePassed / 17.0;
    m_fDeltaMoveTime = static_cast<float>(dUnits);
    m_ulTimePassed -= static_cast<std::uint32_t>(dUnits * 17.0);
    return m_fDeltaMoveTime;
}

void CTimer::Start()
{
    m_ulDebugMeasureTime = PLATFORM_GetClockMs();
}

std::uint32_t CTimer::Stop()
{
    return PLATFORM_GetClockMs() - m_ulDebugMeasureTime;
}

double CTimer::GetCurTime()
{
    return PLATFORM_GetClockMs() / 1000.0;
}

std::uint32_t CTimer::GetCurTimeInMs()
{
    return PLATFORM_GetClockMs();
}
