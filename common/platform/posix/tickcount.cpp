#include "common/platform/tickcount.h"

#include <time.h>

std::uint32_t PLATFORM_GetTickCount()
{
    timespec Now{};
    ::clock_gettime(CLOCK_MONOTONIC, &Now);
    std::uint64_t const ullMilliseconds = static_cast<std::uint64_t>(Now.tv_sec) * 1000u +
                                          static_cast<std::uint64_t>(Now.tv_nsec) / 1000000u;
    return static_cast<std::uint32_t>(ullMilliseconds);
}
