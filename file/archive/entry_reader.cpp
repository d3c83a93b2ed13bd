// Reading one archived file (what is checked: entry_reader.h). Whole: one open, one read, and the decoding
// its method asks for. In pieces: packed bytes by the block, decoded as they are asked for.

#include "file/archive/entry_reader.h"

#include "core/counted.h"
#include "file/archive/archive_format.h"
#include "file/codec/lzss_container.h"

#include <algorithm>
#include <cstring>

namespace vl {

namespace {

bool isAllIn(std::uint64_t length, const V_File::VASFileEntry &entry) {
    return std::uint64_t{entry.offset} + entry.storedSize <= length;
}

} // namespace

void checkEntry(const Archive &archive, const V_File::VASFileEntry &entry,
                const platform::FileIdentity &opened, const char *name) {
    if (isAllIn(opened.length, entry) && opened != archive.identity)
        V_throw(V_FileException_ArchiveCorrupted(archive.archivePath));
    if (!sizesAgree(entry))
        V_throw(V_FileException_FileCorrupted(name));
}

EntryReader::EntryReader(const Archive &archive, const V_File::VASFileEntry &entry, const char *name)
    : m_file(archive.open()), m_entry(entry), m_strName(name) {
    if (!m_file)
        V_throw(V_FileException_ArchiveNotFound(archive.archivePath));
    if (isCompressed())
        expectAll();
    checkEntry(archive, m_entry, m_file.identity(), name);
}

void EntryReader::expectAll() const {
    if (!isAllIn(m_file.length(), m_entry))
        V_throw(V_FileException_UnableToReadData(m_strName));
}

void EntryReader::readAt(std::uint32_t position, std::uint8_t *out, std::uint32_t count) const {
    if (!m_file.read(std::uint64_t{m_entry.offset} + position, out, count))
        V_throw(V_FileException_UnableToReadData(m_strName));
}

unsigned int EntryReader::readWhole(void *buffer, unsigned int room) const {
    if (!isReadable())
        return 0;
    auto *const out = static_cast<std::uint8_t *>(buffer);
    const unsigned int count = std::min(m_entry.size, room);
    if (!isCompressed()) {
        readAt(0, out, count);
        return count;
    }
    const CountedArray<std::uint8_t> block(allocateArray<std::uint8_t>(m_entry.storedSize));
    readAt(0, block.get(), m_entry.storedSize);
    if (isScrambled())
        unscrambleArchiveBytes(block.get(), m_entry.storedSize, m_entry.seed);
    if (!isContainerOf(block.get(), m_entry))
        corrupted();

    CountedArray<std::uint8_t> whole; // where the buffer does not hold it
    if (count < m_entry.size)
        whole.reset(allocateArray<std::uint8_t>(m_entry.size));
    if (!lzssUnpack(block.get() + lzssHeaderSize, m_entry.storedSize - lzssHeaderSize,
                    whole ? whole.get() : out, m_entry.size))
        corrupted();
    if (whole)
        std::memcpy(out, whole.get(), count);
    return count;
}

EntryPieces::EntryPieces(EntryReader &&reader, unsigned int blockSize)
    : m_reader(std::move(reader)), m_uBlockSize(blockSize) {
    const V_File::VASFileEntry &entry = m_reader.m_entry;
    if (m_reader.isScrambled())
        m_scrambler.emplace(archiveScramblerState(entry.seed));
    std::uint8_t header[lzssHeaderSize];
    m_reader.readAt(0, header, sizeof header);
    unscramble(header, sizeof header);
    if (!isContainerOf(header, entry))
        m_reader.corrupted();
    m_uPackedDone = sizeof header;
    m_block.reset(allocateArray<std::uint8_t>(blockSize));
}

void EntryPieces::unscramble(std::uint8_t *bytes, std::size_t size) {
    if (m_scrambler)
        m_scrambler->unscramble(bytes, bytes, size);
}

void EntryPieces::refill() {
    const std::uint32_t left = m_reader.m_entry.storedSize - m_uPackedDone;
    if (left == 0)
        m_reader.corrupted();
    const std::uint32_t n = std::min(left, m_uBlockSize);
    m_reader.readAt(m_uPackedDone, m_block.get(), n);
    unscramble(m_block.get(), n);
    m_uPackedDone += n;
    m_uNext = 0;
    m_uHeld = n;
}

void EntryPieces::read(std::uint8_t *out, unsigned int n) {
    if (m_bFailed)
        m_reader.corrupted();
    m_bFailed = true; // until all has gone well
    for (unsigned int done = 0;;) {
        const auto progress = m_lzss.decode(m_block.get() + m_uNext, m_uHeld - m_uNext, out + done, n - done);
        m_uNext += static_cast<std::uint32_t>(progress.consumed);
        done += static_cast<unsigned int>(progress.produced);
        if (done == n)
            break;
        refill();
    }
    m_uDone += n;
    const bool more = m_uPackedDone != m_reader.m_entry.storedSize || m_uNext != m_uHeld;
    if (m_uDone == m_reader.size() && (more || !m_lzss.atItemBoundary()))
        m_reader.corrupted();
    m_bFailed = false;
}

} // namespace vl
