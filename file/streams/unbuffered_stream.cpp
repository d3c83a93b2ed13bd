// Unbuffered streams: whole sectors straight into an aligned block, past the system's cache.

#include "vl/file/stream.h"

#include "core/counted.h"
#include "file/archive/archive.h"
#include "file/archive/entry_reader.h"
#include "file/places/lookup.h"
#include "file/streams/back_end.h"
#include "platform/platform.h"

#include <algorithm>
#include <cstdint>
#include <limits>
#include <utility>

namespace {

/// A file by its path or one that is open; null when there is none.
template <class File>
vl::platform::UnbufferedFile *openPastCache(File source, vl::platform::FileIdentity &identity) {
    bool outOfMemory = false;
    vl::platform::UnbufferedFile *file = vl::platform::openUnbuffered(source, identity, &outOfMemory);
    if (outOfMemory)
        V_throw(V_MemoryException_Allocation());
    return file;
}

} // namespace

V_UnbufferedFileStream::V_UnbufferedFileStream(const char *name, int bufferSize) : V_UnbufferedFileStream() {
    vl::Lookup lookup(name);
    vl::platform::FileIdentity identity;
    vl::FoundFile found;
    found.archived = lookup.firstFile([&](const vl::Place &) {
        handle = openPastCache(lookup.diskPath(), identity);
        return handle != nullptr;
    });
    if (handle) {
        if (identity.length > std::numeric_limits<unsigned int>::max())
            V_throw(V_FileException_FileTooLarge(lookup.diskPath()));
        end = static_cast<unsigned int>(identity.length);
        shared = newShared(name, lookup.diskPath());
    } else {
        openEntry(name, lookup, found);
    }
    sectorSize = vl::platform::sectorSize(handle);
    const unsigned int wanted = vl::streamBufferSize(bufferSize);
    blockSize = (wanted + sectorSize - 1) / sectorSize * sectorSize; // below 2^32: both are at most 2^31
    allocateBlock();
    moveTo(position);
}

void V_UnbufferedFileStream::openEntry(const char *name, const vl::Lookup &lookup,
                                       const vl::FoundFile &found) {
    if (!found.archived.file)
        V_throw(V_FileException_FileNotFound(lookup.shownDiskPath()));
    const V_File::VASFileEntry &entry = *found.archived.file;
    if (entry.method != V_File::METHOD_STORED)
        V_throw(V_FileException_FileNotAStream(lookup.path()));
    const auto &archive = static_cast<const vl::Archive &>(*found.archived.archive);
    vl::platform::FileIdentity identity;
    handle = archive.held() ? openPastCache(archive.held().handle(), identity)
                            : openPastCache(static_cast<const char *>(archive.archivePath), identity);
    if (!handle)
        V_throw(V_FileException_ArchiveNotFound(archive.archivePath));
    start = position = entry.offset;
    end = start + entry.size;
    vl::checkEntry(archive, entry, identity, lookup.path());
    shared = newShared(name, archive.archivePath);
}

V_UnbufferedFileStream::V_UnbufferedFileStream(const V_UnbufferedFileStream &source, int offset, int size)
    : V_UnbufferedFileStream() {
    shared = source.shared;
    ++shared->refCount;
    cover(source, offset, size);
    sectorSize = source.sectorSize;
    blockSize = source.blockSize;
    vl::platform::FileIdentity identity;
    handle = openPastCache(shared->sourcePath, identity);
    if (!handle)
        V_throw(V_FileException_FileNotFound(source.getName()));
    allocateBlock();
    moveTo(position);
}

V_UnbufferedFileStream &V_UnbufferedFileStream::operator=(const V_UnbufferedFileStream &source) {
    if (this != &source) {
        V_UnbufferedFileStream copy(source);
        std::swap(start, copy.start);
        std::swap(position, copy.position);
        std::swap(end, copy.end);
        std::swap(shared, copy.shared);
        std::swap(handle, copy.handle);
        std::swap(sectorSize, copy.sectorSize);
        std::swap(blockSize, copy.blockSize);
        std::swap(block, copy.block);
        std::swap(rawBlock, copy.rawBlock);
        moveTo(position);
    }
    return *this;
}

V_UnbufferedFileStream::~V_UnbufferedFileStream() {
    vl::platform::closeUnbuffered(handle);
    V_Memory::freeCounted(rawBlock);
}

void V_UnbufferedFileStream::allocateBlock() {
    rawBlock = vl::allocateArray<unsigned char>(std::uint64_t{sectorSize} + blockSize);
    const auto misaligned =
        static_cast<unsigned int>(reinterpret_cast<std::uintptr_t>(rawBlock) % sectorSize);
    block = rawBlock + (misaligned == 0 ? 0 : sectorSize - misaligned);
}

void V_UnbufferedFileStream::moveTo(unsigned int newPosition) {
    position = newPosition;
    skip = position % sectorSize;
    nextBlock = position - skip;
    readIndex = valid = 0;
    atEnd = false;
}

int V_UnbufferedFileStream::seek(unsigned int offset, SeekMode mode) {
    moveTo(target(offset, mode));
    return 0;
}

unsigned int V_UnbufferedFileStream::read(void *out, unsigned int n) {
    n = std::min(n, end - position);
    auto *to = static_cast<unsigned char *>(out);
    for (unsigned int left = n;;) {
        const unsigned int piece = std::min(left, valid > readIndex ? valid - readIndex : 0);
        if (piece != 0) // the caller may have no place for nothing
            std::copy_n(block + readIndex, piece, to);
        readIndex += piece;
        to += piece;
        left -= piece;
        if (left == 0)
            break;
        if (atEnd) {
            moveTo(position);
            V_throw(V_FileException_OverreadingStream(shared->name));
        }
        valid = vl::platform::readUnbuffered(handle, nextBlock, block, blockSize);
        nextBlock += valid;
        readIndex = std::exchange(skip, 0);
        atEnd = valid < blockSize;
    }
    position += n;
    return n;
}
