// How values are written to and read from a memory file: `file << value` and `file >> value`, each returning
// the file. Included by vl/memoryfile.h.
//
// With tags enabled a value is one tag byte (V_MemoryFile::BasicType) and its payload, otherwise the payload
// alone; all numbers are little-endian. The plain values of vl/memoryfile/tags.h are their memory image, the
// engine's math types as blocks of floats in their own order. The others:
//
//   type                 with tags                                           without
//   int                  |v| < 128: BT_INT8 and the low byte;                4 bytes
//                        < 32768: BT_INT16 and 2; < 8388608: BT_INT24 and 3;
//                        else BT_INT and 4
//   unsigned int         v < 256: BT_UINT8 and 1 byte; < 65536: BT_UINT16    4 bytes
//                        and 2; < 16777216: BT_UINT24 and 3; else BT_UINT
//                        and 4
//   long, unsigned long  BT_LONG or BT_ULONG and 4 bytes, however wide the   4 bytes
//                        type is here; a value that needs more is refused
//   bool                 BT_BOOL and one byte: 0 or 1; any other reads true  1 byte
//   string (either       BT_STRING, the length as an int is written, the     4 bytes of length, the
//   type, and const      characters                                          characters
//   char *, writing only)
//
// Writing throws what V_MemoryFile::write throws, and V_MemoryFileException_IllegalCall for a long beyond 32
// bits, a string beyond 2147483647 characters or a null text. A value is written whole or not at all.
//
// Reading throws V_MemoryFileException_DataError, behind the tag, when the tag is not that of the type;
// V_MemoryFileException_Overreading when fewer bytes are left; and what V_MemoryFile::read throws. An int or
// unsigned int is then 0, any other number unchanged. A string is empty, except that when only the characters
// are cut short it holds the announced number of zero characters, provided that is at most 65536: no
// damaged length makes it larger than the data. A length of 0 or less reads as the empty string.
#pragma once

#include "vl/memoryfile.h"

#include <algorithm>
#include <type_traits>

namespace vl {

/// Copies COUNT numbers of UNIT bytes each from memory to a file, whose lowest byte comes first, or back. The
/// one place where memory files care for the order of bytes in memory.
template <unsigned int UNIT, unsigned int COUNT = 1>
void copyLittleEndian(void *to, const void *from) {
#if __BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__
    std::memcpy(to, from, std::size_t{UNIT} * COUNT);
#else
    for (unsigned int i = 0; i < UNIT * COUNT; i += UNIT)
        std::reverse_copy(static_cast<const unsigned char *>(from) + i,
                          static_cast<const unsigned char *>(from) + i + UNIT,
                          static_cast<unsigned char *>(to) + i);
#endif
}

} // namespace vl

// ---- The short way: straight to the window -------------------------------------------------------------

// For all the compiler knows, storing bytes may change the members, which it then reads again. So these
// functions read what they need beforehand, and set the position alone, which the size follows
// (V_MemoryFile::getSize).

/// Whether the window takes `count` bytes at the position.
inline bool V_MemoryFile::hasRoomFor(unsigned int count) const {
    return std::uint64_t{m_uPosition} + count <= m_uRoomEnd;
}

/// Whether the window holds the `count` bytes at the position.
inline bool V_MemoryFile::isAhead(unsigned int count) const {
    return std::uint64_t{m_uPosition} + count <= m_uReadEnd;
}

template <unsigned int UNIT, unsigned int COUNT>
void V_MemoryFile::writeValue(BasicType type, const void *data) {
    constexpr unsigned int size = UNIT * COUNT;
    const unsigned int tagSize = m_bTagsEnabled ? 1 : 0;
    const std::uint64_t end = std::uint64_t{m_uPosition} + tagSize + size;
    unsigned int position;
    if (end <= m_uRoomEnd) {
        unsigned char *room = windowAhead();
        room[0] = static_cast<unsigned char>(type);
        vl::copyLittleEndian<UNIT, COUNT>(room + tagSize, data); // over the tag when there shall be none
        position = static_cast<unsigned int>(end);
    } else {
        unsigned char bytes[size];
        vl::copyLittleEndian<UNIT, COUNT>(bytes, data);
        writeTagged(type, bytes, size);
        position = m_uPosition;
    }
    m_uPosition = position; // on both ways, so that a loop keeps it in a register from value to value
}

