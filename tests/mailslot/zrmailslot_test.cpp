#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <functional>
#include <string>

#include "testos.h"

#include "common/exception/zrexception.h"
#include "common/mailslot/zrmailslot.h"

namespace
{
// A slot name of this test process alone, so that parallel tests never meet.
std::string SlotName(char cHost, std::string const & sTag)
{
    return std::string("\\\\") + cHost + "\\mailslot\\zrtest\\" + std::to_string(TEST_ProcessId()) +
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
std::string Receive(CZRMailSlot & Server)
{
    EXPECT_TRUE(Server.AreMessagesWaiting());
    Server.BeginRead();
    std::string sBlock(CZRMailSlot::MESSAGE_SIZE, '\0');
    Server.Read(&sBlock[0], CZRMailSlot::MESSAGE_SIZE);
    Server.EndRead();
    return sBlock;
}

// The 4 bytes of a length on the wire.
std::string Length(std::int32_t lLength)
{
    return std::string(reinterpret_cast<char const *>(&lLength), 4);
}

// sStart, then zero bytes up to a whole block.
std::string Block(std::string const & sStart)
{
    return sStart + std::string(CZRMailSlot::MESSAGE_SIZE - sStart.size(), '\0');
}

// A server and a client of one slot.
class ZRMailSlotPair : public testing::Test
{
protected:
    void SetUp() override
    {
        m_Server.Open(SlotName('.', "pair").c_str(), true);
        m_Client.Open(SlotName('.', "pair").c_str(), false);
    }

    CZRMailSlot m_Server;
    CZRMailSlot m_Client;
};
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

TEST_F(ZRMailSlotPair, BlockTakesExactlyFourHundredBytes)
{
    std::string sBytes(401, '\0');
    for (std::size_t i = 0; i < sBytes.size(); ++i)
        sBytes[i] = static_cast<char>(i % 251 + 1);

    m_Client.BeginWrite();
    EXPECT_TRUE(m_Client.Write(sBytes.data(), 399));
    // Two more do not fit: the block and the cursor stay, so one more byte still does.
    EXPECT_EQ(ErrorOf([&] { m_Client.Write(sBytes.data() + 399, 2); }), s_sWriteError);
    EXPECT_TRUE(m_Client.Write(sBytes.data() + 399, 1));
    EXPECT_EQ(ErrorOf([&] { m_Client.Write(sBytes.data() + 400, 1); }), s_sWriteError);
    EXPECT_EQ(ErrorOf([&] { m_Client.Write(sBytes.data(), 0xFFFFFFFF); }), s_sWriteError);
    m_Client.EndWrite();
    EXPECT_EQ(m_Server.GetMessageSize(), 400u);
    EXPECT_EQ(Receive(m_Server), sBytes.substr(0, 400));

    // An empty bracket sends 400 zero bytes.
    m_Client.BeginWrite();
    m_Client.EndWrite();
    EXPECT_EQ(Receive(m_Server), Block(""));
    EXPECT_EQ(m_Client.GetTotalBytesWritten(), 800u);
    EXPECT_EQ(m_Server.GetTotalBytesRead(), 800u);

    // Reading follows the same limits, and a failed read leaves the cursor.
    m_Client.BeginWrite();
    m_Client.Write(sBytes.data(), 400);
    m_Client.EndWrite();
    m_Server.BeginRead();
    char achBuffer[400];
    EXPECT_TRUE(m_Server.Read(achBuffer, 398));
    EXPECT_EQ(ErrorOf([&] { m_Server.Read(achBuffer, 3); }), s_sReadError);
    EXPECT_TRUE(m_Server.Read(achBuffer, 2));
    EXPECT_EQ(achBuffer[1], sBytes[399]);
    EXPECT_EQ(ErrorOf([&] { m_Server.Read(achBuffer, 1); }), s_sReadError);
}

TEST_F(ZRMailSlotPair, CountedStringsFillTheBlockAndComeBack)
{
    // An empty string takes its 4 length bytes; then 392 bytes of text fit exactly.
    m_Client.BeginWrite();
    EXPECT_TRUE(m_Client.Write(CZRString("")));
    EXPECT_TRUE(m_Client.Write(CZRString('a', 392)));
    EXPECT_EQ(ErrorOf([&] { m_Client.Write(CZRString()); }), s_sWriteError);
    m_Client.EndWrite();
    EXPECT_EQ(Receive(m_Server), Length(0) + Length(392) + std::string(392, 'a'));

    // 396 bytes of text fill an empty block; of 397 only the length goes in.
    m_Client.BeginWrite();
    EXPECT_TRUE(m_Client.Write(CZRString('b', 396)));
    m_Client.BeginWrite();
    EXPECT_EQ(ErrorOf([&] { m_Client.Write(CZRString('c', 397)); }), s_sWriteError);
    m_Client.EndWrite();
    EXPECT_EQ(Receive(m_Server), Block(Length(397)));

    // Strings and raw values come back in order; the zero bytes behind read as empty
    // strings that leave the target alone.
    m_Client.BeginWrite();
    std::uint32_t const ulNumber = 0xA1B2C3D4;
    m_Client.Write(CZRString("first"));
    m_Client.Write(&ulNumber, 4);
    m_Client.Write(CZRString("a|b\r\n"));
    m_Client.EndWrite();
    m_Server.BeginRead();
    CZRString sFirst;
    CZRString sSecond("before");
    CZRString sKept("kept");
    std::uint32_t ulRead = 0;
    EXPECT_TRUE(m_Server.Read(sFirst));
    EXPECT_TRUE(m_Server.Read(&ulRead, 4));
    EXPECT_TRUE(m_Server.Read(sSecond));
    EXPECT_TRUE(m_Server.Read(sKept));
    EXPECT_STREQ(sFirst.GetString(), "first");
    EXPECT_EQ(ulRead, ulNumber);
    EXPECT_STREQ(sSecond.GetString(), "a|b\r\n");
    EXPECT_STREQ(sKept.GetString(), "kept");
}

TEST_F(ZRMailSlotPair, LengthsFromTheWireThatRunPastTheBlockRaise5002)
{
    // 396 is the longest text after one length.
    for (std::int32_t const lLength : {397, 0x7FFFFFFF, 396})
    {
        m_Client.BeginWrite();
        m_Client.Write(&lLength, 4);
        m_Client.EndWrite();
        m_Server.BeginRead();
        CZRString sText("old");
        EXPECT_EQ(ErrorOf([&] { m_Server.Read(sText); }), lLength == 396 ? "" : s_sReadError);
        EXPECT_EQ(sText.GetLength(), lLength == 396 ? 396 : 3) << lLength;
    }
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
    EXPECT_TRUE(Slot.Close());
    EXPECT_FALSE(Slot.Close());
    EXPECT_EQ(Slot.GetTotalBytesRead(), 400u);

    Slot.Open(SlotName('*', "nobody").c_str(), false);
    Slot.BeginWrite();
    Slot.EndWrite();
    EXPECT_EQ(Slot.GetTotalBytesRead(), 400u);
    EXPECT_EQ(Slot.GetTotalBytesWritten(), 400u);
    Slot.Close();

    // With the server and its client closed, the name is free to be served again (wine
    // keeps it while a client still holds the slot).
    Sender.Close();
    Slot.Open(sName.c_str(), true);
    EXPECT_EQ(Slot.GetTotalBytesRead(), 0u);
    EXPECT_EQ(Slot.GetTotalBytesWritten(), 400u);
    Slot.Close();
    Slot.Open(SlotName('*', "nobody").c_str(), false);
    EXPECT_EQ(Slot.GetTotalBytesWritten(), 0u);
}

TEST_F(ZRMailSlotPair, QueriesWaitAndEmptyReadsOnTheServerSide)
{
    EXPECT_FALSE(m_Server.AreMessagesWaiting());
    EXPECT_FALSE(m_Server.WaitForMessage(0));
    EXPECT_EQ(m_Server.GetMessageSize(), 0xFFFFFFFFu);
    EXPECT_EQ(m_Server.GetMaxMessageSize(), 65536u);
    EXPECT_EQ(m_Client.GetMaxMessageSize(), 0u);
    EXPECT_EQ(m_Client.GetMessageSize(), 0u);

    // A read with nothing waiting gives a zero block and counts nothing.
    m_Server.BeginRead();
    EXPECT_EQ(m_Server.GetTotalBytesRead(), 0u);
    std::int32_t lFirst = -1;
    m_Server.Read(&lFirst, 4);
    EXPECT_EQ(lFirst, 0);

    m_Client.BeginWrite();
    m_Client.EndWrite();
    EXPECT_TRUE(m_Server.WaitForMessage(0));
    EXPECT_TRUE(m_Server.AreMessagesWaiting());
    EXPECT_FALSE(m_Client.AreMessagesWaiting());
    EXPECT_FALSE(m_Client.WaitForMessage(0));
    m_Server.BeginRead();
    EXPECT_FALSE(m_Server.AreMessagesWaiting());
}

TEST_F(ZRMailSlotPair, BroadcastAndLocalNamesMeetAtOneCaseBlindEndpoint)
{
    CZRMailSlot Nobody;
    EXPECT_TRUE(Nobody.Open(SlotName('*', "unheard").c_str(), false));
    Nobody.BeginWrite();
    Nobody.EndWrite();
    EXPECT_EQ(Nobody.GetTotalBytesWritten(), 400u);

    std::string sUpper = SlotName('*', "PAIR");
    sUpper.replace(4, 8, "MailSlot");
    CZRMailSlot Broadcast;
    Broadcast.Open(sUpper.c_str(), false);
    Broadcast.BeginWrite();
    Broadcast.Write(CZRString("heard"));
    Broadcast.EndWrite();
    m_Server.BeginRead();
    CZRString sText;
    m_Server.Read(sText);
    EXPECT_STREQ(sText.GetString(), "heard");
}

// Fills the server's queue (net.unix.max_dgram_qlen messages, often 10) until a send
// has waited in vain for room; the number of messages that went in.
int FillQueue(CZRMailSlot & Client)
{
    int nSent = 0;
    for (; nSent < 100000; ++nSent)
    {
        std::uint32_t const ulLost = Client.GetMessagesLost();
        Client.BeginWrite();
        if (!ErrorOf([&] { Client.EndWrite(); }).empty() || Client.GetMessagesLost() != ulLost)
            break;
    }
    return nSent;
}

TEST_F(ZRMailSlotPair, AFullQueueIsWaitedForOnceThenCountedAndReported)
{
    if (!TEST_MailSlotQueueIsBounded())
        GTEST_SKIP() << "a Windows mailslot's queue has no bound: a send never finds it full";
    // The direct client's send that finds no room for the whole wait fails, and so do
    // the next ones at once while nobody reads.
    int const nQueued = FillQueue(m_Client);
    EXPECT_GT(nQueued, 0);
    EXPECT_EQ(m_Client.GetTotalBytesWritten(), 400u * static_cast<std::uint32_t>(nQueued));
    m_Client.BeginWrite();
    EXPECT_EQ(ErrorOf([&] { m_Client.EndWrite(); }), s_sWriteError);
    EXPECT_EQ(m_Client.GetMessagesLost(), 2u);

    // A broadcast nobody can take is lost, counts as sent, and is counted as lost.
    CZRMailSlot Broadcast;
    Broadcast.Open(SlotName('*', "pair").c_str(), false);
    for (int i = 0; i < 3; ++i)
    {
        Broadcast.BeginWrite();
        EXPECT_EQ(ErrorOf([&] { Broadcast.EndWrite(); }), "");
    }
    EXPECT_EQ(Broadcast.GetTotalBytesWritten(), 1200u);
    EXPECT_EQ(Broadcast.GetMessagesLost(), 3u);

    // Once the server reads, both get through and tell it what they lost; the notices
    // are not messages of their own.
    for (int i = 0; i < nQueued; ++i)
        m_Server.BeginRead();
    m_Client.BeginWrite();
    m_Client.Write(CZRString("direct"));
    EXPECT_EQ(ErrorOf([&] { m_Client.EndWrite(); }), "");
    EXPECT_EQ(Receive(m_Server), Block(Length(6) + "direct"));
    Broadcast.BeginWrite();
    Broadcast.Write(CZRString("broadcast"));
    Broadcast.EndWrite();
    EXPECT_EQ(Receive(m_Server), Block(Length(9) + "broadcast"));
    EXPECT_FALSE(m_Server.AreMessagesWaiting());
    EXPECT_EQ(m_Server.GetMessagesLost(), 5u);
    EXPECT_EQ(m_Server.GetTotalBytesRead(), 400u * static_cast<std::uint32_t>(nQueued + 2));
}

TEST_F(ZRMailSlotPair, TheServerLearnsTheRealSenderOfEachMessage)
{
    if (!TEST_MailSlotTellsSender())
        GTEST_SKIP() << "a Windows mailslot does not tell its server who sent a message";
    std::uint32_t ulPid = 0;
    std::uint32_t ulUid = 0;
    EXPECT_FALSE(m_Server.GetSender(ulPid, ulUid));
    m_Client.BeginWrite();
    std::uint32_t const ulClaimed = 77;
    m_Client.Write(&ulClaimed, 4);
    m_Client.EndWrite();
    m_Server.BeginRead();
    ASSERT_TRUE(m_Server.GetSender(ulPid, ulUid));
    EXPECT_EQ(ulPid, TEST_ProcessId());
    EXPECT_EQ(ulUid, TEST_UserId());
    EXPECT_FALSE(m_Client.GetSender(ulPid, ulUid));
}

TEST(ZRMailSlot, CopiesShareTheSlotAndEachClosesOnlyItsOwnShare)
{
    std::string const sName = SlotName('.', "copies");
    CZRMailSlot Server;
    Server.Open(sName.c_str(), true);
    auto Send = [](CZRMailSlot & Client, char const * szText)
    {
        Client.BeginWrite();
        Client.Write(CZRString(szText));
        Client.EndWrite();
    };
    {
        CZRMailSlot Client;
        Client.Open(sName.c_str(), false);
        Send(Client, "one");
        CZRMailSlot Copy(Client);
        EXPECT_TRUE(Copy.IsOpened());
        EXPECT_EQ(Copy.GetTotalBytesWritten(), 400u);
        EXPECT_TRUE(Client.Close());
        Send(Copy, "two");
        CZRMailSlot Assigned;
        Assigned.Open(SlotName('*', "elsewhere").c_str(), false);
        Assigned = Copy;
        Assigned = Assigned;
        Send(Assigned, "three");
        Copy = CZRMailSlot();
        EXPECT_FALSE(Copy.IsOpened());
        // The last of the three closes the slot when it goes out of scope.
    }
    for (char const * szText : {"one", "two", "three"})
        EXPECT_EQ(Receive(Server),
                  Block(Length(static_cast<std::int32_t>(std::strlen(szText))) + szText));
    CZRMailSlot ServerCopy = Server;
    Server.Close();
    EXPECT_FALSE(ServerCopy.AreMessagesWaiting());
    EXPECT_TRUE(ServerCopy.Close());
    EXPECT_FALSE(ServerCopy.Close());
}

TEST(ZRMailSlot, ABroadcastOutlivesItsServerAndFindsTheNextOne)
{
    if (TEST_UnderWine())
        GTEST_SKIP() << "wine keeps a slot alive while a client holds it after its server "
                        "closed: writes still succeed and the name stays taken";
    std::string const sName = SlotName('.', "restart");
    CZRMailSlot Broadcast;
    Broadcast.Open(SlotName('*', "restart").c_str(), false);
    auto Send = [&](std::int32_t lValue)
    {
        Broadcast.BeginWrite();
        Broadcast.Write(&lValue, 4);
        EXPECT_EQ(ErrorOf([&] { Broadcast.EndWrite(); }), "");
    };
    {
        CZRMailSlot Server;
        Server.Open(sName.c_str(), true);
        Send(1);
        EXPECT_EQ(Receive(Server), Block(Length(1)));
        Send(2);
    }
    // Gone mid-stream: the sends cost nothing, are counted, and the next server hears on.
    Send(3);
    Send(4);
    EXPECT_EQ(Broadcast.GetMessagesLost(), 2u);
    CZRMailSlot Server;
    Server.Open(sName.c_str(), true);
    Send(5);
    EXPECT_EQ(Receive(Server), Block(Length(5)));
    EXPECT_FALSE(Server.AreMessagesWaiting());
    // What a server never heard is not a loss it is told of.
    EXPECT_EQ(Server.GetMessagesLost(), 0u);
}

TEST(ZRMailSlot, DirectClientFailsOnceItsServerIsGone)
{
    if (TEST_UnderWine())
        GTEST_SKIP() << "wine keeps a slot alive while a client holds it after its server "
                        "closed: writes still succeed and the name stays taken";
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
