// The archive reader on its own, without the file system's lists: for programs of this tree that look into
// one archive.
#pragma once

#include "vl/file.h"

namespace vl {

class ArchiveAccess {
  public:
    /// Loads the header and tables of the archive file `name` into `archive`, which release releases. Throws
    /// as V_File does when it loads archives; nothing is to be released then.
    static void load(V_File::V_VASArchive &archive, const char *name) {
        V_File::loadArchiveHeader(&archive, name);
    }

    static void release(const V_File::V_VASArchive &archive) { V_File::releaseArchiveTables(archive); }

    /// Reads one whole file of the archive into `buffer`, which holds the entry's `size` bytes. Throws as
    /// V_File::load; messages call the file `path`.
    static void read(const V_File::V_VASArchive &archive, const V_File::VASFileEntry &file, const char *path,
                     void *buffer) {
        const V_File::V_VASFind found{const_cast<V_File::V_VASArchive *>(&archive),
                                      const_cast<V_File::VASFileEntry *>(&file), nullptr};
        V_File::readEntry(found, path, buffer, file.size);
    }
};

} // namespace vl
