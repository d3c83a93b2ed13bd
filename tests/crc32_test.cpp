// CRC-32: known values, and both ways of computing it against the definition bit by bit.

#include "file/crc32.h"
#include "tests/support/archive_builder.h"

#include <gtest/gtest.h>

#include <random>
#include <vector>

namespace {

using Random = std::independent_bits_engine<std::mt19937, 32, std::uint32_t>;

TEST(Crc32, KnownValues) {
    EXPECT_EQ(vl::crc32("123456789", 9), 0xCBF43926u);
    EXPECT_EQ(vl::crc32("abc", 3), 0x352441C2u);
    EXPECT_EQ(vl::crc32(nullptr, 0), 0u);
}

TEST(Crc32, BothWaysAgreeWithTheDefinitionAtEverySizeAndAlignment) {
    Random random(1);
    std::vector<std::uint8_t> bytes(700);
    for (std::uint8_t &b : bytes)
        b = static_cast<std::uint8_t>(random());
    for (std::size_t size = 0; size < 640; ++size) {
        const std::uint8_t *const at = bytes.data() + size % 33;
        const std::uint32_t expected = crcPlainly({at, at + size});
        ASSERT_EQ(vl::crc32(at, size), expected) << size;
        ASSERT_EQ(vl::crc32Sliced(at, size), expected) << size;
        const std::size_t cut = random() % (size + 1);
        ASSERT_EQ(vl::crc32(at + cut, size - cut, vl::crc32(at, cut)), expected) << size << " cut at " << cut;
    }
}

} // namespace
