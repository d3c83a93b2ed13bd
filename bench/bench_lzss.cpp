// LZSS beside its peers: the same format decoded through a ring and encoded with a plain binary tree, and
// libdeflate's inflate of the same data. Rates are of unpacked bytes.

#include "bench/sample_data.h"
#include "file/codec/lzss.h"
#include "file/codec/lzss_container.h"
#include "file/codec/lzss_encoder.h"
#include "tests/support/plain_lzss.h"

#include <benchmark/benchmark.h>
#include <libdeflate.h>

#include <algorithm>

namespace {

using Bytes = std::vector<std::uint8_t>;

const Bytes &code(sample::Kind kind) {
    static const auto encoded = [](sample::Kind of) {
        const Bytes &data = sample::data(of);
        Bytes out(vl::lzssBound(static_cast<std::uint32_t>(data.size())));
        out.resize(
            vl::LzssEncoder().encode(data.data(), static_cast<std::uint32_t>(data.size()), out.data()));
        return out;
    };
    static const Bytes all[] = {encoded(sample::Text), encoded(sample::Program), encoded(sample::Random)};
    return all[kind];
}

void report(benchmark::State &state) {
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * sample::sampleSize));
}

void decodeWhole(benchmark::State &state, sample::Kind kind) {
    const Bytes &in = code(kind);
    Bytes out(sample::sampleSize);
    for (auto _ : state)
        if (!vl::lzssDecode(in.data(), in.size(), out.data(), out.size()))
            state.SkipWithError("damaged");
    if (out != sample::data(kind))
        state.SkipWithError("wrong bytes");
    report(state);
}

/// As a file stream does: 64 KiB of code at a time, the client reading 64 KiB at a time.
void decodeStream(benchmark::State &state, sample::Kind kind) {
    constexpr std::size_t blockSize = 64 << 10;
    const Bytes &in = code(kind);
    Bytes out(sample::sampleSize);
    for (auto _ : state) {
        vl::LzssStreamDecoder decoder;
        std::size_t read = 0;
        std::size_t produced = 0;
        while (produced < out.size()) {
            const std::size_t blockLeft = std::min(blockSize - read % blockSize, in.size() - read);
            const std::size_t wanted = std::min(blockSize - produced % blockSize, out.size() - produced);
            const auto progress = decoder.decode(in.data() + read, blockLeft, out.data() + produced, wanted);
            read += progress.consumed;
            produced += progress.produced;
        }
    }
    if (out != sample::data(kind))
        state.SkipWithError("wrong bytes");
    report(state);
}

void decodePlainRing(benchmark::State &state, sample::Kind kind) {
    const Bytes &in = code(kind);
    Bytes out(sample::sampleSize);
    bool whole = false;
    for (auto _ : state)
        benchmark::DoNotOptimize(plain::decode(in.data(), in.size(), out.data(), out.size(), whole));
    if (!whole)
        state.SkipWithError("damaged");
    report(state);
}

void decodeLibdeflate(benchmark::State &state, sample::Kind kind) {
    const Bytes &data = sample::data(kind);
    libdeflate_compressor *const compressor = libdeflate_alloc_compressor(6);
    Bytes in(libdeflate_deflate_compress_bound(compressor, data.size()));
    in.resize(libdeflate_deflate_compress(compressor, data.data(), data.size(), in.data(), in.size()));
    libdeflate_free_compressor(compressor);
    libdeflate_decompressor *const decompressor = libdeflate_alloc_decompressor();
    Bytes out(data.size());
    for (auto _ : state)
        if (libdeflate_deflate_decompress(decompressor, in.data(), in.size(), out.data(), out.size(),
                                          nullptr) != LIBDEFLATE_SUCCESS)
            state.SkipWithError("damaged");
    libdeflate_free_decompressor(decompressor);
    report(state);
}

void encode(benchmark::State &state, sample::Kind kind) {
    const Bytes &data = sample::data(kind);
    Bytes out(vl::lzssBound(static_cast<std::uint32_t>(data.size())));
    vl::LzssEncoder encoder;
    for (auto _ : state)
        benchmark::DoNotOptimize(
            encoder.encode(data.data(), static_cast<std::uint32_t>(data.size()), out.data()));
    report(state);
}

void encodePlainTree(benchmark::State &state, sample::Kind kind) {
    const Bytes &data = sample::data(kind);
    Bytes out;
    for (auto _ : state)
        out = plain::encode(data.data(), data.size());
    if (out != code(kind))
        state.SkipWithError("the two encoders differ");
    report(state);
}

} // namespace

int main(int count, char **arguments) {
    benchmark::Initialize(&count, arguments);
    const std::pair<const char *, void (*)(benchmark::State &, sample::Kind)> subjects[] = {
        {"decode/vl", decodeWhole},
        {"decode/vl_stream", decodeStream},
        {"decode/plain_ring", decodePlainRing},
        {"decode/libdeflate_inflate", decodeLibdeflate},
        {"encode/vl", encode},
        {"encode/plain_tree", encodePlainTree},
    };
    for (const sample::Kind kind : {sample::Text, sample::Program, sample::Random})
        for (const auto &[name, run] : subjects)
            benchmark::RegisterBenchmark((std::string(name) + "/" + sample::kindNames[kind]).c_str(), run,
                                         kind)
                ->Unit(benchmark::kMillisecond);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
