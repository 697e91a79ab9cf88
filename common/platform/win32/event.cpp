#include "common/platform/event.h"

#include <windows.h>

void * PLATFORM_CreateEvent()
{
    return ::CreateEventA(nullptr, TRUE, FALSE, nullptr);
}

void PLATFORM_DestroyEvent(void * hEvent)
{
    if (hEvent != nullptr)
        ::CloseHandle(static_cast<HANDLE>(hEvent));
}

void PLATFORM_SetEvent(void * hEvent)
{
    ::SetEvent(static_cast<HANDLE>(hEvent));
}

void PLATFORM_ResetEvent(void * hEvent)
{
    ::ResetEvent(static_cast<HANDLE>(hEvent));
}

void PLATFORM_WaitEvent(void * hEvent)
{
    ::WaitForSingleObject(static_cast<HANDLE>(hEvent), INFINITE);
}
