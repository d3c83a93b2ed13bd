// A resolved path looked up in the archives: the first of them that holds it answers. The search for a file
// has two steps, so that memory can work while the disk is being asked.
#pragma once

#include "file/archive_index.h"
#include "vl/file.h"

#include <cstddef>
#include <string_view>

namespace vl {

class ArchiveQuery {
  public:
    /// Copies `path`. The archives must not change while this lives. The processor begins to fetch what
    /// findFile will look at.
    ArchiveQuery(const V_DLList<V_File::V_VASArchive> &archives, std::string_view path);
    ArchiveQuery(const ArchiveQuery &) = delete;
    ArchiveQuery &operator=(const ArchiveQuery &) = delete;

    /// The file of this path; all null when there is none. To be called once.
    V_File::V_VASFind findFile();
    /// The directory of this path, `file` being null; all null when there is none.
    V_File::V_VASFind findDirectory();

  private:
    /// Goes on from the given archive to the first that may hold the file.
    void goTo(V_File::V_VASArchive *archive);
    ArchiveName part(std::size_t begin, std::size_t end) const;

    const V_DLList<V_File::V_VASArchive> &m_archives;
    /// The path as archives spell directories, with a backslash in front.
    char m_text[archiveLongestName + archiveTextPadding];
    std::size_t m_uLength = 0; ///< 0 when the path is too long to be found
    ArchiveName m_directory{}, m_name{};
    V_File::V_VASArchive *m_pArchive = nullptr;
    V_File::VASDirectoryEntry *m_pDirectory = nullptr;
};

} // namespace vl
