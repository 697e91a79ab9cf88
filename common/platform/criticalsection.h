// A critical section behind an opaque handle: a lock of the threads of one process that
// the thread holding it may enter again and leaves as often. Used by CZRCriticalSection;
// unlike the mutex it never goes to the system while nobody else holds it.
#pragma once

void * PLATFORM_CreateCriticalSection();
void PLATFORM_DestroyCriticalSection(void * hSection);
void PLATFORM_EnterCriticalSection(void * hSection);
void PLATFORM_LeaveCriticalSection(void * hSection);
