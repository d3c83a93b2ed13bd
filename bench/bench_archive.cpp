// Mounting an archive of 90,000 files in 1,000 directories, looking names up in it and reading entries of
// 4 KiB, beside libzip and PhysicsFS with a stored zip of the same files. The limits are the system's own
// calls: the library asks the disk before the archives, so a lookup cannot cost less than one failing stat,
// and a read is one open, one pread and one close of the archive.

#include "file/archive/entry_reader.h"
#include "platform/platform.h"
#include "tests/support/archive_builder.h"
#include "tests/support/temporary_directory.h"
#include "vl/core.h"
#include "vl/file.h"

#include <algorithm>
#include <benchmark/benchmark.h>
#include <chrono>
#include <cstdio>
#include <fcntl.h>
#include <malloc.h>
#include <physfs.h>
#include <random>
#include <string>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>
#include <zip.h>

namespace {

constexpr int directories = 1000;
constexpr int filesInEach = 90;
constexpr std::size_t entrySize = 4096; // of the first file in each directory; the others are short

enum Spelling { Exact, InOrder, OtherCase, Missing, MissingDirectory, SpellingCount };

/// In place, so that the lists cost no cache misses of their own.
struct Name {
    char text[96];
    explicit Name(const std::string &name) { std::snprintf(text, sizeof text, "%s", name.c_str()); }
};
using Names = std::vector<Name>;

/// The archives, and names in no order: for the library and the system's calls, and as zip files spell them.
struct Fixture {
    TemporaryDirectory directory;
    V_VantorInit library;
    std::string root = directory.path() / "root";
    std::string vas = directory.path() / "root" / "files.vas";
    std::string zip = directory.path() / "files.zip";
    Names names[SpellingCount], zipNames[SpellingCount], diskNames[SpellingCount], engineNames[SpellingCount];
    Names largeNames;
    std::size_t dataStart = 0;

    Fixture() {
        Sys->ceaseVerbose(1);
        std::filesystem::create_directory(root);
        writeArchives();
        std::mt19937 random(1);
        for (int spelling = 0; spelling < SpellingCount; ++spelling) {
            if (spelling != InOrder) // as clients load, directory by directory
                std::shuffle(names[spelling].begin(), names[spelling].end(), random);
            for (const Name &name : names[spelling]) {
                std::string slashed = name.text + 1;
                std::replace(slashed.begin(), slashed.end(), '\\', '/');
                zipNames[spelling].emplace_back(slashed);
                diskNames[spelling].emplace_back(root + "/" + slashed);
                engineNames[spelling].emplace_back(enginePath(root + "/" + slashed));
            }
        }
        std::shuffle(largeNames.begin(), largeNames.end(), random);
        File->setFileSystemRoot(root.c_str());
    }

