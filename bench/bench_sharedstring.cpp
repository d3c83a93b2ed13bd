// The shared string pool beside maps from text to identifier: absl::flat_hash_map and std::unordered_map with
// a hash that ignores case, and std::map with a comparison that does. 30,000 names in the manner of a game's
// data.
//
//   Hit     every name looked up in random order, half of them in upper case
//   Miss    every name interned into an empty pool or map that has room for all (the pool also keeps its
//           sorted table and the way back from identifier to text; the maps do not)
//   Memory  bytes taken from the global allocator by what Miss builds (counter "bytes")

#include "vl/sharedstring.h"

#include <absl/container/flat_hash_map.h>
#include <absl/hash/hash.h>
#include <benchmark/benchmark.h>

#include <algorithm>
#include <malloc.h>
#include <map>
#include <memory>
#include <random>
#include <string>
#include <unordered_map>
#include <vector>

namespace {

constexpr int nameCount = 30000;

/// Bytes in use, in the heap and in blocks mapped for themselves.
std::size_t liveBytes() {
    const struct mallinfo2 info = mallinfo2();
    return info.uordblks + info.hblkhd;
}

char fold(char c) { return static_cast<char>(c >= 'A' && c <= 'Z' ? c + ('a' - 'A') : c); }

/// The hash a careful user would write: fold, then hash the whole text with absl's fast hash.
struct FoldingHash {
    std::size_t operator()(const std::string &text) const {
        char folded[64];
        const std::size_t size = std::min(text.size(), sizeof folded);
        for (std::size_t i = 0; i < size; ++i)
            folded[i] = fold(text[i]);
        return absl::Hash<std::string_view>()(std::string_view(folded, size));
    }
};

struct FoldingEqual {
    bool operator()(const std::string &a, const std::string &b) const {
        return a.size() == b.size() &&
               std::equal(a.begin(), a.end(), b.begin(), [](char x, char y) { return fold(x) == fold(y); });
    }
};

struct FoldingLess {
    bool operator()(const std::string &a, const std::string &b) const {
        return std::lexicographical_compare(a.begin(), a.end(), b.begin(), b.end(), [](char x, char y) {
            return static_cast<unsigned char>(fold(x)) < static_cast<unsigned char>(fold(y));
        });
    }
};

template <class Text>
std::vector<Text> makeNames() {
    const char *const kinds[] = {"textures/", "models/", "sounds/", "bone_", "light", "Material", "fx/", ""};
    const char *const things[] = {"brick", "metalPlate", "hull", "Engine", "spark",
                                  "water", "grass",      "door", "arm"};
    const char *const ends[] = {".tga", ".mdl", "_left", "", "_LOD1", "Emitter"};
    std::mt19937 random(1);
    std::vector<Text> names;
    for (int i = 0; i < nameCount; ++i) {
        names.push_back(Text(kinds[random() % 8]) + things[random() % 9] + Text(std::to_string(i).c_str()) +
                        ends[random() % 6]);
    }
    return names;
}

/// The same names in random order, half of them in upper case.
template <class Text>
std::vector<Text> makeQueries() {
    std::vector<Text> names = makeNames<Text>();
    std::mt19937 random(2);
    std::shuffle(names.begin(), names.end(), random);
    for (std::size_t i = 0; i < names.size(); i += 2)
        for (char &c : names[i])
            c = static_cast<char>(c >= 'a' && c <= 'z' ? c - ('a' - 'A') : c);
    return names;
}

struct Pool {
    using Text = V_String;
    V_SharedStringPool m_pool{nameCount};
    short intern(const Text &text) { return m_pool.getSharedString(text).getID(); }
};

template <class Map>
struct MapPool {
    using Text = std::string;
    Map m_map;
    MapPool() {
        if constexpr (requires { m_map.reserve(nameCount); })
            m_map.reserve(nameCount);
    }
    short intern(const Text &text) {
        return m_map.try_emplace(text, static_cast<short>(m_map.size())).first->second;
    }
};

using Flat = MapPool<absl::flat_hash_map<std::string, short, FoldingHash, FoldingEqual>>;
using Unordered = MapPool<std::unordered_map<std::string, short, FoldingHash, FoldingEqual>>;
using Ordered = MapPool<std::map<std::string, short, FoldingLess>>;

template <class Subject>
void hit(benchmark::State &state) {
    Subject subject;
    for (const auto &name : makeNames<typename Subject::Text>())
        subject.intern(name);
    const auto queries = makeQueries<typename Subject::Text>();
    for (auto _ : state)
        for (const auto &query : queries)
            benchmark::DoNotOptimize(subject.intern(query));
    state.SetItemsProcessed(state.iterations() * nameCount);
}

template <class Subject>
void miss(benchmark::State &state) {
    const auto names = makeNames<typename Subject::Text>();
    std::size_t bytes = 0;
    for (auto _ : state) {
        const std::size_t before = liveBytes();
        auto subject = std::make_unique<Subject>();
        for (const auto &name : names)
            benchmark::DoNotOptimize(subject->intern(name));
        state.PauseTiming();
        bytes = liveBytes() - before;
        subject.reset();
        state.ResumeTiming();
    }
    state.SetItemsProcessed(state.iterations() * nameCount);
    state.counters["bytes"] = static_cast<double>(bytes);
}

BENCHMARK_TEMPLATE(hit, Pool)->Name("SharedString/Hit/vl");
BENCHMARK_TEMPLATE(hit, Flat)->Name("SharedString/Hit/absl_flat_hash_map");
BENCHMARK_TEMPLATE(hit, Unordered)->Name("SharedString/Hit/std_unordered_map");
BENCHMARK_TEMPLATE(hit, Ordered)->Name("SharedString/Hit/std_map");
BENCHMARK_TEMPLATE(miss, Pool)->Name("SharedString/Miss/vl");
BENCHMARK_TEMPLATE(miss, Flat)->Name("SharedString/Miss/absl_flat_hash_map");
BENCHMARK_TEMPLATE(miss, Unordered)->Name("SharedString/Miss/std_unordered_map");
BENCHMARK_TEMPLATE(miss, Ordered)->Name("SharedString/Miss/std_map");

} // namespace

BENCHMARK_MAIN();
