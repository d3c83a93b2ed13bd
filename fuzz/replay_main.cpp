// Runs a fuzz target over every file of the directories given, without a fuzzing engine, then over mixtures
// of them: what a fuzzer once found stays found in every build, whatever the compiler.

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size);

namespace {

using Bytes = std::vector<char>;

void run(const Bytes &input) {
    LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t *>(input.data()), input.size());
}

// Puts up to `longest` bytes of another input in the place of as many.
void mix(Bytes &input, const Bytes &other, std::mt19937 &random, std::size_t longest) {
    const auto begin = input.begin() + static_cast<std::ptrdiff_t>(random() % (input.size() + 1));
    const auto end = begin + std::min<std::ptrdiff_t>(input.end() - begin, random() % longest);
    const auto from = other.begin() + static_cast<std::ptrdiff_t>(random() % (other.size() + 1));
    const auto to = from + std::min<std::ptrdiff_t>(other.end() - from, random() % longest);
    input.insert(input.erase(begin, end), from, to);
}

} // namespace

int main(int count, char **arguments) {
    std::vector<Bytes> inputs;
    for (int i = 1; i < count; ++i)
        for (const auto &entry : std::filesystem::directory_iterator(arguments[i])) {
            std::ifstream stream(entry.path(), std::ios::binary);
            inputs.emplace_back(std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>());
            run(inputs.back());
        }
    std::printf("replayed %zu inputs\n", inputs.size());
    if (inputs.empty())
        return 1;
    std::sort(inputs.begin(), inputs.end()); // a directory has no order
    std::mt19937 random(1);
    for (int round = 0; round < 3000; ++round) {
        Bytes input = inputs[random() % inputs.size()];
        for (unsigned int mixtures = 1 + random() % 4; mixtures > 0; --mixtures)
            mix(input, inputs[random() % inputs.size()], random, round % 2 ? 8 : 40);
        if (round % 3 == 0 && !input.empty())
            input[random() % input.size()] = static_cast<char>(random());
        run(input);
    }
    return 0;
}
