// Little-endian integers at any address. The file formats are little-endian on every machine; compilers
// turn each of these functions into a single load or store where the machine is too.
#pragma once

#include <bit>
#include <cstdint>
#include <cstring>

namespace vl {

inline std::uint16_t loadLe16(const std::uint8_t *bytes) {
    return static_cast<std::uint16_t>(bytes[0] | bytes[1] << 8);
}

inline std::uint32_t loadLe32(const std::uint8_t *bytes) {
    return std::uint32_t{bytes[0]} | std::uint32_t{bytes[1]} << 8 | std::uint32_t{bytes[2]} << 16 |
           std::uint32_t{bytes[3]} << 24;
}

inline std::uint64_t loadLe64(const std::uint8_t *bytes) {
    return loadLe32(bytes) | std::uint64_t{loadLe32(bytes + 4)} << 32;
}

/// As one copy, since Clang does not join single bytes where two of these loads overlap.
inline std::uint64_t loadBe64(const std::uint8_t *bytes) {
    std::uint64_t value;
    std::memcpy(&value, bytes, sizeof value);
    return std::endian::native == std::endian::little ? __builtin_bswap64(value) : value;
}

inline void storeLe32(std::uint8_t *bytes, std::uint32_t value) {
    for (int i = 0; i < 4; ++i)
        bytes[i] = static_cast<std::uint8_t>(value >> 8 * i);
}

inline void storeLe64(std::uint8_t *bytes, std::uint64_t value) {
    storeLe32(bytes, static_cast<std::uint32_t>(value));
    storeLe32(bytes + 4, static_cast<std::uint32_t>(value >> 32));
}

} // namespace vl
