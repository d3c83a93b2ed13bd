// The checking macros, active in this file whatever the build: each lets pass what it should, fails on what
// it should, under its own name, with its expression as written.

#define V_CHECKS 1
#include "tests/support/library_test.h"

#include "vl/core/check.h"

namespace {

class CheckMacros : public LibraryTest {
  protected:
    CheckMacros() { V_System::m_bAssertionCreatesException = true; }
    ~CheckMacros() override { V_System::m_bAssertionCreatesException = false; }

    /// The first line of the report, and its reason.
    template <class Action>
    static std::string reportOf(Action action) {
        const std::string message = messageOf<V_DebugException>(action);
        const std::size_t start = message.find(":\n\n"), end = message.find("\nFile: "),
                          reason = message.find("\n\nReason: ");
        if (start == std::string::npos)
            return message;
        return message.substr(start + 3, end - start - 3) +
               (reason == std::string::npos ? "" : message.substr(reason + 9));
    }
};

#define REPORT(...) reportOf([&] { __VA_ARGS__; })

TEST_F(CheckMacros, OfConditions) {
    int evaluated = 0;
    const char *p = nullptr;
    EXPECT_EQ(REPORT(V_ASSERT(p != NULL)), "V_ASSERT( p != NULL )");
    EXPECT_EQ(REPORT(V_ASSERT(p == NULL)), "(nothing thrown)");
    EXPECT_EQ(REPORT(V_ASSERT(std::is_same_v<int, char>)), "V_ASSERT( std::is_same_v<int, char> )");
    EXPECT_EQ(REPORT(V_ASSERT(++evaluated == 1)), "(nothing thrown)");
    EXPECT_EQ(REPORT(V_ASSERT_REASON(++evaluated == 1, "why")), "V_ASSERT( ++evaluated == 1 ) why");
    EXPECT_EQ(REPORT(V_VERIFY(p != NULL)), "V_VERIFY( p != NULL )");
    EXPECT_EQ(REPORT(V_VERIFY_REASON(p != NULL, "why")), "V_VERIFY( p != NULL ) why");
    EXPECT_EQ(evaluated, 2);
    EXPECT_EQ(REPORT(V_ILLEGAL_CALL()), "V_ILLEGAL_CALL(  )");
}

TEST_F(CheckMacros, OfPointers) {
    int number = 0, evaluated = 0;
    int *const good = &number, *const none = nullptr;
    auto *const odd = reinterpret_cast<int *>(reinterpret_cast<char *>(good) + 1);
    volatile void *const anything = good;
    using Function = void (*)();
    const Function function = [] {}, noFunction = nullptr;
    const auto next = [&] { return ++evaluated == 1 ? good : none; };

#define EXPECT_POINTER_CHECK(macro)                                                                          \
    EXPECT_EQ(REPORT(macro(good)), "(nothing thrown)");                                                      \
    EXPECT_EQ(REPORT(macro(odd)), #macro "( odd )");                                                         \
    EXPECT_EQ(REPORT(macro(anything)), "(nothing thrown)");                                                  \
    EXPECT_EQ(REPORT(macro(function)), "(nothing thrown)");                                                  \
    EXPECT_EQ(REPORT(macro##_REASON(odd, "why")), #macro "( odd ) why")
    EXPECT_POINTER_CHECK(V_ASSERT_POINTER);
    EXPECT_POINTER_CHECK(V_ASSERT_0_OR_POINTER);
    EXPECT_POINTER_CHECK(V_ASSERT_POINTER_TO_SINGLE);
    EXPECT_POINTER_CHECK(V_ASSERT_POINTER_TO_ARRAY);
    EXPECT_POINTER_CHECK(V_ASSERT_POINTER_TO_REALLOCATION);

    EXPECT_EQ(REPORT(V_ASSERT_POINTER(none)), "V_ASSERT_POINTER( none )");
    EXPECT_EQ(REPORT(V_ASSERT_POINTER(noFunction)), "V_ASSERT_POINTER( noFunction )");
    EXPECT_EQ(REPORT(V_ASSERT_0_OR_POINTER(none)), "(nothing thrown)");
    EXPECT_EQ(REPORT(V_ASSERT_0_OR_POINTER(next())), "(nothing thrown)");
    EXPECT_EQ(evaluated, 1);
    EXPECT_EQ(REPORT(V_ASSERT_POINTER_SIZE(none, 0)), "(nothing thrown)");
    EXPECT_EQ(REPORT(V_ASSERT_POINTER_SIZE(good, 1)), "(nothing thrown)");
    EXPECT_EQ(REPORT(V_ASSERT_POINTER_SIZE(none, 1)), "V_ASSERT_POINTER_SIZE( none )");
    EXPECT_EQ(REPORT(V_ASSERT_POINTER_SIZE_REASON(none, 1, "why")), "V_ASSERT_POINTER_SIZE( none ) why");
}

struct Object {
    bool valid, constructed;
    bool isValid() const { return valid; }
    bool isConstructed() const { return constructed; }
    void expectValid() const { V_ASSERT_OBJECT_VALID(); }
    void expectConstructed() const { V_ASSERT_OBJECT_CONSTRUCTED(); }
    void expectDestructed() const { V_ASSERT_OBJECT_DESTRUCTED(); }
};

TEST_F(CheckMacros, OfObjects) {
    const Object good = {true, true}, bad = {false, false};
    EXPECT_EQ(REPORT(good.expectValid()), "(nothing thrown)");
    EXPECT_EQ(REPORT(bad.expectValid()), "V_ASSERT_OBJECT_VALID(  )");
    EXPECT_EQ(REPORT(good.expectConstructed()), "(nothing thrown)");
    EXPECT_EQ(REPORT(bad.expectConstructed()), "V_ASSERT_OBJECT_CONSTRUCTED(  )");
    EXPECT_EQ(REPORT(bad.expectDestructed()), "(nothing thrown)");
    EXPECT_EQ(REPORT(good.expectDestructed()), "V_ASSERT_OBJECT_DESTRUCTED(  )");
    EXPECT_EQ(REPORT(V_ASSERT_OBJECT_VALID1(good)), "(nothing thrown)");
    EXPECT_EQ(REPORT(V_ASSERT_OBJECT_VALID1(bad)), "V_ASSERT_OBJECT_VALID1( bad )");
}

} // namespace
