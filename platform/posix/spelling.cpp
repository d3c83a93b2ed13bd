// Case-blind resolution of paths.

#include "platform/posix/system.h"

#include "platform/posix/spelling.h"

#include "platform/posix/directory_reader.h"
#include "platform/posix/names.h"

#include <sys/stat.h>

namespace vl::platform {

namespace {

bool isDirectory(const char *path) {
    struct stat info;
    return stat(path, &info) == 0 && S_ISDIR(info.st_mode);
}

/// Rewrites `name` to the spelling in which the directory holds it. False when it does not.
bool matchName(const char *directory, char *name, std::size_t length) {
    DirectoryReader reader(directory);
    const std::string_view asked(name, length);
    char best[maxPath];
    bool found = false;
    if (!reader.valid())
        return false;
    while (const char *candidate = reader.next()) {
        const std::string_view text(candidate);
        if (text == asked)
            return true;
        if (equalNames(text, asked) && (!found || text < std::string_view(best, length))) {
            std::memcpy(best, text.data(), length);
            found = true;
        }
    }
    if (found)
        std::memcpy(name, best, length);
    return found;
}

} // namespace

bool expectsNoExactName(const SystemPath &) { return false; }

Spelling findSpelling(SystemPath &path) {
    unsigned int start = path.absolute ? 1 : 0;
    PathBuffer directory;
    while (start < path.length) {
        unsigned int end = start;
        while (end < path.length && path.text[end] != '/')
            ++end;
        const unsigned int parent = start > 1 ? start - 1 : start;
        std::memcpy(directory, path.text, parent);
        directory[parent] = '\0';
        const char *const where = parent == 0 ? "." : directory;
        if (!isDirectory(where))
            return Spelling::Unreachable;
        const std::string_view element(path.text + start, end - start);
        struct stat info;
        const char saved = path.text[end];
        path.text[end] = '\0';
        const bool exact = element == "." || element == ".." || lstat(path.text, &info) == 0;
        path.text[end] = saved;
        if (!exact && !matchName(where, path.text + start, element.size()))
            return end == path.length ? Spelling::Missing : Spelling::Unreachable;
        start = end + 1;
    }
    return Spelling::Found;
}

} // namespace vl::platform
