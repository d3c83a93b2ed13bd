// The math library: a 16-bit float, control of the floating-point unit, random numbers, gradient noise with
// the curves that shape it, and a byte table for inverse square roots.
//
// Results are the same bits on every processor, in 32-bit and 64-bit builds and at every optimisation level:
// single precision with one rounding per operation, under the rounding to nearest that programs start with.
// Nothing here allocates, locks or throws.
#pragma once

#include "vl/core/export.h"

#include <cstdint>
#include <cstring>

/// A math type of the engine, whose headers define it; a program without the engine includes
/// vl/math_types.h. The library relies on each of these over float being a plain block of floats without
/// gaps: 2, 3, 4 (x, y, z, w), then 4, 9, 12 and 16.
template <class T>
class M_Vector2Template;
template <class T>
class M_Vector3Template;
template <class T>
class M_Vector4Template;
template <class T>
class M_Matrix2Template;
template <class T>
class M_Matrix3Template;
template <class T>
class M_Matrix4x3Template;
template <class T>
class M_Matrix4Template;

/// A real number in 16 bits: sign (bit 15), exponent e (bits 10-14), mantissa m (bits 0-9), with the value
/// (-1)^sign * 2^(e - 15) * (1 + m / 1024) for every e from 0 to 31. Each of the 65536 patterns is a finite
/// number other than 0: there is no zero, no infinity, no NaN and no denormal.
///
/// Converting to 16 bits truncates the mantissa. Magnitudes below 2^-15 get exponent field 0 and keep the top
/// bits of their mantissa, so 0 reads back as 2^-15. Magnitudes of 131072 and more, infinities included,
/// become 131008, the largest value, with their sign; a NaN becomes pattern 0.
class VL_API M_Float16 {
  public:
    static constexpr int sm_iSignBit = 1;          ///< bits of either format
    static constexpr int sm_iOldExponentBits = 8;  ///< of a 32-bit float
    static constexpr int sm_iOldMantissaBits = 23; ///< of a 32-bit float
    static constexpr int sm_iNewExponentBits = 5;  ///< of the 16 bits
    static constexpr int sm_iNewMantissaBits = 10; ///< of the 16 bits
    /// The magnitude up to which values should be kept.
    static constexpr float sm_fAbsoluteMaximum = 65536.0f;

    /// Pattern 0, which is 2^-15.
    M_Float16() = default;
    M_Float16(float value) : m_uPattern(pack(value)) {}
    M_Float16(const M_Float16 &) = default;
    M_Float16 &operator=(const M_Float16 &) = default;
    M_Float16 &operator=(float value) {
        m_uPattern = pack(value);
        return *this;
    }

    /// The value, exactly.
    operator float() const {
        const std::uint32_t exponent = (m_uPattern >> sm_iNewMantissaBits & 31u) + exponentBias;
        const std::uint32_t bits = static_cast<std::uint32_t>(m_uPattern & 0x8000u) << 16 |
                                   exponent << sm_iOldMantissaBits | (m_uPattern & 0x3FFu) << mantissaShift;
        float value;
        std::memcpy(&value, &bits, sizeof value);
        return value;
    }

    /// sm_fAbsoluteMaximum.
    static float getAbsoluteMaximumValue() { return sm_fAbsoluteMaximum; }

  private:
    static constexpr unsigned int mantissaShift = sm_iOldMantissaBits - sm_iNewMantissaBits;
    static constexpr unsigned int exponentBias =
        (1u << (sm_iOldExponentBits - 1)) - (1u << (sm_iNewExponentBits - 1));

    static std::uint16_t pack(float value) {
        std::uint32_t bits;
        std::memcpy(&bits, &value, sizeof bits);
        // Exponent and mantissa lie side by side in both formats, so that one shift moves both.
        const std::uint32_t magnitude = bits & 0x7FFFFFFFu;
        if (magnitude > 0x7F800000u)
            return 0; // a NaN
        const std::uint32_t sign = bits >> 16 & 0x8000u;
        const std::uint32_t moved = magnitude >> mantissaShift;
        const std::uint32_t bias = exponentBias << sm_iNewMantissaBits;
        const std::uint32_t packed = moved < bias            ? moved & 0x3FFu
                                     : moved - bias > 0x7FFF ? 0x7FFFu
                                                             : moved - bias;
        return static_cast<std::uint16_t>(sign | packed);
    }

    std::uint16_t m_uPattern = 0;
};

/// A scoped setting of the floating-point unit of the calling thread: the constructor saves the control
/// state, the destructor loads it again and so undoes every change made in between, by whomever. Objects are
/// destroyed on the thread that made them, nested ones in reverse order.
///
/// Rounding holds for x87 and SSE arithmetic alike; the queries report the x87 field. Precision is a setting
/// of the x87 unit alone. The sticky exception flags are neither saved nor restored. On processors other than
/// x86 the rounding mode is the one of the C library, the precision always reads as PRECISION_53 and setting
/// it does nothing.
///
/// Compilers assume rounding to nearest when they compute constants; operands that shall see the mode are
/// best read from volatile variables, or the program compiled with -frounding-math.
class VL_API M_FPUControl {
  public:
    /// How results are rounded.
    enum Rounding {
        ROUND_NEAREST = 0x000,  ///< to nearest, ties to even
        ROUND_DOWN = 0x400,     ///< toward minus infinity
        ROUND_UP = 0x800,       ///< toward plus infinity
        ROUND_TRUNCATE = 0xC00, ///< toward 0
    };
    /// How many bits of mantissa results keep.
    enum Precision {
        PRECISION_24 = 0x000, ///< single
        PRECISION_53 = 0x200, ///< double
        PRECISION_64 = 0x300, ///< extended
    };

