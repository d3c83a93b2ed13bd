// Start-up and shutdown: the one place that knows the system object and the file system both.

#include "vl/core/startup.h"

#include "platform/platform.h"
#include "vl/core/memory.h"
#include "vl/core/profile.h"
#include "vl/core/system.h"
#include "vl/file.h"

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

    try {
        construct(Sys, [&](void *block) { return new (block) V_System(verboseFileName); });
        construct(File, [](void *block) { return new (block) V_File; });
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

template <class T, class Construct>
void V_VantorInit::construct(T *&object, Construct inBlock) {
    void *block = V_Memory::allocateCounted(sizeof(T));
    try {
        object = inBlock(block);
    } catch (...) {
        V_Memory::freeCounted(block);
        throw;
    }
}

template <class T>
void V_VantorInit::destroy(T *&object) {
    if (!object)
        return;
    object->~T();
    V_Memory::freeCounted(object);
    object = nullptr;
}

void V_VantorInit::stop() {
    --count;
    destroy(File);
    V_Profile::deinit();
    if (Sys)
        Sys->cleanupAllocations();
    destroy(Sys);
}
