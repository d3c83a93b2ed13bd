// Asking a list of places for its order, and making new lists out of old ones.

#include "file/places/place_list.h"

#include "base/text.h"

#include <algorithm>
#include <utility>

namespace vl {
namespace {

using Origin = V_FilePlace::Origin;

bool standsFromTheStart(const Place &place) {
    return place.origin != Origin::ORIGIN_ADDED && place.origin != Origin::ORIGIN_WRITE_DIRECTORY;
}

/// A new list, filled by `fill(places)`.
template <class Fill>
Ref<const PlaceList> newList(std::size_t size, const Fill &fill) {
    PlaceList::Places places;
    places.reserve(size);
    fill(places);
    return Ref<const PlaceList>(newCounted<PlaceList>(std::move(places)));
}

} // namespace

// ---- One place -----------------------------------------------------------------------------------------

std::size_t Place::offsetIn(std::string_view path) const {
    const std::string_view prefix = at();
    if (prefix.empty())
        return 0;
    const bool within = path.size() >= prefix.size() && equalNames(path.substr(0, prefix.size()), prefix) &&
                        (path.size() == prefix.size() || path[prefix.size()] == '\\');
    return within ? prefix.size() : path.npos;
}

bool Place::isBelow(std::string_view path) const {
    const std::string_view where = at();
    return where.size() > path.size() && where[path.size()] == '\\' &&
           equalNames(where.substr(0, path.size()), path);
}

// ---- The list ------------------------------------------------------------------------------------------

PlaceList::PlaceList(Places &&places) : m_places(std::move(places)) {
    for (std::uint32_t position = 0; position < m_places.size(); ++position)
        if (!m_places[position].archive)
            m_directories.push_back(position);
}

std::size_t PlaceList::positionOf(unsigned int id) const {
    const Place *const found =
        std::find_if(begin(), end(), [id](const Place &place) { return place.id == id; });
    return static_cast<std::size_t>(found - begin());
}

std::size_t PlaceList::positionOf(Origin origin) const {
    const Place *const found =
        std::find_if(begin(), end(), [origin](const Place &place) { return place.origin == origin; });
    return static_cast<std::size_t>(found - begin());
}

std::size_t PlaceList::endOfStanding() const {
    std::size_t position = size();
    while (position != 0 && !standsFromTheStart(m_places[position - 1]))
        --position;
    return position;
}

Ref<const PlaceList> PlaceList::with(std::size_t position, Place place) const {
    return newList(size() + 1, [&](Places &places) {
        const auto there = m_places.begin() + static_cast<std::ptrdiff_t>(position);
        places.insert(places.end(), m_places.begin(), there);
        places.push_back(std::move(place));
        places.insert(places.end(), there, m_places.end());
    });
}

Ref<const PlaceList> PlaceList::without(std::size_t position) const {
    return newList(size(), [&](Places &places) {
        const auto there = m_places.begin() + static_cast<std::ptrdiff_t>(position);
        places.insert(places.end(), m_places.begin(), there);
        places.insert(places.end(), there + 1, m_places.end());
    });
}

Ref<const PlaceList> PlaceList::withoutStandingArchives() const {
    return newList(size(), [&](Places &places) {
        std::copy_if(begin(), end(), std::back_inserter(places),
                     [](const Place &place) { return !place.archive || !standsFromTheStart(place); });
    });
}

} // namespace vl
