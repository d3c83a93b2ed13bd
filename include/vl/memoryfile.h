// Memory files: the engine's binary data files. A memory file is a run of bytes with a position, into which
// tagged values (vl/memoryfile/operators.h) and nested chunks are written, and from which they are read back.
//
//     V_MemoryFile out;                                   V_MemoryFile in("a.dat", V_MemoryFile::AM_DEFAULT);
//     out.createChunk(7, 1);                              V_MemoryFile::Chunk chunk = in.peekChunk();
//     out << 5 << 1.0f << "wheel";                        int count; float size; V_String name;
//     out.closeChunk();                                   if (chunk.isValid() && chunk.getID() == 7)
//     out.save("a.dat");                                      chunk.getMemoryFile() >> count >> size >> name;
//                                                         in.skipChunk();
//
// A file is built in one of five ways, by its constructors or, anew, by construct:
//
//   for writing  in memory; save and append hand the bytes to the file system
//                written through to a file on disk, with only the last part of it in memory
//   for reading  from a file on disk or in an archive, loaded whole or, when large, streamed
//                from a region of an open V_FileStream, streamed
//                from memory of the caller, copied or used where it is
//
// What a file does not offer is refused with V_MemoryFileException_IllegalCall and changes nothing: writing
// to a file built for reading; on a write-through file reading, toRead, save, append, copying it and seeking
// to what has gone to disk already; save and append of a streamed file; a negative count.
// Sizes and positions are in bytes and 32 bits wide; a buffer in memory holds at most 2147483647.
// Every function that allocates may throw V_MemoryException_Allocation; it has then changed nothing, except
// that construct leaves an empty file.
//
// A memory file is used by one thread at a time.
#pragma once

#include "vl/core/export.h"
#include "vl/core/string.h"
#include "vl/file/stream.h"
#include "vl/math.h"
#include "vl/memoryfile/exception.h"
#include "vl/memoryfile/tags.h"

#include <cstdint>
#include <cstdio>
#include <cstring>
#include <vector>

/// A file in memory: bytes, a position, tagged values and chunks.
class VL_API V_MemoryFile {
  public:
    class Chunk;

    /// How the bytes are held.
    enum AccessMethod {
        AM_DEFAULT = 0, ///< as an argument: the static default
        AM_MEMORY = 1,  ///< all in memory
        AM_STREAM = 2   ///< pulled from a stream, or pushed to a file, as needed
    };

    /// What an offset is counted from.
    enum SeekMode {
        SM_BEGIN = 0,   ///< from the first byte
        SM_CURRENT = 1, ///< from the position
        SM_END = 2      ///< back from the end
    };

    /// The tag bytes: those of vl/memoryfile/tags.h. 28 to 37 are free for types of clients.
    enum BasicType {
#define VL_TAG(tag, byte, ...) tag = byte,
        VL_MEMORY_FILE_TAGS(VL_TAG, VL_TAG, VL_TAG)
#undef VL_TAG
    };

    /// What follows the marker byte of a chunk.
    struct ChunkHeader {
        unsigned int identifier; ///< what the chunk holds, the client's choice
        unsigned int version;    ///< likewise
        unsigned int size;       ///< from the marker to the end of the payload: CHUNK_HEADER_SIZE + payload
    };

    /// Bytes of a chunk before its payload: the marker and the ChunkHeader.
    static constexpr unsigned int CHUNK_HEADER_SIZE = 13;

    /// Files of this size or more are streamed when AM_STREAM is asked for; it is also the size of the read
    /// buffer then.
    static constexpr unsigned int STREAM_SIZE = 262144;

    /// Bytes of the first buffer of a file that is to be written, unless told otherwise.
    static constexpr unsigned int DEFAULT_CAPACITY = 8192;

    // ---- Construction --------------------------------------------------------------------------------

    /// An empty file for writing in memory. Nothing is allocated before the first write; the buffer then
    /// grows from `capacity` bytes by doubling. A capacity of 0 counts as DEFAULT_CAPACITY.
    explicit V_MemoryFile(unsigned int capacity = DEFAULT_CAPACITY);

    /// An empty write-through file: what is written goes to the file `fileName` (a path of the operating
    /// system, relative to the process's current directory), created or emptied now, with at most
    /// `capacity` bytes pending in memory. It is complete once destruct or the destructor has run; see
    /// hasWriteFailed. Throws V_MemoryFileException_UnableToOpenFileForWrite.
    V_MemoryFile(unsigned int capacity, const char *fileName);

    /// A file for reading, from `fileName` as the file system resolves it. With AM_STREAM a file of
    /// STREAM_SIZE bytes or more is streamed; otherwise it is loaded whole. A compressed archive entry is
    /// decoded as it is read in order; where it is read in another order or its chunks are opened, which its
    /// stream cannot do, the memory file loads it whole at that moment and goes on in memory.
    /// Throws what V_File::size, V_File::load and V_FileStream throw.
    V_MemoryFile(const char *fileName, AccessMethod method);

