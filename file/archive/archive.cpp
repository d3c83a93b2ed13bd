// Loading an archive: its header, its two tables, sorted and indexed.

#include "file/archive/archive.h"

#include "core/counted.h"
#include "file/archive/archive_format.h"
#include "file/archive/archive_index.h"
#include "file/codec/crc32.h"
#include "file/read_file.h"

#include <algorithm>
#include <bit>
#include <cstdint>
#include <cstring>
#include <limits>

namespace vl {
namespace {

using Bytes = CountedArray<std::uint8_t>;

/// An archive file that is being read from its start on.
class ArchiveReader {
  public:
    explicit ArchiveReader(const char *path) : m_strPath(path), m_file(ReadFile::open(path)) {
        if (!m_file)
            V_throw(V_FileException_ArchiveNotFound(path));
    }

    void read(std::uint8_t *out, std::uint32_t size) {
        if (!m_file.read(m_uPosition, out, size))
            unableToRead();
        m_uPosition += size;
    }

    /// The next region, which is a table, in plain.
    Bytes readTable(std::uint32_t size, std::uint32_t seed, std::uint32_t checksum) {
        if (size > m_file.length() - m_uPosition) // before memory is taken on the word of a damaged file
            unableToRead();
        Bytes table(allocateArray<std::uint8_t>(size));
        read(table.get(), size);
        unscrambleArchiveBytes(table.get(), size, seed);
        if (crc32(table.get(), size) != checksum)
            corrupted();
        return table;
    }

    const platform::FileIdentity &identity() const { return m_file.identity(); }
    ReadFile takeFile() && { return std::move(m_file); }

    [[noreturn]] void corrupted() const { V_throw(V_FileException_ArchiveCorrupted(m_strPath)); }
    [[noreturn]] void unableToRead() const { V_throw(V_FileException_UnableToReadData(m_strPath)); }

