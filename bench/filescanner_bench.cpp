// A scan of a tree of 10,000 files (100 directories of 100) with CZRFileScanner::Run,
// against std::filesystem::recursive_directory_iterator counting the same files.
#include <benchmark/benchmark.h>

#include <filesystem>
#include <fstream>
#include <string>

#include <stdlib.h>

#include "common/file/zrfilescanner.h"

namespace
{
class CBenchTree
{
public:
    CBenchTree()
    {
        std::string sTemplate =
            (std::filesystem::temp_directory_path() / "common-bench-XXXXXX").string();
        m_Root = ::mkdtemp(sTemplate.data());
        for (int nDirectory = 0; nDirectory < 100; ++nDirectory)
        {
            std::filesystem::path const Directory = m_Root / ("dir" + std::to_string(nDirectory));
            std::filesystem::create_directory(Directory);
            for (int nFile = 0; nFile < 100; ++nFile)
                std::ofstream(Directory / ("file" + std::to_string(nFile) + ".dat"));
        }
    }
    ~CBenchTree()
    {
        std::error_code Error;
        std::filesystem::remove_all(m_Root, Error);
    }
    std::filesystem::path const & Root() const { return m_Root; }

private:
    std::filesystem::path m_Root;
};

CBenchTree const & Tree()
{
    static CBenchTree const s_Tree;
    return s_Tree;
}

void CountFile(eScannerMode eMode, sFileData * pData, ZR_ULONG_PTR ulUser)
{
    if (eMode == SCAN_FILE && pData->m_sFileName.GetLength() > 0)
        ++*reinterpret_cast<long *>(ulUser);
}
} // namespace

static void BM_FileScannerRun(benchmark::State & State)
{
    CZRFileScanner Scanner;
    Scanner.AddScanDirectory(Tree().Root().c_str(), "*.*");
    long lFiles = 0;
    for (auto _ : State)
    {
        lFiles = 0;
        Scanner.Run(CountFile, reinterpret_cast<ZR_ULONG_PTR>(&lFiles));
    }
    if (lFiles != 10000)
        State.SkipWithError("wrong file count");
}
BENCHMARK(BM_FileScannerRun)->Unit(benchmark::kMillisecond);

static void BM_RecursiveDirectoryIterator(benchmark::State & State)
{
    long lFiles = 0;
    for (auto _ : State)
    {
        lFiles = 0;
        for (auto const & Entry : std::filesystem::recursive_directory_iterator(Tree().Root()))
            if (Entry.is_regular_file() && !Entry.path().filename().empty())
                ++lFiles;
    }
    if (lFiles != 10000)
        State.SkipWithError("wrong file count");
}
BENCHMARK(BM_RecursiveDirectoryIterator)->Unit(benchmark::kMillisecond);

BENCHMARK_MAIN();
