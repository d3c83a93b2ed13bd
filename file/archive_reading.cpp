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

using Bytes = vl::CountedArray<std::uint8_t>;

// Blocks of this size are not taken before it is known that the archive holds so many bytes.
constexpr unsigned int largeBlock = 1 << 20;

// Where an entry lies, and what its bytes are missed under.
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
};

// Decodes an entry's container, which fills `block`, into the entry's size of bytes at `out`, of which only
// the first `room` are there to be written. False when the container is damaged.
bool decode(const V_File::VASFileEntry &entry, const std::uint8_t *block, std::uint8_t *out,
            unsigned int room) {
    vl::LzssHeader header;
    if (entry.storedSize < vl::lzssHeaderSize || !vl::lzssReadHeader(block, header) ||
        header.size != entry.size || header.packedSize != entry.storedSize - vl::lzssHeaderSize)
        return false;
    if (header.size == 0) // some writers pack an item even when there is nothing to pack
        return true;
    if (!vl::lzssCanHold(header.size, header.packedSize))
        return false;

    const std::uint8_t *code = block + vl::lzssHeaderSize;
    if (room >= header.size)
        return vl::lzssDecode(code, header.packedSize, out, header.size);
    const Bytes whole(vl::allocateArray<std::uint8_t>(header.size));
    if (!vl::lzssDecode(code, header.packedSize, whole.get(), header.size))
        return false;
    std::memcpy(out, whole.get(), room);
    return true;
}

} // namespace

void V_File::readEntry(const V_VASFind &found, const char *resolvedPath, void *buffer,
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
        if (entry.storedSize >= largeBlock) {
            std::uint8_t last;
            source.read(std::uint64_t{entry.offset} + entry.storedSize - 1, &last, 1);
        }
        block.reset(vl::allocateArray<std::uint8_t>(entry.storedSize));
    }
    source.read(entry.offset, direct ? out : block.get(), entry.storedSize);

    if (stored) {
        if (!direct)
            std::memcpy(out, block.get(), bufferSize);
        return;
    }
    if (entry.method == METHOD_LZSS_SCRAMBLED)
        vl::unscrambleArchiveBytes(block.get(), entry.storedSize, entry.seed);
    else if (entry.method != METHOD_LZSS)
        return;
    if (!decode(entry, block.get(), out, bufferSize))
        V_throw(V_FileException_FileCorrupted(resolvedPath));
}
