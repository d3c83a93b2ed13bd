// Walking one directory of an archive (how: archive_listing.h).

#include "file/archive/archive_listing.h"

#include "base/wildcards.h"
#include "file/archive/archive_index.h"
#include "vl/core/string.h"

#include <algorithm>
#include <cstdint>
#include <cstring>

namespace vl {
namespace {

/// -1, 0 or +1 as `key`, cut to the length of `prefix`, sorts before, with or behind `prefix`.
int comparePrefix(const char *key, std::string_view prefix) {
    for (std::size_t i = 0; i < prefix.size(); ++i) {
        const unsigned char left = std::V_CTrI::fold(key[i]), right = std::V_CTrI::fold(prefix[i]);
        if (left != right)
            return left < right ? -1 : 1;
    }
    return 0;
}

/// The first entry of a sorted table whose key does not sort before `prefix`.
template <class Entry>
unsigned int firstWithPrefix(const Entry *entries, unsigned int count, std::string_view prefix) {
    const Entry *found = std::partition_point(
        entries, entries + count, [&](const Entry &entry) { return comparePrefix(entry.key, prefix) < 0; });
    return static_cast<unsigned int>(found - entries);
}

} // namespace

ArchiveListing::ArchiveListing(const Archive &archive, std::string_view directory, const char *pattern,
                               bool wholeElements)
    : m_pArchive(&archive), m_pPattern(pattern), m_bWholeElements(wholeElements) {
    m_directory.tryAppend(directory);
    char text[sizeof(platform::PathBuffer) + archiveTextPadding];
    std::memcpy(text, m_directory.text(), m_directory.length());
    const ArchiveName path{text, m_directory.length(), hashArchiveName(text, m_directory.length())};
    const V_File::VASDirectoryEntry *const entry = findArchiveDirectory(archive, path);
    m_bHasFiles = entry && entry->index <= static_cast<int>(archiveHighestDirIndex);
    if (m_bHasFiles)
        putArchiveKeyDigits(m_strDirKey, static_cast<std::uint32_t>(entry->index));
}

const char *ArchiveListing::nextDirectory() {
    const unsigned int count = m_pArchive->header.dirCount;
    const std::string_view directory = m_directory.view();
    if (m_uNextDirectory == 0)
        m_uNextDirectory = firstWithPrefix(m_pArchive->dirs, count, directory);
    while (m_uNextDirectory < count) {
        const char *const key = m_pArchive->dirs[m_uNextDirectory].key;
        if (comparePrefix(key, directory) != 0)
            break;
        ++m_uNextDirectory;
        const char *const name = key + directory.size();
        const std::size_t length = std::strcspn(name, "\\");
        const bool direct = name[length] == '\\' && name[length + 1] == 0;
        if (!direct || !isNameable({name, length}, true, m_bWholeElements))
            continue;
        std::memcpy(m_strName, name, length);
        m_strName[length] = 0;
        if (matchesWildcards(m_pPattern, m_strName))
            return m_strName;
    }
    return nullptr;
}

const V_File::VASFileEntry *ArchiveListing::nextFile() {
    if (!m_bHasFiles)
        return nullptr;
    const unsigned int count = m_pArchive->header.fileCount;
    if (m_uNextFile == 0)
        m_uNextFile = firstWithPrefix(m_pArchive->files, count, {m_strDirKey, archiveKeyDigits});
    while (m_uNextFile < count) {
        const V_File::VASFileEntry &entry = m_pArchive->files[m_uNextFile];
        if (std::memcmp(entry.key, m_strDirKey, archiveKeyDigits) != 0)
            break;
        ++m_uNextFile;
        const char *const name = nameOfArchiveFile(entry);
        if (!matchesWildcards(m_pPattern, name))
            continue;
        m_fileName = name;
        if (m_pArchive->hasPlainNames || isNameable(m_fileName, false, m_bWholeElements))
            return &entry;
    }
    return nullptr;
}

} // namespace vl
