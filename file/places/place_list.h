// The places that names are looked for in, in order: the first that has a name answers. A place is a
// directory on disk or an archive, shown at the root of the name space or at a virtual directory. A list
// never changes; what changes the places makes a new list that shares them. So a search, or whoever else
// holds a list, goes on to its end over what it began with.
#pragma once

#include "core/counted.h"
#include "core/ref.h"
#include "file/archive/archive.h"
#include "file/names/path.h"
#include "vl/file/places.h"

#include <cstddef>
#include <cstdint>
#include <string_view>
#include <utility>
#include <vector>

namespace vl {

/// Where a directory lies on disk, and where a place is shown.
struct Placing : RefCounted {
    Path path; ///< of a directory, absolute; empty for archives, which know theirs
    Path at;   ///< a virtual path without a backslash at its end: empty for the root
};

/// A directory or an archive among the places.
struct Place {
    Ref<Archive> archive;       ///< null for a directory
    Ref<const Placing> placing; ///< null for the local root, and for an archive that is shown at the root
    V_FilePlace::Origin origin;
    unsigned int id; ///< for as long as the process runs, that of no other place

    std::string_view at() const { return placing ? placing->at.view() : std::string_view(); }
    /// Where the part of a resolved path that the place is asked for begins: it is empty or begins with a
    /// backslash. npos when the path lies elsewhere.
    std::size_t offsetIn(std::string_view path) const;
    /// Whether a resolved path is a virtual directory above the one where the place is shown.
    bool isBelow(std::string_view path) const;
};

class PlaceList : public RefCounted {
  public:
    using Places = std::vector<Place, CountedAllocator<Place>>;
    /// The positions of the directories, in order.
    using Directories = std::vector<std::uint32_t, CountedAllocator<std::uint32_t>>;

    /// Throws V_MemoryException_Allocation.
    explicit PlaceList(Places &&places);

    const Place *begin() const { return m_places.data(); }
    const Place *end() const { return m_places.data() + m_places.size(); }
    std::size_t size() const { return m_places.size(); }
    const Place &operator[](std::size_t position) const { return m_places[position]; }
    const Directories &directories() const { return m_directories; }

    /// The position of the place with this id, or of the first of an origin; size() when there is none.
    std::size_t positionOf(unsigned int id) const;
    std::size_t positionOf(V_FilePlace::Origin origin) const;
    /// Where the next archive of those that stand from the start belongs: behind the last of them.
    std::size_t endOfStanding() const;

    // New lists. They throw V_MemoryException_Allocation.

    /// With a place more, which comes to have this position.
    Ref<const PlaceList> with(std::size_t position, Place place) const;
    Ref<const PlaceList> without(std::size_t position) const;
    /// Without the archives that stand from the start.
    Ref<const PlaceList> withoutStandingArchives() const;

  private:
    Places m_places;
    Directories m_directories;
};

} // namespace vl
