// A directory of its own for a test, removed with all that is in it.
#pragma once

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <stdexcept>
#include <string>
#include <system_error>

/// The name under which the library knows an absolute path of the system.
inline std::string enginePath(const std::filesystem::path &path) {
    std::string text("C:");
    text += path.string();
    std::replace(text.begin(), text.end(), '/', '\\');
    return text;
}

class TemporaryDirectory {
  public:
    TemporaryDirectory() : TemporaryDirectory(std::filesystem::temp_directory_path()) {}

    /// Below `parent` instead of the system's place for temporary files.
    explicit TemporaryDirectory(const std::filesystem::path &parent) {
        std::string name = (std::filesystem::canonical(parent) / "vl-test-XXXXXX").string();
        if (!mkdtemp(name.data()))
            throw std::runtime_error("cannot create a temporary directory");
        m_path = name;
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
