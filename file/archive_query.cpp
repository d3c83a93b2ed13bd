// Looking a path up in the archives (how: archive_query.h).

#include "file/archive_query.h"

#include "file/archive_format.h"
#include "platform/platform.h"

#include <algorithm>
#include <cstdint>

namespace vl {

ArchiveQuery::ArchiveQuery(const V_DLList<V_File::V_VASArchive> &archives, std::string_view path)
    : m_archives(archives) {
    if (path.size() > platform::maxPath)
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
    goTo(m_archives.getFirst());
}

V_File::V_VASFind ArchiveQuery::findFile() {
    for (; m_pArchive; goTo(m_archives.getNext(m_pArchive)))
        if (V_File::VASFileEntry *const file =
                findArchiveFile(*m_pArchive, m_name, static_cast<std::uint32_t>(m_pDirectory->index)))
            return {m_pArchive, file, m_pDirectory};
    return {};
}

V_File::V_VASFind ArchiveQuery::findDirectory() {
    if (m_uLength == 0)
        return {};
    if (m_text[m_uLength - 1] != '\\')
        m_text[m_uLength++] = '\\';
    const ArchiveName path = part(0, m_uLength);
    for (V_File::V_VASArchive *archive = m_archives.getFirst(); archive;
         archive = m_archives.getNext(archive))
        if (V_File::VASDirectoryEntry *const directory = findArchiveDirectory(*archive, path))
            return {archive, nullptr, directory};
    return {};
}

void ArchiveQuery::goTo(V_File::V_VASArchive *archive) {
    for (; archive; archive = m_archives.getNext(archive)) {
        if (!mayHoldArchiveFile(*archive, m_name.hash))
            continue;
        m_pDirectory = findArchiveDirectory(*archive, m_directory);
        if (m_pDirectory && m_pDirectory->index <= static_cast<int>(archiveHighestDirIndex))
            break;
    }
    m_pArchive = archive;
}

ArchiveName ArchiveQuery::part(std::size_t begin, std::size_t end) const {
    return {m_text + begin, end - begin, hashArchiveName(m_text + begin, end - begin)};
}

} // namespace vl

void V_File::searchFile(V_VASFind *result, std::string_view path) {
    *result = vl::ArchiveQuery(*VASArchiveList, path).findFile();
}

void V_File::searchDir(V_VASFind *result, std::string_view path) {
    *result = vl::ArchiveQuery(*VASArchiveList, path).findDirectory();
}
