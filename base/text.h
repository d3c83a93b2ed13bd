// Letter case, which everywhere in the library means that of A-Z alone: of one character, of eight at once,
// and how texts and names compare without regard to it. (std::V_CTrI::fold is `lower` in clients' hands.)
#pragma once

#include "base/byte_order.h"

#include <cstddef>
#include <cstdint>
#include <string_view>

namespace vl {

constexpr char lower(char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; }
constexpr char upper(char c) { return c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c; }

/// `lower` of each of eight characters that are the bytes of one number.
constexpr std::uint64_t lowerEight(std::uint64_t characters) {
    constexpr std::uint64_t each = 0x0101010101010101u;
    const std::uint64_t low = characters & (each * 0x7F);
    const std::uint64_t fromA = low + each * (0x80 - 'A');       // top bit set where low >= 'A'
    const std::uint64_t beyondZ = low + each * (0x80 - 'Z' - 1); // and where low > 'Z'
    const std::uint64_t isUpper = (fromA & ~beyondZ & ~characters) & (each * 0x80);
    return characters | isUpper >> 2; // 0x80 >> 2 is the bit between 'A' and 'a'
}

/// The last eight characters of a text as one number, the first of them in its lowest bits; of a text shorter
/// than that all, and zeros.
inline std::uint64_t loadTail(std::string_view text) {
    const auto *const bytes = reinterpret_cast<const std::uint8_t *>(text.data());
    const std::size_t size = text.size();
    if (size >= 8)
        return loadLe64(bytes + size - 8);
    // Short texts in pieces that overlap: a copy of a size that varies is a call.
    if (size >= 4)
        return loadLe32(bytes) | std::uint64_t{loadLe32(bytes + size - 4)} << 8 * (size - 4);
    if (size == 0)
        return 0;
    return bytes[0] | std::uint64_t{bytes[size / 2]} << 8 * (size / 2) |
           std::uint64_t{bytes[size - 1]} << 8 * (size - 1);
}

/// Negative, 0 or positive: unsigned bytes in lower case; a text that ends first is the smaller.
inline int compareFolded(std::string_view a, std::string_view b) {
    const auto order = [](std::uint64_t x, std::uint64_t y) {
        const std::uint64_t foldedX = lowerEight(x), foldedY = lowerEight(y);
        if (foldedX == foldedY)
            return 0;
        return swapBytes(foldedX) < swapBytes(foldedY) ? -1 : 1;
    };
    const std::size_t common = a.size() < b.size() ? a.size() : b.size();
    for (std::size_t at = 0; at + 8 <= common; at += 8) {
        const std::uint64_t x = loadLe64(a.data() + at), y = loadLe64(b.data() + at);
        if (x != y) {
            if (const int result = order(x, y))
                return result;
        }
    }
    // What is left of the shorter text; where there were eight characters, together with some already found
    // equal.
    if (const int result = order(loadTail(a.substr(0, common)), loadTail(b.substr(0, common))))
        return result;
    return a.size() < b.size() ? -1 : a.size() > b.size() ? 1 : 0;
}

/// Whether two file names are the same.
inline bool equalNames(std::string_view a, std::string_view b) {
    return a.size() == b.size() && compareFolded(a, b) == 0;
}

/// The order of every listing: by the bytes in upper case, names equal so far by their own bytes.
inline bool namePrecedes(std::string_view a, std::string_view b) {
    for (std::size_t i = 0; i < a.size() && i < b.size(); ++i)
        if (upper(a[i]) != upper(b[i]))
            return static_cast<unsigned char>(upper(a[i])) < static_cast<unsigned char>(upper(b[i]));
    return a.size() != b.size() ? a.size() < b.size() : a < b;
}

} // namespace vl
