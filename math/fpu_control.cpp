// M_FPUControl: rounding and precision of the floating-point unit.
//
//   x87 control word   bits 8-9   precision      MXCSR   bits 0-5    sticky flags, left alone
//                      bits 10-11 rounding               bits 6-15   control
//                                                        bits 13-14  rounding, in the same code
//
// The saved state holds the x87 word in its low and the control bits of MXCSR in its high half. Processors
// other than x86 offer the rounding mode alone; there the state is the x87 word that would say the same.

#include "vl/math.h"

#include <cfenv>
#include <cstdint>

namespace {

constexpr int roundingMask = 0x0C00;
constexpr int precisionMask = 0x0300;

} // namespace

#if (defined(__i386__) || defined(__x86_64__)) && defined(__GNUC__)

namespace {

constexpr unsigned int mxcsrRoundingShift = 3 + 16; // from the x87 field to that of MXCSR in the high half
#ifdef __SSE__
constexpr unsigned int mxcsrControlMask = 0xFFC0;
#endif

/// The state with both rounding fields replaced.
int withRounding(int state, int rounding) {
    std::uint32_t result = static_cast<std::uint32_t>(state) & ~static_cast<std::uint32_t>(roundingMask);
    result |= static_cast<std::uint32_t>(rounding);
#ifdef __SSE__
    result &= ~(static_cast<std::uint32_t>(roundingMask) << mxcsrRoundingShift);
    result |= static_cast<std::uint32_t>(rounding) << mxcsrRoundingShift;
#endif
    return static_cast<int>(result);
}

} // namespace

int M_FPUControl::readState() {
    std::uint16_t word;
    asm volatile("fnstcw %0" : "=m"(word) : : "memory");
    std::uint32_t state = word;
#ifdef __SSE__
    state |= (__builtin_ia32_stmxcsr() & mxcsrControlMask) << 16;
#endif
    return static_cast<int>(state);
}

void M_FPUControl::storeState(int state) {
    const std::uint16_t word = static_cast<std::uint16_t>(state);
    asm volatile("fldcw %0" : : "m"(word) : "memory");
#ifdef __SSE__
    const std::uint32_t control = static_cast<std::uint32_t>(state) >> 16 & mxcsrControlMask;
    __builtin_ia32_ldmxcsr((__builtin_ia32_stmxcsr() & ~mxcsrControlMask) | control);
#endif
}

#else

namespace {

int withRounding(int state, int rounding) { return (state & ~roundingMask) | rounding; }

} // namespace

int M_FPUControl::readState() {
    int rounding = ROUND_NEAREST;
    switch (std::fegetround()) {
#ifdef FE_DOWNWARD
    case FE_DOWNWARD:
        rounding = ROUND_DOWN;
        break;
#endif
#ifdef FE_UPWARD
    case FE_UPWARD:
        rounding = ROUND_UP;
        break;
#endif
#ifdef FE_TOWARDZERO
    case FE_TOWARDZERO:
        rounding = ROUND_TRUNCATE;
        break;
#endif
    default:
        break;
    }
    return rounding | PRECISION_53;
}

void M_FPUControl::storeState(int state) {
    switch (state & roundingMask) {
#ifdef FE_DOWNWARD
    case ROUND_DOWN:
        std::fesetround(FE_DOWNWARD);
        break;
#endif
#ifdef FE_UPWARD
    case ROUND_UP:
        std::fesetround(FE_UPWARD);
        break;
#endif
#ifdef FE_TOWARDZERO
    case ROUND_TRUNCATE:
        std::fesetround(FE_TOWARDZERO);
        break;
#endif
    default:
        std::fesetround(FE_TONEAREST);
        break;
    }
}

#endif

M_FPUControl::M_FPUControl() : m_iSavedState(readState()) {}

M_FPUControl::M_FPUControl(Rounding rounding) : M_FPUControl() { setRounding(rounding); }

M_FPUControl::M_FPUControl(Precision precision) : M_FPUControl() { setPrecision(precision); }

M_FPUControl::M_FPUControl(Rounding rounding, Precision precision) : M_FPUControl(rounding) {
    setPrecision(precision);
}

M_FPUControl::~M_FPUControl() { storeState(m_iSavedState); }

M_FPUControl::Rounding M_FPUControl::getRounding() const {
    return static_cast<Rounding>(readState() & roundingMask);
}

M_FPUControl::Precision M_FPUControl::getPrecision() const {
    return static_cast<Precision>(readState() & precisionMask);
}

void M_FPUControl::setRounding(Rounding rounding) {
    const int state = readState();
    const int wanted = withRounding(state, rounding & roundingMask);
    if (wanted != state)
        storeState(wanted);
}

void M_FPUControl::setPrecision(Precision precision) {
    const int state = readState();
    const int wanted = (state & ~precisionMask) | (precision & precisionMask);
    if (wanted != state)
        storeState(wanted);
}
