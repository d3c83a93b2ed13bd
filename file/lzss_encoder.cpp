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

struct Match {
    unsigned length;
    unsigned position;
};

// The trees over the ring.
class MatchTree {
  public:
    void initTree();

    // Inserts the string at ring position r and finds the longest match for it; among equals the one nearest
    // the root. A string equal in all 18 bytes is replaced: the newer position lives longer.
    Match insertNode(unsigned r);

    // The same for two strings of different trees, at once: neither descent waits for the other.
    void insertNodes(const unsigned (&r)[2], Match (&matches)[2]);

    void deleteNode(unsigned p);

    std::uint8_t text_buf[kLzssRingSize + kLzssLongestMatch - 1]; // positions 4096 on mirror 0 to 16

  private:
    // A string on its way down.
    struct Descent {
        const std::uint8_t *key;
        Link own;      // the link that will lead to it
        unsigned slot; // the link reached, by number
        Link link;     // and by content; nil at the end
        // Length of the longest match << 32, then how near the root, then its position: the greatest value is
        // the longest match met first.
        std::uint64_t longest;
        std::uint64_t nearness;
    };

    Descent start(unsigned r);
    bool step(Descent &descent);
    Match end(const Descent &descent);

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

    Link sons[kRoots + 256];
    std::uint16_t dad[kLzssRingSize + 1]; // number of the link that leads to each node; kNoLink outside
};

void MatchTree::initTree() {
    std::fill(sons + kRoots, sons + kRoots + 256, kNilLink);
    std::fill(dad, dad + kLzssRingSize, kNoLink);
}

inline MatchTree::Descent MatchTree::start(unsigned r) {
    const std::uint8_t *const key = text_buf + r;
    const unsigned slot = kRoots + key[0];
    sons[left(r)] = sons[right(r)] = kNilLink;
    return {key, (loadBe64(key + 1) & ~Link{0xFFFF}) | r, slot, sons[slot],
            0,   std::uint64_t{kLzssRingSize} << 16};
}

// Compares with one node and goes on to its child. False when there is none, or the node was replaced.
inline bool MatchTree::step(Descent &descent) {
    const unsigned p = node(descent.link);
    if (p == kNil)
        return false;
    unsigned length = 1 + static_cast<unsigned>(std::countl_zero(descent.own ^ descent.link)) / 8;
    unsigned goRight = descent.own > descent.link;
    if (length > 6) [[unlikely]] {
        const std::uint8_t *const text = text_buf + p;
        std::uint64_t keyTail = loadBe64(descent.key + 7);
        std::uint64_t textTail = loadBe64(text + 7);
        length = 7;
        if (keyTail == textTail) {
            keyTail = loadBe64(descent.key + 10);
            textTail = loadBe64(text + 10);
            length = 10;
        }
        length += static_cast<unsigned>(std::countl_zero(keyTail ^ textTail)) / 8;
        goRight = keyTail > textTail;
        if (length == kLzssLongestMatch) {
            const unsigned r = node(descent.own);
            setLink(left(r), sons[left(p)]);
            setLink(right(r), sons[right(p)]);
            dad[p] = kNoLink;
            descent.longest = (std::uint64_t{length} << 32) + p;
            return false;
        }
    }
    descent.longest = std::max(descent.longest, (std::uint64_t{length} << 32) + descent.nearness + p);
    descent.nearness -= 1 << 16;
    descent.slot = 2 * p + goRight;
    descent.link = sons[descent.slot];
    return true;
}

inline Match MatchTree::end(const Descent &descent) {
    setLink(descent.slot, descent.own);
    return {static_cast<unsigned>(descent.longest >> 32), static_cast<unsigned>(descent.longest & kMask)};
}

Match MatchTree::insertNode(unsigned r) {
    Descent descent = start(r);
    while (step(descent)) {
    }
    return end(descent);
}

void MatchTree::insertNodes(const unsigned (&r)[2], Match (&matches)[2]) {
    Descent first = start(r[0]);
    Descent second = start(r[1]);
    bool firstGoesOn = true;
    bool secondGoesOn = true;
    while (firstGoesOn & secondGoesOn) {
        firstGoesOn = step(first);
        secondGoesOn = step(second);
    }
    while (firstGoesOn)
        firstGoesOn = step(first);
    while (secondGoesOn)
        secondGoesOn = step(second);
    matches[0] = end(first);
    matches[1] = end(second);
}