template <unsigned int UNIT, unsigned int COUNT>
void V_MemoryFile::readValue(BasicType type, void *data) {
    constexpr unsigned int size = UNIT * COUNT;
    const unsigned int tagSize = m_bTagsEnabled ? 1 : 0;
    const unsigned char *bytes = windowAhead();
    unsigned int position = m_uPosition + tagSize + size;
    if (isAhead(tagSize + size) && (tagSize == 0 || bytes[0] == type)) {
        vl::copyLittleEndian<UNIT, COUNT>(data, bytes + tagSize);
    } else {
        unsigned char copy[size];
        readTagged(type, copy, size);
        vl::copyLittleEndian<UNIT, COUNT>(data, copy);
        position = m_uPosition;
    }
    m_uPosition = position; // on both ways, as above
}

/// The bytes beyond the first that a magnitude needs, of which the first byte holds SHIFT bits.
template <unsigned int SHIFT>
unsigned int V_MemoryFile::extraBytesOf(unsigned int magnitude) {
    return static_cast<unsigned int>(magnitude >> SHIFT != 0) + (magnitude >> (SHIFT + 8) != 0) +
           (magnitude >> (SHIFT + 16) != 0);
}

/// Writes an integer in the shortest form that its magnitude allows. The form of n < 4 bytes has the tag
/// `compactBase` - n.
template <unsigned int SHIFT>
void V_MemoryFile::writeInteger(unsigned int value, unsigned int magnitude, BasicType longTag,
                                unsigned int compactBase) {
    if (!m_bTagsEnabled) {
        writeValue<4, 1>(longTag, &value);
        return;
    }
    const unsigned int extraBytes = extraBytesOf<SHIFT>(magnitude);
    const unsigned int tag = extraBytes == 3 ? +longTag : compactBase - 1 - extraBytes;
    if (!hasRoomFor(5) || m_uPosition < m_uSize) {
        writeIntegerSlowly(value, extraBytes, tag);
        return;
    }
    unsigned char *room = windowAhead();
    const unsigned int end = m_uPosition + 2 + extraBytes;
    // Nothing lies behind the position yet, so all four bytes may be stored whatever the form.
    room[0] = static_cast<unsigned char>(tag);
    vl::copyLittleEndian<4>(room + 1, &value);
    m_uPosition = end;
}

template <class Integer>
void V_MemoryFile::readInteger(Integer &value, BasicType longTag, unsigned int compactBase) {
    constexpr bool isSigned = std::is_signed<Integer>::value;
    std::uint32_t word = 0;
    if (!m_bTagsEnabled) {
        value = 0; // should the reading fail
        readValue<4, 1>(longTag, &word);
        value = static_cast<Integer>(word);
        return;
    }
    // No branch depends on which of the four forms it is: that could not be predicted.
    const std::uint32_t validTags = 1u << longTag | 7u << (compactBase - 3);
    const unsigned char *bytes = windowAhead();
    const unsigned int tag = isAhead(5) ? bytes[0] : 32;
    unsigned int position;
    if (tag < 32 && (validTags >> tag & 1) != 0) {
        const unsigned int size = std::min(compactBase - tag, 4u);
        const unsigned int unused = 32 - 8 * size;
        vl::copyLittleEndian<4>(&word, bytes + 1);
        position = m_uPosition + 1 + size;
        value = static_cast<Integer>(word << unused) >> unused; // extends the sign of an int
    } else {
        value = 0;
        value = static_cast<Integer>(readIntegerSlowly(longTag, compactBase, isSigned));
        position = m_uPosition;
    }
    m_uPosition = position; // on both ways, as above
}

