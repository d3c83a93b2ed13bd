// Finding entries in an archive's tables (how: archive_index.h).

#include "file/archive_index.h"

#include "core/counted.h"
#include "file/archive_format.h"
#include "file/little_endian.h"

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

// Up to eight characters of a text of which `left` are left, folded.
std::uint64_t foldedWord(const char *text, std::size_t left) {
    std::uint64_t word = loadLe64(reinterpret_cast<const std::uint8_t *>(text));
    if (left < 8)
        word &= (std::uint64_t{1} << 8 * left) - 1;
    return fold(word);
}

// Whether two zero-terminated texts, the second of this length, are equal but for case.
bool equalNames(const char *a, const char *b, std::size_t length) {
    for (std::size_t i = 0; i <= length; i += 8)
        if (foldedWord(a + i, length + 1 - i) != foldedWord(b + i, length + 1 - i))
            return false;
    return true;
}

std::uint32_t hashOfFile(std::uint32_t dirIndex, std::uint32_t hashOfName) {
    const std::uint64_t mixed = (hashOfName | std::uint64_t{dirIndex} << 32) * oddConstant;
    return static_cast<std::uint32_t>(mixed >> 32 ^ mixed);
}

std::uint32_t slotCount(std::uint32_t entries) { return std::bit_ceil(entries + entries / 3 + 2); }

// One of the two hash tables of an index.
class Slots {
  public:
    Slots(ArchiveIndexSlot *slots, std::uint32_t entries)
        : m_pSlots(slots), m_uMask(slotCount(entries) - 1) {}

    // Enters an entry; adds to `probes` the slots looked at.
    void insert(std::uint32_t hash, std::uint32_t entry, std::size_t key, std::uint64_t &probes) {
        std::uint32_t at = hash & m_uMask;
        for (; m_pSlots[at].entry != 0; at = (at + 1) & m_uMask)
            ++probes;
        m_pSlots[at] = {(hash & ~m_uMask) | (entry + 1), static_cast<std::uint32_t>(key)};
    }

    // The first entry that was inserted with this hash and key, or null.
    template <class Entry>
    Entry *find(Entry *entries, const char *keys, std::uint32_t hash, const ArchiveKey &key) const {
        for (std::uint32_t at = hash & m_uMask; m_pSlots[at].entry != 0; at = (at + 1) & m_uMask) {
            const ArchiveIndexSlot slot = m_pSlots[at];
            if (((slot.entry ^ hash) & ~m_uMask) == 0 && equalNames(keys + slot.key, key.text, key.length))
                return entries + (slot.entry & m_uMask) - 1;
        }
        return nullptr;
    }

  private:
    ArchiveIndexSlot *m_pSlots;
    std::uint32_t m_uMask;
};

Slots fileSlots(ArchiveIndexSlot *index, const Archive &archive) { return {index, archive.header.fileCount}; }

Slots directorySlots(ArchiveIndexSlot *index, const Archive &archive) {
    return {index + slotCount(archive.header.fileCount), archive.header.dirCount};
}

// The first of the sorted entries with this key, or null.
template <class Entry>
Entry *binarySearch(Entry *entries, std::uint32_t count, const char *key) {
    Entry *const end = entries + count;
    Entry *const found = std::partition_point(
        entries, end, [key](const Entry &entry) { return compareArchiveNames(entry.key, key) < 0; });
    return found != end && compareArchiveNames(found->key, key) == 0 ? found : nullptr;
}

} // namespace

std::uint32_t hashArchiveName(const char *name, std::size_t length) {
    std::uint64_t hash = length;
    for (std::size_t i = 0; i < length; i += 8) {
        hash = (hash ^ foldedWord(name + i, length - i)) * oddConstant;
        hash ^= hash >> 32;
    }
    return static_cast<std::uint32_t>(hash);
}

ArchiveIndexSlot *buildArchiveIndex(const Archive &archive) {
    const std::uint32_t files = archive.header.fileCount;
    const std::uint32_t dirs = archive.header.dirCount;
    const std::size_t size = std::size_t{slotCount(files)} + slotCount(dirs);
    CountedArray<ArchiveIndexSlot> index(allocateArray<ArchiveIndexSlot>(size));
    std::fill_n(index.get(), size, ArchiveIndexSlot{});

    const std::uint64_t limit = probesForEachEntry * (std::uint64_t{files} + dirs + 1);
    std::uint64_t probes = 0;
    Slots ofFiles = fileSlots(index.get(), archive);
    for (std::uint32_t i = 0; i < files && probes <= limit; ++i) {
        const FileEntry &entry = archive.files[i];
        const char *name = nameOfArchiveFile(entry);
        ofFiles.insert(hashOfFile(entry.dirIndex, hashArchiveName(name, std::strlen(name))), i,
                       static_cast<std::size_t>(entry.key - archive.fileNames), probes);
    }
    Slots ofDirectories = directorySlots(index.get(), archive);
    for (std::uint32_t i = 0; i < dirs && probes <= limit; ++i) {
        const char *path = archive.dirs[i].key;
        ofDirectories.insert(hashArchiveName(path, std::strlen(path)), i,
                             static_cast<std::size_t>(path - archive.dirNames), probes);
    }
    return probes <= limit ? index.release() : nullptr;
}

DirectoryEntry *findArchiveDirectory(const Archive &archive, const ArchiveKey &path) {
    if (archive.index)
        return directorySlots(archive.index, archive).find(archive.dirs, archive.dirNames, path.hash, path);
    return binarySearch(archive.dirs, archive.header.dirCount, path.text);
}

FileEntry *findArchiveFile(const Archive &archive, const ArchiveKey &key, std::uint32_t dirIndex) {
    if (archive.index)
        return fileSlots(archive.index, archive)
            .find(archive.files, archive.fileNames, hashOfFile(dirIndex, key.hash), key);
    return binarySearch(archive.files, archive.header.fileCount, key.text);
}

} // namespace vl
