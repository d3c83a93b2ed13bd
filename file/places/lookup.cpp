// Asking the places for a name (in which order: lookup.h).

#include "file/places/lookup.h"

#include "file/places/description.h"
#include "vl/core/system.h"

#include <algorithm>
#include <cstring>

namespace vl {

using platform::FileKind;

Lookup::Lookup(const char *name, const FileSystem &system)
    : m_strName(name), m_system(system), m_rules(system.names), m_places(*system.activePlaces()),
      m_path(m_rules.resolve(name, &m_uKept)), m_query(m_places, m_path.view()) {
    m_rules.toDiskPath(m_diskPath, m_path.view());
    m_uDiskKept = m_rules.root.length();
}

// ---- For messages --------------------------------------------------------------------------------------

Path Lookup::upperCased() const {
    Path path = m_path;
    path.upperCase(0);
    return path;
}

Path Lookup::upperCasedName() const {
    Path path = m_path;
    path.upperCase(m_uKept);
    return path;
}

Path Lookup::upperCasedDiskPath() const {
    Path path = m_diskPath;
    const std::size_t name = std::min(m_path.length() - m_uKept, path.length());
    const std::size_t begin = path.length() - name;
    path.upperCase(m_rules.areVirtual() ? std::max(begin, m_uDiskKept) : begin);
    return path;
}

// ---- On disk -------------------------------------------------------------------------------------------

/// Sets the path on disk to where a directory holds the name. False when that fits no path, or the name lies
/// elsewhere: then it is not there.
bool Lookup::enter(const Place &directory) {
    if (!directory.placing) {
        leave();
        return m_diskPath.length() != 0;
    }
    m_bElsewhere = true;
    const std::size_t offset = directory.offsetIn(m_path.view());
    if (offset == std::string_view::npos)
        return false;
    m_uDiskKept = directory.placing->path.length();
    return joinDiskPath(m_diskPath, directory.placing->path, m_path.view().substr(offset));
}

/// Sets the path on disk to where the local root holds the name.
void Lookup::leave() {
    if (!m_bElsewhere)
        return;
    m_rules.toDiskPath(m_diskPath, m_path.view());
    m_uDiskKept = m_rules.root.length();
    m_bElsewhere = false;
}

FileKind Lookup::kindIn(const Place &directory) {
    if (directory.isBelow(m_path.view()))
        return FileKind::Directory;
    return enter(directory) ? platform::fileKind(m_diskPath.view()) : FileKind::None;
}

bool Lookup::isOnDisk() {
    return std::any_of(m_places.directories().begin(), m_places.directories().end(),
                       [&](std::uint32_t position) { return kindIn(m_places[position]) != FileKind::None; });
}

// ---- Writing -------------------------------------------------------------------------------------------

const char *Lookup::tryPathForWriting() {
    leave();
    if (const Placing *const apart = m_system.writeDirectory()) {
        m_bElsewhere = true;
        m_uDiskKept = apart->path.length();
        if (joinDiskPath(m_diskPath, apart->path, m_path.view()) &&
            !platform::staysWithin(apart->path.text(), m_diskPath.text()))
            V_throw(V_FileException_OutsideWriteDirectory(m_strName));
    }
    return m_diskPath.text();
}

const char *Lookup::pathForWriting() {
    if (tryPathForWriting(); m_diskPath.length() == 0)
        V_throw(V_FileException_PathTooLong(m_strName));
    if (!m_rules.wholeElements && hasInnerDots(m_strName))
        Sys->verbose("Warning: two dots in \"%s\" take the element before them away: \"%s\" is written\n",
                     m_strName, m_path.text());
    return m_diskPath.text();
}

void Lookup::createParent() const {
    if (m_path.directoryLength() <= 1)
        return; // the root's
    Path directory = m_diskPath;
    // Of the write directory all that the name tells: it may exist in another place alone.
    if (m_bElsewhere) {
        for (std::size_t end = m_uDiskKept + 1;
             (end = m_diskPath.view().find('\\', end)) != std::string_view::npos; ++end) {
            directory = m_diskPath;
            directory.cutTo(end);
            platform::createDirectory(directory.text());
        }
        return;
    }
    directory.cutTo(directory.directoryLength() - 1);
    platform::createDirectory(directory.text());
}

// ---- The questions -------------------------------------------------------------------------------------

V_File::Location Lookup::where() {
    const Place *from = m_places.begin();
    for (const std::uint32_t position : m_places.directories()) {
        const Place *const directory = &m_places[position];
        if (m_query.findFile(directory).file || m_query.findDirectory(from, directory))
            return V_File::LOC_ARCHIVE;
        if (kindIn(*directory) != FileKind::None)
            return V_File::LOC_DISK;
        from = directory + 1;
    }
    return m_query.findFile(m_places.end()).file || m_query.findDirectory(from, m_places.end())
               ? V_File::LOC_ARCHIVE
               : V_File::LOC_NONE;
}

bool Lookup::isDirectory() {
    const auto isThere = [&](std::uint32_t position) {
        return kindIn(m_places[position]) == FileKind::Directory;
    };
    return std::any_of(m_places.directories().begin(), m_places.directories().end(), isThere) ||
           m_query.findDirectory(m_places.begin(), m_places.end());
}

FoundFile Lookup::open() {
    FoundFile found;
    found.archived = firstFile([&](const Place &) {
        found.onDisk = ReadFile::open(m_diskPath.text());
        return static_cast<bool>(found.onDisk);
    });
    return found;
}

// ---- All that is known ---------------------------------------------------------------------------------

bool Lookup::find(V_FileInfo &info) {
    const Place *place = nullptr;      // the first that has a directory of the name on disk
    platform::FileIdentity identity{}; // what that directory or, in the end, the file is
    bool isFile = false;
    const V_File::V_VASFind archived = firstFile([&](const Place &directory) {
        platform::FileIdentity found;
        const FileKind kind = platform::fileStatus(m_diskPath.view(), found);
        isFile = kind == FileKind::File;
        if (!isFile && (kind == FileKind::None || place))
            return false;
        place = &directory;
        identity = found;
        return isFile;
    });
    if (archived.file)
        tellEntry(info, m_query.place(), archived.file);
    else if (isFile)
        tellDisk(info, *place, FileKind::File, identity);
    else
        return findDirectory(info, place, identity);
    return true;
}

/// The first directory of the name, `onDisk` being the first place that has one on disk, if any.
bool Lookup::findDirectory(V_FileInfo &info, const Place *onDisk, const platform::FileIdentity &identity) {
    const auto inArchives = [&](const Place *from, const Place *end) {
        const Place *const place = m_query.findDirectory(from, end);
        if (place)
            tellEntry(info, *place, nullptr);
        return place != nullptr;
    };
    const Place *from = m_places.begin();
    for (const std::uint32_t position : m_places.directories()) {
        const Place &directory = m_places[position];
        if (inArchives(from, &directory))
            return true;
        if (directory.isBelow(m_path.view()) || &directory == onDisk) {
            enter(directory);
            tellDisk(info, directory, FileKind::Directory, identity);
            return true;
        }
        from = &directory + 1;
    }
    return inArchives(from, m_places.end());
}

std::size_t Lookup::findAll(V_FileInfo *infos, std::size_t room) {
    std::size_t count = 0;
    V_FileInfo unwanted;
    for (const Place &place : m_places)
        if (tell(count < room ? infos[count] : unwanted, place))
            ++count;
    return count;
}

/// What one place has of the name; false when it has nothing.
bool Lookup::tell(V_FileInfo &info, const Place &place) {
    if (place.archive) {
        const V_File::VASFileEntry *const file = m_query.findFileIn(place).file;
        if (!file && !m_query.findDirectory(&place, &place + 1))
            return false;
        tellEntry(info, place, file);
        return true;
    }
    platform::FileIdentity identity{};
    FileKind kind = FileKind::Directory;
    if (!place.isBelow(m_path.view()))
        kind = enter(place) ? platform::fileStatus(m_diskPath.view(), identity) : FileKind::None;
    if (kind == FileKind::None)
        return false;
    tellDisk(info, place, kind, identity);
    return true;
}

/// Of what lies at the path on disk, or above the place when that has no such path.
void Lookup::tellDisk(V_FileInfo &info, const Place &place, FileKind kind,
                      const platform::FileIdentity &identity) const {
    const bool isVirtual = place.isBelow(m_path.view());
    info.place = place.id;
    info.isArchived = false;
    describeOnDisk(info, kind, identity);
    std::strcpy(info.path, isVirtual ? "" : m_diskPath.text());
}

/// Of a file in an archive; null means a directory of it.
void Lookup::tellEntry(V_FileInfo &info, const Place &place, const V_File::VASFileEntry *file) const {
    info.place = place.id;
    info.isArchived = true;
    describeEntry(info, file);
    std::strcpy(info.path, place.isBelow(m_path.view()) ? "" : place.archive->archivePath);
}

} // namespace vl
