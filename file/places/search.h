// A search for the names in one directory: those on disk, then its subdirectories in each archive, then its
// files in each archive. It holds the archives that it began with, so it goes on to its end over them
// whatever happens to the list meanwhile.
#pragma once

#include "file/names/path.h"
#include "file/places/place_list.h"
#include "platform/platform.h"

#include <memory>

namespace vl {

class FileSystem;

class Search {
  public:
    /// Throws what resolving the pattern's directory throws.
    Search(const FileSystem &system, const char *pattern);

    /// The next bare name that matches, null when there are no more. Valid until the next call. Throws
    /// V_MemoryException_Allocation.
    const char *next();

  private:
    enum class Stage { BeforeDisk, Disk, Directories, Files, Finished };
    struct EndEnumeration {
        void operator()(platform::Enumeration *enumeration) const { platform::endEnumeration(enumeration); }
    };

    const char *nextOnDisk();
    const char *nextDirectory();
    const char *nextFile();
    void writeDirKey();

    Stage m_eStage = Stage::BeforeDisk;
    Path m_pattern;     ///< of the names
    Path m_directory;   ///< the searched one, resolved, ending with a backslash
    Path m_diskPattern; ///< all names of the directory on disk; empty when it fits no path
    std::unique_ptr<platform::Enumeration, EndEnumeration> m_enumeration;
    Ref<const PlaceList> m_places;
    const Place *m_pPlace;     ///< in the stages of the archives: the one being searched
    unsigned int m_uIndex = 0; ///< of its next entry, 0 when it is new
    char m_strDirKey[6];       ///< what the keys of the directory's files begin with
    platform::PathBuffer m_strResult;
};

} // namespace vl
