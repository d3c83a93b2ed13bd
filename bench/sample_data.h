// The three kinds of data that the codec benchmarks work on, 8 MiB each.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace sample {

inline constexpr std::size_t sampleSize = 8 << 20;

enum Kind { Text, Program, Random };
inline constexpr const char *kindNames[] = {"text", "program", "random"};

/// C and C++ headers under /usr/include in path order; this program's own file; bytes of a fixed generator.
/// Whatever is too short is repeated. Read once and kept.
const std::vector<std::uint8_t> &data(Kind kind);

} // namespace sample
