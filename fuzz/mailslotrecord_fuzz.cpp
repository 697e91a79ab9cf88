// Sends arbitrary bytes as one mailslot message and reads them back as a log record:
// nine fields, six of them counted strings whose lengths come from the input. Every
// length that runs past the 400 bytes must raise 5002; no read may leave the block.
#include <cstdint>
#include <cstdlib>
#include <string>

#include <unistd.h>

#include "common/exception/zrexception.h"
#include "common/mailslot/zrmailslot.h"

namespace
{
std::string const s_sName = "\\\\.\\mailslot\\fuzz\\" + std::to_string(::getpid());

void ReadText(CZRMailSlot & Slot, std::uint32_t & ulUsed)
{
    CZRString sText;
    Slot.Read(sText);
    if (sText.GetLength() > 396)
        std::abort();
    ulUsed += 4 + static_cast<std::uint32_t>(sText.GetLength());
}
} // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const * pData, std::size_t nSize)
{
    static CZRMailSlot s_Server;
    static CZRMailSlot s_Client;
    if (!s_Server.IsOpened())
    {
        s_Server.Open(s_sName.c_str(), true);
        s_Client.Open(s_sName.c_str(), false);
    }
    std::uint32_t const ulSize = nSize > 400 ? 400 : static_cast<std::uint32_t>(nSize);
    s_Client.BeginWrite();
    s_Client.Write(pData, ulSize);
    s_Client.EndWrite();

    s_Server.BeginRead();
    std::uint32_t ulUsed = 0;
    std::uint32_t ulNumber = 0;
    try
    {
        ReadText(s_Server, ulUsed);
        ReadText(s_Server, ulUsed);
        s_Server.Read(&ulNumber, 4);
        s_Server.Read(&ulNumber, 4);
        ReadText(s_Server, ulUsed);
        ReadText(s_Server, ulUsed);
        ReadText(s_Server, ulUsed);
        s_Server.Read(&ulNumber, 4);
        ReadText(s_Server, ulUsed);
        if (ulUsed + 12 > 400)
            std::abort();
    }
    catch (CMailSlotException const & Error)
    {
        if (Error.GetErrorCode() != 5002)
            std::abort();
    }
    return 0;
}
