// CPUID, and what the operating system does for the processor's registers.

#include "platform/posix/system.h"

#include "platform/platform.h"

#if defined(__x86_64__) || defined(__i386__)
#include <cpuid.h>
#include <sys/auxv.h>
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

bool savesSseState() {
    // The kernel reports the feature bits of CPUID leaf 1 (EDX) without those that it does not serve.
    constexpr unsigned long sse = 1ul << 25;
    return (getauxval(AT_HWCAP) & sse) != 0;
}

#else

bool cpuid(std::uint32_t, CpuidRegisters &registers) {
    registers = {};
    return false;
}

bool savesSseState() { return false; }

#endif

} // namespace vl::platform
