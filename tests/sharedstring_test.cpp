// The string pool: identity without regard to case, dense identifiers, copies, its limit, and failing memory.

#include "tests/support/failing_allocation.h"
#include "tests/support/library_test.h"

#include "base/hash.h"
#include "base/text.h"
#include "vl/sharedstring.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <map>
#include <new>
#include <random>
#include <stdexcept>
#include <string>
#include <vector>

namespace {

short idOf(V_SharedStringPool &pool, const std::string &text) {
    return pool.getSharedString(V_String(text.data(), text.size())).getID();
}

/// Texts of 0 to 20 bytes from a small alphabet around the borders of A-Z, so that many are equal or nearly
/// so.
std::vector<std::string> similarTexts(int count) {
    static constexpr char alphabet[] = "aAbzZ@[`{_\x80\xC1\xE1\x01";
    std::mt19937 random(3);
    std::vector<std::string> texts;
    for (int i = 0; i < count; ++i) {
        std::string text(random() % 21, 'a');
        for (std::size_t changes = random() % 4; changes > 0 && !text.empty(); --changes)
            text[random() % text.size()] = alphabet[random() % (sizeof alphabet - 1)];
        texts.push_back(text);
    }
    return texts;
}

std::string folded(std::string text) {
    for (char &c : text)
        c = static_cast<char>(c >= 'A' && c <= 'Z' ? c + ('a' - 'A') : c);
    return text;
}

TEST(SharedStringPool, FirstSpellingStaysAndCaseDoesNotCount) {
    V_SharedStringPool pool(4);
    EXPECT_EQ(idOf(pool, "Alpha"), 0);
    EXPECT_EQ(idOf(pool, "beta"), 1);
    EXPECT_EQ(idOf(pool, "ALPHA"), 0);
    EXPECT_EQ(idOf(pool, ""), 2);
    EXPECT_EQ(idOf(pool, std::string("Beta\0 and more", 14)), 1);
    EXPECT_EQ(idOf(pool, std::string("\0x", 2)), 2);
    EXPECT_STREQ(pool.getString(V_SharedString()), "Alpha"); // a default handle is the first
    static_assert(sizeof(V_SharedString) == 2);
}

TEST(SharedStringPool, AgreesWithAMapOfFoldedTexts) {
    // From no room at all, so that everything grows on the way.
    V_SharedStringPool pool(0);
    std::map<std::string, short> judge;
    for (const std::string &text : similarTexts(20000)) {
        const auto [entry, isNew] = judge.try_emplace(folded(text), static_cast<short>(judge.size()));
        ASSERT_EQ(idOf(pool, text), entry->second) << text;
        if (isNew) {
            ASSERT_STREQ(pool.getStringByID(entry->second), text.c_str());
        }
    }
    EXPECT_GT(judge.size(), 3000u);
}

TEST(SharedStringPool, FoldedOrderIsThatOfUnsignedFoldedBytes) {
    const std::vector<std::string> texts = similarTexts(600);
    for (const std::string &a : texts) {
        for (const std::string &b : texts) {
            const int expected = folded(a).compare(folded(b)); // std::string compares unsigned bytes
            const int actual = vl::compareFolded(a, b);
            ASSERT_EQ(actual < 0, expected < 0) << a << ' ' << b;
            ASSERT_EQ(actual > 0, expected > 0) << a << ' ' << b;
            ASSERT_TRUE(expected != 0 || vl::hashFolded(a) == vl::hashFolded(b));
        }
    }
}

TEST(SharedStringPool, TextsThatShareOneHashAreKeptApart) {
    // The hash leaves out the bit in which '@' and '`' differ.
    const auto collidingText = [](int number) {
        std::string text(8, '@');
        for (std::size_t bit = 0; bit < text.size(); ++bit)
            text[bit] = number >> bit & 1 ? '@' : '`';
        return text;
    };
    ASSERT_EQ(vl::hashFolded(collidingText(0)), vl::hashFolded(collidingText(77)));
    V_SharedStringPool pool(0);
    for (int lookup = 0; lookup < 512; ++lookup)
        ASSERT_EQ(idOf(pool, collidingText(lookup & 255)), lookup & 255);
}

TEST(SharedStringPool, CopiesKeepIdentifiersAndGoTheirOwnWay) {
    V_SharedStringPool source(2);
    idOf(source, "one");
    V_SharedStringPool copy(source), assigned(0);
    idOf(assigned, "other");
    assigned = source;
    for (V_SharedStringPool *pool : {&copy, &assigned}) {
        EXPECT_EQ(idOf(*pool, "ONE"), 0);
        EXPECT_EQ(idOf(*pool, "two"), 1);
        EXPECT_NE(pool->getStringByID(0), source.getStringByID(0));
    }
    EXPECT_EQ(source.getStringByID(1), nullptr);
}

TEST(SharedStringPool, RefusesTheString32769AndUnknownIdentifiers) {
    V_SharedStringPool pool(0);
    for (int i = 0; i < 32768; ++i)
        ASSERT_EQ(idOf(pool, std::to_string(i)), i);
    EXPECT_EQ(messageOf<V_SharedStringException>([&] { idOf(pool, "one more"); }),
              "The shared string pool is full (32768 strings)");
    EXPECT_STREQ(pool.getStringByID(32767), "32767");
    EXPECT_EQ(pool.getStringByID(-1), nullptr);
    EXPECT_THROW(V_SharedStringPool(-1), std::length_error);
}

TEST(SharedStringPool, EveryFailingAllocationLeavesThePoolAsItWas) {
    const auto textOf = [](int i) {
        return "a text too long to be kept inside its string " + std::to_string(i);
    };
    const int count = 70; // beyond the first sizes of all that grows
    V_SharedStringPool pool(0), other(0);
    const auto expectIntact = [&](const V_SharedStringPool &looked, int known) {
        ASSERT_EQ(looked.getStringByID(static_cast<short>(known)), nullptr);
        for (int i = 0; i < known; ++i)
            ASSERT_EQ(looked.getStringByID(static_cast<short>(i)), textOf(i));
    };
    for (int known = 0; known < count; ++known) {
        const V_String text(textOf(known).c_str());
        EXPECT_GE(failEachAllocation<V_MemoryException_Allocation *>(
                      [&] { ASSERT_EQ(pool.getSharedString(text).getID(), known); },
                      [&] { expectIntact(pool, known); }),
                  1);
    }
    idOf(other, textOf(0));
    EXPECT_GT(failEachAllocation<V_MemoryException_Allocation *>([&] { other = pool; },
                                                                 [&] { expectIntact(other, 1); }),
              count);
    expectIntact(other, count);
    EXPECT_EQ(failEachAllocation<V_MemoryException_Allocation *>([] { V_SharedStringPool(10); }, [] {}), 3);
}

} // namespace
