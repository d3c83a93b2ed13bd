// LZSS encoder (format: lzss.h).
//
// Every ring position in the window is a node of a binary search tree that orders the 18-byte strings
// starting there; there is one tree per first byte. The tree is never balanced, and which of several equally
// long matches is taken depends on its shape, so the order in which nodes are visited, replaced and removed
// is part of the format's reproducible output. Three things make the walks quick without changing them:
//  - a node's two links lie side by side, and each node knows the link that leads to it, so neither
//    descending nor relinking needs to ask "left or right?";
//  - each link carries the first bytes of the string it leads to, so that going down one level takes one
//    load and one comparison, which gives direction and length of the match;
//  - up to four strings that belong to different trees go down together.

#include "file/codec/lzss_encoder.h"

#include "base/byte_order.h"
#include "base/compiler.h"
#include "core/counted.h"
#include "file/codec/lzss.h"

#include <algorithm>
#include <bit>
#include <cstring>
#include <iterator>

namespace vl {
namespace {

constexpr unsigned int nil = lzssRingSize;
constexpr unsigned int ringMask = lzssRingSize - 1;

/// What a link holds: the node it leads to in the low 16 bits and, above, bytes 1 to 6 of that node's string
/// (byte 0 is the same in all of a tree), big-endian, so that most comparisons need nothing but the link.
using Link = std::uint64_t;
constexpr Link nilLink = nil;

constexpr unsigned int node(Link link) { return static_cast<std::uint16_t>(link); }

struct Match {
    unsigned int length;
    unsigned int position;
};

/// The trees over the ring.
class MatchTree {
  public:
    void initTree();

    /// Inserts the Count strings from ring position r on and finds the longest match for each; among equals
    /// the one nearest the root. A string equal in all 18 bytes is replaced: the newer position lives longer.
    /// Several at once, which must belong to different trees, keep each other from waiting.
    template <unsigned int Count>
    void insertNodes(unsigned int r, Match (&matches)[Count]);

    void deleteNode(unsigned int p);

    std::uint8_t m_textBuf[lzssRingSize + lzssLongestMatch - 1]; ///< positions 4096 on mirror 0 to 16

  private:
    /// A string on its way down.
    struct Descent {
        const std::uint8_t *key;
        Link own;          ///< the link that will lead to it
        unsigned int slot; ///< the link reached, by number
        Link link;         ///< and by content; nil at the end
        /// Length of the longest match << 32, then how near the root, then its position: the greatest value
        /// is the longest match met first.
        std::uint64_t longest;
        std::uint64_t nearness;
    };

    Descent start(unsigned int r);
    bool step(Descent &descent);
    Match end(const Descent &descent);

    /// Links are numbered: node p owns 2p (left child) and 2p + 1 (right child), the roots follow the nodes.
    /// Node 4096 is nil; its links and its dad are written now and then and never matter.
    static constexpr unsigned int roots = 2 * (lzssRingSize + 1);
    static constexpr unsigned int left(unsigned int p) { return 2 * p; }
    static constexpr unsigned int right(unsigned int p) { return 2 * p + 1; }
    void setLink(unsigned int slot, Link link) {
        m_sons[slot] = link;
        m_dad[node(link)] = static_cast<std::uint16_t>(slot);
    }

    static constexpr std::uint16_t noLink = 0xFFFF;

