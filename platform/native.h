// Names for the standard library's own files and paths, which take the system's encoding, where the library's
// texts are UTF-8. For what is opened by the standard library's means: the log, and what the tool works on.
#pragma once

#include "platform/platform.h"

#include <filesystem>
#include <fstream>
#include <string>
#include <string_view>

namespace vl::platform {

/// A path as the standard library takes it. Throws std::bad_alloc.
std::filesystem::path nativePath(std::string_view text);

/// The text of a path, in the system's own form. Throws std::bad_alloc.
std::string textOf(const std::filesystem::path &path);

/// Opens a file by a name in the system's own form, as `stream.open` does. Takes no memory for the name.
void openStream(std::ofstream &stream, const char *name, std::ios::openmode mode);

/// When a file was last written, to the millisecond, which std::filesystem does not know everywhere. False
/// when that cannot be told, or has no calendar form.
bool lastWrite(const std::filesystem::path &path, CalendarTime &time);
bool setLastWrite(const std::filesystem::path &path, const CalendarTime &time);

/// Whether the system can have a file of this name in a directory.
bool canNameFile(std::string_view name);

} // namespace vl::platform
