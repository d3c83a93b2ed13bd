// CRC-32 beside libdeflate, ISA-L and the plain table of 256 entries. ISA-L is the limit: it folds in the
// widest registers the processor has.

#include "file/codec/crc32.h"

#include <benchmark/benchmark.h>
#include <isa-l/crc.h>
#include <libdeflate.h>

#include <vector>

namespace {

std::uint32_t plainTable(const unsigned char *bytes, std::size_t size) {
    static const auto table = [] {
        std::vector<std::uint32_t> entries(256);
        for (std::uint32_t i = 0; i < 256; ++i) {
            entries[i] = i;
            for (int bit = 0; bit < 8; ++bit)
                entries[i] = entries[i] >> 1 ^ (entries[i] & 1 ? 0xEDB88320 : 0);
        }
        return entries;
    }();
    std::uint32_t crc = 0xFFFFFFFF;
    for (std::size_t i = 0; i < size; ++i)
        crc = crc >> 8 ^ table[(crc ^ bytes[i]) & 0xFF];
    return ~crc;
}

template <typename Crc>
void run(benchmark::State &state, Crc crc) {
    std::vector<unsigned char> bytes(static_cast<std::size_t>(state.range(0)), 'x');
    for (std::size_t i = 0; i < bytes.size(); ++i)
        bytes[i] = static_cast<unsigned char>(i * i >> 7);
    if (crc(bytes.data(), bytes.size()) != plainTable(bytes.data(), bytes.size()))
        state.SkipWithError("wrong CRC");
    for (auto _ : state) {
        benchmark::DoNotOptimize(crc(bytes.data(), bytes.size()));
        benchmark::ClobberMemory();
    }
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations()) * state.range(0));
}

void sizes(benchmark::internal::Benchmark *subject) { subject->Arg(1 << 10)->Arg(64 << 10); }

using P = const unsigned char *;

BENCHMARK_CAPTURE(run, vl, [](P p, std::size_t n) { return vl::crc32(p, n); })->Apply(sizes);
BENCHMARK_CAPTURE(run, vl_sliced, [](P p, std::size_t n) { return vl::crc32Sliced(p, n); })->Apply(sizes);
BENCHMARK_CAPTURE(run, plain_table, plainTable)->Apply(sizes);
BENCHMARK_CAPTURE(run, libdeflate, [](P p, std::size_t n) {
    return libdeflate_crc32(0, p, n);
})->Apply(sizes);
BENCHMARK_CAPTURE(run, isal, [](P p, std::size_t n) { return crc32_gzip_refl(0, p, n); })->Apply(sizes);

} // namespace

BENCHMARK_MAIN();
