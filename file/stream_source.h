// Where a stream's name leads: what the buffered and the unbuffered stream begin with.
#pragma once

#include "platform/platform.h"
#include "vl/file.h"

namespace vl {

struct StreamSource {
    platform::PathBuffer path;     ///< resolved
    platform::PathBuffer diskPath; ///< which is tried first
    V_File::V_VASFind entry;       ///< what the archives hold under this name, if anything
};

/// The size of a buffer when none, or none that is sound, is asked for.
inline constexpr int defaultStreamBuffer = 8192;

} // namespace vl
