// Writing archives for tests: scrambling, tables and checksums, each as it is defined.

#include "tests/support/archive_builder.h"

#include "tests/support/plain_lzss.h"

#include <algorithm>
#include <fstream>

namespace {

void put(std::string &out, std::uint32_t value, int size = 4) {
    for (; size > 0; --size, value >>= 8)
        out += static_cast<char>(value);
}

} // namespace

std::string scrambledPlainly(std::string bytes, std::uint32_t seed) {
    std::int64_t state = static_cast<std::int32_t>(seed);
    for (std::size_t i = 0; i < bytes.size(); ++i) {
        state = 171 * (state % 177) - 2 * (state / 177);
        const auto mixed = static_cast<std::uint8_t>((static_cast<std::uint8_t>(bytes[i]) - state) ^
                                                     static_cast<std::int64_t>((i + 3) * 6));
        const auto turn = static_cast<unsigned int>(i % 5);
        bytes[i] = static_cast<char>(mixed >> turn | mixed << (8 - turn));
    }
    return bytes;
}

std::uint32_t crcPlainly(const std::string &bytes) {
    std::uint32_t crc = 0xFFFFFFFF;
    for (const char c : bytes) {
        crc ^= static_cast<std::uint8_t>(c);
        for (int bit = 0; bit < 8; ++bit)
            crc = crc >> 1 ^ (crc & 1 ? 0xEDB88320 : 0);
    }
    return ~crc;
}

std::string lzssHeaderPlainly(std::size_t size, std::size_t packedSize) {
    std::string header = "VA->";
    put(header, static_cast<std::uint32_t>(size));
    put(header, static_cast<std::uint32_t>(packedSize));
    return header;
}

std::string packedPlainly(const std::string &content) {
    const auto code = plain::encode(reinterpret_cast<const std::uint8_t *>(content.data()), content.size());
    return lzssHeaderPlainly(content.size(), code.size()).append(code.begin(), code.end());
}

std::uint32_t ArchiveBuilder::addDirectory(const std::string &path) {
    const auto found = std::find(directories.begin(), directories.end(), path);
    if (found != directories.end())
        return static_cast<std::uint32_t>(found - directories.begin());
    directories.push_back(path);
    return static_cast<std::uint32_t>(directories.size() - 1);
}

ArchiveBuilder &ArchiveBuilder::add(const std::string &path, const std::string &content,
                                    std::uint32_t method) {
    const std::size_t split = path.rfind('\\') + 1;
    const std::uint32_t entrySeed = 1000 + static_cast<std::uint32_t>(records.size());
    std::string stored = method == 1 || method == 2 ? packedPlainly(content) : content;
    if (method == 2)
        stored = scrambledPlainly(stored, entrySeed);
    records.push_back({path.substr(split), static_cast<std::uint32_t>(content.size()),
                       static_cast<std::uint32_t>(stored.size()), 0xABABABAB,
                       addDirectory(path.substr(0, split)), entrySeed, method, time, stored});
    return *this;
}

std::string ArchiveBuilder::bytes() const {
    std::string fileInfo, dirInfo, data;
    for (const Record &record : records) {
        fileInfo += record.name + '\0';
        for (const std::uint32_t field :
             {record.size, record.storedSize, record.unexamined, record.dirIndex, record.seed, record.method})
            put(fileInfo, field);
        for (const std::uint16_t part : record.time)
            put(fileInfo, part, 2);
        data += record.stored;
    }
    for (const std::string &directory : directories)
        dirInfo += directory + '\0' + std::string(16, '\xCD');
    if (adjustFileInfo)
        adjustFileInfo(fileInfo);
    if (adjustDirInfo)
        adjustDirInfo(dirInfo);

    const auto number = [](std::size_t count) { return static_cast<std::uint32_t>(count); };
    Header header = {0x21212121, seed, number(records.size()), number(directories.size())};
    header[FileInfoSize] = number(fileInfo.size());
    header[DirInfoSize] = number(dirInfo.size());
    header[Version] = 0x3F99999A;
    header[FileInfoCRC] = crcPlainly(fileInfo);
    header[DirInfoCRC] = crcPlainly(dirInfo);
    header[ArchiverID] = archiverID;
    if (adjustHeader)
        adjustHeader(header);
    const auto encoded = [&header] {
        std::string out;
        for (const std::uint32_t field : header)
            put(out, field);
        return out;
    };
    header[HeaderCRC] += crcPlainly(encoded()); // 0 unless adjusted
    const std::string plain = encoded();
    const auto scrambled = [this](const std::string &part) {
        return scrambledPlainly(part, seed ? seed : 1);
    };
    return plain.substr(0, 8) + scrambled(plain.substr(8)) + scrambled(fileInfo) + scrambled(dirInfo) + data;
}

void ArchiveBuilder::write(const std::filesystem::path &path) const {
    std::ofstream(path, std::ios::binary) << bytes();
}
