// The VAS archive format (layout: archive_format.h): headers and records from and to bytes.

#include "file/archive/archive_format.h"

#include "base/byte_order.h"
#include "file/crc32.h"
#include "file/lzss.h"
#include "file/scramble.h"

#include <cstring>

namespace vl {
namespace {

constexpr std::size_t plainHeaderSize = 8; // tag and seed
constexpr std::size_t checksumOffset = 28;

/// The fields of a header in the order of the file, each handed to `transfer`.
template <class Header, class Transfer>
void forEachHeaderField(Header &header, Transfer transfer) {
    transfer(header.tag);
    transfer(header.seed);
    transfer(header.fileCount);
    transfer(header.dirCount);
    transfer(header.fileInfoSize);
    transfer(header.dirInfoSize);
    transfer(header.version);
    transfer(header.headerCRC);
    transfer(header.fileInfoCRC);
    transfer(header.dirInfoCRC);
    transfer(header.archiverID);
}

/// The same for the fields of a file record.
template <class Entry, class Transfer>
void forEachFileField(Entry &entry, Transfer transfer) {
    transfer(entry.size);
    transfer(entry.storedSize);
    transfer(entry.reserved);
    transfer(entry.dirIndex);
    transfer(entry.seed);
    transfer(entry.method);
    auto &time = entry.time;
    for (auto *part : {&time.year, &time.month, &time.dayOfWeek, &time.day, &time.hour, &time.minute,
                       &time.second, &time.milliseconds})
        transfer(*part);
}

/// Reads fields one after the other.
struct Decoder {
    const std::uint8_t *position;

    void operator()(unsigned int &field) {
        field = loadLe32(position);
        position += 4;
    }
    void operator()(float &field) {
        const std::uint32_t bits = loadLe32(position);
        std::memcpy(&field, &bits, sizeof field);
        position += 4;
    }
    void operator()(unsigned short &field) {
        field = loadLe16(position);
        position += 2;
    }
};

/// Writes fields one after the other.
struct Encoder {
    std::uint8_t *position;

    void operator()(unsigned int field) {
        storeLe32(position, field);
        position += 4;
    }
    void operator()(float field) {
        std::uint32_t bits;
        std::memcpy(&bits, &field, sizeof bits);
        (*this)(bits);
    }
    void operator()(unsigned short field) {
        *position++ = static_cast<std::uint8_t>(field);
        *position++ = static_cast<std::uint8_t>(field >> 8);
    }
};

} // namespace

bool openArchiveHeader(std::uint8_t (&bytes)[archiveHeaderSize], V_File::VASHeader &header) {
    unscrambleArchiveBytes(bytes + plainHeaderSize, archiveHeaderSize - plainHeaderSize, loadLe32(bytes + 4));
    const std::uint32_t checksum = loadLe32(bytes + checksumOffset);
    storeLe32(bytes + checksumOffset, 0);
    forEachHeaderField(header, Decoder{bytes});
    return crc32(bytes, archiveHeaderSize) == checksum;
}

void sealArchiveHeader(std::uint8_t (&bytes)[archiveHeaderSize], const V_File::VASHeader &header) {
    forEachHeaderField(header, Encoder{bytes});
    storeLe32(bytes + checksumOffset, 0);
    storeLe32(bytes + checksumOffset, crc32(bytes, archiveHeaderSize));
    scrambleArchiveBytes(bytes + plainHeaderSize, archiveHeaderSize - plainHeaderSize, header.seed);
}

void unscrambleArchiveBytes(std::uint8_t *bytes, std::size_t size, std::uint32_t seed) {
    unscramble(bytes, bytes, size, archiveScramblerState(seed));
}

void scrambleArchiveBytes(std::uint8_t *bytes, std::size_t size, std::uint32_t seed) {
    scramble(bytes, bytes, size, archiveScramblerState(seed));
}

bool nextArchiveRecord(const std::uint8_t *&position, const std::uint8_t *end, std::size_t fieldsSize,
                       ArchiveRecord &record) {
    const auto left = static_cast<std::size_t>(end - position);
    const auto *terminator = static_cast<const std::uint8_t *>(std::memchr(position, 0, left));
    if (!terminator || static_cast<std::size_t>(end - terminator) - 1 < fieldsSize)
        return false;
    record.name = reinterpret_cast<const char *>(position);
    record.nameLength = static_cast<std::size_t>(terminator - position);
    record.fields = terminator + 1;
    position = record.fields + fieldsSize;
    return true;
}

void decodeFileFields(const std::uint8_t *bytes, V_File::VASFileEntry &entry) {
    forEachFileField(entry, Decoder{bytes});
}

void encodeFileFields(std::uint8_t *bytes, const V_File::VASFileEntry &entry) {
    forEachFileField(entry, Encoder{bytes});
}

bool isContainerOf(const std::uint8_t *container, const V_File::VASFileEntry &entry) {
    LzssHeader header;
    return lzssReadHeader(container, header) && header.size == entry.size &&
           header.packedSize == entry.storedSize - lzssHeaderSize &&
           lzssCanHold(header.size, header.packedSize);
}

void putArchiveKeyDigits(char *key, std::uint32_t dirIndex) {
    for (std::size_t i = archiveKeyDigits; i > 0; --i, dirIndex /= 10)
        key[i - 1] = static_cast<char>('0' + dirIndex % 10);
}

int compareArchiveNames(const char *a, const char *b) {
    for (;; ++a, ++b) {
        if (*a == *b) {
            if (*a == 0)
                return 0;
            continue;
        }
        const int left = std::V_CTrI::fold(*a);
        const int right = std::V_CTrI::fold(*b);
        if (left != right)
            return left - right;
    }
}

int compareArchiveFiles(std::uint32_t dirIndexA, const char *nameA, std::uint32_t dirIndexB,
                        const char *nameB) {
    if (dirIndexA != dirIndexB)
        return dirIndexA < dirIndexB ? -1 : 1;
    return compareArchiveNames(nameA, nameB);
}

} // namespace vl
