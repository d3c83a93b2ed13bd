// The library's exceptions as the standard's, for programs that catch std::exception and nothing else.
// Opt-in, no other header of the library includes it; all of it is inline.
//
//     V_asStandard([] { File->setFileSystemRoot("/srv/game"); });
//     const unsigned int size = V_asStandard([&] { return File->size(name); });
#pragma once

#include "vl/core/exception.h"

#include <stdexcept>
#include <utility>

/// What V_asStandard throws in place of an exception of the library. what() is its message, copied, so it
/// stays valid as long as this object or a copy of it.
class V_StandardException : public std::runtime_error {
  public:
    /// Copies the message. Throws std::bad_alloc.
    explicit V_StandardException(const V_Exception &exception)
        : std::runtime_error(exception.getErrorMessage()) {}
};

/// Calls `callable()` and returns what it returns, a reference being handed on as one. A pointer to an
/// exception of the library that leaves it becomes a V_StandardException (or std::bad_alloc, when no memory
/// is left for its message); any other exception passes on.
template <class Callable>
decltype(auto) V_asStandard(Callable &&callable) {
    try {
        return std::forward<Callable>(callable)();
    } catch (const V_Exception *exception) {
        throw V_StandardException(*exception);
    }
}
