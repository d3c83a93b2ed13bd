// Containers in memory: compressed ("VA->") and scrambled ("VC->"), and the checksum, as clients use them.

#include "vl/file.h"

#include "base/byte_order.h"
#include "base/random.h"
#include "core/counted.h"
#include "file/codec/crc32.h"
#include "file/codec/lzss_container.h"
#include "file/codec/lzss_encoder.h"
#include "file/codec/scramble.h"

#include <cstdint>
#include <cstring>

using Bytes = vl::CountedArray<std::uint8_t>;

void *V_File::compress(const char *, const void *data, unsigned int size) {
    Bytes scratch(vl::allocateArray<std::uint8_t>(vl::lzssBound(size)));
    const std::uint64_t packedSize = vl::LzssEncoder().encode(static_cast<const std::uint8_t *>(data), size,
                                                              scratch.get() + vl::lzssHeaderSize);
    const std::uint64_t total = packedSize + vl::lzssHeaderSize;
    vl::lzssWriteHeader(scratch.get(), {size, static_cast<std::uint32_t>(packedSize)});
    Bytes container(vl::allocateArray<std::uint8_t>(total));
    std::memcpy(container.get(), scratch.get(), static_cast<std::size_t>(total)); // fits, being allocated
    return container.release();
}

void *V_File::compress(const void *data, unsigned int size) { return compress("Vantor Library", data, size); }

void *V_File::decompress(const char *, const void *container) {
    const auto *bytes = static_cast<const std::uint8_t *>(container);
    vl::LzssHeader header;
    if (!vl::lzssReadHeader(bytes, header) || !vl::lzssCanHold(header.size, header.packedSize))
        V_throw(V_FileException_FileCorrupted(vl::lzssMagic));
    Bytes data(vl::allocateArray<std::uint8_t>(header.size));
    if (!vl::lzssUnpack(bytes + vl::lzssHeaderSize, header.packedSize, data.get(), header.size))
        V_throw(V_FileException_FileCorrupted(vl::lzssMagic));
    return data.release();
}

void *V_File::decompress(const void *container) { return decompress("Vantor Library", container); }

void *V_File::encrypt(const char *, const void *data, unsigned int size) {
    if (size > WHOLE_FILE - vl::scrambleHeaderSize)
        V_throw(V_FileException_FileTooLarge(vl::scrambleMagic));
    const std::uint32_t seed = static_cast<std::uint32_t>(vl::drawRandom()) * 0x20004;
    const auto total = static_cast<std::uint32_t>(size + vl::scrambleHeaderSize);

    Bytes container(vl::allocateArray<std::uint8_t>(total));
    std::memcpy(container.get(), vl::scrambleMagic, 4);
    vl::storeLe32(container.get() + 4, size);
    vl::storeLe32(container.get() + 8, total);
    vl::storeLe32(container.get() + 12, seed);
    vl::scramble(static_cast<const std::uint8_t *>(data), container.get() + vl::scrambleHeaderSize, size,
                 static_cast<std::int32_t>(seed));
    return container.release();
}

void *V_File::encrypt(const void *data, unsigned int size) { return encrypt("Vantor Library", data, size); }

void *V_File::decrypt(const char *, const void *container) {
    const auto *bytes = static_cast<const std::uint8_t *>(container);
    const std::uint32_t size = vl::loadLe32(bytes + 4);
    Bytes data(vl::allocateArray<std::uint8_t>(size));
    vl::unscramble(bytes + vl::scrambleHeaderSize, data.get(), size,
                   static_cast<std::int32_t>(vl::loadLe32(bytes + 12)));
    return data.release();
}

void *V_File::decrypt(const void *container) { return decrypt("Vantor Library", container); }

unsigned int V_File::CRC32(const void *data, unsigned int size) { return vl::crc32(data, size); }
