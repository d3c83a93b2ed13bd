// LZSS decoder (format: lzss.h).
//
// The output is its own window: a match is copied from the bytes already written, and the ring is only asked
// for what lies before the current call. While both buffers have room to spare, whole groups of eight items
// are decoded with copies of fixed width and hardly a branch; elsewhere items are decoded one at a time with
// every byte checked.

#include "file/codec/lzss.h"

#include "base/byte_order.h"
#include "base/compiler.h"

#include <algorithm>
#include <cstring>
#include <iterator>

namespace vl {
namespace {

constexpr unsigned int ringMask = lzssRingSize - 1;
constexpr std::size_t wideCopy = 16;

/// What the fixed-width copies of one group may touch: a flag byte, eight pairs and what a literal's copy
/// reads beyond its byte; eight longest matches.
constexpr std::size_t groupInput = 1 + 8 * 2 + lzssLongestMatch;
constexpr std::size_t groupOutput = 8 * lzssLongestMatch + lzssLongestMatch;

/// Copies 18 bytes, correct also when `to` lies 16 or more bytes behind `from` and overlaps it.
inline void copyLongest(std::uint8_t *to, const std::uint8_t *from) {
    std::uint8_t wide[wideCopy];
    std::memcpy(wide, from, wideCopy);
    std::memcpy(to, wide, wideCopy);
    std::uint8_t rest[2];
    std::memcpy(rest, from + wideCopy, 2);
    std::memcpy(to + wideCopy, rest, 2);
}

/// 0x01 in every `distance`-th byte: multiplying repeats a pattern of that many bytes over all eight.
constexpr std::uint64_t repeatOf[8] = {0,
                                       0x0101010101010101,
                                       0x0001000100010001,
                                       0x0001000001000001,
                                       0x0000000100000001,
                                       0x0000010000000001,
                                       0x0001000000000001,
                                       0x0100000000000001};
constexpr std::uint8_t stepOf[8] = {0, 8, 8, 6, 8, 5, 6, 7}; // the largest multiple of a distance up to 8

/// Writes the 18 (or a few more, up to 24) bytes at `to` that repeat the `distance` (1 to 15) bytes before
/// it.
inline void repeatPattern(std::uint8_t *to, std::size_t distance) {
    if (distance >= 8) {
        for (int i = 0; i < 24; i += 8) {
            std::uint8_t eight[8];
            std::memcpy(eight, to + i - distance, 8);
            std::memcpy(to + i, eight, 8);
        }
    } else {
        const std::uint64_t pattern = loadLe64(to - distance) & ((std::uint64_t{1} << 8 * distance) - 1);
        const std::uint64_t eight = pattern * repeatOf[distance];
        const std::size_t step = stepOf[distance];
        storeLe64(to, eight);
        storeLe64(to + step, eight);
        storeLe64(to + 2 * step, eight);
    }
}

} // namespace

void LzssStreamDecoder::reset() {
    std::fill(std::begin(m_ring), std::end(m_ring), lzssInitialFill);
    m_uPosition = lzssFirstPosition;
    m_uFlags = 1;
    m_uMatchPosition = 0;
    m_uMatchLeft = 0;
    m_bPairBegun = false;
    m_uPairFirst = 0;
}

/// Decodes groups of eight while both buffers have room for any group. Only between groups. The early form
/// asks of every match whether it begins before this call; from 4096 bytes on none can. At the start of a
/// cache line: elsewhere, where other code may push it, its loop took up to half as long again.
template <bool Early>
VL_AT_CACHE_LINE void LzssStreamDecoder::decodeGroups(Cursor &cursor) const {
    const std::uint8_t *in = cursor.in;
    std::uint8_t *const out = cursor.out;
    std::size_t produced = cursor.produced;
    if (cursor.outSize < groupOutput || static_cast<std::size_t>(cursor.inEnd - in) < groupInput)
        return;
    const std::uint8_t *const lastIn = cursor.inEnd - groupInput;
    const std::size_t last = Early ? std::min<std::size_t>(cursor.outSize - groupOutput, lzssRingSize - 1)
                                   : cursor.outSize - groupOutput;
    const unsigned int bias = m_uPosition - 1;
    while (in <= lastIn && produced <= last) {
        unsigned int flags = *in++;
        if (flags == 0xFF) {
            std::memcpy(out + produced, in, 8);
            in += 8;
            produced += 8;
            continue;
        }
        for (int item = 0; item < 8; ++item, flags >>= 1) {
            // All ones for a match, 0 for a literal: half of the items are mispredicted when they are
            // branched on.
            const std::size_t match = static_cast<std::size_t>(flags & 1) - 1;
            const unsigned int pair = loadLe16(in);
            const unsigned int position = (pair & 0xFF) | (pair >> 4 & 0xF00);
            const std::size_t distance =
                ((static_cast<unsigned int>(produced) + bias - position) & ringMask) + 1;
            const std::size_t length = 1 + (((pair >> 8 & 0x0F) + lzssThreshold) & match);
            std::uint8_t *const to = out + produced;
            if (Early && distance > produced && match) {
                if (distance - produced >= lzssLongestMatch) {
                    copyLongest(to, m_ring + position);
                } else {
                    Cursor crossing{in, in, out, produced, cursor.outSize};
                    copyMatch(crossing, position, length);
                }
            } else if (distance < wideCopy && match) [[unlikely]] {
                repeatPattern(to, distance);
            } else {
                const std::uintptr_t from = (reinterpret_cast<std::uintptr_t>(to - distance) & match) |
                                            (reinterpret_cast<std::uintptr_t>(in) & ~match);
                // NOLINTNEXTLINE(performance-no-int-to-ptr): one of two addresses, chosen without a branch
                copyLongest(to, reinterpret_cast<const std::uint8_t *>(from));
            }
            in += 1 - static_cast<std::ptrdiff_t>(match);
            produced += length;
        }
    }
    cursor.in = in;
    cursor.produced = produced;
}

/// Produces `count` bytes of a match, wherever they come from.
void LzssStreamDecoder::copyMatch(Cursor &cursor, unsigned int position, std::size_t count) const {
    const std::size_t distance =
        ((static_cast<unsigned int>(cursor.produced) + m_uPosition - 1 - position) & ringMask) + 1;
    for (; count > 0; --count, ++cursor.produced)
        cursor.out[cursor.produced] = distance > cursor.produced ? m_ring[position++ & ringMask]
                                                                 : cursor.out[cursor.produced - distance];
}

/// Decodes item by item until the output is full or the input used up.
void LzssStreamDecoder::decodeItems(Cursor &cursor) {
    for (;;) {
        if (m_uMatchLeft > 0) {
            const std::size_t count = std::min<std::size_t>(m_uMatchLeft, cursor.outSize - cursor.produced);
            copyMatch(cursor, m_uMatchPosition, count);
            m_uMatchPosition = (m_uMatchPosition + static_cast<unsigned int>(count)) & ringMask;
            m_uMatchLeft -= static_cast<unsigned int>(count);
        }
        if (m_uFlags == 1) {
            if (cursor.produced < lzssRingSize)
                decodeGroups<true>(cursor);
            if (cursor.produced >= lzssRingSize)
                decodeGroups<false>(cursor);
        }
        if (cursor.produced == cursor.outSize || cursor.in == cursor.inEnd)
            return;
        const std::uint8_t byte = *cursor.in++;
        if (m_uFlags == 1) {
            m_uFlags = byte | 0x100u;
            continue;
        }
        if (m_uFlags & 1) {
            cursor.out[cursor.produced++] = byte;
        } else if (!m_bPairBegun) {
            m_uPairFirst = byte;
            m_bPairBegun = true;
            continue;
        } else {
            m_uMatchPosition = m_uPairFirst | (byte & 0xF0u) << 4;
            m_uMatchLeft = (byte & 0x0Fu) + lzssThreshold + 1;
            m_bPairBegun = false;
        }
        m_uFlags >>= 1;
    }
}

/// Takes the bytes that a call produced into the ring.
void LzssStreamDecoder::remember(const std::uint8_t *bytes, std::size_t count) {
    const std::size_t skipped = count > lzssRingSize ? count - lzssRingSize : 0;
    unsigned int position = (m_uPosition + static_cast<unsigned int>(skipped)) & ringMask;
    for (std::size_t done = skipped; done < count;) {
        const std::size_t piece = std::min<std::size_t>(count - done, lzssRingSize - position);
        std::memcpy(m_ring + position, bytes + done, piece);
        position = (position + static_cast<unsigned int>(piece)) & ringMask;
        done += piece;
    }
    std::memcpy(m_ring + lzssRingSize, m_ring, lzssLongestMatch - 1);
    m_uPosition = position;
}

LzssStreamDecoder::Progress LzssStreamDecoder::decode(const std::uint8_t *in, std::size_t inSize,
                                                      std::uint8_t *out, std::size_t outSize) {
    Cursor cursor{in, in + inSize, out, 0, outSize};
    decodeItems(cursor);
    remember(out, cursor.produced);
    return {inSize - static_cast<std::size_t>(cursor.inEnd - cursor.in), cursor.produced};
}

bool lzssDecode(const std::uint8_t *code, std::size_t codeSize, std::uint8_t *out, std::size_t outSize) {
    LzssStreamDecoder decoder;
    const LzssStreamDecoder::Progress progress = decoder.decode(code, codeSize, out, outSize);
    return progress.consumed == codeSize && progress.produced == outSize && decoder.atItemBoundary();
}

} // namespace vl
