// Loading one archive: its header and tables, from the file (format: archive_format.h) to sorted tables in
// memory. Everything that the file says is checked before it is used, and the archive is filled in only when
// all of it has been read.

#include "vl/file.h"

#include "core/counted.h"
#include "file/archive_format.h"
#include "file/archive_index.h"
#include "file/crc32.h"
#include "file/open_file.h"
#include "platform/platform.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <limits>

using vl::CountedArray;
using vl::platform::PathBuffer;

namespace {

using Bytes = CountedArray<std::uint8_t>;

/// An archive file that is being read from its start on.
class ArchiveReader {
  public:
    explicit ArchiveReader(const char *path) : m_strPath(path), m_file(vl::openWithoutBuffer(path, "rb")) {
        if (!m_file)
            V_throw(V_FileException_ArchiveNotFound(path));
        if (!vl::platform::fileLength(m_file.get(), m_uLeft))
            V_throw(V_FileException_UnableToReadData(path));
    }

    void read(std::uint8_t *out, std::uint32_t size) {
        if (size > m_uLeft || std::fread(out, 1, size, m_file.get()) != size)
            unableToRead();
        m_uLeft -= size;
    }

    /// The next region, which is a table, in plain.
    Bytes readTable(std::uint32_t size, std::uint32_t seed, std::uint32_t checksum) {
        if (size > m_uLeft) // before memory is taken on the word of a damaged file
            unableToRead();
        Bytes table(vl::allocateArray<std::uint8_t>(size));
        read(table.get(), size);
        vl::unscrambleArchiveBytes(table.get(), size, seed);
        if (vl::crc32(table.get(), size) != checksum)
            corrupted();
        return table;
    }

    [[noreturn]] void corrupted() const { V_throw(V_FileException_ArchiveCorrupted(m_strPath)); }

  private:
    [[noreturn]] void unableToRead() const { V_throw(V_FileException_UnableToReadData(m_strPath)); }

