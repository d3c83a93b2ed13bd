// The bytes of a memory file: position, reading, and writing in memory or through to disk.

#include "vl/memoryfile.h"
#include "vl/core/memory.h"

#include "platform/platform.h"
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
    if (place < std::int64_t{m_uFlushed})
        refuse("seek back to what is on disk already in a write-through file");
    moveTo(static_cast<unsigned int>(place));
}

/// Goes to a position inside the file, and the stream with it.
void V_MemoryFile::moveTo(unsigned int place) {
    if (place == m_uPosition)
        return;
    loadStream();
    m_uSize = getSize();
    m_uPosition = place;
    if (m_pStream)
        m_pStream->seek(place, V_FileStream::SM_BEGIN);
}

void V_MemoryFile::toRead() {
    if (isWriteThrough())
        refuse("read a write-through file");
    seek(0, SM_BEGIN);
    m_eMode = MODE_READ;
}

// ---- Reading -------------------------------------------------------------------------------------------

void V_MemoryFile::read(void *destination, int count) {
    if (count < 0)
        refuse("read a negative number of bytes from");
    if (isWriteThrough())
        refuse("read a write-through file");
    const auto size = static_cast<unsigned int>(count);
    if (size > getSize() - m_uPosition)
        V_throw(V_MemoryFileException_Overreading(getFilename()));
    if (size == 0)
        return;
    if (!m_pStream) {
        std::memmove(destination, m_pData + m_uPosition, size);
    } else if (m_pStream->read(destination, size) != size) {
        m_pStream->seek(m_uPosition, V_FileStream::SM_BEGIN);
        V_throw(V_MemoryFileException_Overreading(getFilename()));
    }
    m_uPosition += size;
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
    if (m_bWriteFailed)
        V_throw(V_MemoryFileException_UnableToWriteData(getFilename()));
    if (m_uCapacity == 0)
        refuse("write to a file built for reading");
    const std::uint64_t total = std::uint64_t{headSize} + size;
    if (total > 0xFFFFFFFFu - m_uPosition)
        refuse("write beyond 4294967295 bytes to");
    const auto count = static_cast<unsigned int>(total);
    if (count == 0)
        return;

    if (!hasRoomFor(count) && !isWriteThrough()) {
        // The data may lie in the buffer that growing replaces.
        const bool own = ownsBytes(data);
        const std::ptrdiff_t place = own ? static_cast<const unsigned char *>(data) - m_pData : 0;
        grow(m_uPosition + total);
        if (own)
            data = m_pData + place;
    }
    if (hasRoomFor(count)) {
        if (size != 0)
            std::memmove(roomAhead() + headSize, data, size); // before the head, which may overwrite it
        if (headSize != 0)
            std::memcpy(roomAhead(), head, headSize);
        m_uPosition += count;
    } else {
        writeThrough(head, headSize);
        writeThrough(data, size);
    }
}

/// Enlarges the buffer to at least `size` bytes, doubling the capacity.
void V_MemoryFile::grow(std::uint64_t size) {
    constexpr std::uint64_t largest = 0x7FFFFFFF;
    if (size > largest)
        V_throw(V_MemoryException_Allocation());
    std::uint64_t capacity = m_uCapacity;
    while (capacity < size)
        capacity *= 2;
    capacity = std::min(capacity, largest);
    m_pData = static_cast<unsigned char *>(V_REALLOCATE(m_pData, m_iAllocated, static_cast<int>(capacity)));
    m_iAllocated = static_cast<int>(capacity);
    m_uCapacity = static_cast<unsigned int>(capacity);
    updateRoom();
}

void V_MemoryFile::writeThrough(const void *data, unsigned int size) {
    if (size == 0)
        return;
    if (!hasRoomFor(size)) {
        if (!m_pData)
            grow(m_uCapacity);
        else
            flush();
    }
    if (hasRoomFor(size)) {
        std::memcpy(roomAhead(), data, size);
    } else {
        // More than the buffer holds, and so more than may still be pending behind the position.
        writeToDisk(data, size);
        m_uFlushed = m_uPosition + size;
        updateRoom();
    }
    m_uPosition += size;
}

/// Writes what is pending before the position. What lies behind it, after seeking back, is less than what is
/// about to be written over it.
void V_MemoryFile::flush() {
    const unsigned int before = m_uPosition - m_uFlushed;
    if (before == 0)
        return;
    writeToDisk(m_pData, before);
    m_uFlushed = m_uPosition;
    updateRoom();
}

/// Tells how far the buffer may be written now: at most to where the largest possible file ends, so that no
/// position can wrap.
void V_MemoryFile::updateRoom() {
    const unsigned int left = 0xFFFFFFFFu - m_uFlushed;
    m_uRoomEnd = m_uCapacity == 0 ? 0 : m_uFlushed + std::min(static_cast<unsigned int>(m_iAllocated), left);
}

void V_MemoryFile::writeToDisk(const void *data, unsigned int count) {
    if (std::fwrite(data, 1, count, m_pOutFile) != count)
        failWriting();
}

/// Nothing more can be written where it belongs: closes the short ways too.
void V_MemoryFile::failWriting() {
    m_bWriteFailed = true;
    m_uCapacity = 0;
    updateRoom();
    V_throw(V_MemoryFileException_UnableToWriteData(getFilename()));
}

// ---- Saving --------------------------------------------------------------------------------------------

int V_MemoryFile::save(const char *fileName) const {
    if (m_eAccessMethod != AM_MEMORY)
        refuse("save what is not a file in memory");
    return File->save(fileName, m_pData, getSize());
}

int V_MemoryFile::save() const { return save(getFilename()); }

int V_MemoryFile::append(const char *fileName) const {
    if (m_eAccessMethod != AM_MEMORY)
        refuse("append what is not a file in memory");
    return File->append(fileName, m_pData, getSize());
}

int V_MemoryFile::append() const { return append(getFilename()); }
