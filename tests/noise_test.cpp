// Noise, random numbers and lookup tables, judged by a second implementation in the textbook's form, by known
// table entries, and by a checksum that is the same in every build.

#include "base/random.h"
#include "vl/math_types.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdint>
#include <limits>
#include <utility>
#include <vector>

namespace {

using Vector2 = M_Vector2Template<float>;
using Vector3 = M_Vector3Template<float>;

constexpr float infinity = std::numeric_limits<float>::infinity();
constexpr float notANumber = std::numeric_limits<float>::quiet_NaN();

/// The noise as published: tables of 514 entries, scalar arithmetic, corner after corner.
struct Judge {
    int p[514];
    float g[3][514][3]; // by dimension - 1

    Judge() {
        std::uint32_t state = 0x0BADBEEF;
        const auto draw = [&] {
            state = state * 214013u + 2531011u;
            return static_cast<int>(state >> 16 & 0x7FFF);
        };
        for (int i = 0; i < 256; ++i) {
            p[i] = i;
            for (int dimension = 1; dimension <= 3; ++dimension) {
                float *gradient = g[dimension - 1][i];
                float squares = 0;
                for (int axis = 0; axis < dimension; ++axis) {
                    gradient[axis] = static_cast<float>(draw() % 512 - 256) / 256.0f;
                    squares += gradient[axis] * gradient[axis];
                }
                for (int axis = 0; axis < dimension && dimension > 1; ++axis)
                    gradient[axis] /= std::sqrt(squares);
            }
        }
        for (int i = 255; i > 0; --i)
            std::swap(p[i], p[draw() % 256]);
        for (int i = 0; i < 258; ++i) {
            p[256 + i] = p[i];
            for (auto &table : g)
                std::copy(table[i], table[i] + 3, table[256 + i]);
        }
    }

