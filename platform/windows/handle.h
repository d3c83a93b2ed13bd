// What the functions on open files share: opening, and what an open file is.
#pragma once

#include "platform/platform.h"
#include "platform/windows/system.h"

namespace vl::platform {

/// Others may do to an open file what they like; programs started later do not inherit it.
inline HANDLE openHandle(const wchar_t *path, DWORD access, DWORD disposition, DWORD flags = 0) {
    return CreateFileW(path, access, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
                       disposition, FILE_ATTRIBUTE_NORMAL | flags, nullptr);
}

inline HANDLE handleOf(FileHandle file) { return reinterpret_cast<HANDLE>(file); }
inline FileHandle fileOf(HANDLE handle) { return reinterpret_cast<FileHandle>(handle); }

inline std::uint64_t wide(DWORD high, DWORD low) { return std::uint64_t{high} << 32 | low; }

/// Between 1601, from where the system counts in steps of 100 nanoseconds, and 1970.
inline constexpr std::int64_t secondsTo1970 = 11644473600;
inline constexpr std::uint32_t stepsPerSecond = 10'000'000;

inline void setTime(FileIdentity &identity, const FILETIME &time) {
    const std::uint64_t steps = wide(time.dwHighDateTime, time.dwLowDateTime);
    identity.lastWrite = static_cast<std::int64_t>(steps / stepsPerSecond) - secondsTo1970;
    identity.nanoseconds = static_cast<std::uint32_t>(steps % stepsPerSecond * 100);
}

/// What a file or directory is that is open, its attributes into `attributes`.
inline bool identify(HANDLE handle, FileIdentity &identity, DWORD &attributes) {
    BY_HANDLE_FILE_INFORMATION info;
    if (!GetFileInformationByHandle(handle, &info))
        return false;
    identity.volume = info.dwVolumeSerialNumber;
    identity.file = wide(info.nFileIndexHigh, info.nFileIndexLow);
    identity.length = wide(info.nFileSizeHigh, info.nFileSizeLow);
    setTime(identity, info.ftLastWriteTime);
    attributes = info.dwFileAttributes;
    return true;
}

/// Tells what an open file is; false of anything but a regular file.
inline bool identifyFile(HANDLE handle, FileIdentity &identity) {
    DWORD attributes;
    return GetFileType(handle) == FILE_TYPE_DISK && identify(handle, identity, attributes) &&
           (attributes & FILE_ATTRIBUTE_DIRECTORY) == 0;
}

} // namespace vl::platform
