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

// What a link holds: the node it leads to in the low 16 bits and, above, bytes 1 to 6 of that node's string
// (byte 0 is the same in all of a tree), big-endian, so that most comparisons need nothing but the link.
using Link = std::uint64_t;
constexpr Link kNilLink = kNil;

constexpr unsigned node(Link link) { return static_cast<std::uint16_t>(link); }

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
    void setLink(unsigned slot, Link link) {
        sons[slot] = link;
        dad[node(link)] = static_cast<std::uint16_t>(slot);
    }

    static constexpr std::uint16_t kNoLink = 0xFFFF;

    std::uint8_t text_buf[kLzssRingSize + kLzssLongestMatch - 1]; // positions 4096 on mirror 0 to 16
    Link sons[kRoots + 256];
    std::uint16_t dad[kLzssRingSize + 1]; // number of the link that leads to each node, kNoLink outside the trees
    unsigned match_length;
    unsigned match_position;
};

void Encoder::initTree() {
    std::fill(sons + kRoots, sons + kRoots + 256, kNilLink);
    std::fill(dad, dad + kLzssRingSize, kNoLink);
}

// Inserts the string at ring position r and finds the longest match for it; among equals the one nearest
// the root. A string equal in all 18 bytes is replaced: the newer position lives longer.
void Encoder::insertNode(unsigned r) {
    const std::uint8_t *const key = text_buf + r;
    const Link own = (loadBe64(key + 1) & ~Link{0xFFFF}) | r;
    std::uint64_t longest = 0;
    std::uint64_t order = std::uint64_t{kLzssRingSize} << 16;
    unsigned slot = kRoots + key[0];
    Link link = sons[slot];
    sons[left(r)] = sons[right(r)] = kNilLink;
    while (node(link) != kNil) {
        const unsigned p = node(link);
        unsigned length = 1 + static_cast<unsigned>(std::countl_zero(own ^ link)) / 8;
        unsigned goRight = own > link;
        if (length > 6) [[unlikely]] {
            const std::uint8_t *const text = text_buf + p;
            std::uint64_t keyTail = loadBe64(key + 7);
            std::uint64_t textTail = loadBe64(text + 7);
            length = 7;
            if (keyTail == textTail) {
                keyTail = loadBe64(key + 10);
                textTail = loadBe64(text + 10);
                length = 10;
            }
            length += static_cast<unsigned>(std::countl_zero(keyTail ^ textTail)) / 8;
            goRight = keyTail > textTail;
            if (length == kLzssLongestMatch) {
                match_length = kLzssLongestMatch;
                match_position = p;
                setLink(left(r), sons[left(p)]);
                setLink(right(r), sons[right(p)]);
                setLink(slot, own);
                dad[p] = kNoLink;
                return;
            }
        }
        longest = std::max(longest, (std::uint64_t{length} << 32) + order + p);
        order -= 1 << 16;
        slot = 2 * p + goRight;
        link = sons[slot];
    }
    match_length = static_cast<unsigned>(longest >> 32);
    match_position = longest & kMask;
    setLink(slot, own);
}

void Encoder::deleteNode(unsigned p) {
    const unsigned slot = dad[p];
    if (slot == kNoLink)
        return;
    const Link smaller = sons[left(p)];
    const Link greater = sons[right(p)];
    Link q = smaller;
    if (node(smaller) == kNil) {
        q = greater;
    } else if (node(greater) != kNil) {
        if (node(sons[right(node(q))]) != kNil) {
            do
                q = sons[right(node(q))];
            while (node(sons[right(node(q))]) != kNil);
            setLink(dad[node(q)], sons[left(node(q))]);
            setLink(left(node(q)), smaller);
        }
        setLink(right(node(q)), greater);
    }
    setLink(slot, q);
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
