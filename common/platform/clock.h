// The millisecond clock that stands in for timeGetTime: 32-bit milliseconds of the
// monotonic clock, wrapping at 2^32. A host may put a clock of its own in its place
// (TIME_SetClock forwards here); its values are cut to 32 bits. Reading and replacing
// are safe from any thread.
#pragma once

#include <cstdint>

std::uint32_t PLATFORM_GetClockMs();
// Null restores the system clock.
void PLATFORM_SetClock(unsigned long (*pfnClock)());
