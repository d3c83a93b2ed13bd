// LZSS encoder and container header (format: lzss.h).
//
// Every ring position in the window is a node of a binary search tree that orders the 18-byte strings
// starting there; there is one tree per first byte. The tree is never balanced, and which of several equally
// long matches is taken depends on its shape, so the order in which nodes are visited, replaced and removed
// is part of the format's reproducible output. Two things make the walk quick without changing it:
//  - a node's two links lie side by side, and each node knows the link that points to it, so neither
//    descending nor relinking needs to ask "left or right?";
//  - strings are compared as big-endian integers, so one comparison gives both direction and length.

#include "file/lzss.h"

#include "file/little_endian.h"

#include <algorithm>
#include <bit>
#include <cstring>
#include <iterator>

namespace vl {
namespace {

constexpr unsigned kNil = kLzssRingSize;
constexpr unsigned kMask = kLzssRingSize - 1;

class Encoder {
  public:
    std::uint64_t encode(const std::uint8_t *data, std::uint32_t size, std::uint8_t *out);

  private:
    void initTree();
    void insertNode(unsigned r);
    void deleteNode(unsigned p);

    // Links are numbered: node p owns 2p (left child) and 2p + 1 (right child), the roots follow the nodes.
    // Node 4096 is nil; its links and its dad are written now and then and never matter.
    static constexpr unsigned kRoots = 2 * (kLzssRingSize + 1);
    static constexpr unsigned left(unsigned p) { return 2 * p; }
    static constexpr unsigned right(unsigned p) { return 2 * p + 1; }
    void link(unsigned slot, unsigned p) {
        sons[slot] = static_cast<std::uint16_t>(p);
        dad[p] = static_cast<std::uint16_t>(slot);
    }

    static constexpr std::uint16_t kNoLink = 0xFFFF;

    std::uint8_t text_buf[kLzssRingSize + kLzssLongestMatch - 1]; // positions 4096 on mirror 0 to 16
    std::uint16_t sons[kRoots + 256];                             // what each link points to
    std::uint16_t dad[kLzssRingSize + 1]; // the link that points to each node, kNoLink outside the trees
    unsigned match_length;
    unsigned match_position;
};

void Encoder::initTree() {
    std::fill(sons + kRoots, sons + kRoots + 256, std::uint16_t{kNil});
    std::fill(dad, dad + kLzssRingSize, kNoLink);
}

// Inserts the string at ring position r and finds the longest match for it; among equals the one nearest
// the root. A string equal in all 18 bytes is replaced: the newer position lives longer.
void Encoder::insertNode(unsigned r) {
    const std::uint8_t *const key = text_buf + r;
    const std::uint64_t keyHead = loadBe64(key + 1);
    unsigned longest = 0;
    unsigned slot = kRoots + key[0];
    sons[left(r)] = sons[right(r)] = kNil;
    for (;;) {
        const unsigned p = sons[slot];
        if (p == kNil)
            break;
        const std::uint8_t *const text = text_buf + p;
        const std::uint64_t textHead = loadBe64(text + 1);
        unsigned length;
        unsigned goRight;
        if (keyHead != textHead) {
            length = 1 + static_cast<unsigned>(std::countl_zero(keyHead ^ textHead)) / 8;
            goRight = keyHead > textHead;
        } else {
            const std::uint64_t keyTail = loadBe64(key + 9);
            const std::uint64_t textTail = loadBe64(text + 9);
            length = 9 + static_cast<unsigned>(std::countl_zero(keyTail ^ textTail)) / 8;
            goRight = keyTail > textTail;
            if (length == kLzssLongestMatch - 1) {
                if (key[17] == text[17]) {
                    match_length = kLzssLongestMatch;
                    match_position = p;
                    link(left(r), sons[left(p)]);
                    link(right(r), sons[right(p)]);
                    link(slot, r);
                    dad[p] = kNoLink;
                    return;
                }
                goRight = key[17] > text[17];
            }
        }
        if (length > longest) {
            longest = length;
            match_position = p;
        }
        slot = 2 * p + goRight;
    }
    match_length = longest;
    link(slot, r);
}

void Encoder::deleteNode(unsigned p) {
    const unsigned slot = dad[p];
    if (slot == kNoLink)
        return;
    const unsigned smaller = sons[left(p)];
    const unsigned greater = sons[right(p)];
    unsigned q = smaller;
    if (smaller == kNil) {
        q = greater;
    } else if (greater != kNil) {
        if (sons[right(q)] != kNil) {
            do
                q = sons[right(q)];
            while (sons[right(q)] != kNil);
            link(dad[q], sons[left(q)]);
            link(left(q), smaller);
        }
        link(right(q), greater);
    }
    link(slot, q);
    dad[p] = kNoLink;
}

std::uint64_t Encoder::encode(const std::uint8_t *data, std::uint32_t size, std::uint8_t *out) {
    initTree();
    std::fill(std::begin(text_buf), std::end(text_buf), kLzssInitialFill);
    const std::uint8_t *const end = data + size;
    unsigned s = 0;                  // the oldest position: leaves the window, takes the next byte
    unsigned r = kLzssFirstPosition; // the position being coded
    unsigned ahead = std::min(size, kLzssLongestMatch);
    if (ahead == 0)
        return 0;
    std::memcpy(text_buf + r, data, ahead);
    data += ahead;
    for (unsigned i = 1; i <= kLzssLongestMatch; ++i)
        insertNode(r - i);
    insertNode(r);

    std::uint8_t *const begin = out;
    std::uint8_t *flags = nullptr;
    unsigned mask = 0x100;
    while (ahead > 0) {
        if (mask == 0x100) {
            flags = out++;
            *flags = 0;
            mask = 1;
        }
        unsigned length = std::min(match_length, ahead);
        if (length <= kLzssThreshold) {
            length = 1;
            *flags = static_cast<std::uint8_t>(*flags | mask);
            *out++ = text_buf[r];
        } else {
            *out++ = static_cast<std::uint8_t>(match_position);
            *out++ = static_cast<std::uint8_t>((match_position >> 4 & 0xF0) | (length - kLzssThreshold - 1));
        }
        mask <<= 1;
        for (unsigned i = 0; i < length; ++i) {
            deleteNode(s);
            if (data != end) {
                text_buf[s] = *data;
                if (s < kLzssLongestMatch - 1)
                    text_buf[s + kLzssRingSize] = *data;
                ++data;
            } else {
                --ahead;
            }
            s = (s + 1) & kMask;
            r = (r + 1) & kMask;
            if (ahead > 0)
                insertNode(r);
        }
    }
    return static_cast<std::uint64_t>(out - begin);
}

Encoder sm_encoder;

} // namespace

void lzssWriteHeader(std::uint8_t *container, const LzssHeader &header) {
    std::memcpy(container, kLzssMagic, 4);
    storeLe32(container + 4, header.size);
    storeLe32(container + 8, header.packedSize);
}

bool lzssReadHeader(const std::uint8_t *container, LzssHeader &header) {
    if (std::memcmp(container, kLzssMagic, 4) != 0)
        return false;
    header = {loadLe32(container + 4), loadLe32(container + 8)};
    return true;
}

std::uint64_t lzssBound(std::uint32_t size) {
    const float product = static_cast<float>(size) * 1.2f;
    return 4096 + static_cast<std::uint64_t>(product);
}

std::uint64_t lzssEncode(const std::uint8_t *data, std::uint32_t size, std::uint8_t *out) {
    return sm_encoder.encode(data, size, out);
}

} // namespace vl
