// The runtime's generator of random numbers.

#include "base/random.h"

namespace vl {

namespace {

thread_local std::uint32_t state = 1;

} // namespace

void seedRandom(std::uint32_t seed) { state = seed; }

int drawRandom() {
    state = state * 214013u + 2531011u;
    return static_cast<int>(state >> 16 & 0x7FFF);
}

} // namespace vl
