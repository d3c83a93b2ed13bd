// Writing files: a buffer in front of a file that is written at any position, or of one that is to take the
// place of another.

#include "vl/file/writer.h"

#include "core/counted.h"
#include "file/places/lookup.h"
#include "platform/platform.h"

#include <algorithm>
#include <cstdint>
#include <limits>

namespace vl {

using platform::FileHandle;

/// An open file, what of it is still in memory, and its name for messages.
struct WrittenFile {
    static constexpr unsigned int capacity = 65536;

    V_String name;
    FileHandle handle = platform::noFile;
    platform::Replacement *replacement = nullptr; ///< whose file the handle is
    bool willReplace = false;
    std::uint64_t size = 0; ///< of the file, without what is held
    unsigned int start = 0; ///< the position of the buffer's first byte
    CountedArray<unsigned char> buffer;

    [[noreturn]] void fail(const char *action) const {
        V_throw(V_FileException_OperationFailed(action, name.c_str(), platform::lastFailure()));
    }

    /// Where the bytes held end. Throws V_FileException_FileTooLarge when positions cannot tell that.
    void requireSize(std::uint64_t end) const {
        if (end > std::numeric_limits<unsigned int>::max())
            V_throw(V_FileException_FileTooLarge(name.c_str()));
    }

    /// Writes at the start of what is held, which moves on, and returns how many bytes were written.
    unsigned int put(const void *data, unsigned int count) {
        const std::uint32_t done = platform::writeAt(handle, start, data, count);
        start += done;
        size = std::max<std::uint64_t>(size, start);
        return done;
    }

    bool closeHandle() {
        const FileHandle open = std::exchange(handle, platform::noFile);
        if (platform::Replacement *const unfinished = std::exchange(replacement, nullptr)) {
            platform::dropReplacement(unfinished);
            return true;
        }
        return open == platform::noFile || platform::closeWritten(open);
    }

    ~WrittenFile() { closeHandle(); }
};

} // namespace vl

using vl::WrittenFile;
using vl::platform::WriteMode;

V_FileWriter::V_FileWriter(const char *name, Mode mode) {
    vl::Lookup lookup(name);
    const char *const path = lookup.pathForWriting();
    vl::CountedObject<WrittenFile> file(vl::newCounted<WrittenFile>());
    file->name = name;
    file->buffer.reset(vl::allocateArray<unsigned char>(WrittenFile::capacity));
    if (mode != UPDATE)
        lookup.createParent();
    if (mode == REPLACE) {
        file->willReplace = true;
        file->replacement = vl::platform::beginReplacement(path);
        if (file->replacement)
            file->handle = vl::platform::fileOf(file->replacement);
    } else {
        vl::platform::FileIdentity identity;
        file->handle = vl::platform::openForWriting(path,
                                                    mode == CREATE   ? WriteMode::Replace
                                                    : mode == UPDATE ? WriteMode::Existing
                                                                     : WriteMode::Keep,
                                                    identity);
        if (file->handle != vl::platform::noFile)
            file->size = identity.length;
    }
    if (file->handle == vl::platform::noFile)
        file->fail("open");
    file->requireSize(file->size);
    if (mode == APPEND)
        file->start = static_cast<unsigned int>(file->size);
    m_pFile = file.release();
    restart(0);
}

V_FileWriter::~V_FileWriter() {
    try {
        close();
    } catch (V_Exception *) {
        // A destructor must not throw; who wants to know calls close.
    }
    vl::deleteCounted(m_pFile);
}

void V_FileWriter::requireOpen(const char *action) const {
    if (m_pFile->handle == vl::platform::noFile)
        V_throw(V_FileException_OperationFailed(action, m_pFile->name.c_str(), "the file is closed"));
}

/// Bytes in the buffer.
unsigned int V_FileWriter::held() const {
    return m_pNext ? static_cast<unsigned int>(m_pNext - m_pFile->buffer.get()) : 0;
}

/// Goes on with this many bytes at the start of the buffer, whose room ends where positions do.
void V_FileWriter::restart(unsigned int heldBytes) {
    const unsigned int left = std::numeric_limits<unsigned int>::max() - m_pFile->start;
    m_pNext = m_pFile->buffer.get() + heldBytes;
    m_uRoom = std::min(WrittenFile::capacity, left) - heldBytes;
}

void V_FileWriter::writeSlowly(const void *data, unsigned int size) {
    requireOpen("write");
    m_pFile->requireSize(std::uint64_t{getPosition()} + size);
    flush();
    if (size >= WrittenFile::capacity) {
        const unsigned int done = m_pFile->put(data, size);
        restart(0);
        if (done != size)
            m_pFile->fail("write");
    } else if (size != 0) {
        std::memcpy(m_pNext, data, size);
        m_pNext += size;
        m_uRoom -= size;
    }
}

void V_FileWriter::seek(unsigned int position) {
    requireOpen("seek in");
    flush();
    m_pFile->start = position;
    restart(0);
}

unsigned int V_FileWriter::getPosition() const { return m_pFile->start + held(); }

unsigned int V_FileWriter::getSize() const {
    const std::uint64_t end = held() == 0 ? 0 : std::uint64_t{m_pFile->start} + held();
    return static_cast<unsigned int>(std::max(m_pFile->size, end));
}

void V_FileWriter::truncate(unsigned int size) {
    requireOpen("truncate");
    flush();
    if (!vl::platform::resizeFile(m_pFile->handle, size))
        m_pFile->fail("truncate");
    m_pFile->size = size;
}

void V_FileWriter::flush() {
    requireOpen("write");
    const unsigned int count = held();
    unsigned char *const buffer = m_pFile->buffer.get();
    const unsigned int done = count == 0 ? 0 : m_pFile->put(buffer, count);
    std::memmove(buffer, buffer + done, count - done); // the rest waits for the next attempt
    restart(count - done);
    if (done != count)
        m_pFile->fail("write");
}

void V_FileWriter::commit() {
    flush();
    if (!m_pFile->willReplace) {
        if (!vl::platform::flushToDisk(m_pFile->handle))
            m_pFile->fail("write");
        return;
    }
    m_pFile->handle = vl::platform::noFile;
    m_pNext = nullptr;
    m_uRoom = 0;
    if (!vl::platform::finishReplacement(std::exchange(m_pFile->replacement, nullptr)))
        m_pFile->fail("replace");
}

void V_FileWriter::close() {
    if (m_pFile->handle == vl::platform::noFile)
        return;
    struct End {
        V_FileWriter &writer;
        ~End() {
            writer.m_pFile->closeHandle();
            writer.m_pNext = nullptr;
            writer.m_uRoom = 0;
        }
    } const end{*this};
    if (m_pFile->willReplace)
        return; // what was not committed is given up
    flush();
    if (!m_pFile->closeHandle())
        m_pFile->fail("close");
}
