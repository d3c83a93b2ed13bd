// Searching (what is searched, and in which order: search.h).
//
// Both tables of an archive are sorted by keys that ignore case, so what belongs to one directory lies side
// by side: a binary search finds where it begins, and the walk ends where it ends.

#include "file/places/search.h"

#include "base/text.h"
#include "base/wildcards.h"
#include "file/archive/archive_format.h"
#include "file/archive/archive_index.h"
#include "file/file_system.h"
#include "vl/core/string.h"

#include <algorithm>
#include <cstdint>
#include <cstring>

namespace vl {
namespace {

/// -1, 0 or +1 as `key`, cut to the length of `prefix`, sorts before, with or behind `prefix`.
int comparePrefix(const char *key, const char *prefix, std::size_t length) {
    for (std::size_t i = 0; i < length; ++i) {
        const unsigned char left = std::V_CTrI::fold(key[i]), right = std::V_CTrI::fold(prefix[i]);
        if (left != right)
            return left < right ? -1 : 1;
    }
    return 0;
}

/// The first entry of a sorted table whose key does not sort before `prefix`.
template <class Entry>
unsigned int firstWithPrefix(const Entry *entries, unsigned int count, const char *prefix,
                             std::size_t length) {
    const Entry *found = std::partition_point(entries, entries + count, [&](const Entry &entry) {
        return comparePrefix(entry.key, prefix, length) < 0;
    });
    return static_cast<unsigned int>(found - entries);
}

} // namespace

Search::Search(const FileSystem &system, const char *pattern) : m_places(system.activePlaces()) {
    system.names.resolve(pattern); // refuses what is too long
    const std::string_view whole(pattern);
    const std::size_t split = whole.find_last_of("\\/") + 1;
    m_pattern.append(whole.substr(split), pattern);

    // The directory is resolved without the wildcards, whose dots are not those of a path.
    Path inDirectory;
    inDirectory.append(whole.substr(0, split), pattern);
    inDirectory.tryAppend("*"); // or the pattern is empty, and nothing matches
    m_directory = system.names.resolve(inDirectory.text());
    m_directory.cutTo(m_directory.directoryLength());

    if (system.names.toDiskPath(m_diskPattern, m_directory.view()) &&
        !m_diskPattern.tryAppend(m_diskPattern.endsWithBackslash() ? "*.*" : "\\*.*"))
        m_diskPattern.cutTo(0);
    m_pPlace = m_places->begin();
}

const char *Search::next() {
    if (m_eStage == Stage::BeforeDisk) {
        bool outOfMemory = false;
        m_enumeration.reset(platform::startEnumeration(m_diskPattern.text(), &outOfMemory));
        if (outOfMemory)
            V_throw(V_MemoryException_Allocation());
        m_eStage = Stage::Disk;
    }
    if (m_eStage == Stage::Disk) {
        if (const char *name = nextOnDisk())
            return name;
        m_enumeration.reset();
        m_eStage = Stage::Directories;
    }
    if (m_eStage == Stage::Directories) {
        if (const char *name = nextDirectory())
            return name;
        m_eStage = Stage::Files;
        m_pPlace = m_places->begin();
        m_uIndex = 0;
    }
    if (m_eStage == Stage::Files) {
        if (const char *name = nextFile())
            return name;
        m_eStage = Stage::Finished;
    }
    return nullptr;
}

const char *Search::nextOnDisk() {
    while (const char *name = m_enumeration ? platform::nextName(m_enumeration.get()) : nullptr)
        if (matchesWildcards(m_pattern.text(), name))
            return std::strcpy(m_strResult, name);
    return nullptr;
}

/// The next direct subdirectory that matches.
const char *Search::nextDirectory() {
    const char *const directory = m_directory.text();
    const std::size_t length = m_directory.length();
    for (; m_pPlace != m_places->end(); ++m_pPlace, m_uIndex = 0) {
        const Archive &archive = *m_pPlace->archive;
        if (m_uIndex == 0)
            m_uIndex = firstWithPrefix(archive.dirs, archive.header.dirCount, directory, length);
        while (m_uIndex < archive.header.dirCount) {
            const char *const key = archive.dirs[m_uIndex].key;
            if (comparePrefix(key, directory, length) != 0)
                break;
            ++m_uIndex;
            const char *const name = key + length;
            const std::size_t nameLength = std::strcspn(name, "\\");
            const bool direct = name[nameLength] == '\\' && name[nameLength + 1] == 0;
            if (!direct || !isNameable({name, nameLength}, true))
                continue;
            std::memcpy(m_strResult, name, nameLength);
            m_strResult[nameLength] = 0;
            if (matchesWildcards(m_pattern.text(), m_strResult))
                return m_strResult;
        }
    }
    return nullptr;
}

/// The key prefix of the searched directory's files in the current archive; one that no key has where the
/// archive lacks the directory.
void Search::writeDirKey() {
    std::strcpy(m_strDirKey, "XXXXX");
    char text[sizeof(platform::PathBuffer) + archiveTextPadding];
    std::memcpy(text, m_directory.text(), m_directory.length());
    const ArchiveName path{text, m_directory.length(), hashArchiveName(text, m_directory.length())};
    const V_File::VASDirectoryEntry *const entry = findArchiveDirectory(*m_pPlace->archive, path);
    if (entry && entry->index <= static_cast<int>(archiveHighestDirIndex))
        putArchiveKeyDigits(m_strDirKey, static_cast<std::uint32_t>(entry->index));
}

/// The next file of the searched directory that matches.
const char *Search::nextFile() {
    for (; m_pPlace != m_places->end(); ++m_pPlace, m_uIndex = 0) {
        const Archive &archive = *m_pPlace->archive;
        const unsigned int count = archive.header.fileCount;
        if (m_uIndex == 0) {
            writeDirKey();
            m_uIndex = firstWithPrefix(archive.files, count, m_strDirKey, archiveKeyDigits);
        }
        while (m_uIndex < count) {
            const char *const key = archive.files[m_uIndex].key;
            if (std::memcmp(key, m_strDirKey, archiveKeyDigits) != 0)
                break;
            ++m_uIndex;
            const char *const name = key + archiveKeyDigits;
            if (!matchesWildcards(m_pattern.text(), name))
                continue;
            const std::size_t length = std::strlen(name);
            // Not memcpy, which GCC turns into a string instruction here that takes long to start.
            if (isNameable({name, length}, false))
                return static_cast<const char *>(std::memmove(m_strResult, name, length + 1));
        }
    }
    return nullptr;
}

} // namespace vl
