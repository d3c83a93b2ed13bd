// Making new lists of places out of old ones.

#include "file/places/place_list.h"

#include <utility>

namespace vl {
namespace {

/// A new list, filled by `fill(places)`.
template <class Fill>
Ref<const PlaceList> newList(std::size_t size, const Fill &fill) {
    PlaceList::Places places;
    places.reserve(size);
    fill(places);
    return Ref<const PlaceList>(newCounted<PlaceList>(std::move(places)));
}

} // namespace

Ref<const PlaceList> PlaceList::withFirst(Place place) const {
    return newList(m_places.size() + 1, [&](Places &places) {
        places.push_back(std::move(place));
        places.insert(places.end(), m_places.begin(), m_places.end());
    });
}

Ref<const PlaceList> PlaceList::withLast(Place place) const {
    return newList(m_places.size() + 1, [&](Places &places) {
        places = m_places;
        places.push_back(std::move(place));
    });
}

Ref<const PlaceList> PlaceList::withoutPriority() const {
    return newList(m_places.size(), [&](Places &places) {
        for (const Place &place : m_places)
            if (place.origin != Place::Origin::Priority)
                places.push_back(place);
    });
}

} // namespace vl
