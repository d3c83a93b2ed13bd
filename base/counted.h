// Counted allocation, the one way in which the library takes memory for its own data: every allocation and
// every release counts in the two public counters of V_Memory. These functions tell by null that memory is
// out; core/counted.h has the forms that throw.
//
// Not counted is
//   - what the public string types and the containers of V_Allocator hold: their interface says so,
//   - the profiler's stacks and traces, which would disturb the figures that it reports,
//   - the names of shutdown routines and of the log, and a mutex's system object,
//   - what plain standard containers hold for the length of one report, or for the tool,
//   - the platform layer's memory: its listings come and go with what happens on disk,
//   - static storage.
#pragma once

#include "vl/core/memory.h"

#include <cstddef>
#include <cstdint>
#include <limits>
#include <memory>

namespace vl {

/// `size` bytes for freeCounted; null when no memory is left, which counts as well.
void *tryAllocateCounted(std::size_t size) noexcept;

/// Null is ignored.
void freeCounted(void *block) noexcept;

/// `count` unconstructed elements for freeCounted. Null when no memory is left or the array would not fit the
/// 32 bits of a size.
template <class T>
T *tryAllocateArray(std::uint64_t count) noexcept {
    if (count > std::numeric_limits<unsigned int>::max() / sizeof(T))
        return nullptr;
    return static_cast<T *>(tryAllocateCounted(static_cast<std::size_t>(count * sizeof(T))));
}

struct CountedRelease {
    void operator()(void *block) const noexcept { freeCounted(block); }
};

/// Owns a counted block of plain elements until it is released to its user.
template <class T>
using CountedArray = std::unique_ptr<T[], CountedRelease>;

} // namespace vl
