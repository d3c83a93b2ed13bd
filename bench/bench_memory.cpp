// The byte movers of V_Memory beside memcpy, memset and memcmp, at 64 bytes, 4 KiB and 1 MiB.

#include "vl/core/memory.h"

#include <benchmark/benchmark.h>

#include <cstring>
#include <vector>

namespace {

struct Vantor {
    static void copy(void *to, const void *from, unsigned int count) { V_Memory::copy(to, from, count); }
    static void set(void *to, char value, unsigned int count) { V_Memory::set(to, value, count); }
    static int compare(const void *a, const void *b, unsigned int count) {
        return V_Memory::compare(a, b, count);
    }
};

struct Standard {
    static void copy(void *to, const void *from, unsigned int count) { std::memcpy(to, from, count); }
    static void set(void *to, char value, unsigned int count) { std::memset(to, value, count); }
    static int compare(const void *a, const void *b, unsigned int count) { return std::memcmp(a, b, count); }
};

/// Two equal buffers. Their addresses and size stand in registers while the time is taken.
struct Buffers {
    explicit Buffers(const benchmark::State &state)
        : count(static_cast<unsigned int>(state.range(0))), bytes(2 * count, 7) {}
    const unsigned int count;
    std::vector<char> bytes;
};

template <class Mover>
void copy(benchmark::State &state) {
    Buffers buffers(state);
    char *const a = buffers.bytes.data(), *const b = a + buffers.count;
    const unsigned int count = buffers.count;
    for (auto _ : state) {
        Mover::copy(a, b, count);
        benchmark::ClobberMemory();
    }
    state.SetBytesProcessed(state.iterations() * state.range(0));
}

template <class Mover>
void set(benchmark::State &state) {
    Buffers buffers(state);
    char *const a = buffers.bytes.data();
    const unsigned int count = buffers.count;
    for (auto _ : state) {
        Mover::set(a, 7, count);
        benchmark::ClobberMemory();
    }
    state.SetBytesProcessed(state.iterations() * state.range(0));
}

template <class Mover, bool equal>
void compare(benchmark::State &state) {
    Buffers buffers(state);
    char *const a = buffers.bytes.data(), *const b = a + buffers.count;
    const unsigned int count = buffers.count;
    b[count - 1] = equal ? 7 : 8;
    for (auto _ : state) {
        benchmark::DoNotOptimize(Mover::compare(a, b, count));
        benchmark::ClobberMemory();
    }
    state.SetBytesProcessed(state.iterations() * state.range(0));
}

#define BENCH_SIZES Arg(64)->Arg(4096)->Arg(1 << 20)
BENCHMARK(copy<Vantor>)->BENCH_SIZES;
BENCHMARK(copy<Standard>)->BENCH_SIZES;
BENCHMARK(set<Vantor>)->BENCH_SIZES;
BENCHMARK(set<Standard>)->BENCH_SIZES;
BENCHMARK(compare<Vantor, true>)->Name("compareEqual<Vantor>")->BENCH_SIZES;
BENCHMARK(compare<Standard, true>)->Name("compareEqual<Standard>")->BENCH_SIZES;
BENCHMARK(compare<Vantor, false>)->Name("compareDifferentAtTheEnd<Vantor>")->BENCH_SIZES;
BENCHMARK(compare<Standard, false>)->Name("compareDifferentAtTheEnd<Standard>")->BENCH_SIZES;

} // namespace

BENCHMARK_MAIN();