/// Writes a string; a short one, as most are, straight to the window. From `text` on, `readable` bytes may be
/// read, whatever they hold.
template <bool TAGS>
void V_MemoryFile::writeText(const char *text, std::size_t length, std::size_t readable) {
    // A copy of fixed size has no branches to miss, but needs a place where it overwrites nothing.
    constexpr unsigned int blockSize = 16, headSize = TAGS ? 3 : 4;
    const bool asBlock = length <= blockSize && readable >= blockSize && m_uPosition >= m_uSize;
    const auto size = static_cast<unsigned int>(length);
    if (length >= 128 || !hasRoomFor(headSize + (asBlock ? blockSize : size))) {
        writeTextSlowly(text, length);
        return;
    }
    unsigned char *room = windowAhead();
    const unsigned int end = m_uPosition + headSize + size;
    const unsigned int head = TAGS ? SHORT_TEXT_TAGS | size << 16 : size;
    if (asBlock) {
        vl::copyLittleEndian<4>(room, &head);
        std::memcpy(room + headSize, text, blockSize);
    } else {
        unsigned char bytes[4];
        vl::copyLittleEndian<4>(bytes, &head);
        std::memmove(room + headSize, text, length); // which may lie in this buffer
        std::memcpy(room, bytes, headSize);
    }
    m_uPosition = end;
}

inline void V_MemoryFile::writeText(const char *text, std::size_t length, std::size_t readable) {
    if (m_bTagsEnabled)
        writeText<true>(text, length, readable);
    else
        writeText<false>(text, length, readable);
}

template <class String>
void V_MemoryFile::writeString(const String &text) {
    // The characters of a short string lie in the string object, which may be read to its end.
    const auto object = reinterpret_cast<std::uintptr_t>(&text);
    const auto characters = reinterpret_cast<std::uintptr_t>(text.data());
    const bool inside = characters >= object && characters < object + sizeof text;
    writeText(text.data(), text.size(), inside ? object + sizeof text - characters : text.size());
}

template <class String>
void V_MemoryFile::readText(String &text) {
    text.clear();
    const unsigned int headSize = m_bTagsEnabled ? 3 : 4;
    if (isAhead(4)) {
        const unsigned char *bytes = windowAhead();
        unsigned int head;
        vl::copyLittleEndian<4>(&head, bytes);
        unsigned int length = head;
        if (headSize == 3)
            length = (head & 0xFFFF) == SHORT_TEXT_TAGS ? head >> 16 & 0xFF : 128;
        if (length < 128 && isAhead(headSize + length)) {
            const auto *characters = reinterpret_cast<const char *>(bytes + headSize);
            if (length <= 15 && isAhead(headSize + 15)) {
                // A copy of fixed length, cut afterwards, has no branches to miss.
                text.assign(characters, 15);
                text.resize(length);
            } else {
                text.assign(characters, length);
            }
            m_uPosition += headSize + length;
            return;
        }
    }
    const unsigned int length = readTextLength();
    constexpr unsigned int longestUnread = 65536;
    if (length <= getSize() - m_uPosition || length <= longestUnread)
        text.resize(length);
    read(&text[0], static_cast<int>(length));
}

// ---- The operators -------------------------------------------------------------------------------------

#define VL_PLAIN(tag, byte, name, Type, UNIT, COUNT)                                                         \
    inline V_MemoryFile &operator<<(V_MemoryFile &file, const Type &value) {                                 \
        file.writeValue<UNIT, COUNT>(V_MemoryFile::tag, &reinterpret_cast<const unsigned char &>(value));    \
        return file;                                                                                         \
    }                                                                                                        \
    inline V_MemoryFile &operator>>(V_MemoryFile &file, Type &value) {                                       \
        file.readValue<UNIT, COUNT>(V_MemoryFile::tag, &reinterpret_cast<unsigned char &>(value));           \
        return file;                                                                                         \
    }
