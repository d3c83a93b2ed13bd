// Reads and makes the data of the codec benchmarks.

#include "bench/sample_data.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>

namespace sample {
namespace {

namespace fs = std::filesystem;

void append(std::vector<std::uint8_t> &all, const fs::path &file) {
    std::ifstream stream(file, std::ios::binary);
    all.insert(all.end(), std::istreambuf_iterator<char>(stream), {});
}

std::vector<std::uint8_t> headers() {
    std::vector<fs::path> files;
    const auto quiet = fs::directory_options::skip_permission_denied;
    for (const auto &entry : fs::recursive_directory_iterator("/usr/include", quiet))
        if (entry.is_regular_file() && entry.path().extension() == ".h")
            files.push_back(entry.path());
    std::sort(files.begin(), files.end());
    std::vector<std::uint8_t> all;
    for (const fs::path &file : files) {
        append(all, file);
        if (all.size() >= sampleSize)
            break;
    }
    return all;
}

std::vector<std::uint8_t> program() {
    std::vector<std::uint8_t> all;
    for (const char *file : {"/usr/bin/gdb", "/usr/bin/cmake", "/proc/self/exe"})
        if (all.size() < sampleSize)
            append(all, file);
    return all;
}

std::vector<std::uint8_t> random() {
    std::mt19937_64 generator(1);
    std::vector<std::uint8_t> all(sampleSize);
    std::generate(all.begin(), all.end(), [&] { return static_cast<std::uint8_t>(generator() >> 56); });
    return all;
}

std::vector<std::uint8_t> cut(std::vector<std::uint8_t> all) {
    while (all.size() < sampleSize)
        all.insert(all.end(), all.begin(), all.begin() + std::min(all.size(), sampleSize - all.size()));
    all.resize(sampleSize);
    return all;
}

} // namespace

const std::vector<std::uint8_t> &data(Kind kind) {
    static const std::vector<std::uint8_t> all[] = {cut(headers()), cut(program()), random()};
    return all[kind];
}

} // namespace sample
