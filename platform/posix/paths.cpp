// Translation of paths, and the process's current directory, which is told and taken in translated form.

#include "platform/posix/system.h"

#include "platform/posix/paths.h"

#include "base/text.h"
#include "platform/posix/directory_cache.h"
#include "platform/posix/spelling.h"

#include <climits>
#include <cstdlib>
#include <cstring>
#include <sys/stat.h>
#include <unistd.h>

namespace vl::platform {

namespace {

/// Characters that `C:` adds to an absolute path.
constexpr unsigned int driveLength = 2;

bool isSeparator(char c) { return c == '\\' || c == '/'; }

bool isLetter(char c) { return upper(c) >= 'A' && upper(c) <= 'Z'; }

void dropElement(SystemPath &path) {
    if (path.length <= path.root)
        return;
    do
        --path.length;
    while (path.length > path.root && path.text[path.length - 1] != '/');
    // The slash in front goes with it, unless it is the root directory's.
    if (path.length > 1)
        --path.length;
}

/// Copies a path with slashes. Returns whether no element is empty or begins with a dot: almost every path is
/// so, and then it stands as it is. Written for the compiler to take many characters at a time.
bool copyPlain(char *out, std::string_view path) {
    for (std::size_t i = 0; i < path.size(); ++i)
        out[i] = path[i] == '\\' ? '/' : path[i];
    unsigned char special = path[0] == '.';
    for (std::size_t i = 1; i < path.size(); ++i)
        special |= static_cast<unsigned char>((out[i - 1] == '/') & ((out[i] == '/') | (out[i] == '.')));
    return special == 0;
}

/// Sets the text of a path from its elements as given, "." and ".." resolved. False when it does not fit.
bool joinElements(SystemPath &out, std::string_view path, unsigned int limit) {
    const char *p = path.data();
    const char *const end = p + path.size();
    out.text[0] = '/';
    out.length = out.root;
    while (true) {
        while (p != end && isSeparator(*p))
            ++p;
        if (p == end)
            break;
        const char *const element = p;
        while (p != end && !isSeparator(*p))
            ++p;
        const std::string_view name(element, static_cast<std::size_t>(p - element));
        if (name == ".")
            continue;
        if (name == ".." && (out.absolute || out.length > out.root)) {
            dropElement(out);
            continue;
        }
        const unsigned int separator = out.length > 0 && out.text[out.length - 1] != '/' ? 1 : 0;
        if (name.size() + separator > limit - out.length)
            return false;
        if (separator != 0)
            out.text[out.length++] = '/';
        std::memcpy(out.text + out.length, name.data(), name.size());
        out.length += static_cast<unsigned int>(name.size());
        if (name == "..")
            out.root = out.length + 1;
    }
    if (out.length == 0) {
        out.text[0] = '.';
        out.length = out.root = 1;
    }
    out.text[out.length] = '\0';
    return true;
}

} // namespace

bool toSystemPath(SystemPath &out, std::string_view path) {
    if (path.empty())
        return false;
    const char *p = path.data();
    const char *const end = p + path.size();
    if (path.size() >= 2 && p[1] == ':' && isLetter(p[0])) {
        if (upper(p[0]) != 'C')
            return false;
        p += 2;
    } else if (path.size() >= 2 && isSeparator(p[0]) && isSeparator(p[1])) {
        return false;
    }

    out.absolute = p != end && isSeparator(*p);
    out.endsInSeparator = isSeparator(end[-1]);
    out.root = out.absolute ? 1 : 0;
    const unsigned int limit = out.absolute ? maxPath - driveLength : maxPath;
    const std::string_view text(p, static_cast<std::size_t>(end - p));
    if (text.size() > out.root && text.size() <= limit && !out.endsInSeparator && copyPlain(out.text, text)) {
        out.length = static_cast<unsigned int>(text.size());
        out.text[out.length] = '\0';
        return true;
    }
    return joinElements(out, text, limit);
}

bool toEnginePath(PathBuffer &out, std::string_view path) {
    if (path.empty() || path[0] != '/' || path.size() > maxPath - driveLength ||
        path.find('\\') != std::string_view::npos)
        return false;
    out[0] = 'C';
    out[1] = ':';
    char *p = out + driveLength;
    for (const char c : path)
        *p++ = c == '/' ? '\\' : c;
    *p = '\0';
    return true;
}

bool currentDirectory(PathBuffer &out) {
    PathBuffer directory;
    return getcwd(directory, sizeof directory) != nullptr && toEnginePath(out, directory);
}

bool setCurrentDirectory(const char *path) {
    SystemPath system;
    if (!toSystemPath(system, path) ||
        withSpelling(system, [](const char *text) { return chdir(text) == 0; }) != Spelling::Found)
        return false;
    DirectoryCache::instance().holdCurrentDirectory();
    return true;
}

bool fullPath(PathBuffer &out, const char *path) {
    SystemPath system;
    if (!toSystemPath(system, path))
        return false;
    if (system.absolute)
        return toEnginePath(out, {system.text, system.length});

    PathBuffer joined;
    if (!currentDirectory(joined))
        return false;
    const std::size_t length = std::strlen(joined);
    // A current directory and a path that fit alone may still not fit together before ".." is resolved.
    char both[2 * sizeof joined];
    std::memcpy(both, joined, length);
    both[length] = '\\';
    std::memcpy(both + length + 1, system.text, system.length);
    return toSystemPath(system, {both, length + 1 + system.length}) &&
           toEnginePath(out, {system.text, system.length});
}

bool realDirectory(PathBuffer &out, const char *path) {
    SystemPath system;
    char resolved[PATH_MAX];
    const auto resolve = [&](const char *text) { return realpath(text, resolved) != nullptr; };
    struct stat info;
    return toSystemPath(system, path) && withSpelling(system, resolve) == Spelling::Found &&
           stat(resolved, &info) == 0 && S_ISDIR(info.st_mode) && toEnginePath(out, resolved);
}

bool systemPath(PathBuffer &out, const char *path) {
    PathBuffer full;
    SystemPath system;
    if (!fullPath(full, path) || !toSystemPath(system, full))
        return false;
    std::memcpy(out, system.text, system.length + 1);
    return true;
}

} // namespace vl::platform
