// CPUID, and what the operating system does for the processor's registers.

#include "platform/posix/system.h"

#include "platform/platform.h"

#if defined(__x86_64__) || defined(__i386__)
#include <cpuid.h>
#endif

namespace vl::platform {

#if defined(__x86_64__) || defined(__i386__)

bool cpuid(std::uint32_t leaf, CpuidRegisters &registers) {
    registers = {};
    // On early 32-bit processors this tests whether the instruction exists.
    if (__get_cpuid_max(0, nullptr) == 0)
        return false;
    __cpuid_count(leaf, 0, registers.eax, registers.ebx, registers.ecx, registers.edx);
    return true;
}

// Every kernel that runs programs of today's C++ runtime does.
bool savesSseState() { return true; }

#else

bool cpuid(std::uint32_t, CpuidRegisters &registers) {
    registers = {};
    return false;
}

bool savesSseState() { return false; }

#endif

} // namespace vl::platform
