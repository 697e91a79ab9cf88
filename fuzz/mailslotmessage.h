// What the mailslot record targets share: arbitrary bytes sent as one message through a
// slot of this process and received by its server, and the one exception a read of the
// received block may raise.
#pragma once

#include <cstdint>
#include <cstdlib>
#include <functional>
#include <string>

#include <unistd.h>

#include "common/exception/zrexception.h"
#include "common/mailslot/zrmailslot.h"

// The server of the slot szSlot (made at the first call), holding the first 400 bytes of
// pData as the block that BeginRead took; a message of any other size aborts.
inline CZRMailSlot & ReceiveAsMessage(std::uint8_t const * pData, std::size_t nSize,
                                      char const * szSlot)
{
    static CZRMailSlot s_Server;
    static CZRMailSlot s_Client;
    if (!s_Server.IsOpened())
    {
        std::string const sName =
            std::string("\\\\.\\mailslot\\fuzz\\") + szSlot + "\\" + std::to_string(::getpid());
        s_Server.Open(sName.c_str(), true);
        s_Client.Open(sName.c_str(), false);
    }
    std::uint32_t const ulSize = nSize > CZRMailSlot::MESSAGE_SIZE
                                     ? CZRMailSlot::MESSAGE_SIZE
                                     : static_cast<std::uint32_t>(nSize);
    s_Client.BeginWrite();
    s_Client.Write(pData, ulSize);
    s_Client.EndWrite();
    if (s_Server.GetMessageSize() != CZRMailSlot::MESSAGE_SIZE)
        std::abort();
    s_Server.BeginRead();
    return s_Server;
}

// Runs Read over a received block: true when it read to its end, false when a length
// ran past the block and raised 5002. Any other exception aborts.
inline bool ReadsWithinTheBlock(std::function<void()> const & Read)
{
    try
    {
        Read();
        return true;
    }
    catch (CMailSlotException const & Error)
    {
        if (Error.GetErrorCode() != 5002)
            std::abort();
        return false;
    }
}
