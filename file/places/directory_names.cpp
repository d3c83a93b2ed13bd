// Patterns of searches, and what matches them on disk (directory_names.h).

#include "file/places/directory_names.h"

#include "base/wildcards.h"
#include "core/counted.h"
#include "file/names/name_rules.h"

#include <algorithm>
#include <string_view>

namespace vl {

SearchPattern::SearchPattern(const NameRules &rules, const char *pattern)
    : wholeElements(rules.wholeElements) {
    rules.resolve(pattern); // refuses what is too long
    const std::string_view whole(pattern);
    const std::size_t split = whole.find_last_of("\\/") + 1;
    names.append(whole.substr(split), pattern);

    // The directory is resolved without the wildcards, whose dots are not those of a path.
    Path inDirectory;
    inDirectory.append(whole.substr(0, split), pattern);
    inDirectory.tryAppend("*"); // or the pattern is empty, and nothing matches
    directory = rules.resolve(inDirectory.text());
    directory.cutTo(directory.directoryLength());
    rules.toDiskPath(root, directory.view());
}

bool SearchPattern::matches(const char *name) const { return matchesWildcards(names.text(), name); }

std::string_view SearchPattern::nameOnTheWayTo(const Place &place) const {
    if (!place.isBelow(directoryPath()))
        return {};
    const std::string_view rest = place.at().substr(directory.length());
    return rest.substr(0, std::min(rest.find('\\'), rest.size()));
}

Path searchedDirectory(const SearchPattern &pattern, const Place &place) {
    if (!place.placing)
        return pattern.root;
    Path path;
    const std::string_view directory = pattern.directoryPath();
    if (const std::size_t offset = place.offsetIn(directory); offset != directory.npos)
        joinDiskPath(path, place.placing->path, directory.substr(offset));
    return path;
}

void DirectoryNames::begin(const SearchPattern &pattern, const Place &place) {
    Path all = searchedDirectory(pattern, place);
    if (all.length() == 0 || !all.tryAppend(all.endsWithBackslash() ? "*.*" : "\\*.*"))
        return end();
    bool outOfMemory = false;
    m_enumeration.reset(platform::startEnumeration(all.text(), &outOfMemory));
    if (outOfMemory)
        V_throw(V_MemoryException_Allocation());
}

const char *DirectoryNames::next(const SearchPattern &pattern) {
    while (const char *name = m_enumeration ? platform::nextName(m_enumeration.get()) : nullptr)
        if (pattern.matches(name))
            return name;
    return nullptr;
}

} // namespace vl