    /// Saves the control state and changes nothing.
    M_FPUControl();
    explicit M_FPUControl(Rounding rounding);
    explicit M_FPUControl(Precision precision);
    M_FPUControl(Rounding rounding, Precision precision);
    ~M_FPUControl();

    /// What is in force now (not what was saved).
    Rounding getRounding() const;
    Precision getPrecision() const;

    /// Loads the control state with the field replaced, unless it is in force already.
    void setRounding(Rounding rounding);
    void setPrecision(Precision precision);

  private:
    M_FPUControl(const M_FPUControl &) = delete;
    M_FPUControl &operator=(const M_FPUControl &) = delete;

    /// The control state: bits 0-15 the x87 control word, bits 16-31 the low half of MXCSR without its flags.
    static int readState();
    static void storeState(int state);

    int m_iSavedState;
};

/// Start-up of the math library, counted: every client holds an object of this class, as a rule a static one,
/// made before other threads use the noise. The first one fills M_LUTInverseSqrt, builds the noise tables
/// from a fixed seed (so noise is the same in every run) and then seeds the calling thread's random generator
/// with the millisecond clock. Later ones only count, and nothing is ever released: the tables stay valid. An
/// object that raises the count from 0 again fills the same tables with the same values.
class VL_API M_MathInit {
  public:
    M_MathInit();
    ~M_MathInit();
    M_MathInit(const M_MathInit &) = delete;
    M_MathInit &operator=(const M_MathInit &) = delete;

    static int count; ///< live objects; not protected against concurrent use
};

/// A random number from 0 to 1, both included: one draw (0 to 32767) of the calling thread's generator
/// divided by 32767. Threads other than the one that made the first M_MathInit start from the generator's
/// fixed state.
VL_API float M_RAND_01();

/// A random number from -1 to 32767 / 16383 - 1, which is about 1.000061: one draw divided by 16383, minus 1.
VL_API float M_RAND();

/// The top eight mantissa bits of 1 / sqrt(x) for x from 0.5 to 2; entry i belongs to the floats whose
/// pattern has i in bits 16-23 (lowest exponent bit and top seven mantissa bits), taken at the middle of that
/// bucket.
extern VL_API unsigned char M_LUTInverseSqrt[256];

/// Fills M_LUTInverseSqrt. M_MathInit does this.
VL_API void M_funcMakeInverseSqrtLUT();

/// Signed gradient noise after Ken Perlin's original reference implementation: continuous, 0 at every point
/// with whole-number coordinates, period 256 along each axis, mostly within -1 to 1. Vectors are read as
/// their first two or three floats, x, y, z. 0 until the first M_MathInit is made.
///
/// Defined for every coordinate. The lattice is shifted by 4096 (x + 4096 is rounded to single precision) and
/// goes on below -4096 with the same period. From 2^23 on every float is a whole number, so the noise along
/// that axis rests on a lattice point; infinities and NaN are taken as lattice point 0, so that the result is
/// always a finite number.
VL_API float M_snoise(float x);
VL_API float M_snoise(const M_Vector2Template<float> &x);
VL_API float M_snoise(const M_Vector3Template<float> &x);

/// The same as (M_snoise + 1) * 0.5: mostly within 0 to 1, 0.5 at lattice points and until the first
/// M_MathInit.
VL_API float M_noise(float x);
VL_API float M_noise(const M_Vector2Template<float> &x);
VL_API float M_noise(const M_Vector3Template<float> &x);

/// The sum of |M_noise(x * f)| / f over f = frequency, frequency / 2, ... as long as f is at least 1.
/// 0 for a frequency below 1, for NaN, and for an infinite frequency (where every octave weighs nothing).
VL_API float M_turbulence(float x, float frequency);
VL_API float M_turbulence(const M_Vector3Template<float> &x, float frequency);

/// The sum of M_snoise(x * f) / f over the same octaves.
VL_API float M_sturbulence(float x, float frequency);
VL_API float M_sturbulence(const M_Vector3Template<float> &x, float frequency);

/// Bias and gain after Perlin and Hoffert: curves over a from 0 to 1 whose strength is b, between 0 and 1,
/// where b = 0.5 gives the straight line. The logarithm, the quotient and the power are each rounded to
/// single precision. Arguments outside the range give what the formulas give: NaN where a power or logarithm
/// has no value, infinity where it has no bound.
///
/// M_bias is a to the power of ln(b) / ln(0.5): it bends the value at a = 0.5 to b.
VL_API float M_bias(float a, float b);

/// M_gain steepens (b > 0.5) or flattens (b < 0.5) the middle. With p = ln(1 - b) / ln(0.5): 0 for a below
/// 0.001, 1 for a above 0.999, whatever b is; otherwise (2a)^p / 2 for a below 0.5 and 1 - (2(1 - a))^p / 2.
VL_API float M_gain(float a, float b);
