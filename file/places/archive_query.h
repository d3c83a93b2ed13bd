// A resolved path looked up in the archives among the places. The search for a file has two steps, so that
// memory can work while the disk is being asked.
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

    /// The file of this path in the first place before `end` that has one, of those that were not asked by an
    /// earlier call.
    V_File::V_VASFind findFile(const Place *end);
    /// The place of the file that findFile found last.
    const Place &place() const { return *m_pPlace; }
    /// The file of this path in one place.
    V_File::V_VASFind findFileIn(const Place &place);

    /// The first archive from `begin` to before `end` that has a directory of this path, or is shown below
    /// it; null when there is none.
    const Place *findDirectory(const Place *begin, const Place *end) const;

  private:
    /// Goes on from the given place to the first that may hold the file.
    void goTo(const Place *place);
    /// Whether a place may hold the file; if so, what is to be looked for there is set.
    bool aimAt(const Place &place);
    ArchiveName part(std::size_t begin, std::size_t end) const;

    const Place *const m_pEnd;
    /// The path as archives spell directories, with a backslash in front and one behind.
    char m_text[archiveLongestName + archiveTextPadding];
    std::size_t m_uLength = 0;           ///< without the one behind; 0 when the path is too long to be found
    std::size_t m_uSplit = 0;            ///< where the last element begins
    ArchiveName m_directory{}, m_name{}; ///< of a place that is shown at the root
    ArchiveName m_nameBelow{};           ///< of the last one that is not
    const Place *m_pPlace;               ///< the end when no further place holds the file
    const ArchiveName *m_pName = nullptr;
    V_File::VASDirectoryEntry *m_pDirectory = nullptr;
};

} // namespace vl
