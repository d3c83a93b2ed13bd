// What compilers are told in their own words, and what is done with instructions of the processor: everything
// here has a plain branch, which says nothing or does it in the language alone.
#pragma once

#if defined(__GNUC__)
/// Kept out of its callers, for whose sake it is a function of its own.
#define VL_NOINLINE [[gnu::noinline]]
/// Hardly ever called.
#define VL_COLD [[gnu::cold, gnu::noinline]]
/// Part of its callers, whatever its size.
#define VL_ALWAYS_INLINE [[gnu::always_inline]] inline
/// Begins at a cache line, wherever other code comes to lie.
#define VL_AT_CACHE_LINE [[gnu::aligned(64)]]
#elif defined(_MSC_VER)
#define VL_NOINLINE __declspec(noinline)
#define VL_COLD __declspec(noinline)
#define VL_ALWAYS_INLINE __forceinline
#define VL_AT_CACHE_LINE
#else
#define VL_NOINLINE
#define VL_COLD
#define VL_ALWAYS_INLINE inline
#define VL_AT_CACHE_LINE
#endif

#if defined(_MSC_VER) && !defined(__clang__)
#include <intrin.h>
#endif

namespace vl {

/// Has what lies at an address brought near, if anything lies there.
inline void prefetch([[maybe_unused]] const void *address) {
#if defined(__GNUC__)
    __builtin_prefetch(address);
#endif
}

} // namespace vl
