// Texts compared and hashed without regard to the case of A-Z, eight bytes at a time.
#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string_view>

namespace vl {

/// Eight bytes as one number whose most significant byte is the first.
inline std::uint64_t loadBytes(const char *bytes) {
    std::uint64_t value;
    std::memcpy(&value, bytes, sizeof value);
    if constexpr (std::endian::native == std::endian::little)
        value = __builtin_bswap64(value);
    return value;
}

/// The last eight bytes of a text of at least eight; all of a shorter one, filled up with zeros behind.
inline std::uint64_t loadTail(std::string_view text) {
    if (text.size() >= 8)
        return loadBytes(text.data() + text.size() - 8);
    char bytes[8] = {};
    std::memcpy(bytes, text.data(), text.size());
    return loadBytes(bytes);
}

/// Turns each byte from 'A' to 'Z' into its lower-case letter.
inline std::uint64_t foldBytes(std::uint64_t bytes) {
    constexpr std::uint64_t each = 0x0101010101010101u;
    const std::uint64_t low = bytes & (each * 0x7F);
    const std::uint64_t fromA = low + each * (0x80 - 'A');       // top bit set where low >= 'A'
    const std::uint64_t beyondZ = low + each * (0x80 - 'Z' - 1); // and where low > 'Z'
    const std::uint64_t upper = (fromA & ~beyondZ & ~bytes) & (each * 0x80);
    return bytes | upper >> 2; // 0x80 >> 2 is the bit between 'A' and 'a'
}

/// Negative, 0 or positive: unsigned bytes after folding; a text that ends first is the smaller.
inline int compareFolded(std::string_view a, std::string_view b) {
    const auto order = [](std::uint64_t x, std::uint64_t y) {
        const std::uint64_t foldedX = foldBytes(x), foldedY = foldBytes(y);
        return foldedX < foldedY ? -1 : foldedX > foldedY ? 1 : 0;
    };
    const std::size_t common = a.size() < b.size() ? a.size() : b.size();
    std::size_t at = 0;
    for (; at + 8 <= common; at += 8) {
        const std::uint64_t x = loadBytes(a.data() + at), y = loadBytes(b.data() + at);
        if (x != y) {
            if (const int result = order(x, y))
                return result;
        }
    }
    // What is left of the shorter text; where there were eight bytes, together with some already found equal.
    const std::uint64_t x = loadTail(a.substr(0, common)), y = loadTail(b.substr(0, common));
    if (const int result = order(x, y))
        return result;
    return a.size() < b.size() ? -1 : a.size() > b.size() ? 1 : 0;
}

/// Equal for texts that compare equal. Bit 5 of every byte is left out, which folds A-Z and, harmlessly for a
/// hash, other characters too.
inline std::uint64_t hashFolded(std::string_view text) {
    constexpr std::uint64_t caseBits = 0x2020202020202020u;
    constexpr std::uint64_t multiplier = 0x9E3779B97F4A7C15u; // 2^64 divided by the golden ratio
    std::uint64_t hash = text.size();
    const auto mix = [&](std::uint64_t bytes) {
        hash = (hash ^ (bytes | caseBits)) * multiplier;
        hash ^= hash >> 32;
    };
    for (std::size_t at = 0; at + 8 < text.size(); at += 8)
        mix(loadBytes(text.data() + at));
    mix(loadTail(text));
    return hash * multiplier;
}

} // namespace vl
