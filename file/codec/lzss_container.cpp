// The container of an LZSS code stream (layout: lzss_container.h).

#include "file/codec/lzss_container.h"

#include "base/byte_order.h"
#include "file/codec/lzss.h"

#include <cstring>

namespace vl {

void lzssWriteHeader(std::uint8_t *container, const LzssHeader &header) {
    std::memcpy(container, lzssMagic, 4);
    storeLe32(container + 4, header.size);
    storeLe32(container + 8, header.packedSize);
}

bool lzssReadHeader(const std::uint8_t *container, LzssHeader &header) {
    if (std::memcmp(container, lzssMagic, 4) != 0)
        return false;
    header = {loadLe32(container + 4), loadLe32(container + 8)};
    return true;
}

std::uint64_t lzssBound(std::uint32_t size) {
    const float product = static_cast<float>(size) * 1.2f;
    return 4096 + static_cast<std::uint64_t>(product);
}

bool lzssUnpack(const std::uint8_t *code, std::size_t codeSize, std::uint8_t *out, std::uint32_t size) {
    return size == 0 || lzssDecode(code, codeSize, out, size);
}

} // namespace vl
