// LZSS encoder: the ring and the trees of strings over it (format: lzss.h).
#pragma once

#include <cstdint>

namespace vl {

/// One encoder, which serves any number of encodings after each other; several may work at once.
class LzssEncoder {
  public:
    /// Takes some 80 KiB, counted. Throws V_MemoryException_Allocation.
    LzssEncoder();
    ~LzssEncoder();
    LzssEncoder(const LzssEncoder &) = delete;
    LzssEncoder &operator=(const LzssEncoder &) = delete;

    /// Compresses `size` bytes to a code stream (no header) at `out`, which has room for lzssBound(size) -
    /// lzssHeaderSize bytes, and returns the number of code bytes: 0 for no data, and possibly more than a
    /// header's `packedSize` holds (incompressible data from 3817748707 bytes on), which the caller must
    /// refuse. Allocates nothing.
    std::uint64_t encode(const std::uint8_t *data, std::uint32_t size, std::uint8_t *out);

  private:
    class State;
    State *m_pState;
};

} // namespace vl
