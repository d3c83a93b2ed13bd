// The life of a memory file: the ways it is built, copied and taken down.

#include "vl/memoryfile.h"

#include "core/counted.h"
#include "file/whole_file.h"
#include "platform/platform.h"
#include "vl/file.h"

#include <algorithm>
#include <memory>

namespace {

constexpr unsigned int largestBuffer = 0x7FFFFFFF;

struct ReleaseBlock {
    void operator()(unsigned char *block) const { V_REALLOCATE_DELETE(block); }
};
using Block = std::unique_ptr<unsigned char, ReleaseBlock>;

using Stream = vl::CountedObject<V_FileStream>;

Block newBlock(unsigned int size) {
    if (size > largestBuffer)
        V_throw(V_MemoryException_Allocation());
    return Block(static_cast<unsigned char *>(V_REALLOCATE(nullptr, 0, static_cast<int>(size))));
}

Block copyOf(const void *data, unsigned int size, unsigned int blockSize) {
    Block block = newBlock(blockSize);
    V_Memory::copy(block.get(), data, size);
    return block;
}

unsigned int soundCapacity(unsigned int capacity) {
    return capacity == 0 ? V_MemoryFile::DEFAULT_CAPACITY : std::min(capacity, largestBuffer);
}

const char *textOrEmpty(const char *text) { return text ? text : ""; }

} // namespace

V_MemoryFile::AccessMethod V_MemoryFile::sm_eDefaultAccessMethod = AM_MEMORY;

void V_MemoryFile::setDefaultAccessMethod(AccessMethod method) { sm_eDefaultAccessMethod = method; }

V_MemoryFile::AccessMethod V_MemoryFile::getDefaultAccessMethod() { return sm_eDefaultAccessMethod; }

// ---- Constructors --------------------------------------------------------------------------------------

V_MemoryFile::V_MemoryFile(unsigned int capacity) {
    initializeMembers();
    construct(capacity);
}

V_MemoryFile::V_MemoryFile(unsigned int capacity, const char *fileName) {
    initializeMembers();
    construct(capacity, fileName);
}

V_MemoryFile::V_MemoryFile(const char *fileName, AccessMethod method) {
    initializeMembers();
    construct(fileName, method);
}

V_MemoryFile::V_MemoryFile(const void *data, unsigned int size, bool copy) {
    initializeMembers();
    construct(data, size, copy);
}

V_MemoryFile::V_MemoryFile(const V_FileStream &stream, int offset, int size) {
    initializeMembers();
    construct(stream, offset, size);
}

V_MemoryFile::V_MemoryFile(const V_MemoryFile &other) {
    initializeMembers();
    construct(other);
}

V_MemoryFile::~V_MemoryFile() { destruct(); }

void V_MemoryFile::initializeMembers() {
    m_bConstructed = false;
    m_bOwnsData = false;
    m_pData = nullptr;
    m_uSize = 0;
    m_uCapacity = 0;
    m_iAllocated = 0;
    m_eMode = MODE_NONE;
    m_eAccessMethod = AM_DEFAULT;
    m_bTagsEnabled = true;
    m_pStream = nullptr;
    m_uPosition = 0;
    m_pOutFile = nullptr;
    m_uFlushed = 0;
    m_uRoomEnd = 0;
    m_chunkStack.clear();
}

void V_MemoryFile::destruct() {
    if (!m_bConstructed)
        return;
    if (m_pOutFile) {
        // All that was written belongs to the file, also what lies behind a position that was set back.
        const unsigned int pending = getSize() - m_uFlushed;
        if (!m_bWriteFailed && pending != 0 && std::fwrite(m_pData, 1, pending, m_pOutFile) != pending)
            m_bWriteFailed = true;
        if (std::fclose(m_pOutFile) != 0)
            m_bWriteFailed = true;
    }
    if (m_bOwnsData)
        V_REALLOCATE_DELETE(m_pData);
    vl::deleteCounted(m_pStream);
    initializeMembers();
}

// ---- The ways to build ---------------------------------------------------------------------------------

/// Releases what the file held. Throws when that has lost data that was to go to disk.
void V_MemoryFile::startOver() {
    const bool reported = m_bWriteFailed || !m_bConstructed;
    destruct();
    if (m_bWriteFailed && !reported)
        V_throw(V_MemoryFileException_UnableToWriteData(getFilename()));
    m_bWriteFailed = false;
    m_bConstructed = true;
}

/// Whether `data` lies in the buffer that startOver or a growing file would release.
bool V_MemoryFile::ownsBytes(const void *data) const {
    const auto begin = reinterpret_cast<std::uintptr_t>(m_pData);
    const auto address = reinterpret_cast<std::uintptr_t>(data);
    return m_bOwnsData && m_pData && address >= begin &&
           address - begin < static_cast<unsigned int>(m_iAllocated);
}

void V_MemoryFile::construct(unsigned int capacity) {
    startOver();
    m_uCapacity = soundCapacity(capacity);
    m_eMode = MODE_WRITE;
    m_eAccessMethod = AM_MEMORY;
    m_bOwnsData = true;
}

void V_MemoryFile::construct(unsigned int capacity, const char *fileName) {
    try {
        V_String name(textOrEmpty(fileName));
        startOver();
        m_strFilename.swap(name);
        m_pOutFile = vl::platform::openFile(getFilename(), "wb");
        if (!m_pOutFile)
            V_throw(V_MemoryFileException_UnableToOpenFileForWrite(getFilename()));
    } catch (...) {
        destruct();
        throw;
    }
    // m_pData is the only buffer, so that what the disk refuses is known at once.
    std::setvbuf(m_pOutFile, nullptr, _IONBF, 0);
    m_uCapacity = soundCapacity(capacity);
    m_eMode = MODE_WRITE;
    m_eAccessMethod = AM_STREAM;
    m_bOwnsData = true;
}

