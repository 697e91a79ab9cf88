// A manual-reset event behind an opaque handle: once set it stays set, and releases
// every waiter, until it is reset. Used by CZREvent. Any thread may set, reset or wait.
#pragma once

// Made unset.
void * PLATFORM_CreateEvent();
void PLATFORM_DestroyEvent(void * hEvent);
void PLATFORM_SetEvent(void * hEvent);
void PLATFORM_ResetEvent(void * hEvent);
// Blocks, without a time limit, until the event is set.
void PLATFORM_WaitEvent(void * hEvent);
