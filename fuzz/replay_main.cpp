// Runs a fuzz target once over every file of the directories (or files) given, without a fuzzing engine:
// what a fuzzer once found stays found in every build, whatever the compiler.

#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size);

namespace {

std::size_t replay(const std::filesystem::path &file) {
    std::ifstream stream(file, std::ios::binary);
    const std::vector<char> bytes{std::istreambuf_iterator<char>(stream), {}};
    LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t *>(bytes.data()), bytes.size());
    return 1;
}

} // namespace

int main(int count, char **arguments) {
    std::size_t files = 0;
    for (int i = 1; i < count; ++i) {
        const std::filesystem::path path(arguments[i]);
        if (std::filesystem::is_directory(path)) {
            for (const auto &entry : std::filesystem::recursive_directory_iterator(path))
                if (entry.is_regular_file())
                    files += replay(entry.path());
        } else {
            files += replay(path);
        }
    }
    std::printf("replayed %zu inputs\n", files);
    return files == 0 ? 1 : 0;
}
