// Bulk reading: a 64 MB archive member read with CFileIO's raw Read in 64 KB blocks,
// against fread of the same bytes from a plain file. A million ints read one
// Read(int &) at a time, against fread of 4 bytes at a time, and written one Write(int)
// at a time, against fwrite of 4 bytes at a time. Run ratios.py for the ratios.
#include <benchmark/benchmark.h>

#include <cstdio>
#include <memory>
#include <string>
#include <vector>

#include "benchfiles.h"
#include "common/file/fileio.h"

namespace
{
constexpr std::size_t MEMBER_SIZE = 64u << 20;
constexpr std::size_t BLOCK_SIZE = 64u << 10;
constexpr int INT_COUNT = 1000000;

CBenchDir & Files()
{
    static CBenchDir s_Dir;
    static bool s_bWritten = false;
    if (!s_bWritten)
    {
        std::string sData(MEMBER_SIZE, '\0');
        for (std::size_t nByte = 0; nByte < sData.size(); ++nByte)
            sData[nByte] = static_cast<char>(nByte * 31);
        BenchWriteFile("plain.bin", sData);
        BenchWriteArchive("big.arc", {{"small.txt", "x"}, {"member.bin", sData}});
        BenchWriteFile("ints.bin", std::string(INT_COUNT * 4, '\x01'));
        s_bWritten = true;
    }
    return s_Dir;
}

void BM_ArchiveMemberRawRead(benchmark::State & State)
{
    Files();
    std::vector<char> vBlock(BLOCK_SIZE);
    for (auto _ : State)
    {
        CFileIO File;
        File.Open("big\\member.bin", FILEIO_READ);
        while (File.Read(vBlock.data(), BLOCK_SIZE))
            benchmark::DoNotOptimize(vBlock.data());
        File.Close();
    }
    State.SetBytesProcessed(static_cast<std::int64_t>(State.iterations() * MEMBER_SIZE));
}
BENCHMARK(BM_ArchiveMemberRawRead)->Unit(benchmark::kMillisecond);

void BM_PlainFileFread(benchmark::State & State)
{
    Files();
    std::vector<char> vBlock(BLOCK_SIZE);
    for (auto _ : State)
    {
        std::FILE * pFile = std::fopen("plain.bin", "rb");
        while (std::fread(vBlock.data(), 1, BLOCK_SIZE, pFile) == BLOCK_SIZE)
            benchmark::DoNotOptimize(vBlock.data());
        std::fclose(pFile);
    }
    State.SetBytesProcessed(static_cast<std::int64_t>(State.iterations() * MEMBER_SIZE));
}
BENCHMARK(BM_PlainFileFread)->Unit(benchmark::kMillisecond);

void BM_ReadIntOneAtATime(benchmark::State & State)
{
    Files();
    for (auto _ : State)
    {
        CFileIO File;
        File.Open("ints.bin", FILEIO_READ);
        int nValue = 0;
        std::int64_t llSum = 0;
        for (int nIndex = 0; nIndex < INT_COUNT; ++nIndex)
        {
            File.Read(nValue);
            llSum += nValue;
        }
        benchmark::DoNotOptimize(llSum);
        File.Close();
    }
    State.SetItemsProcessed(State.iterations() * INT_COUNT);
}
BENCHMARK(BM_ReadIntOneAtATime)->Unit(benchmark::kMillisecond);

void BM_FreadFourBytes(benchmark::State & State)
{
    Files();
    for (auto _ : State)
    {
        std::FILE * pFile = std::fopen("ints.bin", "rb");
        int nValue = 0;
        std::int64_t llSum = 0;
        for (int nIndex = 0; nIndex < INT_COUNT; ++nIndex)
        {
            std::fread(&nValue, 4, 1, pFile);
            llSum += nValue;
        }
        benchmark::DoNotOptimize(llSum);
        std::fclose(pFile);
    }
    State.SetItemsProcessed(State.iterations() * INT_COUNT);
}
BENCHMARK(BM_FreadFourBytes)->Unit(benchmark::kMillisecond);

void BM_WriteIntOneAtATime(benchmark::State & State)
{
    Files();
    for (auto _ : State)
    {
        CFileIO File;
        File.Open("written.bin", FILEIO_CREATE);
        for (int nIndex = 0; nIndex < INT_COUNT; ++nIndex)
            File.Write(nIndex);
        File.Close();
    }
    State.SetItemsProcessed(State.iterations() * INT_COUNT);
}
BENCHMARK(BM_WriteIntOneAtATime)->Unit(benchmark::kMillisecond);

void BM_FwriteFourBytes(benchmark::State & State)
{
    Files();
    for (auto _ : State)
    {
        std::FILE * pFile = std::fopen("written.bin", "wb");
        for (int nIndex = 0; nIndex < INT_COUNT; ++nIndex)
            std::fwrite(&nIndex, 4, 1, pFile);
        std::fclose(pFile);
    }
    State.SetItemsProcessed(State.iterations() * INT_COUNT);
}
BENCHMARK(BM_FwriteFourBytes)->Unit(benchmark::kMillisecond);
} // namespace

BENCHMARK_MAIN();
