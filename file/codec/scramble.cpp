// The scrambling transform (described in scramble.h).
//
// 171 generates all 30,268 non-zero residues modulo 30269, and from every seed that is no multiple of 30269
// the uncorrected states fall, mostly at once and always within a few hundred steps, into one cycle that
// holds each of these residues once. With the cycle in a table, neighbouring bytes no longer wait for each
// other's state and whole blocks are transformed in wide registers. States outside the cycle (0 above all)
// take one step per byte.

#include "file/codec/scramble.h"

#include <algorithm>
#include <cstring>

namespace vl {
namespace {

constexpr int modulus = 30269;
constexpr unsigned int cycleLength = modulus - 1;
constexpr unsigned int period = 640;   // of mask (128) and rotation (5) together
constexpr unsigned int blockSize = 64; // bytes transformed at once

/// The cycle from state 1 on, continued beyond its end so that a block never wraps, and where each residue
/// lies.
struct Cycle {
    std::int16_t state[cycleLength + blockSize + 1];
    std::uint16_t indexOf[modulus];

    constexpr Cycle() : state(), indexOf() {
        std::int32_t s = 1;
        for (unsigned int i = 0; i < cycleLength + blockSize + 1; ++i) {
            state[i] = static_cast<std::int16_t>(s);
            if (i < cycleLength)
                indexOf[residue(s)] = static_cast<std::uint16_t>(i);
            s = scrambleStep(s);
        }
    }

    static constexpr unsigned int residue(std::int32_t s) {
        return static_cast<unsigned int>((s % modulus + modulus) % modulus);
    }
};

/// Mask and rotation by index modulo 640, continued like the cycle.
struct Pattern {
    std::uint8_t mask[period + blockSize];
    std::uint16_t left[period + blockSize];  ///< 1 << rotation
    std::uint16_t right[period + blockSize]; ///< 1 << (8 - rotation)

    constexpr Pattern() : mask(), left(), right() {
        for (unsigned int i = 0; i < period + blockSize; ++i) {
            const unsigned int rotation = i % period % 5;
            mask[i] = static_cast<std::uint8_t>((i + 3) * 6);
            left[i] = static_cast<std::uint16_t>(1u << rotation);
            right[i] = static_cast<std::uint16_t>(1u << (8 - rotation));
        }
    }
};

constexpr Cycle cycle;
constexpr Pattern pattern;
static_assert(cycle.state[cycleLength] == cycle.state[0], "the cycle closes");

constexpr std::uint8_t byte(unsigned int value) { return static_cast<std::uint8_t>(value); }
constexpr std::uint16_t word(unsigned int value) { return static_cast<std::uint16_t>(value); }

/// A byte rotated by n is the high or the low byte of it times 1 << n; multiplication, unlike shifting by a
/// different count per byte, exists in wide registers everywhere.
struct Scramble {
    static constexpr const std::uint16_t *factors = pattern.right;
    static std::uint8_t apply(unsigned int plain, unsigned int key, unsigned int mask, unsigned int factor) {
        const std::uint16_t turned = word((byte(plain - key) ^ mask) * factor);
        return byte(turned | turned >> 8);
    }
};

struct Unscramble {
    static constexpr const std::uint16_t *factors = pattern.left;
    static std::uint8_t apply(unsigned int stored, unsigned int key, unsigned int mask, unsigned int factor) {
        const std::uint16_t turned = word(stored * factor);
        return byte((byte(turned | turned >> 8) ^ mask) + key);
    }
};

/// A block whose keys lie in a row in the cycle. By way of local arrays, so that the compiler knows that
/// source and target are apart.
template <typename Transform>
void transformBlock(const std::uint8_t *source, std::uint8_t *target, unsigned int phase,
                    unsigned int index) {
    const std::int16_t *const keys = cycle.state + index;
    const std::uint8_t *const masks = pattern.mask + phase;
    const std::uint16_t *const factors = Transform::factors + phase;
    std::uint8_t in[blockSize];
    std::uint8_t out[blockSize];
    std::memcpy(in, source, blockSize);
    for (int i = 0; i < static_cast<int>(blockSize); ++i)
        out[i] = Transform::apply(in[i], static_cast<std::uint16_t>(keys[i]), masks[i], factors[i]);
    std::memcpy(target, out, blockSize);
}

} // namespace

template <typename Transform>
void Scrambler::run(const std::uint8_t *source, std::uint8_t *target, std::size_t size) {
    while (size > 0) {
        unsigned int index = size < blockSize ? 0 : cycle.indexOf[Cycle::residue(m_iState)];
        if (size >= blockSize && cycle.state[index] == m_iState) {
            for (; size >= blockSize; size -= blockSize, source += blockSize, target += blockSize) {
                transformBlock<Transform>(source, target, m_uPhase, index + 1);
                m_uPhase = (m_uPhase + blockSize) % period;
                index = (index + blockSize) % cycleLength;
            }
            m_iState = cycle.state[index];
        }
        for (std::size_t i = std::min<std::size_t>(size, blockSize); i > 0; --i, --size) {
            m_iState = scrambleStep(m_iState);
            *target++ = Transform::apply(*source++, static_cast<unsigned int>(m_iState),
                                         pattern.mask[m_uPhase], Transform::factors[m_uPhase]);
            m_uPhase = m_uPhase + 1 == period ? 0 : m_uPhase + 1;
        }
    }
}

void Scrambler::scramble(const std::uint8_t *source, std::uint8_t *target, std::size_t size) {
    run<Scramble>(source, target, size);
}

void Scrambler::unscramble(const std::uint8_t *source, std::uint8_t *target, std::size_t size) {
    run<Unscramble>(source, target, size);
}

} // namespace vl
