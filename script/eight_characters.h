// Eight characters of a text at once, as one number: for finding those that matter without a branch for each.
#pragma once

#include "base/text.h"

#include <bit>
#include <cstdint>

namespace vl {

/// Which of eight characters are meant: the highest bit of each one's byte, the first in the lowest bits.
using EightMarks = std::uint64_t;

class EightCharacters {
  public:
    explicit EightCharacters(const char *text) : m_u(loadLe64(text)) {}

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
        const std::uint64_t kept = count == 8 ? 0 : ~std::uint64_t{0} << 8 * count;
        storeLe64(text, (lowerEight(m_u) & ~kept) | (loadLe64(text) & kept));
    }

    /// How many characters stand before the first that is marked; 8 when none is.
    static int before(EightMarks marks) { return std::countr_zero(marks) / 8; }

  private:
    static constexpr std::uint64_t highest = 0x8080808080808080u;

    static constexpr std::uint64_t all(int c) { return 0x0101010101010101u * static_cast<unsigned char>(c); }
    static EightMarks firstBelow(std::uint64_t characters, int limit) {
        return (characters - all(limit)) & ~characters & highest;
    }

    std::uint64_t m_u;
};

} // namespace vl
