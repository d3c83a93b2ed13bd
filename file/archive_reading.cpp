// Reading one archived file: one open, one seek, one read, and the decoding its method asks for. The sizes in
// the archive's tables, those in a container and the bytes in hand are all checked against each other before
// any of them is trusted.

#include "vl/file.h"

#include "core/counted.h"
#include "file/archive_format.h"
#include "file/lzss.h"
#include "platform/platform.h"

#include <algorithm>
#include <cstdint>
#include <cstring>

namespace {

using vl::platform::PathBuffer;
using Bytes = vl::CountedArray<std::uint8_t>;

/// Blocks of this size are not taken on the word of the tables alone.
constexpr unsigned int largeBlock = 1 << 20;

/// Where an entry lies, and what its bytes are missed under.
struct Source {
    const char *archivePath;
    const char *resolvedPath;

    void read(std::uint64_t position, std::uint8_t *out, std::uint32_t count) const {
        std::uint32_t delivered;
        if (!vl::platform::readRange(archivePath, position, out, count, delivered))
            V_throw(V_FileException_ArchiveNotFound(archivePath));
        if (delivered != count)
            V_throw(V_FileException_UnableToReadData(resolvedPath));
    }

    /// Asks for the last of an entry's bytes when they are many, before memory is taken for them all.
    void expect(const V_File::VASFileEntry &entry) const {
        std::uint8_t last;
        if (entry.storedSize >= largeBlock)
            read(std::uint64_t{entry.offset} + entry.storedSize - 1, &last, 1);
    }
};

/// Decodes an entry's container, which fills `block`, into the entry's size of bytes at `out`, of which only
/// the first `room` are there to be written. False when the container is damaged.
bool decode(const V_File::VASFileEntry &entry, const std::uint8_t *block, std::uint8_t *out,
            unsigned int room) {
    if (entry.storedSize < vl::lzssHeaderSize || !vl::isContainerOf(block, entry))
        return false;
    if (entry.size == 0) // some writers pack an item even when there is nothing to pack
        return true;

    const std::uint8_t *const code = block + vl::lzssHeaderSize;
    const std::size_t codeSize = entry.storedSize - vl::lzssHeaderSize;
    if (room >= entry.size)
        return vl::lzssDecode(code, codeSize, out, entry.size);
    const Bytes whole(vl::allocateArray<std::uint8_t>(entry.size));
    if (!vl::lzssDecode(code, codeSize, whole.get(), entry.size))
        return false;
    std::memcpy(out, whole.get(), room);
    return true;
}

} // namespace

unsigned int V_File::readEntry(const V_VASFind &found, const char *resolvedPath, void *buffer,
                               unsigned int bufferSize) {
    const VASFileEntry &entry = *found.file;
    const Source source = {found.archive->archivePath, resolvedPath};
    auto *const out = static_cast<std::uint8_t *>(buffer);
    const bool stored = entry.method == METHOD_STORED;
    if (stored && entry.size != entry.storedSize)
        V_throw(V_FileException_FileCorrupted(resolvedPath));
    const bool direct = stored && bufferSize >= entry.size;

    Bytes block;
    if (!direct) {
        source.expect(entry);
        block.reset(vl::allocateArray<std::uint8_t>(entry.storedSize));
    }
    source.read(entry.offset, direct ? out : block.get(), entry.storedSize);

    const unsigned int count = std::min(entry.size, bufferSize);
    if (stored) {
        if (!direct)
            std::memcpy(out, block.get(), count);
        return count;
    }
    if (entry.method == METHOD_LZSS_SCRAMBLED)
        vl::unscrambleArchiveBytes(block.get(), entry.storedSize, entry.seed);
    else if (entry.method != METHOD_LZSS)
        return 0;
    if (!decode(entry, block.get(), out, bufferSize))
        V_throw(V_FileException_FileCorrupted(resolvedPath));
    return count;
}

void V_File::checkLargeLoad(const char *name, unsigned int size) {
    if (size < largeBlock || where(name) != LOC_ARCHIVE)
        return;
    PathBuffer path;
    relativeToAbsolutePath(path, name);
    V_VASFind found;
    searchFile(&found, path);
    if (!found.file)
        return;
    const VASFileEntry &entry = *found.file;
    const bool possible = entry.method == METHOD_STORED ? entry.size == entry.storedSize
                                                        : vl::lzssCanHold(entry.size, entry.storedSize);
    if (!possible)
        V_throw(V_FileException_FileCorrupted(path));
    Source{found.archive->archivePath, path}.expect(entry);
}
