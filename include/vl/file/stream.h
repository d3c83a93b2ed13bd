// Streams: files read piece by piece.
//
// A name is resolved and looked up as V_File::load does it: on disk, then in the active archives. The stream
// covers the whole file; streams over a part of another stream (sub-streams) share its open file.
//
// Streams that share a file belong to one thread.
#pragma once

#include "vl/core/export.h"

#include <cstdint>
#include <cstring>

namespace vl {
struct FoundFile;
class Lookup;
class StreamBackEnd;
namespace platform {
class UnbufferedFile;
}
} // namespace vl

/// Reads a file on disk or in an archive through a buffer. An entry that is stored compressed (scrambled or
/// not) is decoded as it is read: such a stream only moves forward and cannot be shared.
class VL_API V_FileStream {
  public:
    /// What an offset is counted from.
    enum SeekMode {
        SM_BEGIN = 0,   ///< from the first byte
        SM_CURRENT = 1, ///< from the position, modulo 2^32: 0xFFFFFFFF moves back by one
        SM_END = 2      ///< back from the end
    };

    /// Opens a file. `bufferSize` is the number of bytes read at once, for a compressed entry of packed ones;
    /// 0 or less means 8192. Throws V_FileException_FileNotFound with the path on disk,
    /// V_FileException_ArchiveNotFound when the archive has vanished, V_FileException_UnableToReadData when
    /// its length cannot be told or the archive does not hold all of a compressed entry,
    /// V_FileException_FileTooLarge for a file on disk of 4 GiB or more, and V_FileException_FileCorrupted
    /// when an entry's sizes contradict each other or its method is unknown.
    V_FileStream(const char *name, int bufferSize);

    /// A sub-stream: `size` bytes of `source` from its position `offset` on, cut to what `source` covers. A
    /// negative offset counts as 0, a negative size as source.size(). It starts where `source` stands when
    /// offset or size is -1 (so without either it is a copy), otherwise at its first byte. Of an unbuffered
    /// stream it opens the file anew, with a buffer of 8192 bytes, and may then throw
    /// V_FileException_FileNotFound. A compressed stream throws
    /// V_FileException_CannotCopyCompressedFileStream.
    V_FileStream(const V_FileStream &source, int offset = -1, int size = -1);

    /// Lets go of the file and becomes a copy of `source`, as the constructor does it; an exception leaves it
    /// as it was. Assignment to itself does nothing. An unbuffered stream known by this base cannot become a
    /// buffered one and throws V_FileException_FileNotAStream.
    V_FileStream &operator=(const V_FileStream &source);

    /// The last stream that shares a file closes it.
    virtual ~V_FileStream();

    /// Moves the position; what lies outside the stream becomes its first byte or its end. Returns 0. A
    /// compressed stream throws V_FileException_CannotSeekCompressedFileStream.
    virtual int seek(unsigned int offset, SeekMode mode);

    /// Bytes from the start of the stream.
    virtual unsigned int getPosition() const { return position - start; }

    /// Bytes that the stream covers, unpacked.
    virtual unsigned int size() const { return end - start; }

    /// The path of the file that was opened: the file on disk, or the archive. Valid as long as the stream.
    virtual const char *getName() const;

    /// Reads up to `n` bytes and returns how many there were: fewer only at the end. Throws
    /// V_FileException_UnableToReadData when the file is shorter than it was when it was opened, and
    /// V_FileException_FileCorrupted when a compressed entry ends too early or goes on behind its last byte.
    /// After an exception the position is unchanged; a compressed stream then throws whatever is read next.
    virtual unsigned int read(void *out, unsigned int n) {
        // The short way: all of it lies in the buffer, which serves this stream.
        if (shared && shared->owner == this && n - 1 < static_cast<unsigned int>(shared->count) &&
            n <= end - position) {
            std::memcpy(out, shared->readPtr, n);
            shared->readPtr += n;
            shared->count -= static_cast<int>(n);
            position += n;
            return n;
        }
        return readSlowly(out, n);
    }

  protected:
    friend class V_MemoryFile;

