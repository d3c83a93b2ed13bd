// Case-blind resolution of a path on a system whose names are exact.
//
// The exact spelling of an element wins. Where a directory holds no such name, the first in sorted order of
// the names that are equal but for the case of A-Z is meant. An element once chosen stands: when what lies
// below it does not hold the rest of the path, no other spelling of the element is tried.
#pragma once

#include "platform/posix/paths.h"

#include <cerrno>

namespace vl::platform {

enum class Spelling {
    Found,      ///< The path names something (or, from withSpelling, the operation succeeded).
    Missing,    ///< Its directory exists, and holds the last element in no spelling.
    Unreachable ///< There is no such directory, or the operation failed for another reason than a name.
};

/// What the listings that are kept tell of a path, without asking the system: a guess, which findSpelling
/// confirms or corrects.
struct Doubt {
    /// Where the element starts that its directory does not hold as spelled; the length of the path when
    /// there is no such element.
    unsigned int element;
    /// The current directory's listing holds the element in no spelling.
    bool missingInHeld;
};
Doubt doubtOf(SystemPath &path);

/// Rewrites `path` to the spelling under which it is found; when only the last element is missing, to that of
/// its directory. `doubt` is what doubtOf told.
Spelling findSpelling(SystemPath &path, Doubt doubt);

inline Spelling findSpelling(SystemPath &path) { return findSpelling(path, doubtOf(path)); }

/// Runs `operation(const char *)`, which returns whether it succeeded and sets errno when not, on the exact
/// spelling of `path` and, when there is no such name, on the spelling that is found.
template <class Operation>
Spelling withSpelling(SystemPath &path, Operation operation) {
    const Doubt doubt = doubtOf(path);
    if (doubt.element == path.length) {
        if (operation(path.text))
            return Spelling::Found;
        if (errno != ENOENT && errno != ENOTDIR)
            return Spelling::Unreachable;
    }
    const Spelling spelling = findSpelling(path, doubt);
    if (spelling == Spelling::Found && !operation(path.text))
        return Spelling::Unreachable;
    return spelling;
}

} // namespace vl::platform
