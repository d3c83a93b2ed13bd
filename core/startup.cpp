// Start-up and shutdown: the one place that knows the system object and the file system both.

#include "vl/core/startup.h"

#include "platform/platform.h"
#include "vl/core/memory.h"
#include "vl/core/system.h"

#include <cstdio>
#include <new>

int V_VantorInit::count = 0;

V_VantorInit::V_VantorInit() {
    if (count++ != 0)
        return;

    char computer[16];
    char verboseFileName[32] = "verbose.txt";
    if (vl::platform::computerName(computer))
        std::snprintf(verboseFileName, sizeof verboseFileName, "verbose_%s.txt", computer);

    void *block = V_Memory::allocateCounted(sizeof(V_System));
    Sys = new (block) V_System(verboseFileName);
}

V_VantorInit::~V_VantorInit() {
    if (--count != 0)
        return;

    Sys->cleanupAllocations();
    Sys->~V_System();
    V_Memory::freeCounted(Sys);
    Sys = nullptr;
}
