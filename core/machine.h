// What the system object and the profiler ask of the machine, as a table of functions: the platform layer's,
// or those a test puts in their place (other processors, a missing counter, a clock that it moves by hand).
// The system object takes the processor and the counter from it when it is constructed.
#pragma once

#include "base/cpuid.h"
#include "platform/platform.h"

namespace vl {

struct Machine {
    bool (*cpuid)(std::uint32_t leaf, CpuidRegisters &registers);
    /// Asked where there is no CPUID, as whether there is a counter.
    void (*describeProcessor)(platform::SystemProcessor &processor);
    bool hasCounterWithoutCpuid;
    bool (*savesSseState)();
    std::uint64_t (*timeStampCounter)();
    bool (*performanceFrequency)(std::int64_t &ticksPerSecond);
    std::int64_t (*performanceCounter)();
    std::uint32_t (*milliseconds)();
    platform::Priority (*raisePriority)();
    void (*restorePriority)(const platform::Priority &saved);
};

extern Machine machine;

} // namespace vl
