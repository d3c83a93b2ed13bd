// The life of a memory file: the ways it is built, copied and taken down.

#include "vl/memoryfile.h"

#include "core/counted.h"
#include "file/file_system.h"
#include "file/whole_file.h"
#include "memoryfile/kinds.h"
#include "vl/file.h"

#include <algorithm>

namespace {

using vl::Block;
using Stream = vl::CountedObject<V_FileStream>;

unsigned int soundCapacity(unsigned int capacity) {
    return capacity == 0 ? V_MemoryFile::DEFAULT_CAPACITY : std::min(capacity, vl::largestBlock);
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
    setWindow(nullptr, 0, 0);
    m_uSize = 0;
    m_uCapacity = 0;
    m_iAllocated = 0;
    m_eMode = MODE_NONE;
    m_eAccessMethod = AM_DEFAULT;
    m_bTagsEnabled = true;
    m_pStream = nullptr;
    m_uPosition = 0;
    m_pOutFile = nullptr;
    m_uRoomEnd = 0;
    m_pKind = &Unbuilt::kind;
    m_chunkStack.clear();
}

void V_MemoryFile::destruct() {
    if (!m_bConstructed)
        return;
    m_pKind->finish(*this);
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

void V_MemoryFile::become(const Kind &kind) {
    m_pKind = &kind;
    m_eMode = kind.m_eMode;
    m_eAccessMethod = kind.m_eAccessMethod;
    m_bOwnsData = true;
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
    become(Growing::kind);
    m_uCapacity = soundCapacity(capacity);
}

void V_MemoryFile::construct(unsigned int capacity, const char *fileName) {
    try {
        V_String name(textOrEmpty(fileName));
        startOver();
        m_strFilename.swap(name);
        m_pOutFile = vl::FileSystem::openGiven(getFilename(), "wb");
        if (!m_pOutFile)
            V_throw(V_MemoryFileException_UnableToOpenFileForWrite(getFilename()));
    } catch (...) {
        destruct();
        throw;
    }
    // m_pData is the only buffer, so that what the disk refuses is known at once.
    std::setvbuf(m_pOutFile, nullptr, _IONBF, 0);
    become(WrittenThrough::kind);
    m_uCapacity = soundCapacity(capacity);
}

void V_MemoryFile::construct(const char *fileName, AccessMethod method) {
    try {
        V_String name(textOrEmpty(fileName));
        startOver();
        m_strFilename.swap(name);
        become(Held::kind);
        loadFile(method == AM_DEFAULT ? sm_eDefaultAccessMethod : method);
    } catch (...) {
        destruct();
        throw;
    }
}

/// Takes the named file out of the file system, whole or as a stream.
void V_MemoryFile::loadFile(AccessMethod method) {
    vl::Lookup lookup(getFilename());
    vl::FoundFile found = lookup.open();
    if (!found)
        V_throw(V_FileException_FileNotFound(lookup.upperCased().text()));
    m_uSize = found.size(lookup.diskPath());
    if (method == AM_STREAM && m_uSize >= STREAM_SIZE) {
        m_pStream = vl::constructCounted<V_FileStream>([&](void *block) {
            return new (block) V_FileStream(getFilename(), lookup, std::move(found), STREAM_SIZE);
        });
        become(Streamed::kind);
        return;
    }
    const vl::WholeFile file(std::move(found), lookup.path());
    setWindow(vl::newBlock(m_uSize).release(), 0, m_uSize);
    m_iAllocated = static_cast<int>(m_uSize);
    if (!file.read(m_pData, m_uSize))
        V_throw(V_FileException_UnableToReadData(lookup.diskPath()));
}

void V_MemoryFile::construct(const void *data, unsigned int size, bool copy) {
    Block block;
    try {
        if (copy || ownsBytes(data))
            block = vl::copyOf(data, size, std::max(size, 1u));
    } catch (...) {
        destruct();
        throw;
    }
    startOver();
    become(Held::kind);
    m_bOwnsData = block != nullptr;
    setWindow(block ? block.release() : static_cast<unsigned char *>(const_cast<void *>(data)), 0, size);
    m_iAllocated = static_cast<int>(std::clamp(size, 1u, vl::largestBlock));
    m_uSize = size;
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
    become(Streamed::kind);
    m_strFilename.swap(name);
    m_pStream = region.release();
    m_uSize = m_pStream->size();
}

void V_MemoryFile::construct(const V_MemoryFile &other) {
    if (&other == this)
        return;
    Block block;
    Stream stream;
    V_String name;
    try {
        const bool shares = !other.m_pData || !(other.m_bOwnsData || ownsBytes(other.m_pData));
        other.m_pKind->copy(other, shares, block, stream);
        m_chunkStack.reserve(other.m_chunkStack.size());
        name = other.m_strFilename;
    } catch (...) {
        destruct();
        throw;
    }
    startOver();
    become(block && other.m_pStream ? Held::kind : *other.m_pKind);
    m_bConstructed = other.m_bConstructed;
    m_bOwnsData = other.m_bOwnsData || block;
    m_strFilename.swap(name);
    m_uSize = other.getSize();
    m_uCapacity = other.m_uCapacity;
    m_uPosition = other.m_uPosition;
    m_chunkStack = other.m_chunkStack;
    m_bTagsEnabled = other.m_bTagsEnabled;
    if (stream) {
        m_pStream = stream.release();
        setWindow(nullptr, m_uPosition, m_uPosition);
    } else {
        m_iAllocated = block ? static_cast<int>(m_uSize) : other.m_iAllocated;
        setWindow(block ? block.release() : other.m_pData, 0, m_uSize);
        m_uRoomEnd = std::min(other.m_uRoomEnd, m_uSize);
    }
}
