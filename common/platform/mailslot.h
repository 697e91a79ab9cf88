// Mailslots on local datagram sockets. "\\.\mailslot\NAME" and "\\*\mailslot\NAME"
// name one local endpoint per NAME (compared case-blind). A server creates it and
// receives; a client of "\\.\" needs the server and a full queue fails its send; a
// client of "\\*\" is a broadcast: it opens without a server, and a send that nobody
// can take is dropped and counts as sent. No call ever blocks except the wait.
// A handle is used by one thread at a time.
#pragma once

#include <cstdint>

// What a failed open returns, in the manner of the original INVALID_HANDLE_VALUE.
void * const PLATFORM_INVALID_MAILSLOT = reinterpret_cast<void *>(-1);
// The next-size of a slot that has no message waiting, as the original reports it.
constexpr std::uint32_t PLATFORM_MAILSLOT_NO_MESSAGE = 0xFFFFFFFF;
// The longest message a slot takes; a longer one fails or is dropped like a full queue.
constexpr std::uint32_t PLATFORM_MAILSLOT_MAX_MESSAGE = 65536;

// Server side: the handle, or PLATFORM_INVALID_MAILSLOT when the name is malformed,
// not a "\\.\" name, or already served. An abstract socket address has room for a
// NAME of at most 95 bytes; a longer one is refused on both sides.
void * PLATFORM_CreateMailSlot(char const * szName);
// Client side: the handle, or PLATFORM_INVALID_MAILSLOT.
void * PLATFORM_OpenMailSlot(char const * szName);
// Sends one message; ulWritten gets the bytes sent (all of them for a dropped broadcast).
bool PLATFORM_WriteMailSlot(void * hSlot, void const * pData, std::uint32_t ulSize,
                            std::uint32_t & ulWritten);
// Takes the next message without waiting. False when none waits, and when the message
// is longer than ulSize: that one is dropped, so that a fixed-size reader gets past it.
bool PLATFORM_ReadMailSlot(void * hSlot, void * pBuffer, std::uint32_t ulSize,
                           std::uint32_t & ulRead);
// Server handles only; each out-pointer may be null. The count is 1 when at least one
// message waits: a datagram socket tells whether one waits, not how many.
bool PLATFORM_GetMailSlotInfo(void * hSlot, std::uint32_t * pulMaxMessageSize,
                              std::uint32_t * pulNextSize, std::uint32_t * pulMessageCount);
// Server handles only: waits until a message waits (true) or ulTimeout milliseconds
// pass, or a signal arrives (false).
bool PLATFORM_WaitForMailSlot(void * hSlot, std::uint32_t ulTimeout);
bool PLATFORM_CloseMailSlot(void * hSlot);
