// The bytes of a memory file: its position, reading, writing and saving, as far as they are the same for
// every kind of file.

#include "vl/memoryfile.h"

#include "memoryfile/kinds.h"
#include "vl/file.h"

#include <algorithm>
#include <cstring>

void V_MemoryFile::refuse(const char *action) const {
    V_throw(V_MemoryFileException_IllegalCall(action, getFilename()));
}

void V_MemoryFile::setFilename(const char *fileName) { m_strFilename = fileName ? fileName : ""; }

// ---- Position ------------------------------------------------------------------------------------------

void V_MemoryFile::seek(int offset, SeekMode mode) {
    std::int64_t place = m_uPosition;
    switch (mode) {
    case SM_BEGIN:
        place = offset;
        break;
    case SM_CURRENT:
        place += offset;
        break;
    case SM_END:
        place = std::int64_t{getSize()} - offset;
        break;
    }
    if (place < 0 || place > std::int64_t{getSize()})
        V_throw(V_MemoryFileException_SeekOutOfRange(getFilename()));
    m_pKind->moveTo(*this, static_cast<unsigned int>(place));
}

void V_MemoryFile::toRead() {
    m_pKind->requireReading(*this);
    seek(0, SM_BEGIN);
    m_eMode = MODE_READ;
}

// ---- Reading -------------------------------------------------------------------------------------------

void V_MemoryFile::read(void *destination, int count) {
    if (count < 0)
        refuse("read a negative number of bytes from");
    const auto size = static_cast<unsigned int>(count);
    if (size != 0 && isAhead(size)) {
        std::memmove(destination, windowAhead(), size);
        m_uPosition += size;
    } else {
        m_pKind->read(*this, destination, size);
    }
}

// ---- Writing -------------------------------------------------------------------------------------------

void V_MemoryFile::write(const void *source, int count) {
    if (count < 0)
        refuse("write a negative number of bytes to");
    writeTogether(nullptr, 0, source, static_cast<unsigned int>(count));
}

/// Writes a short `head` and the data behind it, both or, but for a disk that refuses them, neither.
void V_MemoryFile::writeTogether(const void *head, unsigned int headSize, const void *data,
                                 unsigned int size) {
    const std::uint64_t end = std::uint64_t{m_uPosition} + headSize + size;
    if (end != m_uPosition && end <= m_uRoomEnd)
        put(head, headSize, data, size);
    else
        m_pKind->write(*this, head, headSize, data, size);
}

/// The same where the window has room for it.
void V_MemoryFile::put(const void *head, unsigned int headSize, const void *data, unsigned int size) {
    if (size != 0)
        std::memmove(windowAhead() + headSize, data, size); // before the head, which may overwrite it
    V_Memory::copy(windowAhead(), head, headSize);
    m_uPosition += headSize + size;
}

/// The window begins at the position `begin`, which lies at `data`, and is read up to `readEnd`.
void V_MemoryFile::setWindow(unsigned char *data, unsigned int begin, unsigned int readEnd) {
    m_pData = data;
    m_uOrigin = reinterpret_cast<std::uintptr_t>(data) - begin;
    m_uFlushed = begin;
    m_uReadEnd = readEnd;
}

/// Enlarges the buffer to at least `size` bytes, doubling the capacity.
void V_MemoryFile::grow(std::uint64_t size) {
    if (size > vl::largestBlock)
        V_throw(V_MemoryException_Allocation());
    std::uint64_t capacity = m_uCapacity;
    while (capacity < size)
        capacity *= 2;
    capacity = std::min<std::uint64_t>(capacity, vl::largestBlock);
    void *const data = V_REALLOCATE(m_pData, m_iAllocated, static_cast<int>(capacity));
    setWindow(static_cast<unsigned char *>(data), m_uFlushed, m_uReadEnd);
    m_iAllocated = static_cast<int>(capacity);
    m_uCapacity = static_cast<unsigned int>(capacity);
    updateRoom();
}

/// Tells how far the buffer may be written now: at most to where the largest possible file ends, so that no
/// position can wrap.
void V_MemoryFile::updateRoom() {
    m_uRoomEnd = m_uFlushed + std::min(static_cast<unsigned int>(m_iAllocated), 0xFFFFFFFFu - m_uFlushed);
}

// ---- Saving --------------------------------------------------------------------------------------------

/// All bytes of a file in memory; never null.
const void *V_MemoryFile::allBytes(const char *action) const {
    if (m_eAccessMethod != AM_MEMORY)
        refuse(action);
    return m_pData ? m_pData : static_cast<const void *>("");
}

int V_MemoryFile::save(const char *fileName) const {
    return File->save(fileName, allBytes("save what is not a file in memory"), getSize());
}

int V_MemoryFile::save() const { return save(getFilename()); }

int V_MemoryFile::append(const char *fileName) const {
    return File->append(fileName, allBytes("append what is not a file in memory"), getSize());
}

int V_MemoryFile::append() const { return append(getFilename()); }
