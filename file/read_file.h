// A regular file that is open for reading at any position, and closes itself.
#pragma once

#include "platform/platform.h"
#include "vl/file/exception.h"

#include <cstdint>
#include <limits>
#include <utility>

namespace vl {

class ReadFile {
  public:
    ReadFile() = default;
    /// Opens a file by the path that a lookup made of a name; false when there is none that can be read.
    static ReadFile open(const char *path) { return ReadFile(path, platform::OpenAs::Named); }
    /// Opens a file that was found under this very path before.
    static ReadFile reopen(const char *path) { return ReadFile(path, platform::OpenAs::Known); }

    /// The same open file, whatever has become of its path; false when the process has too many open.
    ReadFile again() const {
        ReadFile result;
        result.m_handle = platform::duplicate(m_handle, result.m_identity);
        return result;
    }
    /// This file, or none when the process should not keep so many open.
    ReadFile keptOpen() && { return platform::mayStayOpen(m_handle) ? std::move(*this) : ReadFile(); }

    ReadFile(ReadFile &&other) noexcept
        : m_identity(other.m_identity), m_handle(std::exchange(other.m_handle, platform::noFile)) {}
    ReadFile &operator=(ReadFile &&other) noexcept {
        std::swap(m_handle, other.m_handle);
        std::swap(m_identity, other.m_identity);
        return *this;
    }
    ~ReadFile() {
        if (*this)
            platform::closeFile(m_handle);
    }

    explicit operator bool() const { return m_handle != platform::noFile; }

    platform::FileHandle handle() const { return m_handle; }
    /// What the file was when it was opened.
    const platform::FileIdentity &identity() const { return m_identity; }
    std::uint64_t length() const { return m_identity.length; }

    /// The length, which the library's sizes must hold. Throws V_FileException_FileTooLarge, naming `path`.
    unsigned int size(const char *path) const {
        if (length() > std::numeric_limits<unsigned int>::max())
            V_throw(V_FileException_FileTooLarge(path));
        return static_cast<unsigned int>(length());
    }

    /// Reads `count` bytes; false when the file does not give so many.
    bool read(std::uint64_t position, void *out, std::uint32_t count) const {
        return platform::readAt(m_handle, position, out, count) == count;
    }

  private:
    ReadFile(const char *path, platform::OpenAs as)
        : m_handle(platform::openForReading(path, m_identity, as)) {}

    // In this order: opening writes the identity.
    platform::FileIdentity m_identity{};
    platform::FileHandle m_handle = platform::noFile;
};

} // namespace vl
