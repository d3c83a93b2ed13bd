// Searching (what is searched, and in which order: search.h).

#include "file/places/search.h"

#include "file/file_system.h"

#include <cstring>

namespace vl {

Search::Search(const FileSystem &system, const char *pattern)
    : m_pattern(system.names, pattern), m_places(system.activePlaces()) {}

const char *Search::next() {
    if (m_eStage == Stage::Disk) {
        if (const char *name = nextOnDisk())
            return name;
        m_eStage = Stage::Directories;
        m_uPlace = 0;
    }
    if (m_eStage == Stage::Directories) {
        if (const char *name = nextInArchives())
            return name;
        m_eStage = Stage::Files;
        m_uPlace = 0;
    }
    if (m_eStage == Stage::Files) {
        if (const char *name = nextInArchives())
            return name;
        m_eStage = Stage::Finished;
    }
    return nullptr;
}

/// Place by place: what is on the way to it, or its names.
const char *Search::nextOnDisk() {
    const PlaceList::Directories &directories = m_places->directories();
    while (true) {
        if (const char *name = m_onDisk.next(m_pattern))
            return give(name);
        if (m_uPlace == directories.size()) {
            m_onDisk.end();
            return nullptr;
        }
        const Place &place = (*m_places)[directories[m_uPlace++]];
        if (const char *name = nameAbove(place))
            return name;
        m_onDisk.begin(m_pattern, place);
    }
}

/// Archive by archive: in the stage of the directories also what is on the way to it.
const char *Search::nextInArchives() {
    while (true) {
        if (m_inArchive) {
            if (m_eStage == Stage::Directories) {
                if (const char *name = m_inArchive->nextDirectory())
                    return give(name);
            } else if (m_inArchive->nextFile()) {
                return give(m_inArchive->fileName());
            }
        }
        m_inArchive.reset();
        while (m_uPlace != m_places->size() && !(*m_places)[m_uPlace].archive)
            ++m_uPlace;
        if (m_uPlace == m_places->size())
            return nullptr;
        const Place &place = (*m_places)[m_uPlace++];
        if (const char *name = m_eStage == Stage::Directories ? nameAbove(place) : nullptr)
            return name;
        const std::size_t offset = place.offsetIn(m_pattern.directoryPath());
        if (offset != std::string_view::npos)
            m_inArchive.emplace(*place.archive, m_pattern.directory.view().substr(offset),
                                m_pattern.names.text(), m_pattern.wholeElements);
    }
}

/// The virtual directory that leads to a place; null when none does from here, or it does not match.
const char *Search::nameAbove(const Place &place) {
    const std::string_view name = m_pattern.nameOnTheWayTo(place);
    return !name.empty() && m_pattern.matches(give(name)) ? m_strResult : nullptr;
}

const char *Search::give(std::string_view name) {
    // Not memcpy, which GCC turns into a string instruction here that takes long to start.
    std::memmove(m_strResult, name.data(), name.size());
    m_strResult[name.size()] = 0;
    return m_strResult;
}

} // namespace vl
