// Finding entries in an archive's tables (how: archive_index.h).

#include "file/archive/archive_index.h"

#include "base/compiler.h"
#include "base/text.h"
#include "core/counted.h"
#include "file/archive/archive_format.h"

#include <algorithm>
#include <bit>
#include <cstring>
#include <string_view>

namespace vl {
namespace {

using Archive = V_File::V_VASArchive;
using DirectoryEntry = V_File::VASDirectoryEntry;
using FileEntry = V_File::VASFileEntry;

/// Slots to be looked at, on average for each entry, before an index is given up while it is built. Names
/// that are not chosen to collide need fewer than 2.
constexpr std::uint64_t probesForEachEntry = 16;

constexpr std::uint64_t oddConstant = 0x9E3779B97F4A7C15;

/// Up to eight characters of a text of which `left` are left, folded.
std::uint64_t foldedWord(const char *text, std::size_t left) {
    std::uint64_t word = loadLe64(text);
    if (left < 8)
        word &= (std::uint64_t{1} << 8 * left) - 1;
    return lowerEight(word);
}

/// Whether a zero-terminated text is this name but for case.
bool isName(const char *text, const ArchiveName &name) {
    for (std::size_t i = 0; i < name.length; i += 8)
        if (foldedWord(text + i, name.length - i) != foldedWord(name.text + i, name.length - i))
            return false;
    return text[name.length] == 0;
}

std::uint32_t slotCount(std::uint32_t entries) { return std::bit_ceil(entries + entries / 3 + 2); }

/// One of the two hash tables of an index.
class Slots {
  public:
    Slots(ArchiveIndexSlot *slots, std::uint32_t entries)
        : m_pSlots(slots), m_uMask(slotCount(entries) - 1) {}

    /// Enters an entry; adds to `probes` the slots looked at.
    void insert(std::uint32_t hash, std::uint32_t entry, std::size_t key, std::uint64_t &probes) {
        std::uint32_t at = hash & m_uMask;
        for (; m_pSlots[at].entry != 0; at = (at + 1) & m_uMask)
            ++probes;
        m_pSlots[at] = {(hash & ~m_uMask) | (entry + 1), static_cast<std::uint32_t>(key)};
    }

    /// The first slot for which `isWanted` holds, told the key, of those that have the hash; null when none
    /// has.
    template <class Predicate>
    const ArchiveIndexSlot *find(std::uint32_t hash, const char *keys, Predicate isWanted) const {
        for (std::uint32_t at = hash & m_uMask; m_pSlots[at].entry != 0; at = (at + 1) & m_uMask)
            if (((m_pSlots[at].entry ^ hash) & ~m_uMask) == 0 && isWanted(keys + m_pSlots[at].key))
                return &m_pSlots[at];
        return nullptr;
    }

    template <class Entry>
    Entry *entryOf(const ArchiveIndexSlot *slot, Entry *entries) const {
        return slot ? entries + (slot->entry & m_uMask) - 1 : nullptr;
    }

  private:
    ArchiveIndexSlot *m_pSlots;
    std::uint32_t m_uMask;
};

Slots fileSlots(ArchiveIndexSlot *index, const Archive &archive) { return {index, archive.header.fileCount}; }

Slots directorySlots(ArchiveIndexSlot *index, const Archive &archive) {
    return {index + slotCount(archive.header.fileCount), archive.header.dirCount};
}

/// The first of the sorted entries whose key is the name behind the given digits, or null.
template <class Entry>
Entry *binarySearch(Entry *entries, std::uint32_t count, std::string_view digits, const ArchiveName &name) {
    char key[archiveKeyDigits + archiveLongestName + 1];
    char *const behind = std::copy_n(name.text, name.length, std::copy(digits.begin(), digits.end(), key));
    *behind = 0;
    Entry *const end = entries + count;
    Entry *const found = std::partition_point(
        entries, end, [&key](const Entry &entry) { return compareArchiveNames(entry.key, key) < 0; });
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

std::uint32_t hashArchiveFile(std::uint32_t hashOfDirectory, std::uint32_t hashOfName) {
    const std::uint64_t mixed = (hashOfName | std::uint64_t{hashOfDirectory} << 32) * oddConstant;
    return static_cast<std::uint32_t>(mixed >> 32 ^ mixed);
}

ArchiveIndexSlot *buildArchiveIndex(const Archive &archive) {
    const std::uint32_t files = archive.header.fileCount;
    const std::uint32_t dirs = archive.header.dirCount;
    const std::size_t size = std::size_t{slotCount(files)} + slotCount(dirs);
    CountedArray<ArchiveIndexSlot> index(allocateArray<ArchiveIndexSlot>(size));
    std::fill_n(index.get(), size, ArchiveIndexSlot{});
    const CountedArray<std::uint32_t> hashOfDirectory(allocateArray<std::uint32_t>(dirs));

    const std::uint64_t limit = probesForEachEntry * (std::uint64_t{files} + dirs + 1);
    std::uint64_t probes = 0;
    Slots ofDirectories = directorySlots(index.get(), archive);
    for (std::uint32_t i = 0; i < dirs && probes <= limit; ++i) {
        const char *path = archive.dirs[i].key;
        const std::uint32_t hash = hashArchiveName(path, std::strlen(path));
        hashOfDirectory[static_cast<std::size_t>(archive.dirs[i].index)] = hash;
        ofDirectories.insert(hash, i, static_cast<std::size_t>(path - archive.dirNames), probes);
    }
    Slots ofFiles = fileSlots(index.get(), archive);
    for (std::uint32_t i = 0; i < files && probes <= limit; ++i) {
        const FileEntry &entry = archive.files[i];
        if (entry.dirIndex >= dirs)
            continue; // of no directory, so it is never found
        const char *name = nameOfArchiveFile(entry);
        ofFiles.insert(
            hashArchiveFile(hashOfDirectory[entry.dirIndex], hashArchiveName(name, std::strlen(name))), i,
            static_cast<std::size_t>(entry.key - archive.fileNames), probes);
    }
    return probes <= limit ? index.release() : nullptr;
}

DirectoryEntry *findArchiveDirectory(const Archive &archive, const ArchiveName &path) {
    if (!archive.index)
        return binarySearch(archive.dirs, archive.header.dirCount, {}, path);
    const Slots slots = directorySlots(archive.index, archive);
    const auto isPath = [&](const char *key) { return isName(key, path); };
    return slots.entryOf(slots.find(path.hash, archive.dirNames, isPath), archive.dirs);
}

FileEntry *findArchiveFile(const Archive &archive, const ArchiveName &name, std::uint32_t dirIndex) {
    char digits[archiveKeyDigits];
    putArchiveKeyDigits(digits, dirIndex);
    if (!archive.index)
        return binarySearch(archive.files, archive.header.fileCount, {digits, sizeof digits}, name);
    const Slots slots = fileSlots(archive.index, archive);
    const auto isKey = [&](const char *key) {
        return std::memcmp(key, digits, sizeof digits) == 0 && isName(key + sizeof digits, name);
    };
    return slots.entryOf(slots.find(name.hash, archive.fileNames, isKey), archive.files);
}

bool mayHoldArchiveFile(const Archive &archive, std::uint32_t hash) {
    if (!archive.index)
        return true;
    const Slots slots = fileSlots(archive.index, archive);
    const auto fetchKey = [](const char *key) {
        prefetch(key);
        return true;
    };
    const FileEntry *const entry =
        slots.entryOf(slots.find(hash, archive.fileNames, fetchKey), archive.files);
    if (entry)
        prefetch(&entry->offset);
    return entry;
}

} // namespace vl
