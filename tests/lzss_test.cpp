// LZSS: known code streams, and a plain second implementation of the format as judge over generated data.

#include "file/codec/lzss.h"
#include "file/codec/lzss_container.h"
#include "file/codec/lzss_encoder.h"
#include "tests/support/plain_lzss.h"

#include <gtest/gtest.h>

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
    // Two encoders in turn, neither of which may remember what it did before.
    static vl::LzssEncoder encoders[2];
    static unsigned int turn = 0;
    out.resize(static_cast<std::size_t>(encoders[turn++ % 2].encode(data.data(), size, out.data())));
    out.shrink_to_fit();
    return out;
}

/// Letters of an alphabet, and now and then a piece that was there before.
Bytes generated(std::size_t size, unsigned int letters) {
    Random random(static_cast<std::uint32_t>(size * 7 + letters));
    Bytes data;
    while (data.size() < size) {
        data.push_back(static_cast<std::uint8_t>(' ' + random() % letters));
        std::size_t from = random() % data.size();
        for (std::size_t n = random() % 4 == 0 ? random() % 60 : 0; n > 0; --n)
            data.push_back(data[from++]);
    }
    data.resize(size);
    return data;
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

/// Sizes: every small one, then around the ring's size and some beyond it. The blocks have the exact sizes,
/// so that the address sanitizer sees a single byte too many.
TEST(Lzss, CodeIsThatOfThePlainEncoder) {
    std::vector<unsigned int> sizes = {4077, 4078, 4079, 4095, 4096, 4097, 8192, 70001};
    for (unsigned int size = 0; size <= 300; ++size)
        sizes.push_back(size);
    for (const unsigned int letters : {1u, 2u, 3u, 20u, 256u})
        for (const unsigned int size : sizes) {
            const Bytes data = generated(size, letters), code = encoded(data);
            ASSERT_TRUE(code == plain::encode(data.data(), size)) << size << " bytes of " << letters;
            Bytes out(size, 0xEE);
            ASSERT_TRUE(vl::lzssDecode(code.data(), code.size(), out.data(), size) && out == data) << size;
        }
}

} // namespace
