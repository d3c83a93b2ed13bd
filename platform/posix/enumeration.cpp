// Enumeration of the names in a directory, and the wildcards that choose among them.

#include "platform/posix/system.h"

#include "platform/platform.h"
#include "platform/posix/directory_reader.h"
#include "platform/posix/names.h"
#include "platform/posix/spelling.h"

#include <algorithm>
#include <memory>
#include <new>
#include <string>
#include <vector>

namespace vl::platform {

class Enumeration {
  public:
    std::vector<std::string> m_names;
    std::size_t m_next = 0;
};

namespace {

/// Adds the names that match. False when the directory cannot be read to its end.
bool collect(std::vector<std::string> &names, const char *directory, const char *pattern) {
    DirectoryReader reader(directory);
    if (!reader.valid())
        return false;
    errno = 0;
    while (const char *name = reader.next()) {
        // A name with a backslash cannot be asked for, nor one that is longer than a path.
        const std::string_view text(name);
        if (text.size() <= maxPath && text.find('\\') == text.npos && matchesWildcards(pattern, name))
            names.emplace_back(text);
        errno = 0;
    }
    return errno == 0;
}

} // namespace

Enumeration *startEnumeration(const char *pattern, bool *outOfMemory) {
    if (outOfMemory)
        *outOfMemory = false;
    const std::string_view whole(pattern);
    std::size_t split = whole.find_last_of("\\/:");
    split = split == whole.npos ? 0 : split + 1;
    const char *const last = pattern + split;
    const char *const wildcards = std::string_view(last) == "*.*" ? "*" : last;

    SystemPath directory;
    if (!toSystemPath(directory, split == 0 ? std::string_view(".") : whole.substr(0, split)))
        return nullptr;
    try {
        auto enumeration = std::make_unique<Enumeration>();
        const auto read = [&](const char *text) {
            enumeration->m_names.clear();
            return collect(enumeration->m_names, text, wildcards);
        };
        if (withSpelling(directory, read) != Spelling::Found)
            return nullptr;
        std::sort(enumeration->m_names.begin(), enumeration->m_names.end(), namePrecedes);
        return enumeration.release();
    } catch (const std::bad_alloc &) {
        if (outOfMemory)
            *outOfMemory = true;
        return nullptr;
    }
}

const char *nextName(Enumeration *enumeration) {
    if (enumeration->m_next == enumeration->m_names.size())
        return nullptr;
    return enumeration->m_names[enumeration->m_next++].c_str();
}

void endEnumeration(Enumeration *enumeration) { delete enumeration; }

bool matchesWildcards(const char *pattern, const char *name) {
    // Only the last star needs to be remembered: what an earlier one could still take over, the last one can
    // take as well.
    const char *afterStar = nullptr;
    const char *starTakesTo = nullptr;
    while (*name != '\0') {
        if (*pattern == '*') {
            afterStar = ++pattern;
            starTakesTo = name;
        } else if (*pattern != '\0' && (*pattern == '?' || upperCase(*pattern) == upperCase(*name))) {
            ++pattern;
            ++name;
        } else if (afterStar) {
            pattern = afterStar;
            name = ++starTakesTo;
        } else {
            return false;
        }
    }
    while (*pattern == '*')
        ++pattern;
    return *pattern == '\0';
}

} // namespace vl::platform
