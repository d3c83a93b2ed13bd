// Bias and gain, and the logarithm and power they are made of.
//
// The C library's logf and powf differ in their last bit between versions, widths and processors. Here both
// are computed in double precision from additions, multiplications and divisions alone, which are the same
// everywhere, and rounded once to single precision at the end. Their error before that rounding is below
// 2^-44, so that the result is the correctly rounded one but for about one argument in a million.

#include "vl/math.h"

#include <bit>
#include <cmath>
#include <cstdint>
#include <limits>

namespace {

constexpr double ln2 = 0.693147180559945309417232121458176568;

/// The natural logarithm of a positive finite number, which may not be subnormal as a double.
double naturalLog(double x) {
    // x = 2^exponent * m with m from sqrt(1/2) to sqrt(2); ln m = 2 artanh((m - 1) / (m + 1)).
    constexpr std::uint64_t patternOfHalfRoot = 0x3FE6A09E667F3BCDu;
    const auto pattern = std::bit_cast<std::uint64_t>(x);
    const auto exponent = static_cast<std::int64_t>(pattern - patternOfHalfRoot) >> 52;
    const double m = std::bit_cast<double>(pattern - (static_cast<std::uint64_t>(exponent) << 52));
    const double s = (m - 1.0) / (m + 1.0); // at most 0.172: eleven terms of the series reach 2^-60
    const double square = s * s;
    double series = 0.0;
    for (int term = 21; term > 0; term -= 2)
        series = series * square + 1.0 / term;
    return static_cast<double>(exponent) * ln2 + 2.0 * s * series;
}

/// e to the power of x, for x within the exponents of double precision.
double exponential(double x) {
    // x = whole * ln 2 + rest with |rest| at most 0.35: sixteen terms of the series reach 2^-68.
    const double whole = std::floor(x / ln2 + 0.5);
    const double rest = x - whole * ln2;
    double series = 1.0;
    for (int term = 16; term > 0; --term)
        series = 1.0 + series * rest / term;
    return std::ldexp(series, static_cast<int>(whole));
}

float logarithm(float x) {
    if (!(x > 0.0f) || std::isinf(x))
        return std::log(x); // -infinity, NaN or infinity
    return static_cast<float>(naturalLog(x));
}

float power(float base, float exponent) {
    // Zeros, infinities, NaN and a base of 1 have exact results, the same in every C library.
    if (base == 0.0f || base == 1.0f || !std::isfinite(base) || !std::isfinite(exponent))
        return std::pow(base, exponent);
    float sign = 1.0f;
    if (base < 0.0f) {
        if (exponent != std::floor(exponent))
            return std::numeric_limits<float>::quiet_NaN();
        sign = std::fmod(exponent, 2.0f) == 0.0f ? 1.0f : -1.0f;
    }
    const double scaled = exponent * naturalLog(std::fabs(base));
    // Far beyond what a float can hold in either direction, and within what a double can.
    constexpr double limit = 500.0;
    const double bounded = std::fmin(std::fmax(scaled, -limit), limit);
    return sign * static_cast<float>(exponential(bounded));
}

/// ln(x) / ln(0.5), the exponent that takes 0.5 to x.
float halfLogarithm(float x) { return logarithm(x) / static_cast<float>(-ln2); }

} // namespace

float M_bias(float a, float b) { return power(a, halfLogarithm(b)); }

float M_gain(float a, float b) {
    const float p = halfLogarithm(1.0f - b);
    if (a < 0.001f)
        return 0.0f;
    if (a > 0.999f)
        return 1.0f;
    if (a < 0.5f)
        return power(2.0f * a, p) / 2.0f;
    return 1.0f - power(2.0f * (1.0f - a), p) / 2.0f;
}
