// One loaded archive: its tables in memory, and what tells its file from another one in its place.
#pragma once

#include "core/ref.h"
#include "file/read_file.h"
#include "vl/file.h"

#include <cstdint>

namespace vl {

/// The tables, which it owns.
struct Archive : V_File::V_VASArchive, RefCounted {
    /// Loads the header and tables of an archive file and checks them. `path` is absolute; messages name it.
    /// Throws V_FileException_ArchiveNotFound, V_FileException_UnableToReadData when the file is too short,
    /// V_FileException_ArchiveCorrupted, V_FileException_ArchiveVersionConflict and
    /// V_MemoryException_Allocation.
    static Ref<Archive> load(const char *path);
    /// The same of one that is to stay the file that it is, whatever comes to lie at its path. Throws
    /// V_FileException_UnableToReadData, too, when the data of its files is not all there.
    static Ref<Archive> loadAndHold(const char *path);

    Archive() : V_VASArchive() {}
    ~Archive();

    /// Opens the file for reading: the one that is held, or what lies at the path now. False when there is
    /// none.
    ReadFile open() const { return m_held ? m_held.again() : ReadFile::reopen(archivePath); }

    /// The file that is held; none of one that is opened anew for every read.
    const ReadFile &held() const { return m_held; }

    platform::FileIdentity identity{}; ///< of the file that was loaded
    /// Every file's name is one that paths can name (isNameable), as almost always: a search of many files
    /// need not ask each.
    bool hasPlainNames = false;

  private:
    static Ref<Archive> load(const char *path, bool hold);

    ReadFile m_held; ///< none when it is not to be held, or the process has few files left to open
};

} // namespace vl
