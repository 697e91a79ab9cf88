// PollChanges once a frame with nothing changed, for 1 and 64 watched files, against
// what looking at the files' times would cost: one stat per watched file.
#include <benchmark/benchmark.h>

#include <fstream>
#include <memory>
#include <string>
#include <vector>

#include <sys/stat.h>

#include "benchfiles.h"
#include "common/file/extendedfilesystem.h"

namespace
{
class CWatchedFiles
{
public:
    CWatchedFiles()
    {
        for (int nFile = 0; nFile < 64; ++nFile)
            std::ofstream("config" + std::to_string(nFile) + ".cfg") << nFile;
    }

private:
    CBenchDir m_Dir;
};

CWatchedFiles const & Files()
{
    static CWatchedFiles const s_Files;
    return s_Files;
}
} // namespace

static void BM_PollChangesNothingChanged(benchmark::State & State)
{
    Files();
    auto pXfs = std::make_unique<CExtendedFileSystem>();
    for (int nFile = 0; nFile < State.range(0); ++nFile)
        if (!pXfs->Watch(("config" + std::to_string(nFile) + ".cfg").c_str()))
            State.SkipWithError("cannot watch");
    std::vector<CZRString> vChanged;
    for (auto _ : State)
        benchmark::DoNotOptimize(pXfs->PollChanges(vChanged));
}
BENCHMARK(BM_PollChangesNothingChanged)->Arg(1)->Arg(64);

static void BM_StatEachWatchedFile(benchmark::State & State)
{
    Files();
    std::vector<std::string> vNames;
    for (int nFile = 0; nFile < State.range(0); ++nFile)
        vNames.push_back("config" + std::to_string(nFile) + ".cfg");
    struct stat Status;
    for (auto _ : State)
        for (std::string const & sName : vNames)
            benchmark::DoNotOptimize(::stat(sName.c_str(), &Status));
}
BENCHMARK(BM_StatEachWatchedFile)->Arg(1)->Arg(64);

BENCHMARK_MAIN();