    /// Blends the values of two halves along one axis at a time, the first axis innermost.
    float noise(const float *x, int dimension) const {
        int near[3];
        float offset[3];
        for (int axis = 0; axis < dimension; ++axis) {
            const float t = x[axis] + 4096.0f;
            near[axis] = static_cast<int>(t);
            offset[axis] = t - static_cast<float>(near[axis]);
        }
        float corner[8];
        for (int c = 0; c < 1 << dimension; ++c) {
            int index = 0;
            float dot = 0;
            for (int axis = 0; axis < dimension; ++axis) {
                index += (near[axis] + (c >> axis & 1)) & 255;
                index = axis < 2 ? p[index] : index;
            }
            for (int axis = 0; axis < dimension; ++axis) {
                const float r = c >> axis & 1 ? offset[axis] - 1.0f : offset[axis];
                const float product = r * g[dimension - 1][index][axis];
                dot = axis == 0 ? product : dot + product;
            }
            corner[c] = dot;
        }
        for (int axis = 0, count = 1 << dimension; count > 1; ++axis, count /= 2) {
            const float s = offset[axis] * offset[axis] * (3.0f - 2.0f * offset[axis]);
            for (int c = 0; c < count / 2; ++c)
                corner[c] = corner[2 * c] + s * (corner[2 * c + 1] - corner[2 * c]);
        }
        return corner[0];
    }
};

/// Coordinates from -4096 upwards: a spread over many cells, whole numbers, and the borders of the period.
std::vector<float> someCoordinates() {
    std::vector<float> coordinates = {0.0f,     0.5f,     -0.25f,  255.0f,   255.75f, 256.0f,
                                      -4096.0f, -4095.9f, 4095.5f, 70000.1f, 8e6f,    1.5e9f};
    std::uint32_t state = 7;
    for (int i = 0; i < 40; ++i) {
        state = state * 1664525u + 1013904223u;
        coordinates.push_back(static_cast<float>(state >> 8) / 65536.0f - 128.0f);
    }
    return coordinates;
}

// Taken while the program starts, when no M_MathInit has been made.
const float noiseBeforeStart =
    M_snoise(0.3f) + M_noise(Vector2{0.3f, 0.7f}) + M_snoise(Vector3{0.3f, 0.7f, 9.2f});

class Noise : public ::testing::Test {
  protected:
    M_MathInit m_init;
};

TEST_F(Noise, TablesAreThoseOfTheSeed) {
    const Judge judge;
    const int permutation[] = {203, 209, 245, 44, 139, 173, 210, 63};
    const float gradient1[] = {-0.37109375f, 0.19921875f, -0.03125f, 0.52734375f};
    EXPECT_TRUE(std::equal(std::begin(permutation), std::end(permutation), judge.p));
    for (int i = 0; i < 4; ++i)
        EXPECT_EQ(judge.g[0][i][0], gradient1[i]);
}

TEST_F(Noise, EveryBitAgreesWithTheTextbookForm) {
    const Judge judge;
    const std::vector<float> coordinates = someCoordinates();
    const auto bits = [](float value) { return std::bit_cast<std::uint32_t>(value); };
    for (const float x : coordinates) {
        ASSERT_EQ(bits(M_snoise(x)), bits(judge.noise(&x, 1))) << x;
        for (const float y : coordinates) {
            const Vector2 v2{x, y};
            ASSERT_EQ(bits(M_snoise(v2)), bits(judge.noise(&v2.x, 2))) << x << ' ' << y;
            ASSERT_EQ(M_noise(v2), (M_snoise(v2) + 1.0f) * 0.5f);
            for (const float z : coordinates) {
                const Vector3 v3{x, y, z};
                ASSERT_EQ(bits(M_snoise(v3)), bits(judge.noise(&v3.x, 3))) << x << ' ' << y << ' ' << z;
            }
        }
    }
}

TEST_F(Noise, ChecksumIsTheSameInEveryBuild) {
    // FNV-1a over the result patterns of everything here that computes with floats.
    std::uint32_t sum = 2166136261u;
    const auto add = [&](float value) {
        for (std::uint32_t bits = std::bit_cast<std::uint32_t>(value), i = 0; i < 4; ++i, bits >>= 8)
            sum = (sum ^ (bits & 255u)) * 16777619u;
    };
    for (int i = 0; i < 20000; ++i) {
        const float x = static_cast<float>(i) * 0.37f - 5000.0f;
        const float y = static_cast<float>(i) * 0.11f;
        const float z = static_cast<float>(i) * -0.23f;
        add(M_snoise(x));
        add(M_noise(Vector2{x, y}));
        add(M_snoise(Vector3{x, y, z}));
        add(M_turbulence(y, 32.0f));
        add(M_turbulence(Vector3{x, y, z}, 8.0f));
        add(M_sturbulence(z, 5.5f));
        add(M_sturbulence(Vector3{z, y, x}, 8.0f));
        const float a = static_cast<float>(i % 141) / 140.0f;
        const int row = i / 141;
        const float b = static_cast<float>(row) / 142.0f;
        add(M_bias(a, b));
        add(M_gain(a, b));
    }
    EXPECT_EQ(sum, 1089720244u);
}

TEST_F(Noise, VanishesAtLatticePointsAndRepeatsEvery256) {
    for (int i = -6000; i < 6000; i += 7) {
        const float x = static_cast<float>(i);
        EXPECT_EQ(M_noise(Vector3{x, -9.0f, 5.0f}), 0.5f);
        // Eighths stay exact, far below -4096 too.
        const float between = x + 0.375f;
        EXPECT_EQ(M_snoise(between), M_snoise(between - 65536.0f));
        EXPECT_EQ(M_snoise(Vector3{0.5f, between, 0.25f}), M_snoise(Vector3{-8191.5f, between, 1024.25f}));
    }
}

TEST_F(Noise, HostileCoordinatesGiveWhatALatticePointGives) {
    for (const float huge : {infinity, -infinity, notANumber, -notANumber, 3e38f, -3e38f, 3e9f, -3e9f}) {
        EXPECT_EQ(M_snoise(huge), 0.0f);
        EXPECT_EQ(M_noise(huge), 0.5f);
        // Multiples of 2^31 and what is no number lie in cell 0 of their axis.
        EXPECT_EQ(M_snoise(Vector2{0.3f, huge}), M_snoise(Vector2{0.3f, 0.0f}));
        EXPECT_EQ(M_snoise(Vector3{huge, 0.3f, huge}), M_snoise(Vector3{0.0f, 0.3f, 0.0f}));
        EXPECT_TRUE(std::isfinite(M_turbulence(huge, 3e38f)));
        EXPECT_TRUE(std::isfinite(M_sturbulence(Vector3{1.0f, huge, 2.0f}, 64.0f)));
    }
}

TEST_F(Noise, TurbulenceSumsTheOctavesDownToOne) {
    const float x = 0.7f;
    const Vector3 v{0.7f, -3.2f, 9.1f};
    EXPECT_EQ(M_turbulence(x, 0.99f), 0.0f);
    EXPECT_EQ(M_turbulence(x, 1.0f), M_noise(x));
    float sum = 0.0f, signedSum = 0.0f;
    for (const float f : {8.0f, 4.0f, 2.0f, 1.0f}) {
        const Vector3 scaled{v.x * f, v.y * f, v.z * f};
        sum += M_noise(scaled) / f;
        signedSum += M_snoise(scaled) / f;
    }
    EXPECT_EQ(M_turbulence(v, 8.0f), sum);
    EXPECT_EQ(M_sturbulence(v, 8.0f), signedSum);
    for (const float endless : {infinity, -infinity, notANumber, -8.0f}) {
        EXPECT_EQ(M_turbulence(x, endless), 0.0f);
        EXPECT_EQ(M_sturbulence(v, endless), 0.0f);
    }
}

TEST_F(Noise, BiasAndGainFollowTheirFormulas) {
    // Judged in extended precision; the exponent is single precision on both sides.
    const auto judgePower = [](float base, float logarithmOf) {
        const float p = static_cast<float>(std::log(static_cast<long double>(logarithmOf))) /
                        static_cast<float>(std::log(0.5L));
        return static_cast<float>(std::pow(static_cast<long double>(base), static_cast<long double>(p)));
    };
    for (int i = 1; i < 200; ++i) {
        const float a = static_cast<float>(i) / 200.0f;
        EXPECT_EQ(M_bias(a, 0.5f), a);
        EXPECT_EQ(M_gain(a, 0.5f), a);
        for (const float b : {1e-30f, 0.01f, 0.3f, 0.6f, 0.99f, 0.9999999f}) {
            EXPECT_FLOAT_EQ(M_bias(a, b), judgePower(a, b)) << a << ' ' << b;
            const float gain = a < 0.5f ? judgePower(2.0f * a, 1.0f - b) / 2.0f
                                        : 1.0f - judgePower(2.0f * (1.0f - a), 1.0f - b) / 2.0f;
            EXPECT_FLOAT_EQ(M_gain(a, b), gain) << a << ' ' << b;
        }
    }
    for (const float b : {0.0f, 0.3f, 0.5f, 1.0f, -5.0f, infinity, notANumber}) {
        EXPECT_EQ(M_gain(0.0005f, b), 0.0f);
        EXPECT_EQ(M_gain(0.9995f, b), 1.0f);
    }
    EXPECT_EQ(M_bias(0.7f, 0.0f), 0.0f);
    EXPECT_EQ(M_bias(0.7f, 1.0f), 1.0f);
    EXPECT_EQ(M_bias(0.0f, 2.0f), infinity);
    EXPECT_EQ(M_bias(1e-30f, 8.0f), infinity);
    EXPECT_EQ(M_bias(1e-30f, 0.125f), 0.0f); // 10^-90
    EXPECT_EQ(M_bias(-0.5f, 0.25f), 0.25f);
    EXPECT_TRUE(std::isnan(M_bias(-0.5f, 0.3f)));
    EXPECT_TRUE(std::isnan(M_bias(0.5f, -1.0f)));
}

TEST_F(Noise, InverseSquareRootTableHoldsTheMiddleOfEachBucket) {
    const std::pair<int, int> telling[] = {{0, 105}, {1, 104}, {127, 0}, {128, 255}, {129, 253}, {255, 106}};
    for (const auto &[index, entry] : telling)
        EXPECT_EQ(M_LUTInverseSqrt[index], entry) << index;
    // Used the way it is meant: eight good bits of 1 / sqrt(x).
    for (std::uint32_t bits = 0x3F000000u; bits < 0x40000000u; bits += 9973) {
        const float x = std::bit_cast<float>(bits);
        const std::uint32_t exponent = bits < 0x3F800000u ? 0x3F800000u : 0x3F000000u;
        const auto mantissa = static_cast<std::uint32_t>(M_LUTInverseSqrt[bits >> 16 & 255]) << 15;
        ASSERT_NEAR(std::bit_cast<float>(exponent | mantissa) * std::sqrt(x), 1.0f, 0.008f) << x;
    }
}

TEST(MathInit, OnlyTheFirstObjectStartsNoiseAndTheGenerator) {
    {
        const M_MathInit first;
        EXPECT_NE(M_snoise(0.3f), 0.0f);
        vl::seedRandom(1);
        const M_MathInit second;
        // The start of the runtime's well-known sequence: 41, 18467, 6334.
        EXPECT_EQ(M_RAND_01(), static_cast<float>(41 / 32767.0));
        EXPECT_EQ(M_RAND(), static_cast<float>(18467 / 16383.0 - 1.0)); // rounded once
        EXPECT_EQ(M_RAND(), static_cast<float>(6334 / 16383.0 - 1.0));
    }
    EXPECT_EQ(M_MathInit::count, 0);
    EXPECT_EQ(noiseBeforeStart, 0.5f);
}

TEST(MathInit, TablesDoNotDependOnTheRoundingInForce) {
    const auto sampled = [](M_FPUControl::Rounding rounding) {
        const M_FPUControl inForce(rounding);
        const M_MathInit init;
        const M_FPUControl nearest(M_FPUControl::ROUND_NEAREST);
        return M_snoise(Vector3{0.3f, 0.6f, 0.9f});
    };
    EXPECT_EQ(sampled(M_FPUControl::ROUND_UP), sampled(M_FPUControl::ROUND_NEAREST));
}

} // namespace
