// What finds an entry in an archive's sorted tables: a hash table beside each of them, or, where an archive
// has none, binary search.
//
// Binary search in a table of 90,000 files takes 17 steps, most of them a cache miss or two; the hash tables
// take one slot and one comparison. They are two arrays of slots in one block, first that of the files, then
// that of the directories, each with a power of two of at least twice as many slots as entries and linear
// probing. A slot is 0 when free; otherwise its low bits, as many as number the slots, hold the entry's
// position in the sorted table plus 1, and the bits above those are the hash's.
#pragma once

#include "vl/file.h"

#include <cstddef>
#include <cstdint>

namespace vl {

/// A hash of a name that ignores the case of A-Z.
std::uint32_t hashArchiveName(const char *name, std::size_t length);

/// Builds the index of an archive whose tables are complete and sorted; the block is counted (V_Memory). Null
/// when its names collide so often, as only a malicious archive's do, that binary search is better. Throws
/// V_MemoryException_Allocation.
std::uint32_t *buildArchiveIndex(const V_File::V_VASArchive &archive);

/// The directory entry with this path (hashArchiveName of it in `hash`), or null. Of several records with
/// equal keys the first in the archive is found, here and in findArchiveFile.
V_File::VASDirectoryEntry *findArchiveDirectory(const V_File::V_VASArchive &archive, const char *path,
                                                std::uint32_t hash);

/// The file entry with this name (hashArchiveName of it in `hash`) in the directory with this index, or null.
V_File::VASFileEntry *findArchiveFile(const V_File::V_VASArchive &archive, std::uint32_t dirIndex,
                                      const char *name, std::uint32_t hash);

/// The name of a file without the digits of its directory.
inline const char *nameOfArchiveFile(const V_File::VASFileEntry &entry) { return entry.key + 5; }

} // namespace vl
