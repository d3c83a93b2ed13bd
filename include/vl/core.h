// Core runtime: exceptions and checks, memory, lists, strings, start-up and the system object, the profiler,
// timer and mutex.
#pragma once

#include "vl/core/check.h"
#include "vl/core/exception.h"
#include "vl/core/export.h"
#include "vl/core/list.h"
#include "vl/core/memory.h"
#include "vl/core/mutex.h"
#include "vl/core/profile.h"
#include "vl/core/profile_report.h"
#include "vl/core/startup.h"
#include "vl/core/string.h"
#include "vl/core/system.h"
#include "vl/core/timer.h"
