// The places that names are looked for in, in order: the first that has a name answers. A list never changes;
// what changes the places makes a new list that shares them. So a search, or whoever else holds a list,
// goes on to its end over what it began with.
#pragma once

#include "core/counted.h"
#include "core/ref.h"
#include "file/archive/archive.h"

#include <utility>
#include <vector>

namespace vl {

/// An archive among the places, and why it is there.
struct Place {
    enum class Origin { Priority, LocalRoot, SecondaryDirectory };

    Ref<Archive> archive;
    Origin origin;
};

/// The archives in the order in which they are asked. Before all of them the disk is asked, below the local
/// root.
class PlaceList : public RefCounted {
  public:
    using Places = std::vector<Place, CountedAllocator<Place>>;

    PlaceList() = default;
    explicit PlaceList(Places &&places) : m_places(std::move(places)) {}

    const Place *begin() const { return m_places.data(); }
    const Place *end() const { return m_places.data() + m_places.size(); }

    /// The list with a place more, in front of the others or behind them. Throws
    /// V_MemoryException_Allocation.
    Ref<const PlaceList> withFirst(Place place) const;
    Ref<const PlaceList> withLast(Place place) const;
    /// The list without its priority archive.
    Ref<const PlaceList> withoutPriority() const;

  private:
    Places m_places;
};

} // namespace vl
