// Any bytes as a code stream. Input: two bytes of output size, one byte that seeds the stream decoder's piece
// sizes, then the code. The one-shot decoder, the stream decoder and the plain one must agree.

#include "file/codec/lzss.h"
#include "tests/support/plain_lzss.h"

#include <algorithm>
#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    if (size < 3)
        return 0;
    const std::size_t outSize = data[0] | data[1] << 8;
    unsigned int pieces = data[2] + 1u;
    const std::vector<std::uint8_t> code(data + 3, data + size);

    std::vector<std::uint8_t> expected(outSize);
    bool whole = false;
    const std::size_t count = plain::decode(code.data(), code.size(), expected.data(), outSize, whole);
    expected.resize(count);

    std::vector<std::uint8_t> out(outSize);
    if (vl::lzssDecode(code.data(), code.size(), out.data(), outSize) != (whole && count == outSize))
        std::abort();
    if (!std::equal(expected.begin(), expected.end(), out.begin()))
        std::abort();

    vl::LzssStreamDecoder decoder;
    std::vector<std::uint8_t> streamed;
    std::size_t read = 0;
    for (bool ended = outSize == 0; !ended;) {
        pieces = pieces * 1103515245 + 12345;
        const std::size_t wanted = std::min<std::size_t>(outSize - streamed.size(), pieces >> 16 & 0x3FF);
        const std::size_t given =
            std::min<std::size_t>(code.size() - read, pieces >> (pieces & 64 ? 26 : 22));
        const std::vector<std::uint8_t> in(code.data() + read, code.data() + read + given);
        std::vector<std::uint8_t> piece(wanted);
        const auto progress = decoder.decode(in.data(), given, piece.data(), wanted);
        read += progress.consumed;
        streamed.insert(streamed.end(), piece.data(), piece.data() + progress.produced);
        ended = streamed.size() == outSize || (read == code.size() && wanted > 0 && progress.produced == 0);
    }
    if (streamed != expected)
        std::abort();
    if ((streamed.size() == outSize && read == code.size() && decoder.atItemBoundary()) !=
        (whole && count == outSize))
        std::abort();
    return 0;
}
