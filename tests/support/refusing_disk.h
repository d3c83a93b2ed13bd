// A disk without room, and one that may not be written to.
#pragma once

#include <filesystem>

#if !defined(_WIN32)
#include <csignal>
#include <sys/resource.h>
#include <unistd.h>
#endif

/// While it lives, no file of the process grows beyond a number of bytes. Where the system has no such limit,
/// tests that need one are skipped.
class FullDisk {
  public:
#if defined(_WIN32)
    static constexpr bool isPossible = false;
    explicit FullDisk(unsigned long) {}
    ~FullDisk() {}
#else
    static constexpr bool isPossible = true;
    explicit FullDisk(unsigned long bytes) : m_handler(std::signal(SIGXFSZ, SIG_IGN)) {
        getrlimit(RLIMIT_FSIZE, &m_before);
        const struct rlimit limit { bytes, m_before.rlim_max };
        setrlimit(RLIMIT_FSIZE, &limit);
    }
    ~FullDisk() {
        setrlimit(RLIMIT_FSIZE, &m_before);
        std::signal(SIGXFSZ, m_handler);
    }

  private:
    void (*m_handler)(int);
    struct rlimit m_before {};
#endif
};

/// While it lives, nothing can take the place of a file: its directory is not ours to change, or, where that
/// is the system's way, the file can only be read.
class MissingRights {
  public:
    explicit MissingRights(const std::filesystem::path &file)
#if defined(_WIN32)
        : m_path(file),
#else
        : m_path(file.parent_path()),
#endif
          m_before(std::filesystem::status(m_path).permissions()) {
        using std::filesystem::perms;
        permissions(m_path, m_before & ~(perms::owner_write | perms::group_write | perms::others_write));
#if !defined(_WIN32)
        m_wasRoot = geteuid() == 0 && seteuid(65534) == 0; // whom no rights hold back
#endif
    }
    ~MissingRights() {
#if !defined(_WIN32)
        if (m_wasRoot)
            static_cast<void>(!seteuid(0));
#endif
        permissions(m_path, m_before);
    }

  private:
    std::filesystem::path m_path;
    std::filesystem::perms m_before;
    [[maybe_unused]] bool m_wasRoot = false;
};
