// Loading scripts: the largest document that the blocks' memory holds, read from its file and built into a
// tree, beside libconfig++, RapidJSON's document and yaml-cpp with equivalent documents (which they get in
// memory). Items are values. Then typed parsing of a table of ten rows, beside std::sscanf on the same texts.
//
// The peers convert numbers while they load, a script when it is asked: LoadAndParse does both.

#include "tests/support/temporary_directory.h"
#include "vl/core.h"
#include "vl/file.h"
#include "vl/script.h"

#include <benchmark/benchmark.h>
#include <libconfig.h++>
#include <rapidjson/document.h>
#include <yaml-cpp/yaml.h>

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <new>
#include <random>
#include <string>

namespace {

std::size_t allocations = 0;

} // namespace

/// Every allocation of the program is counted, whoever makes it. Inlined apart from each other, the functions
/// would look like a mismatch to GCC.
[[gnu::noinline]] void *operator new(std::size_t size) {
    ++allocations;
    if (void *block = std::malloc(size ? size : 1))
        return block;
    throw std::bad_alloc();
}
[[gnu::noinline]] void operator delete(void *block) noexcept { std::free(block); }
[[gnu::noinline]] void operator delete(void *block, std::size_t) noexcept { std::free(block); }

namespace {

constexpr int valuesPerBlock = 10;
constexpr int fewBlocks = 100;

constexpr char tableText[] =
    "[Vehicle] name = \"Big Block\"; gears = 6; seats = 4; turbo = yes; color = ff2010;\n"
    "mass = 980.5; power = 185.25; grip = 1.1; position = (-0.8, 0, 1.3); year = 1967;\n";

// ---- The documents -------------------------------------------------------------------------------------

struct Document {
    std::string script, config, json, yaml;
};

/// The same `blocks` blocks in four languages.
Document makeDocument(int blocks) {
    std::mt19937 random(1);
    const auto number = [&](unsigned int limit) { return static_cast<int>(random() % limit); };
    Document document;
    document.config = "vehicles = (\n";
    document.json = "{\"vehicles\": [\n";
    document.yaml = "vehicles:\n";
    for (int i = 0; i < blocks; ++i) {
        const int gears = number(9), seats = number(60), color = number(100000), year = 1950 + number(80);
        const double mass = number(100000) / 8.0, power = number(10000) / 10.0, drag = number(1000) / 1000.0,
                     grip = number(100) / 100.0 + 0.5;
        const auto add = [&](std::string &text, const char *format) {
            char block[512];
            const int length = std::snprintf(block, sizeof block, format, i, gears, seats, color, year, mass,
                                             power, drag, grip, i % 7);
            text.append(block, static_cast<std::size_t>(length));
        };
        add(document.script, "[Vehicle]\n    name = \"Vehicle %d\"; gears = %d; seats = %d; color = %d;\n"
                             "    year = %d; mass = %.3f; power = %.1f; drag = %.3f; grip = %.2f;\n"
                             "    engine = \"Type %d\";\n");
        add(document.config, i ? ",\n" : "");
        add(document.config, "  { name = \"Vehicle %d\"; gears = %d; seats = %d; color = %d;\n"
                             "    year = %d; mass = %.3f; power = %.1f; drag = %.3f; grip = %.2f;\n"
                             "    engine = \"Type %d\"; }");
        add(document.json, i ? ",\n" : "");
        add(document.json,
            "  { \"name\": \"Vehicle %d\", \"gears\": %d, \"seats\": %d, \"color\": %d,\n"
            "    \"year\": %d, \"mass\": %.3f, \"power\": %.1f, \"drag\": %.3f, \"grip\": %.2f,\n"
            "    \"engine\": \"Type %d\" }");
        add(document.yaml, "  - name: \"Vehicle %d\"\n    gears: %d\n    seats: %d\n    color: %d\n"
                           "    year: %d\n    mass: %.3f\n    power: %.1f\n    drag: %.3f\n    grip: %.2f\n"
                           "    engine: \"Type %d\"\n");
    }
    document.config += ");\n";
    document.json += "]}\n";
    return document;
}

/// The documents, and the scripts of a few and of many blocks as files.
class Fixture {
  public:
    Fixture() {
        Sys->ceaseVerbose(0);
        File->setFileSystemRoot(m_directory.path().c_str());
        write("table.txt", tableText);
        write("few.txt", makeDocument(fewBlocks).script);
        for (m_iBlocks = 2000;; m_iBlocks -= 10) {
            m_many = makeDocument(m_iBlocks);
            write("many.txt", m_many.script);
            try {
                const V_Script script("many.txt");
                break;
            } catch (V_ScriptLoaderException_OutOfBlockMemory *) {
            }
        }
        std::fprintf(stderr, "%d blocks; script %zu bytes, libconfig++ %zu, JSON %zu, YAML %zu\n", m_iBlocks,
                     m_many.script.size(), m_many.config.size(), m_many.json.size(), m_many.yaml.size());
    }

    const Document &many() const { return m_many; }
    int blocks() const { return m_iBlocks; }

  private:
    void write(const char *name, const std::string &text) {
        std::ofstream(m_directory.path() / name, std::ios::binary) << text;
    }

