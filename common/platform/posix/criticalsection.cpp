#include "common/platform/criticalsection.h"

#include <mutex>

void * PLATFORM_CreateCriticalSection()
{
    return new std::recursive_mutex;
}

void PLATFORM_DestroyCriticalSection(void * hSection)
{
    delete static_cast<std::recursive_mutex *>(hSection);
}

void PLATFORM_EnterCriticalSection(void * hSection)
{
    static_cast<std::recursive_mutex *>(hSection)->lock();
}

void PLATFORM_LeaveCriticalSection(void * hSection)
{
    static_cast<std::recursive_mutex *>(hSection)->unlock();
}
