#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <filesystem>
#include <string>
#include <vector>

#include <unistd.h>

#include "common/exception/zrexception.h"
#include "common/log/zrlog.h"
#include "common/mailslot/zrmailslot.h"
#include "tempdir.h"

using testing::internal::CaptureStderr;
using testing::internal::GetCapturedStderr;

namespace
{
std::string HostName()
{
    char szName[256] = {};
    ::gethostname(szName, sizeof(szName) - 1);
    return szName;
}

std::string Pid()
{
    return std::to_string(::getpid());
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

// A record decoded from the raw bytes of a message, independently of CZRMailSlot::Read.
struct sDecoded
{
    std::string m_sComputerName;
    std::string m_sLogName;
    std::uint32_t m_ulProcessId = 0;
    std::uint32_t m_ulLevel = 0;
    std::string m_sTickText;
    std::string m_sContext;
    std::string m_sSourceFile;
    std::uint32_t m_ulLine = 0;
    std::string m_sMessage;
    std::size_t m_nEnd = 0; // offset behind the last field
    bool m_bZeroTail = false;
};

std::uint32_t NumberAt(std::vector<unsigned char> const & vBlock, std::size_t & nPos)
{
    std::uint32_t ulValue = 0;
    if (nPos + 4 <= vBlock.size())
        std::memcpy(&ulValue, vBlock.data() + nPos, 4);
    nPos += 4;
    return ulValue;
}

std::string TextAt(std::vector<unsigned char> const & vBlock, std::size_t & nPos)
{
    std::int32_t const lLength = static_cast<std::int32_t>(NumberAt(vBlock, nPos));
    if (lLength < 1 || nPos + static_cast<std::size_t>(lLength) > vBlock.size())
        return "";
    std::string const sText(vBlock.begin() + static_cast<std::ptrdiff_t>(nPos),
                            vBlock.begin() + static_cast<std::ptrdiff_t>(nPos + lLength));
    nPos += static_cast<std::size_t>(lLength);
    return sText;
}

sDecoded Decode(std::vector<unsigned char> const & vBlock)
{
    sDecoded Record;
    std::size_t nPos = 0;
    Record.m_sComputerName = TextAt(vBlock, nPos);
    Record.m_sLogName = TextAt(vBlock, nPos);
    Record.m_ulProcessId = NumberAt(vBlock, nPos);
    Record.m_ulLevel = NumberAt(vBlock, nPos);
    Record.m_sTickText = TextAt(vBlock, nPos);
    Record.m_sContext = TextAt(vBlock, nPos);
    Record.m_sSourceFile = TextAt(vBlock, nPos);
    Record.m_ulLine = NumberAt(vBlock, nPos);
    Record.m_sMessage = TextAt(vBlock, nPos);
    Record.m_nEnd = nPos;
    Record.m_bZeroTail = true;
    for (std::size_t i = nPos; i < vBlock.size(); ++i)
        Record.m_bZeroTail = Record.m_bZeroTail && vBlock[i] == 0;
    return Record;
}

bool IsDecimal(std::string const & sText)
{
    std::size_t const nFirst = (!sText.empty() && sText[0] == '-') ? 1 : 0;
    return sText.size() > nFirst &&
           sText.find_first_not_of("0123456789", nFirst) == std::string::npos;
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
    bool ReceiveOwn(std::string const & sLogName, sDecoded & Record)
    {
        while (m_Server.AreMessagesWaiting())
        {
            m_Server.BeginRead();
            std::vector<unsigned char> vBlock(CZRMailSlot::MESSAGE_SIZE);
            m_Server.Read(vBlock.data(), CZRMailSlot::MESSAGE_SIZE);
            m_Server.EndRead();
            Record = Decode(vBlock);
            if (Record.m_ulProcessId == static_cast<std::uint32_t>(::getpid()) &&
                Record.m_sLogName == sLogName)
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

    sDecoded Record;
    ASSERT_TRUE(ReceiveOwn(sLog, Record));
    EXPECT_EQ(Record.m_sComputerName, HostName().substr(0, 255));
    EXPECT_EQ(Record.m_sLogName, sLog);
    EXPECT_EQ(Record.m_ulProcessId, static_cast<std::uint32_t>(::getpid()));
    EXPECT_EQ(Record.m_ulLevel, 5u);
    EXPECT_TRUE(IsDecimal(Record.m_sTickText)) << Record.m_sTickText;
    EXPECT_EQ(Record.m_sContext, "");
    EXPECT_EQ(Record.m_sSourceFile, "a.src");
    EXPECT_EQ(Record.m_ulLine, 12u);
    EXPECT_EQ(Record.m_sMessage, "ok");
    std::size_t const nTexts =
        Record.m_sComputerName.size() + sLog.size() + Record.m_sTickText.size() + 5 + 2;
    EXPECT_EQ(Record.m_nEnd, 36 + nTexts);
    EXPECT_TRUE(Record.m_bZeroTail);

    // Messages are cut to 255 and not formatted a second time; numbers are raw 32 bits.
    std::string const sLong(300, 'x');
    _ZR_Log_Fn(nullptr, sLog.c_str(), "ctx", 0xFFFFFFFF, 0, LOG_MAILSLOT, 0x80000000, "%s",
               sLong.c_str());
    _ZR_Log_Fn("b.src", sLog.c_str(), nullptr, 1, 0, LOG_MAILSLOT, 7, "%s", "100%d");
    ASSERT_TRUE(ReceiveOwn(sLog, Record));
    EXPECT_EQ(Record.m_sMessage, std::string(255, 'x'));
    EXPECT_EQ(Record.m_sSourceFile, "");
    EXPECT_EQ(Record.m_sContext, "ctx");
    EXPECT_EQ(Record.m_ulLine, 0xFFFFFFFFu);
    EXPECT_EQ(Record.m_ulLevel, 0x80000000u);
    ASSERT_TRUE(ReceiveOwn(sLog, Record));
    EXPECT_EQ(Record.m_sMessage, "100%d");
}

TEST_F(LogMailSlotSink, SixTextsHaveRoomFor364Bytes)
{
    std::string const sLog = "budget-" + Pid();
    _ZR_Log_Fn("", sLog.c_str(), "", 1, 0, LOG_MAILSLOT, 5, "%s", "");
    sDecoded Probe;
    ASSERT_TRUE(ReceiveOwn(sLog, Probe));
    // The computer name and the tick text are given; the source file fills up the rest.
    // (The tick text could gain a digit between two calls, once in many hours.)
    std::size_t const nGiven = Probe.m_sComputerName.size() + sLog.size() +
                               Probe.m_sTickText.size() + std::string("context").size() +
                               std::string(200, 'm').size();
    ASSERT_LT(nGiven, 364u);
    std::string const sFits(364 - nGiven, 's');
    std::string const sTooLong(365 - nGiven, 's');
    std::string const sMessage(200, 'm');

    EXPECT_TRUE(_ZR_Log_Fn(sFits.c_str(), sLog.c_str(), "context", 2, 0, LOG_MAILSLOT, 5, "%s",
                           sMessage.c_str()));
    sDecoded Record;
    ASSERT_TRUE(ReceiveOwn(sLog, Record));
    EXPECT_EQ(Record.m_nEnd, 400u);
    EXPECT_EQ(Record.m_sMessage, sMessage);

    // One byte more: the debugger channel has had the record, the wire nothing.
    std::string sError;
    CaptureStderr();
    try
    {
        _ZR_Log_Fn(sTooLong.c_str(), sLog.c_str(), "context", 3, 0, LOG_DEBUGOUTPUT | LOG_MAILSLOT,
                   5, "%s", sMessage.c_str());
    }
    catch (CMailSlotException const & Error)
    {
        sError = std::to_string(Error.GetErrorCode()) + " " + Error.GetErrorString();
    }
    EXPECT_EQ(GetCapturedStderr(), sMessage + "\n");
    EXPECT_EQ(sError, "5003 Could not write data to mailslot.");
    EXPECT_FALSE(ReceiveOwn(sLog, Record));

    // The next record starts a fresh block.
    _ZR_Log_Fn("a.src", sLog.c_str(), "", 4, 0, LOG_MAILSLOT, 5, "%s", "after");
    ASSERT_TRUE(ReceiveOwn(sLog, Record));
    EXPECT_EQ(Record.m_ulLine, 4u);
    EXPECT_EQ(Record.m_sMessage, "after");
    EXPECT_TRUE(Record.m_bZeroTail);
}

TEST_F(LogMailSlotSink, FailingFileSinkStaysInsideAndTheMailSlotSinkStillRuns)
{
    CWorkDir Work;
    std::string const sLog = "missing-dir/editor-" + Pid();
    CaptureStderr();
    EXPECT_TRUE(_ZR_Log_Fn("a.src", sLog.c_str(), "", 5, 0, LOG_FILE | LOG_MAILSLOT, 5, "%s",
                           "still sent"));
    EXPECT_EQ(GetCapturedStderr(), "Error while writing to log file. Hard disk full?\n");
    sDecoded Record;
    ASSERT_TRUE(ReceiveOwn(sLog, Record));
    EXPECT_EQ(Record.m_sMessage, "still sent");
    EXPECT_FALSE(std::filesystem::exists(Work.Dir() / "missing-dir"));
}

TEST(LogFileSink, LineIsAppendedByteForByte)
{
    CWorkDir Work;
    std::string const sPrefix = HostName() + " | editor | " + Pid() + " | 5 | ";
    EXPECT_TRUE(_ZR_Log_Fn("a.src", "editor", "", 12, 0, LOG_FILE, 5, "%s", "ok"));
    // Bars and line ends inside a text stand unchanged; numbers are signed 32 bits.
    _ZR_Log_Fn("dir\\b.src", "editor", "x | y", 0x80000000, 0, LOG_FILE, 0xFFFFFFFF, "%s",
               "two\r\nlines 100%d");

    std::string const sFile = Work.Dir().ReadFile("editor.log");
    std::string const sFirstEnd = " |  | a.src | 12 | ok\r\n";
    std::size_t const nFirstEnd = sFile.find(sFirstEnd);
    ASSERT_NE(nFirstEnd, std::string::npos) << sFile;
    ASSERT_EQ(sFile.compare(0, sPrefix.size(), sPrefix), 0) << sFile;
    EXPECT_TRUE(IsDecimal(sFile.substr(sPrefix.size(), nFirstEnd - sPrefix.size()))) << sFile;

    std::string const sSecond = sFile.substr(nFirstEnd + sFirstEnd.size());
    std::string const sSecondPrefix = HostName() + " | editor | " + Pid() + " | -1 | ";
    std::string const sSecondEnd = " | x | y | dir\\b.src | -2147483648 | two\r\nlines 100%d\r\n";
    ASSERT_EQ(sSecond.compare(0, sSecondPrefix.size(), sSecondPrefix), 0) << sSecond;
    ASSERT_GE(sSecond.size(), sSecondPrefix.size() + sSecondEnd.size());
    EXPECT_EQ(sSecond.substr(sSecond.size() - sSecondEnd.size()), sSecondEnd);
    EXPECT_TRUE(IsDecimal(sSecond.substr(
        sSecondPrefix.size(), sSecond.size() - sSecondPrefix.size() - sSecondEnd.size())));
}

TEST(LogFileSink, NoFileWithoutALogNameAndLongMessagesAreCut)
{
    CWorkDir Work;
    CaptureStderr();
    EXPECT_TRUE(_ZR_Log_Fn("a.src", "", "", 1, 0, LOG_FILE, 5, "%s", "none"));
    EXPECT_TRUE(_ZR_Log_Fn("a.src", nullptr, "", 1, 0, LOG_FILE, 5, "%s", "none"));
    EXPECT_EQ(GetCapturedStderr(), "");
    EXPECT_TRUE(std::filesystem::is_empty(Work.Dir().Path()));

    std::string const sLong(300, 'x');
    _ZR_Log_Fn("a.src", "cut", "", 1, 0, LOG_FILE, 5, "%s", sLong.c_str());
    std::string const sFile = Work.Dir().ReadFile("cut.log");
    std::string const sEnd = " | 1 | " + std::string(255, 'x') + "\r\n";
    ASSERT_GE(sFile.size(), sEnd.size());
    EXPECT_EQ(sFile.substr(sFile.size() - sEnd.size()), sEnd);
}

TEST_F(LogMailSlotSink, FileHasTheRecordBeforeTheMailSlotSinkRaises)
{
    CWorkDir Work;
    std::string const sTooLong(400, 's');
    EXPECT_THROW(
        _ZR_Log_Fn(sTooLong.c_str(), "editor", "", 1, 0, LOG_FILE | LOG_MAILSLOT, 5, "%s", "first"),
        CMailSlotException);
    std::string const sFile = Work.Dir().ReadFile("editor.log");
    std::string const sEnd = " | " + sTooLong + " | 1 | first\r\n";
    ASSERT_GE(sFile.size(), sEnd.size());
    EXPECT_EQ(sFile.substr(sFile.size() - sEnd.size()), sEnd);
}
