// Translation of paths, and the process's current directory, which is told and taken in translated form.

#include "platform/posix/system.h"

#include "platform/posix/paths.h"

#include "platform/posix/names.h"
#include "platform/posix/spelling.h"

#include <cstring>
#include <unistd.h>

namespace vl::platform {

namespace {

/// Characters that `C:` adds to an absolute path.
constexpr unsigned int driveLength = 2;

bool isSeparator(char c) { return c == '\\' || c == '/'; }

bool isLetter(char c) { return upperCase(c) >= 'A' && upperCase(c) <= 'Z'; }

/// Drops the last element. False when there is none that can be dropped.
bool dropElement(SystemPath &path, unsigned int root) {
    if (path.length == root)
        return false;
    unsigned int start = path.length;
    while (start > root && path.text[start - 1] != '/')
        --start;
    if (path.length - start == 2 && path.text[start] == '.' && path.text[start + 1] == '.')
        return false;
    path.length = start > root ? start - 1 : root;
    return true;
}

} // namespace

bool toSystemPath(SystemPath &out, std::string_view path) {
    if (path.empty())
        return false;
    const char *p = path.data();
    const char *const end = p + path.size();
    if (path.size() >= 2 && p[1] == ':' && isLetter(p[0])) {
        if (upperCase(p[0]) != 'C')
            return false;
        p += 2;
    } else if (path.size() >= 2 && isSeparator(p[0]) && isSeparator(p[1])) {
        return false;
    }

    out.absolute = p != end && isSeparator(*p);
    out.endsInSeparator = isSeparator(end[-1]);
    // The root of an absolute path is its leading slash, which no ".." drops.
    const unsigned int root = out.absolute ? 1 : 0;
    const unsigned int limit = out.absolute ? maxPath - driveLength : maxPath;
    out.text[0] = '/';
    out.length = root;
    while (true) {
        while (p != end && isSeparator(*p))
            ++p;
        if (p == end)
            break;
        const char *const element = p;
        while (p != end && !isSeparator(*p))
            ++p;
        const std::size_t length = static_cast<std::size_t>(p - element);
        if (length == 1 && element[0] == '.')
            continue;
        if (length == 2 && element[0] == '.' && element[1] == '.' && (dropElement(out, root) || out.absolute))
            continue;
        const unsigned int separator = out.length > root ? 1 : 0;
        if (length + separator > limit - out.length)
            return false;
        if (separator != 0)
            out.text[out.length++] = '/';
        std::memcpy(out.text + out.length, element, length);
        out.length += static_cast<unsigned int>(length);
    }
    if (out.length == 0)
        out.text[out.length++] = '.';
    out.text[out.length] = '\0';
    return true;
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
    return toSystemPath(system, path) &&
           withSpelling(system, [](const char *text) { return chdir(text) == 0; }) == Spelling::Found;
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

} // namespace vl::platform
