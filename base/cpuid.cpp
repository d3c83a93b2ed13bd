// The instruction CPUID.

#include "base/cpuid.h"

#if defined(__x86_64__) || defined(__i386__)
#include <cpuid.h>
#endif

namespace vl {

bool cpuid([[maybe_unused]] std::uint32_t leaf, CpuidRegisters &registers) {
    registers = {};
#if defined(__x86_64__) || defined(__i386__)
    // On early 32-bit processors this tests whether the instruction exists.
    if (__get_cpuid_max(0, nullptr) != 0) {
        __cpuid_count(leaf, 0, registers.eax, registers.ebx, registers.ecx, registers.edx);
        return true;
    }
#endif
    return false;
}

} // namespace vl
