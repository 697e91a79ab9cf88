// logmon: serves a mailslot (by default "\\.\mailslot\debug", where the library's log
// function sends its mailslot records) and prints each record as it arrives, one line
// in the form of the .log file or one JSON object. It sleeps in the system while
// nothing arrives, reports malformed messages on stderr and goes on, and ends cleanly
// on Ctrl-C (SIGINT) or SIGTERM.
#include <csignal>
#include <cstdint>
#include <cstdio>
#include <string>
#include <vector>

#include <CLI/CLI.hpp>

#include "common/exception/zrexception.h"
#include "common/kernel/text.h"
#include "common/mailslot/zrmailslot.h"
#include "logrecordtext.h"

namespace
{
volatile std::sig_atomic_t s_bStop = 0;

// A signal interrupts the wait at once; the time-out only bounds the case of a signal
// that comes just before the wait begins.
constexpr std::uint32_t WAIT_MILLISECONDS = 250;

void OnStopSignal(int)
{
    s_bStop = 1;
}

struct sOptions
{
    std::string m_sSlotName = "\\\\.\\mailslot\\debug";
    bool m_bJson = false;
    std::vector<std::string> m_vLogNames;
    std::vector<long long> m_vLevels;
    std::vector<long long> m_vProcessIds;
};

bool MatchesNumber(std::vector<long long> const & vWanted, std::uint32_t ulValue)
{
    if (vWanted.empty())
        return true;
    for (long long const llWanted : vWanted)
    {
        if (static_cast<std::uint32_t>(llWanted) == ulValue)
            return true;
    }
    return false;
}

bool Matches(sOptions const & Options, sWireRecord const & Record)
{
    bool bLogName = Options.m_vLogNames.empty();
    for (std::string const & sName : Options.m_vLogNames)
    {
        if (STR_stricmp(sName.c_str(),
                        Record.m_sLogName.GetLength() > 0 ? Record.m_sLogName.GetString() : "") ==
            0)
            bLogName = true;
    }
    return bLogName && MatchesNumber(Options.m_vLevels, Record.m_ulLevel) &&
           MatchesNumber(Options.m_vProcessIds, Record.m_ulProcessId);
}

void Print(sOptions const & Options, sWireRecord const & Record)
{
    std::string const sLine =
        (Options.m_bJson ? FormatRecordJson(Record) : FormatRecordLine(Record)) + "\n";
    std::fwrite(sLine.data(), 1, sLine.size(), stdout);
    std::fflush(stdout);
}

// Takes one waiting message; prints it when it is a record that passes the filters.
void TakeMessage(sOptions const & Options, CZRMailSlot & Slot)
{
    std::uint32_t const ulSize = Slot.GetMessageSize();
    Slot.BeginRead();
    if (ulSize > CZRMailSlot::MESSAGE_SIZE)
    {
        std::fprintf(stderr, "logmon: a message of %u bytes is longer than a record, skipped\n",
                     static_cast<unsigned>(ulSize));
        return;
    }
    sWireRecord Record;
    try
    {
        DecodeRecord(Slot, Record);
    }
    catch (CMailSlotException const &)
    {
        std::fprintf(stderr,
                     "logmon: malformed record (a length runs past the %u bytes), "
                     "skipped\n",
                     static_cast<unsigned>(CZRMailSlot::MESSAGE_SIZE));
        return;
    }
    if (Matches(Options, Record))
        Print(Options, Record);
}

int Serve(sOptions const & Options)
{
    CZRMailSlot Slot;
    try
    {
        Slot.Open(Options.m_sSlotName.c_str(), true);
    }
    catch (CMailSlotException const & Error)
    {
        std::fprintf(stderr, "logmon: cannot serve %s: %s (a malformed name, or served already)\n",
                     Options.m_sSlotName.c_str(), Error.GetErrorString());
        return 1;
    }
    std::fprintf(stderr, "logmon: serving %s, Ctrl-C ends\n", Options.m_sSlotName.c_str());

    while (s_bStop == 0)
    {
        if (!Slot.WaitForMessage(WAIT_MILLISECONDS))
            continue;
        while (s_bStop == 0 && Slot.AreMessagesWaiting())
            TakeMessage(Options, Slot);
    }
    Slot.Close();
    return 0;
}
} // namespace

int main(int nArgs, char ** aszArgs)
{
    sOptions Options;
    CLI::App App{"Serves a mailslot and prints every log record that arrives on it, one per "
                 "line, as the .log file has it:\n"
                 "  computer | log name | process id | level | tick | context | source file "
                 "| line | message\n"
                 "Run it beside a program that logs with the mailslot sink (bit 4). Several "
                 "values of one filter mean any of them; different filters must all match. "
                 "Ctrl-C ends it.",
                 "logmon"};
    App.add_option("-s,--slot", Options.m_sSlotName, "The mailslot to serve")
        ->capture_default_str();
    App.add_flag("-j,--json", Options.m_bJson,
                 "One JSON object per line: computer, log, pid, level, tick (text), context, "
                 "file, line, message");
    App.add_option("-l,--log", Options.m_vLogNames, "Only records of this log name (case-blind)");
    App.add_option("--level", Options.m_vLevels, "Only records of this level");
    App.add_option("-p,--pid", Options.m_vProcessIds, "Only records of this process id");
    CLI11_PARSE(App, nArgs, aszArgs);

    std::signal(SIGINT, OnStopSignal);
    std::signal(SIGTERM, OnStopSignal);
    return Serve(Options);
}
