// The Vantor library, whole. math_types.h is not included: it is for programs without the engine's math
// types.
#pragma once

#include "vl/core.h"
#include "vl/file.h"
#include "vl/math.h"
#include "vl/memoryfile.h"
#include "vl/script.h"
#include "vl/sharedstring.h"
#include "vl/version.h"
