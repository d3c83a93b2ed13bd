// Files read whole: what a lookup found read into a block, and the allocating load.
#pragma once

#include "core/counted.h"
#include "file/archive/entry_reader.h"
#include "file/places/lookup.h"

#include <optional>

namespace vl {

/// Reads a file that was found whole. It is open from the construction on, and what is known of it has been
/// checked, so memory can be taken for it.
class WholeFile {
  public:
    /// `entryName` is what messages call an archived file; it lives as long as this. Throws what EntryReader
    /// throws.
    WholeFile(FoundFile &&found, const char *entryName);

    /// Reads the first `count` bytes. What an archived file lacks is 0; false when a file on disk is shorter.
    /// Throws what EntryReader::readWhole throws.
    bool read(void *out, unsigned int count) const;

  private:
    ReadFile m_file;
    std::optional<EntryReader> m_entry;
};

/// The allocating load: a new block of `size` bytes; V_File::WHOLE_FILE becomes the file's size. Throws as
/// V_File::load.
CountedArray<char> loadWhole(const char *name, unsigned int &size,
                             const FileSystem &system = FileSystem::get());

} // namespace vl
