// Writing VAS archives: the tables' sizes are known from the names, so the data is streamed behind a gap and
// header and tables are filled in at the end.

#include "archive_writer.h"

#include "progress.h"

#include "file/archive/archive_format.h"
#include "file/codec/crc32.h"
#include "file/codec/lzss_container.h"
#include "file/codec/lzss_encoder.h"
#include "platform/native.h"
#include "platform/platform.h"
#include "platform/terminal.h"

#include <algorithm>
#include <cstdio>
#include <fstream>
#include <random>
#include <stdexcept>
#include <system_error>
#include <utility>

namespace fs = std::filesystem;
namespace platform = vl::platform;
using vl::platform::textOf;

namespace {

using Bytes = std::vector<std::uint8_t>;

/// The file under construction, beside its final place and under a name of its own; removed unless it was
/// moved to its place.
class PartialFile {
  public:
    explicit PartialFile(const fs::path &output) : m_final(output) {
        // A link stays, and what it leads to is replaced. A device would make way for a file.
        if (fs::exists(output)) {
            if (!fs::is_regular_file(output))
                throw std::runtime_error(textOf(output) + ": is there and not a file");
            m_final = fs::canonical(output);
        }
        char suffix[32];
        std::snprintf(suffix, sizeof suffix, ".%08x.partial", std::random_device()());
        m_partial = m_final;
        m_partial += suffix;
        const std::string name = textOf(fs::absolute(m_partial));
        platform::beginUnfinishedFile(name.c_str());
        platform::FileIdentity ignored;
        m_file = platform::openForWriting(name.c_str(), platform::WriteMode::Replace, ignored);
        check(m_file != platform::noFile);
    }
    ~PartialFile() {
        close();
        std::error_code ignored;
        if (!m_bKept)
            fs::remove(m_partial, ignored);
        platform::endUnfinishedFile();
    }
    PartialFile(const PartialFile &) = delete;
    PartialFile &operator=(const PartialFile &) = delete;

    void seek(std::uint64_t position) { m_uPosition = position; }
    void write(const std::uint8_t *bytes, std::size_t size) {
        while (size != 0) {
            const auto count = static_cast<std::uint32_t>(std::min<std::size_t>(size, 1u << 30));
            check(platform::writeAt(m_file, m_uPosition, bytes, count) == count);
            m_uPosition += count;
            bytes += count;
            size -= count;
        }
    }
    void keep() {
        check(close());
        fs::rename(m_partial, m_final);
        m_bKept = true;
    }

  private:
    bool close() {
        const platform::FileHandle file = std::exchange(m_file, platform::noFile);
        return file == platform::noFile || platform::closeWritten(file);
    }
    void check(bool done) const {
        if (!done)
            throw std::runtime_error(textOf(m_final) + ": cannot be written: " + platform::lastFailure());
    }

