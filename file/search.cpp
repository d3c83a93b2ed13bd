// The search for names: one directory on disk, then its subdirectories in each active archive, then its files
// in each active archive.
//
// Both tables of an archive are sorted by keys that ignore case, so what belongs to one directory lies side
// by side: a binary search finds where it begins, and the walk ends where it ends.

#include "vl/file.h"

#include "base/wildcards.h"
#include "file/archive_format.h"
#include "file/path_text.h"
#include "platform/platform.h"

#include <algorithm>
#include <cstdint>
#include <cstring>

using vl::PathText;
using vl::platform::PathBuffer;

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

/// Whether a path can name what an archive calls so. A client that walks a tree must not meet "..".
bool isNameable(const char *name, std::size_t length) {
    return length != 0 && length <= vl::platform::maxPath &&
           !(name[0] == '.' && (length == 1 || (length == 2 && name[1] == '.')));
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

int V_File::xstricmp(const char *pattern, const char *name) {
    return vl::matchesWildcards(pattern, name) ? 1 : 0;
}

const char *V_File::findFirst(const char *pattern) {
    vl::platform::endEnumeration(m_hFind);
    m_hFind = nullptr;
    m_uStage = StageFinished; // should what follows throw

    PathBuffer resolved;
    relativeToAbsolutePath(resolved, pattern); // refuses what is too long
    const char *name = pattern + std::strlen(pattern);
    while (name != pattern && name[-1] != '\\' && name[-1] != '/')
        --name;
    PathText(m_strPattern, pattern).append(name);

    // The directory is resolved without the wildcards, whose dots are not those of a path.
    PathBuffer inDirectory;
    PathText directoryText(inDirectory, pattern);
    directoryText.append({pattern, static_cast<std::size_t>(name - pattern)});
    if (directoryText.length() < vl::platform::maxPath) // or the pattern is empty, and nothing matches
        directoryText.append('*');
    relativeToAbsolutePath(resolved, inDirectory);
    PathText(m_strSearchDir, pattern).append({resolved, vl::directoryLength(resolved)});

    PathBuffer directory;
    absolutePathToDirStructure(directory, m_strSearchDir);
    PathText diskPattern(m_strDiskPattern, pattern);
    diskPattern.append(directory);
    if (!diskPattern.endsWithBackslash())
        diskPattern.append('\\');
    diskPattern.append("*.*");

    m_uStage = StageDisk;
    m_uIndex = 0;
    m_iNoDirYet = 1;
    m_findDirIDList->removeAll();
    m_pDirIDCursor = nullptr;
    m_pArchive = VASArchiveList->getFirst();
    return findNext();
}

const char *V_File::findNext() {
    if (m_uStage == StageDisk) {
        if (const char *name = findNextOnDisk())
            return name;
        vl::platform::endEnumeration(m_hFind);
        m_hFind = nullptr;
        m_uStage = StageArchiveDirectories;
        m_uIndex = 0;
    }
    if (!isActive(m_pArchive))
        m_uStage = StageFinished; // there is none, or the archives have changed under the search
    if (m_uStage == StageArchiveDirectories) {
        if (const char *name = findNextDirectory())
            return name;
        m_uStage = StageArchiveFiles;
        m_pArchive = VASArchiveList->getFirst();
        m_uIndex = 0;
        m_pDirIDCursor = m_findDirIDList->getFirst();
        writeDirKey();
    }
    if (m_uStage == StageArchiveFiles) {
        if (const char *name = findNextFile())
            return name;
        m_uStage = StageFinished;
    }
    return nullptr;
}

bool V_File::isActive(const V_VASArchive *archive) {
    const V_VASArchive *active = VASArchiveList->getFirst();
    while (active && active != archive)
        active = VASArchiveList->getNext(active);
    return active != nullptr;
}

const char *V_File::findNextOnDisk() {
    if (m_uIndex == 0) {
        bool outOfMemory = false;
        m_hFind = vl::platform::startEnumeration(m_strDiskPattern, &outOfMemory);
        if (outOfMemory)
            V_throw(V_MemoryException_Allocation());
        m_uIndex = 1;
    }
    while (const char *name = m_hFind ? vl::platform::nextName(m_hFind) : nullptr) {
        if (xstricmp(m_strPattern, name)) {
            std::memcpy(m_findData, name, std::strlen(name) + 1);
            return m_findData;
        }
    }
    return nullptr;
}

/// The next direct subdirectory that matches. Notes on the way which number the searched directory has in
/// each archive.
const char *V_File::findNextDirectory() {
    const std::size_t length = std::strlen(m_strSearchDir);
    for (; m_pArchive; m_pArchive = VASArchiveList->getNext(m_pArchive)) {
        if (m_uIndex == 0)
            m_uIndex = firstWithPrefix(m_pArchive->dirs, m_pArchive->header.dirCount, m_strSearchDir, length);
        for (; m_uIndex < m_pArchive->header.dirCount; ++m_uIndex) {
            const VASDirectoryEntry &entry = m_pArchive->dirs[m_uIndex];
            if (comparePrefix(entry.key, m_strSearchDir, length) != 0)
                break;
            const char *name = entry.key + length;
            if (*name == 0 && m_iNoDirYet) {
                *m_findDirIDList->insertLast() = entry.index;
                m_iNoDirYet = 0;
            }
            const std::size_t nameLength = std::strcspn(name, "\\");
            const bool direct = name[nameLength] == '\\' && name[nameLength + 1] == 0;
            if (!direct || !isNameable(name, nameLength))
                continue;
            std::memcpy(m_strResult, name, nameLength);
            m_strResult[nameLength] = 0;
            if (xstricmp(m_strPattern, m_strResult)) {
                ++m_uIndex;
                return m_strResult;
            }
        }
        if (m_iNoDirYet)
            *m_findDirIDList->insertLast() = -1;
        m_iNoDirYet = 1;
        m_uIndex = 0;
    }
    return nullptr;
}

/// The key prefix of the searched directory's files in the current archive; one that no key has where the
/// archive lacks the directory.
void V_File::writeDirKey() {
    const int index = m_pDirIDCursor ? *m_pDirIDCursor : -1;
    std::strcpy(m_strDirKey, "XXXXX");
    if (index >= 0 && index <= static_cast<int>(vl::archiveHighestDirIndex))
        vl::putArchiveKeyDigits(m_strDirKey, static_cast<std::uint32_t>(index));
}

/// The next file of the searched directory that matches.
const char *V_File::findNextFile() {
    while (m_pArchive) {
        const unsigned int count = m_pArchive->header.fileCount;
        if (m_uIndex == 0)
            m_uIndex = firstWithPrefix(m_pArchive->files, count, m_strDirKey, vl::archiveKeyDigits);
        while (m_uIndex < count) {
            const char *key = m_pArchive->files[m_uIndex].key;
            if (std::memcmp(key, m_strDirKey, vl::archiveKeyDigits) != 0)
                break;
            ++m_uIndex;
            const char *name = key + vl::archiveKeyDigits;
            if (!xstricmp(m_strPattern, name))
                continue;
            const std::size_t nameLength = std::strlen(name);
            // Not memcpy, which GCC turns into a string instruction here that takes long to start.
            if (isNameable(name, nameLength))
                return static_cast<const char *>(std::memmove(m_strResult, name, nameLength + 1));
        }
        m_pArchive = VASArchiveList->getNext(m_pArchive);
        m_uIndex = 0;
        m_pDirIDCursor = m_pDirIDCursor ? m_findDirIDList->getNext(m_pDirIDCursor) : nullptr;
        writeDirKey();
    }
    return nullptr;
}
