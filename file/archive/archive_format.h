// The VAS archive format: one file that holds a directory tree. This is the format as code, shared by the
// reader and by whatever writes archives. docs/formats/archive.md describes it in full.
//
// All integers are little-endian, unsigned and 32 bits wide unless said otherwise. Four regions follow each
// other without gaps:
//
//   region          starts at                        length              scrambled
//   header          0                                44                  bytes 8-43
//   file info       44                               fileInfoSize        all of it
//   directory info  44 + fileInfoSize                dirInfoSize         all of it
//   data            44 + fileInfoSize + dirInfoSize  sum of storedSize   entries of method 2, each by itself
//
// Header:
//
//   offset  size  field
//   0       4     tag, not examined
//   4       4     seed of the scrambling, stored plain
//   8       4     fileCount
//   12      4     dirCount
//   16      4     fileInfoSize
//   20      4     dirInfoSize
//   24      4     version, IEEE float: 1.2, the bits 3F99999A
//   28      4     headerCRC: CRC-32 of these 44 bytes, plain, with this field 0
//   32      4     fileInfoCRC: CRC-32 of the plain file info
//   36      4     dirInfoCRC: CRC-32 of the plain directory info
//   40      4     archiverID: the program that the archive was built for
//
// File record (n: length of its name):
//
//   offset  size   field
//   0       n + 1  name without directory, zero-terminated
//   n + 1   4      size, unpacked
//   n + 5   4      storedSize
//   n + 9   4      not examined
//   n + 13  4      dirIndex: position of its directory's record, 0 to 99999
//   n + 17  4      seed of the scrambling, method 2
//   n + 21  4      method: 1 LZSS container, 2 the same scrambled, 3 stored
//   n + 25  16     time of the last write: year, month (1-12), day of week, day (1-31), hour, minute, second,
//                  milliseconds, 16 bits each
//
// Directory record:
//
//   offset  size   field
//   0       n + 1  path, beginning and ending with a backslash, zero-terminated
//   n + 1   16     not examined
//
// Scrambling is the transform of scramble.h, each region from its first byte on, with a seed of 0 used as 1.
#pragma once

#include "vl/file.h"

#include <cstddef>
#include <cstdint>

namespace vl {

inline constexpr std::size_t archiveHeaderSize = 44;
inline constexpr std::size_t archiveFileFieldsSize = 40;      ///< of a file record, behind its name
inline constexpr std::size_t archiveDirectoryFieldsSize = 16; ///< of a directory record, behind its name
inline constexpr std::uint32_t archiveHighestDirIndex = 99999;
inline constexpr std::size_t archiveKeyDigits = 5; ///< of the directory, before the name in a file's key

/// What this library's own writer puts into the tag: the bytes "VAS" and 0.
inline constexpr std::uint32_t archiveTag = 0x00534156;

/// Turns the bytes of a header, as they stand in a file, into its plain bytes and its fields; `headerCRC` of
/// the fields is 0. False when the checksum does not match.
bool openArchiveHeader(std::uint8_t (&bytes)[archiveHeaderSize], V_File::VASHeader &header);

/// The reverse: computes the checksum (whatever `headerCRC` holds) and scrambles.
void sealArchiveHeader(std::uint8_t (&bytes)[archiveHeaderSize], const V_File::VASHeader &header);

/// The state that the scrambler starts in for a seed of the header or of a record.
inline std::int32_t archiveScramblerState(std::uint32_t seed) {
    return static_cast<std::int32_t>(seed == 0 ? 1 : seed);
}

/// Unscrambles `size` bytes in place: a table, or an entry's stored bytes.
void unscrambleArchiveBytes(std::uint8_t *bytes, std::size_t size, std::uint32_t seed);

/// The reverse.
void scrambleArchiveBytes(std::uint8_t *bytes, std::size_t size, std::uint32_t seed);

/// One record of either table, where it stands.
struct ArchiveRecord {
    const char *name; ///< zero-terminated
    std::size_t nameLength;
    const std::uint8_t *fields; ///< what follows the terminating zero
};

/// Reads the record at `position`, whose fields take `fieldsSize` bytes, and moves `position` behind it.
/// False, and nothing moved, when no whole record lies before `end`.
bool nextArchiveRecord(const std::uint8_t *&position, const std::uint8_t *end, std::size_t fieldsSize,
                       ArchiveRecord &record);

/// The fields of a file record, from and to its archiveFileFieldsSize bytes; `key` and `offset`, which are
/// not stored, are left alone.
void decodeFileFields(const std::uint8_t *bytes, V_File::VASFileEntry &entry);
void encodeFileFields(std::uint8_t *bytes, const V_File::VASFileEntry &entry);

/// Whether a record's sizes agree with its method: stored bytes are as many as unpacked ones, and code can
/// give so many. To be asked before memory is taken on the word of a damaged archive.
bool sizesAgree(const V_File::VASFileEntry &entry);

/// Whether an entry is an LZSS container, scrambled or not.
inline bool isCompressed(const V_File::VASFileEntry &entry) {
    return entry.method == V_File::METHOD_LZSS || entry.method == V_File::METHOD_LZSS_SCRAMBLED;
}

/// Whether the header at `container` agrees with the record of the entry, whose sizes agree, that it is: its
/// magic and its sizes.
bool isContainerOf(const std::uint8_t *container, const V_File::VASFileEntry &entry);

/// Writes the digits of a directory's index, which is at most archiveHighestDirIndex, to the start of a key.
void putArchiveKeyDigits(char *key, std::uint32_t dirIndex);

/// The order of names, paths and keys in sorted tables: byte by byte, unsigned, A-Z as a-z, a prefix first.
/// Below 0, 0 or above 0.
int compareArchiveNames(const char *a, const char *b);

/// The order of file keys ("00003readme.txt") by what they are made of. A table that stands in this order,
/// and a directory table in the order of its paths, need no sorting when the archive is loaded.
int compareArchiveFiles(std::uint32_t dirIndexA, const char *nameA, std::uint32_t dirIndexB,
                        const char *nameB);

} // namespace vl
