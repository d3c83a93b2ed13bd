// Memory files in memory: those that are read, those that grow as they are written, and those that hold
// nothing.

#include "memoryfile/kinds.h"

#include <algorithm>
#include <cstring>

constinit const V_MemoryFile::Unbuilt V_MemoryFile::Unbuilt::kind;
constinit const V_MemoryFile::Held V_MemoryFile::Held::kind;
constinit const V_MemoryFile::Growing V_MemoryFile::Growing::kind;

vl::Block vl::newBlock(unsigned int size) {
    if (size > largestBlock)
        V_throw(V_MemoryException_Allocation());
    return Block(static_cast<unsigned char *>(V_REALLOCATE(nullptr, 0, static_cast<int>(size))));
}

vl::Block vl::copyOf(const void *data, unsigned int size, unsigned int blockSize) {
    Block block = newBlock(blockSize);
    V_Memory::copy(block.get(), data, size);
    return block;
}

// ---- What all do ---------------------------------------------------------------------------------------

void V_MemoryFile::Kind::read(V_MemoryFile &file, void *, unsigned int count) const {
    if (count != 0)
        V_throw(V_MemoryFileException_Overreading(file.getFilename()));
}

void V_MemoryFile::Kind::write(V_MemoryFile &file, const void *, unsigned int, const void *,
                               unsigned int) const {
    file.refuse("write to a file built for reading");
}

void V_MemoryFile::Kind::moveTo(V_MemoryFile &file, unsigned int place) const {
    file.m_uSize = file.m_uReadEnd = file.getSize();
    file.m_uPosition = place;
}

void V_MemoryFile::Kind::patch(V_MemoryFile &file, unsigned int place,
                               const unsigned char (&bytes)[4]) const {
    std::memcpy(file.m_pData + place, bytes, sizeof bytes);
}

void V_MemoryFile::Kind::view(V_MemoryFile &file, unsigned int payload, const ChunkHeader &header,
                              Chunk &chunk) const {
    chunk.m_file.setFilename(file.getFilename());
    chunk.construct(file.m_pData + payload, header.size - CHUNK_HEADER_SIZE, header);
}

void V_MemoryFile::Kind::copy(const V_MemoryFile &file, bool shares, vl::Block &block,
                              vl::CountedObject<V_FileStream> &) const {
    if (!shares)
        block = vl::copyOf(file.m_pData, file.getSize(), file.getSize());
}

// ---- Growing -------------------------------------------------------------------------------------------

void V_MemoryFile::Growing::write(V_MemoryFile &file, const void *head, unsigned int headSize,
                                  const void *data, unsigned int size) const {
    const std::uint64_t end = std::uint64_t{file.m_uPosition} + headSize + size;
    if (end == file.m_uPosition)
        return;
    // The data may lie in the buffer that growing replaces.
    const bool own = file.ownsBytes(data);
    const std::ptrdiff_t place = own ? static_cast<const unsigned char *>(data) - file.m_pData : 0;
    file.grow(end);
    file.put(head, headSize, own ? file.m_pData + place : data, size);
}
