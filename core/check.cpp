// Failed checks: the report that all of them share, and what the policy flags make of it.

#include "vl/core/check.h"

#include "core/log_lines.h"
#include "platform/platform.h"
#include "vl/core/exception.h"
#include "vl/core/system.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace vl {

/// Composes the report of one failed check, logs it, and ends the process or throws.
class CheckFailure {
  public:
    CheckFailure(const char *name, const char *expression, const char *file, int line, const char *reason) {
        const int length = std::snprintf(m_strReport, sizeof m_strReport, "%s( %s )\nFile: %s\nLine: %d",
                                         name, expression, file, line);
        if (reason && length >= 0 && length < static_cast<int>(sizeof m_strReport))
            std::snprintf(m_strReport + length, sizeof m_strReport - static_cast<std::size_t>(length),
                          "\n\nReason: %s", reason);
    }

    /// What every failure function does, with the title of its message box and its exception class.
    template <class Leaf>
    void report(const char *title) {
        try {
            reportOrEnd(title);
        } catch (V_DebugException_MacroFailed *failure) {
            V_throw(Leaf(failure->getErrorMessage()));
        }
    }

  private:
    [[noreturn]] void reportOrEnd(const char *title) {
        if (Sys) {
            Sys->verbose("\n\n%s\n", singleLine);
            // In pieces, as one text of the log holds no more.
            constexpr std::size_t piece = 1023;
            for (std::size_t at = 0; at == 0 || at < std::strlen(m_strReport); at += piece)
                Sys->verbose("%.*s", static_cast<int>(piece), m_strReport + at);
            Sys->verbose("\n%s\n\n", singleLine);
        }
        if (V_System::m_bAssertionCreatesException)
            V_throw(V_DebugException_MacroFailed(m_strReport));

        // Checks that fail while the routines clean up stay silent.
        V_System::m_bSuppressErrors = true;
        if (Sys)
            Sys->deinits();
        platform::messageBox(title, m_strReport);
        std::exit(-1);
    }

    char m_strReport[2048];
};

namespace {

template <class Leaf>
void fail(const char *name, const char *title, const char *expression, const char *file, int line,
          const char *reason) {
    if (!V_System::m_bSuppressErrors)
        CheckFailure(name, expression, file, line, reason).report<Leaf>(title);
}

} // namespace
} // namespace vl

void V_ASSERT_fails(const char *expression, const char *file, int line, const char *reason) {
    vl::fail<V_DebugException_Assert>("V_ASSERT", "Assertion failed", expression, file, line, reason);
}

void V_VERIFY_fails(const char *expression, const char *file, int line, const char *reason) {
    vl::fail<V_DebugException_Verify>("V_VERIFY", "Verification failed", expression, file, line, reason);
}

void V_ILLEGAL_CALL_happened(const char *file, int line) {
    vl::fail<V_DebugException_IllegalFunctionCall>("V_ILLEGAL_CALL", "Illegal function call", "", file, line,
                                                   nullptr);
}

void V_ASSERT_POINTER_fails(const char *expression, const char *file, int line, const char *reason) {
    vl::fail<V_DebugException_AssertPointer>("V_ASSERT_POINTER", "Pointer invalid", expression, file, line,
                                             reason);
}

void V_ASSERT_0_OR_POINTER_fails(const char *expression, const char *file, int line, const char *reason) {
    vl::fail<V_DebugException_Assert0OrPointer>("V_ASSERT_0_OR_POINTER", "Pointer invalid", expression, file,
                                                line, reason);
}

void V_ASSERT_POINTER_SIZE_fails(const char *expression, const char *file, int line, const char *reason) {
    vl::fail<V_DebugException_AssertPointerSize>("V_ASSERT_POINTER_SIZE", "Pointer size invalid", expression,
                                                 file, line, reason);
}

void V_ASSERT_POINTER_TO_SINGLE_fails(const char *expression, const char *file, int line,
                                      const char *reason) {
    vl::fail<V_DebugException_AssertPointerToSingle>("V_ASSERT_POINTER_TO_SINGLE",
                                                     "Pointer doesn't point to an single object", expression,
                                                     file, line, reason);
}

void V_ASSERT_POINTER_TO_ARRAY_fails(const char *expression, const char *file, int line, const char *reason) {
    vl::fail<V_DebugException_AssertPointerToArray>(
        "V_ASSERT_POINTER_TO_ARRAY", "Pointer doesn't point to an array", expression, file, line, reason);
}

void V_ASSERT_POINTER_TO_REALLOCATION_fails(const char *expression, const char *file, int line,
                                            const char *reason) {
    vl::fail<V_DebugException_AssertPointerToReallocation>("V_ASSERT_POINTER_TO_REALLOCATION",
                                                           "Pointer doesn't point to an reallocation",
                                                           expression, file, line, reason);
}

void V_ASSERT_OBJECT_VALID_fails(const char *file, int line) {
    vl::fail<V_DebugException_AssertObjectValid>("V_ASSERT_OBJECT_VALID", "Object invalid", "", file, line,
                                                 nullptr);
}

void V_ASSERT_OBJECT_VALID1_fails(const char *expression, const char *file, int line) {
    vl::fail<V_DebugException_AssertObjectValid1>("V_ASSERT_OBJECT_VALID1", "Object invalid", expression,
                                                  file, line, nullptr);
}

void V_ASSERT_OBJECT_CONSTRUCTED_fails(const char *file, int line) {
    vl::fail<V_DebugException_AssertObjectConstructed>("V_ASSERT_OBJECT_CONSTRUCTED",
                                                       "Object assumed constructed", "", file, line, nullptr);
}

void V_ASSERT_OBJECT_DESTRUCTED_fails(const char *file, int line) {
    vl::fail<V_DebugException_AssertObjectDestructed>("V_ASSERT_OBJECT_DESTRUCTED",
                                                      "Object assumed destructed", "", file, line, nullptr);
}
