// Data files as a game has them: 32 levels of entities and meshes in chunks, written and read field by field.
// With tags and without, in memory; and from disk or a stored archive entry, loaded whole and streamed.

#include "tests/support/archive_builder.h"
#include "tests/support/temporary_directory.h"
#include "vl/core.h"
#include "vl/file.h"
#include "vl/math_types.h"
#include "vl/memoryfile.h"

#include <benchmark/benchmark.h>

#include <cstdint>
#include <cstdlib>
#include <random>
#include <string>
#include <vector>

namespace {

using Vector3 = M_Vector3Template<float>;
using Vector2 = M_Vector2Template<float>;

struct Entity {
    V_String name, kind;
    int health, group;
    unsigned int flags;
    float scale;
    bool visible;
    Vector3 position, direction;
};

struct Vertex {
    Vector3 position, normal;
    Vector2 texture;
};

struct Mesh {
    V_String material;
    std::vector<Vertex> vertices;
    std::vector<int> indices;
};

struct Level {
    std::vector<Entity> entities;
    std::vector<Mesh> meshes;
};

constexpr int levelCount = 32;

Level makeLevel(unsigned int seed) {
    std::mt19937 random(seed);
    const auto real = [&random] { return static_cast<float>(random() % 100'000) / 100; };
    const auto vector = [&] { return Vector3{real(), real(), real()}; };
    Level level;
    level.entities.resize(1200);
    for (Entity &entity : level.entities)
        entity = {V_String(4 + random() % 10, 'n'),
                  V_String(4 + random() % 8, 'k'),
                  static_cast<int>(random() % 1000),
                  static_cast<int>(random() % 40) - 1,
                  static_cast<unsigned int>(random() >> random() % 32),
                  real(),
                  random() % 2 == 0,
                  vector(),
                  vector()};
    level.meshes.resize(24);
    for (Mesh &mesh : level.meshes) {
        mesh.material = V_String(30, 'm');
        mesh.vertices.resize(200);
        for (Vertex &vertex : mesh.vertices)
            vertex = {vector(), vector(), {real(), real()}};
        mesh.indices.resize(900);
        for (int &index : mesh.indices)
            index = static_cast<int>(random() % 200);
    }
    return level;
}

const std::vector<Level> &levels() {
    static const std::vector<Level> all = [] {
        std::vector<Level> result;
        for (unsigned int i = 0; i < levelCount; ++i)
            result.push_back(makeLevel(i));
        return result;
    }();
    return all;
}

enum ChunkID : unsigned int { entityID, meshID };

void write(V_MemoryFile &file, const Level &level) {
    file.createChunk(entityID, 1);
    file << static_cast<int>(level.entities.size());
    for (const Entity &entity : level.entities)
        file << entity.name << entity.kind << entity.health << entity.group << entity.flags << entity.scale
             << entity.visible << entity.position << entity.direction;
    file.closeChunk();
    for (const Mesh &mesh : level.meshes) {
        file.createChunk(meshID, 1);
        file << mesh.material << static_cast<int>(mesh.vertices.size());
        for (const Vertex &vertex : mesh.vertices)
            file << vertex.position << vertex.normal << vertex.texture;
        file << static_cast<int>(mesh.indices.size());
        for (const int index : mesh.indices)
            file << index;
        file.closeChunk();
    }
}

std::size_t readCount(V_MemoryFile &file) {
    int count;
    file >> count;
    return static_cast<std::size_t>(count);
}

void read(V_MemoryFile &file, Level &level) {
    std::size_t meshes = 0;
    level.meshes.resize(24);
    for (V_MemoryFile::Chunk chunk = file.peekChunk(); chunk.isValid(); file.peekChunk(chunk)) {
        V_MemoryFile &in = chunk.getMemoryFile();
        in.enableTags(file.areTagsEnabled());
        if (chunk.getID() == entityID) {
            level.entities.resize(readCount(in));
            for (Entity &entity : level.entities)
                in >> entity.name >> entity.kind >> entity.health >> entity.group >> entity.flags >>
                    entity.scale >> entity.visible >> entity.position >> entity.direction;
        } else {
            Mesh &mesh = level.meshes[meshes++];
            in >> mesh.material;
            mesh.vertices.resize(readCount(in));
            for (Vertex &vertex : mesh.vertices)
                in >> vertex.position >> vertex.normal >> vertex.texture;
            mesh.indices.resize(readCount(in));
            for (int &index : mesh.indices)
                in >> index;
        }
        file.skipChunk();
    }
    if (meshes != level.meshes.size())
        std::abort();
}

std::string nameOf(int level) { return "LEVEL" + std::to_string(level) + ".DAT"; }

/// The levels on disk, and in an archive of another root.
struct Fixture {
    TemporaryDirectory onDisk, archived;
    V_VantorInit library;

    Fixture() {
        Sys->ceaseVerbose(1);
        File->setFileSystemRoot(onDisk.enginePath().c_str());
        ArchiveBuilder archive;
        for (int i = 0; i < levelCount; ++i) {
            V_MemoryFile file;
            write(file, levels()[static_cast<std::size_t>(i)]);
            file.save(nameOf(i).c_str());
            archive.add("\\" + nameOf(i), {static_cast<const char *>(file.getAddress()), file.getSize()});
        }
        archive.write(archived.path() / "LEVELS.VAS");
    }
};

const Fixture &fixture() {
    static const Fixture all;
    return all;
}

void count(benchmark::State &state) { state.SetItemsProcessed(state.iterations() * levelCount); }

void writeLevels(benchmark::State &state, bool tags) {
    V_MemoryFile file;
    for (auto _ : state)
        for (const Level &level : levels()) {
            file.construct(1'000'000u);
            file.enableTags(tags);
            write(file, level);
            benchmark::DoNotOptimize(file.getAddress());
        }
    count(state);
}

void readLevels(benchmark::State &state, bool tags) {
    std::vector<V_MemoryFile> files(levelCount);
    for (std::size_t i = 0; i < levelCount; ++i) {
        files[i].enableTags(tags);
        write(files[i], levels()[i]);
    }
    Level level;
    for (auto _ : state)
        for (V_MemoryFile &file : files) {
            file.toRead();
            read(file, level);
        }
    count(state);
}

void openLevels(benchmark::State &state, bool archived, V_MemoryFile::AccessMethod method) {
    File->setFileSystemRoot((archived ? fixture().archived : fixture().onDisk).enginePath().c_str());
    Level level;
    for (auto _ : state)
        for (int i = 0; i < levelCount; ++i) {
            V_MemoryFile file(nameOf(i).c_str(), method);
            read(file, level);
        }
    count(state);
}

BENCHMARK_CAPTURE(writeLevels, tagged, true);
BENCHMARK_CAPTURE(writeLevels, untagged, false);
BENCHMARK_CAPTURE(readLevels, tagged, true);
BENCHMARK_CAPTURE(readLevels, untagged, false);
BENCHMARK_CAPTURE(openLevels, disk_whole, false, V_MemoryFile::AM_MEMORY);
BENCHMARK_CAPTURE(openLevels, disk_streamed, false, V_MemoryFile::AM_STREAM);
BENCHMARK_CAPTURE(openLevels, archive_whole, true, V_MemoryFile::AM_MEMORY);
BENCHMARK_CAPTURE(openLevels, archive_streamed, true, V_MemoryFile::AM_STREAM);

} // namespace

int main(int count, char **arguments) {
    fixture();
    benchmark::Initialize(&count, arguments);
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
