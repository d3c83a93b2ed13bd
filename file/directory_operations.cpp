// Operations on names on disk: copying, renaming, directories. Whatever fails is told with the system's
// reason.

#include "vl/file.h"

#include "file/file_system.h"
#include "file/names/name_rules.h"
#include "file/places/lookup.h"
#include "platform/platform.h"
#include "vl/file/reader.h"
#include "vl/file/writer.h"

#include <cstring>

using vl::Lookup;

namespace {

void require(bool done, const char *action, const char *name) {
    if (!done)
        V_throw(V_FileException_OperationFailed(action, name, vl::platform::lastFailure()));
}

} // namespace

void V_File::saveAtomically(const char *name, const void *data, unsigned int size) {
    V_FileWriter writer(name, V_FileWriter::REPLACE);
    writer.write(data, size);
    writer.commit();
}

void V_File::copy(const char *from, const char *to) {
    V_FileReader reader(from);
    V_FileWriter writer(to, V_FileWriter::REPLACE);
    char piece[16384];
    while (const unsigned int count = reader.read(piece, sizeof piece))
        writer.write(piece, count);
    writer.commit();
}

void V_File::rename(const char *from, const char *to) {
    Lookup source(from, *m_pSystem), target(to, *m_pSystem);
    const char *const path = source.pathForWriting(), *const newPath = target.pathForWriting();
    target.createParent();
    require(vl::platform::rename(path, newPath), "rename", from);
}

void V_File::createDirectory(const char *name) {
    require(vl::platform::createDirectories(Lookup(name, *m_pSystem).pathForWriting()), "create directory",
            name);
}

void V_File::removeDirectory(const char *name) {
    require(vl::platform::removeDirectory(Lookup(name, *m_pSystem).pathForWriting()), "remove directory",
            name);
}

void V_File::getUserDirectory(const char *maker, const char *program, V_String &out) {
    for (const char *name : {maker, program})
        if (!vl::isNameable(name, true) || std::strpbrk(name, "\\:"))
            V_throw(V_FileException_OperationFailed("create user directory", name, "not a plain name"));
    vl::Path path;
    require(path.set(vl::platform::userDataDirectory), "create user directory", program);
    for (const char *name : {maker, program}) {
        path.append("\\", name);
        path.append(name, name);
    }
    require(vl::platform::createDirectories(path.text()), "create user directory", path.text());
    out = path.text();
}
