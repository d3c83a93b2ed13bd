// Unbuffered streams: whole sectors straight into an aligned block, past the system's cache.

#include "vl/file/stream.h"

#include "core/counted.h"
#include "file/open_file.h"
#include "file/stream_source.h"
#include "platform/platform.h"

#include <algorithm>
#include <cstdint>
#include <utility>

namespace {

/// Null when there is no such file.
vl::platform::UnbufferedFile *open(const char *path) {
    bool outOfMemory = false;
    vl::platform::UnbufferedFile *file = vl::platform::openUnbuffered(path, &outOfMemory);
    if (outOfMemory)
        V_throw(V_MemoryException_Allocation());
    return file;
}

} // namespace

V_UnbufferedFileStream::V_UnbufferedFileStream(const char *name, int bufferSize) : V_UnbufferedFileStream() {
    vl::StreamSource source;
    locate(source, name);
    handle = open(source.diskPath);
    if (handle) {
        end = vl::sizeOf(handle, source.diskPath);
        shared = newShared(name, source.diskPath);
    } else if (!source.entry.file) {
        V_throw(V_FileException_FileNotFound(source.diskPath));
    } else {
        const V_File::VASFileEntry &entry = *source.entry.file;
        const char *archivePath = source.entry.archive->archivePath;
        if (entry.method != V_File::METHOD_STORED)
            V_throw(V_FileException_FileNotAStream(source.path));
        if (entry.size != entry.storedSize)
            V_throw(V_FileException_FileCorrupted(source.path));
        handle = open(archivePath);
        if (!handle)
            V_throw(V_FileException_ArchiveNotFound(archivePath));
        shared = newShared(name, archivePath);
        start = position = entry.offset;
        end = start + entry.size;
    }

    sectorSize = vl::platform::sectorSize(handle);
    const auto wanted = static_cast<unsigned int>(bufferSize > 0 ? bufferSize : vl::defaultStreamBuffer);
    blockSize = (wanted + sectorSize - 1) / sectorSize * sectorSize; // below 2^32: both are at most 2^31
    allocateBlock();
    moveTo(position);
}

V_UnbufferedFileStream::V_UnbufferedFileStream(const V_UnbufferedFileStream &source, int offset, int size)
    : V_UnbufferedFileStream() {
    shared = source.shared;
    ++shared->refCount;
    cover(source, offset, size);
    sectorSize = source.sectorSize;
    blockSize = source.blockSize;
    handle = open(shared->sourcePath);
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
