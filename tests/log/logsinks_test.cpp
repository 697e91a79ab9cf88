#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <filesystem>
#include <string>
#include <vector>

#include "testos.h"

#include "common/exception/zrexception.h"
#include "common/log/zrlog.h"
#include "common/mailslot/zrmailslot.h"
#include "logtext.h"
#include "tempdir.h"

using testing::internal::CaptureStderr;
using testing::internal::GetCapturedStderr;

namespace
{
std::string Pid()
{
    return std::to_string(TEST_ProcessId());
}

// Runs a test inside a fresh temporary directory, so that log files land there.
class CWorkDir
{
public:
    CWorkDir() : m_Previous(std::filesystem::current_path())
    {
        std::filesystem::current_path(m_Dir.Path());
    }
    ~CWorkDir() { std::filesystem::current_path(m_Previous); }
    CTempDir const & Dir() const { return m_Dir; }

private:
    CTempDir m_Dir;
    std::filesystem::path m_Previous;
};

// The fields of a record in their order on the wire.
constexpr int COMPUTER = 0, LOG = 1, PID = 2, TICK = 4, LINE = 7, MESSAGE = 8;

// A record decoded from the raw bytes of a message, independently of CZRMailSlot::Read:
// texts as they stand, numbers as unsigned decimal text.
struct sRecord
{
    std::vector<std::string> vFields;
    std::size_t nEnd = 0; // offset behind the last field
    bool bZeroTail = false;
};

sRecord Decode(std::vector<unsigned char> const & vBlock)
{
    sRecord Record;
    std::size_t nPos = 0;
    for (char const cKind : std::string("TTNNTTTNT"))
    {
        std::uint32_t ulValue = 0;
        if (nPos + 4 <= vBlock.size())
            std::memcpy(&ulValue, vBlock.data() + nPos, 4);
        nPos += 4;
        if (cKind == 'N')
            Record.vFields.push_back(std::to_string(ulValue));
        else if (nPos + ulValue <= vBlock.size())
        {
            Record.vFields.emplace_back(vBlock.begin() + nPos, vBlock.begin() + nPos + ulValue);
            nPos += ulValue;
        }
        else
            Record.vFields.push_back("<length past the block>");
    }
    Record.nEnd = nPos;
    Record.bZeroTail = std::all_of(vBlock.begin() + std::min(nPos, vBlock.size()), vBlock.end(),
                                   [](unsigned char c) { return c == 0; });
    return Record;
}

// Serves "\\.\mailslot\debug", the slot that the log function's broadcasts reach, for
// the length of one test. Records of other processes may arrive as well, so a test
// looks for its own by process id and log name.
class LogMailSlotSink : public testing::Test
{
protected:
    void SetUp() override
    {
        try
        {
            m_Server.Open("\\\\.\\mailslot\\debug", true);
        }
        catch (CMailSlotException const &)
        {
            GTEST_SKIP() << "another process serves \\\\.\\mailslot\\debug";
        }
    }

    // The next waiting record of this process under sLogName, decoded.
    bool ReceiveOwn(std::string const & sLogName, sRecord & Record)
    {
        while (m_Server.AreMessagesWaiting())
        {
            m_Server.BeginRead();
            std::vector<unsigned char> vBlock(CZRMailSlot::MESSAGE_SIZE);
            m_Server.Read(vBlock.data(), CZRMailSlot::MESSAGE_SIZE);
            m_Server.EndRead();
            Record = Decode(vBlock);
            if (Record.vFields[PID] == Pid() && Record.vFields[LOG] == sLogName)
                return true;
        }
        return false;
    }

    CZRMailSlot m_Server;
};
} // namespace

TEST_F(LogMailSlotSink, RecordTravelsFromTheLogFunctionToAServer)
{
    std::string const sLog = "wire-" + Pid();
    EXPECT_TRUE(_ZR_Log_Fn("a.src", sLog.c_str(), "", 12, 0, LOG_MAILSLOT, 5, "%s", "ok"));
    // Messages are cut to 255 and not formatted a second time; numbers are raw 32 bits.
    _ZR_Log_Fn(nullptr, sLog.c_str(), "ctx", 0xFFFFFFFF, 0, LOG_MAILSLOT, 0x80000000, "%s",
               std::string(300, 'x').c_str());
    _ZR_Log_Fn("b.src", sLog.c_str(), nullptr, 1, 0, LOG_MAILSLOT, 7, "%s", "100%d");

    std::string const sHost = HostName().substr(0, 255);
    std::vector<std::string> const avExpected[] = {
        {sHost, sLog, Pid(), "5", "tick", "", "a.src", "12", "ok"},
        {sHost, sLog, Pid(), "2147483648", "tick", "ctx", "", "4294967295", std::string(255, 'x')},
        {sHost, sLog, Pid(), "7", "tick", "", "b.src", "1", "100%d"}};
    for (std::vector<std::string> vExpected : avExpected)
    {
        sRecord Record;
        ASSERT_TRUE(ReceiveOwn(sLog, Record));
        EXPECT_TRUE(MatchesWithTicks(Record.vFields[TICK], {"", ""})) << Record.vFields[TICK];
        vExpected[TICK] = Record.vFields[TICK];
        EXPECT_EQ(Record.vFields, vExpected);
        EXPECT_TRUE(Record.bZeroTail);
    }
}