void V_MemoryFile::construct(const char *fileName, AccessMethod method) {
    try {
        V_String name(textOrEmpty(fileName));
        startOver();
        m_strFilename.swap(name);
        m_eMode = MODE_READ;
        m_bOwnsData = true;
        vl::Lookup lookup(getFilename());
        vl::FoundFile found = lookup.open();
        if (!found)
            V_throw(V_FileException_FileNotFound(lookup.upperCased().text()));
        m_uSize = found.size(lookup.diskPath());
        const AccessMethod wanted = method == AM_DEFAULT ? sm_eDefaultAccessMethod : method;
        if (wanted == AM_STREAM && m_uSize >= STREAM_SIZE) {
            m_eAccessMethod = AM_STREAM;
            m_pStream = vl::constructCounted<V_FileStream>([&](void *block) {
                return new (block) V_FileStream(getFilename(), lookup, std::move(found), STREAM_SIZE);
            });
        } else {
            m_eAccessMethod = AM_MEMORY;
            const vl::WholeFile file(std::move(found), lookup.path());
            m_pData = newBlock(m_uSize).release();
            m_iAllocated = static_cast<int>(m_uSize);
            if (!file.read(m_pData, m_uSize))
                V_throw(V_FileException_UnableToReadData(lookup.diskPath()));
        }
    } catch (...) {
        destruct();
        throw;
    }
}

void V_MemoryFile::construct(const void *data, unsigned int size, bool copy) {
    Block block;
    try {
        if (copy || ownsBytes(data))
            block = copyOf(data, size, std::max(size, 1u));
    } catch (...) {
        destruct();
        throw;
    }
    startOver();
    m_uSize = size;
    m_iAllocated = static_cast<int>(std::clamp(size, 1u, largestBuffer));
    m_eMode = MODE_READ;
    m_eAccessMethod = AM_MEMORY;
    m_bOwnsData = block != nullptr;
    // What is not owned is only read: a file without a capacity refuses to be written.
    m_pData = block ? block.release() : static_cast<unsigned char *>(const_cast<void *>(data));
}

void V_MemoryFile::construct(const V_FileStream &stream, int offset, int size) {
    constructRegion(stream, offset < 0 ? 0 : static_cast<unsigned int>(offset),
                    size < 0 ? 0xFFFFFFFFu : static_cast<unsigned int>(size));
}

void V_MemoryFile::constructRegion(const V_FileStream &stream, unsigned int offset, unsigned int size) {
    Stream region;
    V_String name;
    try {
        region.reset(vl::newCounted<V_FileStream>(stream));
        region->cover(stream, V_FileStream::Region{offset, size});
        name = textOrEmpty(region->getName());
    } catch (...) {
        destruct();
        throw;
    }
    startOver();
    m_strFilename.swap(name);
    m_bOwnsData = true;
    m_eMode = MODE_READ;
    m_eAccessMethod = AM_STREAM;
    m_pStream = region.release();
    m_uSize = m_pStream->size();
}

void V_MemoryFile::construct(const V_MemoryFile &other) {
    if (&other == this)
        return;
    if (other.isWriteThrough()) {
        destruct();
        other.refuse("copy a write-through file");
    }
    Block block;
    Stream stream;
    V_String name;
    try {
        const bool compressed = other.m_pStream && other.m_pStream->isCompressed();
        if (compressed) {
            block = newBlock(other.getSize());
            other.m_pStream->readWhole(block.get());
        } else if (other.m_pStream) {
            stream.reset(vl::newCounted<V_FileStream>(*other.m_pStream));
        } else if (other.m_pData && (other.m_bOwnsData || ownsBytes(other.m_pData))) {
            block = copyOf(other.m_pData, other.getSize(), other.getSize());
        }
        m_chunkStack.reserve(other.m_chunkStack.size());
        name = other.m_strFilename;
    } catch (...) {
        destruct();
        throw;
    }
    startOver();
    m_strFilename.swap(name);
    m_bConstructed = other.m_bConstructed;
    m_bOwnsData = other.m_bOwnsData || block;
    m_iAllocated = block ? static_cast<int>(other.getSize()) : other.m_iAllocated;
    m_pData = block ? block.release() : other.m_pData;
    m_eAccessMethod = other.m_pStream && !stream ? AM_MEMORY : other.m_eAccessMethod;
    m_pStream = stream.release();
    m_uSize = other.getSize();
    m_uCapacity = other.m_uCapacity;
    m_eMode = other.m_eMode;
    m_uPosition = other.m_uPosition;
    m_chunkStack = other.m_chunkStack;
    m_bTagsEnabled = other.m_bTagsEnabled;
    updateRoom();
}

/// Loads a compressed entry whole where its stream does not suffice, and goes on in memory.
void V_MemoryFile::loadStream() {
    if (!m_pStream || !m_pStream->isCompressed())
        return;
    Block block = newBlock(m_uSize);
    m_pStream->readWhole(block.get());
    vl::deleteCounted(m_pStream);
    m_pStream = nullptr;
    m_pData = block.release();
    m_iAllocated = static_cast<int>(m_uSize);
    m_eAccessMethod = AM_MEMORY;
}
