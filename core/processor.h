// What a processor says about itself: a pure function from CPUID registers to a description, so that every
// processor can be described on every machine.
#pragma once

#include "base/cpuid.h"
#include "vl/core/system.h"

#include <cstdint>
#include <functional>

namespace vl {

/// The description; sizes in bytes (a translation buffer's figure is a page size or a number of entries), 0
/// when unknown.
struct Processor {
    std::uint32_t tlbCode = 0;
    std::uint32_t tlbData = 0;
    std::uint32_t l1Code = 0;
    std::uint32_t l1Data = 0;
    std::uint32_t l2 = 0;
    std::uint32_t l3 = 0;
    std::uint32_t l1Trace = 0;
    std::uint32_t caps = 0; ///< V_System::ProcessorCaps
    V_System::ProcessorVendor vendor = V_System::VENDOR_UNKNOWN;
    V_System::ProcessorType type = V_System::TYPE_UNKNOWN;
    char model[256] = "Unknown";
};

/// Reads the registers of one leaf; false where there is no CPUID.
using CpuidReader = std::function<bool(std::uint32_t leaf, CpuidRegisters &registers)>;

/// Describes the processor behind `cpuid`. `savesSse` says whether the operating system saves the SSE
/// registers; without that the processor's SSE is not reported.
Processor detectProcessor(const CpuidReader &cpuid, bool savesSse);

} // namespace vl
