// Reads one entry of an archive, whole or piece by piece. The sizes in the archive's tables, those in a
// container, the length of the file and the bytes in hand are all checked against each other before any of
// them is trusted, and so is that the file is still the one that was loaded.
#pragma once

#include "core/counted.h"
#include "file/archive/archive.h"
#include "file/archive/archive_format.h"
#include "file/codec/lzss.h"
#include "file/codec/scramble.h"
#include "file/read_file.h"

#include <cstdint>
#include <optional>
#include <utility>

namespace vl {

/// Checks, of an archive that was just opened, that it is still the file that was loaded and that the entry's
/// sizes agree. `name` is what messages call the entry. One that was cut short passes: it tells so where it
/// ends. Throws V_FileException_ArchiveCorrupted and V_FileException_FileCorrupted.
void checkEntry(const Archive &archive, const V_File::VASFileEntry &entry,
                const platform::FileIdentity &opened, const char *name);

class EntryReader {
  public:
    /// Opens the archive. `name` is what messages call the entry; it must live as long as the reader. Throws
    /// V_FileException_ArchiveNotFound when the archive has vanished, V_FileException_UnableToReadData when
    /// it is too short to hold a compressed entry, V_FileException_ArchiveCorrupted when another file has
    /// taken its place, and V_FileException_FileCorrupted when the entry's sizes contradict each other.
    EntryReader(const Archive &archive, const V_File::VASFileEntry &entry, const char *name);
    /// The same of what a lookup found.
    EntryReader(const V_File::V_VASFind &found, const char *name)
        : EntryReader(static_cast<const Archive &>(*found.archive), *found.file, name) {}

    /// Unpacked, in bytes.
    unsigned int size() const { return m_entry.size; }
    bool isCompressed() const { return vl::isCompressed(m_entry); }
    /// Whether the method is one that can be read; an entry of another one gives nothing.
    bool isReadable() const { return m_entry.method == V_File::METHOD_STORED || isCompressed(); }

    /// Throws V_FileException_UnableToReadData when the archive is too short to hold the entry: to be called
    /// before memory is taken for all of it.
    void expectAll() const;

    /// Writes the first `room` bytes of the entry, all if it has fewer, to `out`, and returns how many that
    /// are. Throws V_FileException_UnableToReadData, V_FileException_FileCorrupted and
    /// V_MemoryException_Allocation; `out` may be partly written then.
    unsigned int readWhole(void *out, unsigned int room) const;

    const V_File::VASFileEntry &entry() const { return m_entry; }
    /// Hands over the open archive, in which the bytes of a stored entry begin at its offset.
    ReadFile takeFile() && { return std::move(m_file); }

  private:
    friend class EntryPieces;

    bool isScrambled() const { return m_entry.method == V_File::METHOD_LZSS_SCRAMBLED; }
    void readAt(std::uint32_t position, std::uint8_t *out, std::uint32_t count) const;
    [[noreturn]] void corrupted() const { V_throw(V_FileException_FileCorrupted(m_strName)); }

    ReadFile m_file;
    V_File::VASFileEntry m_entry; ///< a copy: the archive may be unloaded meanwhile
    const char *m_strName;
};

/// A compressed entry while it is decoded from its beginning on, piece by piece.
class EntryPieces {
  public:
    /// Reads and checks the container's header; packed bytes are to be read in blocks of `blockSize`. Throws
    /// as EntryReader::readWhole.
    EntryPieces(EntryReader &&reader, unsigned int blockSize);

    /// Writes the next `n` bytes of the entry, which has so many left, to `out`. Throws as
    /// EntryReader::readWhole; whatever is read after damage was met throws, too.
    void read(std::uint8_t *out, unsigned int n);

    /// The reader, to which all of the entry is still open.
    const EntryReader &reader() const { return m_reader; }

  private:
    void unscramble(std::uint8_t *bytes, std::size_t size);
    void refill();

    EntryReader m_reader;
    std::uint32_t m_uBlockSize;
    CountedArray<std::uint8_t> m_block; ///< packed bytes, unscrambled
    std::uint32_t m_uNext = 0;          ///< the first of them that is not decoded yet
    std::uint32_t m_uHeld = 0;          ///< how many there are
    std::uint32_t m_uPackedDone = 0;    ///< stored bytes read from the archive
    std::uint32_t m_uDone = 0;          ///< unpacked bytes delivered
    bool m_bFailed = false;             ///< damage was met; nothing that follows can be trusted
    std::optional<Scrambler> m_scrambler;
    LzssStreamDecoder m_lzss;
};

} // namespace vl
