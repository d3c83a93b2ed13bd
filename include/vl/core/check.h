// Checks: macros that test a condition and, when it does not hold, call the failure function of their name.
//
// A failed check is reported in the verbose log. Then, by V_System::m_bAssertionCreatesException, it either
// throws the debug exception of its kind (true) or runs the registered de-initialisation routines, shows a
// message box and ends the process with exit code -1 (false, the default). With V_System::m_bSuppressErrors
// set, failed checks do nothing.
//
// V_VERIFY and V_ILLEGAL_CALL are always active. All others are active unless NDEBUG is defined; define
// V_CHECKS to 1 or 0 before including the library's headers to decide for yourself. An inactive check
// compiles its argument but does not evaluate it.
#pragma once

#include "vl/core/export.h"

#include <cstddef>
#include <cstdint>

/// The failure functions. `expression` is the text of the tested expression, `file` and `line` its position
/// in the source, `reason` an explanation or null. The report they compose holds at most 2047 characters, the
/// reason included; a longer one is cut. They need the system object (`Sys`); without it, that is before
/// start-up or after shutdown, the log entry and the de-initialisation routines are left out.
/// Each throws the V_DebugException_* class of its kind as described above.
VL_API void V_ASSERT_fails(const char *expression, const char *file, int line, const char *reason);
VL_API void V_VERIFY_fails(const char *expression, const char *file, int line, const char *reason);
VL_API void V_ILLEGAL_CALL_happened(const char *file, int line);
VL_API void V_ASSERT_POINTER_fails(const char *expression, const char *file, int line, const char *reason);
VL_API void V_ASSERT_0_OR_POINTER_fails(const char *expression, const char *file, int line,
                                        const char *reason);
VL_API void V_ASSERT_POINTER_SIZE_fails(const char *expression, const char *file, int line,
                                        const char *reason);
VL_API void V_ASSERT_POINTER_TO_SINGLE_fails(const char *expression, const char *file, int line,
                                             const char *reason);
VL_API void V_ASSERT_POINTER_TO_ARRAY_fails(const char *expression, const char *file, int line,
                                            const char *reason);
VL_API void V_ASSERT_POINTER_TO_REALLOCATION_fails(const char *expression, const char *file, int line,
                                                   const char *reason);
VL_API void V_ASSERT_OBJECT_VALID_fails(const char *file, int line);
VL_API void V_ASSERT_OBJECT_VALID1_fails(const char *expression, const char *file, int line);
VL_API void V_ASSERT_OBJECT_CONSTRUCTED_fails(const char *file, int line);
VL_API void V_ASSERT_OBJECT_DESTRUCTED_fails(const char *file, int line);

/// What a valid pointer is here: not null and, when the type it points to is known, aligned for that.
template <class T, std::size_t alignment = alignof(T)>
bool V_isPointer(const T *pointer) {
    return pointer != nullptr && reinterpret_cast<std::uintptr_t>(pointer) % alignment == 0;
}
inline bool V_isPointer(const void *pointer) { return pointer != nullptr; }
/// Compilers warn of `this` beside null, but not here.
inline bool V_isNull(const volatile void *pointer) { return pointer == nullptr; }

#ifndef V_CHECKS
#ifdef NDEBUG
#define V_CHECKS 0
#else
#define V_CHECKS 1
#endif
#endif

/// Runs `failure` when `condition` does not hold. An inactive check still names what it would look at, so
/// that nothing becomes unused.
#define V_CHECK_ALWAYS(condition, failure) ((condition) ? static_cast<void>(0) : (failure))
#if V_CHECKS
#define V_CHECK(condition, failure) V_CHECK_ALWAYS(condition, failure)
#else
#define V_CHECK(condition, failure) static_cast<void>(false && (condition))
#endif

/// The expression must be true. The second form explains why.
#define V_ASSERT(expression) V_ASSERT_REASON(expression, nullptr)
#define V_ASSERT_REASON(expression, reason)                                                                  \
    V_CHECK(expression, V_ASSERT_fails(#expression, __FILE__, __LINE__, reason))
/// As V_ASSERT, but always evaluated and checked.
#define V_VERIFY(expression) V_VERIFY_REASON(expression, nullptr)
#define V_VERIFY_REASON(expression, reason)                                                                  \
    V_CHECK_ALWAYS(expression, V_VERIFY_fails(#expression, __FILE__, __LINE__, reason))
/// Marks what must never be reached.
#define V_ILLEGAL_CALL() V_ILLEGAL_CALL_happened(__FILE__, __LINE__)
/// The pointer must be valid (V_isPointer); null is allowed in the second.
#define V_ASSERT_POINTER(pointer)                                                                            \
    V_CHECK(V_isPointer(pointer), V_ASSERT_POINTER_fails(#pointer, __FILE__, __LINE__, nullptr))
#define V_ASSERT_0_OR_POINTER(pointer)                                                                       \
    V_CHECK(V_isNull(pointer) || V_isPointer(pointer),                                                       \
            V_ASSERT_0_OR_POINTER_fails(#pointer, __FILE__, __LINE__, nullptr))
/// The pointer must be valid, or `size` (in bytes) 0.
#define V_ASSERT_POINTER_SIZE(pointer, size)                                                                 \
    V_CHECK((size) == 0 || V_isPointer(pointer),                                                             \
            V_ASSERT_POINTER_SIZE_fails(#pointer, __FILE__, __LINE__, nullptr))
/// The pointer must be valid; the name says what it is expected to point to.
#define V_ASSERT_POINTER_TO_SINGLE(pointer)                                                                  \
    V_CHECK(V_isPointer(pointer), V_ASSERT_POINTER_TO_SINGLE_fails(#pointer, __FILE__, __LINE__, nullptr))
#define V_ASSERT_POINTER_TO_ARRAY(pointer)                                                                   \
    V_CHECK(V_isPointer(pointer), V_ASSERT_POINTER_TO_ARRAY_fails(#pointer, __FILE__, __LINE__, nullptr))
#define V_ASSERT_POINTER_TO_REALLOCATION(pointer)                                                            \
    V_CHECK(V_isPointer(pointer),                                                                            \
            V_ASSERT_POINTER_TO_REALLOCATION_fails(#pointer, __FILE__, __LINE__, nullptr))
/// Inside a member function: the object's isValid(), or isConstructed(), must hold; in the last it must not.
#define V_ASSERT_OBJECT_VALID() V_CHECK(this->isValid(), V_ASSERT_OBJECT_VALID_fails(__FILE__, __LINE__))
#define V_ASSERT_OBJECT_CONSTRUCTED()                                                                        \
    V_CHECK(this->isConstructed(), V_ASSERT_OBJECT_CONSTRUCTED_fails(__FILE__, __LINE__))
#define V_ASSERT_OBJECT_DESTRUCTED()                                                                         \
    V_CHECK(!this->isConstructed(), V_ASSERT_OBJECT_DESTRUCTED_fails(__FILE__, __LINE__))
/// Another object's isValid() must hold.
#define V_ASSERT_OBJECT_VALID1(object)                                                                       \
    V_CHECK((object).isValid(), V_ASSERT_OBJECT_VALID1_fails(#object, __FILE__, __LINE__))
