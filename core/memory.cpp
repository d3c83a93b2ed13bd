// Memory: counted allocation, byte movers and the reallocation pair.

#include "vl/core/memory.h"

#include "vl/core/system.h"

#include <algorithm>
#include <cstdint>
#include <cstring>

int V_Memory::sm_iNewCount = 0;
int V_Memory::sm_iDeleteCount = 0;

void *V_Memory::allocateCounted(unsigned int size) {
    void *block = nullptr;
    try {
        block = allocateBytes(size);
    } catch (const std::bad_alloc &) {
        // Told apart below, as by an allocation function that returns null.
    }
    ++sm_iNewCount;
    if (!block)
        V_throw(V_MemoryException_Allocation());
    return block;
}

void V_Memory::freeCounted(void *block) noexcept {
    if (block) {
        freeBytes(block);
        ++sm_iDeleteCount;
    }
}

void V_Memory::resetNewDeleteCounts() {
    sm_iNewCount = 0;
    sm_iDeleteCount = 0;
}

void *V_Memory::set(void *destination, char value, unsigned int count) {
    return count ? std::memset(destination, value, count) : destination;
}

void *V_Memory::copy(void *destination, const void *source, unsigned int count) {
    return count ? std::memcpy(destination, source, count) : destination;
}

int V_Memory::compare(const void *a, const void *b, unsigned int count) {
    const auto *left = static_cast<const unsigned char *>(a);
    const auto *right = static_cast<const unsigned char *>(b);
    unsigned int rest = count;

    // memcmp skips equal blocks at its own speed; only the block with the first difference is looked at
    // closely.
    constexpr unsigned int blockSize = 4096;
    while (rest != 0) {
        const unsigned int block = std::min(rest, blockSize);
        if (std::memcmp(left, right, block) != 0)
            break;
        left += block;
        right += block;
        rest -= block;
    }
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
