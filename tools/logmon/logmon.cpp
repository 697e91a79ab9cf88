// logmon: serves a mailslot (by default "\\.\mailslot\debug", where the library's log
// function sends its mailslot records) and prints each record as it arrives, one line
// in the form of the .log file or one JSON object. It sleeps in the system while
// nothing arrives, reports malformed messages on stderr and goes on, and ends cleanly
// on Ctrl-C (SIGINT) or SIGTERM. Each record shows the process and user that really sent
// it, as the system tells, and a record that claims another process id is marked. At
// its end it tells how many records it took, showed, and knows it missed: senders that
// had to drop records while it was there say so in a loss notice, which outlives them.
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
#include "syslogforwarder.h"

namespace
{
volatile std::sig_atomic_t s_bStop = 0;

// A signal interrupts the wait at once; the time-out only bounds the case of a signal
// that comes just before the wait begins.
constexpr std::uint32_t WAIT_MILLISECONDS = 250;

constexpr int DRAIN_AT_END = 1000;
// The next-message size when none waits.
constexpr std::uint32_t NO_MESSAGE = 0xFFFFFFFF;

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
    std::vector<long long> m_vUserIds;
    std::string m_sSyslogAddress;           // empty: no forwarding
    CSyslogForwarder * m_pSyslog = nullptr; // set when m_sSyslogAddress is given
};

struct sCounts
{
    std::uint64_t m_ullReceived = 0;
    std::uint64_t m_ullShown = 0;
    std::uint32_t m_ulLost = 0;
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
    // A record whose sender the system does not name cannot prove its user.
    bool const bUser =
        Options.m_vUserIds.empty() ||
        (Record.m_bSenderKnown && MatchesNumber(Options.m_vUserIds, Record.m_ulSenderUserId));
    return bLogName && bUser && MatchesNumber(Options.m_vLevels, Record.m_ulLevel) &&
           MatchesNumber(Options.m_vProcessIds, Record.m_ulProcessId);
}

void Print(sOptions const & Options, sWireRecord const & Record)
{
    std::string const sLine =
        (Options.m_bJson ? FormatRecordJson(Record)
                         : FormatSenderTag(Record) + FormatRecordLine(Record)) +
        "\n";
    std::fwrite(sLine.data(), 1, sLine.size(), stdout);
}

// Takes one waiting message of ulSize bytes; prints it when it is a record that passes
// the filters.
void TakeMessage(sOptions const & Options, CZRMailSlot & Slot, std::uint32_t ulSize,
                 sCounts & Counts)
{
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
    ++Counts.m_ullReceived;
    if (Matches(Options, Record))
    {
        Print(Options, Record);
        ++Counts.m_ullShown;
        if (Options.m_pSyslog != nullptr)
            Options.m_pSyslog->Forward(Record);
    }
}

// Tells on stderr when senders have reported records that they could not deliver.
void ReportNewLosses(CZRMailSlot const & Slot, sCounts & Counts)
{
    std::uint32_t const ulLost = Slot.GetMessagesLost();
    if (ulLost == Counts.m_ulLost)
        return;
    std::fprintf(stderr,
                 "logmon: senders report %u records lost (their queue stayed full), %u in all\n",
                 static_cast<unsigned>(ulLost - Counts.m_ulLost), static_cast<unsigned>(ulLost));
    Counts.m_ulLost = ulLost;
}

void ReportEnd(sOptions const & Options, sCounts const & Counts)
{
    std::fprintf(stderr, "logmon: %llu records received, %llu shown, %u known lost\n",
                 static_cast<unsigned long long>(Counts.m_ullReceived),
                 static_cast<unsigned long long>(Counts.m_ullShown),
                 static_cast<unsigned>(Counts.m_ulLost));
    if (!Options.m_bJson)
    {
        std::fflush(stdout);
        return;
    }
    std::printf("{\"received\":%llu,\"shown\":%llu,\"lost\":%u",
                static_cast<unsigned long long>(Counts.m_ullReceived),
                static_cast<unsigned long long>(Counts.m_ullShown),
                static_cast<unsigned>(Counts.m_ulLost));
    if (Options.m_pSyslog != nullptr)
        std::printf(",\"forwarded\":%llu,\"not_forwarded\":%llu",
                    static_cast<unsigned long long>(Options.m_pSyslog->GetForwarded()),
                    static_cast<unsigned long long>(Options.m_pSyslog->GetFailed()));
    std::printf("}\n");
    std::fflush(stdout);
}

