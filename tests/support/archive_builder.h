// Writes archives for tests: the format of docs/formats/archive.md once more, as plainly as it can be put, so
// that it judges the library's own code, and with every part of it open to damage.
#pragma once

#include <array>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <string>
#include <vector>

class ArchiveBuilder {
  public:
    enum HeaderField {
        Tag,
        Seed,
        FileCount,
        DirCount,
        FileInfoSize,
        DirInfoSize,
        Version,
        HeaderCRC,
        FileInfoCRC,
        DirInfoCRC,
        ArchiverID
    };
    using Header = std::array<std::uint32_t, 11>;

    /// One file: what its record says, and the bytes in the data region.
    struct Record {
        std::string name;
        std::uint32_t size, storedSize, unexamined, dirIndex, seed, method;
        std::array<std::uint16_t, 8> time;
        std::string stored;
    };

    /// Adds a file, `path` being like `\data\a.txt`, and its directory if that has no record yet. Records
    /// stand in the order in which they were added.
    ArchiveBuilder &add(const std::string &path, const std::string &content, std::uint32_t method = 3);
    /// Adds a directory (`\data\`) if it has no record yet; returns its index.
    std::uint32_t addDirectory(const std::string &path);

    /// The whole archive.
    std::string bytes() const;
    void write(const std::filesystem::path &path) const;

    std::vector<Record> records;
    std::vector<std::string> directories;
    std::uint32_t seed = 12345;
    std::uint32_t archiverID = 0;
    std::array<std::uint16_t, 8> time = {2003, 7, 4, 24, 13, 14, 15, 16};

    // Damage: called with the plain regions before their checksums are taken, then with the header before its
    // own is.
    std::function<void(std::string &)> adjustFileInfo;
    std::function<void(std::string &)> adjustDirInfo;
    std::function<void(Header &)> adjustHeader;
};

/// The format's transform and checksum, byte by byte and bit by bit.
std::string scrambledPlainly(std::string bytes, std::uint32_t seed);
std::uint32_t crcPlainly(const std::string &bytes);
/// A container of the LZSS format, and the header of one.
std::string lzssHeaderPlainly(std::size_t size, std::size_t packedSize);
std::string packedPlainly(const std::string &content);