    /// A file for reading over `size` bytes of the caller, copied, or used where they are: they must then
    /// stay valid and unchanged as long as the file is used.
    V_MemoryFile(const void *data, unsigned int size, bool copy);

    /// A streamed file for reading: `size` bytes of `stream` from its position `offset` on, cut to what the
    /// stream has (a negative size: all of that). Carries the stream's name. Throws what the copy
    /// constructor of V_FileStream throws: compressed streams cannot be shared.
    V_MemoryFile(const V_FileStream &stream, int offset, int size);

    /// A copy with its own buffer or stream; over memory of a caller, a second file over the same memory.
    /// A write-through file is refused with V_MemoryFileException_IllegalCall.
    V_MemoryFile(const V_MemoryFile &other);
    V_MemoryFile &operator=(const V_MemoryFile &) = delete;

    /// As destruct.
    ~V_MemoryFile();

    /// Release what the file holds and build it anew, as the constructor with the same arguments. Arguments
    /// may belong to this file: they are used before they are released, and bytes of its own buffer are
    /// copied even where the memory of a caller is not. Any exception leaves an empty file. When finishing
    /// an earlier write-through file fails, construct throws V_MemoryFileException_UnableToWriteData and
    /// does not build the new one.
    void construct(unsigned int capacity);
    void construct(unsigned int capacity, const char *fileName);
    void construct(const char *fileName, AccessMethod method);
    void construct(const void *data, unsigned int size, bool copy);
    void construct(const V_FileStream &stream, int offset, int size);
    void construct(const V_MemoryFile &other);

    /// Writes what is pending to the file of a write-through file and closes it, releases everything and
    /// leaves an empty file that is neither read nor written; the name stays. May be called repeatedly.
    void destruct();

    /// Whether the disk refused a part of the write-through file that this object is, or was until
    /// destruct: the file on disk is then incomplete. Reset by construct.
    bool hasWriteFailed() const { return m_bWriteFailed; }

    /// The access method that AM_DEFAULT stands for, AM_MEMORY at start; a plain process-wide variable.
    static void setDefaultAccessMethod(AccessMethod method);
    static AccessMethod getDefaultAccessMethod();

    // ---- Bytes ---------------------------------------------------------------------------------------

    /// Writes `count` bytes at the position, over what is there or behind the end. A write-through file
    /// throws V_MemoryFileException_UnableToWriteData when the disk does not take what has to go there;
    /// from then on it accepts no more.
    void write(const void *source, int count);

    /// Reads `count` bytes at the position. Throws V_MemoryFileException_Overreading when fewer are left,
    /// and what V_FileStream::read throws; the position is then unchanged.
    void read(void *destination, int count);

    /// Moves the position. Throws V_MemoryFileException_SeekOutOfRange for a position before the first byte
    /// or behind the last; the position is then unchanged. A mode that is none changes nothing.
    void seek(int offset, SeekMode mode);

    /// Turns a file that was written in memory to its beginning, to be read. It may be written again later.
    void toRead();

    /// The buffer: the bytes of a file in memory, or what of a write-through file has not gone to disk; null
    /// for a streamed file and before the first write. Valid until the next write or construct.
    const void *getAddress() const { return m_pStream ? nullptr : m_pData; }
    unsigned int getPosition() const { return m_uPosition; }
    unsigned int getSize() const { return m_uPosition > m_uSize ? m_uPosition : m_uSize; }

    /// The name that exceptions quote, and that save and append use when they are given none.
    void setFilename(const char *fileName);
    const char *getFilename() const { return m_strFilename.c_str(); }

    /// V_File::save and V_File::append of all bytes. 1 does NOT tell that all is on disk, only that the file
    /// could be opened: a disk that is full leaves a shorter file, and what was there before is gone. Compare
    /// V_File::size with getSize where that matters. 0 when nothing was written: the file cannot be opened
    /// or, by V_File::setOverride, an existing one is not replaced. A chunk that is still open is saved with
    /// a size of 0, which its readers take for damage.
    int save(const char *fileName) const;
    int save() const;
    int append(const char *fileName) const;
    int append() const;

    // ---- Tags ----------------------------------------------------------------------------------------

    /// Whether the operators write a tag before each value and expect it there. On after every construction
    /// but that of a copy, which takes the setting over. Without tags nothing that is read is verified.
    void enableTags(bool enable) { m_bTagsEnabled = enable; }
    void disableTags() { m_bTagsEnabled = false; }
    bool areTagsEnabled() const { return m_bTagsEnabled; }

    // ---- Chunks --------------------------------------------------------------------------------------

