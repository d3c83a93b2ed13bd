// The memory facade: counters, byte movers and the reallocation pair; and the library's strings.

#include "tests/support/failing_allocation.h"

#include "core/counted.h"
#include "vl/core.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <random>
#include <vector>

namespace {

TEST(Memory, CountedAllocationsCountAlsoWhenTheyFail) {
    V_Memory::resetNewDeleteCounts();
    V_Memory::freeCounted(V_Memory::allocateCounted(16));
    V_Memory::freeCounted(nullptr);
    V_Memory::freeBytes(V_Memory::allocateBytes(16)); // not counted
    EXPECT_EQ(V_Memory::getNewCount(), 1);
    EXPECT_EQ(V_Memory::getDeleteCount(), 1);
    {
        const FailingAllocation fault(0);
        EXPECT_THROW(V_Memory::allocateCounted(16), V_MemoryException_Allocation *);
    }
    EXPECT_EQ(V_Memory::getNewCount(), 2);
    EXPECT_THROW(vl::allocateArray<int>(0x80000000u), V_MemoryException_Allocation *);
    V_Memory::resetNewDeleteCounts();
    EXPECT_EQ(V_Memory::getNewCount() + V_Memory::getDeleteCount(), 0);
}

TEST(Memory, SetAndCopyTouchExactlyTheirBytes) {
    for (unsigned int offset = 0; offset < 9; ++offset)
        for (const unsigned int count : {0u, 1u, 31u, 37u, 64u, 1000u}) {
            std::vector<char> bytes(1100, '-'), source(1100);
            for (std::size_t i = 0; i < source.size(); ++i)
                source[i] = static_cast<char>(i * 7);
            char *at = bytes.data() + offset;
            EXPECT_EQ(V_Memory::set(at, 's', count), at);
            std::vector<char> expected(1100, '-');
            std::fill_n(expected.begin() + offset, count, 's');
            EXPECT_EQ(bytes, expected);
            EXPECT_EQ(V_Memory::copy(at, source.data() + 3, count), at);
            std::copy_n(source.begin() + 3, count, expected.begin() + offset);
            EXPECT_EQ(bytes, expected);
        }
}

using Bytes = std::vector<unsigned char>;

int compareWordByWord(Bytes a, Bytes b) {
    const std::size_t words = a.size() / 4 * 4; // each as a number: its last byte counts most
    for (std::size_t at = 0; at < words; at += 4)
        for (Bytes *bytes : {&a, &b})
            std::reverse(bytes->begin() + static_cast<std::ptrdiff_t>(at),
                         bytes->begin() + static_cast<std::ptrdiff_t>(at + 4));
    return a < b ? -1 : a > b;
}

TEST(Memory, CompareOrdersLittleEndianWords) {
    std::mt19937 random(1);
    for (int i = 0; i < 20000; ++i) {
        Bytes left(random() % (i % 20 ? 150 : 20000), 7);
        Bytes right = left;
        for (auto differences = random() % 4; differences-- > 0 && !left.empty();)
            right[random() % right.size()] = static_cast<unsigned char>(random());
        const auto count = static_cast<unsigned int>(left.size());
        ASSERT_EQ(V_Memory::compare(left.data(), right.data(), count), compareWordByWord(left, right))
            << count;
    }
}

TEST(Memory, ReallocationKeepsTheSmallerPart) {
    V_Memory::resetNewDeleteCounts();
    auto *block = static_cast<char *>(V_REALLOCATE(nullptr, 0, 4));
    EXPECT_EQ(V_Memory::getDeleteCount(), 0);
    std::memcpy(block, "abcd", 4);
    block = static_cast<char *>(V_REALLOCATE(block, 4, 8));
    EXPECT_EQ(std::memcmp(block, "abcd", 4), 0);
    EXPECT_EQ(V_Memory::getNewCount(), 2);
    EXPECT_EQ(V_Memory::getDeleteCount(), 1);
    std::memcpy(block, "abcdefgh", 8);
    block = static_cast<char *>(V_REALLOCATE(block, 8, 4));
    EXPECT_EQ(std::memcmp(block, "abcd", 4), 0);
    EXPECT_THROW(V_REALLOCATE(block, 4, -1), V_MemoryException_Allocation *);
    {
        const FailingAllocation fault(0);
        EXPECT_THROW(V_REALLOCATE(block, 4, 8), V_MemoryException_Allocation *);
    }
    EXPECT_EQ(std::memcmp(block, "abcd", 4), 0); // is still there
    block = static_cast<char *>(V_REALLOCATE(block, -5, 8));
    V_REALLOCATE_DELETE(block);
    V_REALLOCATE_DELETE(nullptr);
    EXPECT_EQ(V_Memory::getNewCount(), 6);
    EXPECT_EQ(V_Memory::getDeleteCount(), 4);
}

TEST(Memory, StringsReportExhaustionAndCompareWithoutCase) {
    V_Memory::resetNewDeleteCounts();
    const V_StringI mixed = "MiXeD and long enough for the heap";
    EXPECT_TRUE(mixed == "mixed AND long enough for the heap");
    EXPECT_TRUE(mixed < "mixed b");
    EXPECT_EQ(mixed.find("LONG"), 10u);
    EXPECT_EQ(mixed.find('Z'), V_StringI::npos);
    EXPECT_FALSE(V_StringI("[") == V_StringI("{")); // only letters fold
    EXPECT_EQ(V_Memory::getNewCount(), 0);          // strings are not counted
    const FailingAllocation fault(0);
    EXPECT_THROW(V_String(100, 'x'), V_MemoryException_Allocation *);
}

} // namespace
