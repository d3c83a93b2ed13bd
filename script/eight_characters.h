// Eight characters of a text at once, as one number: for finding those that matter without a branch for each.
#pragma once

#include <bit>
#include <cstdint>
#include <cstring>

namespace vl {

/// Which of eight characters are meant: the highest bit of each one's byte, the first in the lowest bits.
using EightMarks = std::uint64_t;

class EightCharacters {
  public:
    explicit EightCharacters(const char *text) {
        std::memcpy(&m_u, text, sizeof m_u);
        if constexpr (std::endian::native == std::endian::big)
            m_u = reversed(m_u);
    }

    /// Marks the characters equal to `c`, and perhaps some behind the first of them.
    EightMarks firstEqual(char c) const { return firstBelow(m_u ^ all(c), 1); }
    /// The same, with the bits of `ignored` taken for set in every character and in `c`.
    EightMarks firstEqual(char c, char ignored) const { return firstBelow((m_u | all(ignored)) ^ all(c), 1); }
    /// Marks the characters below `c`, and perhaps some behind the first of them.
    EightMarks firstBelow(char c) const { return firstBelow(m_u, c); }
    /// Marks exactly the characters equal to `c`.
    EightMarks equal(char c) const {
        const std::uint64_t difference = m_u ^ all(c);
        return ~(((difference & all(0x7F)) + all(0x7F)) | difference) & highest;
    }

    /// Replaces the first `count` characters at `text`, of which eight are there, by these in lower case.
    void storeLower(char *text, int count) const {
        const std::uint64_t low = m_u & all(0x7F);
        const std::uint64_t upper = (low + all(0x80 - 'A')) & ~(low + all(0x7F - 'Z')) & ~m_u & highest;
        const std::uint64_t kept = count == 8 ? 0 : ~std::uint64_t{0} << 8 * count;
        std::uint64_t stored = (m_u | upper >> 2) & ~kept;
        stored |= EightCharacters(text).m_u & kept;
        if constexpr (std::endian::native == std::endian::big)
            stored = reversed(stored);
        std::memcpy(text, &stored, sizeof stored);
    }

    /// How many characters stand before the first that is marked; 8 when none is.
    static int before(EightMarks marks) { return std::countr_zero(marks) / 8; }

  private:
    static constexpr std::uint64_t highest = 0x8080808080808080u;

    static constexpr std::uint64_t all(int c) { return 0x0101010101010101u * static_cast<unsigned char>(c); }
    static EightMarks firstBelow(std::uint64_t characters, int limit) {
        return (characters - all(limit)) & ~characters & highest;
    }
    static std::uint64_t reversed(std::uint64_t u) {
        std::uint64_t result = 0;
        for (int i = 0; i < 8; ++i)
            result = result << 8 | (u >> 8 * i & 0xFF);
        return result;
    }

    std::uint64_t m_u;
};

} // namespace vl
