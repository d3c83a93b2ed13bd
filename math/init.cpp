// Start-up of the math library, the table of inverse square roots, and the two random-number shortcuts.

#include "vl/math.h"

#include "base/random.h"
#include "math/noise.h"
#include "platform/platform.h"

#include <bit>
#include <cmath>
#include <cstdint>

namespace {

constexpr std::uint32_t noiseSeed = 0x0BADBEEF;

} // namespace

int M_MathInit::count = 0;

unsigned char M_LUTInverseSqrt[256];

M_MathInit::M_MathInit() {
    if (count++ != 0)
        return;
    // The tables shall not depend on the mode that the client happens to have set.
    const M_FPUControl nearest(M_FPUControl::ROUND_NEAREST);
    M_funcMakeInverseSqrtLUT();
    vl::seedRandom(noiseSeed);
    vl::buildNoiseTables();
    vl::seedRandom(vl::platform::milliseconds());
}

M_MathInit::~M_MathInit() { --count; }

void M_funcMakeInverseSqrtLUT() {
    for (std::uint32_t i = 0; i < 256; ++i) {
        // The middle of bucket i: half of the 2^16 patterns that share bits 16-23.
        const float middle = std::bit_cast<float>(i << 16 | 0x3F008000u);
        const float root = std::sqrt(middle);
        const float inverse = 1.0f / root;
        // Rounded to the nearest multiple of 2^14 before the upper half of that is cut off.
        M_LUTInverseSqrt[i] =
            static_cast<unsigned char>((std::bit_cast<std::uint32_t>(inverse) + 0x2000u) >> 15);
    }
}

float M_RAND_01() { return static_cast<float>(vl::drawRandom() / 32767.0); }

float M_RAND() { return static_cast<float>(vl::drawRandom() / 16383.0 - 1.0); }
