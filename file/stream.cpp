// Buffered streams: a file on disk or an archive entry, decoded on the way when it is stored compressed.
//
// The streams over one file share its handle and one buffer. The buffer serves one stream at a time; another
// one that reads takes it over, together with what it holds of the range that it needs. Large reads go past
// the buffer. A compressed entry has one stream only, whose buffer holds packed bytes.

#include "vl/file/stream.h"

#include "core/counted.h"
#include "file/archive_format.h"
#include "file/entry_decoder.h"
#include "file/open_file.h"
#include "file/stream_source.h"
#include "platform/platform.h"

#include <algorithm>
#include <cstring>
#include <memory>
#include <utility>

namespace {

/// From this size on a read costs less when it skips the buffer.
constexpr unsigned int largeRead = 32768;

constexpr std::uint64_t unknownPosition = ~std::uint64_t{0};

char *copyOf(const char *text) {
    const std::size_t size = std::strlen(text) + 1;
    return static_cast<char *>(std::memcpy(vl::allocateArray<char>(size), text, size));
}

} // namespace

// ---- The shared state ----------------------------------------------------------------------------------

V_FileStream::Shared *V_FileStream::newShared(const char *name, const char *sourcePath) {
    std::unique_ptr<Shared, void (*)(Shared *)> state(vl::newCounted<Shared>(), deleteShared);
    state->refCount = 1;
    state->name = copyOf(name);
    state->sourcePath = copyOf(sourcePath);
    return state.release();
}

void V_FileStream::deleteShared(Shared *state) {
    V_Memory::freeCounted(state->name);
    V_Memory::freeCounted(state->sourcePath);
    V_Memory::freeCounted(state->buffer);
    if (state->fileHandle)
        std::fclose(state->fileHandle);
    vl::deleteCounted(state->decoder);
    vl::deleteCounted(state);
}

void V_FileStream::release() {
    if (!shared)
        return;
    if (shared->owner == this)
        shared->owner = nullptr; // another stream may come to lie at this address
    if (--shared->refCount == 0)
        deleteShared(shared);
    shared = nullptr;
}

// ---- Opening -------------------------------------------------------------------------------------------

void V_FileStream::locate(vl::StreamSource &source, const char *name) {
    V_File::relativeToAbsolutePath(source.path, name);
    V_File::absolutePathToDirStructure(source.diskPath, source.path);
    V_File::searchFile(&source.entry, source.path);
}

V_FileStream::V_FileStream(const char *name, int bufferSize) : V_FileStream() {
    vl::StreamSource source;
    locate(source, name);
    if (vl::OpenFile file = vl::openWithoutBuffer(source.diskPath, "rb")) {
        end = packedLeft = vl::sizeOf(file.get(), source.diskPath);
        shared = newShared(name, source.diskPath);
        shared->fileHandle = file.release();
    } else if (!source.entry.file) {
        V_throw(V_FileException_FileNotFound(source.diskPath));
    } else {
        const char *archivePath = source.entry.archive->archivePath;
        shared = newShared(name, archivePath);
        shared->fileHandle = vl::openWithoutBuffer(archivePath, "rb").release();
        if (!shared->fileHandle)
            V_throw(V_FileException_ArchiveNotFound(archivePath));
        openEntry(source);
    }
    allocateBuffer(bufferSize);
}

void V_FileStream::openEntry(const vl::StreamSource &source) {
    const V_File::VASFileEntry &entry = *source.entry.file;
    packedLeft = entry.storedSize;
    if (entry.method == V_File::METHOD_STORED) {
        if (entry.size != entry.storedSize)
            V_throw(V_FileException_FileCorrupted(shared->name));
        start = position = entry.offset;
        end = start + entry.size; // in 32 bits, or the archive would not have been loaded
        return;
    }
    if ((entry.method != V_File::METHOD_LZSS && entry.method != V_File::METHOD_LZSS_SCRAMBLED) ||
        entry.storedSize < vl::lzssHeaderSize)
        V_throw(V_FileException_FileCorrupted(shared->name));

    // Known now, since a user of the stream may take memory for all of it (readWhole).
    std::uint64_t length = 0;
    if (!vl::platform::fileLength(shared->fileHandle, length) ||
        length < std::uint64_t{entry.offset} + entry.storedSize)
        V_throw(V_FileException_UnableToReadData(shared->name));
    shared->compressed = true;
    shared->decoder = vl::newCounted<vl::EntryDecoder>(entry);
    std::uint8_t bytes[vl::lzssHeaderSize];
    readFile(entry.offset, bytes, sizeof bytes);
    shared->decoder->unscramble(bytes, sizeof bytes);
    if (!vl::isContainerOf(bytes, entry))
        V_throw(V_FileException_FileCorrupted(shared->name));
    packedLeft -= static_cast<unsigned int>(vl::lzssHeaderSize);
    end = entry.size; // counted in unpacked bytes, which have no place in the archive, from 0
}

