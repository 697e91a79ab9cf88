// CZRMutex: a thin, recursive mutex. The thread that holds it may lock it again and
// then unlocks it as often. Copying is forbidden: two objects cannot own one mutex.
// The library itself takes exactly one of these, around the format buffer of
// CZRString::FormatV; hosts may use the class for their own needs.
#pragma once

#include "common/kernel/api.h"

class COMMON_API CZRMutex
{
public:
    CZRMutex();
    virtual ~CZRMutex();

    CZRMutex(CZRMutex const &) = delete;
    CZRMutex & operator=(CZRMutex const &) = delete;

    // Blocks until the calling thread owns the mutex.
    void Lock();
    // Gives back one Lock of the calling thread, which must own the mutex.
    void Unlock();
    // True when the mutex cannot be taken at once, that is, another thread holds it.
    // The probe gives back what it takes, so the mutex is left as it was found.
    bool IsLocked();
    // The platform's mutex object, for the host's own platform calls.
    void * GetHandle();

private:
    void * m_hMutex; // the platform mutex this object owns
};
