#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <functional>
#include <string>
#include <vector>

#include <unistd.h>

#include "common/exception/zrexception.h"
#include "common/mailslot/zrmailslot.h"

namespace
{
// A slot name of this test process alone, so that parallel tests never meet.
std::string SlotName(char cHost, std::string const & sTag)
{
    return std::string("\\\\") + cHost + "\\mailslot\\zrtest\\" + std::to_string(::getpid()) +
           "\\" + sTag;
}

// "code text" of the CMailSlotException that fnAction raises, or "" when none.
std::string ErrorOf(std::function<void()> const & fnAction)
{
    try
    {
        fnAction();
    }
    catch (CMailSlotException const & Error)
    {
        EXPECT_EQ(Error.GetErrorClass(), ERRORCLASS_MAILSLOT);
        // The failure site is named by the slot's own source path and a line there.
        EXPECT_STREQ(Error.GetFileName(), "common/mailslot/zrmailslot");
        EXPECT_GT(Error.GetLine(), 0u);
        return std::to_string(Error.GetErrorCode()) + " " + Error.GetErrorString();
    }
    return "";
}

std::string const s_sOpenError = "5000 Mailslot could not be opened.";
std::string const s_sNotOpenedError = "5001 There is no mailslot opened.";
std::string const s_sReadError = "5002 Could not read data to mailslot.";
std::string const s_sWriteError = "5003 Could not write data to mailslot.";

// Receives the next message on Server and returns its 400 bytes.
std::vector<unsigned char> Receive(CZRMailSlot & Server)
{
    EXPECT_TRUE(Server.AreMessagesWaiting());
    Server.BeginRead();
    std::vector<unsigned char> vBlock(CZRMailSlot::MESSAGE_SIZE);
    Server.Read(vBlock.data(), CZRMailSlot::MESSAGE_SIZE);
    Server.EndRead();
    return vBlock;
}

std::int32_t LengthAt(std::vector<unsigned char> const & vBlock, std::size_t nOffset)
{
    std::int32_t lLength;
    std::memcpy(&lLength, vBlock.data() + nOffset, 4);
    return lLength;
}
} // namespace

TEST(ZRMailSlot, ClosedObjectRefusesBlocksAndQueriesGiveNothing)
{
    CZRMailSlot Slot;
    EXPECT_FALSE(Slot.IsOpened());
    EXPECT_EQ(Slot.GetTotalBytesRead(), 0u);
    EXPECT_EQ(Slot.GetTotalBytesWritten(), 0u);
    EXPECT_EQ(Slot.GetMessageSize(), 0u);
    EXPECT_EQ(Slot.GetMaxMessageSize(), 0u);
    EXPECT_FALSE(Slot.AreMessagesWaiting());
    EXPECT_FALSE(Slot.Close());
    EXPECT_EQ(ErrorOf([&] { Slot.BeginWrite(); }), s_sNotOpenedError);
    EXPECT_EQ(ErrorOf([&] { Slot.BeginRead(); }), s_sNotOpenedError);
}

TEST(ZRMailSlot, OpenFailsWithoutServerOnMalformedNamesAndForASecondServer)
{
    std::string const sName = SlotName('.', "open");
    CZRMailSlot Client;
    EXPECT_EQ(ErrorOf([&] { Client.Open(sName.c_str(), false); }), s_sOpenError);
    EXPECT_FALSE(Client.IsOpened());
    EXPECT_EQ(ErrorOf([&] { Client.BeginWrite(); }), s_sNotOpenedError);

    CZRMailSlot Bad;
    for (char const * szName : {"debug", "\\\\.\\pipe\\debug", "\\\\.\\mailslot\\",
                                "\\\\far\\mailslot\\debug", "//./mailslot/debug"})
        EXPECT_EQ(ErrorOf([&] { Bad.Open(szName, false); }), s_sOpenError) << szName;
    EXPECT_EQ(ErrorOf([&] { Bad.Open(nullptr, true); }), s_sOpenError);
    // A server is created under the local name only, never the broadcast one.
    EXPECT_EQ(ErrorOf([&] { Bad.Open(SlotName('*', "open").c_str(), true); }), s_sOpenError);

    CZRMailSlot Server;
    EXPECT_TRUE(Server.Open(sName.c_str(), true));
    CZRMailSlot Second;
    EXPECT_EQ(ErrorOf([&] { Second.Open(sName.c_str(), true); }), s_sOpenError);
    EXPECT_FALSE(Second.IsOpened());

    EXPECT_TRUE(Client.Open(sName.c_str(), false));
    EXPECT_TRUE(Client.IsOpened());
}