void MatchTree::deleteNode(unsigned p) {
    const unsigned slot = dad[p];
    if (slot == kNoLink)
        return;
    const Link smaller = sons[left(p)];
    const Link greater = sons[right(p)];
    Link q = node(smaller) == kNil ? greater : smaller;
    if (node(smaller) != kNil && node(greater) != kNil) {
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

// Turns one match per position into items.
class ItemWriter {
  public:
    explicit ItemWriter(std::uint8_t *out) : m_pOut(out) {}

    // The next position: its byte, the match found for it, and how many bytes there are from it on. Positions
    // that an earlier match covers are passed over.
    void position(std::uint8_t byte, const Match &match, unsigned ahead) {
        if (m_uCovered > 0) {
            --m_uCovered;
            return;
        }
        if (m_uMask == 0x100) {
            m_pFlags = m_pOut++;
            *m_pFlags = 0;
            m_uMask = 1;
        }
        const unsigned length = std::min(match.length, ahead);
        if (length <= kLzssThreshold) {
            *m_pFlags = static_cast<std::uint8_t>(*m_pFlags | m_uMask);
            *m_pOut++ = byte;
        } else {
            *m_pOut++ = static_cast<std::uint8_t>(match.position);
            *m_pOut++ =
                static_cast<std::uint8_t>((match.position >> 4 & 0xF0) | (length - kLzssThreshold - 1));
            m_uCovered = length - 1;
        }
        m_uMask <<= 1;
    }

    const std::uint8_t *end() const { return m_pOut; }

  private:
    std::uint8_t *m_pOut;
    std::uint8_t *m_pFlags = nullptr;
    unsigned m_uMask = 0x100;
    unsigned m_uCovered = 0;
};

class Encoder {
  public:
    std::uint64_t encode(const std::uint8_t *data, std::uint32_t size, std::uint8_t *out);

  private:
    // The oldest position leaves the window and takes the byte that enters the look-ahead.
    void replaceOldest(std::uint8_t byte) {
        tree.deleteNode(s);
        tree.text_buf[s] = byte;
        if (s < kLzssLongestMatch - 1)
            tree.text_buf[s + kLzssRingSize] = byte;
        s = next(s);
    }

    static unsigned next(unsigned position) { return (position + 1) & kMask; }

    MatchTree tree;
    unsigned s; // the oldest position
};

std::uint64_t Encoder::encode(const std::uint8_t *data, std::uint32_t size, std::uint8_t *out) {
    unsigned ahead = std::min(size, kLzssLongestMatch);
    if (ahead == 0)
        return 0;
    const std::uint8_t *const end = data + size;
    std::uint8_t *const text = tree.text_buf;
    unsigned r = kLzssFirstPosition; // the position being coded
    s = 0;
    tree.initTree();
    std::fill(std::begin(tree.text_buf), std::end(tree.text_buf), kLzssInitialFill);
    std::memcpy(text + r, data, ahead);
    data += ahead;
    for (unsigned i = 1; i <= kLzssLongestMatch; ++i)
        tree.insertNode(r - i);

    ItemWriter writer(out);
    writer.position(text[r], tree.insertNode(r), ahead);
    while (data != end) {
        // The trees grow and shrink in the same order whatever is coded, and trees of different first bytes
        // have nothing to do with each other. So two positions are inserted at once unless the trees that
        // change (by the second deletion and the two insertions) are the same.
        const unsigned pair[2] = {next(r), next(next(r))};
        if (end - data >= 2 && text[pair[0]] != text[pair[1]] && text[pair[0]] != text[next(s)]) {
            replaceOldest(*data++);
            replaceOldest(*data++);
            Match matches[2];
            tree.insertNodes(pair, matches);
            writer.position(text[pair[0]], matches[0], ahead);
            writer.position(text[pair[1]], matches[1], ahead);
            r = pair[1];
        } else {
            replaceOldest(*data++);
            r = pair[0];
            writer.position(text[r], tree.insertNode(r), ahead);
        }
    }
    while (--ahead > 0) {
        tree.deleteNode(s);
        s = next(s);
        r = next(r);
        writer.position(text[r], tree.insertNode(r), ahead);
    }
    return static_cast<std::uint64_t>(writer.end() - out);
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
