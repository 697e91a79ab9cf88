// The cost of one SampleBegin/SampleEnd pair with ten samples live in the frame (the
// measured one in the last slot, nine open around it), against one read of the clock.
#include <benchmark/benchmark.h>

#include <string>

#include "common/profile/zrprofiler.h"
#include "common/time/timer.h"

static void BM_ClockRead(benchmark::State & State)
{
    for (auto _ : State)
        benchmark::DoNotOptimize(CTimer::GetCurTimeInMs());
}
BENCHMARK(BM_ClockRead);

static void BM_SamplePairWithTenLiveSamples(benchmark::State & State)
{
    CZRProfiler Profiler;
    Profiler.Begin();
    std::string const asNames[] = {"Frame",  "World",   "Physics",  "Broadphase", "Narrowphase",
                                   "Solver", "Islands", "Contacts", "Joints"};
    for (std::string const & sName : asNames)
        Profiler.SampleBegin(sName.c_str());
    for (auto _ : State)
    {
        Profiler.SampleBegin("Constraints");
        Profiler.SampleEnd("Constraints");
    }
    benchmark::DoNotOptimize(Profiler);
}
BENCHMARK(BM_SamplePairWithTenLiveSamples);

BENCHMARK_MAIN();
