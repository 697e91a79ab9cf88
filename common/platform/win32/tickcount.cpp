#include "common/platform/tickcount.h"

#include <windows.h>

std::uint32_t PLATFORM_GetTickCount()
{
    return static_cast<std::uint32_t>(::GetTickCount());
}
