#include "common/platform/event.h"

#include <condition_variable>
#include <mutex>

namespace
{
struct sEvent
{
    std::mutex Mutex;
    std::condition_variable Signal;
    bool bSet = false;
};
} // namespace

void * PLATFORM_CreateEvent()
{
    return new sEvent;
}

void PLATFORM_DestroyEvent(void * hEvent)
{
    delete static_cast<sEvent *>(hEvent);
}

void PLATFORM_SetEvent(void * hEvent)
{
    sEvent * const pEvent = static_cast<sEvent *>(hEvent);
    {
        std::lock_guard<std::mutex> Lock(pEvent->Mutex);
        pEvent->bSet = true;
    }
    pEvent->Signal.notify_all();
}

void PLATFORM_ResetEvent(void * hEvent)
{
    sEvent * const pEvent = static_cast<sEvent *>(hEvent);
    std::lock_guard<std::mutex> Lock(pEvent->Mutex);
    pEvent->bSet = false;
}

void PLATFORM_WaitEvent(void * hEvent)
{
    sEvent * const pEvent = static_cast<sEvent *>(hEvent);
    std::unique_lock<std::mutex> Lock(pEvent->Mutex);
    pEvent->Signal.wait(Lock, [pEvent] { return pEvent->bSet; });
}
