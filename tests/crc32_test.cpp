// CRC-32: both ways of computing it against the definition bit by bit.

#include "file/codec/crc32.h"
#include "tests/support/archive_builder.h"

#include <gtest/gtest.h>

#include <random>
#include <vector>

namespace {

using Random = std::independent_bits_engine<std::mt19937, 32, std::uint32_t>;

TEST(Crc32, BothWaysAgreeWithTheDefinitionAtEverySizeAndAlignment) {
    EXPECT_EQ(vl::crc32("123456789", 9), 0xCBF43926u);
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
