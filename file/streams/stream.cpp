// Buffered streams: a file on disk or an archive entry, decoded on the way when it is stored compressed.
//
// The streams over one file share its back end and one buffer. The buffer serves one stream at a time;
// another one that reads takes it over, together with what it holds of the range that it needs. Large reads
// go past the buffer. A compressed entry has one stream only, which its back end serves directly.

#include "vl/file/stream.h"

#include "core/counted.h"
#include "file/archive/entry_reader.h"
#include "file/places/lookup.h"
#include "file/streams/back_end.h"

#include <algorithm>
#include <cstring>
#include <memory>
#include <utility>

namespace {

/// From this size on a read costs less when it skips the buffer.
constexpr unsigned int largeRead = 32768;

/// A file on disk, or an archive that holds an entry as it is.
class PlainBytes final : public vl::StreamBackEnd {
  public:
    PlainBytes(vl::ReadFile &&file, const char *name) : m_file(std::move(file)), m_strName(name) {}

    void read(std::uint64_t position, std::uint8_t *out, unsigned int n) override {
        if (!m_file.read(position, out, n))
            V_throw(V_FileException_UnableToReadData(m_strName));
    }
    void readWhole(std::uint8_t *out, unsigned int n) override { read(0, out, n); }

  private:
    vl::ReadFile m_file;
    const char *m_strName; ///< of the streams that share this
};

/// A compressed entry, which only moves forward.
class DecodedEntry final : public vl::StreamBackEnd {
  public:
    DecodedEntry(vl::EntryReader &&reader, unsigned int blockSize) : m_pieces(std::move(reader), blockSize) {}

    void read(std::uint64_t, std::uint8_t *out, unsigned int n) override { m_pieces.read(out, n); }
    void readWhole(std::uint8_t *out, unsigned int n) override { m_pieces.reader().readWhole(out, n); }

  private:
    vl::EntryPieces m_pieces;
};

} // namespace

// ---- The shared state ----------------------------------------------------------------------------------

V_FileStream::Shared *V_FileStream::newShared(const char *name, const char *sourcePath) {
    std::unique_ptr<Shared, void (*)(Shared *)> state(vl::newCounted<Shared>(), deleteShared);
    state->refCount = 1;
    state->name = vl::copyOfText(name).release();
    state->sourcePath = vl::copyOfText(sourcePath).release();
    return state.release();
}

void V_FileStream::deleteShared(Shared *state) {
    V_Memory::freeCounted(state->name);
    V_Memory::freeCounted(state->sourcePath);
    V_Memory::freeCounted(state->buffer);
    vl::deleteCounted(state->backEnd);
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

V_FileStream::V_FileStream(const char *name, int bufferSize) : V_FileStream() {
    vl::Lookup lookup(name);
    open(name, lookup, lookup.open(), bufferSize);
}

V_FileStream::V_FileStream(const char *name, const vl::Lookup &lookup, vl::FoundFile &&found, int bufferSize)
    : V_FileStream() {
    open(name, lookup, std::move(found), bufferSize);
}

void V_FileStream::open(const char *name, const vl::Lookup &lookup, vl::FoundFile &&found, int bufferSize) {
    const unsigned int size = vl::streamBufferSize(bufferSize);
    if (found.onDisk) {
        end = found.size(lookup.diskPath());
        shared = newShared(name, lookup.diskPath());
        shared->backEnd = vl::newCounted<PlainBytes>(std::move(found.onDisk), shared->name);
        allocateBuffer(size);
    } else if (found.archived.file) {
        shared = newShared(name, found.archived.archive->archivePath);
        openEntry(found, size);
    } else {
        V_throw(V_FileException_FileNotFound(lookup.shownDiskPath()));
    }
}

void V_FileStream::openEntry(const vl::FoundFile &found, unsigned int bufferSize) {
    vl::EntryReader reader(found.archived, shared->name);
    if (!reader.isReadable())
        V_throw(V_FileException_FileCorrupted(shared->name));
    if (reader.isCompressed()) {
        end = reader.size(); // counted in unpacked bytes, which have no place in the archive, from 0
        shared->compressed = true;
        shared->backEnd = vl::newCounted<DecodedEntry>(std::move(reader), bufferSize);
        return;
    }
    start = position = reader.entry().offset;
    end = start + reader.size(); // in 32 bits, or the archive would not have been loaded
    shared->backEnd = vl::newCounted<PlainBytes>(std::move(reader).takeFile(), shared->name);
    allocateBuffer(bufferSize);
}

void V_FileStream::allocateBuffer(unsigned int size) {
    shared->capacity = size;
    shared->buffer = shared->readPtr = vl::allocateArray<unsigned char>(size);
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
    if (source.shared->backEnd) {
        shared = source.shared;
        ++shared->refCount;
        return;
    }
    // An unbuffered stream has nothing to share.
    shared = newShared(source.shared->name, source.shared->sourcePath);
    vl::ReadFile file = vl::ReadFile::reopen(shared->sourcePath);
    if (!file)
        V_throw(V_FileException_FileNotFound(shared->sourcePath));
    shared->backEnd = vl::newCounted<PlainBytes>(std::move(file), shared->name);
    allocateBuffer(vl::streamBufferSize(0));
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
}

V_FileStream &V_FileStream::operator=(const V_FileStream &source) {
    if (shared && !shared->backEnd) // an unbuffered stream, of which a part would stay as it was
        V_throw(V_FileException_FileNotAStream(shared->name));
    if (this != &source) {
        V_FileStream copy(source);
        release();
        shared = std::exchange(copy.shared, nullptr);
        start = copy.start;
        position = copy.position;
        end = copy.end;
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

void V_FileStream::fill() {
    const unsigned int n = std::min(end - position, shared->capacity);
    shared->readPtr = shared->buffer;
    shared->count = 0;
    shared->backEnd->read(position, shared->buffer, n);
    shared->bufferStart = position;
    shared->count = static_cast<int>(n);
}

unsigned int V_FileStream::readSlowly(void *out, unsigned int n) {
    n = std::min(n, end - position);
    if (n == 0)
        return 0;
    auto *to = static_cast<unsigned char *>(out);
    if (shared->compressed) {
        shared->backEnd->read(position, to, n);
        position += n;
        return n;
    }

    takeOver();
    const unsigned int before = position;
    try {
        for (unsigned int left = n; left != 0;) {
            if (shared->count == 0) {
                if (left >= std::min(shared->capacity, largeRead)) {
                    shared->backEnd->read(position, to, left);
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

void V_FileStream::readWhole(void *out) {
    shared->backEnd->readWhole(static_cast<unsigned char *>(out), end - start);
}
