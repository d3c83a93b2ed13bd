// Memory files that are streamed: the window is a block that is filled from the stream ahead of the position,
// so that values are read from it as from a file in memory.

#include "memoryfile/kinds.h"

#include <algorithm>
#include <cstring>

constinit const V_MemoryFile::Streamed V_MemoryFile::Streamed::kind;

namespace {

/// Bytes of the window; it is filled from the stream's own buffer, which is much larger.
constexpr unsigned int windowSize = 16384;

} // namespace

void V_MemoryFile::Streamed::moveTo(V_MemoryFile &file, unsigned int place) const {
    if (place < file.m_uFlushed || place > file.m_uReadEnd)
        file.setWindow(file.m_pData, place, place);
    file.m_uPosition = place;
}

void V_MemoryFile::Streamed::read(V_MemoryFile &file, void *destination, unsigned int count) const {
    if (count > file.m_uSize - file.m_uPosition)
        V_throw(V_MemoryFileException_Overreading(file.getFilename()));
    if (file.m_pStream->getPosition() != file.m_uReadEnd) {
        if (file.m_pStream->isCompressed()) {
            loadWhole(file);
            file.read(destination, static_cast<int>(count));
            return;
        }
        file.m_pStream->seek(file.m_uReadEnd, V_FileStream::SM_BEGIN);
    }
    auto *const to = static_cast<unsigned char *>(destination);
    if (count < windowSize) {
        fill(file);
        V_Memory::copy(to, file.windowAhead(), count);
    } else {
        const unsigned int held = file.m_uReadEnd - file.m_uPosition;
        file.m_pStream->read(to + held, count - held);
        V_Memory::copy(to, file.windowAhead(), held);
        file.setWindow(file.m_pData, file.m_uPosition + count, file.m_uPosition + count);
    }
    file.m_uPosition += count;
}

/// Moves the window to the position; what it held from there on stays in it.
void V_MemoryFile::Streamed::fill(V_MemoryFile &file) {
    const unsigned int room = std::min(windowSize, file.m_uSize);
    const unsigned int held = file.m_uReadEnd - file.m_uPosition;
    unsigned char *data = file.m_pData;
    if (!data) {
        data = vl::newBlock(room).release();
        file.m_iAllocated = static_cast<int>(room);
    } else if (held != 0) {
        std::memmove(data, file.windowAhead(), held);
    }
    file.setWindow(data, file.m_uPosition, file.m_uReadEnd);
    file.m_uReadEnd += file.m_pStream->read(file.m_pData + held, room - held);
}

/// Reads all of a compressed entry, whose stream cannot turn back, and goes on in memory.
void V_MemoryFile::Streamed::loadWhole(V_MemoryFile &file) {
    vl::Block block = vl::newBlock(file.m_uSize);
    file.m_pStream->readWhole(block.get());
    vl::deleteCounted(file.m_pStream);
    V_REALLOCATE_DELETE(file.m_pData);
    file.m_pStream = nullptr;
    file.setWindow(block.release(), 0, file.m_uSize);
    file.m_iAllocated = static_cast<int>(file.m_uSize);
    file.m_eAccessMethod = AM_MEMORY;
    file.m_pKind = &Held::kind;
}

void V_MemoryFile::Streamed::view(V_MemoryFile &file, unsigned int payload, const ChunkHeader &header,
                                  Chunk &chunk) const {
    if (file.m_pStream->isCompressed()) {
        loadWhole(file);
        Kind::view(file, payload, header, chunk);
    } else {
        chunk.construct(*file.m_pStream, payload, header.size - CHUNK_HEADER_SIZE, header);
    }
}

void V_MemoryFile::Streamed::copy(const V_MemoryFile &file, bool, vl::Block &block,
                                  vl::CountedObject<V_FileStream> &stream) const {
    if (file.m_pStream->isCompressed()) {
        block = vl::newBlock(file.m_uSize);
        file.m_pStream->readWhole(block.get());
    } else {
        stream.reset(vl::newCounted<V_FileStream>(*file.m_pStream));
    }
}
