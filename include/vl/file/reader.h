// Reading any file from any position.
#pragma once

#include "vl/core/export.h"

#include <cstring>

namespace vl {
struct ReadSource;
}

/// A file of the name space, loose or archived, stored or compressed, that is read and sought in alike. A
/// loose or stored file is read through a window of 128 KiB; of a compressed one all is unpacked at the first
/// read, since its bytes can only be told in order, and lies in memory as long as the reader. It goes on
/// reading when the archive is unloaded. V_FileStream, beside it, decodes compressed files as they are read
/// and refuses to seek in them.
class VL_API V_FileReader {
  public:
    /// Opens a file. Throws V_FileException_FileNotFound and what opening an archived file throws, see
    /// V_File::load.
    explicit V_FileReader(const char *name);
    ~V_FileReader();
    V_FileReader(const V_FileReader &) = delete;
    V_FileReader &operator=(const V_FileReader &) = delete;

    /// Reads up to `count` bytes, moves on, and returns how many there were: fewer only at the end. Throws
    /// V_FileException_UnableToReadData when the file has become shorter, V_FileException_FileCorrupted when
    /// archived data is damaged, and V_MemoryException_Allocation.
    unsigned int read(void *out, unsigned int count) {
        // The short way: all of it lies in the window.
        if (count < m_uAhead) {
            std::memcpy(out, m_pNext, count);
            m_pNext += count;
            m_uAhead -= count;
            return count;
        }
        return readSlowly(out, count);
    }

    /// Moves to a position in bytes from the start; behind the end it is the end.
    void seek(unsigned int position);
    /// The position in bytes from the start.
    unsigned int getPosition() const;
    /// The size in bytes, unpacked.
    unsigned int getSize() const;
    /// Whether all has been read.
    bool isEnd() const { return getPosition() == getSize(); }
    /// The name as it was given. Valid as long as the reader.
    const char *getName() const;

  private:
    unsigned int readSlowly(void *out, unsigned int count);
    VL_LOCAL void show(unsigned int start, unsigned int position, unsigned int size);

    vl::ReadSource *m_pSource; ///< owned
    const unsigned char *m_pNext = nullptr;
    unsigned int m_uAhead = 0; ///< in the window
};