    Link m_sons[roots + 256];
    std::uint16_t m_dad[lzssRingSize + 1]; ///< number of the link that leads to each node; noLink outside
};

void MatchTree::initTree() {
    std::fill(m_sons + left(nil), m_sons + roots + 256, nilLink);
    std::fill(m_dad, m_dad + lzssRingSize, noLink);
}

inline MatchTree::Descent MatchTree::start(unsigned int r) {
    const std::uint8_t *const key = m_textBuf + r;
    const unsigned int slot = roots + key[0];
    m_sons[left(r)] = m_sons[right(r)] = nilLink;
    return {key, (loadBe64(key + 1) & ~Link{0xFFFF}) | r, slot, m_sons[slot],
            0,   std::uint64_t{lzssRingSize} << 16};
}

/// Compares with one node and goes on to its child; at the end of the branch, where the link is nil, nothing
/// changes any more. True while there is something to compare with. Always inline, so that the descents of
/// one loop stay in registers.
VL_ALWAYS_INLINE bool MatchTree::step(Descent &descent) {
    const unsigned int p = node(descent.link);
    const bool going = p != nil;
    unsigned int goRight = descent.own > descent.link;
    const std::uint64_t difference = descent.own ^ descent.link;
    // Shorter matches are written as literals: where they were found does not matter.
    if (difference < std::uint64_t{1} << 48) {
        if (!going)
            return false;
        unsigned int length = 1 + static_cast<unsigned int>(std::countl_zero(difference)) / 8;
        if (length > 6) {
            const std::uint8_t *const text = m_textBuf + p;
            std::uint64_t keyTail = loadBe64(descent.key + 7);
            std::uint64_t textTail = loadBe64(text + 7);
            length = 7;
            if (keyTail == textTail) {
                keyTail = loadBe64(descent.key + 10);
                textTail = loadBe64(text + 10);
                length = 10;
            }
            length += static_cast<unsigned int>(std::countl_zero(keyTail ^ textTail)) / 8;
            goRight = keyTail > textTail;
            if (length == lzssLongestMatch) {
                const unsigned int r = node(descent.own);
                setLink(left(r), m_sons[left(p)]);
                setLink(right(r), m_sons[right(p)]);
                m_dad[p] = noLink;
                descent.longest = (std::uint64_t{length} << 32) + p;
                descent.link = nilLink;
                return false;
            }
        }
        descent.longest = std::max(descent.longest, (std::uint64_t{length} << 32) + descent.nearness + p);
        descent.nearness -= 1 << 16;
    }
    const unsigned int child = 2 * p + goRight;
    descent.link = m_sons[child];
    descent.slot = going ? child : descent.slot;
    return going;
}

inline Match MatchTree::end(const Descent &descent) {
    setLink(descent.slot, descent.own);
    return {static_cast<unsigned int>(descent.longest >> 32),
            static_cast<unsigned int>(descent.longest & ringMask)};
}

template <unsigned int Count>
void MatchTree::insertNodes(unsigned int r, Match (&matches)[Count]) {
    Descent descents[Count];
    for (unsigned int i = 0; i < Count; ++i)
        descents[i] = start((r + i) & ringMask);
    bool going;
    do {
        going = false;
#pragma GCC unroll 4
        for (Descent &descent : descents)
            going |= step(descent);
    } while (going);
    for (unsigned int i = 0; i < Count; ++i)
        matches[i] = end(descents[i]);
}

void MatchTree::deleteNode(unsigned int p) {
    const unsigned int slot = m_dad[p];
    if (slot == noLink)
        return;
    const Link smaller = m_sons[left(p)];
    const Link greater = m_sons[right(p)];
    Link q = node(smaller) == nil ? greater : smaller;
    if (node(smaller) != nil && node(greater) != nil) {
        for (Link next; node(next = m_sons[right(node(q))]) != nil;)
            q = next;
        setLink(m_dad[node(q)], m_sons[left(node(q))]);
        setLink(left(node(q)), m_sons[left(p)]); // no longer `smaller` if that was q
        setLink(right(node(q)), greater);
    }
    setLink(slot, q);
    m_dad[p] = noLink;
}

/// Turns one match per position into items.
class ItemWriter {
  public:
    explicit ItemWriter(std::uint8_t *out) : m_pOut(out) {}

    /// The next position: its byte, the match found for it, and how many bytes there are from it on.
    /// Positions that an earlier match covers are passed over.
    void position(std::uint8_t byte, const Match &match, unsigned int ahead) {
        if (m_uCovered > 0) {
            --m_uCovered;
            return;
        }
        if (m_uMask == 0x100) {
            m_pFlags = m_pOut++;
            *m_pFlags = 0;
            m_uMask = 1;
        }
        const unsigned int length = std::min(match.length, ahead);
        if (length <= lzssThreshold) {
            *m_pFlags = static_cast<std::uint8_t>(*m_pFlags | m_uMask);
            *m_pOut++ = byte;
        } else {
            *m_pOut++ = static_cast<std::uint8_t>(match.position);
            *m_pOut++ =
                static_cast<std::uint8_t>((match.position >> 4 & 0xF0) | (length - lzssThreshold - 1));
            m_uCovered = length - 1;
        }
        m_uMask <<= 1;
    }

    const std::uint8_t *end() const { return m_pOut; }

