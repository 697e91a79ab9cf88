#include "common/platform/mutex.h"

#include <windows.h>

// A Windows mutex is recursive by nature. One whose holder ended without releasing it
// (WAIT_ABANDONED) is still handed over to the waiter.
void * PLATFORM_CreateMutex()
{
    return ::CreateMutexA(nullptr, FALSE, nullptr);
}

void PLATFORM_DestroyMutex(void * hMutex)
{
    if (hMutex != nullptr)
        ::CloseHandle(static_cast<HANDLE>(hMutex));
}

void PLATFORM_LockMutex(void * hMutex)
{
    ::WaitForSingleObject(static_cast<HANDLE>(hMutex), INFINITE);
}

bool PLATFORM_TryLockMutex(void * hMutex)
{
    DWORD const dwResult = ::WaitForSingleObject(static_cast<HANDLE>(hMutex), 0);
    return dwResult == WAIT_OBJECT_0 || dwResult == WAIT_ABANDONED;
}

void PLATFORM_UnlockMutex(void * hMutex)
{
    ::ReleaseMutex(static_cast<HANDLE>(hMutex));
}
