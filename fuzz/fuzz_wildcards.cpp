// The wildcard matcher against a table of all prefixes, as matching is defined.

#include "platform/platform.h"

#include <cstdint>
#include <cstdlib>
#include <string>
#include <vector>

namespace {

char lower(char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c + 32) : c; }

bool matchesByTable(const std::string &pattern, const std::string &name) {
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

} // namespace

/// The input is the pattern, a zero or line feed, and the name.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    const std::string text(reinterpret_cast<const char *>(data), size < 2048 ? size : 2048);
    const std::size_t split = text.find_first_of(std::string("\0\n", 2));
    const std::string pattern = text.substr(0, split);
    const std::string name = split == text.npos ? "" : text.substr(split + 1).c_str();
    if (vl::platform::matchesWildcards(pattern.c_str(), name.c_str()) != matchesByTable(pattern, name))
        std::abort();
    return 0;
}
