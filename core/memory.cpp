// Memory: counted allocation, byte movers and the reallocation pair.

#include "vl/core/memory.h"

#include "base/compiler.h"
#include "base/counted.h"
#include "vl/core/system.h"

#include <algorithm>
#include <cstdint>
#include <cstring>

int V_Memory::sm_iNewCount = 0;
int V_Memory::sm_iDeleteCount = 0;

void *V_Memory::allocateCounted(unsigned int size) {
    if (void *const block = vl::tryAllocateCounted(size))
        return block;
    V_throw(V_MemoryException_Allocation());
}

void V_Memory::freeCounted(void *block) noexcept { vl::freeCounted(block); }

void V_Memory::resetNewDeleteCounts() {
    sm_iNewCount = 0;
    sm_iDeleteCount = 0;
}

namespace {

/// What compare looks at closely, in bytes.
constexpr unsigned int closely = 64;

struct Stretch {
    unsigned int start, size;
};

/// Narrows long buffers down to a stretch with their first difference, or to their equal end. memcmp runs
/// through what is equal at its own speed but does not tell where the difference lies: it is asked about
/// growing blocks, then about the halves of the block that differs. What is skipped are whole words.
/// Not inlined, which would slow down the comparison of short buffers.
VL_NOINLINE Stretch narrow(const unsigned char *left, const unsigned char *right, unsigned int count) {
    Stretch stretch = {0, count};
    const auto skipEqual = [&](unsigned int size) {
        if (std::memcmp(left + stretch.start, right + stretch.start, size) != 0) {
            stretch.size = size;
            return false;
        }
        stretch = {stretch.start + size, stretch.size - size};
        return true;
    };
    for (unsigned int block = 4 * closely;
         stretch.size > closely && skipEqual(std::min(stretch.size, block));)
        block = std::min(2 * block, 64 * closely);
    while (stretch.size > closely)
        skipEqual(stretch.size / 2 & ~3u);
    return stretch;
}

} // namespace

int V_Memory::compareClosely(const void *a, const void *b, unsigned int count) {
    const auto *left = static_cast<const unsigned char *>(a);
    const auto *right = static_cast<const unsigned char *>(b);
    unsigned int rest = count;
    if (count > closely) {
        const Stretch stretch = narrow(left, right, count);
        left += stretch.start;
        right += stretch.start;
        rest = stretch.size;
    }
    for (; rest >= 16 && std::memcmp(left, right, 16) == 0; left += 16, right += 16)
        rest -= 16;
    for (; rest >= 4; left += 4, right += 4, rest -= 4) {
        if (std::memcmp(left, right, 4) == 0)
            continue;
        for (int i = 3; i >= 0; --i) // the highest byte of a little-endian word decides first
            if (left[i] != right[i])
                return left[i] < right[i] ? -1 : 1;
    }
    for (; rest != 0; ++left, ++right, --rest)
        if (*left != *right)
            return *left < *right ? -1 : 1;
    return 0;
}

void V_Memory::dump(MemoryDumpDetail, bool, bool) {
    if (Sys)
        Sys->verbose("Memory dump only available in debug builds\n\n");
}

void *V_REALLOCATE_implementation(void *old, int oldSize, int newSize) {
    auto *block =
        newSize < 0 ? nullptr
                    : static_cast<char *>(::operator new[](static_cast<std::size_t>(newSize), std::nothrow));
    ++V_Memory::sm_iNewCount;
    if (!block)
        V_throw(V_MemoryException_Allocation());
    if (old) {
        if (const int moved = std::min(oldSize, newSize); moved > 0)
            std::memcpy(block, old, static_cast<std::size_t>(moved));
        V_REALLOCATE_DELETE_implementation(old);
    }
    return block;
}

void V_REALLOCATE_DELETE_implementation(void *block) {
    if (block) {
        ::operator delete[](block);
        ++V_Memory::sm_iDeleteCount;
    }
}