  private:
    const char *m_strPath;
    ReadFile m_file;
    std::uint64_t m_uPosition = 0;
};

/// A sorted table and the block that holds its keys.
template <class Entry>
struct Table {
    CountedArray<Entry> entries;
    CountedArray<char> names;
    bool plainNames = true;
};

/// The next of a table's records, with `left` more to come behind it. What those take at least is kept from
/// it: the room for all keys is reckoned from the sizes of table and fields, and one long name could overrun
/// it.
ArchiveRecord nextRecord(const ArchiveReader &reader, const std::uint8_t *&position, const std::uint8_t *end,
                         std::uint32_t left, std::size_t fieldsSize) {
    ArchiveRecord record;
    if (!nextArchiveRecord(position, end - left * (fieldsSize + 1), fieldsSize, record))
        reader.corrupted();
    return record;
}

/// Copies a key's text and its terminating zero; returns where the next one goes.
char *putName(char *out, const ArchiveRecord &record) {
    std::memcpy(out, record.name, record.nameLength + 1);
    return out + record.nameLength + 1;
}

/// Sorts by key unless the table stands in that order already. Keys lie in their block in the order of the
/// records, so records with equal keys keep that order.
template <class Entry>
void sortTable(Entry *entries, std::uint32_t count) {
    const auto precedes = [](const Entry &a, const Entry &b) {
        const int order = compareArchiveNames(a.key, b.key);
        return order != 0 ? order < 0 : a.key < b.key;
    };
    if (!std::is_sorted(entries, entries + count, precedes))
        std::sort(entries, entries + count, precedes);
}

/// Whether no key of a block ends in a dot, or holds two of them side by side or a slash.
bool arePlain(const char *keys, std::size_t size) {
    unsigned char special = 0; // written for the compiler to take many characters at a time
    for (std::size_t i = 0; i + 1 < size; ++i)
        special |= static_cast<unsigned char>(
            ((keys[i] == '.') & ((keys[i + 1] == '.') | (keys[i + 1] == 0))) | (keys[i] == '/'));
    return special == 0;
}

Table<V_File::VASFileEntry> loadFileTable(ArchiveReader &reader, const V_File::VASHeader &header) {
    const Bytes region = reader.readTable(header.fileInfoSize, header.seed, header.fileInfoCRC);
    const std::uint8_t *position = region.get();
    const std::uint8_t *const end = position + header.fileInfoSize;

    // A key takes its digits more than the name; the fields stay behind.
    const std::size_t room =
        header.fileInfoSize - header.fileCount * (archiveFileFieldsSize - archiveKeyDigits);
    Table<V_File::VASFileEntry> table{
        CountedArray<V_File::VASFileEntry>(allocateArray<V_File::VASFileEntry>(header.fileCount)),
        CountedArray<char>(allocateArray<char>(room + archiveTextPadding))};

    char *names = table.names.get();
    for (std::uint32_t i = 0; i < header.fileCount; ++i) {
        const ArchiveRecord record =
            nextRecord(reader, position, end, header.fileCount - 1 - i, archiveFileFieldsSize);
        V_File::VASFileEntry &entry = table.entries[i];
        decodeFileFields(record.fields, entry);
        if (entry.dirIndex > archiveHighestDirIndex)
            reader.corrupted();
        entry.key = names;
        putArchiveKeyDigits(names, entry.dirIndex);
        names = putName(names + archiveKeyDigits, record);
        table.plainNames &= record.nameLength != 0 && record.nameLength <= platform::maxPath;
    }
    table.plainNames &= arePlain(table.names.get(), static_cast<std::size_t>(names - table.names.get()));
    return table;
}

Table<V_File::VASDirectoryEntry> loadDirectoryTable(ArchiveReader &reader, const V_File::VASHeader &header) {
    const Bytes region = reader.readTable(header.dirInfoSize, header.seed, header.dirInfoCRC);
    const std::uint8_t *position = region.get();
    const std::uint8_t *const end = position + header.dirInfoSize;

    const std::size_t room = header.dirInfoSize - header.dirCount * archiveDirectoryFieldsSize;
    Table<V_File::VASDirectoryEntry> table{
        CountedArray<V_File::VASDirectoryEntry>(allocateArray<V_File::VASDirectoryEntry>(header.dirCount)),
        CountedArray<char>(allocateArray<char>(room + archiveTextPadding))};

    char *names = table.names.get();
    for (std::uint32_t i = 0; i < header.dirCount; ++i) {
        const ArchiveRecord record =
            nextRecord(reader, position, end, header.dirCount - 1 - i, archiveDirectoryFieldsSize);
        V_File::VASDirectoryEntry &entry = table.entries[i];
        entry.key = names;
        names = putName(names, record);
        std::memcpy(entry.reserved, record.fields, sizeof entry.reserved);
        entry.index = static_cast<int>(i);
    }
    return table;
}

/// Whether the tables can hold as many records as the header counts, none being smaller than an empty name.
bool countsFit(const V_File::VASHeader &header) {
    return std::uint64_t{header.fileCount} * (archiveFileFieldsSize + 1) <= header.fileInfoSize &&
           std::uint64_t{header.dirCount} * (archiveDirectoryFieldsSize + 1) <= header.dirInfoSize;
}

/// Turns offsets into the data region into positions in the file, and returns where the data ends. What the
/// file itself lacks is noticed when it is read.
std::uint64_t placeFiles(const ArchiveReader &reader, V_File::VASFileEntry *files,
                         const V_File::VASHeader &header) {
    std::uint64_t offset = std::uint64_t{archiveHeaderSize} + header.fileInfoSize + header.dirInfoSize;
    // The entries still stand in the order of their records.
    for (std::uint32_t i = 0; i < header.fileCount; ++i) {
        files[i].offset = static_cast<unsigned int>(offset);
        offset += files[i].storedSize;
        if (offset > std::numeric_limits<std::uint32_t>::max())
            reader.corrupted();
    }
    return offset;
}

} // namespace

Ref<Archive> Archive::load(const char *path) { return load(path, false); }

Ref<Archive> Archive::loadAndHold(const char *path) { return load(path, true); }

Ref<Archive> Archive::load(const char *path, bool hold) {
    ArchiveReader reader(path);
    std::uint8_t headerBytes[archiveHeaderSize];
    reader.read(headerBytes, sizeof headerBytes);
    V_File::VASHeader header;
    if (!openArchiveHeader(headerBytes, header))
        reader.corrupted();
    // The very bits: a number that is not one is equal to nothing, itself included.
    if (std::bit_cast<std::uint32_t>(header.version) !=
        std::bit_cast<std::uint32_t>(V_File::VAS_ARCHIVE_VERSION))
        V_throw(V_FileException_ArchiveVersionConflict(path, header.version, V_File::VAS_ARCHIVE_VERSION));
    if (!countsFit(header))
        reader.corrupted();

    // What it has been given is released with it, should a later step throw.
    Ref<Archive> archive(newCounted<Archive>());
    const std::size_t pathSize = std::strlen(path) + 1;
    archive->archivePath = static_cast<char *>(std::memcpy(allocateArray<char>(pathSize), path, pathSize));
    archive->header = header;
    archive->identity = reader.identity();

    Table<V_File::VASFileEntry> files = loadFileTable(reader, header);
    archive->files = files.entries.release();
    archive->fileNames = files.names.release();
    archive->hasPlainNames = files.plainNames;
    Table<V_File::VASDirectoryEntry> dirs = loadDirectoryTable(reader, header);
    archive->dirs = dirs.entries.release();
    archive->dirNames = dirs.names.release();

    const std::uint64_t end = placeFiles(reader, archive->files, header);
    if (hold && end > archive->identity.length)
        reader.unableToRead();
    sortTable(archive->files, header.fileCount);
    sortTable(archive->dirs, header.dirCount);
    archive->index = buildArchiveIndex(*archive);
    if (hold)
        archive->m_held = std::move(reader).takeFile().keptOpen();
    return archive;
}

Archive::~Archive() {
    for (void *block :
         {static_cast<void *>(archivePath), static_cast<void *>(files), static_cast<void *>(dirs),
          static_cast<void *>(fileNames), static_cast<void *>(dirNames), static_cast<void *>(index)})
        V_Memory::freeCounted(block);
}

} // namespace vl
