// Shared strings: a pool that stores each distinct string once and two-byte handles that stand for them.
//
//     V_SharedStringPool names(1000);
//     const V_SharedString hull = names.getSharedString("Hull");
//     names.getSharedString("HULL").getID() == hull.getID();   // the case of A-Z does not count
//     names.getString(hull);                                   // "Hull", as first spelled
//
// Handles are numbers: they mean a string only together with the pool that gave them, or a copy of it.
// A pool is used by one thread at a time.
#pragma once

#include "vl/core/exception.h"
#include "vl/core/export.h"
#include "vl/core/string.h"

#include <cstdint>
#include <string_view>
#include <vector>

/// Area: shared strings.
class VL_API V_SharedStringException : public V_Exception {};

/// "The shared string pool is full (32768 strings)".
class VL_API V_SharedStringException_PoolFull : public V_SharedStringException {
  public:
    V_SharedStringException_PoolFull();
};

/// A handle: the identifier of a string in its pool, and nothing else.
class VL_API V_SharedString {
  public:
    /// Identifier 0.
    V_SharedString() = default;
    V_SharedString(short id) : m_id(id) {}
    V_SharedString(const V_SharedString &) = default;
    V_SharedString &operator=(const V_SharedString &) = default;
    /// Leaves identifier -1 behind, which no pool knows.
    ~V_SharedString();

    /// The identifier.
    short getID() const { return m_id; }

  private:
    short m_id = 0;
};

/// The pool. Identifiers count from 0 in the order of first appearance, so the same strings in the same order
/// get the same identifiers in every pool; they keep their strings for the pool's lifetime and in its copies.
/// At most 32768 strings.
///
/// Strings are compared as zero-terminated bytes without regard to the case of A-Z: what follows a zero byte
/// inside a text does not belong to it. The empty string is a string like any other.
class VL_API V_SharedStringPool {
  public:
    /// An empty pool with room for `capacity` strings; it grows beyond that as needed. Throws
    /// std::length_error for a negative capacity or one that no vector can hold, and
    /// V_MemoryException_Allocation.
    explicit V_SharedStringPool(int capacity);

    /// Copies every string with its identifier. Throw V_MemoryException_Allocation; the pool assigned to is
    /// then unchanged.
    V_SharedStringPool(const V_SharedStringPool &other);
    V_SharedStringPool &operator=(const V_SharedStringPool &other);
    ~V_SharedStringPool();

    /// The handle of `text`, which is added if the pool has no string equal to it. Throws
    /// V_SharedStringException_PoolFull when it would be the 32769th, and V_MemoryException_Allocation; the
    /// pool is then unchanged.
    V_SharedString getSharedString(const V_String &text);

    /// The string as it was spelled when added, zero-terminated; null when the identifier is negative or not
    /// one of this pool's. Valid until the pool grows, is assigned to or is destroyed.
    const char *getString(const V_SharedString &handle) const { return getStringByID(handle.getID()); }
    const char *getStringByID(short id) const;

  private:
    template <class T>
    using Vector = std::vector<T, V_Allocator<T>>;

    V_SharedStringPool() = delete;

    V_SharedString add(std::string_view text, std::uint64_t hash, bool mayBeKnown);

    Vector<V_String> m_strings;    ///< by identifier
    Vector<short> m_sortedIDs;     ///< every identifier once, ordered by its string
    Vector<std::uint32_t> m_index; ///< where to look first, see sharedstring/sharedstring.cpp
};
