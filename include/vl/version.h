// The version of the library: of these headers as macros, of the library that runs as a function. Builds with
// the same major and minor number are compatible, and their shared library bears the same name.
#pragma once

#include "vl/core/export.h"

#define VL_VERSION_MAJOR 0
#define VL_VERSION_MINOR 1
#define VL_VERSION_PATCH 0

/// "0.1.0"
#define VL_VERSION_STRING VL_VERSION_TEXT_(VL_VERSION_MAJOR, VL_VERSION_MINOR, VL_VERSION_PATCH)
/// A number that grows with every version: major * 1000000 + minor * 1000 + patch.
#define VL_VERSION_NUMBER (VL_VERSION_MAJOR * 1000000 + VL_VERSION_MINOR * 1000 + VL_VERSION_PATCH)

#define VL_VERSION_TEXT_(major, minor, patch)                                                                \
    VL_VERSION_QUOTED_(major) "." VL_VERSION_QUOTED_(minor) "." VL_VERSION_QUOTED_(patch)
#define VL_VERSION_QUOTED_(number) VL_VERSION_QUOTED_ONCE_(number)
#define VL_VERSION_QUOTED_ONCE_(number) #number

/// VL_VERSION_NUMBER of the library that the program runs with.
VL_API int V_getVersion();
