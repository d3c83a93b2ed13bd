// Failed checks: report, log, exception or end of the process.

#include "tests/support/failing_allocation.h"
#include "tests/support/library_test.h"

#include "platform/message_box.h"

#include <gmock/gmock.h>

#include <cstdio>

namespace {

std::string logged;

class Check : public LibraryTest {
  protected:
    Check() { V_System::m_bAssertionCreatesException = true; }
    ~Check() override {
        V_System::m_bAssertionCreatesException = false;
        V_System::m_bSuppressErrors = false;
    }
};

const std::string line(78, '-');

TEST_F(Check, EveryFailureReportsUnderItsOwnNameAndClass) {
    const auto expect = [](const std::string &message, const std::string &start, const char *name,
                           const char *expression) {
        EXPECT_EQ(message, start + ":\n\n" + name + "( " + expression + " )\nFile: f\nLine: 3");
    };
#define EXPECT_REPORT(Leaf, start, name, expression, ...)                                                    \
    expect(messageOf<V_DebugException_##Leaf>([] { name##__VA_ARGS__; }), start, #name, expression)
#define EXPECT_FAILURE(Leaf, start, name) EXPECT_REPORT(Leaf, start, name, "a", _fails("a", "f", 3, nullptr))
    EXPECT_FAILURE(Assert, "Assertion failed", V_ASSERT);
    EXPECT_FAILURE(Verify, "Verification failed", V_VERIFY);
    EXPECT_REPORT(IllegalFunctionCall, "Illegal function call", V_ILLEGAL_CALL, "", _happened("f", 3));
    EXPECT_FAILURE(AssertPointer, "Pointer assertion failed", V_ASSERT_POINTER);
    EXPECT_FAILURE(Assert0OrPointer, "Pointer assertion failed", V_ASSERT_0_OR_POINTER);
    EXPECT_FAILURE(AssertPointerSize, "Pointer size assertion failed", V_ASSERT_POINTER_SIZE);
    EXPECT_FAILURE(AssertPointerToSingle, "Pointer to single object assertion failed",
                   V_ASSERT_POINTER_TO_SINGLE);
    EXPECT_FAILURE(AssertPointerToArray, "Pointer to array assertion failed", V_ASSERT_POINTER_TO_ARRAY);
    EXPECT_FAILURE(AssertPointerToReallocation, "Pointer to reallocation assertion failed",
                   V_ASSERT_POINTER_TO_REALLOCATION);
    EXPECT_REPORT(AssertObjectValid, "Object invalid", V_ASSERT_OBJECT_VALID, "", _fails("f", 3));
    EXPECT_REPORT(AssertObjectValid1, "Object invalid", V_ASSERT_OBJECT_VALID1, "a", _fails("a", "f", 3));
    EXPECT_REPORT(AssertObjectConstructed, "Object assumed constructed", V_ASSERT_OBJECT_CONSTRUCTED, "",
                  _fails("f", 3));
    EXPECT_REPORT(AssertObjectDestructed, "Object assumed destructed", V_ASSERT_OBJECT_DESTRUCTED, "",
                  _fails("f", 3));
    EXPECT_THROW(V_ASSERT_fails("a", "f", 3, nullptr), V_DebugException *);
}

TEST_F(Check, ReasonsPercentSignsAndLongTextsStandAsGiven) {
    EXPECT_EQ(messageOf<V_DebugException_Verify>([] { V_VERIFY_fails("100 %s %n", "f", 3, "5 %d"); }),
              "Verification failed:\n\nV_VERIFY( 100 %s %n )\nFile: f\nLine: 3\n\nReason: 5 %d");
    const std::string text(3000, 'x');
    EXPECT_EQ(messageOf<V_DebugException_Verify>([&] { V_VERIFY_fails(text.c_str(), "f", 3, nullptr); }),
              "Verification failed:\n\nV_VERIFY( " + std::string(2037, 'x'));
}

TEST_F(Check, MacrosReportTheirPlace) {
    const std::string place = std::string(__FILE__) + "\nLine: " + std::to_string(__LINE__ + 1);
    EXPECT_EQ(messageOf<V_DebugException_Verify>([] { V_VERIFY(1 + 1 == 3); }),
              "Verification failed:\n\nV_VERIFY( 1 + 1 == 3 )\nFile: " + place);
    EXPECT_TRUE(V_isPointer(reinterpret_cast<struct DeclaredOnly *>(1)));
}

TEST_F(Check, SuppressedFailuresPassSilently) {
    V_System::m_bSuppressErrors = true;
    V_System::m_bAssertionCreatesException = false; // would end the process
    EXPECT_NO_THROW(V_ASSERT_fails("a", "f", 3, nullptr));
    EXPECT_NO_THROW(V_ILLEGAL_CALL());
}

class CheckLog : public ::testing::Test {
  protected:
    CheckLog() {
        std::filesystem::current_path(m_directory.path()); // where the log goes
        logged.clear();
        Sys->setVerboseCallback([](const char *text) { logged += text; });
        Sys->verbose("start");
        logged.clear();
    }
    ~CheckLog() override {
        V_System::m_bAssertionCreatesException = false;
        Sys->setVerboseCallback(nullptr);
        Sys->ceaseVerbose(1);
        std::filesystem::current_path(std::filesystem::temp_directory_path());
    }
    V_VantorInit m_library;
    TemporaryDirectory m_directory;
};

TEST_F(CheckLog, TheReportIsLoggedWholeWithoutMemory) {
    Sys->setAssertionCreatesException(true);
    Sys->setVerboseCallback(nullptr);
    {
        const FailingAllocation fault(0);
        EXPECT_THROW(V_ASSERT_fails("a", "f", 3, "r"), V_DebugException_Assert *);
        EXPECT_FALSE(FailingAllocation::happened());
    }
    Sys->setVerboseCallback([](const char *text) { logged += text; });
    EXPECT_THROW(V_ASSERT_fails("50 % a", "f", 3, "r"), V_DebugException_Assert *);
    EXPECT_EQ(logged,
              "\n\n" + line + "\nV_ASSERT( 50 % a )\nFile: f\nLine: 3\n\nReason: r\n" + line + "\n\n");
    logged.clear();
    const std::string text(1500, 'x');
    EXPECT_THROW(V_ASSERT_fails(text.c_str(), "f", 3, nullptr), V_DebugException_Assert *);
    EXPECT_EQ(logged, "\n\n" + line + "\nV_ASSERT( " + text + " )\nFile: f\nLine: 3\n" + line + "\n\n");
}

void cleanUp() {
    V_ASSERT_fails("within", "clean-up", 1, nullptr); // must stay silent
    std::fputs("cleaned up\n", stderr);
}

TEST_F(CheckLog, WithoutExceptionsTheProcessCleansUpAndEnds) {
    Sys->add(cleanUp, nullptr);
    vl::platform::tellOnStandardError();
    const auto endedAsFailed = [](int status) { return (status >> 8 & 255) == 255; };
    EXPECT_EXIT(V_ASSERT_POINTER_fails("p", "f", 3, nullptr), endedAsFailed,
                testing::AllOf(testing::StartsWith("cleaned up"), testing::HasSubstr("Pointer"),
                               testing::HasSubstr("V_ASSERT_POINTER( p )")));
    Sys->remove(cleanUp);
}

} // namespace
