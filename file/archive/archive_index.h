// What finds an entry in an archive's sorted tables: a hash table beside each of them, or, where an archive
// has none, binary search.
//
// Binary search in a table of 90,000 files takes 17 steps, each a cache miss or two; a hash table takes one
// miss for the slot and one for the key. The two hash tables of an archive lie in one block, first that of
// the files, then that of the directories, each with a power of two of slots, a quarter of them free at
// least, and linear probing.
#pragma once

#include "file/archive/archive_format.h"
#include "platform/platform.h"
#include "vl/file.h"

#include <cstddef>
#include <cstdint>

namespace vl {

/// Names and keys are read eight bytes at once: this many bytes behind a text (whose length does not count
/// its terminating zero) are readable, whatever they hold.
inline constexpr std::size_t archiveTextPadding = 8;

/// Characters of the longest name or path that is looked up: a path, and a backslash at either end.
inline constexpr std::size_t archiveLongestName = platform::maxPath + 2;

/// A hash of a name that ignores the case of A-Z.
std::uint32_t hashArchiveName(const char *name, std::size_t length);

/// A hash of a file, of those of its directory's path and its name. It does not take the directory's index,
/// so that file and directory can be looked for side by side.
std::uint32_t hashArchiveFile(std::uint32_t hashOfDirectory, std::uint32_t hashOfName);

/// What is looked up: a directory's path, or a file's name without its directory. It has no terminating zero.
struct ArchiveName {
    const char *text;
    std::size_t length;
    std::uint32_t hash; ///< hashArchiveName of a directory's path, hashArchiveFile of a file
};

/// One slot of either hash table.
struct ArchiveIndexSlot {
    /// 0 when the slot is free. Otherwise the low bits, as many as number the slots, are the entry's position
    /// in its sorted table plus 1, and the bits above those are the hash's.
    std::uint32_t entry;
    std::uint32_t key; ///< where the entry's key begins in the block of keys
};

/// Builds the index of an archive whose tables are complete and sorted; the block is counted (V_Memory). Null
/// when its names collide so often, as only a malicious archive's do, that binary search is better. Throws
/// V_MemoryException_Allocation.
ArchiveIndexSlot *buildArchiveIndex(const V_File::V_VASArchive &archive);

/// The directory entry with this path, or null. Of several records with equal keys the first in the archive
/// is found, here and in findArchiveFile.
V_File::VASDirectoryEntry *findArchiveDirectory(const V_File::V_VASArchive &archive, const ArchiveName &path);

/// The entry of the file with this name in the directory of this index, or null.
V_File::VASFileEntry *findArchiveFile(const V_File::V_VASArchive &archive, const ArchiveName &name,
                                      std::uint32_t dirIndex);

/// Whether findArchiveFile may find an entry with this hash. If so, the processor begins to fetch what it
/// will look at.
bool mayHoldArchiveFile(const V_File::V_VASArchive &archive, std::uint32_t hash);

/// The name of a file without the digits of its directory.
inline const char *nameOfArchiveFile(const V_File::VASFileEntry &entry) {
    return entry.key + archiveKeyDigits;
}

} // namespace vl
