// Gradient noise in one, two and three dimensions and the turbulence sums over it.
//
// This is the noise of Ken Perlin's original reference implementation (SIGGRAPH 1985, the "noise.c" of his
// course notes): a lattice of 256 cells per axis, a permutation P and random gradients G1, G2, G3, blended
// with the curve 3t^2 - 2t^3. Every table of 256 entries is followed by its first 258 entries again, so that
// the far corner of a cell is simply the next entry: P[b + 1], G[h + 1] need no wrapping.
//
// The tables are stored the way the noise reads them, which changes no value:
//   - one- and two-dimensional gradients are stored behind the permutation (entry k holds G[P[k]]), the only
//     way they are looked up;
//   - vectors are split into their components, so that the gradients of two corners that are neighbours on
//     the last axis are two floats side by side.
// The corners of a cell are then computed side by side in one vector register, each lane with exactly the
// operations and the order that the scalar form has.

#include "math/noise.h"

#include "base/compiler.h"
#include "base/lanes.h"
#include "base/random.h"
#include "vl/math.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <memory>

namespace vl {
namespace {

constexpr int cells = 256;
constexpr int tableSize = cells + cells + 2;
constexpr float latticeShift = 4096.0f;

struct NoiseTables {
    std::uint8_t permutation[tableSize];
    float gradient1[tableSize];
    float gradient2[2][tableSize];
    float gradient3[3][tableSize];
};

NoiseTables tables; // zero until built, which makes every noise value 0

/// One gradient component before normalisation: one of the 512 multiples of 1/256 from -1 to below 1.
float drawComponent() {
    return static_cast<float>(drawRandom() % (2 * cells) - cells) / static_cast<float>(cells);
}

/// Where a coordinate lies: its cell, and its distance from the cell's near and far lattice point.
struct Axis {
    unsigned int cell;
    float nearOffset, farOffset;
};

/// The shifted coordinate brought into the first period, 0 to below 256; not-finite ones to 0.
VL_COLD float wrapIntoPeriod(float t) {
    constexpr float period = cells;
    return std::isfinite(t) ? t - period * std::floor(t / period) : 0.0f;
}

inline Axis locate(float coordinate) {
    float t = coordinate + latticeShift;
    // As unsigned numbers, the patterns below that of 2^31 are those of the floats from 0 to below 2^31,
    // which convert to int; all others (negative, larger, infinite, NaN) lie above.
    constexpr std::uint32_t patternOfTwoTo31 = 0x4F000000u;
    if (std::bit_cast<std::uint32_t>(t) >= patternOfTwoTo31) [[unlikely]]
        t = wrapIntoPeriod(t);
    const int whole = static_cast<int>(t);
    const float offset = t - static_cast<float>(whole);
    return {static_cast<unsigned int>(whole) & (cells - 1), offset, offset - 1.0f};
}

inline float blendCurve(float t) { return t * t * (3.0f - 2.0f * t); }

inline float blend(float t, float a, float b) { return a + t * (b - a); }

inline float noise1(float x) {
    const Axis ax = locate(x);
    const float u = ax.nearOffset * tables.gradient1[ax.cell];
    const float v = ax.farOffset * tables.gradient1[ax.cell + 1];
    return blend(blendCurve(ax.nearOffset), u, v);
}

inline float noise2(float x, float y) {
    const Axis ax = locate(x);
    const Axis ay = locate(y);
    const unsigned int nearX = tables.permutation[ax.cell] + ay.cell;
    const unsigned int farX = tables.permutation[ax.cell + 1] + ay.cell;
    // Lanes: corners (near x, near y), (near x, far y), (far x, near y), (far x, far y).
    const Lanes offsetX = {ax.nearOffset, ax.nearOffset, ax.farOffset, ax.farOffset};
    const Lanes offsetY = {ay.nearOffset, ay.farOffset, ay.nearOffset, ay.farOffset};
    const auto &g = tables.gradient2;
    const Lanes corner =
        offsetX * loadPairs(g[0] + nearX, g[0] + farX) + offsetY * loadPairs(g[1] + nearX, g[1] + farX);
    const float curveX = blendCurve(ax.nearOffset);
    const float nearY = blend(curveX, corner[0], corner[2]);
    const float farY = blend(curveX, corner[1], corner[3]);
    return blend(blendCurve(ay.nearOffset), nearY, farY);
}

inline float noise3(float x, float y, float z) {
    const Axis ax = locate(x);
    const Axis ay = locate(y);
    const Axis az = locate(z);
    const std::uint8_t *nearX = tables.permutation + tables.permutation[ax.cell] + ay.cell;
    const std::uint8_t *farX = tables.permutation + tables.permutation[ax.cell + 1] + ay.cell;
    // Lanes: corners (near y, near z), (near y, far z), (far y, near z), (far y, far z).
    const Lanes offsetY = {ay.nearOffset, ay.nearOffset, ay.farOffset, ay.farOffset};
    const Lanes offsetZ = {az.nearOffset, az.farOffset, az.nearOffset, az.farOffset};
    const auto &g = tables.gradient3;
    const auto corners = [&](const std::uint8_t *hashes, float offsetX) {
        const unsigned int nearY = hashes[0] + az.cell;
        const unsigned int farY = hashes[1] + az.cell;
        return offsetX * loadPairs(g[0] + nearY, g[0] + farY) +
               offsetY * loadPairs(g[1] + nearY, g[1] + farY) +
               offsetZ * loadPairs(g[2] + nearY, g[2] + farY);
    };
    const Lanes u = corners(nearX, ax.nearOffset);
    const Lanes v = corners(farX, ax.farOffset);
    const Lanes a = u + blendCurve(ax.nearOffset) * (v - u);
    const float curveY = blendCurve(ay.nearOffset);
    const float nearZ = blend(curveY, a[0], a[2]);
    const float farZ = blend(curveY, a[1], a[3]);
    return blend(blendCurve(az.nearOffset), nearZ, farZ);
}

/// The floats of one of the engine's vectors, whose definition the library does not see.
template <class Vector>
const float *components(const Vector &v) {
    return reinterpret_cast<const float *>(std::addressof(v));
}

inline float toUnsigned(float noise) { return (noise + 1.0f) * 0.5f; }

/// Sums octave(f) / f over f = frequency, frequency / 2, ... down to 1.
template <class Octave>
float sumOctaves(float frequency, const Octave &octave) {
    if (std::isinf(frequency))
        return 0.0f; // halving never ends it, and every octave would be divided by infinity
    float sum = 0.0f;
    while (frequency >= 1.0f) {
        sum += octave(frequency) / frequency;
        frequency /= 2.0f;
    }
    return sum;
}

} // namespace

void buildNoiseTables() {
    // The reference's order of draws: all gradients first, entry by entry, then the shuffle.
    float gradient1[cells], gradient2[2][cells], gradient3[3][cells];
    auto &permutation = tables.permutation;
    for (int i = 0; i < cells; ++i) {
        permutation[i] = static_cast<std::uint8_t>(i);
        gradient1[i] = drawComponent();
        const float x2 = drawComponent();
        const float y2 = drawComponent();
        const float length2 = std::sqrt(x2 * x2 + y2 * y2);
        gradient2[0][i] = x2 / length2;
        gradient2[1][i] = y2 / length2;
        const float x3 = drawComponent();
        const float y3 = drawComponent();
        const float z3 = drawComponent();
        const float length3 = std::sqrt(x3 * x3 + y3 * y3 + z3 * z3);
        gradient3[0][i] = x3 / length3;
        gradient3[1][i] = y3 / length3;
        gradient3[2][i] = z3 / length3;
    }
    for (int i = cells - 1; i > 0; --i)
        std::swap(permutation[i], permutation[drawRandom() % cells]);
    for (int i = cells; i < tableSize; ++i)
        permutation[i] = permutation[i - cells];
    for (int i = 0; i < tableSize; ++i) {
        const int hashed = permutation[i];
        tables.gradient1[i] = gradient1[hashed];
        for (int axis = 0; axis < 2; ++axis)
            tables.gradient2[axis][i] = gradient2[axis][hashed];
        for (int axis = 0; axis < 3; ++axis)
            tables.gradient3[axis][i] = gradient3[axis][i % cells];
    }
}

} // namespace vl

