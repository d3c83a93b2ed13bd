// Where the bytes of a buffered stream come from, behind the one window that all its streams share.
#pragma once

#include <cstdint>

namespace vl {

class StreamBackEnd {
  public:
    virtual ~StreamBackEnd() = default;

    /// Reads `n` bytes at `position` of the stream's file, or the next `n` of one that only moves forward.
    /// Throws V_FileException_UnableToReadData and what EntryPieces::read throws.
    virtual void read(std::uint64_t position, std::uint8_t *out, unsigned int n) = 0;

    /// Reads all `n` bytes of one that only moves forward, wherever it stands, and leaves it there.
    virtual void readWhole(std::uint8_t *out, unsigned int n) = 0;
};

/// The size of the buffer, in bytes, when a client asks for this one.
constexpr unsigned int streamBufferSize(int wanted) {
    return wanted > 0 ? static_cast<unsigned int>(wanted) : 8192;
}

} // namespace vl
