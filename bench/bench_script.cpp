// Scripts beside libconfig++, RapidJSON and yaml-cpp: the same 2,000 blocks of 10 values in each one's own
// language, each read from files on disk. A script's tree is limited in size, so that they are spread over as
// many scripts (and documents) of 1,000 blocks as it takes.
//
//     Load    file to tree; items are values, `allocations` those that one document takes
//     Memory  the same from memory (the script's file system put aside)
//     Read    one block of 10 values out of a loaded tree into a client's variables; items are values
#include <benchmark/benchmark.h>

#include <libconfig.h++>
#include <rapidjson/document.h>
#include <yaml-cpp/yaml.h>

#include "tests/support/memory_scripts.h"
#include "tests/support/temporary_directory.h"

#include "vl/core.h"
#include "vl/file.h"
#include "vl/script.h"

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <string>

// The C library's allocation functions, counted: two of the peers do not allocate by operator new.
extern "C" {
void *__libc_malloc(std::size_t size);
void *__libc_calloc(std::size_t count, std::size_t size);
void *__libc_realloc(void *block, std::size_t size);

long allocations = 0;

void *malloc(std::size_t size) {
    ++allocations;
    return __libc_malloc(size);
}
void *calloc(std::size_t count, std::size_t size) {
    ++allocations;
    return __libc_calloc(count, size);
}
void *realloc(void *block, std::size_t size) {
    ++allocations;
    return __libc_realloc(block, size);
}
}

namespace {

constexpr int documents = 2;
constexpr int blocks = 1000;
constexpr int values = documents * blocks * 10;

/// A block in the four languages, by their ways to write names, texts, vectors, numbers and the ends of each.
std::string block(int i, const char *format) {
    char text[512];
    std::snprintf(text, sizeof text, format, i, 0.5 + i % 97, 12 + i % 5, -i, i % 2 ? "true" : "false",
                  i % 10, i % 7, i % 3, i * 0.25, 1000 + i, i % 100, 3.75 + i % 11);
    return text;
}

const char *const scriptFormat =
    "[vehicle]\n  name = \"Vehicle %d\";\n  speed = %g;\n  gears = %d;\n  offset = %d;\n"
    "  turbo = %s;\n  position = (%d, %d, %d);\n  mass = %g;\n  price = %d;\n"
    "  skill = %d;\n  grip = %g;\n";
const char *const configFormat = "  { name = \"Vehicle %d\";\n  speed = %#g;\n  gears = %d;\n  offset = %d;\n"
                                 "  turbo = %s;\n  position = [%d, %d, %d];\n  mass = %#g;\n  price = %d;\n"
                                 "  skill = %d;\n  grip = %#g; }";
const char *const jsonFormat =
    "  { \"name\": \"Vehicle %d\",\n  \"speed\": %g,\n  \"gears\": %d,\n  \"offset\": %d,\n"
    "  \"turbo\": %s,\n  \"position\": [%d, %d, %d],\n  \"mass\": %g,\n  \"price\": %d,\n"
    "  \"skill\": %d,\n  \"grip\": %g }";
const char *const yamlFormat = "- name: \"Vehicle %d\"\n  speed: %g\n  gears: %d\n  offset: %d\n"
                               "  turbo: %s\n  position: [%d, %d, %d]\n  mass: %g\n  price: %d\n"
                               "  skill: %d\n  grip: %g\n";

std::string document(const char *format, const char *separator = "") {
    std::string text;
    for (int i = 0; i < blocks; ++i)
        text += (i ? separator : "") + block(i, format);
    return text;
}

/// The documents, in memory and as files of the library's root directory.
struct World {
    TemporaryDirectory directory;
    V_VantorInit library;
    std::string script = document(scriptFormat);
    std::string config = "blocks = (\n" + document(configFormat, ",\n") + " );\n";
    std::string json = "[\n" + document(jsonFormat, ",\n") + "]\n";
    std::string yaml = document(yamlFormat);

