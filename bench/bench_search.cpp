// The search for names in an archive of 90,000 files in one directory, beside a plain scan of the same names
// in a vector with the system's fnmatch, and beside a fixed limit. Items are the names that were examined.

#include "tests/support/archive_builder.h"
#include "tests/support/temporary_directory.h"
#include "vl/core.h"
#include "vl/file.h"

#include <benchmark/benchmark.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fnmatch.h>
#include <string>
#include <vector>

namespace {

constexpr int files = 90'000;
constexpr double limitPerSecond = 50e6;

struct Fixture {
    TemporaryDirectory directory;
    V_VantorInit library;
    std::vector<std::string> names;

    Fixture() {
        Sys->ceaseVerbose(1);
        ArchiveBuilder builder;
        for (int i = 0; i < files; ++i) {
            char name[64];
            std::snprintf(name, sizeof name, "Texture_%05d_Diffuse.%s", i, i % 100 == 0 ? "dds" : "tga");
            names.emplace_back(name);
            builder.add("\\" + names.back(), "");
        }
        builder.write(directory.path() / "SEARCH.VAS");
        File->setFileSystemRoot(directory.enginePath().c_str());
    }
};

const Fixture &fixture() {
    static const Fixture all;
    return all;
}

/// The archive itself lies on disk and may match too.
void finish(benchmark::State &state, int found, int expected) {
    if (found != expected && found != expected + 1)
        std::abort();
    state.SetItemsProcessed(state.iterations() * files);
}

void search(benchmark::State &state, const char *pattern, int expected) {
    fixture();
    int found = 0;
    for (auto _ : state) {
        found = 0;
        for (const char *name = File->findFirst(pattern); name; name = File->findNext()) {
            benchmark::DoNotOptimize(name);
            ++found;
        }
    }
    finish(state, found, expected);
}

void plainScan(benchmark::State &state, const char *pattern, int expected) {
    const std::vector<std::string> &names = fixture().names;
    int found = 0;
    for (auto _ : state) {
        found = 0;
        for (const std::string &name : names) {
            if (fnmatch(pattern, name.c_str(), FNM_CASEFOLD) != 0)
                continue;
            char result[256]; // names are handed out as copies
            std::memcpy(result, name.c_str(), name.size() + 1);
            benchmark::DoNotOptimize(result);
            ++found;
        }
    }
    finish(state, found, expected);
}

/// What the search must not fall below, as if it had been measured.
void limit(benchmark::State &state) {
    for (auto _ : state)
        state.SetIterationTime(files / limitPerSecond);
    state.SetItemsProcessed(state.iterations() * files);
}

#define VL_PATTERN(name, pattern, expected)                                                                  \
    BENCHMARK_CAPTURE(search, name, pattern, expected)->Unit(benchmark::kMillisecond);                       \
    BENCHMARK_CAPTURE(plainScan, name, pattern, expected)->Unit(benchmark::kMillisecond)
VL_PATTERN(all, "*", files);
VL_PATTERN(one_in_a_hundred, "*.dds", files / 100);
VL_PATTERN(by_beginning, "texture_0000*", 10);
BENCHMARK(limit)->UseManualTime()->Unit(benchmark::kMillisecond);

} // namespace

BENCHMARK_MAIN();
