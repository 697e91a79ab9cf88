#include "common/platform/thread.h"

#include <new>

#include <windows.h>

namespace
{
struct sThreadStart
{
    void (*pfnThread)(void *);
    void * pParam;
};

DWORD WINAPI RunThread(LPVOID pStart)
{
    sThreadStart const Start = *static_cast<sThreadStart *>(pStart);
    delete static_cast<sThreadStart *>(pStart);
    Start.pfnThread(Start.pParam);
    return 0;
}
} // namespace

bool PLATFORM_StartDetachedThread(void (*pfnThread)(void *), void * pParam)
{
    sThreadStart * const pStart = new (std::nothrow) sThreadStart{pfnThread, pParam};
    if (pStart == nullptr)
        return false;
    HANDLE const hThread = ::CreateThread(nullptr, 0, RunThread, pStart, 0, nullptr);
    if (hThread == nullptr)
    {
        delete pStart;
        return false;
    }
    // Nobody joins the thread: its handle is not needed to keep it running.
    ::CloseHandle(hThread);
    return true;
}
