// A section of the frame profiler, opened and closed, with 20 sections known: beside its floor (two readings
// of the time-stamp counter and the walk over the names) and beside two calls of the standard clock.

#include "base/cpuid.h"
#include "vl/core.h"

#include <benchmark/benchmark.h>

#include <chrono>
#include <cstring>

namespace {

constexpr const char *names[20] = {"input",     "network",   "scripts",   "animation",   "physics",
                                   "collision", "particles", "culling",   "shadow map",  "terrain",
                                   "water",     "sky",       "opaque",    "transparent", "postwork",
                                   "interface", "sound",     "streaming", "console",     "present"};

/// Every section of the 20 in turn, inside a frame.
void section(benchmark::State &state) {
    V_Profile::startFrame();
    for (const char *name : names)
        const V_Profile scope(name);
    for (auto _ : state)
        for (const char *name : names)
            const V_Profile scope(name);
    V_Profile::endFrame();
    state.SetItemsProcessed(state.iterations() * 20);
    state.SetLabel(Sys->getProcessorCaps() & V_System::CAP_TSC ? "20 sections" : "20 sections, no TSC");
}
BENCHMARK(section);

struct Record {
    char name[32];
    char figures[sizeof(V_PENTRY) - 32];
};

void walkToNames(benchmark::State &state, int readings) {
    V_DLList<Record> list;
    for (const char *name : names)
        std::strcpy(list.insertLast()->name, name);
    for (auto _ : state)
        for (const char *name : names) {
            if (readings)
                benchmark::DoNotOptimize(vl::timeStampCounter());
            const Record *record = list.getFirst();
            while (record && std::strcmp(record->name, name) != 0)
                record = list.getNext(record);
            benchmark::DoNotOptimize(record);
            if (readings)
                benchmark::DoNotOptimize(vl::timeStampCounter());
        }
    state.SetItemsProcessed(state.iterations() * 20);
    state.SetLabel("20 sections");
}
BENCHMARK_CAPTURE(walkToNames, floor_of_section, 2);
BENCHMARK_CAPTURE(walkToNames, without_readings, 0);

void twoTimeStamps(benchmark::State &state) {
    for (auto _ : state) {
        benchmark::DoNotOptimize(vl::timeStampCounter());
        benchmark::DoNotOptimize(vl::timeStampCounter());
    }
}
BENCHMARK(twoTimeStamps);

void twoSteadyClocks(benchmark::State &state) {
    for (auto _ : state) {
        benchmark::DoNotOptimize(std::chrono::steady_clock::now());
        benchmark::DoNotOptimize(std::chrono::steady_clock::now());
    }
}
BENCHMARK(twoSteadyClocks);

void sectionOutsideFrame(benchmark::State &state) {
    for (auto _ : state) {
        const V_Profile scope("outside");
        benchmark::ClobberMemory();
    }
}
BENCHMARK(sectionOutsideFrame);

void sectionWithProfilingOff(benchmark::State &state) {
    V_Profile::startFrame();
    V_Profile::disableProfiling();
    for (auto _ : state) {
        const V_Profile scope("off");
        benchmark::ClobberMemory();
    }
    V_Profile::enableProfiling(true);
    V_Profile::endFrame();
}
BENCHMARK(sectionWithProfilingOff);

} // namespace

int main(int count, char **arguments) {
    const V_VantorInit library;
    Sys->ceaseVerbose(1);
    Sys->getProcessorSpeed(); // sections then also turn their length into seconds
    benchmark::Initialize(&count, arguments);
    benchmark::RunSpecifiedBenchmarks();
}
