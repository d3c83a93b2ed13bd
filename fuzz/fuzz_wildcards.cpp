// The wildcard matcher against a table of all prefixes, as matching is defined.

#include "base/wildcards.h"
#include "tests/support/plain_wildcards.h"

#include <cstdint>
#include <cstdlib>

/// The input is the pattern, a zero or line feed, and the name.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    const std::string text(reinterpret_cast<const char *>(data), size < 2048 ? size : 2048);
    const std::size_t split = text.find_first_of(std::string("\0\n", 2));
    const std::string pattern = text.substr(0, split);
    const std::string name = split == text.npos ? "" : text.substr(split + 1).c_str();
    if (vl::matchesWildcards(pattern.c_str(), name.c_str()) != matchesPlainly(pattern, name))
        std::abort();
    return 0;
}