    fs::path m_final, m_partial;
    platform::FileHandle m_file = platform::noFile;
    std::uint64_t m_uPosition = 0;
    bool m_bKept = false;
};

Bytes readWhole(const InputFile &file) {
    Bytes bytes(file.size);
    std::ifstream stream(file.path, std::ios::binary);
    stream.read(reinterpret_cast<char *>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
    if (!stream || stream.peek() != std::ifstream::traits_type::eof())
        throw std::runtime_error(textOf(file.path) + ": cannot be read, or changed meanwhile");
    return bytes;
}

/// A file's bytes as its method stores them.
Bytes storedForm(const InputFile &file, Bytes content, std::uint32_t seed, vl::LzssEncoder &encoder) {
    if (file.method == V_File::METHOD_STORED)
        return content;
    Bytes container;
    if (vl::lzssBound(file.size) > container.max_size())
        throw std::runtime_error(textOf(file.path) + ": too large to be packed on this machine");
    container.resize(static_cast<std::size_t>(vl::lzssBound(file.size)));
    const std::uint64_t packed =
        encoder.encode(content.data(), file.size, container.data() + vl::lzssHeaderSize);
    if (packed > 0xFFFFFFFFu - vl::lzssHeaderSize)
        throw std::runtime_error(textOf(file.path) + ": exceeds 4294967295 bytes when packed");
    vl::lzssWriteHeader(container.data(), {file.size, static_cast<std::uint32_t>(packed)});
    container.resize(static_cast<std::size_t>(vl::lzssHeaderSize + packed));
    if (file.method == V_File::METHOD_LZSS_SCRAMBLED)
        vl::scrambleArchiveBytes(container.data(), container.size(), seed);
    return container;
}

void appendName(Bytes &table, const std::string &name) {
    table.insert(table.end(), name.c_str(), name.c_str() + name.size() + 1);
}

Bytes directoryTable(const InputTree &tree) {
    Bytes table;
    for (const std::string &directory : tree.directories) {
        appendName(table, directory);
        table.resize(table.size() + vl::archiveDirectoryFieldsSize);
    }
    return table;
}

std::uint64_t fileTableSize(const InputTree &tree) {
    std::uint64_t size = 0;
    for (const InputFile &file : tree.files)
        size += file.name.size() + 1 + vl::archiveFileFieldsSize;
    return size;
}

} // namespace

ArchiveSummary writeArchive(const InputTree &tree, const ArchiveSettings &settings, const fs::path &output) {
    PartialFile archive(output);
    Bytes dirInfo = directoryTable(tree);
    Bytes fileInfo;
    const std::uint64_t dataStart = vl::archiveHeaderSize + fileTableSize(tree) + dirInfo.size();
    archive.seek(dataStart);

    ArchiveSummary summary{0, dataStart};
    std::mt19937 seeds(settings.seed);
    vl::LzssEncoder encoder;
    Progress progress("packing", tree.files.size());
    for (std::size_t i = 0; i < tree.files.size(); ++i) {
        const InputFile &file = tree.files[i];
        progress.show(i, tree.describe(file));
        V_File::VASFileEntry entry{};
        entry.seed = static_cast<std::uint32_t>(seeds());
        const Bytes stored = storedForm(file, readWhole(file), entry.seed, encoder);
        summary.unpacked += file.size;
        summary.archive += stored.size();
        if (summary.archive > 0xFFFFFFFFu)
            throw std::runtime_error(textOf(file.path) + ": makes the archive exceed 4294967295 bytes");
        archive.write(stored.data(), stored.size());

        entry.size = file.size;
        entry.storedSize = static_cast<std::uint32_t>(stored.size());
        entry.dirIndex = file.dirIndex;
        entry.method = static_cast<std::uint32_t>(file.method);
        entry.time = file.time;
        appendName(fileInfo, file.name);
        fileInfo.resize(fileInfo.size() + vl::archiveFileFieldsSize);
        vl::encodeFileFields(fileInfo.data() + fileInfo.size() - vl::archiveFileFieldsSize, entry);
    }

    V_File::VASHeader header{};
    header.tag = vl::archiveTag;
    header.seed = settings.seed;
    header.fileCount = static_cast<std::uint32_t>(tree.files.size());
    header.dirCount = static_cast<std::uint32_t>(tree.directories.size());
    header.fileInfoSize = static_cast<std::uint32_t>(fileInfo.size());
    header.dirInfoSize = static_cast<std::uint32_t>(dirInfo.size());
    header.version = V_File::VAS_ARCHIVE_VERSION;
    header.fileInfoCRC = vl::crc32(fileInfo.data(), fileInfo.size());
    header.dirInfoCRC = vl::crc32(dirInfo.data(), dirInfo.size());
    header.archiverID = settings.archiverID;
    std::uint8_t headerBytes[vl::archiveHeaderSize];
    vl::sealArchiveHeader(headerBytes, header);
    vl::scrambleArchiveBytes(fileInfo.data(), fileInfo.size(), settings.seed);
    vl::scrambleArchiveBytes(dirInfo.data(), dirInfo.size(), settings.seed);

    archive.seek(0);
    archive.write(headerBytes, sizeof headerBytes);
    archive.write(fileInfo.data(), fileInfo.size());
    archive.write(dirInfo.data(), dirInfo.size());
    archive.keep();
    return summary;
}
