#include "common/platform/process.h"

#include <windows.h>

std::uint32_t PLATFORM_GetProcessId()
{
    return static_cast<std::uint32_t>(::GetCurrentProcessId());
}
