// Listing a tree of 10,000 files (100 directories of 100) through ListDirectory, walked
// directory by directory, on disk, inside an archive, and present in both at once (each
// name merged from two sources), against CZRFileScanner::Run on the same tree on disk.
#include <benchmark/benchmark.h>

#include <filesystem>
#include <fstream>
#include <memory>
#include <string>
#include <vector>

#include "benchfiles.h"
#include "common/file/extendedfilesystem.h"
#include "common/file/zrfilescanner.h"

namespace
{
constexpr long TREE_FILES = 10000;

// tree/ on disk; packed.arc holding the same tree; both/ and both.arc, the same again.
class CListingFiles
{
public:
    CListingFiles()
    {
        for (char const * szTree : {"tree", "both"})
            for (int nDirectory = 0; nDirectory < 100; ++nDirectory)
            {
                std::filesystem::path const Directory =
                    std::filesystem::path(szTree) / ("dir" + std::to_string(nDirectory));
                std::filesystem::create_directories(Directory);
                for (int nFile = 0; nFile < 100; ++nFile)
                    std::ofstream(Directory / ("file" + std::to_string(nFile) + ".dat")) << nFile;
            }
        auto pPacker = std::make_unique<CExtendedFileSystem>();
        std::string const sHere = std::filesystem::current_path().string();
        pPacker->CreateArchive("packed.arc", (sHere + "/tree").c_str());
        pPacker->CreateArchive("both.arc", (sHere + "/both").c_str());
    }

private:
    CBenchDir m_Dir;
};

CListingFiles const & Files()
{
    static CListingFiles const s_Files;
    return s_Files;
}

// One file system for all runs: the archives' units are registered once, as in a host.
CExtendedFileSystem & FileSystem()
{
    static std::unique_ptr<CExtendedFileSystem> const s_pXfs =
        std::make_unique<CExtendedFileSystem>();
    return *s_pXfs;
}

long CountFiles(std::string const & sDirectory)
{
    std::vector<CZRString> vFiles;
    std::vector<CZRString> vDirectories;
    FileSystem().ListDirectory(sDirectory.c_str(), "*.*", vFiles, vDirectories);
    long lFiles = static_cast<long>(vFiles.size());
    for (CZRString const & sName : vDirectories)
        lFiles += CountFiles(sDirectory + "\\" + sName.GetString());
    return lFiles;
}

void ListTree(benchmark::State & State, char const * szTop)
{
    Files();
    long lFiles = 0;
    for (auto _ : State)
        lFiles = CountFiles(szTop);
    if (lFiles != TREE_FILES)
        State.SkipWithError("wrong file count");
}

void CountFile(eScannerMode eMode, sFileData *, ZR_ULONG_PTR ulUser)
{
    if (eMode == SCAN_FILE)
        ++*reinterpret_cast<long *>(ulUser);
}
} // namespace

static void BM_ListDirectoryOnDisk(benchmark::State & State)
{
    ListTree(State, "tree");
}
BENCHMARK(BM_ListDirectoryOnDisk)->Unit(benchmark::kMillisecond);

static void BM_ListDirectoryInArchive(benchmark::State & State)
{
    ListTree(State, "packed");
}
BENCHMARK(BM_ListDirectoryInArchive)->Unit(benchmark::kMillisecond);

static void BM_ListDirectoryDiskAndArchive(benchmark::State & State)
{
    ListTree(State, "both");
}
BENCHMARK(BM_ListDirectoryDiskAndArchive)->Unit(benchmark::kMillisecond);

static void BM_ScannerOnDisk(benchmark::State & State)
{
    Files();
    CZRFileScanner Scanner;
    Scanner.AddScanDirectory("tree", "*.*");
    long lFiles = 0;
    for (auto _ : State)
    {
        lFiles = 0;
        Scanner.Run(CountFile, reinterpret_cast<ZR_ULONG_PTR>(&lFiles));
    }
    if (lFiles != TREE_FILES)
        State.SkipWithError("wrong file count");
}
BENCHMARK(BM_ScannerOnDisk)->Unit(benchmark::kMillisecond);

BENCHMARK_MAIN();