TEST_F(LogMailSlotSink, SixTextsHaveRoomFor364Bytes)
{
    std::string const sLog = "budget-" + Pid();
    _ZR_Log_Fn("", sLog.c_str(), "", 1, 0, LOG_MAILSLOT, 5, "%s", "");
    sRecord Record;
    ASSERT_TRUE(ReceiveOwn(sLog, Record));
    // The source file fills up what the other texts leave. (The tick text could gain a
    // digit between two calls, once in many hours.)
    std::string const sMessage(200, 'm');
    std::size_t const nGiven = Record.vFields[COMPUTER].size() + sLog.size() +
                               Record.vFields[TICK].size() + 7 + sMessage.size();
    ASSERT_LT(nGiven, 364u);
    std::string const sFits(364 - nGiven, 's');
    EXPECT_TRUE(_ZR_Log_Fn(sFits.c_str(), sLog.c_str(), "context", 2, 0, LOG_MAILSLOT, 5, "%s",
                           sMessage.c_str()));
    ASSERT_TRUE(ReceiveOwn(sLog, Record));
    EXPECT_EQ(Record.nEnd, 400u);
    EXPECT_EQ(Record.vFields[MESSAGE], sMessage);

    // One byte more: the debugger channel and the file have had the record, the wire
    // nothing.
    CWorkDir Work;
    std::string const sTooLong(365 - nGiven, 's');
    std::string sError;
    CaptureStderr();
    try
    {
        _ZR_Log_Fn(sTooLong.c_str(), sLog.c_str(), "context", 3, 0,
                   LOG_DEBUGOUTPUT | LOG_FILE | LOG_MAILSLOT, 5, "%s", sMessage.c_str());
    }
    catch (CMailSlotException const & Error)
    {
        sError = std::to_string(Error.GetErrorCode()) + " " + Error.GetErrorString();
    }
    EXPECT_EQ(GetCapturedStderr(), sMessage + "\n");
    EXPECT_EQ(sError, "5003 Could not write data to mailslot.");
    EXPECT_FALSE(ReceiveOwn(sLog, Record));
    std::string const sFile = Work.Dir().ReadFile(sLog + ".log");
    EXPECT_TRUE(
        MatchesWithTicks(sFile, {HostName() + " | " + sLog + " | " + Pid() + " | 5 | ",
                                 " | context | " + sTooLong + " | 3 | " + sMessage + "\r\n"}))
        << sFile;

    // The next record starts a fresh block.
    _ZR_Log_Fn("a.src", sLog.c_str(), "", 4, 0, LOG_MAILSLOT, 5, "%s", "after");
    ASSERT_TRUE(ReceiveOwn(sLog, Record));
    EXPECT_EQ(Record.vFields[LINE], "4");
    EXPECT_EQ(Record.vFields[MESSAGE], "after");
    EXPECT_TRUE(Record.bZeroTail);
}

TEST_F(LogMailSlotSink, FailingFileSinkStaysInsideAndTheMailSlotSinkStillRuns)
{
    CWorkDir Work;
    std::string const sLog = "missing-dir/editor-" + Pid();
    CaptureStderr();
    EXPECT_TRUE(_ZR_Log_Fn("a.src", sLog.c_str(), "", 5, 0, LOG_FILE | LOG_MAILSLOT, 5, "%s",
                           "still sent"));
    EXPECT_EQ(GetCapturedStderr(), "Error while writing to log file. Hard disk full?\n");
    sRecord Record;
    ASSERT_TRUE(ReceiveOwn(sLog, Record));
    EXPECT_EQ(Record.vFields[MESSAGE], "still sent");
    EXPECT_FALSE(std::filesystem::exists(Work.Dir() / "missing-dir"));
}

TEST(LogFileSink, LinesAreAppendedByteForByteUnderALogNameOnly)
{
    CWorkDir Work;
    CaptureStderr();
    EXPECT_TRUE(_ZR_Log_Fn("a.src", "", "", 1, 0, LOG_FILE, 5, "%s", "none"));
    EXPECT_TRUE(_ZR_Log_Fn("a.src", nullptr, "", 1, 0, LOG_FILE, 5, "%s", "none"));
    EXPECT_EQ(GetCapturedStderr(), "");
    EXPECT_TRUE(std::filesystem::is_empty(Work.Dir().Path()));

    EXPECT_TRUE(_ZR_Log_Fn("a.src", "editor", "", 12, 0, LOG_FILE, 5, "%s", "ok"));
    // Bars and line ends inside a text stand unchanged; numbers are signed 32 bits;
    // messages are cut to 255.
    _ZR_Log_Fn("dir\\b.src", "editor", "x | y", 0x80000000, 0, LOG_FILE, 0xFFFFFFFF, "%s",
               "two\r\nlines 100%d");
    _ZR_Log_Fn("a.src", "editor", "", 1, 0, LOG_FILE, 5, "%s", std::string(300, 'x').c_str());

    std::string const sPrefix = HostName() + " | editor | " + Pid() + " | ";
    std::string const sFile = Work.Dir().ReadFile("editor.log");
    EXPECT_TRUE(MatchesWithTicks(
        sFile, {sPrefix + "5 | ", " |  | a.src | 12 | ok\r\n" + sPrefix + "-1 | ",
                " | x | y | dir\\b.src | -2147483648 | two\r\nlines 100%d\r\n" + sPrefix + "5 | ",
                " |  | a.src | 1 | " + std::string(255, 'x') + "\r\n"}))
        << sFile;
}
