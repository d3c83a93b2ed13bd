// The names in one directory of an archive that match a pattern, in the order of its tables, which ignores
// case. Both tables are sorted, so what belongs to one directory lies side by side: a binary search finds
// where it begins, and the walk ends where it ends. Left out is what no path can name.
#pragma once

#include "file/archive/archive.h"
#include "file/archive/archive_format.h"
#include "file/names/name_rules.h"

#include <string_view>

namespace vl {

class ArchiveListing {
  public:
    /// Of a directory, with a backslash at its end. The archive and the pattern must outlive this.
    ArchiveListing(const Archive &archive, std::string_view directory, const char *pattern,
                   bool wholeElements);

    /// The next direct subdirectory's name; null at the end. Valid until the next call.
    const char *nextDirectory();
    /// The next file; null at the end.
    const V_File::VASFileEntry *nextFile();
    /// Its name.
    std::string_view fileName() const { return m_fileName; }

  private:
    const Archive *m_pArchive;
    const char *m_pPattern;
    bool m_bWholeElements; ///< see isNameable
    Path m_directory;
    bool m_bHasFiles;                   ///< there is a record of the directory
    char m_strDirKey[archiveKeyDigits]; ///< what the keys of its files begin with
    unsigned int m_uNextDirectory = 0;  ///< of the table; 0 before the first
    unsigned int m_uNextFile = 0;       ///< likewise
    std::string_view m_fileName;
    platform::PathBuffer m_strName;
};

} // namespace vl
