// Reading past the system's cache with direct I/O, or by ordinary reads where the file system has none.

#include "platform/posix/system.h"

#include "platform/platform.h"
#include "platform/posix/descriptor.h"
#include "platform/posix/spelling.h"

#include <algorithm>
#include <bit>
#include <cstdio>
#include <fcntl.h>
#include <new>
#include <unistd.h>

namespace vl::platform {

class UnbufferedFile {
  public:
    int m_descriptor;
    std::uint32_t m_uSectorSize;
    /// Reads go past the cache; off for good once the file system refuses one.
    bool m_bDirect;
};

namespace {

constexpr std::uint32_t smallestSector = 512;
/// Serves every file system that does not tell its alignment.
constexpr std::uint32_t safeSector = 4096;

/// A pipe would wait for its writer; files do not mind.
constexpr int readOnly = O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY;

/// The alignment that direct reads of the file need; 0 when there are none.
std::uint32_t directAlignment([[maybe_unused]] int descriptor) {
#ifdef STATX_DIOALIGN
    struct statx info;
    if (statx(descriptor, "", AT_EMPTY_PATH, STATX_DIOALIGN, &info) == 0 &&
        (info.stx_mask & STATX_DIOALIGN) != 0) {
        if (info.stx_dio_offset_align == 0)
            return 0;
        const std::uint32_t alignment =
            std::max({info.stx_dio_offset_align, info.stx_dio_mem_align, smallestSector});
        return alignment <= 0x80000000u ? std::bit_ceil(alignment) : 0;
    }
#endif
    return safeSector;
}

void turnDirectOff(UnbufferedFile &file) {
    file.m_bDirect = false;
    fcntl(file.m_descriptor, F_SETFL, fcntl(file.m_descriptor, F_GETFL) & ~O_DIRECT);
}

} // namespace

UnbufferedFile *openUnbuffered(const char *path, FileIdentity &identity, bool *outOfMemory) {
    if (outOfMemory)
        *outOfMemory = false;
    SystemPath system;
    if (!toSystemPath(system, path) || system.endsInSeparator)
        return nullptr;
    int descriptor = -1;
    bool direct = true;
    const auto openExisting = [&](const char *text) {
        direct = true;
        descriptor = open(text, readOnly | O_DIRECT);
        if (descriptor < 0 && errno == EINVAL) {
            direct = false;
            descriptor = open(text, readOnly);
        }
        return descriptor >= 0;
    };
    if (withSpelling(system, openExisting) != Spelling::Found)
        return nullptr;

    if (!identify(descriptor, identity)) {
        close(descriptor);
        return nullptr;
    }
    auto *const file = new (std::nothrow) UnbufferedFile{descriptor, smallestSector, direct};
    if (!file) {
        if (outOfMemory)
            *outOfMemory = true;
        close(descriptor);
        return nullptr;
    }
    if (direct) {
        const std::uint32_t alignment = directAlignment(descriptor);
        if (alignment != 0)
            file->m_uSectorSize = alignment;
        else
            turnDirectOff(*file);
    }
    return file;
}

UnbufferedFile *openUnbuffered(FileHandle file, FileIdentity &identity, bool *outOfMemory) {
    char path[32]; // a direct read needs an opening of its own
    std::snprintf(path, sizeof path, "/proc/self/fd/%d", static_cast<int>(file));
    return openUnbuffered(path, identity, outOfMemory);
}

void closeUnbuffered(UnbufferedFile *file) {
    if (file)
        close(file->m_descriptor);
    delete file;
}

std::uint32_t sectorSize(UnbufferedFile *file) { return file->m_uSectorSize; }

std::uint32_t readUnbuffered(UnbufferedFile *file, std::uint64_t position, void *buffer,
                             std::uint32_t count) {
    if (position > std::uint64_t{INT64_MAX} - count)
        return 0;
    std::uint32_t done = 0;
    while (done < count) {
        const ssize_t got = pread(file->m_descriptor, static_cast<char *>(buffer) + done, count - done,
                                  static_cast<off_t>(position + done));
        if (got > 0) {
            done += static_cast<std::uint32_t>(got);
            // Part of a sector is the end of the file; a direct read could not go on from there.
            if (done % file->m_uSectorSize != 0)
                break;
        } else if (got < 0 && errno == EINVAL && file->m_bDirect) {
            // Some file systems refuse only here.
            turnDirectOff(*file);
        } else if (got == 0 || errno != EINTR) {
            break;
        }
    }
    return done;
}

} // namespace vl::platform
