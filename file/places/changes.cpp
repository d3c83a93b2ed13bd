// Changes of the list of places that clients ask for. Each makes a new list that shares all but the one
// place.

#include "file/file_system.h"

#include "core/counted.h"
#include "platform/platform.h"

#include <utility>

namespace vl {

using Origin = V_FilePlace::Origin;
using platform::FileKind;

/// Where a place of this order comes to stand in a list of which it is not yet, or no longer, part.
std::size_t FileSystem::positionFor(const PlaceList &places, V_File::PlaceOrder order,
                                    unsigned int beside) const {
    const bool hasWriteDirectory = places.positionOf(Origin::ORIGIN_WRITE_DIRECTORY) != places.size();
    if (order == V_File::PLACE_LAST)
        return places.size();
    if (order == V_File::PLACE_FIRST)
        return hasWriteDirectory ? 1 : 0;
    const std::size_t position = places.positionOf(beside);
    if (position == places.size())
        V_throw(V_FileException_NoSuchPlace(beside));
    const bool before = order == V_File::PLACE_BEFORE;
    // Nothing stands before the directory that is written to, or a file would vanish behind another.
    return before && !(hasWriteDirectory && position == 0) ? position : position + 1;
}

unsigned int FileSystem::addPlace(const char *path, V_File::PlaceOrder order, const char *at,
                                  unsigned int beside) {
    const std::size_t position = positionFor(*m_places, order, beside);
    const Ref<Placing> placing(newCounted<Placing>());
    placing->at = names.resolveVirtual(at);
    const FileKind kind =
        expand(placing->path, path) ? platform::fileKind(placing->path.view()) : FileKind::None;
    Ref<Archive> archive;
    if (kind == FileKind::None)
        V_throw(V_FileException_FileNotFound(path));
    if (kind == FileKind::File) {
        archive = Archive::loadAndHold(placing->path.text());
        placing->path = Path();
    }
    const bool plain = archive && placing->at.length() == 0;
    const unsigned int id = m_uNextId;
    m_places = m_places->with(position, newPlace(std::move(archive),
                                                 Ref<const Placing>(plain ? nullptr : placing.get()),
                                                 Origin::ORIGIN_ADDED));
    return id;
}

bool FileSystem::removePlace(unsigned int id) {
    const std::size_t position = m_places->positionOf(id);
    if (position == m_places->size())
        return false;
    const Origin origin = (*m_places)[position].origin;
    if (origin == Origin::ORIGIN_LOCAL_ROOT)
        return false;
    m_places = m_places->without(position);
    if (origin == Origin::ORIGIN_PRIORITY)
        m_bPriorityEnabled = false;
    return true;
}

bool FileSystem::movePlace(unsigned int id, V_File::PlaceOrder order, unsigned int beside) {
    const std::size_t position = m_places->positionOf(id);
    if (position == m_places->size() || id == beside ||
        (*m_places)[position].origin == Origin::ORIGIN_WRITE_DIRECTORY)
        return false;
    const Ref<const PlaceList> rest = m_places->without(position);
    m_places = rest->with(positionFor(*rest, order, beside), (*m_places)[position]);
    return true;
}

void FileSystem::setWriteDirectory(const char *dir) {
    const std::size_t earlier = m_places->positionOf(Origin::ORIGIN_WRITE_DIRECTORY);
    const Ref<const PlaceList> rest = earlier == m_places->size() ? m_places : m_places->without(earlier);
    if (dir && *dir) {
        const Ref<Placing> placing(newCounted<Placing>());
        if (!expand(placing->path, dir) || platform::fileKind(placing->path.view()) != FileKind::Directory)
            V_throw(V_FileException_DirectoryNotFound(dir));
        m_places =
            rest->with(0, newPlace({}, Ref<const Placing>(placing.get()), Origin::ORIGIN_WRITE_DIRECTORY));
    } else {
        m_places = rest;
    }
}

const Placing *FileSystem::writeDirectory() const {
    const Place &first = *activePlaces()->begin();
    return first.origin == Origin::ORIGIN_WRITE_DIRECTORY ? first.placing.get() : nullptr;
}

} // namespace vl
