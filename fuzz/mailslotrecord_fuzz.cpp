// Sends arbitrary bytes as one mailslot message and reads them back as a log record:
// nine fields, six of them counted strings whose lengths come from the input. Every
// length that runs past the 400 bytes must raise 5002; no read may leave the block.
#include <cstdint>
#include <cstdlib>

#include "mailslotmessage.h"

namespace
{
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
    CZRMailSlot & Server = ReceiveAsMessage(pData, nSize, "record");
    std::uint32_t ulUsed = 0;
    std::uint32_t ulNumber = 0;
    ReadsWithinTheBlock(
        [&]
        {
            ReadText(Server, ulUsed);
            ReadText(Server, ulUsed);
            Server.Read(&ulNumber, 4);
            Server.Read(&ulNumber, 4);
            ReadText(Server, ulUsed);
            ReadText(Server, ulUsed);
            ReadText(Server, ulUsed);
            Server.Read(&ulNumber, 4);
            ReadText(Server, ulUsed);
            if (ulUsed + 12 > CZRMailSlot::MESSAGE_SIZE)
                std::abort();
        });
    return 0;
}
