#include "common/platform/clock.h"

#include <atomic>

#include <windows.h>

// After windows.h, whose types it uses.
#include <mmsystem.h>

namespace
{
// Atomic so that a host may swap the clock while another thread reads it.
std::atomic<unsigned long (*)()> s_pfnClock{nullptr};
} // namespace

std::uint32_t PLATFORM_GetClockMs()
{
    unsigned long (*const pfnClock)() = s_pfnClock.load(std::memory_order_acquire);
    if (pfnClock != nullptr)
        return static_cast<std::uint32_t>(pfnClock());
    return static_cast<std::uint32_t>(::timeGetTime());
}

void PLATFORM_SetClock(unsigned long (*pfnClock)())
{
    s_pfnClock.store(pfnClock, std::memory_order_release);
}
