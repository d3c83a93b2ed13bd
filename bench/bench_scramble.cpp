// Scrambling beside the plain loop of its definition, one generator step and one byte at a time.

#include "file/codec/scramble.h"

#include <benchmark/benchmark.h>

#include <vector>

namespace {

using Bytes = std::vector<std::uint8_t>;

void report(benchmark::State &state) {
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations()) * state.range(0));
}

void plainUnscramble(benchmark::State &state) {
    Bytes bytes(static_cast<std::size_t>(state.range(0)), 'x');
    for (auto _ : state) {
        std::int32_t key = 1;
        for (std::uint32_t i = 0; i < bytes.size(); ++i) {
            const unsigned int rotation = i % 5;
            const unsigned int turned = bytes[i] << rotation | bytes[i] >> (8 - rotation);
            key = 171 * (key % 177) - 2 * (key / 177);
            bytes[i] =
                static_cast<std::uint8_t>(((turned ^ ((i + 3) * 6)) & 0xFF) + static_cast<unsigned int>(key));
        }
        benchmark::ClobberMemory();
    }
    report(state);
}

void unscramble(benchmark::State &state) {
    Bytes bytes(static_cast<std::size_t>(state.range(0)), 'x');
    for (auto _ : state) {
        vl::unscramble(bytes.data(), bytes.data(), bytes.size(), 1);
        benchmark::ClobberMemory();
    }
    report(state);
}

void scramble(benchmark::State &state) {
    Bytes bytes(static_cast<std::size_t>(state.range(0)), 'x');
    for (auto _ : state) {
        vl::scramble(bytes.data(), bytes.data(), bytes.size(), 1);
        benchmark::ClobberMemory();
    }
    report(state);
}

void sizes(benchmark::internal::Benchmark *subject) {
    subject->Arg(36)->Arg(1 << 10)->Arg(64 << 10)->Arg(8 << 20);
}

BENCHMARK(plainUnscramble)->Name("unscramble/plain_loop")->Apply(sizes);
BENCHMARK(unscramble)->Name("unscramble/vl")->Apply(sizes);
BENCHMARK(scramble)->Name("scramble/vl")->Apply(sizes);

} // namespace

BENCHMARK_MAIN();
