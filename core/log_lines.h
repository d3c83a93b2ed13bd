// The lines that frame what the library writes to its log.
#pragma once

namespace vl {

inline constexpr const char *doubleLine =
    "==============================================================================";
inline constexpr const char *singleLine =
    "------------------------------------------------------------------------------";

} // namespace vl
