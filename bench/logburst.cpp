// A burst of log records through the mailslot sink: PROCESSES processes log RECORDS
// records each, all at once, and the time until the last has sent its last is printed
// with the rate. Run it beside a logmon (bench/log_burst.sh does) to see what arrives.
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <vector>

#include <sys/wait.h>
#include <unistd.h>

#include "common/log/zrlog.h"

namespace
{
// Logs the records; the exit code says whether the sink raised anything. exit, not
// _exit, so that the library's mailslot closes and tells of losses not told yet.
[[noreturn]] void LogRecords(int nRecords, char const * szLogName, int nGo)
{
    char cGo;
    if (::read(nGo, &cGo, 1) != 1)
        ::_exit(2);
    try
    {
        for (int i = 0; i < nRecords; ++i)
            _ZR_Log_Fn("bench/logburst.cpp", szLogName, "burst", 1, 0, LOG_MAILSLOT, 5, "%d", i);
    }
    catch (...)
    {
        std::exit(1);
    }
    std::exit(0);
}
} // namespace

int main(int nArgs, char ** aszArgs)
{
    if (nArgs != 4)
    {
        std::fprintf(stderr, "usage: logburst PROCESSES RECORDS LOGNAME\n");
        return 2;
    }
    int const nProcesses = std::atoi(aszArgs[1]);
    int const nRecords = std::atoi(aszArgs[2]);
    int anGo[2];
    if (nProcesses < 1 || nRecords < 1 || ::pipe(anGo) != 0)
        return 2;
    std::vector<pid_t> vChildren;
    for (int i = 0; i < nProcesses; ++i)
    {
        pid_t const nPid = ::fork();
        if (nPid == 0)
        {
            ::close(anGo[1]);
            LogRecords(nRecords, aszArgs[3], anGo[0]);
        }
        vChildren.push_back(nPid);
    }
    ::close(anGo[0]);
    auto const Start = std::chrono::steady_clock::now();
    // Closing the pipe lets all of them go at once: each read then ends.
    std::vector<char> vGo(static_cast<std::size_t>(nProcesses), 'g');
    if (::write(anGo[1], vGo.data(), vGo.size()) != static_cast<ssize_t>(vGo.size()))
        return 1;
    ::close(anGo[1]);
    int nFailed = 0;
    for (pid_t const nPid : vChildren)
    {
        int nStatus = 0;
        ::waitpid(nPid, &nStatus, 0);
        if (!WIFEXITED(nStatus) || WEXITSTATUS(nStatus) != 0)
            ++nFailed;
    }
    double const dSeconds =
        std::chrono::duration<double>(std::chrono::steady_clock::now() - Start).count();
    long long const llSent = static_cast<long long>(nProcesses) * nRecords;
    std::printf("sent %lld records in %.3f s: %.0f records/s, %d processes failed\n", llSent,
                dSeconds, static_cast<double>(llSent) / dSeconds, nFailed);
    return nFailed == 0 ? 0 : 1;
}
