// Reading files whole (what and how: whole_file.h).

#include "file/whole_file.h"

#include <cstring>
#include <utility>

namespace vl {

WholeFile::WholeFile(FoundFile &&found, const char *entryName) : m_file(std::move(found.onDisk)) {
    if (!m_file)
        m_entry.emplace(found.archived, entryName).expectAll();
}

bool WholeFile::read(void *out, unsigned int count) const {
    if (!m_entry)
        return m_file.read(0, out, count);
    const unsigned int written = m_entry->readWhole(out, count);
    std::memset(static_cast<char *>(out) + written, 0, count - written);
    return true;
}

CountedArray<char> loadWhole(const char *name, unsigned int &size, const FileSystem &system) {
    Lookup lookup(name, system);
    FoundFile found;
    // Messages show the name in upper case, as this load has always asked for it.
    if (size != 0) {
        found = lookup.open();
        if (!found)
            V_throw(V_FileException_FileNotFound(
                (size == V_File::WHOLE_FILE ? lookup.upperCased() : lookup.upperCasedName()).text()));
        if (size == V_File::WHOLE_FILE)
            size = found.size(lookup.diskPath());
    }
    if (size == 0) {
        if (found.archived.file || lookup.firstFile([](const Place &) { return false; }).file)
            V_throw(V_FileException_FileCorrupted(lookup.path()));
        Path upperCased;
        upperCased.append(name, name);
        upperCased.upperCase(0);
        V_throw(V_FileException_FileCorrupted(upperCased.text()));
    }

    Path entryName;
    if (found.archived.file)
        entryName = lookup.upperCasedName();
    const WholeFile file(std::move(found), entryName.text());
    CountedArray<char> block(allocateArray<char>(size));
    if (!file.read(block.get(), size))
        V_throw(V_FileException_UnableToReadData(lookup.upperCasedDiskPath().text()));
    return block;
}

} // namespace vl
