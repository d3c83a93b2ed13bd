// What is made here is made byte for byte alike on every system, processor and compiler: the sums are those
// of all of them.

#include "tests/support/library_test.h"
#include "tests/support/memory_file_bytes.h"
#include "tests/support/program.h"
#include "tests/support/random_tree.h"

#include "base/byte_order.h"
#include "file/codec/crc32.h"
#include "file/codec/lzss_container.h"
#include "platform/native.h"
#include "vl/math.h"
#include "vl/script.h"

#include <bit>
#include <vector>

namespace {

namespace fs = std::filesystem;
using SameBytes = LibraryTest;

std::uint32_t sumOf(const std::string &bytes) { return vl::crc32(bytes.data(), bytes.size()); }

/// Texts and numbers of many shapes, the same everywhere: the standard's distributions are not.
std::string words(unsigned int seed, unsigned int count) {
    std::mt19937 random(seed);
    std::string text;
    while (count-- > 0) {
        const auto number = random() % 30'000;
        text += number < 10'000 ? "vantor " : std::to_string(number);
        text += number % 9 == 0 ? "\r\n" : " ";
    }
    return text;
}

TEST_F(SameBytes, ArchivesOfOneTree) {
    const char *const names[] = {"readme.txt",  "Maps/one.map", "Maps/two.map",
                                 "_x",          "a b",          "\xC3\xA4\xC3\x96/\xE6\x96\x87.dat",
                                 "deep/er/file"};
    const fs::path tree = root() / "tree";
    unsigned int seed = 0;
    for (const std::string name : names) {
        const fs::path path = tree / vl::platform::nativePath(name);
        ++seed;
        writeFile(path, words(seed, 200 * seed));
        const auto day = static_cast<unsigned short>(seed);
        ASSERT_TRUE(vl::platform::setLastWrite(path, {2024, 2, 0, day, 23, 59, 58, 120}));
    }
    std::string sums;
    for (const char *method : {"lzss", "scrambled", "stored"}) {
        const Outcome made = runTool("archive create " + quoted(root() / "A.VAS") + " " + quoted(tree) +
                                     " --seed 7 --archiver-id 9 --method " + method);
        ASSERT_EQ(made.status, 0) << made.output;
        sums += std::to_string(sumOf(readFile(root() / "A.VAS"))) + ' ';
        ASSERT_EQ(
            runTool("archive extract " + quoted(root() / "A.VAS") + " -d " + quoted(root() / method)).status,
            0);
        for (const std::string name : names) {
            const fs::path path = vl::platform::nativePath(name);
            EXPECT_EQ(readFile(root() / method / path), readFile(tree / path)) << name;
        }
    }
    sums += std::to_string(sumOf(runTool("archive list --json A.VAS", root()).output)) + ' ';
    EXPECT_EQ(sums, "531809068 1801609798 42730320 4021789704 ");
}

TEST_F(SameBytes, DataFilesContainersAndWhatIsShownOfThem) {
    V_MemoryFile file;
    std::mt19937 random(17);
    for (int trees = 0; trees < 4; ++trees)
        visitTree(file, true, random);
    file << -1L << 4'000'000'000ul << short{-2} << 'c' << 1e-310 << -0.0f << true << M_Float16(1.5f);
    const std::string data = bytesOf(file);
    writeFile(root() / "file.dat", data);
    char *const container =
        static_cast<char *>(File->compress(data.data(), static_cast<unsigned int>(data.size())));
    const std::string packed(container, vl::lzssHeaderSize + vl::loadLe32(container + 8));
    File->free(container);
    const Outcome shown = runTool("dump file.dat --json", root());
    ASSERT_EQ(shown.status, 0);
    EXPECT_EQ(std::to_string(sumOf(data)) + ' ' + std::to_string(sumOf(packed)) + ' ' +
                  std::to_string(sumOf(shown.output)),
              "134279195 3911066913 886866277");
}

TEST_F(SameBytes, ScriptsAndWhatIsReadInThem) {
    std::mt19937 random(18);
    std::string text = "#define LIMIT 12\r\n";
    for (int block = 0; block < 40; ++block) {
        text += "[Block]\n{ [Inner" + std::to_string(block % 3) + "] ";
        for (int i = 0; i < 9; ++i) {
            const auto whole = random() % 100'000;
            const auto fraction = random();
            const auto exponent = random() % 60;
            text += "v" + std::to_string(i) + (whole % 2 == 0 ? " = -" : " = ") + std::to_string(whole) +
                    '.' + std::to_string(fraction) + "e" + std::to_string(static_cast<int>(exponent) - 30) +
                    "; ";
        }
        text += "name = \"A  b\"; limit = LIMIT; }\n";
    }
    writeFile(root() / "script.txt", text);
    const Outcome tree = runTool("script tree --json script.txt", root());
    ASSERT_EQ(tree.status, 0) << tree.output;
    V_Script script("script.txt");
    V_Script::setIgnoreUnknownVariables(true);
    float values[9] = {};
    const char *const names[] = {"v0", "v1", "v2", "v3", "v4", "v5", "v6", "v7", "v8"};
    std::vector<V_Script::Variables> table;
    for (int i = 0; i < 9; ++i)
        table.push_back({names[i], &values[i], nullptr, &V_Script::t_float});
    table.push_back({});
    std::uint32_t floats = 0;
    for (unsigned int block = 0; block < script.count(); ++block) {
        script.lock(block);
        script.parse(table.data(), 0, false);
        script.unlock();
        for (const float value : values)
            floats = floats * 31 + std::bit_cast<std::uint32_t>(value);
    }
    V_Script::setIgnoreUnknownVariables(false);
    EXPECT_EQ(std::to_string(sumOf(tree.output)) + ' ' + std::to_string(floats), "4045164162 3246219669");
}

} // namespace
