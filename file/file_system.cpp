// The file system's root and the archives that stand from the start: loading, unloading, the priority archive
// and the secondary directory. (The places that clients add: places/changes.cpp.)

#include "file/file_system.h"

#include "core/counted.h"
#include "platform/platform.h"

#include <cstring>
#include <memory>
#include <utility>

namespace vl {

using Origin = V_FilePlace::Origin;

namespace {

/// The directory that a program lies in.
Path directoryOf(const char *program) {
    Path path;
    path.append(program, program);
    const std::size_t length = path.directoryLength();
    const bool driveRoot = length == 3 && path.text()[1] == ':';
    path.cutTo(driveRoot ? length : length - 1);
    return path;
}

struct EndEnumeration {
    void operator()(platform::Enumeration *enumeration) const { platform::endEnumeration(enumeration); }
};
using OpenEnumeration = std::unique_ptr<platform::Enumeration, EndEnumeration>;

} // namespace

FileSystem::FileSystem() {
    PlaceList::Places root;
    root.push_back(newPlace({}, {}, Origin::ORIGIN_LOCAL_ROOT));
    m_diskAlone = m_places = Ref<const PlaceList>(newCounted<PlaceList>(std::move(root)));
    startupDirectory.set(platform::currentDirectory); // the process's business; nothing here depends on it
    const char *const program = platform::executablePath();
    if (!program)
        V_throw(V_MemoryException_Allocation());
    enterDirectory(directoryOf(program).text());
    loadArchives();
}

// ---- The local root and its archives -------------------------------------------------------------------

void FileSystem::setRoot(const char *dir) {
    unloadArchives();
    enterDirectory(dir);
    loadArchives();
}

/// Makes a directory the process's current directory and, by the name that the system gives it, the root.
void FileSystem::enterDirectory(const char *dir) {
    if (!platform::setCurrentDirectory(dir))
        V_throw(V_FileException_DirectoryNotFound(dir));
    Path entered;
    if (!entered.set(platform::currentDirectory)) {
        platform::setCurrentDirectory(names.root.text());
        V_throw(V_FileException_PathTooLong(dir));
    }
    names.root = entered;
}

bool FileSystem::setSecondaryDirectory(const char *dir) {
    Path directory;
    directory.append(dir, dir);
    if (directory.length() != 0 && !directory.endsWithBackslash())
        directory.append("\\", dir);
    m_secondaryDirectory = directory;

    unloadArchives();
    return loadArchives();
}

bool FileSystem::loadArchives() {
    names.setMode(V_File::AH_ARCHIVES);
    search.reset();
    loadArchivesOf("", Origin::ORIGIN_ROOT);
    return m_secondaryDirectory.length() != 0 &&
           loadArchivesOf(m_secondaryDirectory.text(), Origin::ORIGIN_SECONDARY);
}

/// Loads the archives of a directory behind those that are there. Returns whether there are any.
bool FileSystem::loadArchivesOf(const char *directory, Origin origin) {
    const Path place = *directory ? belowRoot(directory) : names.root;
    char pattern[sizeof(platform::PathBuffer) + sizeof "\\*.VAS"];
    std::strcpy(pattern, place.text());
    std::strcat(pattern, place.endsWithBackslash() ? "*.VAS" : "\\*.VAS");
    bool outOfMemory = false;
    const OpenEnumeration found(platform::startEnumeration(pattern, &outOfMemory));
    if (outOfMemory)
        V_throw(V_MemoryException_Allocation());
    bool any = false;
    while (const char *name = found ? platform::nextName(found.get()) : nullptr) {
        Path path;
        path.append(directory, name);
        path.append(name, name);
        m_places = m_places->with(m_places->endOfStanding(), newPlace(loadArchive(path.text()), {}, origin));
        any = true;
    }
    return any;
}

void FileSystem::unloadArchives() {
    if (names.areVirtual()) {
        search.reset(); // a search of its own ends here
        m_places = m_places->withoutStandingArchives();
    }
}

/// Loads an archive by a name that is relative to the root.
Ref<Archive> FileSystem::loadArchive(const char *name) const {
    Path path;
    if (!expand(path, name))
        V_throw(V_FileException_ArchiveNotFound(name)); // another drive
    return Archive::load(path.text());
}

/// The absolute form of a path that is relative to the root, if to anything. False when it names nothing.
bool FileSystem::expand(Path &out, const char *path) const {
    const Path below = belowRoot(path);
    return out.set([&](platform::PathBuffer &buffer) { return platform::fullPath(buffer, below.text()); });
}

/// A path that is relative to the root, if to anything, without need of the process's current directory.
Path FileSystem::belowRoot(const char *path) const {
    const bool absolute = path[0] == '\\' || path[0] == '/' || (path[0] && path[1] == ':');
    Path result;
    if (!absolute) {
        result = names.root;
        if (!result.endsWithBackslash())
            result.append("\\", path);
    }
    result.append(path, path);
    return result;
}

// ---- The priority archive ------------------------------------------------------------------------------

void FileSystem::enablePriorityArchive(const char *name) {
    disablePriorityArchive();
    Path copy; // the name may be the one that is held
    copy.append(name, name);
    m_priorityName = copy;
    if (copy.length() == 0)
        V_throw(V_FileException_ArchiveNotFound(name));
    m_places = m_places->with(m_places->positionOf(Origin::ORIGIN_LOCAL_ROOT) + 1,
                              newPlace(loadArchive(m_priorityName.text()), {}, Origin::ORIGIN_PRIORITY));
    m_bPriorityEnabled = true;
}

void FileSystem::disablePriorityArchive() {
    const std::size_t position = m_places->positionOf(Origin::ORIGIN_PRIORITY);
    if (m_bPriorityEnabled && position != m_places->size())
        m_places = m_places->without(position);
    m_bPriorityEnabled = false;
}

} // namespace vl