  private:
    std::uint8_t *m_pOut;
    std::uint8_t *m_pFlags = nullptr;
    unsigned int m_uMask = 0x100;
    unsigned int m_uCovered = 0;
};

} // namespace

class LzssEncoder::State {
  public:
    State() {} // all is set when encoding begins

    std::uint64_t encode(const std::uint8_t *data, std::uint32_t size, std::uint8_t *out);

  private:
    static unsigned int after(unsigned int position, unsigned int count) {
        return (position + count) & ringMask;
    }

    void deleteOldest() {
        m_tree.deleteNode(m_oldest);
        m_oldest = after(m_oldest, 1);
    }
    bool independent(unsigned int count) const;
    template <unsigned int Count>
    void advance(const std::uint8_t *data, ItemWriter &writer);

    MatchTree m_tree;
    unsigned int m_oldest; ///< the position that leaves the window, takes the byte that enters the look-ahead
    unsigned int m_last;   ///< the position last inserted; m_last + 18 is m_oldest
};

/// Whether the next `count` positions can be inserted at once. The trees grow and shrink in the same order
/// whatever items are written, and trees of different first bytes have nothing to do with each other: so they
/// can if every string goes into a tree of its own, and into none that a deletion due after it would change.
bool LzssEncoder::State::independent(unsigned int count) const {
    const std::uint8_t *const inserted = m_tree.m_textBuf + after(m_last, 1);
    const std::uint8_t *const deleted = m_tree.m_textBuf + m_oldest;
    bool result = true;
    for (unsigned int later = 1; later < count; ++later)
        for (unsigned int i = 0; i < later; ++i)
            result &= inserted[i] != inserted[later] && inserted[i] != deleted[later];
    return result;
}

/// Takes Count bytes into the look-ahead and moves on to the positions that become codable.
template <unsigned int Count>
void LzssEncoder::State::advance(const std::uint8_t *data, ItemWriter &writer) {
    for (unsigned int i = 0; i < Count; ++i) {
        m_tree.m_textBuf[m_oldest] = data[i];
        if (m_oldest < lzssLongestMatch - 1)
            m_tree.m_textBuf[m_oldest + lzssRingSize] = data[i];
        deleteOldest();
    }
    Match matches[Count];
    m_tree.insertNodes(after(m_last, 1), matches);
    for (const Match &match : matches) {
        m_last = after(m_last, 1);
        writer.position(m_tree.m_textBuf[m_last], match, lzssLongestMatch);
    }
}

std::uint64_t LzssEncoder::State::encode(const std::uint8_t *data, std::uint32_t size, std::uint8_t *out) {
    unsigned int ahead = std::min(size, lzssLongestMatch);
    if (ahead == 0)
        return 0;
    const std::uint8_t *const end = data + size;
    m_oldest = 0;
    m_last = lzssFirstPosition;
    m_tree.initTree();
    std::fill(std::begin(m_tree.m_textBuf), std::end(m_tree.m_textBuf), lzssInitialFill);
    std::memcpy(m_tree.m_textBuf + m_last, data, ahead);
    data += ahead;
    Match match[1];
    for (unsigned int i = 1; i <= lzssLongestMatch; ++i)
        m_tree.insertNodes(m_last - i, match);
    m_tree.insertNodes(m_last, match);
    ItemWriter writer(out);
    writer.position(m_tree.m_textBuf[m_last], match[0], ahead);

    while (data != end) {
        const std::ptrdiff_t left = end - data;
        if (left >= 4 && independent(4)) {
            advance<4>(data, writer);
            data += 4;
        } else if (left >= 2 && independent(2)) {
            advance<2>(data, writer);
            data += 2;
        } else {
            advance<1>(data, writer);
            data += 1;
        }
    }
    while (--ahead > 0) {
        deleteOldest();
        m_last = after(m_last, 1);
        m_tree.insertNodes(m_last, match);
        writer.position(m_tree.m_textBuf[m_last], match[0], ahead);
    }
    return static_cast<std::uint64_t>(writer.end() - out);
}

LzssEncoder::LzssEncoder() : m_pState(newCounted<State>()) {}

LzssEncoder::~LzssEncoder() { deleteCounted(m_pState); }

std::uint64_t LzssEncoder::encode(const std::uint8_t *data, std::uint32_t size, std::uint8_t *out) {
    return m_pState->encode(data, size, out);
}

} // namespace vl
