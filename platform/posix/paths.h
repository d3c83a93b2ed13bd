// Translation between the engine's paths (`C:\data\a.txt`) and the system's (`/data/a.txt`).
#pragma once

#include "platform/platform.h"

#include <string_view>

namespace vl::platform {

/// A path as the system takes it: "/", "/a/b", ".", "a/b" or "../a", without empty elements, "." (except
/// alone) and ".." (except in front of a relative path).
struct SystemPath {
    PathBuffer text;
    unsigned int length;
    /// Where the elements start, behind the leading slash or the leading "../"; there are none when it is not
    /// less than the length.
    unsigned int root;
    bool absolute;
    /// The path as given ended in a separator, so it can only name a directory.
    bool endsInSeparator;
};

/// Translates an engine path. False for the empty path, another drive than C:, a network path and what would
/// exceed maxPath characters as an engine path.
bool toSystemPath(SystemPath &out, std::string_view path);

/// Translates an absolute path of the system. False when it does not fit or holds a backslash, which no
/// engine path can name.
bool toEnginePath(PathBuffer &out, std::string_view path);

} // namespace vl::platform
