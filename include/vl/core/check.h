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
#include <type_traits>

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
template <class T, std::enable_if_t<std::is_object_v<T>, std::size_t> alignment = alignof(T)>
bool V_isPointer(const volatile T *pointer) {
    return pointer != nullptr && reinterpret_cast<std::uintptr_t>(pointer) % alignment == 0;
}
inline bool V_isPointer(const volatile void *pointer) { return pointer != nullptr; }
template <class T, std::enable_if_t<std::is_function_v<T>, int> = 0>
bool V_isPointer(T *function) {
    return function != nullptr;
}
inline bool V_isPointer(std::nullptr_t) { return false; }

/// The same, or null.
template <class T>
bool V_isNullOrPointer(T *pointer) {
    return pointer == nullptr || V_isPointer(pointer);
}
inline bool V_isNullOrPointer(std::nullptr_t) { return true; }

/// The same, or there is nothing to point to.
template <class T, class Size>
bool V_isPointerToSize(T pointer, Size size) {
    return size == 0 || V_isPointer(pointer);
}

#ifndef V_CHECKS
#ifdef NDEBUG
#define V_CHECKS 0
#else
#define V_CHECKS 1
#endif
#endif

/// Runs `failure` when the condition, which may hold commas, does not hold; it is evaluated once. An inactive
/// check still names what it would look at, so that nothing becomes unused.
#define V_CHECK_ALWAYS(failure, ...) ((__VA_ARGS__) ? static_cast<void>(0) : (failure))
#if V_CHECKS
#define V_CHECK(failure, ...) V_CHECK_ALWAYS(failure, __VA_ARGS__)
#else
#define V_CHECK(failure, ...) static_cast<void>(false && (__VA_ARGS__))
#endif

/// The expression must be true. What is reported is its text as it is written. The forms that end in REASON
/// explain why, here and below.
#define V_ASSERT(...) V_CHECK(V_ASSERT_fails(#__VA_ARGS__, __FILE__, __LINE__, nullptr), __VA_ARGS__)
#define V_ASSERT_REASON(expression, reason)                                                                  \
    V_CHECK(V_ASSERT_fails(#expression, __FILE__, __LINE__, reason), expression)
/// As V_ASSERT, but always evaluated and checked.
#define V_VERIFY(...) V_CHECK_ALWAYS(V_VERIFY_fails(#__VA_ARGS__, __FILE__, __LINE__, nullptr), __VA_ARGS__)
#define V_VERIFY_REASON(expression, reason)                                                                  \
    V_CHECK_ALWAYS(V_VERIFY_fails(#expression, __FILE__, __LINE__, reason), expression)
/// Marks what must never be reached.
#define V_ILLEGAL_CALL() V_ILLEGAL_CALL_happened(__FILE__, __LINE__)
/// The pointer must be valid (V_isPointer); null is allowed in the second.
#define V_ASSERT_POINTER(...)                                                                                \
    V_CHECK(V_ASSERT_POINTER_fails(#__VA_ARGS__, __FILE__, __LINE__, nullptr), V_isPointer(__VA_ARGS__))
#define V_ASSERT_POINTER_REASON(pointer, reason)                                                             \
    V_CHECK(V_ASSERT_POINTER_fails(#pointer, __FILE__, __LINE__, reason), V_isPointer(pointer))
#define V_ASSERT_0_OR_POINTER(...)                                                                           \
    V_CHECK(V_ASSERT_0_OR_POINTER_fails(#__VA_ARGS__, __FILE__, __LINE__, nullptr),                          \
            V_isNullOrPointer(__VA_ARGS__))
#define V_ASSERT_0_OR_POINTER_REASON(pointer, reason)                                                        \
    V_CHECK(V_ASSERT_0_OR_POINTER_fails(#pointer, __FILE__, __LINE__, reason), V_isNullOrPointer(pointer))
/// The pointer must be valid, or `size` (in bytes) 0.
#define V_ASSERT_POINTER_SIZE(pointer, size)                                                                 \
    V_CHECK(V_ASSERT_POINTER_SIZE_fails(#pointer, __FILE__, __LINE__, nullptr),                              \
            V_isPointerToSize(pointer, size))
#define V_ASSERT_POINTER_SIZE_REASON(pointer, size, reason)                                                  \
    V_CHECK(V_ASSERT_POINTER_SIZE_fails(#pointer, __FILE__, __LINE__, reason),                               \
            V_isPointerToSize(pointer, size))
/// The pointer must be valid; the name says what it is expected to point to.
#define V_ASSERT_POINTER_TO_SINGLE(...)                                                                      \
    V_CHECK(V_ASSERT_POINTER_TO_SINGLE_fails(#__VA_ARGS__, __FILE__, __LINE__, nullptr),                     \
            V_isPointer(__VA_ARGS__))
#define V_ASSERT_POINTER_TO_SINGLE_REASON(pointer, reason)                                                   \
    V_CHECK(V_ASSERT_POINTER_TO_SINGLE_fails(#pointer, __FILE__, __LINE__, reason), V_isPointer(pointer))
#define V_ASSERT_POINTER_TO_ARRAY(...)                                                                       \
    V_CHECK(V_ASSERT_POINTER_TO_ARRAY_fails(#__VA_ARGS__, __FILE__, __LINE__, nullptr),                      \
            V_isPointer(__VA_ARGS__))
#define V_ASSERT_POINTER_TO_ARRAY_REASON(pointer, reason)                                                    \
    V_CHECK(V_ASSERT_POINTER_TO_ARRAY_fails(#pointer, __FILE__, __LINE__, reason), V_isPointer(pointer))
#define V_ASSERT_POINTER_TO_REALLOCATION(...)                                                                \
    V_CHECK(V_ASSERT_POINTER_TO_REALLOCATION_fails(#__VA_ARGS__, __FILE__, __LINE__, nullptr),               \
            V_isPointer(__VA_ARGS__))
#define V_ASSERT_POINTER_TO_REALLOCATION_REASON(pointer, reason)                                             \
    V_CHECK(V_ASSERT_POINTER_TO_REALLOCATION_fails(#pointer, __FILE__, __LINE__, reason),                    \
            V_isPointer(pointer))
/// Inside a member function: the object's isValid(), or isConstructed(), must hold; in the last it must not.
#define V_ASSERT_OBJECT_VALID() V_CHECK(V_ASSERT_OBJECT_VALID_fails(__FILE__, __LINE__), this->isValid())
#define V_ASSERT_OBJECT_CONSTRUCTED()                                                                        \
    V_CHECK(V_ASSERT_OBJECT_CONSTRUCTED_fails(__FILE__, __LINE__), this->isConstructed())
#define V_ASSERT_OBJECT_DESTRUCTED()                                                                         \
    V_CHECK(V_ASSERT_OBJECT_DESTRUCTED_fails(__FILE__, __LINE__), !this->isConstructed())
/// Another object's isValid() must hold.
#define V_ASSERT_OBJECT_VALID1(...)                                                                          \
    V_CHECK(V_ASSERT_OBJECT_VALID1_fails(#__VA_ARGS__, __FILE__, __LINE__), (__VA_ARGS__).isValid())
