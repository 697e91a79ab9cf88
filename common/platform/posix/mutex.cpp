#include "common/platform/mutex.h"

#include <mutex>

void * PLATFORM_CreateMutex()
{
    return new std::recursive_mutex;
}

void PLATFORM_DestroyMutex(void * hMutex)
{
    delete static_cast<std::recursive_mutex *>(hMutex);
}

void PLATFORM_LockMutex(void * hMutex)
{
    static_cast<std::recursive_mutex *>(hMutex)->lock();
}

bool PLATFORM_TryLockMutex(void * hMutex)
{
    return static_cast<std::recursive_mutex *>(hMutex)->try_lock();
}

void PLATFORM_UnlockMutex(void * hMutex)
{
    static_cast<std::recursive_mutex *>(hMutex)->unlock();
}
