// Scrambling: known bytes, and the transform as it is defined, one byte at a time, as judge.

#include "file/codec/scramble.h"
#include "tests/support/archive_builder.h"

#include <gtest/gtest.h>

#include <climits>
#include <random>
#include <string>
#include <vector>

namespace {

using Bytes = std::vector<std::uint8_t>;
using Random = std::independent_bits_engine<std::mt19937, 32, std::uint32_t>;

TEST(Scramble, KnownBytes) {
    Bytes bytes = {'a', 'b', 'c'};
    vl::scramble(bytes.data(), bytes.data(), bytes.size(), 1);
    EXPECT_EQ(bytes, (Bytes{0xA4, 0x98, 0xEF}));
}

/// Seeds that start in the cycle, fall into it early or late, or never (multiples of 30269), over more than
/// two rounds of it; as a whole and in pieces.
TEST(Scramble, AgreesWithTheDefinitionForEveryKindOfSeed) {
    Random random(2);
    std::vector<std::int32_t> seeds = {0,       1,           -1,    -4,     30268,
                                       30269,   -30269,      60538, 131076, INT_MAX,
                                       INT_MIN, INT_MIN + 1, 30240, -31000, INT_MAX / 30269 * 30269};
    for (int i = 0; i < 40; ++i)
        seeds.push_back(static_cast<std::int32_t>(random()));
    Bytes plain(70001);
    for (std::uint8_t &b : plain)
        b = static_cast<std::uint8_t>(random());
    for (const std::int32_t seed : seeds) {
        const std::string judged =
            scrambledPlainly({plain.begin(), plain.end()}, static_cast<std::uint32_t>(seed));
        const Bytes expected(judged.begin(), judged.end());
        Bytes bytes(plain.size());
        vl::scramble(plain.data(), bytes.data(), plain.size(), seed);
        ASSERT_TRUE(bytes == expected) << "seed " << seed;
        vl::unscramble(bytes.data(), bytes.data(), bytes.size(), seed);
        ASSERT_TRUE(bytes == plain) << "seed " << seed;

        vl::Scrambler forth(seed), back(seed);
        for (std::size_t at = 0; at < bytes.size();) {
            const std::size_t wanted = random() % 3 ? random() % 7 : random() % 2000;
            const std::size_t piece = std::min(wanted, bytes.size() - at);
            forth.scramble(bytes.data() + at, bytes.data() + at, piece);
            ASSERT_TRUE(std::equal(&bytes[at], &bytes[at] + piece, &expected[at])) << seed << " at " << at;
            back.unscramble(bytes.data() + at, bytes.data() + at, piece);
            at += piece;
        }
        ASSERT_TRUE(bytes == plain) << "seed " << seed;
    }
}

} // namespace
