// What a chunk begins with, all integers little-endian:
//
//   offset  size       field
//   0       1          marker, 12
//   1       4          identifier
//   5       4          version
//   9       4          size: 13 + payload; 0 while the chunk is open
//   13      size - 13  payload
#pragma once

#include "base/byte_order.h"
#include "vl/memoryfile.h"

namespace vl {

inline constexpr unsigned int chunkHeaderSize = V_MemoryFile::CHUNK_HEADER_SIZE;
inline constexpr unsigned int chunkMarkerSize = 1;
inline constexpr unsigned int chunkSizeOffset = 9;

inline void putChunkHeader(unsigned char (&bytes)[chunkHeaderSize], const V_MemoryFile::ChunkHeader &header) {
    bytes[0] = V_MemoryFile::BT_CHUNK;
    storeLe32(bytes + 1, header.identifier);
    storeLe32(bytes + 5, header.version);
    storeLe32(bytes + chunkSizeOffset, header.size);
}

/// The fields of the chunk whose marker is at `bytes`.
inline V_MemoryFile::ChunkHeader chunkHeaderAt(const void *bytes) {
    const auto *const fields = static_cast<const unsigned char *>(bytes);
    return {loadLe32(fields + 1), loadLe32(fields + 5), loadLe32(fields + chunkSizeOffset)};
}

} // namespace vl
