// Asking disk and archives for a name (in which order: lookup.h).

#include "file/places/lookup.h"

namespace vl {

Lookup::Lookup(const char *name, const FileSystem &system)
    : m_strName(name), m_path(system.names.resolve(name, &m_uKept)),
      m_query(*system.activePlaces(), m_path.view()) {
    system.names.toDiskPath(m_diskPath, m_path.view());
}

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

const char *Lookup::pathForWriting() const {
    if (m_diskPath.length() == 0)
        V_throw(V_FileException_PathTooLong(m_strName));
    return m_diskPath.text();
}

void Lookup::createParent() const {
    if (m_path.directoryLength() <= 1)
        return; // the root's
    Path directory = m_diskPath;
    directory.cutTo(directory.directoryLength() - 1);
    platform::createDirectory(directory.text());
}

V_File::Location Lookup::where() {
    if (kindOnDisk() != platform::FileKind::None)
        return V_File::LOC_DISK;
    return m_query.findFile().file || m_query.findDirectory() ? V_File::LOC_ARCHIVE : V_File::LOC_NONE;
}

bool Lookup::isDirectory() {
    return kindOnDisk() == platform::FileKind::Directory || m_query.findDirectory();
}

FoundFile Lookup::open() {
    FoundFile found;
    if (m_diskPath.length() != 0)
        found.onDisk = ReadFile::open(m_diskPath.text());
    if (!found.onDisk)
        found.archived = m_query.findFile();
    return found;
}

} // namespace vl