void V_FileStream::allocateBuffer(int bufferSize) {
    shared->capacity = static_cast<unsigned int>(bufferSize > 0 ? bufferSize : vl::defaultStreamBuffer);
    shared->buffer = shared->readPtr = vl::allocateArray<unsigned char>(shared->capacity);
}

V_FileStream::V_FileStream(const V_FileStream &source, int offset, int size) : V_FileStream() {
    share(source);
    cover(source, offset, size);
}

void V_FileStream::share(const V_FileStream &source) {
    if (!source.shared)
        return;
    if (source.isCompressed())
        V_throw(V_FileException_CannotCopyCompressedFileStream(source.shared->name));
    if (source.shared->fileHandle) {
        shared = source.shared;
        ++shared->refCount;
        return;
    }
    // An unbuffered stream has no handle to share.
    shared = newShared(source.shared->name, source.shared->sourcePath);
    shared->fileHandle = vl::openWithoutBuffer(shared->sourcePath, "rb").release();
    if (!shared->fileHandle)
        V_throw(V_FileException_FileNotFound(shared->sourcePath));
    allocateBuffer(vl::defaultStreamBuffer);
}

void V_FileStream::cover(const V_FileStream &source, int offset, int size) {
    const unsigned int whole = source.end - source.start;
    cover(source, Region{offset < 0 ? 0 : static_cast<unsigned int>(offset),
                         size < 0 ? whole : static_cast<unsigned int>(size)});
    if (offset == -1 || size == -1)
        position = std::clamp(source.position, start, end);
}

void V_FileStream::cover(const V_FileStream &source, Region region) {
    const unsigned int whole = source.end - source.start;
    const unsigned int offset = std::min(region.offset, whole);
    start = position = source.start + offset;
    end = start + std::min(region.size, whole - offset);
    packedLeft = source.packedLeft;
}

V_FileStream &V_FileStream::operator=(const V_FileStream &source) {
    if (shared && !shared->fileHandle) // an unbuffered stream, of which a part would stay as it was
        V_throw(V_FileException_FileNotAStream(shared->name));
    if (this != &source) {
        V_FileStream copy(source);
        release();
        shared = std::exchange(copy.shared, nullptr);
        start = copy.start;
        position = copy.position;
        end = copy.end;
        packedLeft = copy.packedLeft;
    }
    return *this;
}

V_FileStream::~V_FileStream() { release(); }

const char *V_FileStream::getName() const { return shared ? shared->sourcePath : nullptr; }

// ---- Seeking -------------------------------------------------------------------------------------------

unsigned int V_FileStream::target(unsigned int offset, SeekMode mode) const {
    const std::int64_t first = start, last = end;
    std::int64_t place = position;
    switch (mode) {
    case SM_BEGIN:
        place = first + offset;
        break;
    case SM_CURRENT:
        place = position + offset; // wraps
        if (place < first || place > last)
            place = offset > 0x7FFFFFFFu ? first : last;
        break;
    case SM_END:
        place = last - offset;
        break;
    }
    return static_cast<unsigned int>(std::clamp(place, first, last));
}

int V_FileStream::seek(unsigned int offset, SeekMode mode) {
    if (isCompressed())
        V_throw(V_FileException_CannotSeekCompressedFileStream(shared->name));
    position = target(offset, mode);
    if (shared) {
        shared->owner = this;
        pointInto(position);
    }
    return 0;
}

// ---- Reading -------------------------------------------------------------------------------------------

/// Makes the buffer hand out what lies at `place`, or nothing when it does not hold that.
void V_FileStream::pointInto(unsigned int place) {
    const auto held = static_cast<unsigned int>(shared->readPtr - shared->buffer + shared->count);
    const unsigned int index = place - shared->bufferStart;
    if (place < shared->bufferStart || index >= held) {
        shared->count = 0;
        return;
    }
    shared->readPtr = shared->buffer + index;
    shared->count = static_cast<int>(held - index);
}

