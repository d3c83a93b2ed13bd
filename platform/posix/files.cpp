// Files and directories by name, and what standard input and output cannot say about an open file.

#include "platform/posix/system.h"

#include "platform/platform.h"
#include "platform/posix/descriptor.h"
#include "platform/posix/spelling.h"

#include <climits>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <fcntl.h>
#include <stdio_ext.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

namespace vl::platform {

namespace {

/// The flags of open for a mode of fopen; -1 for what is no mode.
int openFlags(const char *mode) {
    const bool update = std::strchr(mode, '+') != nullptr;
    for (const char *p = mode; *p != '\0'; ++p)
        if (p == mode ? !std::strchr("rwa", *p) : !std::strchr("+bt", *p))
            return -1;
    const int access = update ? O_RDWR : *mode == 'r' ? O_RDONLY : O_WRONLY;
    switch (*mode) {
    case 'r':
        return access;
    case 'w':
        return access | O_CREAT | O_TRUNC;
    case 'a':
        return access | O_CREAT | O_APPEND;
    default:
        return -1;
    }
}

bool isForReading(int flags) { return (flags & O_ACCMODE) == O_RDONLY; }

/// What else a file is opened with: a pipe would wait for its writer; files do not mind.
constexpr int withoutWaiting = O_NONBLOCK | O_NOCTTY;

/// Opens a file, or for reading anything at all; -1 on failure.
int openAnything(const char *path, int flags) {
    if (isForReading(flags))
        flags |= withoutWaiting;
    SystemPath system;
    if (!toSystemPath(system, path) || system.endsInSeparator)
        return -1;
    int descriptor = -1;
    const auto openExisting = [&](const char *text) {
        descriptor = open(text, (flags & ~O_CREAT) | O_CLOEXEC);
        return descriptor >= 0;
    };
    if (withSpelling(system, openExisting) == Spelling::Missing && (flags & O_CREAT) != 0)
        descriptor = open(system.text, flags | O_CLOEXEC, 0666);
    return descriptor;
}

/// Opens anything for reading under its exact spelling, without asking whether that is right. -1 on failure.
int openAsSpelled(const char *path) {
    SystemPath system;
    if (!toSystemPath(system, path) || system.endsInSeparator)
        return -1;
    return open(system.text, O_RDONLY | O_CLOEXEC | withoutWaiting);
}

/// Opens a regular file, or for writing anything but a directory; -1 on failure.
int openDescriptor(const char *path, int flags) {
    const int descriptor = openAnything(path, flags);
    struct stat info;
    if (descriptor >= 0 && (fstat(descriptor, &info) != 0 || S_ISDIR(info.st_mode) ||
                            (isForReading(flags) && !S_ISREG(info.st_mode)))) {
        close(descriptor);
        return -1;
    }
    return descriptor;
}

FileKind statusOf(std::string_view path, struct stat &info) {
    SystemPath system;
    if (!toSystemPath(system, path) ||
        withSpelling(system, [&](const char *text) { return stat(text, &info) == 0; }) != Spelling::Found)
        return FileKind::None;
    if (S_ISDIR(info.st_mode))
        return FileKind::Directory;
    return system.endsInSeparator ? FileKind::None : FileKind::File;
}

} // namespace

FileKind fileKind(std::string_view path) {
    struct stat info;
    return statusOf(path, info);
}

FileKind fileStatus(std::string_view path, FileIdentity &identity) {
    struct stat info;
    const FileKind kind = statusOf(path, info);
    if (kind != FileKind::None)
        identity = identityOf(info);
    return kind;
}

bool createDirectory(const char *path) {
    SystemPath system;
    return toSystemPath(system, path) && findSpelling(system) == Spelling::Missing &&
           mkdir(system.text, 0777) == 0;
}

bool staysWithin(const char *directory, const char *path) {
    SystemPath from, to;
    char real[PATH_MAX], base[PATH_MAX];
    if (!toSystemPath(from, directory) || !toSystemPath(to, path) || findSpelling(from) != Spelling::Found ||
        !realpath(from.text, base))
        return false;
    findSpelling(to);
    // What does not exist yet will lie where the deepest directory above it lies.
    while (!realpath(to.text, real)) {
        struct stat info;
        char *const slash = std::strrchr(to.text, '/');
        if (!slash || slash == to.text || lstat(to.text, &info) == 0) // a link to nothing
            return false;
        *slash = '\0';
    }
    const std::size_t length = std::strlen(base);
    return std::strncmp(real, base, length) == 0 &&
           (length == 1 || real[length] == '/' || real[length] == '\0');
}

bool removeFile(const char *path) {
    SystemPath system;
    return toSystemPath(system, path) && !system.endsInSeparator &&
           withSpelling(system, [](const char *text) { return unlink(text) == 0; }) == Spelling::Found;
}

std::FILE *openFile(const char *path, const char *mode) {
    const int flags = openFlags(mode);
    const int descriptor = flags == -1 ? -1 : openDescriptor(path, flags);
    if (descriptor < 0)
        return nullptr;
    std::FILE *const file = fdopen(descriptor, mode);
    if (!file)
        close(descriptor);
    return file;
}

bool fileLength(std::FILE *file, std::uint64_t &length) {
    // The system knows nothing yet of what still waits in the buffer.
    if (__fpending(file) != 0 && std::fflush(file) != 0)
        return false;
    struct stat info;
    if (fstat(fileno(file), &info) != 0 || !S_ISREG(info.st_mode))
        return false;
    length = static_cast<std::uint64_t>(info.st_size);
    return true;
}

bool seekFile(std::FILE *file, std::uint64_t position) {
    return position <= INT64_MAX && fseeko(file, static_cast<off_t>(position), SEEK_SET) == 0;
}

FileHandle openForReading(const char *path, FileIdentity &identity, OpenAs as) {
    int descriptor = as == OpenAs::Known ? openAsSpelled(path) : -1;
    if (descriptor < 0)
        descriptor = openAnything(path, O_RDONLY);
    if (descriptor >= 0 && !identify(descriptor, identity)) {
        close(descriptor);
        return noFile;
    }
    return descriptor;
}

std::uint32_t readAt(FileHandle file, std::uint64_t position, void *buffer, std::uint32_t count) {
    if (position > std::uint64_t{INT64_MAX} - count)
        return 0;
    std::uint32_t done = 0;
    while (done < count) {
        const ssize_t got = pread(static_cast<int>(file), static_cast<char *>(buffer) + done, count - done,
                                  static_cast<off_t>(position + done));
        if (got > 0)
            done += static_cast<std::uint32_t>(got);
        else if (got == 0 || errno != EINTR)
            break;
    }
    return done;
}

void closeFile(FileHandle file) { close(static_cast<int>(file)); }

FileHandle duplicate(FileHandle file, FileIdentity &identity) {
    const int descriptor = fcntl(static_cast<int>(file), F_DUPFD_CLOEXEC, 0);
    if (descriptor >= 0 && !identify(descriptor, identity)) {
        close(descriptor);
        return noFile;
    }
    return descriptor;
}

bool mayStayOpen(FileHandle file) {
    // The lowest free number is given to each file.
    struct rlimit limit;
    return getrlimit(RLIMIT_NOFILE, &limit) == 0 && static_cast<rlim_t>(file) < limit.rlim_cur / 2;
}

bool toCalendar(const FileIdentity &identity, CalendarTime &time) {
    const auto seconds = static_cast<std::time_t>(identity.lastWrite);
    std::tm calendar;
    if (!gmtime_r(&seconds, &calendar) || calendar.tm_year < -1900 || calendar.tm_year > UINT16_MAX - 1900)
        return false;
    const auto number = [](int value) { return static_cast<std::uint16_t>(value); };
    time = {number(calendar.tm_year + 1900), number(calendar.tm_mon + 1),
            number(calendar.tm_wday),        number(calendar.tm_mday),
            number(calendar.tm_hour),        number(calendar.tm_min),
            number(calendar.tm_sec),         number(static_cast<int>(identity.nanoseconds / 1000000))};
    return true;
}

} // namespace vl::platform
