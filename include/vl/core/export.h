// What is told to compilers in their own words: what the shared library exports, and printf formats.
#pragma once

/// VL_API stands on every class, function and variable of the public interface. Exception classes carry it so
/// that their type information is shared: what the library throws is caught in the client. VL_LOCAL stands on
/// the members of such a class that only the library itself calls, VL_API_TEMPLATE on a function template
/// whose statics are one for the library and its clients, where the system can do that.
///
/// On Windows a client imports, unless it defines VL_STATIC for the static library. The library itself, which
/// is built with VL_STATIC as well, exports what the linker is told by name (cmake/export_list.cmake), since
/// a class cannot be exported but for some of its members there.
#if !defined(_WIN32)
#define VL_API __attribute__((visibility("default")))
#define VL_API_TEMPLATE VL_API
#define VL_LOCAL __attribute__((visibility("hidden")))
#else
#if defined(VL_STATIC)
#define VL_API
#else
#define VL_API __declspec(dllimport)
#endif
#define VL_API_TEMPLATE
#define VL_LOCAL
#endif

/// Lets the compiler check the arguments of a function that takes a printf format. Positions count from 1,
/// and a member function's `this` counts as the first.
#if defined(__MINGW32__)
#define VL_PRINTF(formatPosition, firstArgument)                                                             \
    __attribute__((format(gnu_printf, formatPosition, firstArgument)))
#elif defined(__GNUC__)
#define VL_PRINTF(formatPosition, firstArgument)                                                             \
    __attribute__((format(printf, formatPosition, firstArgument)))
#else
#define VL_PRINTF(formatPosition, firstArgument)
#endif
