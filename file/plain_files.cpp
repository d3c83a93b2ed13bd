// Operations on single files: found on disk first, then in the archives.

#include "vl/file.h"

#include "base/text.h"
#include "core/counted.h"
#include "file/archive_query.h"
#include "file/open_file.h"
#include "file/path_text.h"
#include "platform/platform.h"

#include <cstdio>
#include <cstring>

using vl::OpenFile;
using vl::openWithoutBuffer;
using vl::PathText;
using vl::platform::PathBuffer;

namespace {

void upperCase(char *text) {
    for (; *text; ++text)
        *text = vl::upper(*text);
}

template <class Time>
unsigned int stampOf(const Time &time) {
    unsigned int stamp = (time.year - 1995u) * 12 + time.month;
    stamp = stamp * 31 + time.day;
    stamp = stamp * 24 + time.hour;
    stamp = stamp * 60 + time.minute;
    return stamp * 60 + time.second;
}

} // namespace

V_File::Location V_File::where(const char *name) {
    PathBuffer pathBuffer, diskPath;
    const std::string_view path = relativeToAbsolutePath(pathBuffer, name);
    vl::ArchiveQuery query(*VASArchiveList, path); // before the disk is asked, so as not to wait after it
    if (vl::platform::fileKind(absolutePathToDirStructure(diskPath, path)) != vl::platform::FileKind::None)
        return LOC_DISK;
    return query.findFile().archive || query.findDirectory().archive ? LOC_ARCHIVE : LOC_NONE;
}

int V_File::exists(const char *name) { return where(name) != LOC_NONE; }

int V_File::isDirectory(const char *name) {
    PathBuffer path;
    relativeToAbsolutePath(path, name);
    return isResolvedDirectory(path);
}

bool V_File::isResolvedDirectory(const char *path) {
    PathBuffer diskPath;
    absolutePathToDirStructure(diskPath, path);
    if (vl::platform::fileKind(diskPath) == vl::platform::FileKind::Directory)
        return true;
    V_VASFind found;
    searchDir(&found, path);
    return found.archive != nullptr;
}

unsigned int V_File::size(const char *name) {
    PathBuffer path, diskPath;
    relativeToAbsolutePath(path, name);
    absolutePathToDirStructure(diskPath, path);
    if (const OpenFile file = openWithoutBuffer(diskPath, "rb"))
        return vl::sizeOf(file.get(), diskPath);
    upperCase(path);
    V_VASFind found;
    searchFile(&found, path);
    if (!found.file)
        V_throw(V_FileException_FileNotFound(path));
    return found.file->size;
}

void V_File::load(void *buffer, const char *name, unsigned int size) {
    loadBounded(buffer, name, size, WHOLE_FILE);
}

void V_File::loadBounded(void *buffer, const char *name, unsigned int size, unsigned int bufferSize) {
    PathBuffer path, diskPath;
    vl::ArchiveQuery query(*VASArchiveList, relativeToAbsolutePath(path, name));
    absolutePathToDirStructure(diskPath, path);
    if (const OpenFile file = openWithoutBuffer(diskPath, "rb")) {
        const unsigned int count = size == WHOLE_FILE ? vl::sizeOf(file.get(), diskPath) : size;
        if (std::fread(buffer, 1, count, file.get()) != count)
            V_throw(V_FileException_UnableToReadData(diskPath));
        return;
    }
    const V_VASFind found = query.findFile();
    if (!found.file)
        V_throw(V_FileException_FileNotFound(path));
    const unsigned int written = readEntry(found, path, buffer, bufferSize);
    if (bufferSize != WHOLE_FILE)
        std::memset(static_cast<char *>(buffer) + written, 0, bufferSize - written);
}

char *V_File::load(const char *, const char *name, unsigned int size) {
    PathBuffer path, upperCased;
    relativeToAbsolutePath(path, name); // first, so that a refusal shows the name as it was given
    PathText(upperCased, name).append(name);
    upperCase(upperCased);

    const unsigned int count = size == WHOLE_FILE ? this->size(upperCased) : size;
    if (count == 0) {
        V_VASFind found;
        searchFile(&found, path);
        V_throw(V_FileException_FileCorrupted(found.file ? path : upperCased));
    }
    checkLargeLoad(upperCased, count);
    vl::CountedArray<char> buffer(vl::allocateArray<char>(count));
    loadBounded(buffer.get(), upperCased, count, count);
    return buffer.release();
}

char *V_File::load(const char *name, unsigned int size) { return load("Vantor Library", name, size); }

void V_File::free(char *buffer) { V_Memory::freeCounted(buffer); }

int V_File::save(const char *name, const void *data, unsigned int size) {
    PathBuffer path, diskPath;
    relativeToAbsolutePath(path, name);
    absolutePathToDirStructure(diskPath, path);
    checkPathExistence(path);
    if (m_iOverride)
        vl::platform::removeFile(diskPath);
    if (where(name) == LOC_DISK)
        return 0;
    const OpenFile file = openWithoutBuffer(diskPath, "wb");
    if (!file)
        return 0;
    std::fwrite(data, 1, size, file.get());
    return 1;
}

int V_File::append(const char *name, const void *data, unsigned int size) {
    PathBuffer path, diskPath;
    relativeToAbsolutePath(path, name);
    absolutePathToDirStructure(diskPath, path);
    checkPathExistence(path);
    const OpenFile file = openWithoutBuffer(diskPath, "a+b"); // the mode itself writes behind the end
    if (!file)
        return save(name, data, size);
    std::fwrite(data, 1, size, file.get());
    return 1;
}

int V_File::del(const char *name) {
    PathBuffer path, diskPath;
    relativeToAbsolutePath(path, name);
    absolutePathToDirStructure(diskPath, path);
    return vl::platform::removeFile(diskPath);
}

unsigned int V_File::timeStamp(const char *name) {
    PathBuffer path, diskPath;
    relativeToAbsolutePath(path, name);
    absolutePathToDirStructure(diskPath, path);
    vl::platform::CalendarTime time;
    if (vl::platform::lastWriteTime(diskPath, time))
        return stampOf(time);
    if (where(name) == LOC_ARCHIVE) {
        V_VASFind found;
        searchFile(&found, path);
        if (found.file)
            return stampOf(found.file->time);
    }
    return 0;
}

int V_File::tmpName(char *out, const char *format) {
    const auto write = [out, format](int number) {
        const int length = std::snprintf(out, sizeof(PathBuffer), format, number);
        if (length < 0 || length >= static_cast<int>(sizeof(PathBuffer)))
            V_throw(V_FileException_PathTooLong(format));
    };
    write(0);
    PathBuffer first;
    std::memcpy(first, out, std::strlen(out) + 1);
    for (int number = 1; where(out) == LOC_DISK; ++number) {
        write(number);
        if (std::strcmp(out, first) == 0) {
            out[0] = 0;
            return 0;
        }
    }
    return 1;
}
