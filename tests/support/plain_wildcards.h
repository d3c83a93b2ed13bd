// Matching of wildcards as it is defined, by a table of all prefixes: judge of the library's in tests and
// fuzzing.
#pragma once

#include <string>
#include <vector>

inline bool matchesPlainly(const std::string &pattern, const std::string &name) {
    const auto lower = [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c + 32) : c; };
    // matches[j]: the pattern so far matches the first j characters of the name.
    std::vector<bool> matches(name.size() + 1, false);
    matches[0] = true;
    for (const char p : pattern) {
        std::vector<bool> next(name.size() + 1, false);
        next[0] = p == '*' && matches[0];
        for (std::size_t j = 1; j <= name.size(); ++j)
            next[j] = p == '*' ? matches[j] || next[j - 1]
                               : matches[j - 1] && (p == '?' || lower(p) == lower(name[j - 1]));
        matches = next;
    }
    return matches[name.size()];
}
