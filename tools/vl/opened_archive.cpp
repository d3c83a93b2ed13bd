// One archive read by the tool.

#include "opened_archive.h"

#include "file/archive/archive_index.h"
#include "file/archive/entry_reader.h"
#include "platform/native.h"
#include "platform/platform.h"

#include <algorithm>
#include <stdexcept>

namespace {

vl::Ref<vl::Archive> loadArchive(const std::filesystem::path &path) {
    vl::platform::PathBuffer absolute;
    const std::string text = vl::platform::textOf(path);
    if (!vl::platform::fullPath(absolute, text.c_str()))
        V_throw(V_FileException_ArchiveNotFound(text.c_str()));
    return vl::Archive::load(absolute);
}

} // namespace

OpenedArchive::OpenedArchive(const std::filesystem::path &path) : m_archive(loadArchive(path)) {
    m_directoryByIndex.resize(m_archive->header.dirCount);
    for (unsigned int i = 0; i < m_archive->header.dirCount; ++i)
        m_directoryByIndex[static_cast<std::size_t>(m_archive->dirs[i].index)] = m_archive->dirs[i].key;
    for (unsigned int i = 0; i < m_archive->header.fileCount; ++i) {
        if (m_archive->files[i].dirIndex < m_archive->header.dirCount)
            m_files.push_back(&m_archive->files[i]);
        else
            ++m_uOrphans;
    }
}

std::vector<std::string> OpenedArchive::directories() const {
    std::vector<std::string> paths;
    for (unsigned int i = 0; i < m_archive->header.dirCount; ++i)
        paths.emplace_back(m_archive->dirs[i].key);
    return paths;
}

std::string OpenedArchive::pathOf(const V_File::VASFileEntry &file) const {
    return std::string(m_directoryByIndex[file.dirIndex]) + vl::nameOfArchiveFile(file);
}

std::string relativePath(std::string path) {
    if (!path.empty() && path.front() == '\\')
        path.erase(0, 1);
    std::replace(path.begin(), path.end(), '\\', '/');
    return path;
}

std::string OpenedArchive::relativePathOf(const V_File::VASFileEntry &file) const {
    return relativePath(pathOf(file));
}

std::string OpenedArchive::read(const V_File::VASFileEntry &file) const {
    const std::string path = pathOf(file);
    if (file.method < V_File::METHOD_LZSS || file.method > V_File::METHOD_STORED)
        throw std::runtime_error(path + ": method " + std::to_string(file.method) + " is unknown");
    const vl::EntryReader reader(*m_archive, file, path.c_str());
    reader.expectAll();
    std::string content(file.size, '\0');
    reader.readWhole(content.data(), file.size);
    return content;
}
