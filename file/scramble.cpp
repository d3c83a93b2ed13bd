// The scrambling transform (described in scramble.h).
//
// 171 generates all 30,268 non-zero residues modulo 30269, and from every seed that is no multiple of 30269
// the uncorrected states fall, mostly at once and always within a few hundred steps, into one cycle that
// holds each of these residues once. With the cycle in a table, neighbouring bytes no longer wait for each
// other's state and whole blocks are transformed in wide registers. States outside the cycle (0 above all)
// take one step per byte.

#include "file/scramble.h"

#include <cstring>

namespace vl {
namespace {

constexpr int kModulus = 30269;
constexpr unsigned kCycleLength = kModulus - 1;
constexpr unsigned kPeriod = 640; // of mask (128) and rotation (5) together
constexpr unsigned kBlock = 64;   // bytes transformed at once

// The cycle from state 1 on, continued beyond its end so that a block never wraps, and where each residue
// lies.
struct Cycle {
    std::int16_t state[kCycleLength + kBlock + 1];
    std::uint16_t indexOf[kModulus];

    constexpr Cycle() : state(), indexOf() {
        std::int32_t s = 1;
        for (unsigned i = 0; i < kCycleLength + kBlock + 1; ++i) {
            state[i] = static_cast<std::int16_t>(s);
            if (i < kCycleLength)
                indexOf[residue(s)] = static_cast<std::uint16_t>(i);
            s = scrambleStep(s);
        }
    }

    static constexpr unsigned residue(std::int32_t s) {
        return static_cast<unsigned>((s % kModulus + kModulus) % kModulus);
    }
};

// Mask and rotation by index modulo 640, continued like the cycle.
struct Pattern {
    std::uint8_t mask[kPeriod + kBlock];
    std::uint8_t rotation[kPeriod + kBlock];
    std::uint16_t factor[kPeriod + kBlock]; // 1 << rotation: in 16 bits, multiplying by it rotates left

    constexpr Pattern() : mask(), rotation(), factor() {
        for (unsigned i = 0; i < kPeriod + kBlock; ++i) {
            mask[i] = static_cast<std::uint8_t>((i + 3) * 6);
            rotation[i] = static_cast<std::uint8_t>(i % kPeriod % 5);
            factor[i] = static_cast<std::uint16_t>(1u << rotation[i]);
        }
    }
};

constexpr Cycle kCycle;
constexpr Pattern kPattern;

constexpr std::uint8_t byte(unsigned value) { return static_cast<std::uint8_t>(value); }

struct Scramble {
    static std::uint8_t apply(unsigned plain, unsigned key, unsigned i) {
        const unsigned mixed = byte(plain - key) ^ kPattern.mask[i];
        return byte((mixed << 8 | mixed) >> kPattern.rotation[i]);
    }
};

struct Unscramble {
    static std::uint8_t apply(unsigned stored, unsigned key, unsigned i) {
        const unsigned turned = (stored << 8 | stored) >> (8 - kPattern.rotation[i]);
        return byte((byte(turned) ^ kPattern.mask[i]) + key);
    }
};

} // namespace

template <typename Transform>
void Scrambler::run(const std::uint8_t *source, std::uint8_t *target, std::size_t size) {
    for (; size > 0; --size) {
        m_iState = scrambleStep(m_iState);
        *target++ = Transform::apply(*source++, static_cast<unsigned>(m_iState), m_uPhase);
        m_uPhase = m_uPhase + 1 == kPeriod ? 0 : m_uPhase + 1;
    }
}

void Scrambler::scramble(const std::uint8_t *source, std::uint8_t *target, std::size_t size) {
    run<Scramble>(source, target, size);
}

void Scrambler::unscramble(const std::uint8_t *source, std::uint8_t *target, std::size_t size) {
    run<Unscramble>(source, target, size);
}

} // namespace vl
