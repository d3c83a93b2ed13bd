// Where the scripts named on the command line come from: the disk, or one archive alone.
#pragma once

#include "vl/core/startup.h"

#include <filesystem>
#include <string>

/// The library, started for one of the two. Names are resolved and errors located as it says.
class ScriptSource {
  public:
    /// `archive` is empty for the disk. Throws std::runtime_error, naming the archive, when it cannot be
    /// read.
    explicit ScriptSource(const std::string &archive);
    ~ScriptSource();
    ScriptSource(const ScriptSource &) = delete;
    ScriptSource &operator=(const ScriptSource &) = delete;

    /// The library's name for a file of the command line.
    std::string nameOf(const std::string &file) const;

    /// A path of the library as the user and his editor know it: on disk a path of the system, relative to
    /// where the tool was called when it lies below; in an archive a path with slashes.
    std::string shown(const std::string &path) const;

  private:
    void removeRoot() const;

    std::filesystem::path m_startDirectory; ///< where relative names begin
    std::filesystem::path m_archiveRoot;    ///< holds nothing; empty for the disk
    V_VantorInit m_library;
};
