// The state of decoding one compressed archive entry piece by piece: what undoes its scrambling, and its LZSS
// decoder.
#pragma once

#include "file/archive_format.h"
#include "file/lzss.h"
#include "file/scramble.h"
#include "vl/file.h"

#include <cstdint>
#include <optional>

namespace vl {

class EntryDecoder {
  public:
    explicit EntryDecoder(const V_File::VASFileEntry &entry)
        : m_uOffset(entry.offset), m_uStoredSize(entry.storedSize), m_uSeed(entry.seed) {
        if (entry.method == V_File::METHOD_LZSS_SCRAMBLED)
            m_scrambler.emplace(archiveScramblerState(m_uSeed));
    }

    /// Makes the next stored bytes readable, in place: first the container's header, then its code.
    void unscramble(std::uint8_t *bytes, std::size_t size) {
        if (m_scrambler)
            m_scrambler->unscramble(bytes, bytes, size);
    }

    const std::uint32_t m_uOffset; ///< of the container in the archive
    const std::uint32_t m_uStoredSize;
    const std::uint32_t m_uSeed;
    LzssStreamDecoder m_lzss;
    bool m_bFailed = false; ///< damage was met; nothing that follows can be trusted

    bool isScrambled() const { return m_scrambler.has_value(); }

  private:
    std::optional<Scrambler> m_scrambler;
};

} // namespace vl
