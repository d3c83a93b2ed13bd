// The shared string pool.
//
// The sorted table decides; a hash index beside it answers most questions without a search. The index is an
// open-addressing table of four-byte slots, at most half full. A string belongs into the first empty one of
// the `window` slots that begin at its hash's position. Strings are never removed, so
//   - an empty slot within the window proves that the string is not in the pool,
//   - a full window proves nothing, and the sorted table is searched. A string that meets a full window on
//     its way in is left out of the index.
// Texts chosen to collide therefore cost a binary search, not a walk through the table.

#include "vl/sharedstring.h"

#include "base/hash.h"
#include "base/text.h"

#include <algorithm>
#include <bit>
#include <limits>
#include <string_view>

namespace {

template <class T>
using Vector = std::vector<T, V_Allocator<T>>;

constexpr std::size_t maxStrings = std::size_t{std::numeric_limits<short>::max()} + 1;
constexpr std::size_t window = 32;

// A slot: the identifier in the low half, and above it a part of the hash that has no say in the position. No
// identifier has all bits set.
constexpr std::uint32_t emptySlot = 0xFFFFFFFFu;

std::uint32_t makeSlot(std::uint64_t hash, std::size_t id) {
    return static_cast<std::uint32_t>(hash >> 16 & 0xFFFF0000u) | static_cast<std::uint32_t>(id);
}

bool sameTag(std::uint32_t a, std::uint32_t b) { return ((a ^ b) & 0xFFFF0000u) == 0; }

/// The first slot of a hash's window at which `ends`, which holds for an empty one, null when there is none.
/// An index has at most 65536 slots.
template <class Predicate>
auto *probeWindow(auto &index, std::uint64_t hash, Predicate ends) {
    return vl::probe(index, hash >> 48, ends, window);
}

void addToIndex(Vector<std::uint32_t> &index, std::uint64_t hash, std::size_t id) {
    const auto isEmpty = [](std::uint32_t slot) { return slot == emptySlot; };
    if (std::uint32_t *const slot = probeWindow(index, hash, isEmpty))
        *slot = makeSlot(hash, id);
}

/// An index over `strings`, with slots for `count`.
Vector<std::uint32_t> makeIndex(const Vector<V_String> &strings, std::size_t count) {
    Vector<std::uint32_t> index(std::bit_ceil(2 * std::clamp(count, window, maxStrings)), emptySlot);
    for (std::size_t id = 0; id < strings.size(); ++id)
        addToIndex(index, vl::hashFolded(strings[id]), id);
    return index;
}

} // namespace

V_SharedStringException_PoolFull::V_SharedStringException_PoolFull() {
    setError("The shared string pool is full (%d strings)", static_cast<int>(maxStrings));
}

V_SharedString::~V_SharedString() {
    // A plain store into an object that ends here would be optimised away, and where the compiler sees this
    // body together with the object's memory, it takes the memory to hold nothing any more.
    *static_cast<volatile short *>(&m_id) = -1;
}

V_SharedStringPool::V_SharedStringPool(int capacity) {
    const auto count = static_cast<std::size_t>(capacity); // a negative one is beyond every vector
    m_strings.reserve(count);
    m_sortedIDs.reserve(count);
    m_index = makeIndex(m_strings, count);
}

V_SharedStringPool::V_SharedStringPool(const V_SharedStringPool &other) = default;

V_SharedStringPool &V_SharedStringPool::operator=(const V_SharedStringPool &other) {
    V_SharedStringPool copy(other);
    m_strings.swap(copy.m_strings);
    m_sortedIDs.swap(copy.m_sortedIDs);
    m_index.swap(copy.m_index);
    return *this;
}

V_SharedStringPool::~V_SharedStringPool() = default;

V_SharedString V_SharedStringPool::getSharedString(const V_String &text) {
    const std::string_view wanted(text.data(), std::min(text.find('\0'), text.size()));
    const std::uint64_t hash = vl::hashFolded(wanted);
    const std::uint32_t likely = makeSlot(hash, 0);
    const auto isWantedOrEmpty = [&](std::uint32_t slot) {
        return slot == emptySlot ||
               (sameTag(slot, likely) && vl::compareFolded(m_strings[slot & 0xFFFFu], wanted) == 0);
    };
    const std::uint32_t *const slot = probeWindow(m_index, hash, isWantedOrEmpty);
    if (slot && *slot != emptySlot)
        return static_cast<short>(*slot & 0xFFFFu);
    return add(wanted, hash, !slot);
}

/// The second half of getSharedString: `text` is not in the index, but may still be in the pool.
V_SharedString V_SharedStringPool::add(std::string_view text, std::uint64_t hash, bool mayBeKnown) {
    const auto less = [&](short id, std::string_view key) {
        return vl::compareFolded(m_strings[static_cast<std::size_t>(id)], key) < 0;
    };
    const auto lower = std::lower_bound(m_sortedIDs.begin(), m_sortedIDs.end(), text, less);
    if (mayBeKnown && lower != m_sortedIDs.end() &&
        vl::compareFolded(m_strings[static_cast<std::size_t>(*lower)], text) == 0)
        return *lower;
    const std::size_t count = m_strings.size();
    if (count == maxStrings)
        V_throw(V_SharedStringException_PoolFull());

    // Whatever may fail comes first, and none of it changes what the pool holds.
    const auto position = lower - m_sortedIDs.begin();
    if (count == m_sortedIDs.capacity())
        m_sortedIDs.reserve(std::max(2 * count, window));
    if (2 * (count + 1) > m_index.size())
        m_index = makeIndex(m_strings, 2 * count);
    m_strings.emplace_back(text);

    m_sortedIDs.insert(m_sortedIDs.begin() + position, static_cast<short>(count));
    addToIndex(m_index, hash, count);
    return static_cast<short>(count);
}

const char *V_SharedStringPool::getStringByID(short id) const {
    return id >= 0 && static_cast<std::size_t>(id) < m_strings.size()
               ? m_strings[static_cast<std::size_t>(id)].c_str()
               : nullptr;
}
