// Writing VAS archives.
#pragma once

#include "input_tree.h"

#include <cstdint>
#include <filesystem>

struct ArchiveSettings {
    std::uint32_t seed = 1;       ///< of the scrambling; the entries' own seeds follow from it
    std::uint32_t archiverID = 0; ///< of the program that the archive is for
};

/// What was written, in bytes.
struct ArchiveSummary {
    std::uint64_t unpacked = 0;
    std::uint64_t archive = 0;
};

/// Writes the archive of a listed tree. Equal input gives equal bytes. The archive is written under another
/// name beside `output` and takes its place only when it is whole: a failure or an interrupt leaves no half
/// archive and an older archive untouched. Throws std::runtime_error or std::filesystem::filesystem_error,
/// naming the file, also when something else than a file stands at `output`.
ArchiveSummary writeArchive(const InputTree &tree, const ArchiveSettings &settings,
                            const std::filesystem::path &output);
