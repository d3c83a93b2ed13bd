// Which archive answers for a resolved path: the first of the active ones that holds it.

#include "vl/file.h"

#include "file/archive_index.h"
#include "platform/platform.h"

#include <cstdint>
#include <cstring>

namespace {

// A path as the archives' directory tables spell it: backslashes only. Room for one more at either end.
struct LookupPath {
    char text[vl::platform::maxPath + 3];
    std::size_t length = 0;

    // False when the path is too long to be found.
    bool append(const char *path) {
        for (; *path; ++path) {
            if (length == vl::platform::maxPath + 1)
                return false;
            append(*path == '/' ? '\\' : *path);
        }
        return true;
    }
    void append(char c) { text[length++] = c; }
    std::uint32_t hashFrom(std::size_t begin) const {
        return vl::hashArchiveName(text + begin, length - begin);
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

    // The name ends the directory's buffer; a copy of it, so that each can be terminated.
    std::size_t split = directory.length;
    while (directory.text[split - 1] != '\\')
        --split;
    char name[sizeof directory.text];
    const std::size_t nameLength = directory.length - split;
    std::memcpy(name, directory.text + split, nameLength);
    name[nameLength] = 0;
    const std::uint32_t nameHash = directory.hashFrom(split);
    directory.length = split;
    directory.text[split] = 0;
    const std::uint32_t directoryHash = directory.hashFrom(0);

    for (V_VASArchive *archive = VASArchiveList->getFirst(); archive;
         archive = VASArchiveList->getNext(archive)) {
        VASDirectoryEntry *dir = vl::findArchiveDirectory(*archive, directory.text, directoryHash);
        if (!dir)
            continue;
        if (VASFileEntry *file =
                vl::findArchiveFile(*archive, static_cast<std::uint32_t>(dir->index), name, nameHash)) {
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
    directory.text[directory.length] = 0;
    const std::uint32_t hash = directory.hashFrom(0);

    for (V_VASArchive *archive = VASArchiveList->getFirst(); archive;
         archive = VASArchiveList->getNext(archive))
        if (VASDirectoryEntry *dir = vl::findArchiveDirectory(*archive, directory.text, hash)) {
            *result = {archive, nullptr, dir};
            return;
        }
}