void V_FileStream::takeOver() {
    if (shared->owner != this) {
        shared->owner = this;
        pointInto(position);
    }
}

void V_FileStream::readFile(std::uint64_t from, void *out, unsigned int n) {
    if (shared->filePointer != from && !vl::platform::seekFile(shared->fileHandle, from)) {
        shared->filePointer = unknownPosition;
        V_throw(V_FileException_UnableToReadData(shared->name));
    }
    shared->filePointer = unknownPosition;
    std::clearerr(shared->fileHandle); // the file may have grown since its end was met
    if (std::fread(out, 1, n, shared->fileHandle) != n)
        V_throw(V_FileException_UnableToReadData(shared->name));
    shared->filePointer = from + n;
}

void V_FileStream::fill() {
    const unsigned int n = std::min(end - position, shared->capacity);
    shared->readPtr = shared->buffer;
    shared->count = 0;
    readFile(position, shared->buffer, n);
    shared->bufferStart = position;
    shared->count = static_cast<int>(n);
}

unsigned int V_FileStream::readSlowly(void *out, unsigned int n) {
    n = std::min(n, end - position);
    if (n == 0)
        return 0;
    auto *to = static_cast<unsigned char *>(out);
    if (shared->compressed) {
        decode(to, n);
        position += n;
        return n;
    }

    takeOver();
    const unsigned int before = position;
    try {
        for (unsigned int left = n; left != 0;) {
            if (shared->count == 0) {
                if (left >= std::min(shared->capacity, largeRead)) {
                    readFile(position, to, left);
                    position += left;
                    break;
                }
                fill();
            }
            const unsigned int piece = std::min(left, static_cast<unsigned int>(shared->count));
            std::memcpy(to, shared->readPtr, piece);
            shared->readPtr += piece;
            shared->count -= static_cast<int>(piece);
            position += piece;
            to += piece;
            left -= piece;
        }
    } catch (...) {
        position = before;
        shared->count = 0;
        throw;
    }
    return n;
}

// ---- Compressed entries --------------------------------------------------------------------------------

void V_FileStream::decode(unsigned char *out, unsigned int n) {
    vl::EntryDecoder &decoder = *shared->decoder;
    if (decoder.m_bFailed)
        V_throw(V_FileException_FileCorrupted(shared->name));
    decoder.m_bFailed = true; // until all has gone well
    for (unsigned int done = 0;;) {
        const auto progress = decoder.m_lzss.decode(shared->readPtr, static_cast<unsigned int>(shared->count),
                                                    out + done, n - done);
        shared->readPtr += progress.consumed;
        shared->count -= static_cast<int>(progress.consumed);
        done += static_cast<unsigned int>(progress.produced);
        if (done == n)
            break;
        refill();
    }
    const bool last = n == end - position;
    if (last && (packedLeft != 0 || shared->count != 0 || !decoder.m_lzss.atItemBoundary()))
        V_throw(V_FileException_FileCorrupted(shared->name));
    decoder.m_bFailed = false;
}

/// Reads the next packed bytes into the buffer, which is empty.
void V_FileStream::refill() {
    vl::EntryDecoder &decoder = *shared->decoder;
    if (packedLeft == 0)
        V_throw(V_FileException_FileCorrupted(shared->name));
    const unsigned int n = std::min(packedLeft, shared->capacity);
    const std::uint64_t containerEnd = std::uint64_t{decoder.m_uOffset} + decoder.m_uStoredSize;
    readFile(containerEnd - packedLeft, shared->buffer, n);
    decoder.unscramble(shared->buffer, n);
    packedLeft -= n;
    shared->readPtr = shared->buffer;
    shared->count = static_cast<int>(n);
}

void V_FileStream::readWhole(void *out) {
    const vl::EntryDecoder &decoder = *shared->decoder;
    const vl::CountedArray<std::uint8_t> block(vl::allocateArray<std::uint8_t>(decoder.m_uStoredSize));
    readFile(decoder.m_uOffset, block.get(), decoder.m_uStoredSize);
    if (decoder.isScrambled())
        vl::unscrambleArchiveBytes(block.get(), decoder.m_uStoredSize, decoder.m_uSeed);
    if (end != 0 &&
        !vl::lzssDecode(block.get() + vl::lzssHeaderSize, decoder.m_uStoredSize - vl::lzssHeaderSize,
                        static_cast<std::uint8_t *>(out), end))
        V_throw(V_FileException_FileCorrupted(shared->name));
}
