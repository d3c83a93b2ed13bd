// Writing a file piece by piece.
#pragma once

#include "vl/core/export.h"

#include <cstring>

namespace vl {
struct WrittenFile;
}

/// A file that is written where V_File::save would write it, creating directories as that does. Pieces are
/// gathered in a buffer. Unlike save, everything that fails is told: with V_FileException_OperationFailed,
/// which names the file and the system's reason; a file that would exceed 4294967295 bytes with
/// V_FileException_FileTooLarge.
///
///     V_FileWriter replay("replays\\com_11.bvr");
///     replay.write(&header, sizeof header);
///     ...
///     replay.seek(0); // the header, now that the number of frames is known
///     replay.write(&header, sizeof header);
///     replay.close(); // tells of a full disk; the destructor would not
class VL_API V_FileWriter {
  public:
    /// What becomes of a file that is there.
    enum Mode {
        CREATE, ///< it is emptied; a missing one is made
        APPEND, ///< it stays, and writing begins behind its end; a missing one is made
        UPDATE, ///< it stays, and writing begins at its start; there must be one
        /// It stays as it is until commit: the new bytes go to a file beside it, called `~` and numbers and
        /// `.new`, that then takes its place. Whoever reads, also after a crash, finds the old file or the
        /// new one, never a part. Without commit nothing has changed.
        REPLACE
    };

    /// Opens the file. Throws V_FileException_OperationFailed, V_FileException_OutsideWriteDirectory,
    /// V_MemoryException_Allocation and what resolving the name throws.
    explicit V_FileWriter(const char *name, Mode mode = CREATE);
    /// Closes the file, as close does it, but is silent about what fails.
    ~V_FileWriter();
    V_FileWriter(const V_FileWriter &) = delete;
    V_FileWriter &operator=(const V_FileWriter &) = delete;

    /// Writes at the position and moves on. When that fails, what was written before stays in the buffer for
    /// the next attempt, and of this piece has been written what the position tells.
    void write(const void *data, unsigned int size) {
        // The short way: there is room in the buffer.
        if (size < m_uRoom) {
            std::memcpy(m_pNext, data, size);
            m_pNext += size;
            m_uRoom -= size;
        } else {
            writeSlowly(data, size);
        }
    }

    /// Moves to a position in bytes from the start. Behind the end nothing is written yet; a write there
    /// fills the gap with zeros.
    void seek(unsigned int position);
    /// The position in bytes from the start.
    unsigned int getPosition() const;
    /// The size in bytes, with what is still in the buffer.
    unsigned int getSize() const;

    /// Cuts the file, or makes it longer with zeros; the position stays.
    void truncate(unsigned int size);

    /// Hands what is in the buffer to the system, so that others can read it.
    void flush();
    /// Hands everything to the disk itself and, with REPLACE, puts the file in its place and closes it.
    void commit();
    /// Flushes and closes; with REPLACE, without commit, it gives the new bytes up. The file is closed in any
    /// case; a closed one takes no more and closes again without effect.
    void close();

  private:
    void writeSlowly(const void *data, unsigned int size);
    VL_LOCAL void requireOpen(const char *action) const;
    VL_LOCAL unsigned int held() const;
    VL_LOCAL void restart(unsigned int heldBytes);

    vl::WrittenFile *m_pFile; ///< owned
    unsigned char *m_pNext = nullptr;
    unsigned int m_uRoom = 0; ///< in the buffer; 0 without a file
};
