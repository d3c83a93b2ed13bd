// What stands below everything: random numbers, the processor, the order of names, wildcards.

#include "base/cpuid.h"
#include "base/random.h"
#include "base/text.h"
#include "base/wildcards.h"
#include "tests/support/plain_wildcards.h"

#include <gtest/gtest.h>

#include <fstream>
#include <iterator>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

using namespace vl;

namespace {

TEST(Random, DrawsTheKnownSequencePerThread) {
    seedRandom(1);
    for (const int expected : {41, 18467, 6334, 26500, 19169, 15724})
        EXPECT_EQ(drawRandom(), expected);
    int first = 0;
    std::thread([&] { first = drawRandom(); }).join();
    EXPECT_EQ(first, 41);
    EXPECT_EQ(drawRandom(), 11478);
}

TEST(Cpuid, NamesTheProcessor) {
    CpuidRegisters registers;
    if (!cpuid(0, registers)) {
        EXPECT_EQ(registers.eax | registers.ebx | registers.ecx | registers.edx, 0u);
        return;
    }
    const std::uint32_t letters[] = {registers.ebx, registers.edx, registers.ecx};
    const std::string vendor(reinterpret_cast<const char *>(letters), sizeof letters);
    std::ifstream file("/proc/cpuinfo");
    const std::string known(std::istreambuf_iterator<char>(file), {});
    EXPECT_NE(known.find(vendor), std::string::npos) << vendor;
}

/// What lies behind the end of a name has no say.
TEST(NameOrder, IsByUpperCasedBytesThenByTheirOwn) {
    const std::string_view sorted[] = {"",    std::string_view("Ab", 1), "a", "AB", "aB", "Abc", "Z", "_",
                                       "\xC1"};
    for (const std::string_view &a : sorted)
        for (const std::string_view &b : sorted)
            EXPECT_EQ(namePrecedes(a, b), &a < &b) << a << ' ' << b;
    EXPECT_TRUE(equalNames("Long_Name.TXT", std::string_view("long_nAME.txt!", 13)));
    EXPECT_FALSE(equalNames("Name", "Names"));
}

TEST(Wildcards, MatchAsDefinedAndInBoundedTime) {
    const std::string letters = "aB.*?";
    std::vector<std::string> texts = {""};
    for (std::size_t i = 0; texts[i].size() < 4; ++i)
        for (const char letter : letters)
            texts.push_back(texts[i] + letter);
    for (const std::string &pattern : texts)
        for (std::size_t i = 0; i < texts.size(); i += 1 + pattern.size())
            ASSERT_EQ(matchesWildcards(pattern.c_str(), texts[i].c_str()), matchesPlainly(pattern, texts[i]))
                << pattern << " on " << texts[i];
    EXPECT_TRUE(matchesWildcards("*.TxT", "readme.tXt"));
    EXPECT_FALSE(matchesWildcards("[", "{"));
    std::string stars;
    for (int i = 0; i < 127; ++i)
        stars += "*a";
    EXPECT_FALSE(matchesWildcards((stars + 'b').c_str(), std::string(255, 'a').c_str()));
}

} // namespace