// Takes what waits, up to nMost messages (all when negative), and flushes the output
// once the queue is empty, so that a burst costs one write per buffer, not per record.
void TakeWaiting(sOptions const & Options, CZRMailSlot & Slot, sCounts & Counts, int nMost)
{
    std::uint32_t ulSize = 0;
    for (; nMost != 0 && (s_bStop == 0 || nMost > 0); --nMost)
    {
        ulSize = Slot.GetMessageSize();
        if (ulSize == NO_MESSAGE)
            break;
        TakeMessage(Options, Slot, ulSize, Counts);
    }
    std::fflush(stdout);
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
    if (Options.m_pSyslog != nullptr)
        Options.m_pSyslog->Start();

    sCounts Counts;
    while (s_bStop == 0)
    {
        std::uint32_t const ulWait = Options.m_pSyslog != nullptr
                                         ? Options.m_pSyslog->GetWait(WAIT_MILLISECONDS)
                                         : WAIT_MILLISECONDS;
        if (Slot.WaitForMessage(ulWait))
            TakeWaiting(Options, Slot, Counts, -1);
        ReportNewLosses(Slot, Counts);
        if (Options.m_pSyslog != nullptr)
            Options.m_pSyslog->Pump();
    }
    // What waits already was sent while this monitor served: take it before ending, but
    // no more than a queue holds, so that busy senders cannot keep the monitor alive.
    TakeWaiting(Options, Slot, Counts, DRAIN_AT_END);
    ReportNewLosses(Slot, Counts);
    Slot.Close();
    if (Options.m_pSyslog != nullptr)
        Options.m_pSyslog->Finish();
    ReportEnd(Options, Counts);
    return 0;
}
} // namespace

int main(int nArgs, char ** aszArgs)
{
    sOptions Options;
    CLI::App App{"Serves a mailslot and prints every log record that arrives on it, one per "
                 "line, as the .log file has it:\n"
                 "  [pid P uid U] computer | log name | process id | level | tick | context "
                 "| source file | line | message\n"
                 "where P and U are the process and user that really sent it, as the system "
                 "says (\"CLAIMS\" marks a record that names another process id). When it "
                 "ends it tells how many records it received, showed and knows were lost.\n"
                 "Run it beside a program that logs with the mailslot sink (bit 4). Several "
                 "values of one filter mean any of them; different filters must all match. "
                 "Ctrl-C ends it.",
                 "logmon"};
    // Options look alike on every system.
    App.allow_windows_style_options(false);
    App.add_option("-s,--slot", Options.m_sSlotName, "The mailslot to serve")
        ->capture_default_str();
    App.add_flag("-j,--json", Options.m_bJson,
                 "One JSON object per line: computer, log, pid, level, tick (text), context, "
                 "file, line, message, sender_pid, sender_uid, pid_differs; at the end one "
                 "object of received, shown and lost (and forwarded, not_forwarded with "
                 "--syslog)");
    App.add_option("-l,--log", Options.m_vLogNames, "Only records of this log name (case-blind)");
    App.add_option("--level", Options.m_vLevels, "Only records of this level");
    App.add_option("-p,--pid", Options.m_vProcessIds, "Only records that claim this process id");
    App.add_option("-u,--uid", Options.m_vUserIds,
                   "Only records that the system says this user sent (Linux)");
    CLI::Option * pSyslogOption =
        App.add_option("--syslog", Options.m_sSyslogAddress,
                       "Also forward every record shown to a syslog server as RFC 5424: "
                       "/dev/log when no ADDRESS is given, another local socket path, "
                       "udp://HOST:PORT or tcp://HOST:PORT")
            ->expected(0, 1)
            ->type_name("[ADDRESS]");
    CLI11_PARSE(App, nArgs, aszArgs);
    if (pSyslogOption->count() > 0 && Options.m_sSyslogAddress.empty())
        Options.m_sSyslogAddress = "/dev/log";
    CSyslogForwarder Syslog;
    if (!Options.m_sSyslogAddress.empty())
    {
        std::string sError;
        if (!Syslog.Prepare(Options.m_sSyslogAddress, sError))
        {
            std::fprintf(stderr, "logmon: --syslog %s: %s\n", Options.m_sSyslogAddress.c_str(),
                         sError.c_str());
            return 2;
        }
        Options.m_pSyslog = &Syslog;
    }

    std::signal(SIGINT, OnStopSignal);
    std::signal(SIGTERM, OnStopSignal);
    return Serve(Options);
}
