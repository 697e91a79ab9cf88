// CTimer: the frame clock of a frame loop and a developer stopwatch, all in public
// static data. StartMeasure once, then Measure once per frame: m_fDeltaMoveTime is the
// frame's length in units of 17 ms, m_fFPS a frame rate refreshed about once a second.
// The statics have no guard: Measure/StartMeasure belong to the frame loop, Start/Stop
// share one stamp. GetCurTime and GetCurTimeInMs touch no state, any thread may call them.
#pragma once

#include <cstdint>

#include "common/kernel/api.h"

// Replaces the millisecond clock read by CTimer, CZRProfiler and CZRCriticalSection
// with a function of the host; its values are cut to 32 bits. Null restores the
// system's monotonic clock.
COMMON_API void TIME_SetClock(unsigned long (*pfnClock)());

class COMMON_API CTimer
{
public:
    CTimer() = default;
    virtual ~CTimer() = default;

    // Starts frame measuring now; the frame-rate members stay as they are.
    static void StartMeasure();
    // One frame: returns the time since the last Measure or StartMeasure in 17-ms units.
    static float Measure();
    // Starts the stopwatch: stamps the clock for Stop.
    static void Start();
    // Milliseconds since the last Start; changes nothing, so it may be read repeatedly.
    static std::uint32_t Stop();
    // The clock in seconds.
    static double GetCurTime();
    // The clock in milliseconds, a 32-bit count that wraps.
    static std::uint32_t GetCurTimeInMs();

    static std::uint32_t m_ulLastTime;         // ms, clock at the last StartMeasure/Measure
    static std::uint32_t m_ulTimePassed;       // ms not yet turned into m_fDeltaMoveTime
    static std::uint32_t m_ulFrames;           // Measure calls since the last m_fFPS refresh
    static float m_fDeltaMoveTime;             // 17-ms units, result of the last Measure
    static float m_fFPS;                       // frames per second at the last refresh
    static float m_fLastTime;                  // s, clock at the last m_fFPS refresh
    static std::uint32_t m_ulDebugMeasureTime; // ms, clock at the last Start
};
