// The directory tree that becomes an archive: what of it is taken, and whether the format can hold it.
#pragma once

#include "vl/file.h"

#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

/// What files that match a pattern become. A pattern with a slash is matched against the path below the tree
/// ("maps/*.map", where * matches slashes too), one without against the name alone; the case of A-Z does not
/// count.
struct MethodRule {
    std::string pattern;
    V_File::Method method;
};

/// One file to be packed.
struct InputFile {
    std::filesystem::path path;
    std::string name;
    std::uint32_t dirIndex;
    std::uint32_t size;
    V_File::Method method;
    V_File::CalendarTime time;
};

/// The tree in the order of the archive's tables: directories by path, files by directory and name.
struct InputTree {
    std::vector<std::string> directories; ///< "\", "\data\", ...
    std::vector<InputFile> files;

    /// "data/maps/a.map", for messages.
    std::string describe(const InputFile &file) const;
};

/// Lists `root`. Links to files are followed; links to directories and special files are left out, each with
/// a warning on standard error. `exclude` holds patterns of files and directories to leave out without a
/// word, `output` is left out as well. Throws std::runtime_error, naming the file, for what the format cannot
/// hold: names that differ only in case, paths beyond 254 characters, names with a backslash, more than 99999
/// directories, files of 4 GiB.
InputTree listInput(const std::filesystem::path &root, const std::vector<std::string> &exclude,
                    V_File::Method defaultMethod, const std::vector<MethodRule> &rules,
                    const std::filesystem::path &output);

/// Whether a path below a tree, with slashes, matches a pattern as MethodRule tells.
bool matchesPath(const std::string &pattern, const std::string &path);
