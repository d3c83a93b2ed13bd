// Runs a fuzz target over every file of the directories given, without a fuzzing engine, then over mixtures
// of them: what a fuzzer once found stays found in every build, whatever the compiler.

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>
#include <string>
#include <utility>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size);

namespace {

using Bytes = std::string;

void run(const Bytes &input) {
    LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t *>(input.data()), input.size());
}

/// Puts a piece of up to about 40 bytes, or of whole lines, of another input in the place of such a piece.
void mix(Bytes &input, const Bytes &other, std::mt19937 &random, bool lines) {
    const auto piece = [&random, lines](const Bytes &bytes) {
        std::size_t ends[2] = {random() % (bytes.size() + 1), 0};
        ends[1] = std::min(bytes.size(), ends[0] + random() % 40);
        for (std::size_t &end : ends)
            while (lines && end < bytes.size() && end != 0 && bytes[end - 1] != '\n')
                ++end;
        return std::pair(static_cast<std::ptrdiff_t>(ends[0]), static_cast<std::ptrdiff_t>(ends[1]));
    };
    const auto [begin, end] = piece(input);
    const auto [from, to] = piece(other);
    const auto place = input.erase(input.begin() + begin, input.begin() + end);
    input.insert(place, other.begin() + from, other.begin() + to);
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
    for (int round = 0; round < 5000; ++round) {
        Bytes input = inputs[random() % inputs.size()];
        for (unsigned int mixtures = 1 + random() % 4; mixtures > 0; --mixtures)
            mix(input, inputs[random() % inputs.size()], random, round % 2 != 0);
        if (round % 4 == 0 && !input.empty())
            input[random() % input.size()] = static_cast<char>(random());
        run(input);
    }
    return 0;
}
