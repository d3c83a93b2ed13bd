// Paths between the library (`C:\data\a.txt`, UTF-8) and the system (`\\?\C:\data\a.txt`, UTF-16).
#pragma once

#include "platform/platform.h"
#include "platform/windows/system.h"

#include <string_view>

namespace vl::platform {

/// An absolute path in the form that the system reads no more into: no devices under reserved names, no dots
/// and blanks dropped from the end of a name, no end at 260 characters.
struct SystemPath {
    static constexpr DWORD room = maxPath + 16;
    wchar_t text[room];
    /// The path as given ended in a separator, so it can only name a directory.
    bool endsInSeparator;
};

/// Translates a path of the library. False for the empty path, for what would exceed maxPath bytes as an
/// absolute one, and for elements of which namesAFile is false.
bool toSystemPath(SystemPath &out, std::string_view path);

/// Whether an element of a path is the name of a file and of one alone. Not if it holds one of `<>:"|?*` or a
/// control character (a colon leads to an alternate stream), ends in a dot or a blank (which the system drops
/// elsewhere), or is a device's, whatever follows its first dot ("nul", "COM1.txt").
bool namesAFile(std::string_view element);

/// Translates an absolute path of the system, in either of its forms. False when it does not fit.
bool toEnginePath(PathBuffer &out, std::wstring_view path);

/// Where an open file or directory lies, with all links followed. False when that does not fit.
bool realPath(SystemPath &out, HANDLE handle);

} // namespace vl::platform
