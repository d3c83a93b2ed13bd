// The file system's root and the archives that stand from the start: loading, unloading, the priority archive
// and the secondary directory. (The places that clients add: places/changes.cpp.)

#include "file/file_system.h"

#include "core/counted.h"
#include "platform/platform.h"
#include "vl/core/system.h"

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

/// A directory by the name that the system gives it. `dir` is what messages call it.
Path realDirectory(const Path &path, const char *dir) {
    if (platform::fileKind(path.view()) != platform::FileKind::Directory)
        V_throw(V_FileException_DirectoryNotFound(dir));
    Path real;
    if (!real.set([&](platform::PathBuffer &out) { return platform::realDirectory(out, path.text()); }))
        V_throw(V_FileException_PathTooLong(dir));
    return real;
}

/// The directory that the settings tell, as they tell it.
Path givenRoot(const V_StartSettings &settings) {
    Path root;
    if (settings.root) {
        root.append(settings.root, settings.root);
        return root;
    }
    const char *const program = platform::executablePath();
    if (!program)
        V_throw(V_MemoryException_Allocation());
    return directoryOf(program);
}

struct EndEnumeration {
    void operator()(platform::Enumeration *enumeration) const { platform::endEnumeration(enumeration); }
};
using OpenEnumeration = std::unique_ptr<platform::Enumeration, EndEnumeration>;

} // namespace

FileSystem::FileSystem(const V_StartSettings &settings) : m_settings(settings) {
    PlaceList::Places root;
    root.push_back(newPlace({}, {}, Origin::ORIGIN_LOCAL_ROOT));
    m_diskAlone = m_places = Ref<const PlaceList>(newCounted<PlaceList>(std::move(root)));
    startupDirectory.set(platform::currentDirectory); // the process's business; nothing here depends on it
    if (settings.leaveDirectoryAlone)
        names.root = rootOf(settings);
    else
        enterDirectory(givenRoot(settings).text());
    loadArchives();
}

Path FileSystem::rootOf(const V_StartSettings &settings) {
    const Path given = givenRoot(settings);
    return realDirectory(given, given.text());
}

// ---- The local root and its archives -------------------------------------------------------------------

void FileSystem::setRoot(const char *dir) {
    unloadArchives();
    enterDirectory(dir);
    loadArchives();
}

/// Makes a directory the root, by the name that the system gives it, and the process's current directory.
void FileSystem::enterDirectory(const char *dir) {
    if (m_settings.leaveDirectoryAlone) {
        names.root = realDirectory(belowRoot(dir), dir);
        return;
    }
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
    if (m_settings.loadArchives)
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
    while (const char *name = found ? platform::nextName(found.get()) : nullptr)
        any |= loadFound(directory, name, origin);
    return any;
}

/// Loads an archive that an enumeration has found. False when the settings leave it out.
bool FileSystem::loadFound(const char *directory, const char *name, Origin origin) {
    try {
        Path path;
        path.append(directory, name);
        path.append(name, name);
        if (m_settings.passOverOddArchives &&
            platform::fileKind(belowRoot(path.text()).view()) != platform::FileKind::File)
            return false;
        m_places = m_places->with(m_places->endOfStanding(), newPlace(loadArchive(path.text()), {}, origin));
        return true;
    } catch (V_FileException *failure) {
        if (m_settings.badArchives == V_StartSettings::BA_THROW)
            throw;
        Sys->verbose("%s\n", failure->getErrorMessage());
        return false;
    }
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
    Path result;
    if (!makeAbsolute(result, path, names.root))
        V_throw(V_FileException_PathTooLong(path));
    return result;
}

std::FILE *FileSystem::openGiven(const char *path, const char *mode) {
    if (!File || !get().m_settings.leaveDirectoryAlone)
        return platform::openFile(path, mode);
    Path absolute;
    return makeAbsolute(absolute, path, get().names.root) ? platform::openFile(absolute.text(), mode)
                                                          : nullptr;
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
