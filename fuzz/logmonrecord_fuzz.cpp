// logmon's side of a record: arbitrary bytes arrive as one mailslot message and go
// through what logmon does with it, decoding the nine fields and printing the .log line,
// the sender tag and the JSON object. A length past the 400 bytes must raise 5002; the
// JSON must stay one line of printable ASCII whatever bytes the texts hold.
#include <cstdint>
#include <cstdlib>
#include <string>

#include <unistd.h>

#include "logrecordtext.h"
#include "mailslotmessage.h"

namespace
{
void CheckJson(std::string const & sJson)
{
    if (sJson.size() < 2 || sJson.front() != '{' || sJson.back() != '}')
        std::abort();
    for (char const c : sJson)
    {
        unsigned char const uc = static_cast<unsigned char>(c);
        if (uc < 0x20 || uc >= 0x7F)
            std::abort();
    }
}
} // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const * pData, std::size_t nSize)
{
    CZRMailSlot & Server = ReceiveAsMessage(pData, nSize, "logmon");
    sWireRecord Record;
    if (!ReadsWithinTheBlock([&] { DecodeRecord(Server, Record); }))
        return 0;
    // The sender is this process, whatever the record claims.
    if (!Record.m_bSenderKnown ||
        Record.m_ulSenderProcessId != static_cast<std::uint32_t>(::getpid()))
        std::abort();
    std::string const sLine = FormatSenderTag(Record) + FormatRecordLine(Record);
    if (sLine.size() < 8 * 3 ||
        (ClaimsOtherProcess(Record) && sLine.find(" CLAIMS ") == std::string::npos))
        std::abort();
    CheckJson(FormatRecordJson(Record));
    return 0;
}
