// A name on its way to what it names: resolved once, then asked of the disk and of the archives, in this
// order, and of each no more than the question needs. This is the one place that knows who answers.
#pragma once

#include "file/archive/archive.h"
#include "file/file_system.h"
#include "file/places/archive_query.h"
#include "file/read_file.h"
#include "platform/platform.h"
#include "vl/file.h"

namespace vl {

/// A file that a name led to: open on disk, or an entry of an archive, or neither.
struct FoundFile {
    ReadFile onDisk;
    V_File::V_VASFind archived{}; ///< as long as the archive is loaded

    explicit operator bool() const { return onDisk || archived.file; }

    /// Its size in bytes, unpacked. Throws V_FileException_FileTooLarge, naming `diskPath`.
    unsigned int size(const char *diskPath) const {
        return onDisk ? onDisk.size(diskPath) : archived.file->size;
    }
};

class Lookup {
  public:
    /// Resolves the name. Throws what NameRules::resolve throws. The archives must not change while this
    /// lives.
    explicit Lookup(const char *name, const FileSystem &system = FileSystem::get());

    /// The resolved path.
    const char *path() const { return m_path.text(); }
    /// The same for messages that show it in upper case: all of it, or the name alone, the current directory
    /// in front of it being left as it is.
    Path upperCased() const;
    Path upperCasedName() const;
    /// Where the local root holds it. Empty when it fits no path, and so is not on disk.
    const char *diskPath() const { return m_diskPath.text(); }
    /// The same for messages: the resolved path when it fits none.
    const char *shownDiskPath() const { return m_diskPath.length() != 0 ? diskPath() : path(); }
    /// The same of what is to be written. Throws V_FileException_PathTooLong when it fits no path.
    const char *pathForWriting() const;
    /// Creates its directory, whose parents must exist; what fails is left to the writing to notice.
    void createParent() const;

    /// What is there on disk.
    platform::FileKind kindOnDisk() const { return platform::fileKind(m_diskPath.view()); }
    /// The file of the first archive that holds one of this name. To be asked once.
    V_File::V_VASFind archivedFile() { return m_query.findFile(); }

    // One of these, and then nothing else of the archives.

    /// Who has the name.
    V_File::Location where();
    /// Whether the name is a directory of the disk or of an archive.
    bool isDirectory();
    /// The file of this name, which hides those behind it.
    FoundFile open();

  private:
    const char *m_strName;
    std::size_t m_uKept; ///< how many characters of the path are the current directory's
    Path m_path;
    Path m_diskPath;
    ArchiveQuery m_query; ///< made before the disk is asked, so that memory works meanwhile
};

} // namespace vl
