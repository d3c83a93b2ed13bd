// Any bytes as data: the code is the plain encoder's byte for byte, stays within the bound and decodes to the
// data again.

#include "file/codec/lzss.h"
#include "file/codec/lzss_container.h"
#include "file/codec/lzss_encoder.h"
#include "tests/support/plain_lzss.h"

#include <algorithm>
#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    const auto size32 = static_cast<std::uint32_t>(size);
    std::vector<std::uint8_t> code(static_cast<std::size_t>(vl::lzssBound(size32)) - vl::lzssHeaderSize);
    code.resize(static_cast<std::size_t>(vl::LzssEncoder().encode(data, size32, code.data())));
    code.shrink_to_fit();
    if (code != plain::encode(data, size))
        std::abort();
    std::vector<std::uint8_t> out(size);
    if (!vl::lzssDecode(code.data(), code.size(), out.data(), size) ||
        !std::equal(out.begin(), out.end(), data))
        std::abort();
    return 0;
}
