#include "common/platform/thread.h"

#include <exception>
#include <thread>

bool PLATFORM_StartDetachedThread(void (*pfnThread)(void *), void * pParam)
{
    try
    {
        std::thread(pfnThread, pParam).detach();
        return true;
    }
    catch (std::exception const &)
    {
        // A thread the system refuses comes as std::system_error, a start record that
        // can't be allocated as std::bad_alloc: either way there is no thread.
        return false;
    }
}
