// Files and directories by name, and what standard input and output cannot say about an open file.

#include "platform/windows/system.h"

#include "platform/windows/handle.h"
#include "platform/windows/paths.h"

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstring>
#include <cwchar>
#include <fcntl.h>
#include <io.h>

namespace vl::platform {

namespace {

/// What a mode of fopen asks of the system and of the runtime library.
struct OpenMode {
    DWORD access = 0, disposition = 0;
    int flags = 0;
    bool isEmptied = false;
};

/// False for what is no mode.
bool readMode(OpenMode &out, const char *mode) {
    for (const char *p = mode; *p != '\0'; ++p)
        if (p == mode ? !std::strchr("rwa", *p) : !std::strchr("+bt", *p))
            return false;
    const bool update = std::strchr(mode, '+') != nullptr;
    out.access = update ? GENERIC_READ | GENERIC_WRITE : *mode == 'r' ? GENERIC_READ : GENERIC_WRITE;
    out.disposition = *mode == 'r' ? OPEN_EXISTING : OPEN_ALWAYS;
    out.isEmptied = *mode == 'w';
    out.flags = (update         ? _O_RDWR
                 : *mode == 'r' ? _O_RDONLY
                                : _O_WRONLY) |
                (*mode == 'a' ? _O_APPEND : 0) | (std::strchr(mode, 'b') ? _O_BINARY : _O_TEXT);
    return *mode != '\0';
}

FileKind kindOf(DWORD attributes, bool onlyDirectory) {
    if ((attributes & FILE_ATTRIBUTE_DIRECTORY) != 0)
        return FileKind::Directory;
    return onlyDirectory ? FileKind::None : FileKind::File;
}

/// What lies at a path, links followed; false when nothing can be told of it.
bool statusOf(const SystemPath &path, FileIdentity &identity, DWORD &attributes) {
    const HANDLE handle =
        openHandle(path.text, FILE_READ_ATTRIBUTES, OPEN_EXISTING, FILE_FLAG_BACKUP_SEMANTICS);
    if (handle == INVALID_HANDLE_VALUE)
        return false;
    const bool told = identify(handle, identity, attributes);
    CloseHandle(handle);
    return told;
}

/// The deepest of the directories above `path`, and `path` itself, that exists, with all links followed.
bool realPathOfExisting(SystemPath &out, SystemPath path) {
    while (true) {
        const HANDLE handle =
            openHandle(path.text, FILE_READ_ATTRIBUTES, OPEN_EXISTING, FILE_FLAG_BACKUP_SEMANTICS);
        if (handle != INVALID_HANDLE_VALUE) {
            const bool told = realPath(out, handle);
            CloseHandle(handle);
            return told;
        }
        wchar_t *const end = std::wcsrchr(path.text, L'\\');
        const bool isRoot = !end || end[1] == 0 || end - path.text < 4;
        if (isRoot || GetFileAttributesW(path.text) != INVALID_FILE_ATTRIBUTES) // a link to nothing
            return false;
        end[end[-1] == L':' ? 1 : 0] = 0; // a drive's root keeps its backslash
    }
}

} // namespace

FileKind fileKind(std::string_view path) {
    SystemPath system;
    if (!toSystemPath(system, path))
        return FileKind::None;
    DWORD attributes = GetFileAttributesW(system.text);
    if (attributes == INVALID_FILE_ATTRIBUTES)
        return FileKind::None;
    FileIdentity ignored;
    if ((attributes & FILE_ATTRIBUTE_REPARSE_POINT) != 0 && !statusOf(system, ignored, attributes))
        return FileKind::None;
    return kindOf(attributes, system.endsInSeparator);
}

FileKind fileStatus(std::string_view path, FileIdentity &identity) {
    SystemPath system;
    DWORD attributes;
    if (!toSystemPath(system, path) || !statusOf(system, identity, attributes))
        return FileKind::None;
    return kindOf(attributes, system.endsInSeparator);
}

bool createDirectory(const char *path) {
    SystemPath system;
    return toSystemPath(system, path) && CreateDirectoryW(system.text, nullptr);
}

bool staysWithin(const char *directory, const char *path) {
    SystemPath from, to, base, real;
    if (!toSystemPath(from, directory) || !toSystemPath(to, path) ||
        fileKind(directory) != FileKind::Directory || !realPathOfExisting(base, from) ||
        !realPathOfExisting(real, to))
        return false;
    const std::size_t length = std::wcslen(base.text);
    if (std::wcslen(real.text) < length ||
        CompareStringOrdinal(real.text, static_cast<int>(length), base.text, static_cast<int>(length),
                             TRUE) != CSTR_EQUAL)
        return false;
    return base.text[length - 1] == L'\\' || real.text[length] == L'\\' || real.text[length] == 0;
}

bool removeFile(const char *path) {
    SystemPath system;
    return toSystemPath(system, path) && !system.endsInSeparator && DeleteFileW(system.text);
}

std::FILE *openFile(const char *path, const char *mode) {
    OpenMode open;
    SystemPath system;
    if (!readMode(open, mode) || !toSystemPath(system, path) || system.endsInSeparator)
        return nullptr;
    const HANDLE handle = openHandle(system.text, open.access, open.disposition);
    if (handle == INVALID_HANDLE_VALUE)
        return nullptr;
    // From here on the descriptor owns the handle.
    const bool usable = GetFileType(handle) == FILE_TYPE_DISK && (!open.isEmptied || SetEndOfFile(handle));
    const int descriptor =
        usable ? _open_osfhandle(reinterpret_cast<std::intptr_t>(handle), open.flags | _O_NOINHERIT) : -1;
    if (descriptor < 0) {
        CloseHandle(handle);
        return nullptr;
    }
    std::FILE *const file = _fdopen(descriptor, mode);
    if (!file)
        _close(descriptor);
    return file;
}

bool fileLength(std::FILE *file, std::uint64_t &length) {
    // The system knows nothing yet of what still waits in the buffer.
    if (std::fflush(file) != 0)
        return false;
    const auto handle = reinterpret_cast<HANDLE>(_get_osfhandle(_fileno(file)));
    LARGE_INTEGER size;
    if (GetFileType(handle) != FILE_TYPE_DISK || !GetFileSizeEx(handle, &size))
        return false;
    length = static_cast<std::uint64_t>(size.QuadPart);
    return true;
}

bool seekFile(std::FILE *file, std::uint64_t position) {
    return position <= INT64_MAX && _fseeki64(file, static_cast<std::int64_t>(position), SEEK_SET) == 0;
}

FileHandle openForReading(const char *path, FileIdentity &identity, OpenAs) {
    SystemPath system;
    if (!toSystemPath(system, path) || system.endsInSeparator)
        return noFile;
    const HANDLE handle = openHandle(system.text, GENERIC_READ, OPEN_EXISTING);
    if (handle != INVALID_HANDLE_VALUE && !identifyFile(handle, identity)) {
        CloseHandle(handle);
        return noFile;
    }
    return fileOf(handle);
}

std::uint32_t readAt(FileHandle file, std::uint64_t position, void *buffer, std::uint32_t count) {
    if (position > std::uint64_t{INT64_MAX} - count)
        return 0;
    std::uint32_t done = 0;
    while (done < count) {
        OVERLAPPED from{};
        from.Offset = static_cast<DWORD>(position + done);
        from.OffsetHigh = static_cast<DWORD>((position + done) >> 32);
        DWORD got = 0;
        if (!ReadFile(handleOf(file), static_cast<char *>(buffer) + done, count - done, &got, &from) ||
            got == 0)
            break;
        done += got;
    }
    return done;
}

void closeFile(FileHandle file) { CloseHandle(handleOf(file)); }

FileHandle duplicate(FileHandle file, FileIdentity &identity) {
    const HANDLE process = GetCurrentProcess();
    HANDLE handle;
    if (!DuplicateHandle(process, handleOf(file), process, &handle, 0, FALSE, DUPLICATE_SAME_ACCESS))
        return noFile;
    if (!identifyFile(handle, identity)) {
        CloseHandle(handle);
        return noFile;
    }
    return fileOf(handle);
}

// A process may have millions of files open.
bool mayStayOpen(FileHandle) { return true; }

bool toCalendar(const FileIdentity &identity, CalendarTime &time) {
    if (identity.lastWrite < -secondsTo1970 ||
        identity.lastWrite > INT64_MAX / stepsPerSecond - secondsTo1970)
        return false;
    const auto steps = static_cast<std::uint64_t>(identity.lastWrite + secondsTo1970) * stepsPerSecond +
                       identity.nanoseconds / 100;
    const FILETIME fileTime{static_cast<DWORD>(steps), static_cast<DWORD>(steps >> 32)};
    SYSTEMTIME calendar;
    if (!FileTimeToSystemTime(&fileTime, &calendar))
        return false;
    time = {calendar.wYear, calendar.wMonth,  calendar.wDayOfWeek, calendar.wDay,
            calendar.wHour, calendar.wMinute, calendar.wSecond,    calendar.wMilliseconds};
    return true;
}

} // namespace vl::platform
