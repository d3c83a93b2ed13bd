// The runtime's generator of random numbers, one per thread, start state 1. The sequence is fixed to the bit:
// noise tables and the seeds of scrambled containers are drawn from it.
#pragma once

#include <cstdint>

namespace vl {

void seedRandom(std::uint32_t seed);

/// state = state * 214013 + 2531011 modulo 2^32; a draw is bits 16 to 30 of the new state, 0 to 32767.
int drawRandom();

} // namespace vl
