// Looking a path up in the archives (how: archive_query.h).

#include "file/places/archive_query.h"

#include "file/archive/archive_format.h"
#include "platform/platform.h"

#include <algorithm>
#include <cstdint>

namespace vl {

ArchiveQuery::ArchiveQuery(const PlaceList &places, std::string_view path)
    : m_pEnd(places.end()), m_pPlace(m_pEnd) {
    if (places.size() == places.directories().size() || path.size() > platform::maxPath)
        return;
    m_text[0] = '\\';
    const std::size_t begin = path.empty() || (path[0] != '\\' && path[0] != '/') ? 1 : 0;
    std::replace_copy(path.begin(), path.end(), m_text + begin, '/', '\\');
    m_uLength = begin + path.size();

    m_uSplit = m_uLength;
    while (m_text[m_uSplit - 1] != '\\')
        --m_uSplit;
    m_text[m_uLength] = '\\'; // for what asks for a directory; names are compared by their length
    m_directory = part(0, m_uSplit);
    m_name = part(m_uSplit, m_uLength);
    m_name.hash = hashArchiveFile(m_directory.hash, m_name.hash);
    goTo(places.begin());
}

V_File::V_VASFind ArchiveQuery::findFile(const Place *end) {
    for (; m_pPlace < end; goTo(m_pPlace + 1))
        if (V_File::VASFileEntry *const file = findArchiveFile(
                *m_pPlace->archive, *m_pName, static_cast<std::uint32_t>(m_pDirectory->index)))
            return {m_pPlace->archive.get(), file, m_pDirectory};
    return {};
}

V_File::V_VASFind ArchiveQuery::findFileIn(const Place &place) {
    if (m_uLength == 0 || !place.archive || !aimAt(place))
        return {};
    V_File::VASFileEntry *const file =
        findArchiveFile(*place.archive, *m_pName, static_cast<std::uint32_t>(m_pDirectory->index));
    if (!file)
        return {};
    return {place.archive.get(), file, m_pDirectory};
}

const Place *ArchiveQuery::findDirectory(const Place *begin, const Place *end) const {
    if (m_uLength == 0)
        return nullptr;
    const bool endsInBackslash = m_text[m_uLength - 1] == '\\';
    const std::size_t length = endsInBackslash ? m_uLength - 1 : m_uLength;
    const ArchiveName whole = part(0, length + 1);
    const Place *const found = std::find_if(begin, end, [&](const Place &place) {
        if (!place.archive)
            return false;
        if (!place.placing)
            return findArchiveDirectory(*place.archive, whole) != nullptr;
        const std::string_view path(m_text, length);
        const std::size_t offset = place.offsetIn(path);
        return offset == path.npos
                   ? place.isBelow(path)
                   : offset == length || findArchiveDirectory(*place.archive, part(offset, length + 1));
    });
    return found == end ? nullptr : found;
}

void ArchiveQuery::goTo(const Place *place) {
    while (place != m_pEnd && !(place->archive && aimAt(*place)))
        ++place;
    m_pPlace = place;
}

bool ArchiveQuery::aimAt(const Place &place) {
    ArchiveName directory = m_directory;
    m_pName = &m_name;
    if (place.placing) {
        const std::size_t offset = place.offsetIn({m_text, m_uLength});
        if (offset >= m_uSplit) // elsewhere, or the very directory where the place is shown
            return false;
        directory = part(offset, m_uSplit);
        m_nameBelow = part(m_uSplit, m_uLength);
        m_nameBelow.hash = hashArchiveFile(directory.hash, m_nameBelow.hash);
        m_pName = &m_nameBelow;
    }
    if (!mayHoldArchiveFile(*place.archive, m_pName->hash))
        return false;
    m_pDirectory = findArchiveDirectory(*place.archive, directory);
    return m_pDirectory && m_pDirectory->index <= static_cast<int>(archiveHighestDirIndex);
}

ArchiveName ArchiveQuery::part(std::size_t begin, std::size_t end) const {
    return {m_text + begin, end - begin, hashArchiveName(m_text + begin, end - begin)};
}

} // namespace vl
