// A name on its way to what it names: resolved once, then asked of the places in their order, and of each no
// more than the question needs. This is the one place that knows who answers.
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
    /// Resolves the name. Throws what NameRules::resolve throws. The places must not change while this lives.
    explicit Lookup(const char *name, const FileSystem &system = FileSystem::get());

    /// The resolved path.
    const char *path() const { return m_path.text(); }
    /// The same for messages that show it in upper case: all of it, or the name alone, the current directory
    /// in front of it being left as it is.
    Path upperCased() const;
    Path upperCasedName() const;
    /// Where on disk the file was found, or else where the local root would hold it. Empty when that fits no
    /// path.
    const char *diskPath() const { return m_diskPath.text(); }
    /// The same for messages: the resolved path when it fits none; and with the name in upper case.
    const char *shownDiskPath() const { return m_diskPath.length() != 0 ? diskPath() : path(); }
    Path upperCasedDiskPath() const;

    // Writing, in the write directory or below the local root. diskPath tells that path from then on.

    /// Where the name is written. Throws V_FileException_PathTooLong when that fits no path and
    /// V_FileException_OutsideWriteDirectory when a link leads out of the write directory.
    const char *pathForWriting();
    /// The same, empty when it fits no path.
    const char *tryPathForWriting();
    /// Creates the directory of what is to be written, whose parents must exist below the local root; what
    /// fails is left to the writing to notice.
    void createParent() const;

    // What has the name. One of these, once.

    /// Who has it: the first place that has a file or directory of the name.
    V_File::Location where();
    /// Whether the name is a directory of any place.
    bool isDirectory();
    /// The file of this name of the first place that has one that can be read.
    FoundFile open();
    /// The same, a file on disk being what `take(place)` takes of the path that diskPath tells meanwhile.
    template <class Take>
    V_File::V_VASFind firstFile(const Take &take);
    /// The file that open finds or, when there is none, the first directory of the name. False for neither.
    bool find(V_FileInfo &info);
    /// What every place has of the name, first to last: writes what there is room for, tells how many there
    /// are.
    std::size_t findAll(V_FileInfo *infos, std::size_t room);
    /// Whether there is anything of the name on disk.
    bool isOnDisk();

  private:
    platform::FileKind kindIn(const Place &directory);
    bool enter(const Place &directory);
    void leave();
    bool findDirectory(V_FileInfo &info, const Place *onDisk, const platform::FileIdentity &identity);
    bool tell(V_FileInfo &info, const Place &place);
    void tellDisk(V_FileInfo &info, const Place &place, platform::FileKind kind,
                  const platform::FileIdentity &identity) const;
    void tellEntry(V_FileInfo &info, const Place &place, const V_File::VASFileEntry *file) const;

    const char *m_strName;
    const FileSystem &m_system;
    const NameRules &m_rules;
    const PlaceList &m_places;
    std::size_t m_uKept;       ///< how many characters of the path are the current directory's
    std::size_t m_uDiskKept;   ///< and of the path on disk, the place's
    bool m_bElsewhere = false; ///< the path on disk is not that of the local root
    Path m_path;
    Path m_diskPath;
    ArchiveQuery m_query; ///< made before the disk is asked, so that memory works meanwhile
};

template <class Take>
V_File::V_VASFind Lookup::firstFile(const Take &take) {
    for (const std::uint32_t position : m_places.directories()) {
        const Place &directory = m_places[position];
        if (const V_File::V_VASFind found = m_query.findFile(&directory); found.file)
            return found;
        if (enter(directory) && take(directory))
            return {};
    }
    leave();
    return m_query.findFile(m_places.end());
}

} // namespace vl