TEST(ZRMailSlot, BlockTakesExactlyFourHundredBytes)
{
    std::string const sName = SlotName('.', "limits");
    CZRMailSlot Server;
    Server.Open(sName.c_str(), true);
    CZRMailSlot Client;
    Client.Open(sName.c_str(), false);

    std::vector<unsigned char> vBytes(401);
    for (std::size_t i = 0; i < vBytes.size(); ++i)
        vBytes[i] = static_cast<unsigned char>(i % 251 + 1);

    Client.BeginWrite();
    EXPECT_TRUE(Client.Write(vBytes.data(), 399));
    // Two more do not fit: the block and the cursor stay, so one more byte still does.
    EXPECT_EQ(ErrorOf([&] { Client.Write(vBytes.data() + 399, 2); }), s_sWriteError);
    EXPECT_TRUE(Client.Write(vBytes.data() + 399, 1));
    EXPECT_EQ(ErrorOf([&] { Client.Write(vBytes.data() + 400, 1); }), s_sWriteError);
    EXPECT_EQ(ErrorOf([&] { Client.Write(vBytes.data(), 0xFFFFFFFF); }), s_sWriteError);
    Client.EndWrite();
    EXPECT_EQ(Client.GetTotalBytesWritten(), 400u);

    EXPECT_EQ(Server.GetMessageSize(), 400u);
    EXPECT_EQ(Receive(Server), std::vector<unsigned char>(vBytes.begin(), vBytes.begin() + 400));
    EXPECT_EQ(Server.GetTotalBytesRead(), 400u);

    // An empty bracket sends 400 zero bytes.
    Client.BeginWrite();
    Client.EndWrite();
    EXPECT_EQ(Client.GetTotalBytesWritten(), 800u);
    EXPECT_EQ(Receive(Server), std::vector<unsigned char>(400, 0));

    // Reading follows the same limits, and a failed read leaves the cursor.
    Client.BeginWrite();
    Client.Write(vBytes.data(), 400);
    Client.EndWrite();
    Server.BeginRead();
    unsigned char aBuffer[400];
    EXPECT_TRUE(Server.Read(aBuffer, 398));
    EXPECT_EQ(ErrorOf([&] { Server.Read(aBuffer, 3); }), s_sReadError);
    EXPECT_TRUE(Server.Read(aBuffer, 2));
    EXPECT_EQ(aBuffer[1], vBytes[399]);
    EXPECT_EQ(ErrorOf([&] { Server.Read(aBuffer, 1); }), s_sReadError);
}

