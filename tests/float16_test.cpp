// The 16-bit float: known patterns, every pattern there and back, truncation and what lies out of range.

#include "vl/math.h"

#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>

namespace {

std::uint16_t patternOf(float value) { return std::bit_cast<std::uint16_t>(M_Float16(value)); }

float valueOf(std::uint16_t pattern) { return std::bit_cast<M_Float16>(pattern); }

TEST(Float16, KnownValuesHaveKnownPatterns) {
    struct {
        float value;
        std::uint16_t pattern;
        double readBack;
    } const known[] = {
        {1.0f, 0x3C00, 1.0},           {0.5f, 0x3800, 0.5},
        {-2.5f, 0xC100, -2.5},         {65504.0f, 0x7BFF, 65504.0},
        {65536.0f, 0x7C00, 65536.0},   {1.0f / 3.0f, 0x3555, 0.333251953125},
        {100000.0f, 0x7E1A, 99968.0},  {0.0f, 0x0000, 3.0517578125e-05},
        {3e-05f, 0x03DD, 0x7DDp-25},   {-0.0f, 0x8000, -3.0517578125e-05},
        {131008.0f, 0x7FFF, 131008.0}, {std::nextafter(131072.0f, 0.0f), 0x7FFF, 131008.0},
    };
    for (const auto &entry : known) {
        EXPECT_EQ(patternOf(entry.value), entry.pattern) << entry.value;
        EXPECT_EQ(valueOf(entry.pattern), entry.readBack) << entry.value;
    }
    EXPECT_EQ(std::bit_cast<std::uint16_t>(M_Float16()), 0);
    EXPECT_EQ(M_Float16::getAbsoluteMaximumValue(), 65536.0f);
}

TEST(Float16, EveryPatternIsItsFormulaAndComesBack) {
    for (unsigned int pattern = 0; pattern < 0x10000; ++pattern) {
        const int exponent = static_cast<int>(pattern >> 10 & 31);
        const double magnitude = std::ldexp(1.0 + (pattern & 0x3FF) / 1024.0, exponent - 15);
        const float value = valueOf(static_cast<std::uint16_t>(pattern));
        ASSERT_EQ(value, pattern & 0x8000 ? -magnitude : magnitude) << pattern;
        ASSERT_EQ(patternOf(value), pattern);
        // Whatever is nearer to 0 than the next pattern's value is truncated to this one.
        const float next = valueOf(static_cast<std::uint16_t>(pattern + 1));
        ASSERT_TRUE((pattern & 0x7FFF) == 0x7FFF || patternOf(std::nextafter(next, 0.0f)) == pattern)
            << pattern;
    }
}

TEST(Float16, ClampsWhatHasNoPattern) {
    constexpr float infinity = std::numeric_limits<float>::infinity();
    for (const float value : {131072.0f, 1e10f, std::numeric_limits<float>::max(), infinity}) {
        EXPECT_EQ(patternOf(value), 0x7FFF) << value;
        EXPECT_EQ(patternOf(-value), 0xFFFF) << value;
    }
    EXPECT_EQ(patternOf(std::bit_cast<float>(0x7F800001u)), 0);
    EXPECT_EQ(patternOf(std::bit_cast<float>(0xFFFFFFFFu)), 0);
}

} // namespace
