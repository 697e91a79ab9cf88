// Worker threads that nobody joins: the function runs on a thread of its own with the
// parameter it was given, and the thread ends when the function returns.
#pragma once

// Starts pfnThread(pParam) on a detached thread; false when no thread could be made,
// and then the function never runs.
bool PLATFORM_StartDetachedThread(void (*pfnThread)(void *), void * pParam);
