// Scrambling: a keyless byte transform that hides data from a casual look and secures nothing. Each byte is
// mixed with the key byte of a small linear congruential generator, a mask and a rotation; the seed is stored
// beside the data.
//
//   state     s' = 171 * (s mod 177) - 2 * (s div 177), truncating; Schrage's form of 171 * s mod 30269
//             without its correction, so states may be negative (of Wichmann and Hill's generator, first
//             part)
//   byte i    key = low 8 bits of s', mask = (i + 3) * 6 mod 256, rot = i mod 5
//   scramble  stored = rotateRight(((plain - key) mod 256) xor mask, rot)
//   undo      plain = ((rotateLeft(stored, rot) xor mask) + key) mod 256
//
// The container, all integers little-endian:
//
//   offset  size  field
//   0       4     magic, the bytes "VC->"
//   4       4     size: data bytes
//   8       4     totalSize: size + 16
//   12      4     seed: the state before the first byte
//   16      size  the scrambled bytes, index 0 first
#pragma once

#include <cstddef>
#include <cstdint>

namespace vl {

inline constexpr std::size_t scrambleHeaderSize = 16;
inline constexpr char scrambleMagic[] = "VC->";

/// The generator's state after `state`. Defined for every value; 0 stays 0.
constexpr std::int32_t scrambleStep(std::int32_t state) { return 171 * (state % 177) - 2 * (state / 177); }

/// Where a scrambled region has been left: for regions that are worked through in pieces. Starts at the first
/// byte; each call goes on where the last one stopped. A seed of 0 is used as it is.
class Scrambler {
  public:
    explicit Scrambler(std::int32_t seed) : m_iState(seed) {}

    /// Scrambles the next `size` bytes of the region from `source` to `target`, which may be the same place
    /// but must not overlap otherwise.
    void scramble(const std::uint8_t *source, std::uint8_t *target, std::size_t size);

    /// Undoes scramble(), under the same conditions.
    void unscramble(const std::uint8_t *source, std::uint8_t *target, std::size_t size);

  private:
    template <typename Transform>
    void run(const std::uint8_t *source, std::uint8_t *target, std::size_t size);

    std::int32_t m_iState;
    unsigned int m_uPhase = 0; ///< the next byte's index modulo 640, the common period of mask and rotation
};

/// Scrambles a whole region at once, `seed` being the state before the first byte. `source` and `target` as
/// with Scrambler.
inline void scramble(const std::uint8_t *source, std::uint8_t *target, std::size_t size, std::int32_t seed) {
    Scrambler(seed).scramble(source, target, size);
}

/// Undoes scramble().
inline void unscramble(const std::uint8_t *source, std::uint8_t *target, std::size_t size,
                       std::int32_t seed) {
    Scrambler(seed).unscramble(source, target, size);
}

} // namespace vl
