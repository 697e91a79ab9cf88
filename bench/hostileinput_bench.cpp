// The cost of hostile inputs against their size, at 1, 4 and 16 times: the first open of
// a member of an archive whose entries all share one name, and the character reader of
// the text form over a file of lone slashes. Google Benchmark fits each series to N; a
// linear cost reads "N" in the complexity line, a quadratic one "N^2".
#include <benchmark/benchmark.h>

#include <dlfcn.h>
#include <malloc.h>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "benchfiles.h"
#include "common/exception/zrexception.h"
#include "common/file/extendedfilesystem.h"
#include "common/file/fileio.h"

namespace
{
// The process-wide count of registered units, reset so that each round registers anew.
std::uint32_t * ArchiveCounter()
{
    static std::uint32_t * pCounter = static_cast<std::uint32_t *>(
        dlsym(RTLD_DEFAULT, "_ZN19CExtendedFileSystem16s_ulArchiveCountE"));
    return pCounter;
}

CBenchDir & Dir()
{
    static CBenchDir s_Dir;
    return s_Dir;
}

void BM_EqualNamesFirstOpen(benchmark::State & State)
{
    Dir();
    std::size_t const nEntries = static_cast<std::size_t>(State.range(0));
    std::string const sName = "same" + std::to_string(nEntries) + ".arc";
    std::vector<std::pair<std::string, std::string>> vFiles;
    vFiles.reserve(nEntries + 1);
    for (std::size_t nEntry = 0; nEntry < nEntries; ++nEntry)
        vFiles.emplace_back(nEntry % 2 == 0 ? "a" : "A", "");
    vFiles.emplace_back("x", "data");
    BenchWriteArchive(sName, vFiles);
    std::string const sMember = sName.substr(0, sName.size() - 4) + "\\x";
    for (auto _ : State)
    {
        *ArchiveCounter() = 0;
        auto pXfs = std::make_unique<CExtendedFileSystem>();
        pXfs->CloseFile(pXfs->OpenFile(sMember.c_str()));
    }
    State.SetComplexityN(State.range(0));
    State.counters["archive_bytes"] = static_cast<double>(32 + 276 * (nEntries + 1) + 4);
}
BENCHMARK(BM_EqualNamesFirstOpen)
    ->Arg(10000)
    ->Arg(40000)
    ->Arg(160000)
    ->Unit(benchmark::kMillisecond)
    ->Complexity(benchmark::oAuto);

void BM_TextReaderLoneSlashes(benchmark::State & State)
{
    Dir();
    std::size_t const nPairs = static_cast<std::size_t>(State.range(0));
    std::string sText;
    for (std::size_t nPair = 0; nPair < nPairs; ++nPair)
        sText += "/x";
    std::string const sName = "slash" + std::to_string(nPairs) + ".txt";
    BenchWriteFile(sName, sText);
    for (auto _ : State)
    {
        CFileIO File;
        File.Open(sName.c_str(), FILEIO_READ);
        char cValue = 0;
        std::size_t nRead = 0;
        while (File.ReadAscii(cValue, false))
            ++nRead;
        benchmark::DoNotOptimize(nRead);
    }
    State.SetComplexityN(State.range(0));
    State.SetBytesProcessed(static_cast<std::int64_t>(State.iterations() * sText.size()));
}
BENCHMARK(BM_TextReaderLoneSlashes)
    ->Arg(64 << 10)
    ->Arg(256 << 10)
    ->Arg(1 << 20)
    ->Unit(benchmark::kMillisecond)
    ->Complexity(benchmark::oAuto);
} // namespace

int main(int argc, char ** argv)
{
    // glibc keeps a freed block of up to 32 MB for the next allocation but maps a larger
    // one afresh each time, so that the 16x archive alone would pay for new pages at
    // every open (here some 30 us a page) and read as N^3. A fixed threshold makes every
    // size pay alike.
    mallopt(M_MMAP_THRESHOLD, 64 * 1024);
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv))
        return 1;
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