    TemporaryDirectory m_directory;
    V_VantorInit m_library;
    Document m_many;
    int m_iBlocks = 0;
};

Fixture *fixture;

// ---- Loading -------------------------------------------------------------------------------------------

template <class Load>
void measure(benchmark::State &state, int blocks, const Load &load) {
    load(); // what only a first load allocates is not of interest
    const std::size_t before = allocations;
    for (auto _ : state)
        load();
    state.counters["allocations"] =
        static_cast<double>(allocations - before) / static_cast<double>(state.iterations());
    state.SetItemsProcessed(state.iterations() * blocks * valuesPerBlock);
}

void loadFew(benchmark::State &state) {
    measure(state, fewBlocks, [] { benchmark::DoNotOptimize(V_Script("few.txt").count()); });
}
BENCHMARK(loadFew)->Name("Load/few/vl");

void loadMany(benchmark::State &state) {
    measure(state, fixture->blocks(), [] { benchmark::DoNotOptimize(V_Script("many.txt").count()); });
}
BENCHMARK(loadMany)->Name("Load/vl");

void loadAndParse(benchmark::State &state) {
    measure(state, fixture->blocks(), [] {
        static const V_Script::Format text = {"%31s", V_Script::m_argsizes_string};
        char name[32], engine[32];
        int gears, seats, color, year;
        float mass, power, drag, grip;
        const V_Script::Variables table[] = {{"name", name, nullptr, &text},
                                             {"gears", &gears, nullptr, &V_Script::t_int},
                                             {"seats", &seats, nullptr, &V_Script::t_int},
                                             {"color", &color, nullptr, &V_Script::t_int},
                                             {"year", &year, nullptr, &V_Script::t_int},
                                             {"mass", &mass, nullptr, &V_Script::t_float},
                                             {"power", &power, nullptr, &V_Script::t_float},
                                             {"drag", &drag, nullptr, &V_Script::t_float},
                                             {"grip", &grip, nullptr, &V_Script::t_float},
                                             {"engine", engine, nullptr, &text},
                                             {}};
        V_Script script("many.txt");
        for (unsigned int i = 0; i < script.count(); ++i)
            script.parse(table, i, false);
        benchmark::DoNotOptimize(grip);
    });
}
BENCHMARK(loadAndParse)->Name("LoadAndParse/vl");

void loadConfig(benchmark::State &state) {
    measure(state, fixture->blocks(), [] {
        libconfig::Config config;
        config.readString(fixture->many().config);
        benchmark::DoNotOptimize(config.lookup("vehicles").getLength());
    });
}
BENCHMARK(loadConfig)->Name("Load/libconfig++");

void loadJson(benchmark::State &state) {
    measure(state, fixture->blocks(), [] {
        rapidjson::Document document;
        document.Parse(fixture->many().json.c_str(), fixture->many().json.size());
        benchmark::DoNotOptimize(document["vehicles"].Size());
    });
}
BENCHMARK(loadJson)->Name("Load/rapidjson");

void loadYaml(benchmark::State &state) {
    measure(state, fixture->blocks(), [] {
        const YAML::Node document = YAML::Load(fixture->many().yaml);
        benchmark::DoNotOptimize(document["vehicles"].size());
    });
}
BENCHMARK(loadYaml)->Name("Load/yaml-cpp");

// ---- Typed parsing -------------------------------------------------------------------------------------

struct Variables {
    int gears, seats, turbo;
    unsigned int color;
    float mass, power, grip, position[3];
    char grade, name[32];
    unsigned int year;
};

void parseTable(benchmark::State &state) {
    static const V_Script::Format text = {"%31s", V_Script::m_argsizes_string};
    V_Script script("table.txt");
    Variables v;
    const V_Script::Variables table[] = {{"name", v.name, nullptr, &text},
                                         {"gears", &v.gears, nullptr, &V_Script::t_int},
                                         {"seats", &v.seats, nullptr, &V_Script::t_int},
                                         {"turbo", &v.turbo, nullptr, &V_Script::t_int},
                                         {"color", &v.color, nullptr, &V_Script::t_hex},
                                         {"mass", &v.mass, nullptr, &V_Script::t_float},
                                         {"power", &v.power, nullptr, &V_Script::t_float},
                                         {"grip", &v.grip, nullptr, &V_Script::t_float},
                                         {"position", v.position, nullptr, &V_Script::t_float3},
                                         {"year", &v.year, nullptr, &V_Script::t_unsigned},
                                         {}};
    script.lock(0);
    for (auto _ : state) {
        script.parse(table, true);
        benchmark::ClobberMemory();
    }
}
BENCHMARK(parseTable)->Name("ParseTable/vl");

/// The same texts by position, without looking any name up.
void scanTexts(benchmark::State &state) {
    Variables v;
    for (auto _ : state) {
        std::sscanf("Big Block", "%31[^;]", v.name);
        std::sscanf("6", "%d", &v.gears);
        std::sscanf("4", "%d", &v.seats);
        std::sscanf("1", "%d", &v.turbo);
        std::sscanf("ff2010", "%x", &v.color);
        std::sscanf("980.5", "%f", &v.mass);
        std::sscanf("185.25", "%f", &v.power);
        std::sscanf("1.1", "%f", &v.grip);
        std::sscanf("(-0.8,0,1.3)", "(%f,%f,%f)", &v.position[0], &v.position[1], &v.position[2]);
        std::sscanf("1967", "%u", &v.year);
        benchmark::ClobberMemory();
    }
}
BENCHMARK(scanTexts)->Name("ParseTable/sscanf");

/// Not measured: the time that a table may take, for comparison.
void oneMicrosecond(benchmark::State &state) {
    for (auto _ : state)
        state.SetIterationTime(1e-6);
    state.SetItemsProcessed(state.iterations());
}
BENCHMARK(oneMicrosecond)->Name("ParseTable/OneMicrosecond")->UseManualTime()->Iterations(1000);

} // namespace

int main(int count, char **arguments) {
    benchmark::Initialize(&count, arguments);
    Fixture owner;
    fixture = &owner;
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
