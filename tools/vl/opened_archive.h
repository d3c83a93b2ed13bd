// One archive read by the tool, by the library's own loader, without joining the library's file system.
#pragma once

#include "file/archive/archive.h"
#include "vl/file.h"

#include <filesystem>
#include <string>
#include <vector>

class OpenedArchive {
  public:
    /// Loads and checks the tables. Throws as V_File does when it loads an archive.
    explicit OpenedArchive(const std::filesystem::path &path);

    const V_File::VASHeader &header() const { return m_archive->header; }

    /// The files in the order of the sorted table; those without a directory record are left out.
    const std::vector<const V_File::VASFileEntry *> &files() const { return m_files; }

    /// The directories' paths, sorted: "\", "\data\", ...
    std::vector<std::string> directories() const;

    /// Files whose directory the archive does not hold, so that no name finds them.
    std::size_t orphans() const { return m_uOrphans; }

    /// "\data\maps\a.map"
    std::string pathOf(const V_File::VASFileEntry &file) const;

    /// "data/maps/a.map": below a directory of the disk.
    std::string relativePathOf(const V_File::VASFileEntry &file) const;

    /// The unpacked content. Throws as V_File::load, and std::runtime_error for a method that is unknown.
    std::string read(const V_File::VASFileEntry &file) const;

  private:
    vl::Ref<vl::Archive> m_archive;
    std::vector<const char *> m_directoryByIndex;
    std::vector<const V_File::VASFileEntry *> m_files;
    std::size_t m_uOrphans = 0;
};

/// A path in an archive, "\data\maps\", as one below a directory of the disk: "data/maps/". What it leads to
/// is the caller's to check.
std::string relativePath(std::string path);
