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

#include "file/archive_format.h"
#include "file/crc32.h"
#include "file/little_endian.h"
#include "file/lzss.h"
#include "tests/support/started_library.h"

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>
#include <utility>
#include <vector>

namespace {

using Bytes = std::vector<std::uint8_t>;

void append32(Bytes &bytes, std::uint32_t value) {
    bytes.resize(bytes.size() + 4);
    vl::storeLe32(&bytes[bytes.size() - 4], value);
}

/// An archive with the one entry `\f`.
Bytes archiveOf(const Bytes &stored, std::uint32_t size, std::uint32_t seed, std::uint32_t method) {
    Bytes file = {'f', 0}, directory = {'\\', 0};
    for (std::uint32_t field : {size, static_cast<std::uint32_t>(stored.size()), 0u, 0u, seed, method})
        append32(file, field);
    file.resize(file.size() + 16);
    directory.resize(directory.size() + 16);

    V_File::VASHeader header{};
    header.seed = 1;
    header.fileCount = header.dirCount = 1;
    header.fileInfoSize = static_cast<unsigned int>(file.size());
    header.dirInfoSize = static_cast<unsigned int>(directory.size());
    header.version = 1.2f;
    header.fileInfoCRC = vl::crc32(file.data(), file.size());
    header.dirInfoCRC = vl::crc32(directory.data(), directory.size());
    std::uint8_t bytes[vl::archiveHeaderSize];
    vl::sealArchiveHeader(bytes, header);
    vl::scrambleArchiveBytes(file.data(), file.size(), 1);
    vl::scrambleArchiveBytes(directory.data(), directory.size(), 1);

    Bytes archive(bytes, bytes + sizeof bytes);
    for (const Bytes *part : {&std::as_const(file), &std::as_const(directory), &stored})
        archive.insert(archive.end(), part->begin(), part->end());
    return archive;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *input, std::size_t inputSize) {
    static const StartedLibrary world;
    if (inputSize < 5)
        return 0;
    const bool scrambled = input[0] & 1;
    const std::uint32_t size = vl::loadLe16(input + 1), seed = input[4];
    const std::uint8_t *code = input + 5;
    const auto codeSize = static_cast<std::uint32_t>(inputSize - 5);

    Bytes stored;
    if (input[0] & 2) {
        stored.resize(vl::lzssHeaderSize);
        vl::lzssWriteHeader(stored.data(), {size, codeSize});
    }
    stored.insert(stored.end(), code, code + codeSize);
    if (scrambled)
        vl::scrambleArchiveBytes(stored.data(), stored.size(), seed);
    world.writeFile(archiveOf(stored, size, seed, scrambled ? 2 : 1));
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
