// Counted allocation (base/counted.h) of the library's own objects, arrays and containers in forms that
// throw, and the guard that turns the standard library's report of exhausted memory into the library's.
#pragma once

#include "base/counted.h"
#include "vl/core/memory.h"

#include <cstdint>
#include <cstring>
#include <memory>
#include <new>
#include <utility>

namespace vl {

/// A counted allocation (V_Memory) of an object that `construct` makes in the block it is given: for classes
/// whose constructor is open to their friends alone.
template <class T, class Construct>
T *constructCounted(const Construct &construct) {
    void *block = V_Memory::allocateCounted(sizeof(T));
    try {
        return construct(block);
    } catch (...) {
        freeCounted(block);
        throw;
    }
}

/// The same of an object constructed with `arguments`.
template <class T, class... Arguments>
T *newCounted(Arguments &&...arguments) {
    return constructCounted<T>(
        [&](void *block) { return new (block) T(std::forward<Arguments>(arguments)...); });
}

/// Destroys and releases (counted) an object of newCounted; null is ignored.
template <class T>
void deleteCounted(T *object) noexcept {
    if (object) {
        object->~T();
        freeCounted(object);
    }
}

struct CountedDelete {
    template <class T>
    void operator()(T *object) const noexcept {
        deleteCounted(object);
    }
};

/// Owns an object of newCounted.
template <class T>
using CountedObject = std::unique_ptr<T, CountedDelete>;

/// A counted allocation of `count` unconstructed elements. Throws V_MemoryException_Allocation, also when the
/// array would not fit the 32 bits of a size.
template <class T>
T *allocateArray(std::uint64_t count) {
    if (T *const elements = tryAllocateArray<T>(count))
        return elements;
    V_throw(V_MemoryException_Allocation());
}

/// A counted copy of a text. Throws V_MemoryException_Allocation.
inline CountedArray<char> copyOfText(const char *text) {
    const std::size_t size = std::strlen(text) + 1;
    CountedArray<char> copy(allocateArray<char>(size));
    std::memcpy(copy.get(), text, size);
    return copy;
}

/// Counted allocation for the containers of the standard library.
template <class T>
class CountedAllocator {
  public:
    using value_type = T;

    CountedAllocator() = default;
    template <class U>
    CountedAllocator(const CountedAllocator<U> &) {}

    T *allocate(std::size_t count) { return allocateArray<T>(count); }
    void deallocate(T *block, std::size_t) noexcept { freeCounted(block); }

    template <class U>
    bool operator==(const CountedAllocator<U> &) const {
        return true;
    }
};

/// Runs `action`; std::bad_alloc, as containers of the standard library throw it, becomes
/// V_MemoryException_Allocation.
template <class Action>
decltype(auto) reportingExhaustion(Action &&action) {
    try {
        return std::forward<Action>(action)();
    } catch (const std::bad_alloc &) {
        V_throw(V_MemoryException_Allocation());
    }
}

} // namespace vl
