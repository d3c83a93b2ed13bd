// Scoped control of the floating-point unit: arithmetic follows the mode, and leaving the scope restores it.

#include "vl/math.h"

#include <gtest/gtest.h>

#include <cfenv>
#include <cmath>

namespace {

/// Adds at run time, in the arithmetic of Real and the rounding in force.
template <class Real>
Real sum(Real a, Real b) {
    volatile Real x = a, y = b;
    volatile Real result = x + y;
    return result;
}

/// What 1 + 2^-120 and -1 - 2^-120 round to, and 1.5 and -1.5 as integers, tell the four modes apart.
template <class Real>
M_FPUControl::Rounding observedRounding() {
    const Real tiny = std::ldexp(Real(1), -120);
    const bool upAbove = sum<Real>(1, tiny) > 1;
    const bool downBelow = sum<Real>(-1, -tiny) < -1;
    volatile Real half = Real(1.75);
    const bool whole = std::lrint(half) == 2; // nearest and up
    return upAbove     ? M_FPUControl::ROUND_UP
           : downBelow ? M_FPUControl::ROUND_DOWN
           : whole     ? M_FPUControl::ROUND_NEAREST
                       : M_FPUControl::ROUND_TRUNCATE;
}

void expectRounding(const M_FPUControl &control, M_FPUControl::Rounding rounding) {
    EXPECT_EQ(control.getRounding(), rounding);
    EXPECT_EQ(observedRounding<float>(), rounding);
    EXPECT_EQ(observedRounding<double>(), rounding);
    EXPECT_EQ(observedRounding<long double>(), rounding); // the x87 unit, where there is one
}

TEST(FpuControl, ArithmeticFollowsTheRoundingUntilTheScopeEnds) {
    const M_FPUControl outer;
    for (const auto rounding : {M_FPUControl::ROUND_DOWN, M_FPUControl::ROUND_UP,
                                M_FPUControl::ROUND_TRUNCATE, M_FPUControl::ROUND_NEAREST}) {
        std::feclearexcept(FE_ALL_EXCEPT);
        {
            const M_FPUControl scoped(rounding);
            expectRounding(scoped, rounding);
        }
        EXPECT_NE(std::fetestexcept(FE_INEXACT), 0); // raised within
        expectRounding(outer, M_FPUControl::ROUND_NEAREST);
    }
}

TEST(FpuControl, NestedScopesUndoWhateverHappenedWithin) {
    const M_FPUControl outer(M_FPUControl::ROUND_UP);
    {
        M_FPUControl same(M_FPUControl::ROUND_UP);
        {
            M_FPUControl inner(M_FPUControl::ROUND_TRUNCATE);
            inner.setRounding(M_FPUControl::ROUND_DOWN);
            expectRounding(inner, M_FPUControl::ROUND_DOWN);
        }
        expectRounding(same, M_FPUControl::ROUND_UP);
        std::fesetround(FE_TOWARDZERO); // by someone else
    }
    expectRounding(outer, M_FPUControl::ROUND_UP);
    std::fesetround(FE_TONEAREST);
}

#if defined(__i386__) || defined(__x86_64__)

TEST(FpuControl, PrecisionNarrowsTheX87UnitUntilTheScopeEnds) {
    const M_FPUControl outer;
    const auto before = outer.getPrecision();
    // The smallest power of two whose addition to 1 still shows.
    const auto significandBits = [] {
        int bits = 1;
        while (sum(1.0L, std::ldexp(1.0L, -bits)) != 1.0L)
            ++bits;
        return bits;
    };
    const int bitsBefore = significandBits();
    {
        M_FPUControl scoped(M_FPUControl::ROUND_TRUNCATE, M_FPUControl::PRECISION_24);
        EXPECT_EQ(scoped.getPrecision(), M_FPUControl::PRECISION_24);
        expectRounding(scoped, M_FPUControl::ROUND_TRUNCATE);
        EXPECT_EQ(significandBits(), 24);
        scoped.setPrecision(M_FPUControl::PRECISION_53);
        EXPECT_EQ(significandBits(), 53);
    }
    EXPECT_EQ(outer.getPrecision(), before);
    EXPECT_EQ(significandBits(), bitsBefore);
}

#endif

} // namespace
