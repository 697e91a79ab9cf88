// CZRCriticalSection: a recursive lock for the host, with a rough time stamp. Between
// Enter and Leave GetTime() is the clock at Enter; after Leave it is the milliseconds
// from the start of Enter to the end of Leave, waiting included. The stamp is written
// outside the lock, so it is only meaningful without contention. Copying is forbidden:
// two objects cannot own one lock.
#pragma once

#include <atomic>
#include <cstdint>

#include "common/kernel/api.h"

class COMMON_API CZRCriticalSection
{
public:
    // The argument is neither stored nor read; it is kept for hosts that pass one.
    CZRCriticalSection(std::uint32_t ulParam = 2000);
    virtual ~CZRCriticalSection();

    CZRCriticalSection(CZRCriticalSection const &) = delete;
    CZRCriticalSection & operator=(CZRCriticalSection const &) = delete;

    // Stamps the clock, then blocks until the calling thread holds the lock.
    void Enter();
    // Gives the lock back, then turns the stamp into the time since Enter.
    void Leave();
    // The stamp: the clock at Enter while held, the milliseconds Enter to Leave after.
    std::uint32_t GetTime() const { return m_ulTime.load(std::memory_order_relaxed); }

private:
    // Atomic only so that the overwrite by a thread starting to wait is no data race.
    std::atomic<std::uint32_t> m_ulTime;
    void * m_CriticalSection; // the platform's critical section, owned
};
