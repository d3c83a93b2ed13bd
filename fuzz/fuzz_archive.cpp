// A hostile archive, loaded and read. The input is an archive in plain: nothing scrambled, and any checksums.
// This scrambles it and puts the checksums right, so that the damage lies in what they protect, then asks for
// every file that the tables name.

#include "base/byte_order.h"
#include "file/archive/archive_format.h"
#include "file/crc32.h"
#include "tests/support/started_library.h"

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <vector>

namespace {

using Bytes = std::vector<std::uint8_t>;

constexpr unsigned int largestLoaded = 1 << 16;

/// The paths that the tables of a plain archive name.
std::vector<std::string> pathsIn(const Bytes &plain, std::size_t fileInfoSize, std::size_t dirInfoSize) {
    const std::uint8_t *position = plain.data() + vl::archiveHeaderSize + fileInfoSize;
    const std::uint8_t *end = position + dirInfoSize;
    vl::ArchiveRecord record;
    std::vector<std::string> directories, paths;
    while (vl::nextArchiveRecord(position, end, vl::archiveDirectoryFieldsSize, record))
        directories.emplace_back(record.name, record.nameLength);
    position = plain.data() + vl::archiveHeaderSize;
    end = position + fileInfoSize;
    while (vl::nextArchiveRecord(position, end, vl::archiveFileFieldsSize, record)) {
        const std::uint32_t dirIndex = vl::loadLe32(record.fields + 12);
        paths.push_back(dirIndex < directories.size() ? directories[dirIndex] + record.name : record.name);
    }
    paths.insert(paths.end(), directories.begin(), directories.end());
    return paths;
}

template <class Action>
void expectingExceptions(Action action) {
    try {
        action();
    } catch (V_Exception *exception) {
        if (!*exception->getErrorMessage())
            std::abort();
    }
}

void ask(const std::string &path) {
    File->timeStamp(path.c_str());
    File->isDirectory(path.c_str());
    File->getMethod(path.c_str());
    const unsigned int size = File->size(path.c_str());
    if (size <= largestLoaded) {
        std::vector<char> buffer(size);
        expectingExceptions([&] { File->load(static_cast<void *>(buffer.data()), path.c_str(), 0); });
    }
    File->free(File->load(path.c_str(), std::min(size / 2 + 1, largestLoaded)));
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    static const StartedLibrary world;
    Bytes plain(data, data + size);
    Bytes archive = plain;
    std::size_t fileInfoSize = 0, dirInfoSize = 0;
    if (size >= vl::archiveHeaderSize) {
        std::uint8_t *bytes = archive.data();
        const std::uint32_t seed = vl::loadLe32(bytes + 4);
        std::size_t left = size - vl::archiveHeaderSize;
        fileInfoSize = std::min<std::size_t>(left, vl::loadLe32(bytes + 16));
        left -= fileInfoSize;
        dirInfoSize = std::min<std::size_t>(left, vl::loadLe32(bytes + 20));
        std::uint8_t *const dirInfo = bytes + vl::archiveHeaderSize + fileInfoSize;
        vl::storeLe32(bytes + 28, 0);
        vl::storeLe32(bytes + 32, vl::crc32(bytes + vl::archiveHeaderSize, fileInfoSize));
        vl::storeLe32(bytes + 36, vl::crc32(dirInfo, dirInfoSize));
        vl::storeLe32(bytes + 28, vl::crc32(bytes, vl::archiveHeaderSize));
        vl::scrambleArchiveBytes(bytes + 8, vl::archiveHeaderSize - 8, seed);
        vl::scrambleArchiveBytes(bytes + vl::archiveHeaderSize, fileInfoSize, seed);
        vl::scrambleArchiveBytes(dirInfo, dirInfoSize, seed);
    }
    world.writeFile(archive);

    const int before = V_Memory::getNewCount() - V_Memory::getDeleteCount();
    expectingExceptions([&] {
        File->enablePriorityArchive(world.path.c_str());
        for (const std::string &path : pathsIn(plain, fileInfoSize, dirInfoSize))
            expectingExceptions([&] { ask(path); });
    });
    File->disablePriorityArchive();
    if (V_Memory::getNewCount() - V_Memory::getDeleteCount() != before)
        std::abort();
    return 0;
}
