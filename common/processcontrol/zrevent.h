// CZREvent: a manual-reset event. It starts unset; Set releases every thread waiting in
// Wait and keeps releasing them until Reset. Any thread may call any operation. The
// file scanner's worker waits on one before it starts; its owner keeps it alive until
// every waiter has passed. Copying is forbidden: two objects cannot own one event.
#pragma once

#include "common/kernel/api.h"

class COMMON_API CZREvent
{
public:
    CZREvent();
    virtual ~CZREvent();

    CZREvent(CZREvent const &) = delete;
    CZREvent & operator=(CZREvent const &) = delete;

    // Sets the event: every waiter goes on, and so will later ones until Reset.
    void Set();
    // Clears the event: later Wait calls block again.
    void Reset();
    // Blocks, without a time limit, until the event is set.
    void Wait();

private:
    void * m_hEvent; // the platform event this object owns
};