    World() {
        Sys->ceaseVerbose(0);
        File->setFileSystemRoot(directory.enginePath().c_str());
        write("script.txt", script);
        write("config.cfg", config);
        write("document.json", json);
        write("document.yaml", yaml);
    }
    std::string path(const char *name) const { return (directory.path() / name).string(); }
    void write(const char *name, const std::string &text) const { std::ofstream(path(name)) << text; }
};

const World &world() {
    static const World instance;
    return instance;
}

std::string readWhole(const std::string &path) {
    std::ifstream file(path, std::ios::binary | std::ios::ate);
    std::string text(static_cast<std::size_t>(file.tellg()), '\0');
    file.seekg(0);
    file.read(text.data(), static_cast<std::streamsize>(text.size()));
    return text;
}

/// Loads every document once per iteration.
template <class Load>
void measure(benchmark::State &state, std::size_t bytes, const Load &load) {
    world();
    const long before = allocations;
    load();
    const long perDocument = allocations - before;
    for (auto _ : state)
        for (int i = 0; i < documents; ++i)
            load();
    state.SetItemsProcessed(state.iterations() * values);
    state.SetBytesProcessed(state.iterations() * documents * static_cast<long>(bytes));
    state.counters["allocations"] = static_cast<double>(perDocument);
}

// ---- Load -------------------------------------------------------------------------------------------------

void loadScript() {
    V_Script script("script.txt");
    if (script.count() != blocks)
        std::abort();
}

void Load_Vantor(benchmark::State &state) { measure(state, world().script.size(), loadScript); }

void Load_RapidJSON(benchmark::State &state) {
    measure(state, world().json.size(), [] {
        const std::string text = readWhole(world().path("document.json"));
        rapidjson::Document json;
        if (json.Parse(text.data(), text.size()).HasParseError() || json.Size() != blocks)
            std::abort();
    });
}

void Load_libconfig(benchmark::State &state) {
    measure(state, world().config.size(), [] {
        libconfig::Config config;
        config.readFile(world().path("config.cfg").c_str());
        if (config.lookup("blocks").getLength() != blocks)
            std::abort();
    });
}

void Load_yaml(benchmark::State &state) {
    measure(state, world().yaml.size(), [] {
        if (YAML::LoadFile(world().path("document.yaml")).size() != blocks)
            std::abort();
    });
}

// ---- Memory -----------------------------------------------------------------------------------------------

void Memory_Vantor(benchmark::State &state) {
    world();
    MemoryScripts scripts;
    scripts.m_files["script.txt"] = world().script;
    measure(state, world().script.size(), loadScript);
}

void Memory_RapidJSON(benchmark::State &state) {
    measure(state, world().json.size(), [] {
        rapidjson::Document json;
        if (json.Parse(world().json.data(), world().json.size()).HasParseError())
            std::abort();
    });
}

void Memory_libconfig(benchmark::State &state) {
    measure(state, world().config.size(), [] {
        libconfig::Config config;
        config.readString(world().config);
    });
}

// ---- Read -------------------------------------------------------------------------------------------------

struct Vehicle {
    char name[32];
    float speed, position[3], mass, grip;
    int gears, offset, turbo, price, skill;
};

void Read_Vantor(benchmark::State &state) {
    world();
    V_Script script("script.txt");
    Vehicle vehicle;
    const V_Script::Variables table[] = {{"name", vehicle.name, nullptr, &V_Script::t_string},
                                         {"speed", &vehicle.speed, nullptr, &V_Script::t_float},
                                         {"gears", &vehicle.gears, nullptr, &V_Script::t_int},
                                         {"offset", &vehicle.offset, nullptr, &V_Script::t_int},
                                         {"turbo", &vehicle.turbo, nullptr, &V_Script::t_int},
                                         {"position", vehicle.position, nullptr, &V_Script::t_float3},
                                         {"mass", &vehicle.mass, nullptr, &V_Script::t_float},
                                         {"price", &vehicle.price, nullptr, &V_Script::t_int},
                                         {"skill", &vehicle.skill, nullptr, &V_Script::t_int},
                                         {"grip", &vehicle.grip, nullptr, &V_Script::t_float},
                                         {}};
    for (auto _ : state) {
        script.parse(table, 7u, true);
        benchmark::DoNotOptimize(vehicle);
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(state.iterations() * 10);
}

void Read_RapidJSON(benchmark::State &state) {
    rapidjson::Document json;
    json.Parse(world().json.data(), world().json.size());
    Vehicle vehicle;
    for (auto _ : state) {
        const auto &block = json[7];
        std::snprintf(vehicle.name, sizeof vehicle.name, "%s", block["name"].GetString());
        vehicle.speed = block["speed"].GetFloat();
        vehicle.gears = block["gears"].GetInt();
        vehicle.offset = block["offset"].GetInt();
        vehicle.turbo = block["turbo"].GetBool();
        for (rapidjson::SizeType i = 0; i < 3; ++i)
            vehicle.position[i] = block["position"][i].GetFloat();
        vehicle.mass = block["mass"].GetFloat();
        vehicle.price = block["price"].GetInt();
        vehicle.skill = block["skill"].GetInt();
        vehicle.grip = block["grip"].GetFloat();
        benchmark::DoNotOptimize(vehicle);
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(state.iterations() * 10);
}

void Read_libconfig(benchmark::State &state) {
    libconfig::Config config;
    config.readString(world().config);
    const libconfig::Setting &list = config.lookup("blocks");
    Vehicle vehicle;
    for (auto _ : state) {
        const libconfig::Setting &block = list[7];
        std::snprintf(vehicle.name, sizeof vehicle.name, "%s", block["name"].c_str());
        vehicle.speed = block["speed"];
        vehicle.gears = block["gears"];
        vehicle.offset = block["offset"];
        vehicle.turbo = static_cast<bool>(block["turbo"]);
        for (int i = 0; i < 3; ++i)
            vehicle.position[i] = static_cast<float>(static_cast<int>(block["position"][i]));
        vehicle.mass = block["mass"];
        vehicle.price = block["price"];
        vehicle.skill = block["skill"];
        vehicle.grip = block["grip"];
        benchmark::DoNotOptimize(vehicle);
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(state.iterations() * 10);
}

BENCHMARK(Load_Vantor);
BENCHMARK(Load_RapidJSON);
BENCHMARK(Load_libconfig);
BENCHMARK(Load_yaml);
BENCHMARK(Memory_Vantor);
BENCHMARK(Memory_RapidJSON);
BENCHMARK(Memory_libconfig);
BENCHMARK(Read_Vantor);
BENCHMARK(Read_RapidJSON);
BENCHMARK(Read_libconfig);

} // namespace

BENCHMARK_MAIN();
