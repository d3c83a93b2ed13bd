// The version of the library that runs.

#include "vl/version.h"

int V_getVersion() { return VL_VERSION_NUMBER; }
