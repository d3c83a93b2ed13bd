// Processor detection from literal CPUID registers.

#include "core/processor.h"
#include "tests/support/fake_machine.h"
#include "vl/core.h"

#include <gtest/gtest.h>

#include <array>
#include <cstring>
#include <map>
#include <sstream>
#include <string>
#include <vector>

namespace {

using Registers = vl::CpuidRegisters;
using vl::Processor;

/// A processor with the given leaves; every other leaf reads 0.
struct FakeProcessor {
    std::map<std::uint32_t, Registers> leaves;
    std::vector<Registers> readings; ///< of leaf 2, one after the other, instead of always the same

    FakeProcessor(const char (&vendor)[13], std::uint32_t highest, std::uint32_t signature) {
        Registers &zero = leaves[0];
        zero.eax = highest;
        std::memcpy(&zero.ebx, vendor, 4);
        std::memcpy(&zero.edx, vendor + 4, 4);
        std::memcpy(&zero.ecx, vendor + 8, 4);
        leaves[1].eax = signature;
    }

    Processor detect(bool savesSse = true) const {
        std::size_t next = 0;
        return vl::detectProcessor(
            [&](std::uint32_t leaf, Registers &registers) {
                const auto found = leaves.find(leaf);
                registers = found == leaves.end() ? Registers{} : found->second;
                if (leaf == 2 && !readings.empty())
                    registers = readings.at(next++);
                return true;
            },
            savesSse);
    }
};

constexpr char intel[13] = "GenuineIntel";
constexpr char umc[13] = "UMC UMC UMC ";
constexpr char amd[13] = "AuthenticAMD";
constexpr char cyrix[13] = "CyrixInstead";
constexpr char nexgen[13] = "NexGenDriven";
constexpr char centaur[13] = "CentaurHauls";

TEST(Processor, VendorStringNamesTheMaker) {
    const struct {
        char vendor[13];
        int number;
        const char *model;
    } rows[] = {{"GenuineIntel", 1, "Intel unknown"},   {"UMC UMC UMC ", 2, "UMC unknown"},
                {"UMC UMC UMC", 2, "UMC unknown"},      {"AuthenticAMD", 3, "AMD unknown"},
                {"CyrixInstead", 4, "Cyrix unknown"},   {"NexGenDriven", 5, "NexGen unknown"},
                {"CentaurHauls", 6, "Centaur unknown"}, {"UMC UMC UMCX", 0, "Unknown"},
                {"genuineintel", 0, "Unknown"}};
    for (const auto &row : rows) {
        const Processor processor = FakeProcessor(row.vendor, 1, 0x0F0).detect();
        EXPECT_EQ(processor.vendor, row.number) << row.vendor;
        EXPECT_STREQ(processor.model, row.model);
    }
}

TEST(Processor, SignatureDecidesNameAndType) {
    using Signatures = std::vector<std::uint32_t>;
    // The upper half of the signature and of the brand's register do not count.
    const auto expect = [](const char(&vendor)[13], const Signatures &signatures, const std::string &model,
                           int type = 0, std::uint32_t brand = 0, std::uint32_t level2 = 0x4301) {
        for (const std::uint32_t signature : signatures) {
            FakeProcessor fake(vendor, 2, 0xABCD0000 | signature);
            fake.leaves[1].ebx = 0x5500 | brand;
            fake.leaves[2].eax = level2; // 0x43 in its second byte: 512 KB
            const Processor processor = fake.detect();
            EXPECT_EQ(processor.model, model) << vendor << std::hex << signature;
            EXPECT_EQ(processor.type, type) << vendor << std::hex << signature;
        }
    };
    const auto expect486 = [&](const char(&vendor)[13], const std::string &start,
                               const char *signaturesAndNames) {
        std::istringstream rows(signaturesAndNames);
        std::string name;
        for (std::uint32_t signature = 0; rows >> std::hex >> signature >> name;)
            expect(vendor, {signature}, start + name);
        EXPECT_TRUE(rows.eof());
    };
    expect486(intel, "Intel 486",
              "400 DX-25/33 41F DX-50 420 SX 430 DX2 440 SL 450 SX2 470 DX2WB 480 DX4 490 DX4WB");
    expect486(amd, "AMD 486", "430 DX2 470 DX2WB 480 DX4 490 DX4WB 4E0 /5x86 4F0 /5x86WB");
    expect(amd, {0x580, 0x5C8, 0x5CB}, "AMD unknown", 7);
    expect(amd, {0x5D0, 0x5D3}, "AMD unknown", 8);
    expect(amd, {0x590, 0x5D4, 0x5D7}, "AMD unknown", 9);
    expect(amd, {0x600, 0x610, 0x620, 0x640, 0x650}, "AMD unknown", 10);
    expect(amd, {0x630}, "AMD unknown", 11);
    expect(amd, {0x660}, "AMD unknown", 20);
    expect(amd, {0x540, 0x5C7, 0x5CC, 0x5D8, 0x670, 0xF00}, "AMD unknown");
    expect(centaur, {0x66F}, "Centaur unknown", 16);
    expect(centaur, {0x670, 0x677}, "Centaur unknown", 17);
    expect(centaur, {0x678, 0x67F}, "Centaur unknown", 18);
    expect(centaur, {0x590, 0x680}, "Centaur unknown");
    expect(intel, {0x460, 0x4A0, 0x550, 0x560, 0x590, 0x620, 0x640, 0x690, 0x6F0, 0x700, 0xE00},
           "Intel unknown");
    expect(umc, {0x410, 0x420}, "UMC 486");
    expect(umc, {0x400, 0x430, 0x510}, "UMC unknown");
    expect(cyrix, {0x490}, "Cyrix 5x86", 21);
    expect(cyrix, {0x440, 0x540}, "Cyrix MediaGX", 24);
    expect(cyrix, {0x520}, "Cyrix 6x86", 22);
    expect(cyrix, {0x600}, "Cyrix 6x86MX", 23);
    expect(cyrix, {0x500, 0x610}, "Cyrix unknown");
    expect(nexgen, {0x500}, "NexGen Nx586", 28);
    expect(nexgen, {0x510}, "NexGen unknown");
    expect(amd, {0x500, 0x510, 0x520, 0x530}, "AMD K5", 19);
    expect(amd, {0x560, 0x570}, "AMD K6", 6);
    expect(centaur, {0x540}, "IDT WinChip C6", 13);
    expect(centaur, {0x580}, "IDT WinChip 2", 14);
    expect(intel, {0x500, 0x510, 0x520, 0x530, 0x54C, 0x570, 0x580}, "Intel Pentium", 25);
    expect(intel, {0x600, 0x610}, "Intel Pentium Pro", 26);
    expect(intel, {0x630, 0x650}, "Intel Pentium II", 2);
    expect(intel, {0x660}, "Intel Celeron A", 27);
    expect(intel, {0x670}, "Intel Pentium III", 4);
    expect(intel, {0x680}, "Intel Celeron", 1, 1);
    expect(intel, {0x680}, "Intel Pentium III Xeon", 5, 3);
    expect(intel, {0x680}, "Intel Pentium III", 4, 2);
    expect(intel, {0x650}, "Intel Celeron", 1, 0, 0x0001);
    expect(intel, {0x650}, "Intel Pentium II Xeon", 3, 0, 0x4401);
    expect(intel, {0x650}, "Intel Pentium II Xeon", 3, 0, 0x4501);
    expect(intel, {0x630}, "Intel Pentium II", 2, 0, 0x4401);
    expect(intel, {0x670}, "Intel Pentium III", 4, 0, 0x0001);
    expect(intel, {0x670}, "Intel Pentium III Xeon", 5, 0, 0x4401);
    expect(intel, {0xF00, 0xF29, 0xFFF}, "Intel Pentium 4", 12, 3);
}

TEST(Processor, FlagsGiveCapabilities) {
    constexpr std::uint32_t b4 = 1u << 4, b15 = 1u << 15, b16 = 1u << 16, b22 = 1u << 22, b23 = 1u << 23,
                            b25 = 1u << 25, b26 = 1u << 26, b30 = 1u << 30, b31 = 1u << 31;
    const struct {
        const char (&vendor)[13];
        std::uint32_t standard, extended, highestExtended;
        bool savesSse;
        std::uint32_t caps;
    } rows[] = {{intel, b23, 0, 0, true, 1},
                {nexgen, b4 | b23, b31, 0x80000001, true, 1 | 16},
                {intel, b16 | b15, b31 | b22 | b30, 0x80000001, true, 4},
                {amd, b16, b31, 0x80000001, true, 2 | 4},
                {amd, b15, b31 | b22 | b30, 0x80000001, true, 2 | 8},
                {amd, 0, b22, 0x80000001, true, 0},
                {amd, 0, b30, 0x80000001, true, 0},
                {amd, 0, b31 | b22 | b30, 0x80000000, true, 0}, // the leaf does not exist
                {centaur, b15 | b16, b31 | b22 | b30, 0x80000001, true, 2},
                {cyrix, b15, b31, 0x80000001, true, 2 | 4},
                {cyrix, b16, b22 | b30, 0x80000001, true, 0},
                {intel, b25, 0, 0, true, 32},
                {intel, b26, 0, 0, true, 32 | 64},
                {intel, b25 | b26, 0, 0, true, 32 | 64},
                {intel, b4 | b25 | b26, 0, 0, false, 16}};
    for (const auto &row : rows) {
        FakeProcessor fake(row.vendor, 1, 0);
        fake.leaves[1].edx = row.standard;
        fake.leaves[0x80000000].eax = row.highestExtended;
        fake.leaves[0x80000001].edx = row.extended;
        EXPECT_EQ(fake.detect(row.savesSse).caps, row.caps)
            << row.vendor << std::hex << row.standard << ' ' << row.extended;
    }
    // One model is told apart by a flag.
    FakeProcessor fake(centaur, 1, 0x580);
    fake.leaves[0x80000000].eax = 0x80000001;
    fake.leaves[0x80000001].edx = b31;
    EXPECT_STREQ(fake.detect().model, "IDT WinChip 2-3D");
    EXPECT_EQ(fake.detect().type, 15);
}

TEST(Processor, BrandStringReplacesTheNameButNotTheType) {
    const std::string brand = "Sample CPU 3000 of exactly 48 characters length!";
    const auto detect = [](const char(&vendor)[13], const std::string &text, std::uint32_t highestExtended) {
        FakeProcessor fake(vendor, 2, 0x683);
        fake.leaves[1].ebx = 3;
        fake.leaves[0x80000000].eax = highestExtended;
        for (std::uint32_t i = 0; i < 3; ++i)
            text.copy(reinterpret_cast<char *>(&fake.leaves[0x80000002 + i]), 16, 16 * i);
        return fake.detect();
    };
    for (const auto *vendor : {&intel, &amd, &cyrix, &centaur})
        EXPECT_EQ(detect(*vendor, brand, 0x80000008).model, brand) << *vendor;
    EXPECT_EQ(detect(intel, brand, 0x80000004).type, 5);
    EXPECT_STREQ(detect(intel, std::string("Short").append(43, '\0'), 0x80000004).model, "Short");
    EXPECT_STREQ(detect(intel, brand, 0x80000003).model, "Intel Pentium III Xeon");
    EXPECT_STREQ(detect(umc, brand, 0x80000004).model, "UMC unknown");
}

using Figures = std::array<std::uint32_t, 7>;

Figures figures(const Processor &p) {
    return {p.tlbCode, p.tlbData, p.l1Code, p.l1Data, p.l2, p.l3, p.l1Trace};
}

TEST(Processor, DescriptorBytesGiveCacheSizes) {
    const std::map<int, std::uint32_t> sizes[] = {
        {{0x01, 4096}, {0x02, 4194304}, {0x50, 64}, {0x51, 128}, {0x52, 256}},
        {{0x03, 4096}, {0x04, 4194304}, {0x5B, 64}, {0x5C, 128}, {0x5D, 256}},
        {{0x06, 8192}, {0x08, 16384}, {0x80, 16384}},
        {{0x0A, 8192}, {0x0C, 16384}, {0x66, 8192}, {0x67, 16384}, {0x68, 32768}, {0x80, 16384}},
        {{0x41, 131072},
         {0x42, 262144},
         {0x43, 524288},
         {0x44, 1048576},
         {0x45, 2097152},
         {0x46, 4194304},
         {0x79, 131072},
         {0x7A, 262144},
         {0x7B, 524288},
         {0x7C, 1048576},
         {0x81, 131072},
         {0x82, 262144},
         {0x83, 524288},
         {0x84, 1048576},
         {0x85, 2097152}},
        {{0x22, 524288}, {0x23, 1048576}, {0x25, 2097152}, {0x29, 4194304}},
        {{0x70, 12288}, {0x71, 16384}, {0x72, 32768}}};
    for (int byte = 0; byte < 256; ++byte)
        for (int place = 1; place < 16; ++place) { // place 0 holds the count
            Figures expected = {};
            for (std::size_t i = 0; i < expected.size(); ++i)
                expected[i] = sizes[i].count(byte) ? sizes[i].at(byte) : 0;
            FakeProcessor fake(nexgen, 2, 0);
            std::uint32_t registers[4] = {1};
            registers[place / 4] |= static_cast<std::uint32_t>(byte) << place % 4 * 8;
            fake.leaves[2] = {registers[0], registers[1], registers[2], registers[3]};
            EXPECT_EQ(figures(fake.detect()), expected) << byte << " at " << place;
        }
}

TEST(Processor, DescriptorsAreReadAsOftenAsTheCountSays) {
    const auto detect = [](const std::vector<Registers> &readings) {
        FakeProcessor fake(intel, 2, 0x670);
        fake.readings = readings;
        return figures(fake.detect());
    };
    // A later byte wins; the low byte of every reading's first register is not a descriptor.
    EXPECT_EQ(detect({{0x4102, 0, 0, 0x22}, {0x43, 0x42, 0, 0}}), (Figures{0, 0, 0, 0, 262144, 524288}));
    EXPECT_EQ(detect({{0x40004301, 0, 0x22, 0}}), (Figures{0, 0, 0, 0, 524288}));    // nothing beyond level 2
    EXPECT_EQ(detect({{0x40000001, 0, 0x22, 0}}), (Figures{0, 0, 0, 0, 0, 524288})); // no level 2 either
    EXPECT_EQ(detect({{0x4300, 0x0A, 0, 0}}), Figures{});
    EXPECT_EQ(detect({{0x01, 0x8100000A, 0, 0}}), (Figures{0, 0, 0, 8192, 131072}));
}

TEST(Processor, OtherMakersDescribeTheirCachesDifferently) {
    const auto detect = [](const char(&vendor)[13], std::uint32_t highest, std::uint32_t signature,
                           std::uint32_t highestExtended, Registers leaf2) {
        FakeProcessor fake(vendor, highest, signature);
        fake.leaves[2] = leaf2;
        fake.leaves[0x80000000].eax = highestExtended;
        fake.leaves[0x80000005] = {0, 0, 0x40FFFFFF, 0x20FFFFFF};
        fake.leaves[0x80000006] = {0, 0, 0x0200FFFF, 0};
        return figures(fake.detect());
    };
    constexpr Registers level2 = {0x4301, 0, 0, 0};
    constexpr Figures none = {}, unified = {4096, 4096, 8192, 8192}, level1 = {0, 0, 32768, 65536};
    const auto and2 = [&](std::uint32_t size) { return Figures{0, 0, 32768, 65536, size}; };

    EXPECT_EQ(detect(cyrix, 1, 0x520, 0, {}), unified);
    EXPECT_EQ(detect(cyrix, 2, 0x520, 0, {0x7001, 0, 0, 0x80}), unified);
    EXPECT_EQ(detect(cyrix, 2, 0x520, 0, {0x4301, 0, 0, 0x8000}), none);

    EXPECT_EQ(detect(amd, 2, 0x600, 0x80000004, level2), none);
    EXPECT_EQ(detect(amd, 2, 0x600, 0x80000005, level2), level1);
    EXPECT_EQ(detect(amd, 2, 0x600, 0x80000006, level2), and2(512 * 1024));
    EXPECT_EQ(detect(amd, 2, 0x630, 0x80000006, level2), and2(64 * 1024));
    EXPECT_EQ(detect(amd, 2, 0x631, 0x80000006, level2), and2(512 * 1024));

    EXPECT_EQ(detect(centaur, 2, 0x670, 0x80000006, level2), and2(2048));
    EXPECT_EQ(detect(centaur, 2, 0x670, 0x80000005, level2), level1);
    EXPECT_EQ(detect(centaur, 2, 0x580, 0x80000006, level2), and2(524288));
    EXPECT_EQ(detect(centaur, 1, 0x580, 0, level2), none);
    EXPECT_EQ(detect(umc, 2, 0x410, 0x80000006, level2), (Figures{0, 0, 0, 0, 524288}));

    EXPECT_EQ(detect(intel, 1, 0x540, 0, level2), (Figures{0, 0, 8192, 8192}));
    FakeProcessor mmx(intel, 1, 0x540);
    mmx.leaves[1].edx = 1u << 23;
    EXPECT_EQ(figures(mmx.detect()), (Figures{0, 0, 16384, 16384}));
}

TEST(Processor, WithoutUsableLeavesNothingIsKnown) {
    for (const std::uint32_t highest : {0x0u, 0x10u, 0x20u, 0xFFFFFFF0u}) {
        FakeProcessor fake(intel, highest, 0x670);
        fake.leaves[1].edx = ~0u;
        const Processor processor = fake.detect();
        EXPECT_EQ(processor.vendor, 0);
        EXPECT_EQ(processor.caps, 0u);
        EXPECT_STREQ(processor.model, "Unknown");
    }
    const Processor processor = vl::detectProcessor([](std::uint32_t, Registers &) { return false; }, true);
    EXPECT_STREQ(processor.model, "Unknown");
    EXPECT_EQ(figures(processor), Figures{});
}

TEST(Processor, ThatTellsNothingIsAsTheSystemKnowsIt) {
    const FakeMachine machine; // puts the real one back
    vl::machine.cpuid = [](std::uint32_t, Registers &registers) {
        registers = {};
        return false;
    };
    FakeMachine::sm_iStep = 1'000'000;
    for (const bool counts : {false, true}) {
        vl::machine.hasCounterWithoutCpuid = counts;
        vl::machine.describeProcessor = [](vl::platform::SystemProcessor &told) {
            told = {"Some Core", 1024, 2048, 4096, 8192};
        };
        const V_VantorInit library;
        EXPECT_STREQ(Sys->getProcessorModel(), "Some Core");
        EXPECT_EQ(Sys->getL1CodeCacheSize() + Sys->getL1DataCacheSize(), 3072u);
        EXPECT_EQ(Sys->getL2CacheSize() + Sys->getL3CacheSize(), 12288u);
        EXPECT_EQ(Sys->getProcessorCaps(), counts ? V_System::CAP_TSC : 0u);
        EXPECT_EQ(Sys->getProcessorSpeed() > 1, counts);
        Sys->ceaseVerbose(1);
    }
#if defined(__linux__)
    vl::platform::SystemProcessor told;
    vl::platform::describeProcessor(told);
    EXPECT_NE(told.name[0], 0);
#endif
}

} // namespace
