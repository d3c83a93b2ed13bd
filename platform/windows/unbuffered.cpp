// Reading past the system's cache.

#include "platform/windows/system.h"

#include "platform/windows/handle.h"
#include "platform/windows/paths.h"

#include <algorithm>
#include <bit>
#include <new>

namespace vl::platform {

class UnbufferedFile {
  public:
    HANDLE m_handle;
    std::uint32_t m_uSectorSize;
    /// Reads go past the cache; off for good once the system refuses one.
    bool m_bDirect;
};

namespace {

constexpr std::uint32_t smallestSector = 512;
/// Serves every volume that does not tell its own.
constexpr std::uint32_t safeSector = 4096;

/// Bytes per sector of the volume on which an open file lies.
std::uint32_t sectorSizeOf(HANDLE handle) {
    SystemPath path;
    wchar_t volume[MAX_PATH];
    DWORD perCluster, bytes, freeClusters, clusters;
    if (!realPath(path, handle) || !GetVolumePathNameW(path.text, volume, std::size(volume)) ||
        !GetDiskFreeSpaceW(volume, &perCluster, &bytes, &freeClusters, &clusters) || bytes == 0 ||
        bytes > 0x80000000u)
        return safeSector;
    return std::bit_ceil(std::max<std::uint32_t>(bytes, smallestSector));
}

/// Takes over a handle; `direct` tells whether it reads past the cache.
UnbufferedFile *finishOpening(HANDLE handle, bool direct, FileIdentity &identity, bool *outOfMemory) {
    if (outOfMemory)
        *outOfMemory = false;
    if (handle == INVALID_HANDLE_VALUE)
        return nullptr;
    UnbufferedFile *file = nullptr;
    if (identifyFile(handle, identity)) {
        file =
            new (std::nothrow) UnbufferedFile{handle, direct ? sectorSizeOf(handle) : smallestSector, direct};
        if (!file && outOfMemory)
            *outOfMemory = true;
    }
    if (!file)
        CloseHandle(handle);
    return file;
}

HANDLE reopen(HANDLE handle, DWORD flags) {
    return ReOpenFile(handle, GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, flags);
}

} // namespace

UnbufferedFile *openUnbuffered(const char *path, FileIdentity &identity, bool *outOfMemory) {
    SystemPath system;
    HANDLE handle = INVALID_HANDLE_VALUE;
    bool direct = true;
    if (toSystemPath(system, path) && !system.endsInSeparator) {
        handle = openHandle(system.text, GENERIC_READ, OPEN_EXISTING, FILE_FLAG_NO_BUFFERING);
        if (handle == INVALID_HANDLE_VALUE && GetLastError() == ERROR_INVALID_PARAMETER) {
            direct = false;
            handle = openHandle(system.text, GENERIC_READ, OPEN_EXISTING);
        }
    }
    return finishOpening(handle, direct, identity, outOfMemory);
}

UnbufferedFile *openUnbuffered(FileHandle file, FileIdentity &identity, bool *outOfMemory) {
    // Where reopening goes by the name, another file may have it by now.
    HANDLE handle = reopen(handleOf(file), FILE_FLAG_NO_BUFFERING);
    FileIdentity same, opened;
    const bool direct = handle != INVALID_HANDLE_VALUE && identifyFile(handleOf(file), same) &&
                        identifyFile(handle, opened) && opened == same;
    if (!direct) {
        if (handle != INVALID_HANDLE_VALUE)
            CloseHandle(handle);
        handle = handleOf(duplicate(file, identity));
    }
    return finishOpening(handle, direct, identity, outOfMemory);
}

void closeUnbuffered(UnbufferedFile *file) {
    if (file)
        CloseHandle(file->m_handle);
    delete file;
}

std::uint32_t sectorSize(UnbufferedFile *file) { return file->m_uSectorSize; }

std::uint32_t readUnbuffered(UnbufferedFile *file, std::uint64_t position, void *buffer,
                             std::uint32_t count) {
    std::uint32_t done = readAt(fileOf(file->m_handle), position, buffer, count);
    if (done == 0 && count != 0 && file->m_bDirect && GetLastError() == ERROR_INVALID_PARAMETER) {
        // Some file systems refuse only here.
        file->m_bDirect = false;
        const HANDLE ordinary = reopen(file->m_handle, 0);
        if (ordinary != INVALID_HANDLE_VALUE) {
            CloseHandle(file->m_handle);
            file->m_handle = ordinary;
            done = readAt(fileOf(ordinary), position, buffer, count);
        }
    }
    return done;
}

} // namespace vl::platform
