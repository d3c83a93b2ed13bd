// Wildcards in the names of files.

#include "base/wildcards.h"

#include "base/text.h"

#include <cstddef>
#include <cstring>

namespace vl {

namespace {

bool matchesOne(char pattern, char c) { return pattern == c || lower(pattern) == lower(c) || pattern == '?'; }

bool matchesAll(const char *pattern, const char *text, std::size_t length) {
    for (std::size_t i = 0; i < length; ++i)
        if (!matchesOne(pattern[i], text[i]))
            return false;
    return true;
}

} // namespace

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

} // namespace vl
