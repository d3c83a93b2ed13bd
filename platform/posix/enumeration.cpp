// Enumeration of the names in a directory, and the wildcards that choose among them.

#include "platform/posix/system.h"

#include "platform/platform.h"
#include "platform/posix/directory_reader.h"
#include "platform/posix/names.h"
#include "platform/posix/spelling.h"

#include <algorithm>
#include <cstring>
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

bool matchesOne(char pattern, char c) {
    return pattern == c || upperCase(pattern) == upperCase(c) || pattern == '?';
}

bool matchesAll(const char *pattern, const char *text, std::size_t length) {
    for (std::size_t i = 0; i < length; ++i)
        if (!matchesOne(pattern[i], text[i]))
            return false;
    return true;
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
    for (; *pattern != '*'; ++pattern, ++name) {
        if (*name == '\0')
            return *pattern == '\0';
        if (!matchesOne(*pattern, *name))
            return false;
    }
    if (pattern[1] == '\0')
        return true; // without measuring the name: most searches are for "*"
    // What follows the last star has one place only. What stands between two stars takes the first place that
    // it finds: any later one leaves less for the others.
    const char *const lastStar = std::strrchr(pattern, '*');
    const std::size_t tail = std::strlen(lastStar + 1), length = std::strlen(name);
    if (tail > length)
        return false;
    const char *const nameEnd = name + (length - tail);
    if (!matchesAll(lastStar + 1, nameEnd, tail))
        return false;
    while (pattern != lastStar) {
        const char *const piece = pattern + 1;
        pattern = std::strchr(piece, '*');
        const auto pieceLength = static_cast<std::size_t>(pattern - piece);
        for (;; ++name) {
            if (static_cast<std::size_t>(nameEnd - name) < pieceLength)
                return false;
            if (matchesAll(piece, name, pieceLength))
                break;
        }
        name += pieceLength;
    }
    return true;
}

} // namespace vl::platform
