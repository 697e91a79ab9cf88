#include "common/platform/thread.h"

#include <system_error>
#include <thread>

bool PLATFORM_StartDetachedThread(void (*pfnThread)(void *), void * pParam)
{
    try
    {
        std::thread(pfnThread, pParam).detach();
        return true;
    }
    catch (std::system_error const &)
    {
        return false;
    }
}
