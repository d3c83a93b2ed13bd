// The kinds of memory file: what each does where the short ways through the window do not lead.
//
// A memory file shows a window of its bytes: from position m_uFlushed on they lie at m_pData, up to
// m_uReadEnd they are read there and up to m_uRoomEnd written. A kind gets and puts what the window lacks. It
// is an object without state; a file's state is its own.
//
//   Unbuilt         nothing
//   Held            in memory, for reading: loaded, copied, or the memory of a caller
//   Growing         in memory, for writing
//   WrittenThrough  to a file on disk; the window holds what has not gone there
//   Streamed        from a V_FileStream; the window runs ahead of the position
#pragma once

#include "core/counted.h"
#include "vl/memoryfile.h"

#include <memory>

namespace vl {

struct ReleaseBlock {
    void operator()(unsigned char *block) const { V_REALLOCATE_DELETE(block); }
};
/// Owns a buffer of a memory file.
using Block = std::unique_ptr<unsigned char, ReleaseBlock>;

constexpr unsigned int largestBlock = 0x7FFFFFFF;

/// Throws V_MemoryException_Allocation.
Block newBlock(unsigned int size);
Block copyOf(const void *data, unsigned int size, unsigned int blockSize);

} // namespace vl

/// What files in memory do; the kinds override where they differ.
class VL_LOCAL V_MemoryFile::Kind {
  public:
    /// Throws V_MemoryFileException_IllegalCall when files of this kind are not read.
    virtual void requireReading(const V_MemoryFile &) const {}

    /// Reads `count` bytes, which the window does not hold or are none, and moves the position behind them.
    virtual void read(V_MemoryFile &file, void *destination, unsigned int count) const;

    /// Writes a short `head` and the data behind it where the window has no room for both, and moves the
    /// position.
    virtual void write(V_MemoryFile &file, const void *head, unsigned int headSize, const void *data,
                       unsigned int size) const;

    /// Goes to a position inside the file.
    virtual void moveTo(V_MemoryFile &file, unsigned int place) const;

    /// Writes 4 bytes over earlier ones.
    virtual void patch(V_MemoryFile &file, unsigned int place, const unsigned char (&bytes)[4]) const;

    /// Builds `chunk` over the bytes from `payload` on. It may hold this very file, which is used no more
    /// then.
    virtual void view(V_MemoryFile &file, unsigned int payload, const ChunkHeader &header,
                      Chunk &chunk) const;

    /// The bytes of a copy: a block, a stream, or neither where it shares the memory of a caller.
    virtual void copy(const V_MemoryFile &file, bool shares, vl::Block &block,
                      vl::CountedObject<V_FileStream> &stream) const;

    /// Before the file lets go of all it holds.
    virtual void finish(V_MemoryFile &) const {}

    const Mode m_eMode;
    const AccessMethod m_eAccessMethod;

  protected:
    constexpr Kind(Mode mode, AccessMethod method) : m_eMode(mode), m_eAccessMethod(method) {}
    ~Kind() = default;
};

class VL_LOCAL V_MemoryFile::Unbuilt final : public Kind {
  public:
    static const Unbuilt kind;
    constexpr Unbuilt() : Kind(MODE_NONE, AM_DEFAULT) {}
};

class VL_LOCAL V_MemoryFile::Held final : public Kind {
  public:
    static const Held kind;
    constexpr Held() : Kind(MODE_READ, AM_MEMORY) {}
};

class VL_LOCAL V_MemoryFile::Growing final : public Kind {
  public:
    static const Growing kind;
    constexpr Growing() : Kind(MODE_WRITE, AM_MEMORY) {}

    void write(V_MemoryFile &file, const void *head, unsigned int headSize, const void *data,
               unsigned int size) const override;
};

class VL_LOCAL V_MemoryFile::WrittenThrough final : public Kind {
  public:
    static const WrittenThrough kind;
    constexpr WrittenThrough() : Kind(MODE_WRITE, AM_STREAM) {}

    void requireReading(const V_MemoryFile &file) const override;
    void read(V_MemoryFile &file, void *destination, unsigned int count) const override;
    void write(V_MemoryFile &file, const void *head, unsigned int headSize, const void *data,
               unsigned int size) const override;
    void moveTo(V_MemoryFile &file, unsigned int place) const override;
    void patch(V_MemoryFile &file, unsigned int place, const unsigned char (&bytes)[4]) const override;
    void copy(const V_MemoryFile &file, bool shares, vl::Block &block,
              vl::CountedObject<V_FileStream> &stream) const override;
    void finish(V_MemoryFile &file) const override;

  private:
    static void writePiece(V_MemoryFile &file, const void *data, unsigned int size);
    static void flush(V_MemoryFile &file);
    static void emptyWindow(V_MemoryFile &file);
    static void writeToDisk(V_MemoryFile &file, const void *data, unsigned int count);
    [[noreturn]] static void fail(V_MemoryFile &file);
};

class VL_LOCAL V_MemoryFile::Streamed final : public Kind {
  public:
    static const Streamed kind;
    constexpr Streamed() : Kind(MODE_READ, AM_STREAM) {}

    void read(V_MemoryFile &file, void *destination, unsigned int count) const override;
    void moveTo(V_MemoryFile &file, unsigned int place) const override;
    void view(V_MemoryFile &file, unsigned int payload, const ChunkHeader &header,
              Chunk &chunk) const override;
    void copy(const V_MemoryFile &file, bool shares, vl::Block &block,
              vl::CountedObject<V_FileStream> &stream) const override;

  private:
    static void fill(V_MemoryFile &file);
    static void loadWhole(V_MemoryFile &file);
};
