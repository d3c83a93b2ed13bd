// Processor detection by CPUID: leaves 0 (vendor), 1 (signature and flags), 2 (cache descriptors) and the
// extended leaves 0x80000000 to 0x80000006 (flags, brand string, caches), as the processor makers publish
// them. The mapping from those values to names, types and sizes is in the tables.

#include "core/processor.h"

#include "core/machine.h"

#include <cstring>

namespace vl {
namespace {

using System = V_System;

constexpr std::uint32_t KB = 1024;
constexpr std::uint32_t MB = 1024 * KB;

constexpr bool bit(std::uint32_t value, int position) { return (value >> position & 1) != 0; }

/// Leaf 1, and what has been concluded from it.
struct Signature {
    System::ProcessorVendor vendor;
    std::uint32_t eax;
    std::uint32_t family, model, stepping, brand;
    std::uint32_t caps;
};

// ---- Vendors -------------------------------------------------------------------------------------------

struct VendorRow {
    const char *text; ///< the vendor string; one of 11 characters ends in a blank or a zero byte
    System::ProcessorVendor vendor;
    const char *model; ///< the model's name until more is known
};

constexpr VendorRow vendors[] = {
    {"GenuineIntel", System::VENDOR_INTEL, "Intel unknown"},
    {"UMC UMC UMC", System::VENDOR_UMC, "UMC unknown"},
    {"AuthenticAMD", System::VENDOR_AMD, "AMD unknown"},
    {"CyrixInstead", System::VENDOR_CYRIX, "Cyrix unknown"},
    {"NexGenDriven", System::VENDOR_NEXGEN, "NexGen unknown"},
    {"CentaurHauls", System::VENDOR_CENTAUR, "Centaur unknown"},
};

// ---- Models --------------------------------------------------------------------------------------------

/// A set of the numbers 0 to 15.
using Set = std::uint16_t;
template <class... Numbers>
constexpr Set of(Numbers... numbers) {
    return static_cast<Set>(((1u << numbers) | ...));
}
constexpr Set range(int first, int last) {
    Set set = 0;
    for (int number = first; number <= last; ++number)
        set = static_cast<Set>(set | 1u << number);
    return set;
}
constexpr Set any = 0xFFFF;
constexpr int anyBrand = -1;

struct ModelRow {
    System::ProcessorVendor vendor;
    std::uint32_t family;
    Set models;
    const char *name; ///< null keeps the vendor's
    System::ProcessorType type;
    Set steppings = any;
    int brand = anyBrand;
    std::uint32_t caps = 0; ///< all of them needed
};

/// The first row that fits decides.
constexpr ModelRow models[] = {
    {System::VENDOR_INTEL, 4, of(0), "Intel 486DX-25/33", System::TYPE_UNKNOWN},
    {System::VENDOR_INTEL, 4, of(1), "Intel 486DX-50", System::TYPE_UNKNOWN},
    {System::VENDOR_INTEL, 4, of(2), "Intel 486SX", System::TYPE_UNKNOWN},
    {System::VENDOR_INTEL, 4, of(3), "Intel 486DX2", System::TYPE_UNKNOWN},
    {System::VENDOR_INTEL, 4, of(4), "Intel 486SL", System::TYPE_UNKNOWN},
    {System::VENDOR_INTEL, 4, of(5), "Intel 486SX2", System::TYPE_UNKNOWN},
    {System::VENDOR_INTEL, 4, of(7), "Intel 486DX2WB", System::TYPE_UNKNOWN},
    {System::VENDOR_INTEL, 4, of(8), "Intel 486DX4", System::TYPE_UNKNOWN},
    {System::VENDOR_INTEL, 4, of(9), "Intel 486DX4WB", System::TYPE_UNKNOWN},
    {System::VENDOR_UMC, 4, of(1, 2), "UMC 486", System::TYPE_UNKNOWN},
    {System::VENDOR_AMD, 4, of(3), "AMD 486DX2", System::TYPE_UNKNOWN},
    {System::VENDOR_AMD, 4, of(7), "AMD 486DX2WB", System::TYPE_UNKNOWN},
    {System::VENDOR_AMD, 4, of(8), "AMD 486DX4", System::TYPE_UNKNOWN},
    {System::VENDOR_AMD, 4, of(9), "AMD 486DX4WB", System::TYPE_UNKNOWN},
    {System::VENDOR_AMD, 4, of(14), "AMD 486/5x86", System::TYPE_UNKNOWN},
    {System::VENDOR_AMD, 4, of(15), "AMD 486/5x86WB", System::TYPE_UNKNOWN},
    {System::VENDOR_CYRIX, 4, of(9), "Cyrix 5x86", System::TYPE_CYRIX_5X86},
    {System::VENDOR_CYRIX, 4, of(4), "Cyrix MediaGX", System::TYPE_MEDIAGX},
    {System::VENDOR_INTEL, 5, of(0, 1, 2, 3, 4, 7, 8), "Intel Pentium", System::TYPE_PENTIUM},
    {System::VENDOR_NEXGEN, 5, of(0), "NexGen Nx586", System::TYPE_NX586},
    {System::VENDOR_CYRIX, 5, of(2), "Cyrix 6x86", System::TYPE_CYRIX_6X86},
    {System::VENDOR_CYRIX, 5, of(4), "Cyrix MediaGX", System::TYPE_MEDIAGX},
    {System::VENDOR_CYRIX, 6, of(0), "Cyrix 6x86MX", System::TYPE_CYRIX_6X86MX},
    {System::VENDOR_AMD, 5, of(0, 1, 2, 3), "AMD K5", System::TYPE_K5},
    {System::VENDOR_AMD, 5, of(6, 7), "AMD K6", System::TYPE_K6},
    {System::VENDOR_AMD, 5, of(8), nullptr, System::TYPE_K6_2},
    {System::VENDOR_AMD, 5, of(9), nullptr, System::TYPE_K6_III},
    {System::VENDOR_AMD, 5, of(12), nullptr, System::TYPE_K6_2, range(8, 11)},
    {System::VENDOR_AMD, 5, of(13), nullptr, System::TYPE_K6_2_PLUS, range(0, 3)},
    {System::VENDOR_AMD, 5, of(13), nullptr, System::TYPE_K6_III, range(4, 7)},
    {System::VENDOR_CENTAUR, 5, of(4), "IDT WinChip C6", System::TYPE_WINCHIP_C6},
    {System::VENDOR_CENTAUR, 5, of(8), "IDT WinChip 2-3D", System::TYPE_WINCHIP_2_3D, any, anyBrand,
     System::CAP_3DNOW},
    {System::VENDOR_CENTAUR, 5, of(8), "IDT WinChip 2", System::TYPE_WINCHIP_2},
    {System::VENDOR_CENTAUR, 6, of(6), nullptr, System::TYPE_CENTAUR_6_6},
    {System::VENDOR_CENTAUR, 6, of(7), nullptr, System::TYPE_CENTAUR_6_7, range(0, 7)},
    {System::VENDOR_CENTAUR, 6, of(7), nullptr, System::TYPE_CENTAUR_6_7_LATE, range(8, 15)},
    {System::VENDOR_INTEL, 6, of(0, 1), "Intel Pentium Pro", System::TYPE_PENTIUM_PRO},
    {System::VENDOR_INTEL, 6, of(3, 5), "Intel Pentium II", System::TYPE_PENTIUM_II},
    {System::VENDOR_INTEL, 6, of(6), "Intel Celeron A", System::TYPE_CELERON_A},
    {System::VENDOR_INTEL, 6, of(7), "Intel Pentium III", System::TYPE_PENTIUM_III},
    {System::VENDOR_INTEL, 6, of(8), "Intel Celeron", System::TYPE_CELERON, any, 1},
    {System::VENDOR_INTEL, 6, of(8), "Intel Pentium III Xeon", System::TYPE_PENTIUM_III_XEON, any, 3},
    {System::VENDOR_INTEL, 6, of(8), "Intel Pentium III", System::TYPE_PENTIUM_III},
    {System::VENDOR_INTEL, 15, any, "Intel Pentium 4", System::TYPE_PENTIUM_4},
    {System::VENDOR_AMD, 6, of(0, 1, 2, 4, 5), nullptr, System::TYPE_ATHLON},
    {System::VENDOR_AMD, 6, of(3), nullptr, System::TYPE_DURON},
    {System::VENDOR_AMD, 6, of(6), nullptr, System::TYPE_ATHLON_LATE},
};

bool fits(const ModelRow &row, const Signature &signature) {
    return row.vendor == signature.vendor && row.family == signature.family &&
           bit(row.models, static_cast<int>(signature.model)) &&
           bit(row.steppings, static_cast<int>(signature.stepping)) &&
           (row.brand == anyBrand || static_cast<std::uint32_t>(row.brand) == signature.brand) &&
           (signature.caps & row.caps) == row.caps;
}

/// Models of family 6 that only the size of their level-2 cache (from `low` to `high`) tells apart.
struct LevelTwoRow {
    std::uint32_t model, low, high;
    const char *name;
    System::ProcessorType type;
};

constexpr LevelTwoRow levelTwoModels[] = {
    {5, 0, 0, "Intel Celeron", System::TYPE_CELERON},
    {5, MB, UINT32_MAX, "Intel Pentium II Xeon", System::TYPE_PENTIUM_II_XEON},
    {7, MB, UINT32_MAX, "Intel Pentium III Xeon", System::TYPE_PENTIUM_III_XEON},
};

void setModel(Processor &processor, const char *name, System::ProcessorType type) {
    if (name)
        std::strcpy(processor.model, name); // the tables' names are short
    processor.type = type;
}

// ---- Cache descriptors (leaf 2) ------------------------------------------------------------------------

struct DescriptorRow {
    std::uint8_t byte;
    std::uint32_t Processor::*field;
    std::uint32_t value;
};

constexpr DescriptorRow descriptors[] = {
    {0x01, &Processor::tlbCode, 4 * KB},  {0x02, &Processor::tlbCode, 4 * MB},
    {0x03, &Processor::tlbData, 4 * KB},  {0x04, &Processor::tlbData, 4 * MB},
    {0x06, &Processor::l1Code, 8 * KB},   {0x08, &Processor::l1Code, 16 * KB},
    {0x0A, &Processor::l1Data, 8 * KB},   {0x0C, &Processor::l1Data, 16 * KB},
    {0x22, &Processor::l3, 512 * KB},     {0x23, &Processor::l3, 1 * MB},
    {0x25, &Processor::l3, 2 * MB},       {0x29, &Processor::l3, 4 * MB},
    {0x41, &Processor::l2, 128 * KB},     {0x42, &Processor::l2, 256 * KB},
    {0x43, &Processor::l2, 512 * KB},     {0x44, &Processor::l2, 1 * MB},
    {0x45, &Processor::l2, 2 * MB},       {0x46, &Processor::l2, 4 * MB},
    {0x50, &Processor::tlbCode, 64},      {0x51, &Processor::tlbCode, 128},
    {0x52, &Processor::tlbCode, 256},     {0x5B, &Processor::tlbData, 64},
    {0x5C, &Processor::tlbData, 128},     {0x5D, &Processor::tlbData, 256},
    {0x66, &Processor::l1Data, 8 * KB},   {0x67, &Processor::l1Data, 16 * KB},
    {0x68, &Processor::l1Data, 32 * KB},  {0x70, &Processor::l1Trace, 12 * KB},
    {0x71, &Processor::l1Trace, 16 * KB}, {0x72, &Processor::l1Trace, 32 * KB},
    {0x79, &Processor::l2, 128 * KB},     {0x7A, &Processor::l2, 256 * KB},
    {0x7B, &Processor::l2, 512 * KB},     {0x7C, &Processor::l2, 1 * MB},
    {0x80, &Processor::l1Code, 16 * KB},  {0x80, &Processor::l1Data, 16 * KB},
    {0x81, &Processor::l2, 128 * KB},     {0x82, &Processor::l2, 256 * KB},
    {0x83, &Processor::l2, 512 * KB},     {0x84, &Processor::l2, 1 * MB},
    {0x85, &Processor::l2, 2 * MB},
};

/// The descriptor that says: no cache beyond the last level named.
constexpr std::uint8_t noFurtherLevel = 0x40;

/// Reads a leaf; registers are 0 where it cannot be read.
CpuidRegisters read(const CpuidReader &cpuid, std::uint32_t leaf) {
    CpuidRegisters registers = {};
    if (!cpuid(leaf, registers))
        registers = {};
    return registers;
}

void decodeDescriptors(Processor &processor, const CpuidReader &cpuid) {
    bool sawNoFurtherLevel = false;
    CpuidRegisters registers = read(cpuid, 2);
    const std::uint32_t readings = registers.eax & 0xFF;
    for (std::uint32_t reading = 0; reading < readings; ++reading) {
        if (reading != 0)
            registers = read(cpuid, 2);
        // Bit 31 of a register, by which later processors disown its bytes, is not looked at: the
        // processors that these descriptors describe do not set it.
        for (std::uint32_t word : {registers.eax & ~0xFFu, registers.ebx, registers.ecx, registers.edx})
            for (; word != 0; word >>= 8) {
                const auto byte = static_cast<std::uint8_t>(word);
                sawNoFurtherLevel |= byte == noFurtherLevel;
                for (const DescriptorRow &row : descriptors)
                    if (row.byte == byte)
                        processor.*row.field = row.value;
            }
    }
    if (sawNoFurtherLevel && processor.l2 != 0)
        processor.l3 = 0;
}

// ---- The steps -----------------------------------------------------------------------------------------

void detectVendor(Processor &processor, const CpuidRegisters &leaf0) {
    char text[12];
    std::memcpy(text, &leaf0.ebx, 4);
    std::memcpy(text + 4, &leaf0.edx, 4);
    std::memcpy(text + 8, &leaf0.ecx, 4);
    for (const VendorRow &row : vendors) {
        const std::size_t length = std::strlen(row.text);
        if (std::memcmp(text, row.text, length) != 0)
            continue;
        if (length < sizeof text && text[length] != ' ' && text[length] != 0)
            continue;
        processor.vendor = row.vendor;
        setModel(processor, row.model, System::TYPE_UNKNOWN);
        return;
    }
}

std::uint32_t capabilities(System::ProcessorVendor vendor, std::uint32_t standard, std::uint32_t extended,
                           bool savesSse) {
    const bool intel = vendor == System::VENDOR_INTEL;
    const bool amd = vendor == System::VENDOR_AMD;
    const bool cyrix = vendor == System::VENDOR_CYRIX;
    const bool centaur = vendor == System::VENDOR_CENTAUR;

    std::uint32_t caps = 0;
    const auto set = [&caps](std::uint32_t cap, bool present) { caps |= present ? cap : 0; };
    set(System::CAP_MMX, bit(standard, 23));
    set(System::CAP_3DNOW, (amd || centaur || cyrix) && bit(extended, 31));
    set(System::CAP_CMOV, ((intel || amd) && bit(standard, 16)) || (cyrix && bit(standard, 15)));
    set(System::CAP_EXTENDED_MMX_3DNOW, amd && bit(extended, 22) && bit(extended, 30));
    set(System::CAP_TSC, bit(standard, 4));
    set(System::CAP_SSE, (bit(standard, 25) || bit(standard, 26)) && savesSse);
    set(System::CAP_SSE2, bit(standard, 26) && savesSse);
    return caps;
}

void readBrandString(Processor &processor, const CpuidReader &cpuid) {
    for (std::uint32_t i = 0; i < 3; ++i) {
        const CpuidRegisters registers = read(cpuid, 0x80000002 + i);
        std::memcpy(processor.model + i * sizeof registers, &registers, sizeof registers);
    }
    processor.model[48] = 0;
}

void detectCaches(Processor &processor, const Signature &signature, const CpuidReader &cpuid,
                  std::uint32_t highest, std::uint32_t highestExtended) {
    const bool amd = signature.vendor == System::VENDOR_AMD;
    const bool centaur = signature.vendor == System::VENDOR_CENTAUR;

    if (signature.vendor == System::VENDOR_CYRIX) {
        // This maker's leaf 2 has an encoding of its own; without the leaf the figures are known anyway.
        const CpuidRegisters registers = highest >= 2 ? read(cpuid, 2) : CpuidRegisters{0x7000, 0, 0, 0x80};
        if ((registers.eax >> 8 & 0xFF) == 0x70)
            processor.tlbCode = processor.tlbData = 4 * KB;
        if ((registers.edx & 0xFF) == 0x80)
            processor.l1Code = processor.l1Data = 8 * KB;
        return;
    }
    if ((amd || centaur) && highestExtended >= 0x80000005) {
        const CpuidRegisters registers = read(cpuid, 0x80000005);
        processor.l1Data = (registers.ecx >> 24) * KB;
        processor.l1Code = (registers.edx >> 24) * KB;
    }
    if ((amd || (centaur && signature.family == 6)) && highestExtended >= 0x80000006) {
        const CpuidRegisters registers = read(cpuid, 0x80000006);
        if (centaur)
            processor.l2 = (registers.ecx >> 24) * KB;
        else if ((signature.eax & 0xFFFF) == 0x0630) // this early model reports a wrong size
            processor.l2 = 64 * KB;
        else
            processor.l2 = (registers.ecx >> 16) * KB;
    }
    if (!amd && !(centaur && signature.family == 6) && highest >= 2)
        decodeDescriptors(processor, cpuid);
}

} // namespace

Processor detectProcessor(const CpuidReader &cpuid, bool savesSse) {
    Processor processor;
    const CpuidRegisters leaf0 = read(cpuid, 0);
    // Only the low four bits count: a processor whose highest leaf is 0x10 or 0x20 stays unknown.
    const std::uint32_t highest = leaf0.eax & 0xF;
    if (highest == 0)
        return processor;

    const CpuidRegisters leaf1 = read(cpuid, 1);
    detectVendor(processor, leaf0);
    const std::uint32_t highestExtended = read(cpuid, 0x80000000).eax;
    const std::uint32_t extended = highestExtended >= 0x80000001 ? read(cpuid, 0x80000001).edx : 0;
    processor.caps = capabilities(processor.vendor, leaf1.edx, extended, savesSse);

    const Signature signature = {.vendor = processor.vendor,
                                 .eax = leaf1.eax,
                                 .family = leaf1.eax >> 8 & 0xF,
                                 .model = leaf1.eax >> 4 & 0xF,
                                 .stepping = leaf1.eax & 0xF,
                                 .brand = leaf1.ebx & 0xFF,
                                 .caps = processor.caps};
    for (const ModelRow &row : models)
        if (fits(row, signature)) {
            setModel(processor, row.name, row.type);
            break;
        }

    const bool intel = signature.vendor == System::VENDOR_INTEL;
    const bool hasBrandString = intel || signature.vendor == System::VENDOR_AMD ||
                                signature.vendor == System::VENDOR_CYRIX ||
                                signature.vendor == System::VENDOR_CENTAUR;
    if (hasBrandString && highestExtended >= 0x80000004)
        readBrandString(processor, cpuid);

    detectCaches(processor, signature, cpuid, highest, highestExtended);
    if (intel && highest == 1)
        processor.l1Code = processor.l1Data = processor.caps & System::CAP_MMX ? 16 * KB : 8 * KB;
    if (intel && signature.family == 6)
        for (const LevelTwoRow &row : levelTwoModels)
            if (row.model == signature.model && processor.l2 >= row.low && processor.l2 <= row.high)
                setModel(processor, row.name, row.type);
    return processor;
}

namespace {

/// The description of a processor that tells nothing itself.
Processor processorAsTold(const Machine &machine) {
    platform::SystemProcessor told{};
    machine.describeProcessor(told);
    Processor processor;
    if (told.name[0] != 0)
        std::strcpy(processor.model, told.name); // shorter by far
    processor.l1Code = told.l1Code;
    processor.l1Data = told.l1Data;
    processor.l2 = told.l2;
    processor.l3 = told.l3;
    processor.caps = machine.hasCounterWithoutCpuid ? static_cast<std::uint32_t>(System::CAP_TSC) : 0;
    return processor;
}

} // namespace

} // namespace vl

void V_System::determineProcessorCaps() {
    vl::CpuidRegisters registers;
    const vl::Processor processor = vl::machine.cpuid(0, registers)
                                        ? vl::detectProcessor(vl::machine.cpuid, vl::machine.savesSseState())
                                        : vl::processorAsTold(vl::machine);
    m_uTLBCodeSize = processor.tlbCode;
    m_uTLBDataSize = processor.tlbData;
    m_uL1CodeCacheSize = processor.l1Code;
    m_uL1DataCacheSize = processor.l1Data;
    m_uL2CacheSize = processor.l2;
    m_uL3CacheSize = processor.l3;
    m_uL1TraceCacheSize = processor.l1Trace;
    m_uProcessorCaps = processor.caps;
    m_eProcessorVendor = processor.vendor;
    m_eProcessorType = processor.type;
    std::memcpy(m_acProcessorModel, processor.model, sizeof m_acProcessorModel);
}