    void writeArchives() {
        ArchiveBuilder builder;
        int error = 0;
        zip_t *archive = zip_open(zip.c_str(), ZIP_CREATE, &error);
        const std::string large(entrySize, 'x');
        builder.addDirectory("\\");
        for (int d = 0; d < directories; ++d)
            for (int f = 0; f < filesInEach; ++f) {
                char name[64];
                std::snprintf(name, sizeof name, "\\Level%03d\\Texture_%02d_Diffuse.tga", d, f);
                builder.add(name, f == 0 ? large : "short");
                const std::string &content = builder.records.back().stored;
                std::string zipName = name + 1;
                zipName[8] = '/';
                const zip_int64_t index = zip_file_add(
                    archive, zipName.c_str(),
                    zip_source_buffer(archive, f == 0 ? large.data() : "short", content.size(), 0), 0);
                zip_set_file_compression(archive, static_cast<zip_uint64_t>(index), ZIP_CM_STORE, 0);
                const std::string exact = name;
                names[Exact].emplace_back(exact);
                names[InOrder].emplace_back(exact);
                if (f == 0)
                    largeNames.emplace_back(exact);
                for (char *c = name; *c; ++c)
                    *c = static_cast<char>(std::toupper(*c));
                names[OtherCase].emplace_back(name);
                names[Missing].emplace_back(exact + "x");
                names[MissingDirectory].emplace_back("\\No" + exact.substr(1));
            }
        zip_close(archive);
        builder.write(vas);
        std::size_t data = 0;
        for (const auto &record : builder.records)
            data += record.stored.size();
        dataStart = std::filesystem::file_size(vas) - data;
    }
};

Fixture &fixture() {
    static Fixture instance;
    return instance;
}

std::size_t heapInUse() {
    const auto info = mallinfo2();
    return info.uordblks + info.hblkhd;
}

/// Times `mount` alone; `unmount` undoes it. Counts the bytes of the heap that it keeps.
template <class Mount, class Unmount>
void mounting(benchmark::State &state, Mount mount, Unmount unmount) {
    double bytes = 0;
    for (auto _ : state) {
        const std::size_t before = heapInUse();
        const auto start = std::chrono::steady_clock::now();
        mount();
        state.SetIterationTime(
            std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count());
        bytes = static_cast<double>(heapInUse() - before);
        unmount();
    }
    state.counters["bytes"] = bytes;
    state.SetItemsProcessed(state.iterations());
}

void mount(benchmark::State &state) {
    const std::string archive = fixture().vas;
    File->setFileSystemRoot(fixture().directory.enginePath().c_str());
    mounting(
        state, [&] { File->enablePriorityArchive(archive.c_str()); }, [] { File->disablePriorityArchive(); });
    File->setFileSystemRoot(fixture().root.c_str());
}

void mountLibzip(benchmark::State &state) {
    zip_t *archive = nullptr;
    int error = 0;
    mounting(
        state, [&] { archive = zip_open(fixture().zip.c_str(), ZIP_RDONLY, &error); },
        [&] { zip_discard(archive); });
}

/// Takes seconds, so it is left mounted for the lookups and done once.
void mountPhysfs(benchmark::State &state) {
    if (PHYSFS_isInit())
        PHYSFS_deinit();
    PHYSFS_init(nullptr);
    mounting(
        state, [] { PHYSFS_mount(fixture().zip.c_str(), nullptr, 0); }, [] {});
}

template <class Lookup>
void overAll(benchmark::State &state, const Names &names, Lookup lookup) {
    std::size_t i = 0;
    for (auto _ : state) {
        benchmark::DoNotOptimize(lookup(names[i].text));
        i = i + 1 == names.size() ? 0 : i + 1;
    }
    state.SetItemsProcessed(state.iterations());
}

void where(benchmark::State &state, Spelling spelling) {
    overAll(state, fixture().names[spelling], [](const char *name) { return File->where(name); });
}

/// What of it is the platform layer's asking the disk.
void whereOnDisk(benchmark::State &state, Spelling spelling) {
    overAll(state, fixture().engineNames[spelling],
            [](const char *name) { return vl::platform::fileKind(name); });
}

void whereStat(benchmark::State &state, Spelling spelling) {
    overAll(state, fixture().diskNames[spelling], [](const char *name) {
        struct stat info;
        return stat(name, &info);
    });
}

void whereLibzip(benchmark::State &state, Spelling spelling) {
    int error = 0;
    zip_t *archive = zip_open(fixture().zip.c_str(), ZIP_RDONLY, &error);
    const zip_flags_t flags = spelling == OtherCase ? ZIP_FL_NOCASE : 0;
    overAll(state, fixture().zipNames[spelling],
            [&](const char *name) { return zip_name_locate(archive, name, flags); });
    zip_discard(archive);
}

void wherePhysfs(benchmark::State &state, Spelling spelling) {
    if (!PHYSFS_isInit()) {
        PHYSFS_init(nullptr);
        PHYSFS_mount(fixture().zip.c_str(), nullptr, 0);
    }
    overAll(state, fixture().zipNames[spelling], [](const char *name) { return PHYSFS_exists(name); });
}

// An entry that has been found.
void readEntry(benchmark::State &state) {
    const vl::Ref<vl::Archive> archive = vl::Archive::load(enginePath(fixture().vas).c_str());
    std::vector<const V_File::VASFileEntry *> large;
    for (unsigned int i = 0; i < archive->header.fileCount; ++i)
        if (archive->files[i].size == entrySize)
            large.push_back(&archive->files[i]);
    std::mt19937 random(1);
    std::shuffle(large.begin(), large.end(), random);
    std::vector<unsigned char> buffer(entrySize);
    std::size_t i = 0;
    for (auto _ : state) {
        vl::EntryReader(*archive, *large[i], "").readWhole(buffer.data(), entrySize);
        i = i + 1 == large.size() ? 0 : i + 1;
    }
    state.SetItemsProcessed(state.iterations());
}

// By its name.
void read(benchmark::State &state) {
    std::vector<unsigned char> buffer(entrySize);
    overAll(state, fixture().largeNames, [&](const char *name) {
        File->load(buffer.data(), name, entrySize);
        return buffer[0];
    });
}

/// The calls that it cannot do without; `attempts` counts the opens that fail before, on disk.
void readSystem(benchmark::State &state, int attempts) {
    std::vector<unsigned char> buffer(entrySize);
    std::mt19937 random(1);
    const std::size_t step = entrySize + (filesInEach - 1) * 5;
    overAll(state, fixture().diskNames[Missing], [&](const char *name) {
        for (int i = 0; i < attempts; ++i)
            benchmark::DoNotOptimize(open(name, O_RDONLY | O_CLOEXEC));
        const int file = open(fixture().vas.c_str(), O_RDONLY | O_CLOEXEC);
        const ssize_t count = pread(file, buffer.data(), entrySize,
                                    static_cast<off_t>(fixture().dataStart + random() % directories * step));
        close(file);
        return count;
    });
}

} // namespace

BENCHMARK(mount)->UseManualTime()->Unit(benchmark::kMillisecond);
BENCHMARK(mountLibzip)->UseManualTime()->Unit(benchmark::kMillisecond);
BENCHMARK(mountPhysfs)->UseManualTime()->Unit(benchmark::kMillisecond)->Iterations(1);
#define EACH_SPELLING(function)                                                                              \
    BENCHMARK_CAPTURE(function, exact, Exact);                                                               \
    BENCHMARK_CAPTURE(function, in_order, InOrder);                                                          \
    BENCHMARK_CAPTURE(function, other_case, OtherCase);                                                      \
    BENCHMARK_CAPTURE(function, missing, Missing);                                                           \
    BENCHMARK_CAPTURE(function, missing_directory, MissingDirectory)
EACH_SPELLING(where);
EACH_SPELLING(whereOnDisk);
EACH_SPELLING(whereStat);
EACH_SPELLING(whereLibzip);
BENCHMARK_CAPTURE(wherePhysfs, exact, Exact);
BENCHMARK_CAPTURE(wherePhysfs, missing, Missing);
BENCHMARK(readEntry);
BENCHMARK(read);
BENCHMARK_CAPTURE(readSystem, open_pread_close, 0);
BENCHMARK_CAPTURE(readSystem, after_a_failed_open, 1);

BENCHMARK_MAIN();
