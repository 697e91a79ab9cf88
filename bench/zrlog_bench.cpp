// Records per second through each sink of _ZR_Log_Fn. The record alone (no sink) is
// the base that the sinks add to. The mailslot sink is measured with nobody serving
// the slot, with a server that never reads (its queue is full, so after one wait of
// a second every record is dropped at once), and with a server draining it on a second
// thread; the last reports how many records arrived.
#include <benchmark/benchmark.h>

#include <atomic>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <string>
#include <thread>

#include <fcntl.h>
#include <stdlib.h>
#include <unistd.h>

#include "common/exception/zrexception.h"
#include "common/log/zrlog.h"
#include "common/mailslot/zrmailslot.h"

namespace
{
char const s_szDebugSlot[] = "\\\\.\\mailslot\\debug";

void LogOne(std::uint32_t ulSinks, char const * szLogName)
{
    _ZR_Log_Fn("bench/zrlog_bench.cpp", szLogName, "frame", 42, 0, ulSinks, 5, "%s %d",
               "a typical message of the engine", 1234);
}

// Points stderr (the debugger channel) at /dev/null for the life of the object.
class CQuietStderr
{
public:
    CQuietStderr() : m_nSaved(::dup(STDERR_FILENO))
    {
        int const nNull = ::open("/dev/null", O_WRONLY);
        ::dup2(nNull, STDERR_FILENO);
        ::close(nNull);
    }
    ~CQuietStderr()
    {
        ::dup2(m_nSaved, STDERR_FILENO);
        ::close(m_nSaved);
    }

private:
    int m_nSaved;
};

void BM_Log_NoSink(benchmark::State & State)
{
    for (auto _ : State)
        LogOne(0, "bench");
    State.SetItemsProcessed(State.iterations());
}

void BM_Log_DebuggerSink(benchmark::State & State)
{
    CQuietStderr Quiet;
    for (auto _ : State)
        LogOne(LOG_DEBUGOUTPUT, "bench");
    State.SetItemsProcessed(State.iterations());
}

void BM_Log_FileSink(benchmark::State & State)
{
    std::string sTemplate =
        (std::filesystem::temp_directory_path() / "zrlog-bench-XXXXXX").string();
    if (::mkdtemp(sTemplate.data()) == nullptr)
    {
        State.SkipWithError("no temporary directory");
        return;
    }
    std::filesystem::path const Previous = std::filesystem::current_path();
    std::filesystem::current_path(sTemplate);
    for (auto _ : State)
        LogOne(LOG_FILE, "bench");
    State.SetItemsProcessed(State.iterations());
    std::filesystem::current_path(Previous);
    std::filesystem::remove_all(sTemplate);
}

// Serves the debug slot for the benchmark, so that no other listener gets the flood.
bool ServeDebugSlot(CZRMailSlot & Server, benchmark::State & State)
{
    try
    {
        Server.Open(s_szDebugSlot, true);
        return true;
    }
    catch (CZRException const &)
    {
        State.SkipWithError("another process serves \\\\.\\mailslot\\debug");
        return false;
    }
}

void BM_Log_MailSlotSink_Unheard(benchmark::State & State)
{
    // Taking the slot and giving it back proves that nobody else serves it.
    CZRMailSlot Server;
    if (!ServeDebugSlot(Server, State))
        return;
    Server.Close();
    for (auto _ : State)
        LogOne(LOG_MAILSLOT, "bench");
    State.SetItemsProcessed(State.iterations());
}

void BM_Log_MailSlotSink_FullQueue(benchmark::State & State)
{
    CZRMailSlot Server;
    if (!ServeDebugSlot(Server, State))
        return;
    for (auto _ : State)
        LogOne(LOG_MAILSLOT, "bench");
    State.SetItemsProcessed(State.iterations());
}

void BM_Log_MailSlotSink_Drained(benchmark::State & State)
{
    CZRMailSlot Server;
    if (!ServeDebugSlot(Server, State))
        return;
    std::atomic<bool> bStop(false);
    std::atomic<std::int64_t> llReceived(0);
    std::thread Reader(
        [&]
        {
            while (!bStop.load())
            {
                if (!Server.WaitForMessage(50))
                    continue;
                while (Server.AreMessagesWaiting())
                {
                    Server.BeginRead();
                    ++llReceived;
                }
            }
        });
    for (auto _ : State)
        LogOne(LOG_MAILSLOT, "bench");
    bStop.store(true);
    Reader.join();
    State.SetItemsProcessed(State.iterations());
    State.counters["received"] = benchmark::Counter(static_cast<double>(llReceived.load()) /
                                                    static_cast<double>(State.iterations()));
}
} // namespace

BENCHMARK(BM_Log_NoSink);
BENCHMARK(BM_Log_DebuggerSink);
BENCHMARK(BM_Log_FileSink);
BENCHMARK(BM_Log_MailSlotSink_Unheard);
BENCHMARK(BM_Log_MailSlotSink_FullQueue);
BENCHMARK(BM_Log_MailSlotSink_Drained);

BENCHMARK_MAIN();
