// LZSS compression: Storer and Szymanski's variant of LZ77 with a 4096-byte ring as the window, in the
// byte-oriented form that Haruhiko Okumura gave it (flag bytes, absolute ring positions, a binary tree of
// strings for the match search). Any decoder of that format reads these code streams and the reverse.
//
// The container, all integers little-endian and unsigned:
//
//   offset  size        field
//   0       4           magic, the bytes "VA->"
//   4       4           size: unpacked bytes
//   8       4           packedSize: code bytes that follow
//   12      packedSize  the code stream
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

/// Compresses `size` bytes to a code stream (no header) at `out`, which has room for lzssBound(size) -
/// lzssHeaderSize bytes, and returns the number of code bytes: 0 for no data, and possibly more than a
/// header's `packedSize` holds (incompressible data from 3817748707 bytes on), which the caller must refuse.
/// Allocates nothing: the ring and the tree are one static object, so calls must not overlap.
std::uint64_t lzssEncode(const std::uint8_t *data, std::uint32_t size, std::uint8_t *out);

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
