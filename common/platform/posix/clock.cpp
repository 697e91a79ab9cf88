#include "common/platform/clock.h"

#include <atomic>
#include <time.h>

namespace
{
// Atomic so that a host may swap the clock while another thread reads it.
std::atomic<unsigned long (*)()> s_pfnClock{nullptr};

std::uint32_t ReadSystemClock()
{
    timespec Now{};
    ::clock_gettime(CLOCK_MONOTONIC, &Now);
    std::uint64_t const ullMs = static_cast<std::uint64_t>(Now.tv_sec) * 1000u +
                                static_cast<std::uint64_t>(Now.tv_nsec) / 1000000u;
    return static_cast<std::uint32_t>(ullMs);
}
} // namespace

std::uint32_t PLATFORM_GetClockMs()
{
    unsigned long (*const pfnClock)() = s_pfnClock.load(std::memory_order_acquire);
    if (pfnClock != nullptr)
        return static_cast<std::uint32_t>(pfnClock());
    return ReadSystemClock();
}

void PLATFORM_SetClock(unsigned long (*pfnClock)())
{
    s_pfnClock.store(pfnClock, std::memory_order_release);
}
