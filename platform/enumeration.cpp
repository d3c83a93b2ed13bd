// Enumeration of the names in a directory: which of them are meant, and in what order they come.

#include "base/text.h"
#include "base/wildcards.h"
#include "platform/listing.h"
#include "platform/platform.h"

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

Enumeration *startEnumeration(const char *pattern, bool *outOfMemory) {
    if (outOfMemory)
        *outOfMemory = false;
    const std::string_view whole(pattern);
    std::size_t split = whole.find_last_of("\\/:");
    split = split == whole.npos ? 0 : split + 1;
    const char *const last = pattern + split;
    const char *const wildcards = std::string_view(last) == "*.*" ? "*" : last;
    try {
        auto enumeration = std::make_unique<Enumeration>();
        std::vector<std::string> &names = enumeration->m_names;
        const auto addMatching = [&](const char *name) {
            // A name with a backslash cannot be asked for, nor one that is longer than a path.
            const std::string_view text(name);
            if (text.size() <= maxPath && text.find('\\') == text.npos && matchesWildcards(wildcards, name))
                names.emplace_back(text);
        };
        if (!visitNames(split == 0 ? "." : whole.substr(0, split), addMatching))
            return nullptr;
        std::sort(names.begin(), names.end(), namePrecedes);
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

} // namespace vl::platform
