#include "common/processcontrol/zrmutex.h"

#include "common/platform/mutex.h"

CZRMutex::CZRMutex() : m_hMutex(PLATFORM_CreateMutex()) {}

CZRMutex::~CZRMutex()
{
    PLATFORM_DestroyMutex(m_hMutex);
}

void CZRMutex::Lock()
{
    PLATFORM_LockMutex(m_hMutex);
}

void CZRMutex::Unlock()
{
    PLATFORM_UnlockMutex(m_hMutex);
}

bool CZRMutex::IsLocked()
{
    if (!PLATFORM_TryLockMutex(m_hMutex))
        return true;
    PLATFORM_UnlockMutex(m_hMutex);
    return false;
}

void * CZRMutex::GetHandle()
{
    return m_hMutex;
}
