// What the processor says of itself, and its time-stamp counter.
#pragma once

#include <cstdint>

namespace vl {

/// EAX, EBX, ECX and EDX after CPUID.
struct CpuidRegisters {
    std::uint32_t eax, ebx, ecx, edx;
};

/// Executes CPUID for a leaf (subleaf 0). False, and all registers 0, on processors without the instruction.
bool cpuid(std::uint32_t leaf, CpuidRegisters &registers);

/// The time-stamp counter; 0 on processors without one.
inline std::uint64_t timeStampCounter() {
#if defined(__x86_64__) || defined(__i386__)
    return __builtin_ia32_rdtsc();
#else
    return 0;
#endif
}

} // namespace vl
