// Looking a path up in the archives (how: archive_query.h).

#include "file/places/archive_query.h"

#include "file/archive/archive_format.h"
#include "platform/platform.h"

#include <algorithm>
#include <cstdint>

namespace vl {

ArchiveQuery::ArchiveQuery(const PlaceList &places, std::string_view path)
    : m_pBegin(places.begin()), m_pEnd(places.end()), m_pPlace(m_pEnd) {
    if (m_pBegin == m_pEnd || path.size() > platform::maxPath)
        return;
    m_text[0] = '\\';
    const std::size_t begin = path.empty() || (path[0] != '\\' && path[0] != '/') ? 1 : 0;
    std::replace_copy(path.begin(), path.end(), m_text + begin, '/', '\\');
    m_uLength = begin + path.size();

    std::size_t split = m_uLength;
    while (m_text[split - 1] != '\\')
        --split;
    m_directory = part(0, split);
    m_name = part(split, m_uLength);
    m_name.hash = hashArchiveFile(m_directory.hash, m_name.hash);
    goTo(m_pBegin);
}

V_File::V_VASFind ArchiveQuery::findFile() {
    for (; m_pPlace != m_pEnd; goTo(m_pPlace + 1))
        if (V_File::VASFileEntry *const file =
                findArchiveFile(*m_pPlace->archive, m_name, static_cast<std::uint32_t>(m_pDirectory->index)))
            return {m_pPlace->archive.get(), file, m_pDirectory};
    return {};
}

bool ArchiveQuery::findDirectory() {
    if (m_uLength == 0)
        return false;
    if (m_text[m_uLength - 1] != '\\')
        m_text[m_uLength++] = '\\';
    const ArchiveName path = part(0, m_uLength);
    return std::any_of(m_pBegin, m_pEnd, [&](const Place &place) {
        return findArchiveDirectory(*place.archive, path) != nullptr;
    });
}

void ArchiveQuery::goTo(const Place *place) {
    for (; place != m_pEnd; ++place) {
        if (!mayHoldArchiveFile(*place->archive, m_name.hash))
            continue;
        m_pDirectory = findArchiveDirectory(*place->archive, m_directory);
        if (m_pDirectory && m_pDirectory->index <= static_cast<int>(archiveHighestDirIndex))
            break;
    }
    m_pPlace = place;
}

ArchiveName ArchiveQuery::part(std::size_t begin, std::size_t end) const {
    return {m_text + begin, end - begin, hashArchiveName(m_text + begin, end - begin)};
}

} // namespace vl
