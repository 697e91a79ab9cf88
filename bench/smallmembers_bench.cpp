// Open, read and close of 1000 small (1 KB) files: as members of one .arc archive
// through CFileIO, as plain files on disk through fopen and through CFileIO, and
// through PhysicsFS from a store-only zip of the same files (made with the zip tool).
// Run ratios.py for the ratios.
#include <benchmark/benchmark.h>

#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include <physfs.h>

#include "benchfiles.h"
#include "common/file/fileio.h"

namespace
{
constexpr int FILE_COUNT = 1000;
constexpr std::size_t FILE_SIZE = 1024;

std::string FileName(int nIndex)
{
    char szName[32];
    std::snprintf(szName, sizeof(szName), "f%04d.bin", nIndex);
    return szName;
}

// The archive pack.arc, the same files in loose/, and loose.zip made from them.
bool PrepareFiles()
{
    static CBenchDir s_Dir;
    static int s_nState = 0;
    if (s_nState != 0)
        return s_nState > 0;
    std::vector<std::pair<std::string, std::string>> vFiles;
    std::filesystem::create_directory("loose");
    for (int nIndex = 0; nIndex < FILE_COUNT; ++nIndex)
    {
        std::string const sData(FILE_SIZE, static_cast<char>('a' + nIndex % 26));
        vFiles.emplace_back(FileName(nIndex), sData);
        BenchWriteFile("loose/" + FileName(nIndex), sData);
    }
    BenchWriteArchive("pack.arc", vFiles);
    bool const bZipped = std::system("cd loose && zip -0 -q ../loose.zip *.bin") == 0;
    bool const bMounted =
        bZipped && PHYSFS_init(nullptr) != 0 && PHYSFS_mount("loose.zip", nullptr, 1) != 0;
    s_nState = bMounted ? 1 : -1;
    return bMounted;
}

// Opens, reads and closes every file through CFileIO, the names under szDirectory.
void ReadThroughFileIO(benchmark::State & State, char const * szDirectory)
{
    PrepareFiles();
    std::vector<std::string> vNames;
    for (int nIndex = 0; nIndex < FILE_COUNT; ++nIndex)
        vNames.push_back(szDirectory + FileName(nIndex));
    std::vector<char> vBuffer(FILE_SIZE);
    for (auto _ : State)
    {
        for (std::string const & sName : vNames)
        {
            CFileIO File;
            File.Open(sName.c_str(), FILEIO_READ);
            File.Read(vBuffer.data(), FILE_SIZE);
            File.Close();
            benchmark::DoNotOptimize(vBuffer.data());
        }
    }
    State.SetItemsProcessed(State.iterations() * FILE_COUNT);
}

void BM_SmallMembersFromArchive(benchmark::State & State)
{
    ReadThroughFileIO(State, "pack\\");
}
BENCHMARK(BM_SmallMembersFromArchive)->Unit(benchmark::kMillisecond);

void BM_SmallFilesOnDisk(benchmark::State & State)
{
    PrepareFiles();
    std::vector<std::string> vNames;
    for (int nIndex = 0; nIndex < FILE_COUNT; ++nIndex)
        vNames.push_back("loose/" + FileName(nIndex));
    std::vector<char> vBuffer(FILE_SIZE);
    for (auto _ : State)
    {
        for (std::string const & sName : vNames)
        {
            std::FILE * pFile = std::fopen(sName.c_str(), "rb");
            std::fread(vBuffer.data(), 1, FILE_SIZE, pFile);
            std::fclose(pFile);
            benchmark::DoNotOptimize(vBuffer.data());
        }
    }
    State.SetItemsProcessed(State.iterations() * FILE_COUNT);
}
BENCHMARK(BM_SmallFilesOnDisk)->Unit(benchmark::kMillisecond);

// The library's own disk path: the same loose files opened through CFileIO.
void BM_SmallFilesOnDiskThroughFileIO(benchmark::State & State)
{
    ReadThroughFileIO(State, "loose\\");
}
BENCHMARK(BM_SmallFilesOnDiskThroughFileIO)->Unit(benchmark::kMillisecond);

void BM_SmallMembersFromPhysfsZip(benchmark::State & State)
{
    if (!PrepareFiles())
    {
        State.SkipWithError("the zip tool or PhysicsFS failed");
        return;
    }
    std::vector<std::string> vNames;
    for (int nIndex = 0; nIndex < FILE_COUNT; ++nIndex)
        vNames.push_back(FileName(nIndex));
    std::vector<char> vBuffer(FILE_SIZE);
    for (auto _ : State)
    {
        for (std::string const & sName : vNames)
        {
            PHYSFS_File * pFile = PHYSFS_openRead(sName.c_str());
            PHYSFS_readBytes(pFile, vBuffer.data(), FILE_SIZE);
            PHYSFS_close(pFile);
            benchmark::DoNotOptimize(vBuffer.data());
        }
    }
    State.SetItemsProcessed(State.iterations() * FILE_COUNT);
}
BENCHMARK(BM_SmallMembersFromPhysfsZip)->Unit(benchmark::kMillisecond);
} // namespace

BENCHMARK_MAIN();
