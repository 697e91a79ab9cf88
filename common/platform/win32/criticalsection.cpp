#include "common/platform/criticalsection.h"

#include <windows.h>

void * PLATFORM_CreateCriticalSection()
{
    CRITICAL_SECTION * const pSection = new CRITICAL_SECTION;
    ::InitializeCriticalSection(pSection);
    return pSection;
}

void PLATFORM_DestroyCriticalSection(void * hSection)
{
    CRITICAL_SECTION * const pSection = static_cast<CRITICAL_SECTION *>(hSection);
    ::DeleteCriticalSection(pSection);
    delete pSection;
}

void PLATFORM_EnterCriticalSection(void * hSection)
{
    ::EnterCriticalSection(static_cast<CRITICAL_SECTION *>(hSection));
}

void PLATFORM_LeaveCriticalSection(void * hSection)
{
    ::LeaveCriticalSection(static_cast<CRITICAL_SECTION *>(hSection));
}
