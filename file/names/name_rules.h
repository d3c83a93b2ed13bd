// How a client's name becomes a path: the archive mode, the local root, the current directory and the limit
// on the length of file names, and what follows from them. Nothing here asks the disk.
#pragma once

#include "file/names/path.h"
#include "vl/file.h"

#include <cstddef>
#include <string_view>

namespace vl {

struct NameRules {
    int mode = V_File::AH_DIRECTORIES; ///< a V_File::ArchiveHandling
    bool lengthLimited = false;        ///< see V_File::enableFilenameLengthLimitation
    bool wholeElements = false;        ///< see V_File::setWholeElements
    Path root;                         ///< the local root, an operating-system path
    Path current;                      ///< the current directory, ending with a backslash

    /// Whether names are virtual paths, shown by the local root and the archives alike.
    bool areVirtual() const { return mode == V_File::AH_ARCHIVES; }

    /// Resolves a name. `kept`, where given, tells how many characters at the start are the current
    /// directory's. Throws V_FileException_PathTooLong and V_FileException_FilenameTooLong.
    Path resolve(const char *name, std::size_t *kept = nullptr) const;
    /// The same of a virtual path from the root, whatever the mode, the current directory and the limit are.
    Path resolveVirtual(const char *name) const;

    /// Where the local root holds what a resolved path names. False, and an empty path, when that does not
    /// fit: then it is not on disk.
    bool toDiskPath(Path &out, std::string_view resolved) const;

    /// Sets the mode, and the current directory to where it begins in that mode.
    void setMode(int newMode);
    /// Sets the current directory to where it begins in this mode.
    void resetCurrent() { setMode(mode); }
};

/// Where a directory on disk holds the rest of a path, which is empty or begins with a backslash. False, and
/// an empty path, when that does not fit.
bool joinDiskPath(Path &out, const Path &directory, std::string_view rest);

/// Whether two dots stand in a name beside other characters, which they take away with the element before
/// them unless elements are whole.
bool hasInnerDots(std::string_view name);

/// Makes an operating-system path absolute: what it does not say itself, a drive or a directory, it takes
/// from `root`, which is absolute; never from the process. False, and an empty path, when that does not fit.
bool makeAbsolute(Path &out, std::string_view path, const Path &root);

/// Whether a name of an archive's tables can be told by a path. A client that walks a tree must not meet ".."
/// or what resolves to something else: two dots anywhere, a slash, and a dot at the end of a directory's
/// name; where elements are whole, only "." and ".." themselves and a slash.
bool isNameable(std::string_view name, bool isDirectory, bool wholeElements = false);

/// The same of a whole path of an archive: `\data\a.txt`, or `\data\` of a directory.
bool isNameablePath(std::string_view path);

} // namespace vl
