// The hash of texts without regard to case, and the search through a table that is addressed by it.
#pragma once

#include "base/text.h"

#include <cstddef>
#include <cstdint>
#include <string_view>

namespace vl {

/// Equal for texts that differ in the case of A-Z only. Of its bits the highest are the best. Bit 5 of every
/// byte is left out, which folds A-Z and, harmlessly for a hash, other characters too.
inline std::uint64_t hashFolded(std::string_view text) {
    constexpr std::uint64_t caseBits = 0x2020202020202020u;
    constexpr std::uint64_t multiplier = 0x9E3779B97F4A7C15u; // 2^64 divided by the golden ratio
    std::uint64_t hash = text.size();
    const auto mix = [&](std::uint64_t characters) {
        hash = (hash ^ (characters | caseBits)) * multiplier;
        hash ^= hash >> 32;
    };
    for (std::size_t at = 0; at + 8 < text.size(); at += 8)
        mix(loadLe64(text.data() + at));
    mix(loadTail(text));
    return hash * multiplier;
}

/// Linear probing through an open-addressing table, whose slots are a power of two: the first slot, from the
/// place of `hash` (its lowest bits) on, for which `ends` holds, as it has to for every free slot. Null when
/// it holds for none of `limit` slots; without a limit, one slot of the table has to be free.
template <class Slots, class Predicate>
auto *probe(Slots &slots, std::uint64_t hash, Predicate ends, std::size_t limit = ~std::size_t{0}) {
    const std::size_t mask = slots.size() - 1;
    for (auto at = static_cast<std::size_t>(hash); limit != 0; --limit, ++at)
        if (auto &slot = slots[at & mask]; ends(slot))
            return &slot;
    return static_cast<decltype(&slots[0])>(nullptr);
}

} // namespace vl
