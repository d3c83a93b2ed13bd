// Compressed streams against one-shot decoding. The input describes an archive entry (its sizes, seed and
// code, sound or not) and how it is read: in pieces and through a buffer of any size. Reading it as a stream
// must give what V_File::load gives: the same bytes, or an exception where that throws one, and never other
// bytes before it.
//
//   byte 0     bit 0: scrambled, bit 1: sizes as they should be, bit 2: small pieces
//   bytes 1-2  unpacked size
//   byte 3     buffer size
//   byte 4     seed of the scrambling
//   rest       what the entry stores behind its header

#include "base/byte_order.h"
#include "tests/support/archive_builder.h"
#include "tests/support/started_library.h"

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *input, std::size_t inputSize) {
    static const StartedLibrary world;
    if (inputSize < 5)
        return 0;
    const bool scrambled = input[0] & 1;
    const std::uint32_t size = vl::loadLe16(input + 1), seed = input[4];
    const std::uint8_t *code = input + 5;
    const auto codeSize = static_cast<std::uint32_t>(inputSize - 5);

    ArchiveBuilder archive;
    ArchiveBuilder::Record &record = archive.add("\\f", "", scrambled ? 2 : 1).records[0];
    record.size = size;
    record.seed = seed;
    record.stored.assign(code, code + codeSize);
    if (input[0] & 2)
        record.stored.insert(0, lzssHeaderPlainly(size, codeSize));
    if (scrambled)
        record.stored = scrambledPlainly(record.stored, seed ? seed : 1);
    record.storedSize = static_cast<std::uint32_t>(record.stored.size());
    world.writeFile(archive.bytes());
    File->enablePriorityArchive(world.path.c_str());

    std::vector<char> expected(size + 1), got(size + 1);
    bool sound = true, streamed = true;
    try {
        File->load(static_cast<void *>(expected.data()), "f", V_File::WHOLE_FILE);
    } catch (V_FileException *) {
        sound = false;
    }
    unsigned int done = 0;
    try {
        V_FileStream stream("f", input[3]);
        std::uint32_t random = size;
        for (unsigned int n = 1; n != 0; done += n) {
            random = random * 1664525 + 1013904223;
            const unsigned int piece = 1 + (random >> 16) % (input[0] & 4 ? 30 : 20000);
            n = stream.read(got.data() + done, std::min(piece, size + 1 - done));
        }
    } catch (V_FileException *) {
        streamed = false;
    }
    File->disablePriorityArchive();
    if (sound != streamed || (sound && (done != size || std::memcmp(expected.data(), got.data(), size) != 0)))
        std::abort();
    return 0;
}
