// The id of the running process.
#pragma once

#include <cstdint>

std::uint32_t PLATFORM_GetProcessId();
