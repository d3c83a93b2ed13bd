// Operations on single files: found on disk first, then in the archives.

#include "vl/file.h"

#include "file/archive/entry_reader.h"
#include "file/file_system.h"
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

template <class Time>
unsigned int stampOf(const Time &time) {
    unsigned int stamp = (time.year - 1995u) * 12 + time.month;
    stamp = stamp * 31 + time.day;
    stamp = stamp * 24 + time.hour;
    stamp = stamp * 60 + time.minute;
    return stamp * 60 + time.second;
}

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
    Lookup lookup(name, *m_pSystem);
    const FoundFile found = lookup.open();
    vl::platform::CalendarTime time;
    if (found.onDisk)
        return vl::platform::toCalendar(found.onDisk.identity(), time) ? stampOf(time) : 0;
    // What is there on disk, though it cannot be read, hides what is archived.
    const bool archived = found.archived.file && lookup.kindOnDisk() == vl::platform::FileKind::None;
    return archived ? stampOf(found.archived.file->time) : 0;
}

int V_File::getMethod(const char *name) {
    Lookup lookup(name, *m_pSystem);
    if (lookup.kindOnDisk() != vl::platform::FileKind::None)
        return METHOD_STORED;
    const V_VASFind found = lookup.archivedFile();
    return found.file ? static_cast<int>(found.file->method) : -1;
}

// ---- Writing -------------------------------------------------------------------------------------------

int V_File::save(const char *name, const void *data, unsigned int size) {
    const Lookup lookup(name, *m_pSystem);
    const char *const path = lookup.pathForWriting();
    lookup.createParent();
    if (m_pSystem->overrides)
        vl::platform::removeFile(path);
    if (lookup.kindOnDisk() != vl::platform::FileKind::None)
        return 0;
    return writeTo(path, "wb", data, size);
}

int V_File::append(const char *name, const void *data, unsigned int size) {
    const Lookup lookup(name, *m_pSystem);
    const char *const path = lookup.pathForWriting();
    lookup.createParent();
    // The mode itself writes behind the end.
    return writeTo(path, "a+b", data, size) ? 1 : save(name, data, size);
}

int V_File::del(const char *name) { return vl::platform::removeFile(Lookup(name, *m_pSystem).diskPath()); }

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
    for (int number = 1; where(out) == LOC_DISK; ++number) {
        write(number);
        if (first.view() == out) {
            out[0] = 0;
            return 0;
        }
    }
    return 1;
}