#define VL_NOTHING(tag, byte, ...)
VL_MEMORY_FILE_TAGS(VL_PLAIN, VL_NOTHING, VL_NOTHING)
#undef VL_PLAIN
#undef VL_NOTHING

inline V_MemoryFile &operator<<(V_MemoryFile &file, const int &value) {
    const auto bits = static_cast<unsigned int>(value);
    file.writeInteger<7>(bits, value < 0 ? 0 - bits : bits, V_MemoryFile::BT_INT, V_MemoryFile::BT_INT8 + 1);
    return file;
}
inline V_MemoryFile &operator>>(V_MemoryFile &file, int &value) {
    file.readInteger(value, V_MemoryFile::BT_INT, V_MemoryFile::BT_INT8 + 1);
    return file;
}

inline V_MemoryFile &operator<<(V_MemoryFile &file, const unsigned int &value) {
    file.writeInteger<8>(value, value, V_MemoryFile::BT_UINT, V_MemoryFile::BT_UINT8 + 1);
    return file;
}
inline V_MemoryFile &operator>>(V_MemoryFile &file, unsigned int &value) {
    file.readInteger(value, V_MemoryFile::BT_UINT, V_MemoryFile::BT_UINT8 + 1);
    return file;
}

inline V_MemoryFile &operator<<(V_MemoryFile &file, const long &value) {
    const auto stored = static_cast<std::int32_t>(value);
    if (stored != value)
        file.refuse("write a long beyond 32 bits to");
    file.writeValue<4, 1>(V_MemoryFile::BT_LONG, &stored);
    return file;
}
inline V_MemoryFile &operator>>(V_MemoryFile &file, long &value) {
    std::int32_t stored;
    file.readValue<4, 1>(V_MemoryFile::BT_LONG, &stored);
    value = stored;
    return file;
}

inline V_MemoryFile &operator<<(V_MemoryFile &file, const unsigned long &value) {
    const auto stored = static_cast<std::uint32_t>(value);
    if (stored != value)
        file.refuse("write an unsigned long beyond 32 bits to");
    file.writeValue<4, 1>(V_MemoryFile::BT_ULONG, &stored);
    return file;
}
inline V_MemoryFile &operator>>(V_MemoryFile &file, unsigned long &value) {
    std::uint32_t stored;
    file.readValue<4, 1>(V_MemoryFile::BT_ULONG, &stored);
    value = stored;
    return file;
}

inline V_MemoryFile &operator<<(V_MemoryFile &file, const bool &value) {
    const unsigned char stored = value ? 1 : 0;
    file.writeValue<1, 1>(V_MemoryFile::BT_BOOL, &stored);
    return file;
}
inline V_MemoryFile &operator>>(V_MemoryFile &file, bool &value) {
    unsigned char stored;
    file.readValue<1, 1>(V_MemoryFile::BT_BOOL, &stored);
    value = stored != 0;
    return file;
}

inline V_MemoryFile &operator<<(V_MemoryFile &file, const V_String &value) {
    file.writeString(value);
    return file;
}
inline V_MemoryFile &operator>>(V_MemoryFile &file, V_String &value) {
    file.readText(value);
    return file;
}

inline V_MemoryFile &operator<<(V_MemoryFile &file, const V_StringI &value) {
    file.writeString(value);
    return file;
}
inline V_MemoryFile &operator>>(V_MemoryFile &file, V_StringI &value) {
    file.readText(value);
    return file;
}

/// Writes a text as a string.
inline V_MemoryFile &operator<<(V_MemoryFile &file, const char *text) {
    if (!text)
        file.refuse("write a null text to");
    const std::size_t length = std::strlen(text);
    file.writeText(text, length, length);
    return file;
}

/// Any other pointer would be taken for a bool.
template <class T, std::enable_if_t<!std::is_convertible<T *, const char *>::value, int> = 0>
V_MemoryFile &operator<<(V_MemoryFile &file, T *pointer) = delete;
