// Chunks: nested sections of a memory file, each with a header (chunk_header.h) that tells what and how long
// it is.

#include "vl/memoryfile.h"

#include "base/byte_order.h"
#include "memoryfile/chunk_header.h"
#include "platform/platform.h"

#include <algorithm>
#include <cstring>

using vl::chunkHeaderSize;
using vl::chunkMarkerSize;

// ---- Writing -------------------------------------------------------------------------------------------

void V_MemoryFile::createChunk(unsigned int id, unsigned int version) {
    unsigned char header[chunkHeaderSize];
    vl::putChunkHeader(header, {id, version, 0});
    m_chunkStack.push_back(m_uPosition);
    try {
        write(header, chunkHeaderSize);
    } catch (...) {
        m_chunkStack.pop_back();
        throw;
    }
}

void V_MemoryFile::closeChunk() {
    if (m_chunkStack.empty())
        refuse("close a chunk, for none is open, in");
    const unsigned int begin = m_chunkStack.back();
    if (m_uPosition < begin || m_uPosition - begin < chunkHeaderSize)
        refuse("close a chunk before its payload in");
    patch(begin + vl::chunkSizeOffset, m_uPosition - begin);
    m_chunkStack.pop_back();
}

/// Writes 4 bytes over earlier ones, wherever these are: on disk, in the buffer, or some here and some there.
void V_MemoryFile::patch(unsigned int place, unsigned int value) {
    unsigned char bytes[4];
    vl::storeLe32(bytes, value);
    const unsigned int onDisk = place < m_uFlushed ? std::min(m_uFlushed - place, 4u) : 0;
    if (onDisk != 0) {
        if (m_bWriteFailed || !vl::platform::seekFile(m_pOutFile, place))
            failWriting();
        writeToDisk(bytes, onDisk);
        if (!vl::platform::seekFile(m_pOutFile, m_uFlushed))
            failWriting();
    }
    if (onDisk != 4)
        std::memcpy(m_pData + (place + onDisk - m_uFlushed), bytes + onDisk, 4 - onDisk);
}

// ---- Reading -------------------------------------------------------------------------------------------

/// Reads the header at the position, which does not move. False, or an exception when a chunk is required,
/// where there is none.
bool V_MemoryFile::readChunkHeader(ChunkHeader &header, bool required) {
    if (isWriteThrough())
        refuse("read a write-through file");
    loadStream();
    const unsigned int begin = m_uPosition;
    if (!required && getSize() - begin <= chunkMarkerSize)
        return false;
    unsigned char bytes[chunkHeaderSize];
    read(bytes, chunkMarkerSize);
    if (bytes[0] != BT_CHUNK) {
        if (required)
            V_throw(V_MemoryFileException_DataError(getFilename()));
        moveTo(begin);
        return false;
    }
    read(bytes + chunkMarkerSize, chunkHeaderSize - chunkMarkerSize);
    header = vl::chunkHeaderAt(bytes);
    moveTo(begin);
    if (header.size < chunkHeaderSize)
        V_throw(V_MemoryFileException_DataError(getFilename()));
    return true;
}

bool V_MemoryFile::chunkReachesBeyondEnd(const ChunkHeader &header) const {
    return header.size > getSize() - m_uPosition;
}

void V_MemoryFile::buildChunk(Chunk &chunk, const ChunkHeader &header) {
    if (chunkReachesBeyondEnd(header))
        V_throw(V_MemoryFileException_DataError(getFilename()));
    const unsigned int payload = m_uPosition + chunkHeaderSize;
    const unsigned int size = header.size - chunkHeaderSize;
    // The chunk's memory file may be this very file, so nothing of it is used once the chunk is built.
    if (m_pStream) {
        chunk.construct(*m_pStream, payload, size, header);
    } else {
        chunk.m_file.setFilename(getFilename());
        chunk.construct(m_pData + payload, size, header);
    }
}

void V_MemoryFile::openChunk(Chunk &chunk, unsigned int) {
    ChunkHeader header;
    readChunkHeader(header, true);
    buildChunk(chunk, header);
}

V_MemoryFile::Chunk V_MemoryFile::openChunk(unsigned int id) {
    Chunk chunk;
    openChunk(chunk, id);
    return chunk;
}

void V_MemoryFile::peekChunk(Chunk &chunk) {
    try {
        ChunkHeader header;
        if (readChunkHeader(header, false))
            buildChunk(chunk, header);
        else
            chunk.reset();
    } catch (...) {
        chunk.reset();
        throw;
    }
}

V_MemoryFile::Chunk V_MemoryFile::peekChunk() {
    Chunk chunk;
    peekChunk(chunk);
    return chunk;
}

void V_MemoryFile::skipChunk() {
    ChunkHeader header;
    if (!readChunkHeader(header, false))
        return;
    if (chunkReachesBeyondEnd(header))
        V_throw(V_MemoryFileException_SeekOutOfRange(getFilename()));
    moveTo(m_uPosition + header.size);
}

// ---- The chunk -----------------------------------------------------------------------------------------

V_MemoryFile::Chunk::Chunk() = default;

V_MemoryFile::Chunk::Chunk(const Chunk &other) = default;

V_MemoryFile::Chunk &V_MemoryFile::Chunk::operator=(const Chunk &other) {
    if (this != &other) {
        m_bValid = false; // should the copy fail
        m_file.construct(other.m_file);
        m_uID = other.m_uID;
        m_uVersion = other.m_uVersion;
        m_uSize = other.m_uSize;
        m_bValid = other.m_bValid;
    }
    return *this;
}

V_MemoryFile::Chunk::~Chunk() = default;

void V_MemoryFile::Chunk::construct(const void *data, unsigned int size, const ChunkHeader &header) {
    m_bValid = false;
    m_file.construct(data, size, false);
    take(header);
}

void V_MemoryFile::Chunk::construct(const V_FileStream &stream, unsigned int offset, unsigned int size,
                                    const ChunkHeader &header) {
    m_bValid = false;
    m_file.constructRegion(stream, offset, size);
    take(header);
}

void V_MemoryFile::Chunk::take(const ChunkHeader &header) {
    m_uID = header.identifier;
    m_uVersion = header.version;
    m_uSize = header.size;
    m_bValid = true;
}

void V_MemoryFile::Chunk::reset() {
    m_file.construct(DEFAULT_CAPACITY);
    m_file.setFilename("");
    m_uID = m_uVersion = m_uSize = 0;
    m_bValid = false;
}
