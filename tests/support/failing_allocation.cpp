// The replaced allocation functions: malloc and free, and a countdown to the one failure.

#include "tests/support/failing_allocation.h"

#include <cstddef>
#include <cstdlib>
#include <new>

namespace {

thread_local int remaining = -1; // allocations before the failure; negative for none
thread_local bool failed = false;

void *allocate(std::size_t size) noexcept {
    if (remaining == 0) {
        remaining = -1;
        failed = true;
        return nullptr;
    }
    if (remaining > 0)
        --remaining;
    return std::malloc(size ? size : 1);
}

void *allocateOrThrow(std::size_t size) {
    void *block = allocate(size);
    if (!block)
        throw std::bad_alloc();
    return block;
}

} // namespace

FailingAllocation::FailingAllocation(int before) {
    remaining = before;
    failed = false;
}

FailingAllocation::~FailingAllocation() { remaining = -1; }

bool FailingAllocation::happened() { return failed; }

void *operator new(std::size_t size) { return allocateOrThrow(size); }
void *operator new[](std::size_t size) { return allocateOrThrow(size); }
void *operator new(std::size_t size, const std::nothrow_t &) noexcept { return allocate(size); }
void *operator new[](std::size_t size, const std::nothrow_t &) noexcept { return allocate(size); }
void operator delete(void *block) noexcept { std::free(block); }
void operator delete[](void *block) noexcept { std::free(block); }
void operator delete(void *block, std::size_t) noexcept { std::free(block); }
void operator delete[](void *block, std::size_t) noexcept { std::free(block); }
