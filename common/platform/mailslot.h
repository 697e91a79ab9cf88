// Mailslots on local datagram sockets. "\\.\mailslot\NAME" and "\\*\mailslot\NAME"
// name one local endpoint per NAME (compared case-blind). A server creates it and
// receives; a client of "\\.\" needs the server; a client of "\\*\" is a broadcast:
// it opens without a server, and a send that nobody hears is dropped and counts as sent.
// A send to a full queue waits for room as long as the server is seen to take messages,
// and once PLATFORM_MAILSLOT_SEND_WAIT passes in which it takes none is dropped
// (broadcast) or fails (direct); a slot given up on is not waited for again until it is
// seen to take a message. Only the send and the server's wait block.
// A handle, and every handle shared from it, is used by one thread at a time.
#pragma once

#include <cstddef>
#include <cstdint>

// What a failed open returns, in the manner of the original INVALID_HANDLE_VALUE.
void * const PLATFORM_INVALID_MAILSLOT = reinterpret_cast<void *>(-1);
// The next-size of a slot that has no message waiting, as the original reports it.
constexpr std::uint32_t PLATFORM_MAILSLOT_NO_MESSAGE = 0xFFFFFFFF;
// The longest message a slot takes; a longer one fails or is dropped like a full queue.
constexpr std::uint32_t PLATFORM_MAILSLOT_MAX_MESSAGE = 65536;

// How long a send waits for room in a full queue while the server takes nothing, in ms:
// long enough for a server that a loaded machine leaves without the processor for a
// while (a burst under valgrind), short enough that a sender to a stopped one goes on.
constexpr std::uint32_t PLATFORM_MAILSLOT_SEND_WAIT = 1000;

// The sender of a received message, as the system vouches for it (not as it claims).
struct sMailSlotSender
{
    bool m_bKnown;               // false where the system does not tell (Windows mailslots)
    std::uint32_t m_ulProcessId; // the sending process, in the receiver's view
    std::uint32_t m_ulUserId;
};

// The longest NAME a slot takes on every system: what a local socket address holds
// beside its prefix, so that a name works alike everywhere.
constexpr std::size_t PLATFORM_MAILSLOT_MAX_NAME = 95;

// Splits "\\H\mailslot\NAME" ("mailslot" in any case) into the host mark H, '.' or '*',
// and NAME, which points into szName. False for any other form or host (remote machines
// and domains are not served), and for a NAME that is empty or too long.
bool PLATFORM_ParseMailSlotName(char const * szName, char & cHost, char const *& szBase);
// Server side: the handle, or PLATFORM_INVALID_MAILSLOT when the name is malformed,
// not a "\\.\" name, or already served.
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
// Server handles only: the sender of the message that the last successful read took.
// False, with m_bKnown false, when there is none or the system does not tell.
bool PLATFORM_GetMailSlotSender(void * hSlot, sMailSlotSender & Sender);
// Of a client: the messages it could not deliver (nobody heard them, or the queue stayed
// full). Of a server: the messages its senders could not deliver to it while it was
// there and told it so afterwards. 0 for an invalid handle.
std::uint32_t PLATFORM_GetMailSlotLost(void * hSlot);
// Another handle on the same open slot, to be closed on its own; the slot is freed with
// the last one. PLATFORM_INVALID_MAILSLOT when hSlot is not open.
void * PLATFORM_ShareMailSlot(void * hSlot);
bool PLATFORM_CloseMailSlot(void * hSlot);
