// Eight places, directories and archives in turn, beside PhysicsFS with the same directories and a stored zip
// for each archive: mounting them, finding names, listing a directory that all of them have, reading and
// writing files of 4 KiB.

#include "tests/support/archive_builder.h"
#include "tests/support/temporary_directory.h"
#include "vl/core.h"
#include "vl/file.h"

#include <algorithm>
#include <benchmark/benchmark.h>
#include <fstream>
#include <physfs.h>
#include <random>
#include <string>
#include <vector>
#include <zip.h>

namespace {

constexpr int places = 8;
constexpr int directories = 20; // in each place, and files in each directory
constexpr int files = 50;

std::string fileName(int place, int file) {
    return "texture_" + std::to_string(place) + "_" + std::to_string(file) + ".tga";
}

struct Fixture {
    TemporaryDirectory directory;
    V_VantorInit library;
    std::string content = std::string(4096, 'x');
    std::vector<std::string> ours, theirs; ///< the paths of the places
    std::vector<std::string> names, missing;

    Fixture() {
        Sys->ceaseVerbose(1);
        PHYSFS_init(nullptr);
        for (int place = 0; place < places; ++place) {
            const std::filesystem::path path = directory.path() / std::to_string(place);
            if (place % 2 == 0)
                makeDirectory(path, place);
            else
                makeArchives(path, place);
        }
        std::mt19937 random(1);
        std::shuffle(names.begin(), names.end(), random);
        for (const std::string &name : names)
            missing.push_back(name + "x");
        File->setFileSystemRoot(ours[0].c_str()); // the first place
        mountOurs();
        mountTheirs();
        PHYSFS_setWriteDir(theirs[0].c_str());
    }

    void makeDirectory(const std::filesystem::path &path, int place) {
        ours.push_back(enginePath(path));
        theirs.push_back(path);
        for (int d = 0; d < directories; ++d) {
            std::filesystem::create_directories(path / std::to_string(d));
            for (int f = 0; f < files; ++f) {
                names.push_back(std::to_string(d) + "/" + fileName(place, f));
                std::ofstream(path / names.back()) << content;
            }
        }
    }

    void makeArchives(const std::filesystem::path &path, int place) {
        ours.push_back(enginePath(path) + ".add");
        theirs.push_back(path.string() + ".zip");
        ArchiveBuilder builder;
        int error = 0;
        zip_t *archive = zip_open(theirs.back().c_str(), ZIP_CREATE, &error);
        builder.addDirectory("\\");
        for (int d = 0; d < directories; ++d)
            for (int f = 0; f < files; ++f) {
                const std::string name = fileName(place, f);
                names.push_back(std::to_string(d) + "/" + name);
                builder.add("\\" + std::to_string(d) + "\\" + name, content);
                zip_source_t *const source = zip_source_buffer(archive, content.data(), content.size(), 0);
                const zip_int64_t index = zip_file_add(archive, names.back().c_str(), source, 0);
                zip_set_file_compression(archive, static_cast<zip_uint64_t>(index), ZIP_CM_STORE, 0);
            }
        zip_close(archive);
        builder.write(path.string() + ".add");
    }

    void mountOurs() {
        for (int place = 1; place < places; ++place)
            ids.push_back(File->addPlace(ours[static_cast<std::size_t>(place)].c_str()));
    }
    void unmountOurs() {
        for (const unsigned int id : ids)
            File->removePlace(id);
        ids.clear();
    }
    void mountTheirs() {
        for (const std::string &path : theirs)
            PHYSFS_mount(path.c_str(), nullptr, 1);
    }
    void unmountTheirs() {
        for (const std::string &path : theirs)
            PHYSFS_unmount(path.c_str());
    }

