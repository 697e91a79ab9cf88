#include "common/processcontrol/zrevent.h"

#include "common/platform/event.h"

CZREvent::CZREvent() : m_hEvent(PLATFORM_CreateEvent()) {}

CZREvent::~CZREvent()
{
    PLATFORM_DestroyEvent(m_hEvent);
}

void CZREvent::Set()
{
    PLATFORM_SetEvent(m_hEvent);
}

void CZREvent::Reset()
{
    PLATFORM_ResetEvent(m_hEvent);
}

void CZREvent::Wait()
{
    PLATFORM_WaitEvent(m_hEvent);
}
