// Writing files, and changing what directories hold, with the reason when that fails.

#include "platform/posix/system.h"

#include "platform/platform.h"
#include "platform/posix/descriptor.h"
#include "platform/posix/spelling.h"

#include <atomic>
#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <new>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

namespace vl::platform {

class Replacement {
  public:
    int m_descriptor = -1;
    char m_strTarget[PATH_MAX]; ///< links followed
    char m_strNew[PATH_MAX];
};

namespace {

thread_local int failure = 0;

/// Keeps why a call failed, before another call is made.
bool failed(int error = errno) {
    failure = error;
    return false;
}

/// The path of what an operation is for; false, with a reason, when it names nothing.
bool toWritable(SystemPath &system, const char *path) {
    return (toSystemPath(system, path) && !system.endsInSeparator) || failed(ENOENT);
}

/// Opens what is there in any spelling, or else makes it in the directory that matches; -1 on failure.
int openOrMake(SystemPath &system, int flags, bool make) {
    int descriptor = -1;
    int error = ENOENT;
    const auto openExisting = [&](const char *text) {
        descriptor = open(text, flags);
        error = descriptor < 0 ? errno : 0;
        return descriptor >= 0;
    };
    if (withSpelling(system, openExisting) == Spelling::Missing && make) {
        descriptor = open(system.text, flags | O_CREAT, 0666);
        error = errno;
    }
    if (descriptor < 0)
        failed(error);
    return descriptor;
}

void cutLastElement(char *path) {
    char *const slash = std::strrchr(path, '/');
    if (slash)
        slash[slash == path ? 1 : 0] = '\0';
}

/// Hands a directory's names to the disk. Not every file system can; none is worse off then than before.
void flushDirectoryOf(const char *path) {
    char directory[PATH_MAX];
    std::strcpy(directory, path);
    cutLastElement(directory);
    const int descriptor = open(directory, O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (descriptor < 0)
        return;
    fsync(descriptor);
    close(descriptor);
}

} // namespace

const char *lastFailure() {
    const char *const text = failure ? strerrordesc_np(failure) : "";
    return text ? text : "unknown error";
}

// ---- Files ---------------------------------------------------------------------------------------------

FileHandle openForWriting(const char *path, WriteMode mode, FileIdentity &identity) {
    SystemPath system;
    if (!toWritable(system, path))
        return noFile;
    // A pipe without a reader would wait.
    const int descriptor =
        openOrMake(system, O_RDWR | O_CLOEXEC | O_NONBLOCK | O_NOCTTY, mode != WriteMode::Existing);
    if (descriptor < 0)
        return noFile;
    if (!identify(descriptor, identity)) {
        struct stat info;
        failed(fstat(descriptor, &info) == 0 && S_ISDIR(info.st_mode) ? EISDIR : EINVAL);
        close(descriptor);
        return noFile;
    }
    // Emptied only now, when it is known to be a file.
    if (mode == WriteMode::Replace && identity.length != 0) {
        if (ftruncate(descriptor, 0) != 0) {
            failed();
            close(descriptor);
            return noFile;
        }
        identity.length = 0;
    }
    return descriptor;
}

std::uint32_t writeAt(FileHandle file, std::uint64_t position, const void *data, std::uint32_t count) {
    std::uint32_t done = 0;
    while (done < count) {
        const ssize_t put = pwrite(static_cast<int>(file), static_cast<const char *>(data) + done,
                                   count - done, static_cast<off_t>(position + done));
        if (put > 0) {
            done += static_cast<std::uint32_t>(put);
        } else if (put == 0 || errno != EINTR) {
            failed(put == 0 ? EIO : errno);
            break;
        }
    }
    return done;
}

bool resizeFile(FileHandle file, std::uint64_t length) {
    return ftruncate(static_cast<int>(file), static_cast<off_t>(length)) == 0 || failed();
}

bool flushToDisk(FileHandle file) { return fsync(static_cast<int>(file)) == 0 || failed(); }

bool closeWritten(FileHandle file) {
    // Interrupted or not, the descriptor is closed.
    return close(static_cast<int>(file)) == 0 || errno == EINTR || failed();
}

// ---- Names ---------------------------------------------------------------------------------------------

bool rename(const char *from, const char *to) {
    SystemPath source, target;
    if (!toWritable(source, from) || !toWritable(target, to))
        return false;
    if (findSpelling(source) != Spelling::Found)
        return failed(ENOENT);
    SystemPath found = target;
    const Spelling spelling = findSpelling(found);
    if (spelling == Spelling::Unreachable)
        return failed(ENOENT);
    // One that is renamed to another spelling of itself takes that spelling; any other file is replaced under
    // the name that it has.
    struct stat one, other;
    const bool itself = spelling == Spelling::Found && lstat(source.text, &one) == 0 &&
                        lstat(found.text, &other) == 0 && one.st_dev == other.st_dev &&
                        one.st_ino == other.st_ino;
    if (itself) {
        const char *const name = std::strrchr(target.text, '/');
        const std::size_t length = std::strlen(name ? name + 1 : target.text);
        std::memcpy(found.text + found.length - length, target.text + target.length - length, length);
    }
    return ::rename(source.text, found.text) == 0 || failed();
}

bool removeDirectory(const char *path) {
    SystemPath system;
    if (!toSystemPath(system, path))
        return failed(ENOENT);
    int error = ENOENT;
    const auto remove = [&](const char *text) {
        const bool done = rmdir(text) == 0;
        error = done ? 0 : errno;
        return done;
    };
    return withSpelling(system, remove) == Spelling::Found || failed(error);
}

bool createDirectories(const char *path) {
    SystemPath whole;
    if (!toSystemPath(whole, path))
        return failed(ENOENT);
    for (std::size_t end = whole.root; end <= whole.length; ++end) {
        if (end != whole.length && whole.text[end] != '/')
            continue;
        SystemPath part = whole;
        part.length = static_cast<unsigned int>(end);
        part.text[end] = '\0';
        struct stat info;
        const Spelling spelling =
            end == 0 ? Spelling::Found
                     : withSpelling(part, [&](const char *text) { return stat(text, &info) == 0; });
        // Who else makes directories may have made this one meanwhile.
        if (spelling == Spelling::Missing && mkdir(part.text, 0777) != 0 && errno != EEXIST)
            return failed();
        if (spelling == Spelling::Unreachable)
            return failed(ENOENT);
        if (spelling == Spelling::Found && end != 0 && !S_ISDIR(info.st_mode))
            return failed(ENOTDIR);
        // What follows is looked for below the spelling that is there.
        std::memcpy(whole.text, part.text, end);
    }
    return true;
}

// ---- A file in the place of another --------------------------------------------------------------------

Replacement *beginReplacement(const char *path, bool *outOfMemory) {
    *outOfMemory = false;
    SystemPath system;
    if (!toWritable(system, path))
        return nullptr;
    if (findSpelling(system) == Spelling::Unreachable) {
        failed(ENOENT);
        return nullptr;
    }
    auto *const replacement = new (std::nothrow) Replacement;
    if (!replacement) {
        *outOfMemory = true;
        failed(ENOMEM);
        return nullptr;
    }
    struct stat old;
    mode_t mode = 0;
    char *const target = replacement->m_strTarget;
    if (realpath(system.text, target)) {
        if (stat(target, &old) == 0 && !S_ISREG(old.st_mode)) {
            failed(S_ISDIR(old.st_mode) ? EISDIR : EINVAL);
            delete replacement;
            return nullptr;
        }
        mode = old.st_mode & 07777;
    } else {
        std::strcpy(target, system.text);
    }
    static std::atomic<unsigned int> count{0};
    for (int attempt = 0; attempt < 100 && replacement->m_descriptor < 0; ++attempt) {
        std::strcpy(replacement->m_strNew, target);
        cutLastElement(replacement->m_strNew);
        if (!std::strchr(target, '/'))
            std::strcpy(replacement->m_strNew, ".");
        const std::size_t length = std::strlen(replacement->m_strNew);
        std::snprintf(replacement->m_strNew + length, PATH_MAX - length, "/~%x-%x.new",
                      static_cast<unsigned int>(getpid()), count++);
        replacement->m_descriptor = open(replacement->m_strNew, O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
        // A killed process of this number may have left one of this name.
        if (replacement->m_descriptor < 0 && errno != EEXIST)
            break;
    }
    if (replacement->m_descriptor < 0) {
        failed();
        delete replacement;
        return nullptr;
    }
    if (mode != 0)
        fchmod(replacement->m_descriptor, mode);
    return replacement;
}

FileHandle fileOf(const Replacement *replacement) { return replacement->m_descriptor; }

bool finishReplacement(Replacement *replacement) {
    const int descriptor = std::exchange(replacement->m_descriptor, -1);
    bool done = fsync(descriptor) == 0 || failed();
    done &= close(descriptor) == 0 || (done && failed());
    if (done && ::rename(replacement->m_strNew, replacement->m_strTarget) != 0)
        done = failed();
    if (done) {
        flushDirectoryOf(replacement->m_strTarget);
        delete replacement;
    } else {
        dropReplacement(replacement);
    }
    return done;
}

void dropReplacement(Replacement *replacement) {
    if (!replacement)
        return;
    if (replacement->m_descriptor >= 0)
        close(replacement->m_descriptor);
    unlink(replacement->m_strNew);
    delete replacement;
}

// ---- The user's directory ------------------------------------------------------------------------------

bool userDataDirectory(PathBuffer &out) {
    // As the XDG base directories are told: a relative path is to be ignored.
    if (const char *const data = std::getenv("XDG_DATA_HOME"); data && data[0] == '/')
        return toEnginePath(out, data) || failed(ENAMETOOLONG);
    const char *const home = std::getenv("HOME");
    PathBuffer directory;
    if (!home || home[0] != '/')
        return failed(ENOENT);
    const int length = std::snprintf(directory, sizeof directory, "%s/.local/share", home);
    return (length < static_cast<int>(sizeof directory) && toEnginePath(out, directory)) ||
           failed(ENAMETOOLONG);
}

} // namespace vl::platform
