// Reads the names in a directory.
#pragma once

#include <cstring>
#include <dirent.h>

namespace vl::platform {

class DirectoryReader {
  public:
    /// `valid` tells whether the directory could be opened.
    explicit DirectoryReader(const char *path) : m_p(opendir(path)) {}
    ~DirectoryReader() {
        if (m_p)
            closedir(m_p);
    }
    DirectoryReader(const DirectoryReader &) = delete;
    DirectoryReader &operator=(const DirectoryReader &) = delete;

    bool valid() const { return m_p != nullptr; }
    int descriptor() const { return dirfd(m_p); }

    void rewind() { rewinddir(m_p); }

    /// The next name, "." and ".." left out; null at the end and on an error. Valid until the next call.
    const char *next() {
        while (const dirent *entry = readdir(m_p))
            if (std::strcmp(entry->d_name, ".") != 0 && std::strcmp(entry->d_name, "..") != 0)
                return entry->d_name;
        return nullptr;
    }

  private:
    DIR *m_p;
};

} // namespace vl::platform
