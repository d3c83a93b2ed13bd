// LZSS compression: Storer and Szymanski's variant of LZ77 with a 4096-byte ring as the window, in the
// byte-oriented form that Haruhiko Okumura gave it (flag bytes, absolute ring positions, a binary tree of
// strings for the match search). Any decoder of that format reads these code streams and the reverse. The
// encoder is lzss_encoder.h, the container that holds a stream lzss_container.h.
//
// The code stream: a flag byte, up to eight items, the next flag byte, ... Bit 0 of a flag byte describes
// its first item; the bits without an item in the last flag byte are 0.
//
//   bit  item    bytes
//   1    literal the byte itself
//   0    match   b0 = low 8 bits of the ring position, b1 = high 4 bits of it << 4 | length - 3
//
// The ring starts filled with spaces and is written from position 4078 on. A match copies byte by byte, so
// it may overlap the bytes it is producing.
#pragma once

#include <cstddef>
#include <cstdint>

namespace vl {

inline constexpr unsigned int lzssRingSize = 4096;
inline constexpr unsigned int lzssLongestMatch = 18;
inline constexpr unsigned int lzssThreshold = 2; // a match this short costs as much as its literals
inline constexpr unsigned int lzssFirstPosition = lzssRingSize - lzssLongestMatch;
inline constexpr std::uint8_t lzssInitialFill = 0x20;

/// Decodes a whole code stream. True only when exactly `outSize` bytes came out of exactly `codeSize` bytes:
/// no item cut short, no match longer than the room left, no code left over (a lone last flag byte
/// included). Never reads or writes outside the two ranges, which must not overlap; after a failure the
/// content of `out` is unspecified. Reentrant.
bool lzssDecode(const std::uint8_t *code, std::size_t codeSize, std::uint8_t *out, std::size_t outSize);

/// Decodes a code stream that arrives in pieces of any size into pieces of any size: a match, a pair or a
/// group of eight may be split anywhere. An object is about 4 KiB, holds no other memory and may be copied.
class LzssStreamDecoder {
  public:
    /// What one call took from its input and wrote to its output, in bytes.
    struct Progress {
        std::size_t consumed = 0;
        std::size_t produced = 0;
    };

    LzssStreamDecoder() { reset(); }

    /// Back to the start of a stream.
    void reset();

    /// Decodes until `out` is full or no further byte can come from the input in hand. Stops reading as soon
    /// as `out` is full; when it is not full, all input was consumed. `out` may be overwritten beyond
    /// `produced`, never beyond `outSize`, and must not overlap the input. Any code is valid: only its end
    /// can be wrong, which atItemBoundary() and the caller's knowledge of the sizes tell.
    Progress decode(const std::uint8_t *in, std::size_t inSize, std::uint8_t *out, std::size_t outSize);

    /// Whether everything consumed so far has come out: no half-read pair and no match under way.
    bool atItemBoundary() const { return !m_bPairBegun && m_uMatchLeft == 0; }

  private:
    /// Where decode() stands in its two buffers.
    struct Cursor {
        const std::uint8_t *in;
        const std::uint8_t *inEnd;
        std::uint8_t *out;
        std::size_t produced;
        std::size_t outSize;
    };

    template <bool Early>
    void decodeGroups(Cursor &cursor) const;
    void decodeItems(Cursor &cursor);
    void copyMatch(Cursor &cursor, unsigned int position, std::size_t count) const;
    void remember(const std::uint8_t *bytes, std::size_t count);

    /// The last 4096 bytes before the current call; positions 4096 on mirror the first ones, so that the
    /// longest match can be read without wrapping.
    std::uint8_t m_ring[lzssRingSize + lzssLongestMatch - 1];
    unsigned int m_uPosition;      ///< ring position of the next byte
    unsigned int m_uFlags;         ///< flag bits to come below a sentinel bit; 1 when a flag byte is due
    unsigned int m_uMatchPosition; ///< of the match under way
    unsigned int m_uMatchLeft;     ///< bytes of it still to come
    bool m_bPairBegun;             ///< the first byte of a pair has been read, the second not yet
    std::uint8_t m_uPairFirst;
};

} // namespace vl
