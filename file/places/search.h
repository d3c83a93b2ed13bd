// A search for the names in one directory: those on disk, then its subdirectories in each archive, then its
// files in each archive. It holds the places that it began with, so it goes on to its end over them whatever
// happens to the list meanwhile.
#pragma once

#include "file/archive/archive_listing.h"
#include "file/names/path.h"
#include "file/places/directory_names.h"
#include "file/places/place_list.h"

#include <cstdint>
#include <optional>

namespace vl {

class FileSystem;

class Search {
  public:
    /// Throws what SearchPattern throws.
    Search(const FileSystem &system, const char *pattern);

    /// The next bare name that matches, null when there are no more. Valid until the next call. Throws
    /// V_MemoryException_Allocation.
    const char *next();

  private:
    enum class Stage { Disk, Directories, Files, Finished };

    const char *nextOnDisk();
    const char *nextInArchives();
    const char *nameAbove(const Place &place);
    const char *give(std::string_view name);

    Stage m_eStage = Stage::Disk;
    SearchPattern m_pattern;
    Ref<const PlaceList> m_places;
    std::size_t m_uPlace = 0; ///< of the directories in the stage of the disk, else of all
    DirectoryNames m_onDisk;
    std::optional<ArchiveListing> m_inArchive;
    platform::PathBuffer m_strResult; ///< a copy: what it is of may be unloaded while the client looks at it
};

} // namespace vl
