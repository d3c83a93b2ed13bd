// Tagged values where the short way of the operators (vl/memoryfile/operators.h) does not lead: at the end of
// a buffer, from a stream, without tags, and on errors.

#include "vl/memoryfile.h"

void V_MemoryFile::writeTag(BasicType type) {
    const auto tag = static_cast<unsigned char>(type);
    writeTogether(&tag, m_bTagsEnabled, nullptr, 0);
}

void V_MemoryFile::writeTagged(BasicType type, const void *data, int size) {
    if (size < 0)
        refuse("write a negative number of bytes to");
    const auto tag = static_cast<unsigned char>(type);
    writeTogether(&tag, m_bTagsEnabled, data, static_cast<unsigned int>(size));
}

void V_MemoryFile::readTag(BasicType type) {
    if (!m_bTagsEnabled)
        return;
    unsigned char tag;
    read(&tag, 1);
    if (tag != static_cast<unsigned char>(type))
        V_throw(V_MemoryFileException_DataError(getFilename()));
}

void V_MemoryFile::readTagged(BasicType type, void *data, int size) {
    readTag(type);
    read(data, size);
}

// ---- With tags -----------------------------------------------------------------------------------------

void V_MemoryFile::writeIntegerSlowly(unsigned int value, unsigned int extraBytes, unsigned int tag) {
    unsigned char bytes[4];
    vl::copyLittleEndian<4>(bytes, &value);
    writeTagged(static_cast<BasicType>(tag), bytes, static_cast<int>(1 + extraBytes));
}

unsigned int V_MemoryFile::readIntegerSlowly(unsigned int longTag, unsigned int compactBase, bool isSigned) {
    unsigned char tag;
    read(&tag, 1);
    unsigned int size = 4;
    if (tag != longTag) {
        size = compactBase - tag;
        if (size == 0 || size > 3)
            V_throw(V_MemoryFileException_DataError(getFilename()));
    }
    unsigned char bytes[4] = {};
    read(bytes, static_cast<int>(size));
    unsigned int value;
    vl::copyLittleEndian<4>(&value, bytes);
    const unsigned int unused = 32 - 8 * size;
    return isSigned ? static_cast<unsigned int>(static_cast<int>(value << unused) >> unused) : value;
}

// ---- Texts ---------------------------------------------------------------------------------------------

void V_MemoryFile::writeTextSlowly(const char *text, std::size_t length) {
    constexpr std::size_t longest = 0x7FFFFFFF;
    if (length > longest)
        refuse("write a string beyond 2147483647 characters to");
    const auto size = static_cast<unsigned int>(length);
    unsigned char head[6];
    unsigned int headSize = 0;
    unsigned int extraBytes = 3;
    if (m_bTagsEnabled) {
        extraBytes = extraBytesOf<7>(size);
        head[headSize++] = BT_STRING;
        head[headSize++] = static_cast<unsigned char>(extraBytes == 3 ? +BT_INT : BT_INT8 - extraBytes);
    }
    vl::copyLittleEndian<4>(head + headSize, &size);
    writeTogether(head, headSize + 1 + extraBytes, text, size);
}

unsigned int V_MemoryFile::readTextLength() {
    readTag(BT_STRING);
    int length;
    *this >> length;
    return length > 0 ? static_cast<unsigned int>(length) : 0;
}