    const char *m_strPath;
    vl::OpenFile m_file;
    std::uint64_t m_uLeft = 0;
};

/// A sorted table and the block that holds its keys.
template <class Entry>
struct Table {
    CountedArray<Entry> entries;
    CountedArray<char> names;
};

/// The next of a table's records, with `left` more to come behind it. What those take at least is kept from
/// it: the room for all keys is reckoned from the sizes of table and fields, and one long name could overrun
/// it.
vl::ArchiveRecord nextRecord(const ArchiveReader &reader, const std::uint8_t *&position,
                             const std::uint8_t *end, std::uint32_t left, std::size_t fieldsSize) {
    vl::ArchiveRecord record;
    if (!vl::nextArchiveRecord(position, end - left * (fieldsSize + 1), fieldsSize, record))
        reader.corrupted();
    return record;
}

/// Copies a key's text and its terminating zero; returns where the next one goes.
char *putName(char *out, const vl::ArchiveRecord &record) {
    std::memcpy(out, record.name, record.nameLength + 1);
    return out + record.nameLength + 1;
}

/// Sorts by key unless the table stands in that order already. Keys lie in their block in the order of the
/// records, so records with equal keys keep that order.
template <class Entry>
void sortTable(Entry *entries, std::uint32_t count) {
    const auto precedes = [](const Entry &a, const Entry &b) {
        const int order = vl::compareArchiveNames(a.key, b.key);
        return order != 0 ? order < 0 : a.key < b.key;
    };
    if (!std::is_sorted(entries, entries + count, precedes))
        std::sort(entries, entries + count, precedes);
}

Table<V_File::VASFileEntry> loadFileTable(ArchiveReader &reader, const V_File::VASHeader &header) {
    const Bytes region = reader.readTable(header.fileInfoSize, header.seed, header.fileInfoCRC);
    const std::uint8_t *position = region.get();
    const std::uint8_t *const end = position + header.fileInfoSize;

    // A key takes its digits more than the name; the fields stay behind.
    const std::size_t room =
        header.fileInfoSize - header.fileCount * (vl::archiveFileFieldsSize - vl::archiveKeyDigits);
    Table<V_File::VASFileEntry> table{
        CountedArray<V_File::VASFileEntry>(vl::allocateArray<V_File::VASFileEntry>(header.fileCount)),
        CountedArray<char>(vl::allocateArray<char>(room + vl::archiveTextPadding))};

    char *names = table.names.get();
    std::uint64_t offset = std::uint64_t{vl::archiveHeaderSize} + header.fileInfoSize + header.dirInfoSize;
    for (std::uint32_t i = 0; i < header.fileCount; ++i) {
        const vl::ArchiveRecord record =
            nextRecord(reader, position, end, header.fileCount - 1 - i, vl::archiveFileFieldsSize);
        V_File::VASFileEntry &entry = table.entries[i];
        vl::decodeFileFields(record.fields, entry);
        if (entry.dirIndex > vl::archiveHighestDirIndex)
            reader.corrupted();
        entry.key = names;
        vl::putArchiveKeyDigits(names, entry.dirIndex);
        names = putName(names + vl::archiveKeyDigits, record);

        entry.offset = static_cast<unsigned int>(offset);
        offset += entry.storedSize;
        if (offset > std::numeric_limits<std::uint32_t>::max())
            reader.corrupted();
    }
    return table;
}

Table<V_File::VASDirectoryEntry> loadDirectoryTable(ArchiveReader &reader, const V_File::VASHeader &header) {
    const Bytes region = reader.readTable(header.dirInfoSize, header.seed, header.dirInfoCRC);
    const std::uint8_t *position = region.get();
    const std::uint8_t *const end = position + header.dirInfoSize;

    const std::size_t room = header.dirInfoSize - header.dirCount * vl::archiveDirectoryFieldsSize;
    Table<V_File::VASDirectoryEntry> table{
        CountedArray<V_File::VASDirectoryEntry>(
            vl::allocateArray<V_File::VASDirectoryEntry>(header.dirCount)),
        CountedArray<char>(vl::allocateArray<char>(room + vl::archiveTextPadding))};

    char *names = table.names.get();
    for (std::uint32_t i = 0; i < header.dirCount; ++i) {
        const vl::ArchiveRecord record =
            nextRecord(reader, position, end, header.dirCount - 1 - i, vl::archiveDirectoryFieldsSize);
        V_File::VASDirectoryEntry &entry = table.entries[i];
        entry.key = names;
        names = putName(names, record);
        std::memcpy(entry.reserved, record.fields, sizeof entry.reserved);
        entry.index = static_cast<int>(i);
    }
    return table;
}

bool isOfThisVersion(const V_File::VASHeader &header) {
    std::uint32_t bits;
    std::memcpy(&bits, &header.version, sizeof bits);
    return bits == vl::archiveVersionBits;
}

/// Whether the tables can hold as many records as the header counts, none being smaller than an empty name.
bool countsFit(const V_File::VASHeader &header) {
    return std::uint64_t{header.fileCount} * (vl::archiveFileFieldsSize + 1) <= header.fileInfoSize &&
           std::uint64_t{header.dirCount} * (vl::archiveDirectoryFieldsSize + 1) <= header.dirInfoSize;
}

} // namespace

void V_File::loadArchiveHeader(V_VASArchive *archive, const char *name) {
    PathBuffer path;
    if (!vl::platform::fullPath(path, name)) {
        if (std::strlen(m_originalLocalDirPath) + 1 + std::strlen(name) > vl::platform::maxPath)
            V_throw(V_FileException_PathTooLong(name));
        V_throw(V_FileException_ArchiveNotFound(name)); // an empty name, another drive
    }

    ArchiveReader reader(path);
    std::uint8_t headerBytes[vl::archiveHeaderSize];
    reader.read(headerBytes, sizeof headerBytes);
    VASHeader header;
    if (!vl::openArchiveHeader(headerBytes, header))
        reader.corrupted();
    if (!isOfThisVersion(header))
        V_throw(V_FileException_ArchiveVersionConflict(path, header.version, VAS_ARCHIVE_VERSION));
    if (!countsFit(header))
        reader.corrupted();

    const std::size_t pathSize = std::strlen(path) + 1;
    CountedArray<char> archivePath(vl::allocateArray<char>(pathSize));
    std::memcpy(archivePath.get(), path, pathSize);

    Table<VASFileEntry> files = loadFileTable(reader, header);
    Table<VASDirectoryEntry> dirs = loadDirectoryTable(reader, header);
    sortTable(files.entries.get(), header.fileCount);
    sortTable(dirs.entries.get(), header.dirCount);

    const V_VASArchive complete = {
        archivePath.get(), header, files.entries.get(), dirs.entries.get(), files.names.get(),
        dirs.names.get(),  nullptr};
    vl::ArchiveIndexSlot *const index = vl::buildArchiveIndex(complete);
    *archive = complete;
    archive->index = index;
    archivePath.release();
    files.entries.release();
    files.names.release();
    dirs.entries.release();
    dirs.names.release();
}
