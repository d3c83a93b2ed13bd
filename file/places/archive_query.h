// A resolved path looked up in the archives: the first of them that holds it answers. The search for a file
// has two steps, so that memory can work while the disk is being asked.
#pragma once

#include "file/archive/archive_index.h"
#include "file/places/place_list.h"

#include <cstddef>
#include <string_view>

namespace vl {

class ArchiveQuery {
  public:
    /// Copies `path`. The list must live as long as this. The processor begins to fetch what findFile will
    /// look at.
    ArchiveQuery(const PlaceList &places, std::string_view path);
    ArchiveQuery(const ArchiveQuery &) = delete;
    ArchiveQuery &operator=(const ArchiveQuery &) = delete;

    /// The file of this path. To be called once.
    V_File::V_VASFind findFile();
    /// Whether there is a directory of this path. Nothing else is to be asked behind it.
    bool findDirectory();

  private:
    /// Goes on from the given place to the first that may hold the file.
    void goTo(const Place *place);
    ArchiveName part(std::size_t begin, std::size_t end) const;

    const Place *const m_pBegin;
    const Place *const m_pEnd;
    /// The path as archives spell directories, with a backslash in front.
    char m_text[archiveLongestName + archiveTextPadding];
    std::size_t m_uLength = 0; ///< 0 when the path is too long to be found
    ArchiveName m_directory{}, m_name{};
    const Place *m_pPlace; ///< the end when no further place holds the file
    V_File::VASDirectoryEntry *m_pDirectory = nullptr;
};

} // namespace vl
