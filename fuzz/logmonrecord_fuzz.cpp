// logmon's side of a record: arbitrary bytes arrive as one mailslot message and go
// through what logmon does with it, decoding the nine fields and printing the .log line,
// the sender tag and the JSON object. A length past the 400 bytes must raise 5002; the
// JSON must stay one line of printable ASCII whatever bytes the texts hold.
#include <cstdint>
#include <cstdlib>
#include <string>

#include <unistd.h>

#include "common/exception/zrexception.h"
#include "common/mailslot/zrmailslot.h"
#include "logrecordtext.h"

namespace
{
std::string const s_sName = "\\\\.\\mailslot\\fuzz\\logmon\\" + std::to_string(::getpid());

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

    if (s_Server.GetMessageSize() != CZRMailSlot::MESSAGE_SIZE)
        std::abort();
    s_Server.BeginRead();
    sWireRecord Record;
    try
    {
        DecodeRecord(s_Server, Record);
    }
    catch (CMailSlotException const & Error)
    {
        if (Error.GetErrorCode() != 5002)
            std::abort();
        return 0;
    }
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