    /// What the streams over one file share.
    struct Shared {
        int refCount;               ///< streams that share it
        char *name;                 ///< owned, as the client gave it
        char *sourcePath;           ///< owned
        vl::StreamBackEnd *backEnd; ///< owned; null for unbuffered streams, which have a file each
        unsigned char *buffer;      ///< owned
        unsigned char *readPtr;     ///< the next byte to hand out
        unsigned int bufferStart;   ///< file position of the buffer's first byte
        unsigned int capacity;      ///< of the buffer, in bytes
        int count;                  ///< bytes from readPtr on
        bool compressed;            ///< the file is a compressed entry of an archive; nothing is buffered
        V_FileStream *owner;        ///< the stream that the buffer serves
    };

    /// A part of a stream, in bytes from its start.
    struct Region {
        unsigned int offset; ///< in bytes
        unsigned int size;   ///< in bytes
    };

    /// Covers nothing.
    V_FileStream() = default;

    /// Opens a file that was looked up, as the public constructor does it. Throws the same.
    VL_LOCAL V_FileStream(const char *name, const vl::Lookup &lookup, vl::FoundFile &&found, int bufferSize);

    /// Whether it reads a compressed entry of an archive.
    bool isCompressed() const { return shared && shared->compressed; }

    /// Delivers all of a compressed entry, wherever the stream stands, and leaves it there. Throws as read.
    VL_LOCAL void readWhole(void *out);

    /// The position that a seek leads to, cut to the stream.
    VL_LOCAL unsigned int target(unsigned int offset, SeekMode mode) const;
    /// Covers a region of `source`, cut to it.
    VL_LOCAL void cover(const V_FileStream &source, int offset, int size);
    VL_LOCAL void cover(const V_FileStream &source, Region region);
    VL_LOCAL void release();

    /// Making and freeing what the streams over one file share.
    VL_LOCAL static Shared *newShared(const char *name, const char *sourcePath);
    VL_LOCAL static void deleteShared(Shared *state);

    unsigned int start = 0;    ///< where in the file the stream begins
    unsigned int position = 0; ///< where in the file it stands
    unsigned int end = 0;      ///< where in the file it ends
    Shared *shared = nullptr;  ///< null while it covers nothing

  private:
    VL_LOCAL void open(const char *name, const vl::Lookup &lookup, vl::FoundFile &&found, int bufferSize);
    VL_LOCAL void openEntry(const vl::FoundFile &found, unsigned int bufferSize);
    VL_LOCAL void allocateBuffer(unsigned int size);
    VL_LOCAL void share(const V_FileStream &source);
    unsigned int readSlowly(void *out, unsigned int n);
    VL_LOCAL void takeOver();
    VL_LOCAL void pointInto(unsigned int place);
    VL_LOCAL void fill();
};

/// Reads whole sectors past the system's cache: a file on disk, or an archive entry that is stored as it is.
/// Where the file system offers no such reading, ordinary reads serve.
class VL_API V_UnbufferedFileStream : public V_FileStream {
  public:
    /// Opens a file. `bufferSize` is rounded up to whole sectors; 0 or less means 8192. Throws as
    /// V_FileStream does, and V_FileException_FileNotAStream with the resolved path for a compressed entry.
    V_UnbufferedFileStream(const char *name, int bufferSize);

    /// A sub-stream, as of V_FileStream, with a block of its own; opens the file anew and throws
    /// V_FileException_FileNotFound when that fails.
    V_UnbufferedFileStream(const V_UnbufferedFileStream &source, int offset = -1, int size = -1);
    V_UnbufferedFileStream &operator=(const V_UnbufferedFileStream &source);
    ~V_UnbufferedFileStream() override;

    int seek(unsigned int offset, SeekMode mode) override;

    /// As V_FileStream::read, but throws V_FileException_OverreadingStream when the file ends too early.
    unsigned int read(void *out, unsigned int n) override;

  private:
    V_UnbufferedFileStream() = default;
    VL_LOCAL void openEntry(const char *name, const vl::Lookup &lookup, const vl::FoundFile &found);
    VL_LOCAL void allocateBlock();
    VL_LOCAL void moveTo(unsigned int newPosition);

    vl::platform::UnbufferedFile *handle = nullptr;
    unsigned int sectorSize = 0;
    unsigned int blockSize = 0;
    unsigned char *block = nullptr;    ///< in rawBlock, at a sector's boundary
    unsigned char *rawBlock = nullptr; ///< owned
    unsigned int skip = 0;             ///< bytes of the next block that lie before the position
    unsigned int readIndex = 0;
    unsigned int valid = 0;      ///< bytes in block
    bool atEnd = false;          ///< the file ends in block
    std::uint64_t nextBlock = 0; ///< where in the file the next block begins
};
