// The loaded archives: the active and the parked list, what is in them and in which order, the priority
// archive and the secondary directory.

#include "vl/file.h"

#include "core/counted.h"
#include "file/path_text.h"
#include "platform/platform.h"

#include <cstring>
#include <memory>

using vl::PathText;
using vl::platform::PathBuffer;

const float V_File::VAS_ARCHIVE_VERSION = 1.2f;

int V_File::m_archiveHandling = AH_DIRECTORIES;
V_DLList<V_File::V_VASArchive> *V_File::VASArchiveList = nullptr;
V_DLList<V_File::V_VASArchive> *V_File::VASArchiveListSwap = nullptr;
V_DLList<int> *V_File::m_findDirIDList = nullptr;
bool V_File::sm_bPriorityArchiveEnabled = false;
V_File::V_VASArchive *V_File::sm_pPriorityArchive = nullptr;
char V_File::sm_strPriorityArchive[256];
char V_File::sm_strSecondaryArchiveSearchPath[256];

namespace {

struct EndEnumeration {
    void operator()(vl::platform::Enumeration *enumeration) const {
        vl::platform::endEnumeration(enumeration);
    }
};
using OpenEnumeration = std::unique_ptr<vl::platform::Enumeration, EndEnumeration>;

/// Moves every element, in order, behind those of another list.
template <class List>
void moveAll(List &from, List &to) {
    while (auto *element = from.unlinkFirst())
        to.linkLast(element);
}

} // namespace

// ---- The lists -----------------------------------------------------------------------------------------

void V_File::createArchiveLists() {
    VASArchiveList = vl::newCounted<V_DLList<V_VASArchive>>();
    VASArchiveListSwap = vl::newCounted<V_DLList<V_VASArchive>>();
    m_findDirIDList = vl::newCounted<V_DLList<int>>();
}

void V_File::deleteArchiveLists() {
    for (V_DLList<V_VASArchive> **list : {&VASArchiveList, &VASArchiveListSwap}) {
        if (*list)
            releaseArchives(**list);
        vl::deleteCounted(*list);
        *list = nullptr;
    }
    vl::deleteCounted(m_findDirIDList);
    m_findDirIDList = nullptr;
    sm_bPriorityArchiveEnabled = false;
}

void V_File::releaseArchives(V_DLList<V_VASArchive> &list) {
    while (V_VASArchive *archive = list.getFirst())
        releaseArchive(list, archive);
}

void V_File::releaseArchive(V_DLList<V_VASArchive> &list, V_VASArchive *archive) {
    if (archive == sm_pPriorityArchive)
        sm_pPriorityArchive = nullptr;
    releaseArchiveTables(*archive);
    list.remove(archive);
}

void V_File::releaseArchiveTables(const V_VASArchive &archive) {
    for (void *block : {static_cast<void *>(archive.archivePath), static_cast<void *>(archive.files),
                        static_cast<void *>(archive.dirs), static_cast<void *>(archive.fileNames),
                        static_cast<void *>(archive.dirNames), static_cast<void *>(archive.index)})
        V_Memory::freeCounted(block);
}

V_File::V_VASArchive *V_File::loadArchive(V_DLList<V_VASArchive> &list, Place place, const char *name) {
    V_VASArchive *archive = list.allocateNode();
    *archive = {};
    try {
        loadArchiveHeader(archive, name);
    } catch (...) {
        list.freeNode(archive);
        throw;
    }
    if (place == Place::First)
        list.linkFirst(archive);
    else
        list.linkLast(archive);
    return archive;
}

// ---- Loading and unloading all -------------------------------------------------------------------------

bool V_File::loadArchives() {
    setArchiveHandling(AH_ARCHIVES);
    vl::platform::endEnumeration(m_hFind);
    m_hFind = nullptr;

    loadArchivesOf("");
    return sm_strSecondaryArchiveSearchPath[0] && loadArchivesOf(sm_strSecondaryArchiveSearchPath);
}

bool V_File::loadArchivesOf(const char *directory) {
    char pattern[sizeof(PathBuffer) + sizeof "*.VAS"];
    const std::size_t length = std::strlen(directory);
    std::memcpy(pattern, directory, length);
    std::memcpy(pattern + length, "*.VAS", sizeof "*.VAS");

    bool outOfMemory = false;
    const OpenEnumeration names(vl::platform::startEnumeration(pattern, &outOfMemory));
    if (outOfMemory)
        V_throw(V_MemoryException_Allocation());
    bool any = false;
    while (const char *name = names ? vl::platform::nextName(names.get()) : nullptr) {
        PathBuffer path;
        PathText text(path, name);
        text.append(directory);
        text.append(name);
        loadArchive(*VASArchiveList, Place::Last, path);
        any = true;
    }
    return any;
}

void V_File::unloadArchives() {
    m_pArchive = nullptr; // a running search ends here
    m_uStage = StageFinished;
    releaseArchives(*VASArchiveList);
}

void V_File::setArchiveHandling(int mode) {
    m_archiveHandling = mode;
    if (mode == AH_ARCHIVES)
        moveAll(*VASArchiveListSwap, *VASArchiveList);
    else
        moveAll(*VASArchiveList, *VASArchiveListSwap);
    resetCurrentDirectory();
}

// ---- The priority archive and the secondary directory --------------------------------------------------

void V_File::enablePriorityArchive(const char *name) {
    disablePriorityArchive();
    PathBuffer copy;
    PathText(copy, name).append(name);
    std::memcpy(sm_strPriorityArchive, copy, sizeof copy);

    V_DLList<V_VASArchive> &list = m_archiveHandling == AH_ARCHIVES ? *VASArchiveList : *VASArchiveListSwap;
    sm_pPriorityArchive = loadArchive(list, Place::First, sm_strPriorityArchive);
    sm_bPriorityArchiveEnabled = true;
}

void V_File::disablePriorityArchive() const {
    if (V_VASArchive *archive = sm_pPriorityArchive)
        releaseArchive(m_archiveHandling == AH_ARCHIVES ? *VASArchiveList : *VASArchiveListSwap, archive);
    sm_bPriorityArchiveEnabled = false;
}

bool V_File::setSecondaryArchiveSearchPath(const char *dir) {
    PathBuffer copy;
    PathText path(copy, dir);
    path.append(dir);
    if (path.length() != 0 && !path.endsWithBackslash())
        path.append('\\');
    std::memcpy(sm_strSecondaryArchiveSearchPath, copy, sizeof copy);

    unloadArchives();
    return loadArchives();
}

// ---- Questions -----------------------------------------------------------------------------------------

int V_File::getMethod(const char *name) {
    switch (where(name)) {
    case LOC_DISK:
        return METHOD_STORED;
    case LOC_ARCHIVE: {
        PathBuffer path;
        relativeToAbsolutePath(path, name);
        V_VASFind found;
        searchFile(&found, path);
        return found.file ? static_cast<int>(found.file->method) : -1;
    }
    default:
        return -1;
    }
}

void V_File::verifyArchiverID(int id) const {
    for (V_VASArchive *archive = VASArchiveList->getFirst(); archive;
         archive = VASArchiveList->getNext(archive))
        if (archive->header.archiverID != static_cast<unsigned int>(id))
            V_throw(V_FileException_IncompatibleArchiverID(archive->archivePath));
}