    /// Begins a chunk at the position: a header of 13 bytes, tags or not, and then whatever is written until
    /// its closeChunk. Chunks nest like brackets.
    void createChunk(unsigned int id, unsigned int version);

    /// Ends the innermost open chunk at the position and writes its size into its header. Throws
    /// V_MemoryFileException_IllegalCall, and the chunk stays open, when none is open or the position lies
    /// before its payload; for a write-through file also what write throws.
    void closeChunk();

    /// The chunk at the position, which does not move. `id` is not compared: ask getID(). Throws
    /// V_MemoryFileException_DataError when there is none (the position is then one byte further) and when
    /// its size is less than its header or more than what is left; V_MemoryFileException_Overreading when
    /// its header is cut short.
    void openChunk(Chunk &chunk, unsigned int id);
    Chunk openChunk(unsigned int id);

    /// As openChunk, but where no chunk is (no marker, or fewer than two bytes left) the result is invalid.
    /// After a header that is cut short the position is one byte further. After an exception `chunk` is
    /// invalid.
    void peekChunk(Chunk &chunk);
    Chunk peekChunk();

    /// Moves the position behind the chunk at the position; where none is, does nothing. Throws
    /// V_MemoryFileException_SeekOutOfRange when the chunk reaches beyond the data,
    /// V_MemoryFileException_DataError when its size is less than its header and
    /// V_MemoryFileException_Overreading when its header is cut short.
    void skipChunk();

  protected:
    /// All numbers 0, all pointers null, all flags false but that for tags; nothing is released.
    void initializeMembers();

    /// For operators of clients' own types. With tags off the tag is neither written nor read.
    void writeTag(BasicType type);
    void writeTagged(BasicType type, const void *data, int size);
    /// Throw V_MemoryFileException_DataError, behind the byte, when it is not the tag of `type`.
    void readTag(BasicType type);
    void readTagged(BasicType type, void *data, int size);

  private:
    enum Mode { MODE_NONE = 0, MODE_READ = 1, MODE_WRITE = 2 };

#define VL_OPERATORS(tag, byte, name, Type, ...)                                                             \
    friend V_MemoryFile &operator<<(V_MemoryFile &file, const Type &value);                                  \
    friend V_MemoryFile &operator>>(V_MemoryFile &file, Type &value);
#define VL_NOTHING(tag, byte)
    VL_MEMORY_FILE_TAGS(VL_OPERATORS, VL_OPERATORS, VL_NOTHING)
    VL_OPERATORS(BT_STRING, 13, "string", V_StringI)
#undef VL_OPERATORS
#undef VL_NOTHING
    friend V_MemoryFile &operator<<(V_MemoryFile &file, const char *text);

    // What differs between the kinds of file (memoryfile/kinds.h)
    class VL_LOCAL Kind;
    class VL_LOCAL Unbuilt;
    class VL_LOCAL Held;
    class VL_LOCAL Growing;
    class VL_LOCAL WrittenThrough;
    class VL_LOCAL Streamed;

    // Construction (memoryfile/construction.cpp)
    VL_LOCAL void startOver();
    VL_LOCAL void become(const Kind &kind);
    VL_LOCAL void loadFile(AccessMethod method);
    VL_LOCAL bool ownsBytes(const void *data) const;
    VL_LOCAL void constructRegion(const V_FileStream &stream, unsigned int offset, unsigned int size);

    // Bytes (memoryfile/memoryfile.cpp)
    [[noreturn]] void refuse(const char *action) const;
    void writeTogether(const void *head, unsigned int headSize, const void *data, unsigned int size);
    VL_LOCAL void put(const void *head, unsigned int headSize, const void *data, unsigned int size);
    VL_LOCAL void setWindow(unsigned char *data, unsigned int begin, unsigned int readEnd);
    VL_LOCAL void grow(std::uint64_t size);
    VL_LOCAL void updateRoom();
    VL_LOCAL const void *allBytes(const char *action) const;

    // Tagged values (memoryfile/tagged_values.cpp)
    void writeIntegerSlowly(unsigned int value, unsigned int extraBytes, unsigned int tag);
    unsigned int readIntegerSlowly(unsigned int longTag, unsigned int compactBase, bool isSigned);
    void writeTextSlowly(const char *text, std::size_t length);
    unsigned int readTextLength();

    // Chunks (memoryfile/chunks.cpp)
    VL_LOCAL bool readChunkHeader(ChunkHeader &header, bool required);
    VL_LOCAL bool chunkReachesBeyondEnd(const ChunkHeader &header) const;
    VL_LOCAL void buildChunk(Chunk &chunk, const ChunkHeader &header);

