// What a search asks the places for: a pattern, split into the directory that is searched and the names that
// match, and the names that one place on disk has there.
#pragma once

#include "file/names/path.h"
#include "file/places/place_list.h"
#include "platform/platform.h"

#include <memory>

namespace vl {

struct NameRules;

struct SearchPattern {
    /// Throws what resolving the pattern's directory throws, and V_FileException_PathTooLong.
    SearchPattern(const NameRules &rules, const char *pattern);

    bool matches(const char *name) const;
    /// The directory as resolved paths are, without a backslash at its end.
    std::string_view directoryPath() const { return directory.view().substr(0, directory.length() - 1); }
    /// The name by which the searched directory shows what is on the way to the place; empty when the place
    /// is not shown below it. It may not match.
    std::string_view nameOnTheWayTo(const Place &place) const;

    Path names;     ///< with the wildcards
    Path directory; ///< resolved, ending with a backslash
    bool wholeElements;
    Path root; ///< the local root's directory, on disk; empty when it fits no path
};

/// The directory on disk where a place has what is searched; empty when there is none that fits a path.
Path searchedDirectory(const SearchPattern &pattern, const Place &place);

/// The names of a directory on disk, sorted, of which some match.
class DirectoryNames {
  public:
    /// Begins with the names that a place has in the searched directory. Throws V_MemoryException_Allocation.
    void begin(const SearchPattern &pattern, const Place &place);
    /// The next that matches; null at the end. Valid until the next call of begin or end.
    const char *next(const SearchPattern &pattern);
    void end() { m_enumeration.reset(); }

  private:
    struct EndEnumeration {
        void operator()(platform::Enumeration *enumeration) const { platform::endEnumeration(enumeration); }
    };
    std::unique_ptr<platform::Enumeration, EndEnumeration> m_enumeration;
};

} // namespace vl
