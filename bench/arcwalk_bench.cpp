// The cost of the walk that arc create takes before it packs (the library's survey of
// the tree, the listing of what packing leaves out, the checks of every rule) against
// the pack itself, on one tree of 100,000 files of 1 KB in 250 directories: the walk's
// time, the pack's time, and the walk's share of the pack, measured in the same run, in
// wall time and in the process's CPU time (user and system), which other work on the
// machine disturbs far less. With ARCWALK_TREE naming a directory, the same on a copy
// of that tree instead (a real one, such as /usr/lib/gcc).
#include <benchmark/benchmark.h>

#include <chrono>
#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <memory>
#include <string>

#include "benchfiles.h"
#include "common/file/extendedfilesystem.h"
#include "sourcecheck.h"

namespace fs = std::filesystem;

namespace
{
constexpr int DIRECTORIES = 250;
constexpr int FILES = 100000;

void MakeTree(fs::path const & Root)
{
    std::string const sData(1024, 'x');
    for (int nDirectory = 0; nDirectory < DIRECTORIES; ++nDirectory)
        fs::create_directories(Root / ("d" + std::to_string(nDirectory)));
    for (int nFile = 0; nFile < FILES; ++nFile)
    {
        fs::path const File = Root / ("d" + std::to_string(nFile % DIRECTORIES)) /
                              ("file" + std::to_string(nFile) + ".dat");
        std::ofstream(File, std::ios::binary).write(sData.data(), sData.size());
    }
}

double SecondsOf(std::chrono::steady_clock::time_point Start)
{
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - Start).count();
}

double CpuSecondsOf(std::clock_t Start)
{
    return static_cast<double>(std::clock() - Start) / CLOCKS_PER_SEC;
}

void BM_WalkAgainstPack(benchmark::State & State)
{
    CBenchDir const Dir;
    fs::path const Root = fs::current_path() / "tree";
    char const * const szTree = std::getenv("ARCWALK_TREE");
    if (szTree != nullptr)
        fs::copy(szTree, Root, fs::copy_options::recursive | fs::copy_options::copy_symlinks);
    else
        MakeTree(Root);
    std::string const sSource = Root.string() + ".";
    double dWalk = 0;
    double dPack = 0;
    double dWalkCpu = 0;
    double dPackCpu = 0;
    std::size_t nFiles = 0;
    for (auto _ : State)
    {
        std::clock_t const WalkCpuStart = std::clock();
        auto const WalkStart = std::chrono::steady_clock::now();
        sSourceCheck Check;
        CheckSource("tree.arc", sSource, "tree", Root, "tree.arc", Check);
        double const dThisWalk = SecondsOf(WalkStart);
        dWalkCpu += CpuSecondsOf(WalkCpuStart);
        nFiles = Check.vFiles.size();
        if ((szTree == nullptr && Check.vFiles.size() != FILES) || !Check.vBreaches.empty())
        {
            State.SkipWithError("the walk didn't see the tree, or the tree can't be packed");
            break;
        }

        std::clock_t const PackCpuStart = std::clock();
        auto const PackStart = std::chrono::steady_clock::now();
        auto pFileSystem = std::make_unique<CExtendedFileSystem>();
        pFileSystem->CreateArchive("tree.arc", sSource.c_str());
        double const dThisPack = SecondsOf(PackStart);
        dPackCpu += CpuSecondsOf(PackCpuStart);
        State.SetIterationTime(dThisWalk + dThisPack);
        dWalk += dThisWalk;
        dPack += dThisPack;
    }
    State.counters["walk_ms"] =
        benchmark::Counter(dWalk * 1000, benchmark::Counter::kAvgIterations);
    State.counters["pack_ms"] =
        benchmark::Counter(dPack * 1000, benchmark::Counter::kAvgIterations);
    State.counters["walk_share_of_pack"] = dWalk / dPack;
    State.counters["walk_cpu_ms"] =
        benchmark::Counter(dWalkCpu * 1000, benchmark::Counter::kAvgIterations);
    State.counters["pack_cpu_ms"] =
        benchmark::Counter(dPackCpu * 1000, benchmark::Counter::kAvgIterations);
    State.counters["walk_cpu_share_of_pack"] = dWalkCpu / dPackCpu;
    State.counters["files"] = static_cast<double>(nFiles);
}
BENCHMARK(BM_WalkAgainstPack)->UseManualTime()->Unit(benchmark::kMillisecond)->Iterations(3);
} // namespace

BENCHMARK_MAIN();
