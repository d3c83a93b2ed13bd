// Chunks: nested sections of a memory file, each with a header (chunk_header.h) that tells what and how long
// it is.

#include "memoryfile/chunk_header.h"
#include "memoryfile/kinds.h"

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
    const unsigned int size = m_uPosition - begin;
    unsigned char bytes[4];
    vl::storeLe32(bytes, size);
    m_pKind->patch(*this, begin + vl::chunkSizeOffset, bytes);
    m_chunkStack.pop_back();
}

// ---- Reading -------------------------------------------------------------------------------------------

/// Reads the header at the position, which does not move. False, or an exception when a chunk is required,
/// where there is none.
bool V_MemoryFile::readChunkHeader(ChunkHeader &header, bool required) {
    m_pKind->requireReading(*this);
    const unsigned int begin = m_uPosition;
    if (!required && getSize() - begin <= chunkMarkerSize)
        return false;
    unsigned char bytes[chunkHeaderSize];
    read(bytes, chunkMarkerSize);
    if (bytes[0] != BT_CHUNK) {
        if (required)
            V_throw(V_MemoryFileException_DataError(getFilename()));
        m_pKind->moveTo(*this, begin);
        return false;
    }
    read(bytes + chunkMarkerSize, chunkHeaderSize - chunkMarkerSize);
    header = vl::chunkHeaderAt(bytes);
    m_pKind->moveTo(*this, begin);
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
    m_pKind->view(*this, m_uPosition + chunkHeaderSize, header, chunk);
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
    m_pKind->moveTo(*this, m_uPosition + header.size);
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
