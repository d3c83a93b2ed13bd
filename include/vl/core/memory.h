// Memory: the facade through which the library allocates its own data, its two process-wide counters, byte
// movers, and the reallocation pair of growable buffers.
//
// Counted allocation, the convention of the whole library: allocate, add 1 to sm_iNewCount whether or not
// memory was obtained, and throw V_MemoryException_Allocation if it was not. Counted release: a pointer that
// is not null is released and adds 1 to sm_iDeleteCount. A program that is balanced ends with equal counters.
//
// The counters are plain integers: counts of several threads at once can be lost.
#pragma once

#include "vl/core/exception.h"
#include "vl/core/export.h"

#include <cstring>
#include <new>

/// Static members only.
class VL_API V_Memory {
  public:
    /// How much dump would tell.
    enum MemoryDumpDetail { DUMP_SUMMARY, DUMP_BLOCKS };

    /// Gets `size` bytes from the global allocation function; counts nothing. Throws std::bad_alloc as that
    /// function does.
    static void *allocateBytes(unsigned int size) { return ::operator new(size); }

    /// Returns a block of allocateBytes; null is allowed; counts nothing.
    static void freeBytes(void *block) { ::operator delete(block); }

    /// Counted allocation of `size` bytes: never null. Throws V_MemoryException_Allocation.
    static void *allocateCounted(unsigned int size);

    /// Counted release of a block of allocateCounted; null is ignored.
    static void freeCounted(void *block) noexcept;

    /// Counted allocations and releases since the process began or the last reset.
    static int getNewCount() { return sm_iNewCount; }
    static int getDeleteCount() { return sm_iDeleteCount; }
    static void resetNewDeleteCounts();

    /// Fills `count` bytes with `value`; returns `destination`.
    static void *set(void *destination, char value, unsigned int count) {
        return isUsual(count != 0) ? std::memset(destination, value, count) : destination;
    }

    /// Copies `count` bytes; the regions must not overlap; returns `destination`.
    static void *copy(void *destination, const void *source, unsigned int count) {
        return isUsual(count != 0) ? std::memcpy(destination, source, count) : destination;
    }

    /// Compares `count` bytes as little-endian unsigned 32-bit words, then the last `count` mod 4 as unsigned
    /// bytes: -1 when the first difference is smaller in `a`, +1 when it is larger, 0 without a difference.
    /// This is not the lexicographic order of the bytes: 01 00 00 02 compares above 02 00 00 01.
    static int compare(const void *a, const void *b, unsigned int count) {
        // Most buffers that are compared are equal: memcmp tells that at its own speed.
        if (isUsual(count - 1 < 4096) && isUsual(std::memcmp(a, b, count) == 0))
            return 0;
        return compareClosely(a, b, count);
    }

    /// Writes one line to the verbose log saying that a dump needs a debug build; the arguments have no
    /// effect.
    static void dump(MemoryDumpDetail detail, bool showSizes, bool showOwners);

    /// Public so that code inlined into clients counts into the same variables.
    static int sm_iNewCount;
    static int sm_iDeleteCount;

  private:
    // Nowhere defined: a deleted constructor would leave C++17 an aggregate to make objects of.
    V_Memory();
    V_Memory(const V_Memory &);
    V_Memory &operator=(const V_Memory &);

    /// Has the compiler lay the code out for this case: a jump more is a sixth of a copy of 64 bytes.
    static bool isUsual(bool condition) {
#if defined(__GNUC__)
        return __builtin_expect(condition, true);
#else
        return condition;
#endif
    }
    static int compareClosely(const void *a, const void *b, unsigned int count);
};

/// Marks a stretch of code whose allocations belong together under a name. Records nothing.
class VL_API V_MemoryScope {
  public:
    /// With the name.
    explicit V_MemoryScope(const char *) {}
    ~V_MemoryScope() {}
    V_MemoryScope(const V_MemoryScope &) = delete;
    V_MemoryScope &operator=(const V_MemoryScope &) = delete;
};

/// Always allocates a new block of `newSize` bytes (counted), moves the smaller of `oldSize` and `newSize`
/// bytes of `old` into it and releases `old` (counted) unless that is null. Bytes beyond those are not
/// initialised. Throws V_MemoryException_Allocation, also for a negative `newSize`; `old` is then untouched.
/// A negative `oldSize` moves nothing.
VL_API void *V_REALLOCATE_implementation(void *old, int oldSize, int newSize);

/// Releases (counted) a block of V_REALLOCATE_implementation; null is ignored.
VL_API void V_REALLOCATE_DELETE_implementation(void *block);

#define V_REALLOCATE(old, oldSize, newSize) V_REALLOCATE_implementation(old, oldSize, newSize)
#define V_REALLOCATE_DELETE(block) V_REALLOCATE_DELETE_implementation(block)
