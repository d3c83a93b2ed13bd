// Marks what the shared library exports.
#pragma once

/// On every class, function and variable of the public interface. Exception classes carry it so that their
/// type information is shared: what the library throws is caught in the client.
#define VL_API __attribute__((visibility("default")))

/// On the members of such a class that only the library itself calls.
#define VL_LOCAL __attribute__((visibility("hidden")))

/// Lets the compiler check the arguments of a function that takes a printf format. Positions count from 1,
/// and a member function's `this` counts as the first.
#define VL_PRINTF(formatPosition, firstArgument)                                                             \
    __attribute__((format(printf, formatPosition, firstArgument)))
