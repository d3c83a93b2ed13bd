// The container of an LZSS code stream (lzss.h), all integers little-endian and unsigned:
//
//   offset  size        field
//   0       4           magic, the bytes "VA->"
//   4       4           size: unpacked bytes
//   8       4           packedSize: code bytes that follow
//   12      packedSize  the code stream
#pragma once

#include <cstddef>
#include <cstdint>

namespace vl {

inline constexpr std::size_t lzssHeaderSize = 12;
inline constexpr char lzssMagic[] = "VA->";

/// The fields of a container's header.
struct LzssHeader {
    std::uint32_t size = 0;       ///< unpacked bytes
    std::uint32_t packedSize = 0; ///< code bytes after the header
};

/// Writes the 12 bytes of a header, magic included, to `container`.
void lzssWriteHeader(std::uint8_t *container, const LzssHeader &header);

/// Reads the 12 bytes at `container`. False, and `header` unchanged, when the magic is missing. The sizes are
/// handed over as they stand: that `packedSize` bytes really follow is the caller's to check.
bool lzssReadHeader(const std::uint8_t *container, LzssHeader &header);

/// Whether `packedSize` code bytes can give `size` bytes at all: 17 of them give 144 at most. To be asked
/// before memory is taken on the word of a damaged container.
constexpr bool lzssCanHold(std::uint32_t size, std::uint32_t packedSize) { return size / 9 <= packedSize; }

/// Size in bytes of a buffer that holds the container of any `size` bytes: 4096 + trunc(size * 1.2), the
/// product in single precision. Code is at most 1.125 times its data, so rounding never makes it too small.
/// Wider than 32 bits since it passes 4294967295 from about 3.58e9 bytes on; a caller that allocates must
/// check that the result fits its size type.
std::uint64_t lzssBound(std::uint32_t size);

/// Decodes the code of a container into the `size` bytes that its header tells. False when it is damaged.
/// Code in a container of no bytes is ignored: some writers pack an item even when there is nothing to pack.
bool lzssUnpack(const std::uint8_t *code, std::size_t codeSize, std::uint8_t *out, std::uint32_t size);

} // namespace vl
