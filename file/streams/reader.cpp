// Reading files from any position: a window over an open file, or over all of an entry that was unpacked.

#include "vl/file/reader.h"

#include "core/counted.h"
#include "file/archive/entry_reader.h"
#include "file/places/lookup.h"

#include <algorithm>
#include <cstdint>
#include <optional>

namespace vl {

/// What is read from, and the window on it.
struct ReadSource {
    static constexpr unsigned int windowSize = 131072;

    V_String name;
    ReadFile file;                    ///< of a loose or stored file
    std::uint64_t begin = 0;          ///< of a stored one, in its archive
    std::optional<EntryReader> entry; ///< of a compressed file, until it is unpacked
    Path entryName;                   ///< which messages about that show
    unsigned int size = 0;
    CountedArray<unsigned char> window;
    unsigned int start = 0; ///< of the window, in the file
    unsigned int shown = 0; ///< bytes in the window

    bool isPacked() const { return entry.has_value(); }

    void readAt(unsigned int position, void *out, unsigned int count) const {
        if (!file.read(begin + position, out, count))
            V_throw(V_FileException_UnableToReadData(name.c_str()));
    }
};

} // namespace vl

using vl::ReadSource;

V_FileReader::V_FileReader(const char *name) {
    vl::Lookup lookup(name);
    vl::FoundFile found = lookup.open();
    if (!found)
        V_throw(V_FileException_FileNotFound(lookup.path()));
    vl::CountedObject<ReadSource> source(vl::newCounted<ReadSource>());
    source->name = name;
    source->size = found.size(lookup.diskPath());
    if (found.onDisk) {
        source->file = std::move(found.onDisk);
    } else {
        source->entryName.tryAppend(lookup.path());
        vl::EntryReader entry(found.archived, source->entryName.text());
        if (!entry.isReadable())
            V_throw(V_FileException_FileCorrupted(lookup.path()));
        if (entry.isCompressed()) {
            source->entry.emplace(std::move(entry));
        } else {
            source->begin = entry.entry().offset;
            source->file = std::move(entry).takeFile();
        }
    }
    m_pSource = source.release();
}

V_FileReader::~V_FileReader() { vl::deleteCounted(m_pSource); }

/// Sets the window, and the position in it.
void V_FileReader::show(unsigned int start, unsigned int position, unsigned int size) {
    m_pSource->start = start;
    m_pSource->shown = size;
    m_pNext = m_pSource->window.get() + (position - start);
    m_uAhead = size - (position - start);
}

unsigned int V_FileReader::getPosition() const { return m_pSource->start + m_pSource->shown - m_uAhead; }

unsigned int V_FileReader::getSize() const { return m_pSource->size; }

const char *V_FileReader::getName() const { return m_pSource->name.c_str(); }

void V_FileReader::seek(unsigned int position) {
    const ReadSource &source = *m_pSource;
    position = std::min(position, source.size);
    const bool isShown = position >= source.start && position - source.start <= source.shown;
    show(isShown ? source.start : position, position, isShown ? source.shown : 0);
}

unsigned int V_FileReader::readSlowly(void *out, unsigned int count) {
    ReadSource &source = *m_pSource;
    unsigned int position = getPosition();
    count = std::min(count, source.size - position);
    if (source.isPacked() && count != 0) {
        vl::CountedArray<unsigned char> whole(vl::allocateArray<unsigned char>(source.size));
        source.entry->readWhole(whole.get(), source.size);
        source.window = std::move(whole);
        source.entry.reset();
        show(0, position, source.size);
    }
    auto *to = static_cast<unsigned char *>(out);
    const unsigned int ahead = std::min(count, m_uAhead);
    if (ahead != 0) { // the caller may have no place for nothing
        std::memcpy(to, m_pNext, ahead);
        m_pNext += ahead;
        m_uAhead -= ahead;
    }
    const unsigned int left = count - ahead;
    if (left == 0)
        return count;
    position += ahead;
    if (left >= ReadSource::windowSize) {
        source.readAt(position, to + ahead, left);
        show(position + left, position + left, 0);
        return count;
    }
    if (!source.window)
        source.window.reset(vl::allocateArray<unsigned char>(ReadSource::windowSize));
    const unsigned int shown = std::min(ReadSource::windowSize, source.size - position);
    show(position, position, 0);
    source.readAt(position, source.window.get(), shown);
    show(position, position + left, shown);
    std::memcpy(to + ahead, source.window.get(), left);
    return count;
}
