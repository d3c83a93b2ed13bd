// Start-up and shutdown: the one place that knows the system object and the file system both.

#include "vl/core/startup.h"

#include "core/counted.h"
#include "platform/platform.h"
#include "vl/core/profile.h"
#include "vl/core/system.h"
#include "vl/file.h"

#include <cstdio>

int V_VantorInit::count = 0;

V_VantorInit::V_VantorInit() {
    if (count++ != 0)
        return;

    char computer[16];
    char verboseFileName[32] = "verbose.txt";
    if (vl::platform::computerName(computer))
        std::snprintf(verboseFileName, sizeof verboseFileName, "verbose_%s.txt", computer);

    try {
        Sys = vl::constructCounted<V_System>(
            [&](void *block) { return new (block) V_System(verboseFileName); });
        File = vl::constructCounted<V_File>([](void *block) { return new (block) V_File; });
    } catch (...) {
        stop();
        throw;
    }
}

V_VantorInit::~V_VantorInit() {
    if (count == 1)
        stop();
    else
        --count;
}

void V_VantorInit::stop() {
    // The pointer outlives the object: what runs last may still log.
    const auto destroy = []<class T>(T *&object) {
        if (!object)
            return;
        object->~T();
        V_Memory::freeCounted(object);
        object = nullptr;
    };
    --count;
    destroy(File);
    V_Profile::deinit();
    if (Sys)
        Sys->cleanupAllocations();
    destroy(Sys);
}
