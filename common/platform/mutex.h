// A recursive mutex behind an opaque handle: the thread that holds it may lock it
// again and unlocks it as often. Used by CZRMutex.
#pragma once

void * PLATFORM_CreateMutex();
void PLATFORM_DestroyMutex(void * hMutex);
void PLATFORM_LockMutex(void * hMutex);
// Takes the mutex when that is possible without waiting; true when it was taken.
bool PLATFORM_TryLockMutex(void * hMutex);
void PLATFORM_UnlockMutex(void * hMutex);
