// Runs a fuzz target once over every file of the directories given, without a fuzzing engine: what a fuzzer
// once found stays found in every build, whatever the compiler.

#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size);

int main(int count, char **arguments) {
    std::size_t files = 0;
    for (int i = 1; i < count; ++i)
        for (const auto &entry : std::filesystem::directory_iterator(arguments[i])) {
            std::ifstream stream(entry.path(), std::ios::binary);
            const std::vector<char> bytes{std::istreambuf_iterator<char>(stream), {}};
            LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t *>(bytes.data()), bytes.size());
            ++files;
        }
    std::printf("replayed %zu inputs\n", files);
    return files == 0 ? 1 : 0;
}
