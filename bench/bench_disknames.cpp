// What names without regard to case cost beside the system's own calls, in a directory of 10,000 files. The
// peers are stat and open with fopen's stream around it; "virtual" names lie below directories that do not
// exist, as most names do that a client reads out of an archive.

#include "platform/platform.h"
#include "tests/support/temporary_directory.h"

#include <benchmark/benchmark.h>
#include <chrono>
#include <cstdio>
#include <fstream>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

namespace {

/// The directory, and the names under which it is asked, in both forms.
class Fixture {
  public:
    static constexpr std::size_t count = 10'000;

    Fixture() {
        std::filesystem::create_directories(m_directory.path() / "data" / "maps");
        const auto place = m_directory.path() / "data" / "maps";
        for (std::size_t i = 0; i < count; ++i) {
            char name[32];
            std::snprintf(name, sizeof name, "model%05zu.mesh", i);
            std::ofstream(place / name) << "x";
            exact.push_back((place / name).string());
            engineExact.push_back(::enginePath(place / name));
            std::snprintf(name, sizeof name, "MODEL%05zu.MESH", i);
            engineOtherCase.push_back(::enginePath(place / name));
            engineOtherDirectories.push_back(::enginePath(m_directory.path() / "DATA" / "Maps" / name));
            std::snprintf(name, sizeof name, "absent%05zu.mesh", i);
            missing.push_back((place / name).string());
            engineMissing.push_back(::enginePath(place / name));
            virtualMissing.push_back((m_directory.path() / "archived" / "maps" / name).string());
            engineVirtualMissing.push_back(::enginePath(m_directory.path() / "archived" / "maps" / name));
        }
        // Past the time in which the directory's time stamp is too young for its listing to be kept.
        const auto start = std::chrono::steady_clock::now();
        while (std::chrono::steady_clock::now() - start < std::chrono::milliseconds(200))
            for (const auto *names : {&engineOtherCase, &engineOtherDirectories, &engineVirtualMissing})
                vl::platform::fileKind(names->front().c_str());
    }

    /// The current directory, as a client's local root is.
    std::string enginePath() const { return m_directory.enginePath(); }

    std::vector<std::string> exact, missing, virtualMissing;
    std::vector<std::string> engineExact, engineOtherCase, engineOtherDirectories, engineMissing,
        engineVirtualMissing;

  private:
    TemporaryDirectory m_directory;
};

using List = std::vector<std::string> Fixture::*;

template <class Operation>
void overAllNames(benchmark::State &state, List names, Operation operation) {
    static const Fixture fixture;
    if (!vl::platform::setCurrentDirectory(fixture.enginePath().c_str())) {
        state.SkipWithError("no current directory");
        return;
    }
    const std::vector<std::string> &list = fixture.*names;
    std::size_t i = 0;
    for (auto _ : state) {
        benchmark::DoNotOptimize(operation(list[i].c_str()));
        i = i + 1 == list.size() ? 0 : i + 1;
    }
}

int plainStat(const char *name) {
    struct stat info;
    return stat(name, &info);
}

int plainOpen(const char *name) {
    std::FILE *const file = std::fopen(name, "rbe");
    return file ? std::fclose(file) : -1;
}

int openedByLayer(const char *name) {
    std::FILE *const file = vl::platform::openFile(name, "rb");
    return file ? std::fclose(file) : -1;
}

} // namespace

BENCHMARK_CAPTURE(overAllNames, open_exact_fopen, &Fixture::exact, plainOpen);
BENCHMARK_CAPTURE(overAllNames, open_exact, &Fixture::engineExact, openedByLayer);
BENCHMARK_CAPTURE(overAllNames, open_wrong_case, &Fixture::engineOtherCase, openedByLayer);
BENCHMARK_CAPTURE(overAllNames, open_wrong_case_directories, &Fixture::engineOtherDirectories, openedByLayer);
BENCHMARK_CAPTURE(overAllNames, open_missing, &Fixture::engineMissing, openedByLayer);
BENCHMARK_CAPTURE(overAllNames, exists_stat, &Fixture::exact, plainStat);
BENCHMARK_CAPTURE(overAllNames, exists, &Fixture::engineExact, vl::platform::fileKind);
BENCHMARK_CAPTURE(overAllNames, missing_stat, &Fixture::missing, plainStat);
BENCHMARK_CAPTURE(overAllNames, missing, &Fixture::engineMissing, vl::platform::fileKind);
BENCHMARK_CAPTURE(overAllNames, virtual_missing_stat, &Fixture::virtualMissing, plainStat);
BENCHMARK_CAPTURE(overAllNames, virtual_missing, &Fixture::engineVirtualMissing, vl::platform::fileKind);

BENCHMARK_MAIN();
