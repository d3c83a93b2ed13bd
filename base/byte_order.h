// Integers of either byte order at any address. The file formats are little-endian on every machine;
// compilers turn each of these functions into a single load or store.
#pragma once

#include <bit>
#include <cstdint>
#include <cstring>

namespace vl {

static_assert(std::endian::native == std::endian::little || std::endian::native == std::endian::big);

template <class Integer>
constexpr Integer swapBytes(Integer value) {
    Integer swapped = 0;
    for (unsigned int i = 0; i < sizeof value; ++i)
        swapped = static_cast<Integer>(swapped << 8 | (value >> 8 * i & 0xFF));
    return swapped;
}

/// As one copy, since Clang does not join single bytes where two of these loads overlap.
template <class Integer, std::endian order>
Integer loadBytes(const void *bytes) {
    Integer value;
    std::memcpy(&value, bytes, sizeof value);
    return order == std::endian::native ? value : swapBytes(value);
}

template <class Integer, std::endian order>
void storeBytes(void *bytes, Integer value) {
    if (order != std::endian::native)
        value = swapBytes(value);
    std::memcpy(bytes, &value, sizeof value);
}

inline std::uint16_t loadLe16(const void *bytes) {
    return loadBytes<std::uint16_t, std::endian::little>(bytes);
}
inline std::uint32_t loadLe32(const void *bytes) {
    return loadBytes<std::uint32_t, std::endian::little>(bytes);
}
inline std::uint64_t loadLe64(const void *bytes) {
    return loadBytes<std::uint64_t, std::endian::little>(bytes);
}
inline std::uint64_t loadBe64(const void *bytes) { return loadBytes<std::uint64_t, std::endian::big>(bytes); }

inline void storeLe32(void *bytes, std::uint32_t value) {
    storeBytes<std::uint32_t, std::endian::little>(bytes, value);
}
inline void storeLe64(void *bytes, std::uint64_t value) {
    storeBytes<std::uint64_t, std::endian::little>(bytes, value);
}

} // namespace vl
