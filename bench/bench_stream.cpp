// Streams: an archive entry stored as it is, read in blocks of 64 KiB and of 16 bytes, beside fread of the
// same bytes in a plain file; compressed entries decoded as they are read, beside loading them at once; the
// reader of every kind of file in pieces of 4 KiB, beside the allocating load; the writer beside fwrite.

#include "bench/sample_data.h"
#include "tests/support/archive_builder.h"
#include "tests/support/temporary_directory.h"
#include "vl/core.h"
#include "vl/file.h"
#include "vl/file/stream.h"

#include <benchmark/benchmark.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <string>
#include <vector>

namespace {

constexpr unsigned int largeBlock = 65536;
constexpr unsigned int smallBlock = 16;
constexpr int smallBuffer = 8192; // of the stream and of fread alike, for small reads

/// An archive with one stored entry and three compressed ones of 8 MiB each, and a plain file.
struct Fixture {
    TemporaryDirectory directory;
    V_VantorInit library;
    std::string plain = directory.path() / "plain.dat";

    Fixture() {
        Sys->ceaseVerbose(1);
        ArchiveBuilder builder;
        for (const sample::Kind kind : {sample::Text, sample::Program, sample::Random}) {
            const std::vector<std::uint8_t> &data = sample::data(kind);
            const std::string content(data.begin(), data.end());
            if (kind == sample::Text) {
                builder.add("\\stored", content);
                std::ofstream(plain, std::ios::binary) << content;
            }
            builder.add(std::string("\\") + sample::kindNames[kind], content);
            void *packed = File->compress(content.data(), static_cast<unsigned int>(content.size()));
            std::uint32_t packedSize;
            std::memcpy(&packedSize, static_cast<char *>(packed) + 8, 4);
            packedSize += 12; // with the container's header
            ArchiveBuilder::Record &record = builder.records.back();
            record.stored.assign(static_cast<char *>(packed), packedSize);
            record.storedSize = packedSize;
            record.method = 1;
            File->free(static_cast<char *>(packed));
        }
        builder.write(directory.path() / "STREAM.VAS");
        File->setFileSystemRoot(directory.enginePath().c_str());
    }
};

const Fixture &fixture() {
    static const Fixture all;
    return all;
}

void expectAll(std::size_t read) {
    if (read != sample::sampleSize)
        std::abort();
}

void count(benchmark::State &state) {
    state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(sample::sampleSize));
}

void readStream(benchmark::State &state, const char *name, int bufferSize, unsigned int blockSize) {
    fixture();
    std::vector<char> block(blockSize);
    for (auto _ : state) {
        V_FileStream stream(name, bufferSize);
        std::size_t total = 0;
        while (const unsigned int read = stream.read(block.data(), blockSize)) {
            total += read;
            benchmark::DoNotOptimize(block.data());
        }
        expectAll(total);
    }
    count(state);
}

void readPlain(benchmark::State &state, int bufferSize, unsigned int blockSize) {
    const char *name = fixture().plain.c_str();
    std::vector<char> block(blockSize);
    for (auto _ : state) {
        std::FILE *file = std::fopen(name, "rb");
        std::setvbuf(file, nullptr, _IOFBF, static_cast<std::size_t>(bufferSize));
        std::size_t total = 0;
        while (const std::size_t read = std::fread(block.data(), 1, blockSize, file)) {
            total += read;
            benchmark::DoNotOptimize(block.data());
        }
        std::fclose(file);
        expectAll(total);
    }
    count(state);
}

void loadWhole(benchmark::State &state, const char *name) {
    fixture();
    std::vector<char> buffer(sample::sampleSize);
    for (auto _ : state) {
        File->load(buffer.data(), name, static_cast<unsigned int>(buffer.size()));
        benchmark::DoNotOptimize(buffer.data());
    }
    count(state);
}

void readPieces(benchmark::State &state, const char *name) {
    fixture();
    char piece[4096];
    for (auto _ : state) {
        V_FileReader reader(name);
        std::size_t total = 0;
        while (const unsigned int read = reader.read(piece, sizeof piece)) {
            total += read;
            benchmark::DoNotOptimize(piece);
        }
        expectAll(total);
    }
    count(state);
}

void loadBlock(benchmark::State &state, const char *name) {
    fixture();
    for (auto _ : state) {
        char *const block = File->load(name, V_File::WHOLE_FILE);
        benchmark::DoNotOptimize(block);
        File->free(block);
    }
    count(state);
}

constexpr int singleBytes = 300'000;

void writeBytes(benchmark::State &state) {
    fixture();
    for (auto _ : state) {
        V_FileWriter writer("written");
        for (int i = 0; i < singleBytes; ++i) {
            const char byte = static_cast<char>(i);
            writer.write(&byte, 1);
        }
        writer.close();
    }
    state.SetBytesProcessed(state.iterations() * singleBytes);
}

void writeBytesPlain(benchmark::State &state) {
    const std::string name = fixture().directory.path() / "plainly";
    for (auto _ : state) {
        std::FILE *const file = std::fopen(name.c_str(), "wb");
        for (int i = 0; i < singleBytes; ++i) {
            const char byte = static_cast<char>(i);
            std::fwrite(&byte, 1, 1, file);
        }
        std::fclose(file);
    }
    state.SetBytesProcessed(state.iterations() * singleBytes);
}

BENCHMARK(writeBytes)->Unit(benchmark::kMillisecond);
BENCHMARK(writeBytesPlain)->Unit(benchmark::kMillisecond);
#define VL_PIECES(kind, name)                                                                                \
    BENCHMARK_CAPTURE(readPieces, kind, name)->Unit(benchmark::kMillisecond);                                \
    BENCHMARK_CAPTURE(loadBlock, kind, name)->Unit(benchmark::kMillisecond)
VL_PIECES(loose, "plain.dat");
VL_PIECES(stored, "stored");
VL_PIECES(text, "text");
VL_PIECES(program, "program");

BENCHMARK_CAPTURE(readStream, blocks_64K, "\\stored", largeBlock, largeBlock)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(readPlain, blocks_64K, largeBlock, largeBlock)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(readStream, blocks_16, "\\stored", smallBuffer, smallBlock)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(readPlain, blocks_16, smallBuffer, smallBlock)->Unit(benchmark::kMillisecond);
#define VL_COMPRESSED(kind)                                                                                  \
    BENCHMARK_CAPTURE(readStream, kind, "\\" #kind, largeBlock, largeBlock)->Unit(benchmark::kMillisecond);  \
    BENCHMARK_CAPTURE(loadWhole, kind, "\\" #kind)->Unit(benchmark::kMillisecond)
VL_COMPRESSED(text);
VL_COMPRESSED(program);
VL_COMPRESSED(random);

} // namespace

BENCHMARK_MAIN();
