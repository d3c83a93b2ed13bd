// The listing cache.

#include "platform/posix/system.h"

#include "platform/posix/descriptor.h"
#include "platform/posix/directory_cache.h"

#include "base/hash.h"
#include "platform/posix/directory_reader.h"

#include <bit>
#include <cerrno>
#include <cstring>
#include <ctime>
#include <fcntl.h>
#include <new>
#include <sys/vfs.h>
#include <unistd.h>

namespace vl::platform {

namespace {

constexpr std::int64_t second = 1'000'000'000;

/// Longer than the coarsest tick of time stamps with a fraction (10 ms), and of those that show none (2 s).
constexpr std::int64_t fineTick = second / 20;
constexpr std::int64_t coarseTick = 3 * second;

/// A file server's clock is taken to differ from ours by less than this many seconds.
constexpr std::int64_t clockSkew = 60;

std::uint32_t hashName(std::string_view name) { return static_cast<std::uint32_t>(hashFolded(name) >> 32); }

/// Whether a file system stamps every change of a directory, and finds names by their bytes (or, where it
/// ignores case itself, by folding ASCII as we do). The numbers are those of statfs(2).
bool stampsEveryChange(int descriptor) {
    struct statfs info;
    if (fstatfs(descriptor, &info) != 0)
        return false;
    switch (static_cast<std::uint32_t>(info.f_type)) {
    case 0x0000EF53: // ext2, ext3, ext4
    case 0x58465342: // XFS
    case 0x9123683E: // Btrfs
    case 0xCA451A4E: // bcachefs
    case 0xF2F52010: // F2FS
    case 0x2FC12FC1: // ZFS
    case 0x01021994: // tmpfs
    case 0x794C7630: // overlayfs
    case 0x00006969: // NFS
    case 0x73717368: // SquashFS
    case 0xE0F5E1E2: // EROFS
        return true;
    default:
        return false;
    }
}

std::int64_t monotonicNow() {
    timespec now{};
    clock_gettime(CLOCK_MONOTONIC, &now);
    return now.tv_sec * second + now.tv_nsec;
}

bool statDirectory(const char *path, struct stat &info) {
    if (stat(path, &info) != 0)
        return false;
    if (S_ISDIR(info.st_mode))
        return true;
    errno = ENOTDIR;
    return false;
}

} // namespace

// ---- NameTable -----------------------------------------------------------------------------------------

std::string_view NameTable::nameAt(const Slot &slot) const {
    const char *const entry = &m_names[slot.name - 1];
    return {entry + 1, static_cast<unsigned char>(*entry)};
}

bool NameTable::read(DirectoryReader &reader, std::size_t maxBytes) {
    std::size_t count = 0;
    errno = 0;
    while (const char *name = reader.next()) {
        const std::size_t length = std::strlen(name);
        // A longer name does not fit into any path.
        if (length > maxPath)
            continue;
        m_names.push_back(static_cast<char>(length));
        m_names.insert(m_names.end(), name, name + length);
        if (m_names.size() > maxBytes)
            return false;
        ++count;
        errno = 0;
    }
    if (errno != 0)
        return false;
    m_names.shrink_to_fit();

    const std::size_t slots = std::bit_ceil(count + count / 2 + 1);
    if (slots * sizeof(Slot) + m_names.size() > maxBytes)
        return false;
    m_slots.resize(slots);
    for (std::size_t at = 0; at < m_names.size(); at += 1u + static_cast<unsigned char>(m_names[at])) {
        Slot slot{0, static_cast<std::uint32_t>(at + 1)};
        slot.hash = hashName(nameAt(slot));
        *probe(m_slots, slot.hash, [](const Slot &other) { return other.isFree(); }) = slot;
    }
    return true;
}

NameMatch NameTable::find(std::string_view name, std::string_view &other) const {
    NameMatch match = NameMatch::Missing;
    const std::uint32_t hash = hashName(name);
    const auto isExactOrFree = [&](const Slot &slot) {
        if (slot.hash != hash || slot.isFree())
            return slot.isFree();
        const std::string_view candidate = nameAt(slot);
        if (candidate == name)
            return true;
        // Among names that differ in case only, the sorted order is that of their bytes.
        if (equalNames(candidate, name) && (match == NameMatch::Missing || candidate < other)) {
            match = NameMatch::OtherCase;
            other = candidate;
        }
        return false;
    };
    return probe(m_slots, hash, isExactOrFree)->isFree() ? match : NameMatch::Exact;
}

// ---- DirectoryCache ------------------------------------------------------------------------------------

DirectoryCache &DirectoryCache::instance() {
    alignas(DirectoryCache) static std::byte storage[sizeof(DirectoryCache)];
    static DirectoryCache *const cache = new (storage) DirectoryCache;
    return *cache;
}

DirectoryCache::Stamp::Stamp(const struct stat &info)
    : device(info.st_dev), inode(info.st_ino), modified(info.st_mtim.tv_sec),
      modifiedNanoseconds(info.st_mtim.tv_nsec), changed(info.st_ctim.tv_sec),
      changedNanoseconds(info.st_ctim.tv_nsec) {}

DirectoryCache::Directory *DirectoryCache::lookUp(std::string_view path) {
    if (!m_directories.empty() && m_directories.front().path == path)
        return &m_directories.front();
    const std::uint32_t hash = hashName(path);
    for (Directory *p = m_pBuckets[hash % maxDirectories]; p; p = p->nextInBucket) {
        if (p->hash == hash && p->path == path) {
            markUsed(*p);
            return p;
        }
    }
    return nullptr;
}

void DirectoryCache::markUsed(const Directory &directory) {
    m_directories.splice(m_directories.begin(), m_directories, directory.self);
}

DirectoryCache::Directory &DirectoryCache::add(std::string_view path) {
    if (m_directories.size() == maxDirectories)
        remove(m_directories.back());
    const std::uint32_t hash = hashName(path);
    m_directories.push_front({std::string(path), hash, {}, 0, false, {}, nullptr, {}});
    Directory &directory = m_directories.front();
    Directory *&bucket = m_pBuckets[hash % maxDirectories];
    directory.nextInBucket = bucket;
    directory.self = m_directories.begin();
    if (path == heldDirectory())
        m_pHeld = &directory;
    return *(bucket = &directory);
}

void DirectoryCache::remove(Directory &directory) {
    dropNames(directory);
    Directory **link = &m_pBuckets[directory.hash % maxDirectories];
    while (*link != &directory)
        link = &(*link)->nextInBucket;
    *link = directory.nextInBucket;
    if (m_pHeld == &directory)
        m_pHeld = nullptr;
    m_directories.erase(directory.self);
}

/// Forgets the names, but not since when the directory has its stamp.
void DirectoryCache::dropNames(Directory &directory) {
    m_uBytes -= directory.names.bytes();
    directory.names = {};
    directory.listed = false;
}

void DirectoryCache::makeRoom(std::size_t bytes) {
    for (auto p = m_directories.rbegin(); p != m_directories.rend() && m_uBytes + bytes > m_uMaxBytes; ++p)
        dropNames(*p);
}

/// Whether a change from now on is certain to give the directory another stamp.
bool DirectoryCache::isSettled(const Directory &directory) {
    const Stamp &stamp = directory.stamp;
    const std::int64_t today = std::time(nullptr);
    const auto far = [today](std::int64_t time) {
        return time < today - clockSkew || time > today + clockSkew;
    };
    if (far(stamp.modified) && far(stamp.changed))
        return true;
    // So close to now that the clock which set the stamp may not have moved on. Wait for it by our own clock,
    // as the other may be a file server's.
    const bool fine = stamp.modifiedNanoseconds != 0 || stamp.changedNanoseconds != 0;
    return monotonicNow() - directory.firstSeen > (fine ? fineTick : coarseTick);
}

/// Lists a directory for good. Null when its listing cannot be kept; then `reader` may have moved on.
/// Throws std::bad_alloc.
const NameTable *DirectoryCache::keepListing(std::string_view path, DirectoryReader &reader) {
    struct stat info;
    if (!stampsEveryChange(reader.descriptor()) || fstat(reader.descriptor(), &info) != 0)
        return nullptr;
    Directory *known = lookUp(path);
    Directory &directory = known ? *known : add(path);
    // What is kept from here on has the stamp that the directory had before it was read: a change while it is
    // read gives it another one.
    const Stamp stamp(info);
    if (!known || directory.stamp != stamp) {
        directory.stamp = stamp;
        directory.firstSeen = monotonicNow();
    }
    dropNames(directory);
    if (!isSettled(directory))
        return nullptr;

    NameTable names;
    if (!names.read(reader, m_uMaxBytes))
        return nullptr;
    makeRoom(names.bytes());
    m_uBytes += names.bytes();
    directory.names = std::move(names);
    directory.listed = true;
    return &directory.names;
}

NameMatch DirectoryCache::readAndFind(std::string_view path, char *name, std::size_t length) {
    const std::string_view asked(name, length);
    DirectoryReader reader(path.data());
    if (!reader.valid()) {
        if (errno != EACCES)
            return NameMatch::NoDirectory;
        char exact[2 * sizeof(PathBuffer)];
        std::memcpy(exact, path.data(), path.size());
        exact[path.size()] = '/';
        std::memcpy(exact + path.size() + 1, name, length);
        exact[path.size() + 1 + length] = '\0';
        struct stat info;
        return lstat(exact, &info) == 0 ? NameMatch::Exact : NameMatch::Missing;
    }
    ++m_uDirectoriesRead;
    std::string_view other;
    try {
        if (const NameTable *const names = keepListing(path, reader)) {
            const NameMatch match = names->find(asked, other);
            if (match == NameMatch::OtherCase)
                std::memcpy(name, other.data(), length);
            return match;
        }
    } catch (const std::bad_alloc &) {
        // Then without keeping it.
    }

    reader.rewind();
    PathBuffer best;
    errno = 0;
    while (const char *candidate = reader.next()) {
        const std::string_view text(candidate);
        if (text == asked)
            return NameMatch::Exact;
        if (equalNames(text, asked) && (other.empty() || text < other)) {
            std::memcpy(best, text.data(), length);
            other = {best, length};
        }
        errno = 0;
    }
    if (other.empty())
        return errno == 0 ? NameMatch::Missing : NameMatch::NoDirectory;
    std::memcpy(name, best, length);
    return NameMatch::OtherCase;
}

NameMatch DirectoryCache::find(std::string_view path, char *name, std::size_t length) {
    Directory *const known = lookUp(path);
    if (!known || !known->listed || known != m_pHeld || !isHeldUnchanged()) {
        struct stat info;
        if (!statDirectory(path.data(), info)) {
            if (known)
                remove(*known);
            return NameMatch::NoDirectory;
        }
        if (!known || !known->listed || known->stamp != Stamp(info))
            return readAndFind(path, name, length);
    }
    std::string_view other;
    const NameMatch match = known->names.find({name, length}, other);
    if (match == NameMatch::OtherCase)
        std::memcpy(name, other.data(), length);
    return match;
}

void DirectoryCache::holdCurrentDirectory() {
    if (m_iHeldDescriptor >= 0)
        close(m_iHeldDescriptor);
    m_uHeldLength = 0;
    m_iHeldDescriptor = open(".", O_PATH | O_DIRECTORY | O_CLOEXEC);
    if (m_iHeldDescriptor >= 0 && getcwd(m_heldPath, sizeof m_heldPath) && m_heldPath[1] != '\0')
        m_uHeldLength = std::strlen(m_heldPath);
    m_pHeld = lookUp(heldDirectory());
}

unsigned int DirectoryCache::belowHeld(std::string_view path) const {
    const std::string_view held = heldDirectory();
    return !held.empty() && path.size() > held.size() + 1 && path[held.size()] == '/' &&
                   path.starts_with(held)
               ? static_cast<unsigned int>(held.size() + 1)
               : 0;
}

NameMatch DirectoryCache::guessInHeld(std::string_view name) {
    if (!m_pHeld || !m_pHeld->listed)
        return NameMatch::NoDirectory;
    markUsed(*m_pHeld);
    std::string_view other;
    return m_pHeld->names.find(name, other);
}

/// Renaming or removing a directory stamps it, too.
bool DirectoryCache::isHeldUnchanged() const {
    struct stat info;
    return statDescriptor(m_iHeldDescriptor, info) && m_pHeld->stamp == Stamp(info);
}

NameMatch DirectoryCache::guess(std::string_view path, std::string_view name) {
    const Directory *const known = lookUp(path);
    std::string_view other;
    return known && known->listed ? known->names.find(name, other) : NameMatch::NoDirectory;
}

} // namespace vl::platform