float M_snoise(float x) { return vl::noise1(x); }

float M_snoise(const M_Vector2Template<float> &x) {
    const float *v = vl::components(x);
    return vl::noise2(v[0], v[1]);
}

float M_snoise(const M_Vector3Template<float> &x) {
    const float *v = vl::components(x);
    return vl::noise3(v[0], v[1], v[2]);
}

float M_noise(float x) { return vl::toUnsigned(M_snoise(x)); }

float M_noise(const M_Vector2Template<float> &x) { return vl::toUnsigned(M_snoise(x)); }

float M_noise(const M_Vector3Template<float> &x) { return vl::toUnsigned(M_snoise(x)); }

float M_turbulence(float x, float frequency) {
    return vl::sumOctaves(frequency, [&](float f) { return std::fabs(vl::toUnsigned(vl::noise1(x * f))); });
}

float M_turbulence(const M_Vector3Template<float> &x, float frequency) {
    const float *v = vl::components(x);
    return vl::sumOctaves(frequency, [&](float f) {
        return std::fabs(vl::toUnsigned(vl::noise3(v[0] * f, v[1] * f, v[2] * f)));
    });
}

float M_sturbulence(float x, float frequency) {
    return vl::sumOctaves(frequency, [&](float f) { return vl::noise1(x * f); });
}

float M_sturbulence(const M_Vector3Template<float> &x, float frequency) {
    const float *v = vl::components(x);
    return vl::sumOctaves(frequency, [&](float f) { return vl::noise3(v[0] * f, v[1] * f, v[2] * f); });
}
