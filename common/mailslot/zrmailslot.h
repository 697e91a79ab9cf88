// CZRMailSlot: a one-way channel of 400-byte messages. An object is either the server
// of a slot, which creates it and reads, or a client, which opens it and writes. A
// block is filled through a cursor with raw bytes and counted strings (a signed 4-byte
// length, then the text) and sent whole; a received block is emptied the same way.
// Read and Write never return false: a value that does not fit raises 5002 or 5003 and
// leaves block and cursor as they were. No lock: one thread at a time, Begin to End.
// A copy shares the open slot of its original: each copy closes only its own share, and
// the slot goes with the last one, so that copies never free it twice.
#pragma once

#include <cstdint>

#include "common/kernel/api.h"
#include "common/string/zrstring.h"

class COMMON_API CZRMailSlot
{
public:
    // The size of every message that EndWrite sends.
    static constexpr std::uint32_t MESSAGE_SIZE = 400;

    CZRMailSlot();
    // Copies every member; an open handle is shared, not duplicated.
    CZRMailSlot(CZRMailSlot const & Other);
    // Gives up this object's own share of an open slot first.
    CZRMailSlot & operator=(CZRMailSlot const & Other);
    virtual ~CZRMailSlot();

    // Creates the slot (server) or opens an existing one (client); raises 5000. A slot
    // that is open must be closed first. Resets the byte counter of its own side.
    bool Open(char const * szName, bool bServer);
    // False when nothing was open. The byte counters stay.
    bool Close();
    // True between a successful Open and Close.
    bool IsOpened() const;

    // Receives one message into the block; a failed receive leaves 400 zero bytes.
    // Raises 5001 when no slot is open.
    void BeginRead();
    // Takes ulSize bytes from the block; raises 5002 past the 400th byte.
    bool Read(void * pData, std::uint32_t ulSize);
    // A stored length below 1 leaves sString as it was.
    bool Read(CZRString & sString);
    // Closes the reading bracket; does nothing else.
    void EndRead();
    // Starts an empty block of 400 zero bytes; raises 5001 when no slot is open.
    void BeginWrite();
    // Puts ulSize bytes into the block; raises 5003 past the 400th byte.
    bool Write(void const * pData, std::uint32_t ulSize);
    // Puts the 4-byte length, then the text; a text that does not fit raises 5003 with
    // the length already in the block.
    bool Write(CZRString const & sString);
    // Sends all 400 bytes of the block, however many were filled; raises 5003 when the
    // send fails.
    void EndWrite();

    // False for a client, without asking the platform.
    bool AreMessagesWaiting() const;
    // Of the next message: 0xFFFFFFFF when none waits, as the original platform reports
    // it; 0 when the query fails (a client, a closed slot).
    std::uint32_t GetMessageSize() const;
    // 65536 for a server here; 0 when the query fails.
    std::uint32_t GetMaxMessageSize() const;
    // Bytes received since the server's Open.
    std::uint32_t GetTotalBytesRead() const;
    // Bytes sent since the client's Open.
    std::uint32_t GetTotalBytesWritten() const;
    // Server only: waits up to ulTimeout milliseconds for a message, without spinning.
    // True when one waits; false for a client, on time-out, or when a signal arrives.
    bool WaitForMessage(std::uint32_t ulTimeout) const;
    // Server only: the process and user that sent the message the last BeginRead took,
    // as the system vouches for them, not as the message claims. False where the
    // system does not tell (no message yet, a client, Windows mailslots).
    bool GetSender(std::uint32_t & ulProcessId, std::uint32_t & ulUserId) const;
    // Of a client: messages that could not be delivered (no server heard them, or its
    // queue stayed full). Of a server: messages that its clients could not deliver
    // while it was there, as they told it afterwards. Counted from the slot's opening.
    std::uint32_t GetMessagesLost() const;

private:
    [[noreturn]] void ThrowException(std::uint32_t ulCode, std::uint32_t ulLine,
                                     char const * szFile, char const * szText) const;

    void * m_hMailSlot;                  // 0 before the first Open; invalid after a failed one
    bool m_bServer;                      // the flag given to Open
    std::uint32_t m_ulTotalBytesWritten; // as the platform reports them
    std::uint32_t m_ulTotalBytesRead;
    char m_achBuffer[MESSAGE_SIZE]; // the current block
    std::uint32_t m_ulBufferPos;    // next byte of the block to read or write
};