TEST(ZRMailSlot, CountedStringsFillTheBlockAndComeBack)
{
    std::string const sName = SlotName('.', "strings");
    CZRMailSlot Server;
    Server.Open(sName.c_str(), true);
    CZRMailSlot Client;
    Client.Open(sName.c_str(), false);

    // An empty string takes its 4 length bytes; then 392 bytes of text fit exactly.
    Client.BeginWrite();
    EXPECT_TRUE(Client.Write(CZRString("")));
    EXPECT_TRUE(Client.Write(CZRString('a', 392)));
    EXPECT_EQ(ErrorOf([&] { Client.Write(CZRString()); }), s_sWriteError);
    Client.EndWrite();
    std::vector<unsigned char> vBlock = Receive(Server);
    EXPECT_EQ(LengthAt(vBlock, 0), 0);
    EXPECT_EQ(LengthAt(vBlock, 4), 392);
    EXPECT_EQ(vBlock[8], 'a');
    EXPECT_EQ(vBlock[399], 'a');

    // 396 bytes of text fill an empty block; of 397 only the length goes in.
    Client.BeginWrite();
    EXPECT_TRUE(Client.Write(CZRString('b', 396)));
    Client.BeginWrite();
    EXPECT_EQ(ErrorOf([&] { Client.Write(CZRString('c', 397)); }), s_sWriteError);
    Client.EndWrite();
    vBlock = Receive(Server);
    EXPECT_EQ(LengthAt(vBlock, 0), 397);
    EXPECT_EQ(std::vector<unsigned char>(vBlock.begin() + 4, vBlock.end()),
              std::vector<unsigned char>(396, 0));

    // A round trip of strings and raw values in order.
    Client.BeginWrite();
    std::uint32_t const ulNumber = 0xA1B2C3D4;
    Client.Write(CZRString("first"));
    Client.Write(&ulNumber, 4);
    Client.Write(CZRString("a|b\r\n"));
    Client.EndWrite();
    Server.BeginRead();
    CZRString sFirst;
    CZRString sSecond("before");
    std::uint32_t ulRead = 0;
    EXPECT_TRUE(Server.Read(sFirst));
    EXPECT_TRUE(Server.Read(&ulRead, 4));
    EXPECT_TRUE(Server.Read(sSecond));
    EXPECT_STREQ(sFirst.GetString(), "first");
    EXPECT_EQ(ulRead, ulNumber);
    EXPECT_STREQ(sSecond.GetString(), "a|b\r\n");
    // The zero bytes behind read as empty strings that leave the target alone.
    CZRString sKept("kept");
    EXPECT_TRUE(Server.Read(sKept));
    EXPECT_STREQ(sKept.GetString(), "kept");
    Server.EndRead();
}

TEST(ZRMailSlot, LengthsFromTheWireThatRunPastTheBlockRaise5002)
{
    std::string const sName = SlotName('.', "badlength");
    CZRMailSlot Server;
    Server.Open(sName.c_str(), true);
    CZRMailSlot Client;
    Client.Open(sName.c_str(), false);

    for (std::int32_t const lLength : {397, 0x7FFFFFFF})
    {
        Client.BeginWrite();
        Client.Write(&lLength, 4);
        Client.EndWrite();
        Server.BeginRead();
        CZRString sText("old");
        EXPECT_EQ(ErrorOf([&] { Server.Read(sText); }), s_sReadError) << lLength;
        EXPECT_STREQ(sText.GetString(), "old");
    }
    // 396 is the longest text after one length.
    std::int32_t const lFits = 396;
    Client.BeginWrite();
    Client.Write(&lFits, 4);
    Client.EndWrite();
    Server.BeginRead();
    CZRString sText;
    EXPECT_TRUE(Server.Read(sText));
    EXPECT_EQ(sText.GetLength(), 396);
}

TEST(ZRMailSlot, EachSideResetsOnlyItsOwnCounter)
{
    std::string const sName = SlotName('.', "counters");
    CZRMailSlot Slot;
    Slot.Open(sName.c_str(), true);
    CZRMailSlot Sender;
    Sender.Open(sName.c_str(), false);
    Sender.BeginWrite();
    Sender.EndWrite();
    Slot.BeginRead();
    EXPECT_EQ(Slot.GetTotalBytesRead(), 400u);
    EXPECT_TRUE(Slot.Close());
    EXPECT_FALSE(Slot.Close());
    EXPECT_EQ(Slot.GetTotalBytesRead(), 400u);

    Slot.Open(SlotName('*', "nobody").c_str(), false);
    Slot.BeginWrite();
    Slot.EndWrite();
    EXPECT_EQ(Slot.GetTotalBytesRead(), 400u);
    EXPECT_EQ(Slot.GetTotalBytesWritten(), 400u);
    Slot.Close();

    // The closed server freed its name, so it can be served again.
    Slot.Open(sName.c_str(), true);
    EXPECT_EQ(Slot.GetTotalBytesRead(), 0u);
    EXPECT_EQ(Slot.GetTotalBytesWritten(), 400u);
    Slot.Close();
    Slot.Open(SlotName('*', "nobody").c_str(), false);
    EXPECT_EQ(Slot.GetTotalBytesWritten(), 0u);
}

