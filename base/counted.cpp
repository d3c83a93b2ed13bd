// Counted allocation.

#include "base/counted.h"

#include <new>

namespace vl {

void *tryAllocateCounted(std::size_t size) noexcept {
    ++V_Memory::sm_iNewCount;
    try {
        return ::operator new(size); // may return null, where a client has replaced it
    } catch (const std::bad_alloc &) {
        return nullptr;
    }
}

void freeCounted(void *block) noexcept {
    if (block) {
        ::operator delete(block);
        ++V_Memory::sm_iDeleteCount;
    }
}

} // namespace vl
