// Searches: the names in one directory, on disk and in the archives.
#pragma once

#include "vl/core/export.h"

#include <cstddef>
#include <iterator>

namespace vl {
class Search;
}

/// A search for names, of which any number may run at once; V_File::findFirst and findNext are one that
/// `File` holds. It goes on over the archives that were loaded when it began, whatever is loaded or unloaded
/// meanwhile.
///
///     for (const char *name : V_FileSearch("maps\\*.map"))
///         ...
class VL_API V_FileSearch {
  public:
    /// Begins a search for the names in one directory that match `pattern`: an optional directory, then a
    /// name with the wildcards * (any run of characters) and ? (exactly one). Two dots climb in the directory
    /// and stand for themselves in the name. Throws V_FileException_PathTooLong,
    /// V_FileException_FilenameTooLong when that limit is enabled, and V_MemoryException_Allocation.
    explicit V_FileSearch(const char *pattern);
    ~V_FileSearch();
    V_FileSearch(V_FileSearch &&other) noexcept;
    V_FileSearch &operator=(V_FileSearch &&other) noexcept;

    /// The next bare name, of a file or a directory, or null when there are no more: first the names on disk,
    /// sorted; then the subdirectories of each active archive; then their files. A name found in several
    /// places is given for each. Valid until the next call. Throws V_MemoryException_Allocation.
    const char *next();

    /// Goes over the names that next has not given yet: an input iterator.
    class Iterator {
      public:
        /// What the standard library asks of an iterator.
        using iterator_category = std::input_iterator_tag;
        using value_type = const char *;        ///< a name
        using difference_type = std::ptrdiff_t; ///< of no use
        using pointer = const value_type *;     ///< likewise
        using reference = value_type;           ///< a name

        /// The end.
        Iterator() = default;
        /// The next name of a search.
        explicit Iterator(V_FileSearch &search) : m_pSearch(&search), m_pName(search.next()) {}
        /// The name, valid until the iterator moves on.
        const char *operator*() const { return m_pName; }
        /// Moves on to the next name. Throws as next.
        Iterator &operator++() {
            m_pName = m_pSearch->next();
            return *this;
        }
        /// Equal at the end, or at the same name of the same search.
        bool operator==(const Iterator &other) const { return m_pName == other.m_pName; }
        /// The reverse.
        bool operator!=(const Iterator &other) const { return m_pName != other.m_pName; }

      private:
        V_FileSearch *m_pSearch = nullptr;
        const char *m_pName = nullptr;
    };
    /// For range-for: from the next name on, to the last. Throws as next.
    Iterator begin() { return Iterator(*this); }
    /// The end.
    Iterator end() { return {}; }

  private:
    vl::Search *m_pSearch;
};
