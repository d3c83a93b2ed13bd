// Finding entries in an archive's tables (how: archive_index.h).

#include "file/archive_index.h"

#include "core/counted.h"
#include "file/archive_format.h"

#include <algorithm>
#include <bit>
#include <cstring>

namespace vl {
namespace {

using Archive = V_File::V_VASArchive;
using DirectoryEntry = V_File::VASDirectoryEntry;
using FileEntry = V_File::VASFileEntry;

// Slots to be looked at, on average for each entry, before an index is given up while it is built. Names that
// are not chosen to collide need fewer than 2.
constexpr std::uint64_t probesForEachEntry = 16;

constexpr std::uint64_t oddConstant = 0x9E3779B97F4A7C15;

// Eight characters at once, A-Z made a-z.
std::uint64_t fold(std::uint64_t characters) {
    constexpr std::uint64_t each = 0x0101010101010101;
    const std::uint64_t low = characters & each * 0x7F;
    const std::uint64_t fromA = low + each * (0x80 - 'A');
    const std::uint64_t beyondZ = low + each * (0x7F - 'Z');
    const std::uint64_t upper = (fromA & ~beyondZ & ~characters) & each * 0x80;
    return characters | upper >> 2;
}

std::uint32_t hashOfFile(std::uint32_t dirIndex, std::uint32_t hashOfName) {
    const std::uint64_t mixed = (hashOfName | std::uint64_t{dirIndex} << 32) * oddConstant;
    return static_cast<std::uint32_t>(mixed >> 32 ^ mixed);
}

std::uint32_t slotCount(std::uint32_t entries) { return std::bit_ceil(2 * entries + 2); }

// One of the two hash tables of an index.
class Slots {
  public:
    Slots(std::uint32_t *slots, std::uint32_t entries) : m_pSlots(slots), m_uMask(slotCount(entries) - 1) {}

    // Enters an entry; adds to `probes` the slots looked at.
    void insert(std::uint32_t hash, std::uint32_t entry, std::uint64_t &probes) {
        std::uint32_t at = hash & m_uMask;
        for (; m_pSlots[at] != 0; at = (at + 1) & m_uMask)
            ++probes;
        m_pSlots[at] = (hash & ~m_uMask) | (entry + 1);
    }

    // The first entry that was inserted with this hash and of which `matches` is true, or null.
    template <class Entry, class Matches>
    Entry *find(Entry *entries, std::uint32_t hash, Matches matches) const {
        for (std::uint32_t at = hash & m_uMask; m_pSlots[at] != 0; at = (at + 1) & m_uMask) {
            if ((m_pSlots[at] & ~m_uMask) != (hash & ~m_uMask))
                continue;
            Entry &entry = entries[(m_pSlots[at] & m_uMask) - 1];
            if (matches(entry))
                return &entry;
        }
        return nullptr;
    }

  private:
    std::uint32_t *m_pSlots;
    std::uint32_t m_uMask;
};

Slots fileSlots(std::uint32_t *index, const Archive &archive) { return {index, archive.header.fileCount}; }

Slots directorySlots(std::uint32_t *index, const Archive &archive) {
    return {index + slotCount(archive.header.fileCount), archive.header.dirCount};
}

// The first of the sorted entries that `compare` (of an entry with what is wanted) calls equal, or null.
template <class Entry, class Compare>
Entry *binarySearch(Entry *entries, std::uint32_t count, Compare compare) {
    Entry *const end = entries + count;
    Entry *const found =
        std::partition_point(entries, end, [&](const Entry &entry) { return compare(entry) < 0; });
    return found != end && compare(*found) == 0 ? found : nullptr;
}

} // namespace

std::uint32_t hashArchiveName(const char *name, std::size_t length) {
    std::uint64_t hash = length;
    for (; length > 0;) {
        const std::size_t step = std::min<std::size_t>(length, 8);
        std::uint64_t characters = 0;
        if (step == 8)
            std::memcpy(&characters, name, 8);
        else
            for (std::size_t i = 0; i < step; ++i)
                characters |= std::uint64_t{static_cast<unsigned char>(name[i])} << 8 * i;
        hash = (hash ^ fold(characters)) * oddConstant;
        hash ^= hash >> 32;
        name += step;
        length -= step;
    }
    return static_cast<std::uint32_t>(hash);
}

std::uint32_t *buildArchiveIndex(const Archive &archive) {
    const std::uint32_t files = archive.header.fileCount;
    const std::uint32_t dirs = archive.header.dirCount;
    const std::size_t size = std::size_t{slotCount(files)} + slotCount(dirs);
    CountedArray<std::uint32_t> index(allocateArray<std::uint32_t>(size));
    std::fill_n(index.get(), size, 0u);

    const std::uint64_t limit = probesForEachEntry * (std::uint64_t{files} + dirs + 1);
    std::uint64_t probes = 0;
    Slots ofFiles = fileSlots(index.get(), archive);
    for (std::uint32_t i = 0; i < files && probes <= limit; ++i) {
        const char *name = nameOfArchiveFile(archive.files[i]);
        ofFiles.insert(hashOfFile(archive.files[i].dirIndex, hashArchiveName(name, std::strlen(name))), i,
                       probes);
    }
    Slots ofDirectories = directorySlots(index.get(), archive);
    for (std::uint32_t i = 0; i < dirs && probes <= limit; ++i)
        ofDirectories.insert(hashArchiveName(archive.dirs[i].key, std::strlen(archive.dirs[i].key)), i,
                             probes);
    return probes <= limit ? index.release() : nullptr;
}

DirectoryEntry *findArchiveDirectory(const Archive &archive, const char *path, std::uint32_t hash) {
    const auto compare = [path](const DirectoryEntry &entry) { return compareArchiveNames(entry.key, path); };
    if (archive.index)
        return directorySlots(archive.index, archive).find(archive.dirs, hash, [&](const auto &entry) {
            return compare(entry) == 0;
        });
    return binarySearch(archive.dirs, archive.header.dirCount, compare);
}

FileEntry *findArchiveFile(const Archive &archive, std::uint32_t dirIndex, const char *name,
                           std::uint32_t hash) {
    const auto compare = [dirIndex, name](const FileEntry &entry) {
        return compareArchiveFiles(entry.dirIndex, nameOfArchiveFile(entry), dirIndex, name);
    };
    if (archive.index)
        return fileSlots(archive.index, archive)
            .find(archive.files, hashOfFile(dirIndex, hash),
                  [&](const auto &entry) { return compare(entry) == 0; });
    return binarySearch(archive.files, archive.header.fileCount, compare);
}

} // namespace vl
