// What the processor says of itself, and its time-stamp counter.
#pragma once

#include "base/compiler.h"

#include <cstdint>

namespace vl {

/// EAX, EBX, ECX and EDX after CPUID.
struct CpuidRegisters {
    std::uint32_t eax, ebx, ecx, edx;
};

/// Executes CPUID for a leaf (subleaf 0). False, and all registers 0, on processors without the instruction.
bool cpuid(std::uint32_t leaf, CpuidRegisters &registers);

#if defined(__aarch64__)
inline constexpr bool hasTimeStampCounterWithoutCpuid = true;
#else
inline constexpr bool hasTimeStampCounterWithoutCpuid = false;
#endif

/// The time-stamp counter; 0 on processors without one.
inline std::uint64_t timeStampCounter() {
#if defined(__x86_64__) || defined(__i386__)
    return __builtin_ia32_rdtsc();
#elif defined(_M_X64) || defined(_M_IX86)
    return __rdtsc();
#elif defined(__aarch64__) // the generic timer's, which counts at a constant rate
    std::uint64_t count;
    asm volatile("mrs %0, cntvct_el0" : "=r"(count));
    return count;
#else
    return 0;
#endif
}

} // namespace vl
