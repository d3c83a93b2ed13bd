// A directory of its own for a test, removed with all that is in it.
#pragma once

#include <algorithm>
#include <filesystem>
#include <random>
#include <string>
#include <system_error>

/// The name under which the library knows an absolute path of the system.
inline std::string enginePath(const std::filesystem::path &path) {
    std::string text(path.has_root_name() ? "" : "C:");
    text += path.string();
    std::replace(text.begin(), text.end(), '/', '\\');
    return text;
}

class TemporaryDirectory {
  public:
    TemporaryDirectory() : TemporaryDirectory(std::filesystem::temp_directory_path()) {}

    /// Below `parent` instead of the system's place for temporary files.
    explicit TemporaryDirectory(const std::filesystem::path &parent) {
        std::random_device random;
        do
            m_path = std::filesystem::canonical(parent) / ("vl-test-" + std::to_string(random()));
        while (!std::filesystem::create_directory(m_path));
    }

    ~TemporaryDirectory() {
        std::error_code ignored;
        std::filesystem::remove_all(m_path, ignored);
    }

    TemporaryDirectory(const TemporaryDirectory &) = delete;
    TemporaryDirectory &operator=(const TemporaryDirectory &) = delete;

    const std::filesystem::path &path() const { return m_path; }

    /// `C:\tmp\...`, without a trailing backslash.
    std::string enginePath() const { return ::enginePath(m_path); }

  private:
    std::filesystem::path m_path;
};

/// Whether names that differ in case only are those of different files.
inline bool areNamesExact() {
    const TemporaryDirectory directory;
    std::filesystem::create_directory(directory.path() / "name");
    return !std::filesystem::exists(directory.path() / "NAME");
}

/// Makes a symbolic link; false where the system gives none to its programs.
inline bool canLink(const std::filesystem::path &to, const std::filesystem::path &link) {
    std::error_code impossible;
    if (std::filesystem::is_directory(to))
        std::filesystem::create_directory_symlink(to, link, impossible);
    else
        std::filesystem::create_symlink(to, link, impossible);
    return !impossible;
}