TEST(ZRMailSlot, QueriesWaitAndEmptyReadsOnTheServerSide)
{
    std::string const sName = SlotName('.', "queries");
    CZRMailSlot Server;
    Server.Open(sName.c_str(), true);
    CZRMailSlot Client;
    Client.Open(sName.c_str(), false);

    EXPECT_FALSE(Server.AreMessagesWaiting());
    EXPECT_FALSE(Server.WaitForMessage(0));
    EXPECT_EQ(Server.GetMessageSize(), 0xFFFFFFFFu);
    EXPECT_EQ(Server.GetMaxMessageSize(), 65536u);
    EXPECT_EQ(Client.GetMaxMessageSize(), 0u);
    EXPECT_EQ(Client.GetMessageSize(), 0u);

    // A read with nothing waiting gives a zero block and counts nothing.
    Server.BeginRead();
    EXPECT_EQ(Server.GetTotalBytesRead(), 0u);
    std::int32_t lFirst = -1;
    Server.Read(&lFirst, 4);
    EXPECT_EQ(lFirst, 0);

    Client.BeginWrite();
    Client.EndWrite();
    EXPECT_TRUE(Server.WaitForMessage(0));
    EXPECT_TRUE(Server.AreMessagesWaiting());
    EXPECT_FALSE(Client.AreMessagesWaiting());
    EXPECT_FALSE(Client.WaitForMessage(0));
    Server.BeginRead();
    EXPECT_FALSE(Server.AreMessagesWaiting());
}

TEST(ZRMailSlot, BroadcastAndLocalNamesMeetAtOneCaseBlindEndpoint)
{
    CZRMailSlot Nobody;
    EXPECT_TRUE(Nobody.Open(SlotName('*', "unheard").c_str(), false));
    Nobody.BeginWrite();
    Nobody.EndWrite();
    EXPECT_EQ(Nobody.GetTotalBytesWritten(), 400u);

    CZRMailSlot Server;
    Server.Open(SlotName('.', "shared").c_str(), true);
    std::string sUpper = SlotName('*', "SHARED");
    sUpper.replace(4, 8, "MailSlot");
    CZRMailSlot Broadcast;
    Broadcast.Open(sUpper.c_str(), false);
    Broadcast.BeginWrite();
    Broadcast.Write(CZRString("heard"));
    Broadcast.EndWrite();
    Server.BeginRead();
    CZRString sText;
    Server.Read(sText);
    EXPECT_STREQ(sText.GetString(), "heard");
}

TEST(ZRMailSlot, SendsNeverBlockOnAFullQueue)
{
    std::string const sName = SlotName('.', "full");
    CZRMailSlot Server;
    Server.Open(sName.c_str(), true);
    CZRMailSlot Direct;
    Direct.Open(sName.c_str(), false);
    CZRMailSlot Broadcast;
    Broadcast.Open(SlotName('*', "full").c_str(), false);

    // The system bounds the queue (net.unix.max_dgram_qlen messages, 10 by default).
    std::string sError;
    int nSent = 0;
    for (; nSent < 100000 && sError.empty(); ++nSent)
        sError = ErrorOf(
            [&]
            {
                Direct.BeginWrite();
                Direct.EndWrite();
            });
    EXPECT_EQ(sError, s_sWriteError);
    EXPECT_EQ(Direct.GetTotalBytesWritten(), 400u * static_cast<std::uint32_t>(nSent - 1));

    // The broadcast that the full queue cannot take is lost and counts as sent.
    Broadcast.BeginWrite();
    EXPECT_EQ(ErrorOf([&] { Broadcast.EndWrite(); }), "");
    EXPECT_EQ(Broadcast.GetTotalBytesWritten(), 400u);

    // Once the server has read, the direct client gets through again.
    Server.BeginRead();
    Direct.BeginWrite();
    EXPECT_EQ(ErrorOf([&] { Direct.EndWrite(); }), "");
}

TEST(ZRMailSlot, DirectClientFailsOnceItsServerIsGone)
{
    std::string const sName = SlotName('.', "gone");
    CZRMailSlot Client;
    {
        CZRMailSlot Server;
        Server.Open(sName.c_str(), true);
        Client.Open(sName.c_str(), false);
    }
    Client.BeginWrite();
    EXPECT_EQ(ErrorOf([&] { Client.EndWrite(); }), s_sWriteError);
    EXPECT_EQ(Client.GetTotalBytesWritten(), 0u);
}
