// CZRString against std::string on the same work. Each pair of benchmarks does one
// operation on the same text; the ratio of their times is what counts. Appends are
// reported only: CZRString grows exactly by design, so a run of appends reallocates
// each time, where std::string grows by a factor.
#include <benchmark/benchmark.h>

#include <cstdio>
#include <string>

#include "common/string/zrstring.h"

namespace
{
char const s_szShort[] = "maps\\town\\hall.dat";
std::string const s_sLong = std::string(200, 'x') + "needle" + std::string(50, 'y');
// A text that puts many near misses in the way of the word.
std::string const s_sRepetitive = std::string(250, 'a') + "ab";

void BM_Copy_ZRString(benchmark::State & State)
{
    CZRString const sSource(s_szShort);
    for (auto _ : State)
    {
        CZRString sCopy(sSource);
        benchmark::DoNotOptimize(sCopy.GetString());
    }
}

void BM_Copy_StdString(benchmark::State & State)
{
    // 18 bytes: longer than the small-string buffer, so both allocate.
    std::string const sSource(s_szShort);
    for (auto _ : State)
    {
        std::string sCopy(sSource);
        benchmark::DoNotOptimize(sCopy.data());
    }
}

void BM_Format_ZRString(benchmark::State & State)
{
    CZRString sText;
    int i = 0;
    for (auto _ : State)
    {
        sText.Format("%s/%d/%.2f", s_szShort, ++i, 2.5);
        benchmark::DoNotOptimize(sText.GetString());
    }
}

void BM_Format_StdString(benchmark::State & State)
{
    std::string sText;
    int i = 0;
    for (auto _ : State)
    {
        char szBuffer[1024];
        int const nLength =
            std::snprintf(szBuffer, sizeof(szBuffer), "%s/%d/%.2f", s_szShort, ++i, 2.5);
        sText.assign(szBuffer, static_cast<size_t>(nLength));
        benchmark::DoNotOptimize(sText.data());
    }
}

void BM_Find_ZRString(benchmark::State & State)
{
    CZRString const sText(s_sLong.c_str());
    for (auto _ : State)
        benchmark::DoNotOptimize(sText.Find("needle", 0));
}

void BM_Find_StdString(benchmark::State & State)
{
    std::string const sText(s_sLong);
    for (auto _ : State)
        benchmark::DoNotOptimize(sText.find("needle", 0));
}

void BM_FindInPath_ZRString(benchmark::State & State)
{
    CZRString const sText(s_szShort);
    for (auto _ : State)
        benchmark::DoNotOptimize(sText.Find(".dat", 0));
}

void BM_FindInPath_StdString(benchmark::State & State)
{
    std::string const sText(s_szShort);
    for (auto _ : State)
        benchmark::DoNotOptimize(sText.find(".dat", 0));
}

void BM_FindRepetitive_ZRString(benchmark::State & State)
{
    CZRString const sText(s_sRepetitive.c_str());
    for (auto _ : State)
        benchmark::DoNotOptimize(sText.Find("aaaaaaab", 0));
}

void BM_FindRepetitive_StdString(benchmark::State & State)
{
    std::string const sText(s_sRepetitive);
    for (auto _ : State)
        benchmark::DoNotOptimize(sText.find("aaaaaaab", 0));
}

void BM_FindChar_ZRString(benchmark::State & State)
{
    CZRString const sText(s_sLong.c_str());
    for (auto _ : State)
        benchmark::DoNotOptimize(sText.Find('n', 0));
}

void BM_FindChar_StdString(benchmark::State & State)
{
    std::string const sText(s_sLong);
    for (auto _ : State)
        benchmark::DoNotOptimize(sText.find('n', 0));
}

void BM_Compare_ZRString(benchmark::State & State)
{
    CZRString const sText(s_sLong.c_str());
    std::string const sOther(s_sLong);
    for (auto _ : State)
        benchmark::DoNotOptimize(sText.Compare(sOther.c_str()));
}

void BM_Compare_StdString(benchmark::State & State)
{
    std::string const sText(s_sLong);
    std::string const sOther(s_sLong);
    for (auto _ : State)
        benchmark::DoNotOptimize(sText.compare(sOther.c_str()));
}

void BM_Mid_ZRString(benchmark::State & State)
{
    CZRString const sText(s_sLong.c_str());
    for (auto _ : State)
    {
        CZRString sPart = sText.Mid(100, 60);
        benchmark::DoNotOptimize(sPart.GetString());
    }
}

void BM_Mid_StdString(benchmark::State & State)
{
    std::string const sText(s_sLong);
    for (auto _ : State)
    {
        std::string sPart = sText.substr(100, 60);
        benchmark::DoNotOptimize(sPart.data());
    }
}

void BM_AppendChars_ZRString(benchmark::State & State)
{
    for (auto _ : State)
    {
        CZRString sText;
        for (int i = 0; i < State.range(0); ++i)
            sText += 'a';
        benchmark::DoNotOptimize(sText.GetString());
    }
}

void BM_AppendChars_StdString(benchmark::State & State)
{
    for (auto _ : State)
    {
        std::string sText;
        for (int i = 0; i < State.range(0); ++i)
            sText += 'a';
        benchmark::DoNotOptimize(sText.data());
    }
}

void BM_AppendWords_ZRString(benchmark::State & State)
{
    for (auto _ : State)
    {
        CZRString sText;
        for (int i = 0; i < State.range(0); ++i)
            sText += "word ";
        benchmark::DoNotOptimize(sText.GetString());
    }
}

void BM_AppendWords_StdString(benchmark::State & State)
{
    for (auto _ : State)
    {
        std::string sText;
        for (int i = 0; i < State.range(0); ++i)
            sText += "word ";
        benchmark::DoNotOptimize(sText.data());
    }
}
} // namespace

BENCHMARK(BM_Copy_ZRString);
BENCHMARK(BM_Copy_StdString);
BENCHMARK(BM_Format_ZRString);
BENCHMARK(BM_Format_StdString);
BENCHMARK(BM_Find_ZRString);
BENCHMARK(BM_Find_StdString);
BENCHMARK(BM_FindInPath_ZRString);
BENCHMARK(BM_FindInPath_StdString);
BENCHMARK(BM_FindRepetitive_ZRString);
BENCHMARK(BM_FindRepetitive_StdString);
BENCHMARK(BM_FindChar_ZRString);
BENCHMARK(BM_FindChar_StdString);
BENCHMARK(BM_Compare_ZRString);
BENCHMARK(BM_Compare_StdString);
BENCHMARK(BM_Mid_ZRString);
BENCHMARK(BM_Mid_StdString);
BENCHMARK(BM_AppendChars_ZRString)->Arg(16)->Arg(256);
BENCHMARK(BM_AppendChars_StdString)->Arg(16)->Arg(256);
BENCHMARK(BM_AppendWords_ZRString)->Arg(16)->Arg(256);
BENCHMARK(BM_AppendWords_StdString)->Arg(16)->Arg(256);

BENCHMARK_MAIN();