  private:
    std::vector<unsigned int> ids;
};

Fixture &fixture() {
    static Fixture instance;
    return instance;
}

// ---- Mounting ------------------------------------------------------------------------------------------

void mount(benchmark::State &state) {
    Fixture &fixture = ::fixture();
    for (auto _ : state) {
        fixture.unmountOurs();
        fixture.mountOurs();
    }
}

void mountPhysfs(benchmark::State &state) {
    Fixture &fixture = ::fixture();
    for (auto _ : state) {
        fixture.unmountTheirs();
        fixture.mountTheirs();
    }
}

// ---- Finding -------------------------------------------------------------------------------------------

template <class Exists>
void finding(benchmark::State &state, const std::vector<std::string> &names, bool there, Exists exists) {
    std::size_t next = 0;
    for (auto _ : state) {
        if (exists(names[next].c_str()) != there)
            state.SkipWithError("a wrong answer");
        next = (next + 1) % names.size();
    }
}

void hit(benchmark::State &state) {
    finding(state, fixture().names, true, [](const char *name) { return File->exists(name) != 0; });
}
void hitPhysfs(benchmark::State &state) {
    finding(state, fixture().names, true, [](const char *name) { return PHYSFS_exists(name) != 0; });
}
void miss(benchmark::State &state) {
    finding(state, fixture().missing, false, [](const char *name) { return File->exists(name) != 0; });
}
void missPhysfs(benchmark::State &state) {
    finding(state, fixture().missing, false, [](const char *name) { return PHYSFS_exists(name) != 0; });
}

// ---- Listing -------------------------------------------------------------------------------------------

void expectAll(benchmark::State &state, int found) {
    if (found != places * files)
        state.SkipWithError("a wrong number of names");
}

void search(benchmark::State &state) {
    fixture();
    for (auto _ : state) {
        int found = 0;
        for ([[maybe_unused]] const char *name : V_FileSearch("7\\*"))
            ++found;
        expectAll(state, found);
    }
}

void searchPhysfs(benchmark::State &state) {
    fixture();
    for (auto _ : state) {
        int found = 0;
        PHYSFS_enumerate(
            "7",
            [](void *count, const char *, const char *) {
                ++*static_cast<int *>(count);
                return PHYSFS_ENUM_OK;
            },
            &found);
        expectAll(state, found);
    }
}

void list(benchmark::State &state) {
    fixture();
    for (auto _ : state) {
        int found = 0;
        for (const V_ListedFile &file : V_FileListing("7\\*"))
            found += file.size == 4096;
        expectAll(state, found);
    }
}

void listPhysfs(benchmark::State &state) {
    fixture();
    for (auto _ : state) {
        int found = 0;
        char **const names = PHYSFS_enumerateFiles("7");
        for (char **name = names; *name; ++name) {
            PHYSFS_Stat stat;
            PHYSFS_stat((std::string("7/") + *name).c_str(), &stat);
            found += stat.filesize == 4096;
        }
        PHYSFS_freeList(names);
        expectAll(state, found);
    }
}

// ---- Reading and writing -------------------------------------------------------------------------------

void load(benchmark::State &state) {
    const Fixture &fixture = ::fixture();
    char buffer[4096];
    std::size_t next = 0;
    for (auto _ : state) {
        File->load(buffer, fixture.names[next].c_str(), V_File::WHOLE_FILE);
        next = (next + 1) % fixture.names.size();
    }
}

void loadPhysfs(benchmark::State &state) {
    const Fixture &fixture = ::fixture();
    char buffer[4096];
    std::size_t next = 0;
    for (auto _ : state) {
        PHYSFS_File *const file = PHYSFS_openRead(fixture.names[next].c_str());
        if (PHYSFS_readBytes(file, buffer, sizeof buffer) != sizeof buffer)
            state.SkipWithError("not read");
        PHYSFS_close(file);
        next = (next + 1) % fixture.names.size();
    }
}

void write(benchmark::State &state) {
    const Fixture &fixture = ::fixture();
    for (auto _ : state) {
        V_FileWriter file("written");
        file.write(fixture.content.data(), 4096);
        file.close();
    }
    File->del("written");
}

void writePhysfs(benchmark::State &state) {
    const Fixture &fixture = ::fixture();
    for (auto _ : state) {
        PHYSFS_File *const file = PHYSFS_openWrite("written");
        if (PHYSFS_writeBytes(file, fixture.content.data(), 4096) != 4096)
            state.SkipWithError("not written");
        PHYSFS_close(file);
    }
    PHYSFS_delete("written");
}

BENCHMARK(mount)->Unit(benchmark::kMicrosecond);
BENCHMARK(mountPhysfs)->Unit(benchmark::kMicrosecond);
BENCHMARK(hit);
BENCHMARK(hitPhysfs);
BENCHMARK(miss);
BENCHMARK(missPhysfs);
BENCHMARK(search)->Unit(benchmark::kMicrosecond);
BENCHMARK(searchPhysfs)->Unit(benchmark::kMicrosecond);
BENCHMARK(list)->Unit(benchmark::kMicrosecond);
BENCHMARK(listPhysfs)->Unit(benchmark::kMicrosecond);
BENCHMARK(load);
BENCHMARK(loadPhysfs);
BENCHMARK(write);
BENCHMARK(writePhysfs);

} // namespace

BENCHMARK_MAIN();
