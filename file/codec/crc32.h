// CRC-32 as in IEEE 802.3, zlib, PNG: reflected polynomial 0xEDB88320, initial value and final XOR
// 0xFFFFFFFF.
#pragma once

#include <cstddef>
#include <cstdint>

namespace vl {

/// CRC-32 of `size` bytes; 0 for none. For data in pieces, hand the CRC of what came before as `previous`:
/// crc32(b, m, crc32(a, n)) is the CRC of a and b in a row. Uses carry-less multiplication where the
/// processor has it. Allocates nothing, reentrant.
std::uint32_t crc32(const void *data, std::size_t size, std::uint32_t previous = 0);

/// The same by tables alone, for processors without carry-less multiplication; 16 bytes a step.
std::uint32_t crc32Sliced(const void *data, std::size_t size, std::uint32_t previous = 0);

} // namespace vl
