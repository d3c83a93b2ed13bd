// Memory files that are written through to a file on disk, with only the last part of it in memory.

#include "memoryfile/kinds.h"

#include "platform/platform.h"

#include <algorithm>
#include <cstring>

constinit const V_MemoryFile::WrittenThrough V_MemoryFile::WrittenThrough::kind;

void V_MemoryFile::WrittenThrough::requireReading(const V_MemoryFile &file) const {
    file.refuse("read a write-through file");
}

void V_MemoryFile::WrittenThrough::read(V_MemoryFile &file, void *, unsigned int) const {
    requireReading(file);
}

void V_MemoryFile::WrittenThrough::moveTo(V_MemoryFile &file, unsigned int place) const {
    if (place < file.m_uFlushed)
        file.refuse("seek back to what is on disk already in a write-through file");
    file.m_uSize = file.getSize();
    file.m_uPosition = place;
}

void V_MemoryFile::WrittenThrough::write(V_MemoryFile &file, const void *head, unsigned int headSize,
                                         const void *data, unsigned int size) const {
    if (file.m_bWriteFailed)
        V_throw(V_MemoryFileException_UnableToWriteData(file.getFilename()));
    if (std::uint64_t{headSize} + size > 0xFFFFFFFFu - file.m_uPosition)
        file.refuse("write beyond 4294967295 bytes to");
    writePiece(file, head, headSize);
    writePiece(file, data, size);
}

void V_MemoryFile::WrittenThrough::writePiece(V_MemoryFile &file, const void *data, unsigned int size) {
    if (size == 0)
        return;
    if (!file.hasRoomFor(size)) {
        // What is pending behind the position, after seeking back, is less than these bytes, which replace
        // it.
        if (!file.m_pData)
            file.grow(file.m_uCapacity);
        else
            flush(file);
    }
    if (file.hasRoomFor(size)) {
        file.put(nullptr, 0, data, size);
    } else {
        writeToDisk(file, data, size);
        file.m_uPosition += size;
        emptyWindow(file);
    }
}

void V_MemoryFile::WrittenThrough::flush(V_MemoryFile &file) {
    writeToDisk(file, file.m_pData, file.m_uPosition - file.m_uFlushed);
    emptyWindow(file);
}

/// All before the position is on disk.
void V_MemoryFile::WrittenThrough::emptyWindow(V_MemoryFile &file) {
    file.setWindow(file.m_pData, file.m_uPosition, 0);
    file.updateRoom();
}

void V_MemoryFile::WrittenThrough::writeToDisk(V_MemoryFile &file, const void *data, unsigned int count) {
    if (std::fwrite(data, 1, count, file.m_pOutFile) != count)
        fail(file);
}

/// Nothing more can be written where it belongs: closes the short ways too.
void V_MemoryFile::WrittenThrough::fail(V_MemoryFile &file) {
    file.m_bWriteFailed = true;
    file.m_uRoomEnd = 0;
    V_throw(V_MemoryFileException_UnableToWriteData(file.getFilename()));
}

/// Wherever the bytes are: on disk, in the buffer, or some here and some there.
void V_MemoryFile::WrittenThrough::patch(V_MemoryFile &file, unsigned int place,
                                         const unsigned char (&bytes)[4]) const {
    const unsigned int onDisk = place < file.m_uFlushed ? std::min(file.m_uFlushed - place, 4u) : 0;
    if (onDisk != 0) {
        if (file.m_bWriteFailed || !vl::platform::seekFile(file.m_pOutFile, place))
            fail(file);
        writeToDisk(file, bytes, onDisk);
        if (!vl::platform::seekFile(file.m_pOutFile, file.m_uFlushed))
            fail(file);
    }
    if (onDisk != 4)
        std::memcpy(file.m_pData + (place + onDisk - file.m_uFlushed), bytes + onDisk, 4 - onDisk);
}

void V_MemoryFile::WrittenThrough::copy(const V_MemoryFile &file, bool, vl::Block &,
                                        vl::CountedObject<V_FileStream> &) const {
    file.refuse("copy a write-through file");
}

void V_MemoryFile::WrittenThrough::finish(V_MemoryFile &file) const {
    // All that was written belongs to the file, also what lies behind a position that was set back.
    const unsigned int pending = file.getSize() - file.m_uFlushed;
    if (!file.m_bWriteFailed && pending != 0 &&
        std::fwrite(file.m_pData, 1, pending, file.m_pOutFile) != pending)
        file.m_bWriteFailed = true;
    if (std::fclose(file.m_pOutFile) != 0)
        file.m_bWriteFailed = true;
}
