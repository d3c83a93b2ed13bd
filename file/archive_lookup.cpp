// Which archive answers for a resolved path: the first of the active ones that holds it.

#include "vl/file.h"

#include "file/archive_format.h"
#include "file/archive_index.h"
#include "platform/platform.h"

#include <algorithm>
#include <cstdint>
#include <cstring>

namespace {

// A path as the archives' directory tables spell it: backslashes only. Room for one more
// at either end.
struct LookupPath {
    char text[vl::platform::maxPath + 3 + vl::archiveTextPadding];
    std::size_t length = 0;

    // False when the path is too long to be found.
    bool append(const char *path) {
        const std::size_t size = std::strlen(path);
        if (size > vl::platform::maxPath)
            return false;
        std::replace_copy(path, path + size, text + length, '/', '\\');
        length += size;
        return true;
    }
    void append(char c) { text[length++] = c; }
    // Terminates it.
    vl::ArchiveKey finish() {
        text[length] = 0;
        return {text, length, vl::hashArchiveName(text, length)};
    }
};

} // namespace

void V_File::searchFile(V_VASFind *result, const char *path) {
    *result = {};
    LookupPath directory;
    if (path[0] != '\\' && path[0] != '/')
        directory.append('\\');
    if (!directory.append(path))
        return;

    // The name leaves the directory's buffer for one of its own, with room for the digits of a key before it.
    std::size_t split = directory.length;
    while (directory.text[split - 1] != '\\')
        --split;
    const std::size_t nameLength = directory.length - split;
    char keyText[vl::archiveKeyDigits + sizeof directory.text];
    std::memcpy(keyText + vl::archiveKeyDigits, directory.text + split, nameLength);
    keyText[vl::archiveKeyDigits + nameLength] = 0;
    const vl::ArchiveKey key = {keyText, vl::archiveKeyDigits + nameLength,
                                vl::hashArchiveName(keyText + vl::archiveKeyDigits, nameLength)};
    directory.length = split;
    const vl::ArchiveKey directoryKey = directory.finish();

    for (V_VASArchive *archive = VASArchiveList->getFirst(); archive;
         archive = VASArchiveList->getNext(archive)) {
        VASDirectoryEntry *dir = vl::findArchiveDirectory(*archive, directoryKey);
        if (!dir || dir->index > static_cast<int>(vl::archiveHighestDirIndex))
            continue;
        const auto dirIndex = static_cast<std::uint32_t>(dir->index);
        vl::putArchiveKeyDigits(keyText, dirIndex);
        if (VASFileEntry *file = vl::findArchiveFile(*archive, key, dirIndex)) {
            *result = {archive, file, dir};
            return;
        }
    }
}

void V_File::searchDir(V_VASFind *result, const char *path) {
    *result = {};
    LookupPath directory;
    if (!directory.append(path))
        return;
    if (directory.length == 0 || directory.text[directory.length - 1] != '\\')
        directory.append('\\');
    const vl::ArchiveKey key = directory.finish();

    for (V_VASArchive *archive = VASArchiveList->getFirst(); archive;
         archive = VASArchiveList->getNext(archive))
        if (VASDirectoryEntry *dir = vl::findArchiveDirectory(*archive, key)) {
            *result = {archive, nullptr, dir};
            return;
        }
}