    // The short way of the operators (vl/memoryfile/operators.h): straight to the window.
    bool hasRoomFor(unsigned int count) const;
    unsigned char *windowAhead() const {
        // The origin may lie outside of the buffer, where a pointer must not be; and one sum is the fastest.
        // NOLINTNEXTLINE(performance-no-int-to-ptr)
        return reinterpret_cast<unsigned char *>(m_uOrigin + m_uPosition);
    }
    bool isAhead(unsigned int count) const;
    template <unsigned int UNIT, unsigned int COUNT>
    void writeValue(BasicType type, const void *data);
    template <unsigned int UNIT, unsigned int COUNT>
    void readValue(BasicType type, void *data);
    static constexpr unsigned int SHORT_TEXT_TAGS = BT_STRING | BT_INT8 << 8; ///< low byte first
    template <unsigned int SHIFT>
    static unsigned int extraBytesOf(unsigned int magnitude);
    template <unsigned int SHIFT>
    void writeInteger(unsigned int value, unsigned int magnitude, BasicType longTag,
                      unsigned int compactBase);
    template <class Integer>
    void readInteger(Integer &value, BasicType longTag, unsigned int compactBase);
    template <bool TAGS>
    void writeText(const char *text, std::size_t length, std::size_t readable);
    void writeText(const char *text, std::size_t length, std::size_t readable);
    template <class String>
    void writeString(const String &text);
    template <class String>
    void readText(String &text);

    // A window of the file lies in memory, at m_pData: what is in it is read and written at once, the rest
    // is the kind's. Of a file in memory it is all there is.

    bool m_bConstructed;
    bool m_bOwnsData;
    unsigned char *m_pData;
    unsigned int m_uSize;     ///< less than the position where writing has passed it: see getSize
    unsigned int m_uCapacity; ///< what the buffer of a file for writing grows to next
    int m_iAllocated;         ///< bytes of m_pData
    Mode m_eMode;
    AccessMethod m_eAccessMethod;
    V_String m_strFilename;
    bool m_bTagsEnabled;
    V_FileStream *m_pStream; ///< owned
    unsigned int m_uPosition;
    std::FILE *m_pOutFile;   ///< of a write-through file
    unsigned int m_uFlushed; ///< the position at which the window begins; 0 for a file in memory
    std::vector<unsigned int, V_Allocator<unsigned int>> m_chunkStack; ///< starts of the open chunks
    bool m_bWriteFailed = false;
    std::uintptr_t m_uOrigin; ///< the address of position 0, were all bytes before the window there, too
    unsigned int m_uReadEnd;  ///< the position up to which the window is read
    unsigned int m_uRoomEnd;  ///< the position up to which the window takes what is written
    const Kind *m_pKind;

    static AccessMethod sm_eDefaultAccessMethod;
};

/// One chunk found by a reader, with its payload as a memory file of its own.
///
/// The payload of a file in memory is not copied: such a chunk (and its copies) may be used as long as the
/// file lives and is neither written nor built anew. A streamed chunk has a stream of its own.
class VL_API V_MemoryFile::Chunk {
  public:
    /// An invalid chunk: everything 0, its memory file empty, without a name and to be written.
    Chunk();
    Chunk(const Chunk &other);
    Chunk &operator=(const Chunk &other);
    ~Chunk();

    /// Whether a chunk was found; its identifier and version, 0 otherwise.
    bool isValid() const { return m_bValid; }
    unsigned int getID() const { return m_uID; }
    unsigned int getVersion() const { return m_uVersion; }
    /// Bytes of the payload; 0 for an invalid chunk.
    unsigned int getSize() const { return m_bValid ? m_uSize - CHUNK_HEADER_SIZE : 0; }
    /// The payload, from position 0, with tags enabled. It carries the name of the file it lies in; where
    /// that is streamed, its stream's.
    V_MemoryFile &getMemoryFile() { return m_file; }

    /// The operations of V_MemoryFile on the payload, for the chunks nested in it. `chunk` may be this one.
    void openChunk(Chunk &chunk, unsigned int id) { m_file.openChunk(chunk, id); }
    Chunk openChunk(unsigned int id) { return m_file.openChunk(id); }
    void peekChunk(Chunk &chunk) { m_file.peekChunk(chunk); }
    Chunk peekChunk() { return m_file.peekChunk(); }
    void skipChunk() { m_file.skipChunk(); }

  private:
    friend class V_MemoryFile;

    VL_LOCAL void construct(const void *data, unsigned int size, const ChunkHeader &header);
    VL_LOCAL void construct(const V_FileStream &stream, unsigned int offset, unsigned int size,
                            const ChunkHeader &header);
    VL_LOCAL void take(const ChunkHeader &header);
    VL_LOCAL void reset();

    unsigned int m_uID = 0;
    unsigned int m_uVersion = 0;
    unsigned int m_uSize = 0;
    V_MemoryFile m_file;
    bool m_bValid = false;
};

#include "vl/memoryfile/operators.h"
