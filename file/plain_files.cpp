// Operations on single files: found on disk first, then in the archives.

#include "vl/file.h"

#include "file/archive/entry_reader.h"
#include "file/file_system.h"
#include "file/places/description.h"
#include "file/places/lookup.h"
#include "file/whole_file.h"
#include "platform/platform.h"

#include <cstdio>
#include <cstring>
#include <memory>

using vl::FoundFile;
using vl::Lookup;

namespace {

struct CloseFile {
    void operator()(std::FILE *file) const { std::fclose(file); }
};
using OpenFile = std::unique_ptr<std::FILE, CloseFile>;

/// Writes with one transfer of the caller's own block, which standard I/O need not buffer. False when the
/// file cannot be opened.
bool writeTo(const char *path, const char *mode, const void *data, unsigned int size) {
    const OpenFile file(vl::platform::openFile(path, mode));
    if (!file)
        return false;
    std::setvbuf(file.get(), nullptr, _IONBF, 0);
    if (size != 0) // there may be no data to point to
        std::fwrite(data, 1, size, file.get());
    return true;
}

} // namespace

// ---- Reading -------------------------------------------------------------------------------------------

unsigned int V_File::size(const char *name) {
    Lookup lookup(name, *m_pSystem);
    const FoundFile found = lookup.open();
    if (!found)
        V_throw(V_FileException_FileNotFound(lookup.upperCased().text()));
    return found.size(lookup.diskPath());
}

void V_File::load(void *buffer, const char *name, unsigned int size) {
    Lookup lookup(name, *m_pSystem);
    const FoundFile found = lookup.open();
    if (!found)
        V_throw(V_FileException_FileNotFound(lookup.path()));
    if (found.archived.file) {
        vl::EntryReader(found.archived, lookup.path()).readWhole(buffer, WHOLE_FILE);
        return;
    }
    const unsigned int count = size == WHOLE_FILE ? found.size(lookup.diskPath()) : size;
    if (!found.onDisk.read(0, buffer, count))
        V_throw(V_FileException_UnableToReadData(lookup.diskPath()));
}

char *V_File::load(const char *, const char *name, unsigned int size) {
    return vl::loadWhole(name, size, *m_pSystem).release();
}

char *V_File::load(const char *name, unsigned int size) { return load("Vantor Library", name, size); }

void V_File::free(char *buffer) { V_Memory::freeCounted(buffer); }

unsigned int V_File::timeStamp(const char *name) {
    const FoundFile found = Lookup(name, *m_pSystem).open();
    if (found.onDisk)
        return vl::stampOf(found.onDisk.identity());
    // What is there on disk, though it cannot be read, hides what is archived.
    return found.archived.file && where(name) == LOC_ARCHIVE ? vl::stampOf(found.archived.file->time) : 0;
}

int V_File::getMethod(const char *name) {
    Lookup lookup(name, *m_pSystem);
    bool isOnDisk = false;
    const V_VASFind found = lookup.firstFile([&](const vl::Place &) {
        return isOnDisk = vl::platform::fileKind(lookup.diskPath()) != vl::platform::FileKind::None;
    });
    return isOnDisk ? METHOD_STORED : found.file ? static_cast<int>(found.file->method) : -1;
}

// ---- Writing -------------------------------------------------------------------------------------------

int V_File::save(const char *name, const void *data, unsigned int size) {
    Lookup lookup(name, *m_pSystem);
    const char *const path = lookup.pathForWriting();
    lookup.createParent();
    if (m_pSystem->overrides)
        vl::platform::removeFile(path);
    if (vl::platform::fileKind(path) != vl::platform::FileKind::None)
        return 0;
    return writeTo(path, "wb", data, size);
}

int V_File::append(const char *name, const void *data, unsigned int size) {
    Lookup lookup(name, *m_pSystem);
    const char *const path = lookup.pathForWriting();
    lookup.createParent();
    // The mode itself writes behind the end.
    return writeTo(path, "a+b", data, size) ? 1 : save(name, data, size);
}

int V_File::del(const char *name) {
    return vl::platform::removeFile(Lookup(name, *m_pSystem).tryPathForWriting());
}

void V_File::setOverride(int override) { m_pSystem->overrides = override != 0; }

int V_File::tmpName(char *out, const char *format) {
    const auto write = [out, format](int number) {
        const int length = std::snprintf(out, sizeof(vl::platform::PathBuffer), format, number);
        if (length < 0 || length >= static_cast<int>(sizeof(vl::platform::PathBuffer)))
            V_throw(V_FileException_PathTooLong(format));
    };
    write(0);
    vl::Path first;
    first.append(out, format);
    for (int number = 1; Lookup(out, *m_pSystem).isOnDisk(); ++number) {
        write(number);
        if (first.view() == out) {
            out[0] = 0;
            return 0;
        }
    }
    return 1;
}
