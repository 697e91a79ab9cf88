// Stored forms of a property manager of 100,000 entries and a parameter list of 100,000
// elements, written and read on a CMemFileIO and on a file-backed CFileIO. The rates are
// bytes of stored form per second. The values mix all five types; the names are
// "key000000" and up, so the manager's key order is the order of insertion. The peer of
// a store to a file is fwrite of the same bytes in the same pieces, as a hand-written
// writer of the same stored form would make them.
#include <benchmark/benchmark.h>

#include <cstdio>
#include <filesystem>
#include <string>
#include <vector>

#include <stdlib.h>

#include "common/file/fileio.h"
#include "common/file/memfileio.h"
#include "common/property/zrparams.h"
#include "common/property/zrpropertymanager.h"

namespace
{
constexpr int ENTRIES = 100000;

CZRProperty ValueOf(int i)
{
    switch (i % 5)
    {
        case 0:
            return CZRProperty(i);
        case 1:
            return CZRProperty(static_cast<long>(-i));
        case 2:
            return CZRProperty(static_cast<float>(i) * 0.5f);
        case 3:
            return CZRProperty((i & 8) != 0);
        default:
        {
            char szText[32];
            std::snprintf(szText, sizeof(szText), "value %d", i);
            return CZRProperty(szText);
        }
    }
}

CZRPropertyManager & Manager()
{
    static CZRPropertyManager s_Manager;
    if (s_Manager.GetPropertyCount() == 0)
    {
        for (int i = 0; i < ENTRIES; ++i)
        {
            char szName[16];
            std::snprintf(szName, sizeof(szName), "key%06d", i);
            s_Manager.SetProperty(szName, ValueOf(i));
        }
    }
    return s_Manager;
}

CZRParams & Params()
{
    static CZRParams s_Params;
    if (s_Params.IsEmpty())
    {
        for (int i = 0; i < ENTRIES; ++i)
            s_Params.Add(ValueOf(i));
    }
    return s_Params;
}

// A fresh directory for the files of this run; empty when none could be made.
std::string const & FileDir()
{
    static std::string const s_sDir = []
    {
        std::string sTemplate =
            (std::filesystem::temp_directory_path() / "common-property-bench-XXXXXX").string();
        char const * szMade = ::mkdtemp(sTemplate.data());
        return std::string(szMade != nullptr ? szMade : "");
    }();
    return s_sDir;
}

// The collections are written where they were built: a copy would lay the manager's
// nodes out in another order than a host's SetProperty calls do.
template <typename Collection>
void WriteToMemory(benchmark::State & State, Collection & Stored)
{
    std::uint32_t ulBytes = 0;
    for (auto _ : State)
    {
        CMemFileIO Stream(1024 * 1024);
        Stored.Write(&Stream);
        ulBytes = Stream.GetSize();
        benchmark::DoNotOptimize(Stream.GetBuffer());
    }
    State.SetBytesProcessed(static_cast<std::int64_t>(State.iterations()) * ulBytes);
}

template <typename Collection>
void ReadFromMemory(benchmark::State & State, Collection & Stored)
{
    CMemFileIO Written(1024 * 1024);
    Stored.Write(&Written);
    for (auto _ : State)
    {
        CMemFileIO Stream(Written.GetBuffer(), Written.GetSize(), 0);
        Collection Read;
        if (!Read.Read(&Stream))
            State.SkipWithError("read failed");
        benchmark::DoNotOptimize(&Read);
    }
    State.SetBytesProcessed(static_cast<std::int64_t>(State.iterations()) * Written.GetSize());
}

template <typename Collection>
void WriteToFile(benchmark::State & State, Collection & Stored, char const * szName)
{
    if (FileDir().empty())
    {
        State.SkipWithError("no temporary directory");
        return;
    }
    std::string const sPath = FileDir() + "/" + szName;
    std::uint32_t ulBytes = 0;
    for (auto _ : State)
    {
        CFileIO File;
        File.Open(sPath.c_str(), FILEIO_CREATE);
        Stored.Write(&File);
        ulBytes = File.GetSize();
        File.Close();
    }
    State.SetBytesProcessed(static_cast<std::int64_t>(State.iterations()) * ulBytes);
}

// A memory stream that also notes the size of every raw write, in order.
class CPieceRecorder : public CMemFileIO
{
public:
    CPieceRecorder() : CMemFileIO(1024 * 1024) {}
    using CMemFileIO::Write;
    bool Write(void const * pBuffer, std::uint32_t ulSize) override
    {
        m_vPieces.push_back(ulSize);
        return CMemFileIO::Write(pBuffer, ulSize);
    }
    std::vector<std::uint32_t> m_vPieces;
};

template <typename Collection>
void FwriteSamePieces(benchmark::State & State, Collection & Stored, char const * szName)
{
    if (FileDir().empty())
    {
        State.SkipWithError("no temporary directory");
        return;
    }
    CPieceRecorder Recorder;
    Stored.Write(&Recorder);
    unsigned char const * pBytes = Recorder.GetBuffer();
    std::string const sPath = FileDir() + "/" + szName;
    for (auto _ : State)
    {
        std::FILE * pFile = std::fopen(sPath.c_str(), "wb");
        std::size_t nOffset = 0;
        for (std::uint32_t ulPiece : Recorder.m_vPieces)
        {
            std::fwrite(pBytes + nOffset, 1, ulPiece, pFile);
            nOffset += ulPiece;
        }
        std::fclose(pFile);
    }
    State.SetBytesProcessed(static_cast<std::int64_t>(State.iterations()) * Recorder.GetSize());
}

template <typename Collection>
void ReadFromFile(benchmark::State & State, Collection & Stored, char const * szName)
{
    if (FileDir().empty())
    {
        State.SkipWithError("no temporary directory");
        return;
    }
    std::string const sPath = FileDir() + "/" + szName;
    std::uint32_t ulBytes = 0;
    {
        CFileIO File;
        File.Open(sPath.c_str(), FILEIO_CREATE);
        Stored.Write(&File);
        ulBytes = File.GetSize();
    }
    for (auto _ : State)
    {
        CFileIO File;
        File.Open(sPath.c_str(), FILEIO_READ);
        Collection Read;
        if (!Read.Read(&File))
            State.SkipWithError("read failed");
        benchmark::DoNotOptimize(&Read);
    }
    State.SetBytesProcessed(static_cast<std::int64_t>(State.iterations()) * ulBytes);
}

void BM_ManagerWriteMemory(benchmark::State & State)
{
    WriteToMemory(State, Manager());
}

void BM_ManagerReadMemory(benchmark::State & State)
{
    ReadFromMemory(State, Manager());
}

void BM_ManagerWriteFile(benchmark::State & State)
{
    WriteToFile(State, Manager(), "manager.bin");
}

void BM_ManagerFwrite(benchmark::State & State)
{
    FwriteSamePieces(State, Manager(), "manager-fwrite.bin");
}

void BM_ManagerReadFile(benchmark::State & State)
{
    ReadFromFile(State, Manager(), "manager.bin");
}

void BM_ParamsWriteMemory(benchmark::State & State)
{
    WriteToMemory(State, Params());
}

void BM_ParamsReadMemory(benchmark::State & State)
{
    ReadFromMemory(State, Params());
}

void BM_ParamsWriteFile(benchmark::State & State)
{
    WriteToFile(State, Params(), "params.bin");
}

void BM_ParamsFwrite(benchmark::State & State)
{
    FwriteSamePieces(State, Params(), "params-fwrite.bin");
}

void BM_ParamsReadFile(benchmark::State & State)
{
    ReadFromFile(State, Params(), "params.bin");
}
} // namespace

BENCHMARK(BM_ManagerWriteMemory)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_ManagerReadMemory)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_ManagerWriteFile)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_ManagerFwrite)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_ManagerReadFile)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_ParamsWriteMemory)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_ParamsReadMemory)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_ParamsWriteFile)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_ParamsFwrite)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_ParamsReadFile)->Unit(benchmark::kMillisecond);

int main(int argc, char ** argv)
{
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    std::error_code Error;
    if (!FileDir().empty())
        std::filesystem::remove_all(FileDir(), Error);
    return 0;
}
