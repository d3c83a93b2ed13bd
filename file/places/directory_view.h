// One directory as programs see it: every name once, from the place that answers to it.
#pragma once

#include "core/counted.h"
#include "file/places/place_list.h"
#include "vl/file/places.h"

#include <vector>

namespace vl {

class FileSystem;

class DirectoryView {
  public:
    /// Throws what SearchPattern throws, and V_MemoryException_Allocation.
    DirectoryView(const FileSystem &system, const char *pattern);

    const V_ListedFile *begin() const { return m_files.data(); }
    const V_ListedFile *end() const { return m_files.data() + m_files.size(); }

  private:
    std::vector<V_ListedFile, CountedAllocator<V_ListedFile>> m_files;
    std::vector<char, CountedAllocator<char>> m_names; ///< of them, each with its terminating zero
};

} // namespace vl
