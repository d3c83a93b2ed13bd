// LZSS: known code streams, and a plain second implementation of the format as judge over generated data.

#include "file/lzss.h"
#include "tests/support/plain_lzss.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <random>
#include <string>
#include <vector>

namespace {

using Bytes = std::vector<std::uint8_t>;
using Random = std::independent_bits_engine<std::mt19937, 32, std::uint32_t>;

Bytes bytesOf(const std::string &text) { return Bytes(text.begin(), text.end()); }

Bytes encoded(const Bytes &data) {
    const auto size = static_cast<std::uint32_t>(data.size());
    Bytes out(static_cast<std::size_t>(vl::lzssBound(size)) - vl::lzssHeaderSize);
    out.resize(static_cast<std::size_t>(vl::lzssEncode(data.data(), size, out.data())));
    return out;
}

// Heap blocks of the exact sizes, so that the address sanitizer sees a single byte too many.
bool decodes(const Bytes &code, Bytes &out) {
    const Bytes exact(code);
    return vl::lzssDecode(exact.data(), exact.size(), out.data(), out.size());
}

enum Kind { RandomBytes, TwoLetters, Runs, Words, Spaces, Repeats, KindCount };

Bytes generated(int kind, std::size_t size, unsigned seed) {
    static const char *const words[] = {"int ",  "return ", "    ", "\n", "const ",
                                        "value", " = ",     ";\n",  "("};
    Random random(seed);
    Bytes data;
    const std::size_t period = 1 + random() % 40;
    while (data.size() < size) {
        const unsigned r = random();
        const auto high = static_cast<std::uint8_t>(r >> 8);
        if (kind == RandomBytes)
            data.push_back(static_cast<std::uint8_t>(r));
        else if (kind == TwoLetters)
            data.push_back("ab"[high % 2]);
        else if (kind == Runs)
            data.insert(data.end(), 1 + (r >> 8) % 60, static_cast<std::uint8_t>(r % 4 * 0x20));
        else if (kind == Words)
            data.insert(data.end(), words[r % 9], words[r % 9] + std::strlen(words[r % 9]));
        else if (kind == Spaces)
            data.push_back(r % 16 ? ' ' : high);
        else
            data.push_back(data.size() < period || r % 300 == 0 ? static_cast<std::uint8_t>(r >> 16)
                                                                : data[data.size() - period]);
    }
    data.resize(size);
    return data;
}

// Sizes: every small one, then around the ring's size and some beyond it.
template <typename Check>
void forGeneratedData(Check check) {
    for (int kind = 0; kind < KindCount; ++kind) {
        for (unsigned size = 0; size <= 300; ++size)
            check(generated(kind, size, size * 7 + 1));
        for (const unsigned size : {4077u, 4078u, 4079u, 4095u, 4096u, 4097u, 8192u, 70001u})
            check(generated(kind, size, size));
        if (testing::Test::HasFatalFailure())
            FAIL() << "kind " << kind;
    }
}

TEST(Lzss, KnownCode) {
    EXPECT_EQ(encoded({}), Bytes{});
    EXPECT_EQ(encoded(bytesOf("abc")), (Bytes{0x07, 'a', 'b', 'c'}));
    EXPECT_EQ(encoded(bytesOf("   ")), (Bytes{0x00, 0xDC, 0xF0}));
    EXPECT_EQ(encoded(bytesOf("abcdefgh")), (Bytes{0xFF, 'a', 'b', 'c', 'd', 'e', 'f', 'g', 'h'}));
    EXPECT_EQ(encoded(Bytes(18, ' ')), (Bytes{0x00, 0xDC, 0xFF}));
    const Bytes run = encoded(Bytes(100, 'a'));
    EXPECT_EQ(run.size(), 14u);
    EXPECT_EQ(Bytes(run.begin(), run.begin() + 4), (Bytes{0x01, 'a', 0xEE, 0xFF}));
}

TEST(Lzss, BoundHoldsIncompressibleDataOfEverySize) {
    EXPECT_EQ(vl::lzssBound(0), 4096u);
    EXPECT_EQ(vl::lzssBound(9), 4096u + 10);
    for (std::uint64_t size = 0; size <= 0xFFFFFFFF; size += 1 + size / 3)
        for (const std::uint64_t near : {size, 0xFFFFFFFF - size})
            ASSERT_GE(vl::lzssBound(static_cast<std::uint32_t>(near)),
                      vl::lzssHeaderSize + near + (near + 7) / 8);
}

TEST(Lzss, CodeIsThatOfThePlainEncoder) {
    forGeneratedData([](const Bytes &data) {
        const Bytes code = encoded(data);
        ASSERT_TRUE(code == plain::encode(data.data(), data.size())) << data.size() << " bytes";
        Bytes out(data.size(), 0xEE);
        ASSERT_TRUE(decodes(code, out) && out == data) << data.size() << " bytes";
    });
}

// Whatever the code and the room, the decoder agrees with the plain one on bytes and verdict.
TEST(Lzss, DamagedCodeIsJudgedAsThePlainDecoderDoes) {
    Random random(7);
    for (int round = 0; round < 3000; ++round) {
        const Bytes data = generated(round % KindCount, random() % 6000, random());
        Bytes code = encoded(data);
        Bytes out(data.size());
        const int damage = round / KindCount % 4;
        if (damage == 0)
            code.resize(random() % (code.size() + 1));
        else if (damage == 1)
            code.push_back(static_cast<std::uint8_t>(random()));
        else if (damage == 2)
            out.resize(out.size() + random() % 3 - std::min<std::size_t>(out.size(), 1));
        else
            code = generated(static_cast<int>(random() % KindCount), random() % 6000, random());
        for (unsigned flips = random() % 3; flips > 0 && !code.empty(); --flips)
            code[random() % code.size()] ^= static_cast<std::uint8_t>(1 << random() % 8);
        Bytes expected(out.size());
        bool whole = false;
        const std::size_t count =
            plain::decode(code.data(), code.size(), expected.data(), expected.size(), whole);
        ASSERT_EQ(decodes(code, out), whole && count == out.size()) << "round " << round;
        ASSERT_TRUE(
            std::equal(out.begin(), out.begin() + static_cast<std::ptrdiff_t>(count), expected.begin()))
            << "round " << round;
    }
}

TEST(LzssStream, PiecesOfAnySizeMakeUpTheWhole) {
    Random random(8);
    forGeneratedData([&](const Bytes &data) {
        const Bytes code = encoded(data);
        // Piece sizes up to a limit for each direction: 1 byte at a time, a few, or far more than the fast
        // path needs.
        const std::size_t limits[] = {1, 30, 9000};
        const std::size_t inLimit = limits[random() % 3];
        const std::size_t outLimit = limits[random() % 3];
        vl::LzssStreamDecoder decoder;
        Bytes out;
        std::size_t read = 0;
        while (out.size() < data.size()) {
            const Bytes in(code.begin() + static_cast<std::ptrdiff_t>(read),
                           code.begin() + static_cast<std::ptrdiff_t>(
                                              std::min(code.size(), read + random() % (inLimit + 1))));
            Bytes piece(1 + random() % outLimit);
            const auto progress = decoder.decode(in.data(), in.size(), piece.data(), piece.size());
            ASSERT_TRUE(progress.produced == piece.size() || progress.consumed == in.size());
            read += progress.consumed;
            out.insert(out.end(), piece.begin(),
                       piece.begin() + static_cast<std::ptrdiff_t>(progress.produced));
        }
        ASSERT_TRUE(out == data) << data.size() << " bytes in pieces of up to " << inLimit << " and "
                                 << outLimit;
        ASSERT_TRUE(read == code.size() && decoder.atItemBoundary());
    });
}

} // namespace
