// The tick count: milliseconds of the monotonic clock as a 32-bit count that wraps
// after about 49.7 days, like the system tick count it stands in for.
#pragma once

#include <cstdint>

std::uint32_t PLATFORM_GetTickCount();
