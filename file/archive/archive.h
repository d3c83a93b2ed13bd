// One loaded archive: its tables in memory, and what tells its file from another one in its place.
#pragma once

#include "core/ref.h"
#include "platform/platform.h"
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

    Archive() : V_VASArchive() {}
    ~Archive();

    platform::FileIdentity identity{}; ///< of the file that was loaded
};

} // namespace vl
