// The listing cache: which names a directory holds, told without regard to case and, as a rule, without
// reading the directory again.
//
// A listing is kept with the directory's identity and time stamps (device, inode, last modification, last
// status change) and believed only while a fresh stat shows the same ones. Every change of a directory's
// names sets its stamps to the time of the change, but time stamps are coarse: a second change within the
// same tick leaves them as they are. So a listing is kept only when it was read later than one tick after its
// stamps; until then the directory is read at every question. It is kept, too, only on file systems that are
// known to stamp every change; elsewhere (/proc, automounters, file systems in user space, those that fold
// names in their own way) the directory is read at every question.
//
// The cache holds at most maxDirectories listings of 16 MiB in all and gives up the least recently used
// ones; a directory too large for it is read at every question. When no memory is left, nothing is kept and
// the answers stay right. It is not locked: the layer's file functions are called from one thread at a time.
#pragma once

#include "platform/posix/paths.h"

#include <array>
#include <cstdint>
#include <list>
#include <string>
#include <string_view>
#include <sys/stat.h>
#include <vector>

namespace vl::platform {

class DirectoryReader;

/// How a directory answers when it is asked for a name.
enum class NameMatch {
    Exact,       ///< It holds the name as asked.
    OtherCase,   ///< It holds the name in another spelling only.
    Missing,     ///< It holds the name in no spelling.
    NoDirectory, ///< There is no such directory.
};

/// The names in one directory, found through a hash that ignores case.
class NameTable {
  public:
    /// Reads the names that are left in `reader`. False when they need more than `maxBytes` or reading fails.
    /// Throws std::bad_alloc.
    bool read(DirectoryReader &reader, std::size_t maxBytes);

    /// Looks for `name`; `other` is set to the spelling to take when the answer is OtherCase.
    NameMatch find(std::string_view name, std::string_view &other) const;

    std::size_t bytes() const { return m_slots.capacity() * sizeof(Slot) + m_names.capacity(); }

  private:
    struct Slot {
        std::uint32_t hash;
        /// Where the name starts in m_names, plus 1; 0 in a free slot.
        std::uint32_t name;

        bool isFree() const { return name == 0; }
    };
    std::string_view nameAt(const Slot &slot) const;

    /// Open addressing; a power of two, never full.
    std::vector<Slot> m_slots;
    /// Each name behind a byte that holds its length.
    std::vector<char> m_names;
};

class DirectoryCache {
  public:
    static constexpr std::size_t maxDirectories = 1024;

    explicit DirectoryCache(std::size_t maxBytes = 16u << 20) : m_uMaxBytes(maxBytes) {}
    DirectoryCache(const DirectoryCache &) = delete;
    DirectoryCache &operator=(const DirectoryCache &) = delete;

    /// The one cache of the process. It is never destroyed, so that files can be used until the process ends.
    static DirectoryCache &instance();

    /// Asks the directory `path` of the system (zero-terminated) for `name`, and rewrites `name` to the
    /// spelling to take when it is there in another one. A directory that may be searched but not read
    /// answers for exact names alone.
    NameMatch find(std::string_view path, char *name, std::size_t length);

    /// What `find` will probably answer, told without asking the system. NoDirectory when nothing is known.
    NameMatch guess(std::string_view path, std::string_view name);

    /// Holds on to the process's current directory. While neither its names nor its own name change, its
    /// listing is then known to be right without looking its path up again, which takes half the time. A
    /// change of the directories above it is not noticed by that, as it moves the process along with its
    /// current directory.
    void holdCurrentDirectory();

    /// The path of the directory held; empty when none is, or the root.
    std::string_view heldDirectory() const { return {m_heldPath, m_uHeldLength}; }
    /// Where the part of a path that lies below the directory held begins; 0 when it lies elsewhere.
    unsigned int belowHeld(std::string_view path) const;

    /// As guess, of the directory held.
    NameMatch guessInHeld(std::string_view name);
    /// Asks the system whether that guess is right.
    bool isHeldUnchanged() const;

    /// How many times a directory was read, for tests.
    std::uint64_t directoriesRead() const { return m_uDirectoriesRead; }

  private:
    struct Stamp {
        Stamp() = default;
        explicit Stamp(const struct stat &info);
        bool operator==(const Stamp &) const = default;

        std::uint64_t device = 0, inode = 0;
        std::int64_t modified = 0, modifiedNanoseconds = 0, changed = 0, changedNanoseconds = 0;
    };

    struct Directory {
        std::string path;
        std::uint32_t hash;
        Stamp stamp;
        /// When this stamp was seen for the first time, in nanoseconds of the monotonic clock.
        std::int64_t firstSeen;
        /// `names` is what the directory holds while it has this stamp.
        bool listed;
        NameTable names;
        Directory *nextInBucket;
        std::list<Directory>::iterator self;
    };

    Directory *lookUp(std::string_view path);
    void markUsed(const Directory &directory);
    Directory &add(std::string_view path);
    void remove(Directory &directory);
    void dropNames(Directory &directory);
    void makeRoom(std::size_t bytes);
    static bool isSettled(const Directory &directory);
    const NameTable *keepListing(std::string_view path, DirectoryReader &reader);
    NameMatch readAndFind(std::string_view path, char *name, std::size_t length);

    /// Most recently used first.
    std::list<Directory> m_directories;
    std::array<Directory *, maxDirectories> m_pBuckets{};
    std::size_t m_uMaxBytes, m_uBytes = 0;
    std::uint64_t m_uDirectoriesRead = 0;
    int m_iHeldDescriptor = -1;
    Directory *m_pHeld = nullptr; ///< what is kept of the directory held
    PathBuffer m_heldPath{};
    std::size_t m_uHeldLength = 0;
};

} // namespace vl::platform
