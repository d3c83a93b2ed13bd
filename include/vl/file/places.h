// The places that names are looked for in, and what is known of a name.
//
// Names are looked for in an ordered list of places, directories and archives anywhere on the system, each
// shown at the root of the name space or at a virtual directory; the first place that has a name answers.
// From the start the local root stands there, then the priority archive, the archives of the local root and
// those of the secondary directory. V_File::addPlace and its neighbours change the list. Places take part
// while archives do, in the mode AH_ARCHIVES; in the other modes they are parked.
#pragma once

#include "vl/core/export.h"

#include <cstddef>
#include <cstdint>
#include <iterator>

namespace vl {
class DirectoryView;
class PlaceList;
} // namespace vl

/// One place, as V_FilePlaces tells it.
struct V_FilePlace {
    /// Why a place is in the list.
    enum Origin {
        ORIGIN_ADDED = 0,           ///< by V_File::addPlace
        ORIGIN_WRITE_DIRECTORY = 1, ///< by V_File::setWriteDirectory
        ORIGIN_LOCAL_ROOT = 2,
        ORIGIN_PRIORITY = 3, ///< the priority archive
        ORIGIN_ROOT = 4,     ///< an archive of the local root
        ORIGIN_SECONDARY = 5 ///< an archive of the secondary directory
    };

    unsigned int id;         ///< not 0; while the process runs no other place gets it
    Origin origin;           ///< why it is there
    bool isArchive;          ///< or else a directory on disk
    const char *path;        ///< the archive's or the directory's, absolute, as the operating system has it
    const char *at;          ///< the virtual directory where it is shown: `\`, or `\mods` for example
    unsigned int files;      ///< how many an archive holds; 0 for a directory
    unsigned int archiverID; ///< of an archive; 0 for a directory
};

/// What is known of a name: see V_File::find.
struct V_FileInfo {
    unsigned int place; ///< the V_FilePlace::id of the place that has it
    bool isDirectory;   ///< or else a file
    bool isArchived;    ///< in an archive, or else on disk
    int method;         ///< how it is stored (V_File::Method); METHOD_STORED on disk; -1 for a directory
    std::uint64_t size; ///< of a file, in bytes, unpacked; 0 for a directory
    std::uint64_t storedSize; ///< the bytes that it takes in its archive; on disk as size
    /// Of the last write, UTC, in the order of V_File::timeStamp, which it is; 0 when it is not known, as of
    /// an archive's directories.
    unsigned int timeStamp;
    /// On disk the file's or directory's own path; otherwise the archive's. Absolute, as the operating system
    /// has it, in the spelling of the name. "" of a virtual directory above the place.
    char path[256];
};

/// The list of places as it was when this was made; it stays as it was.
///
///     for (const V_FilePlace &place : V_FilePlaces())
///         Sys->verbose("%u %s\n", place.id, place.path);
class VL_API V_FilePlaces {
  public:
    /// Those of `File`, in the order in which they are asked, whether they take part or are parked.
    V_FilePlaces();
    ~V_FilePlaces();
    V_FilePlaces(const V_FilePlaces &) = delete;
    V_FilePlaces &operator=(const V_FilePlaces &) = delete;

    /// How many there are.
    std::size_t size() const;
    /// One of them, by its position. Its texts are valid as long as this.
    V_FilePlace operator[](std::size_t position) const;

    /// Goes over the places, for range-for.
    class Iterator {
      public:
        /// At a position.
        Iterator(const V_FilePlaces &places, std::size_t position)
            : m_pPlaces(&places), m_uPosition(position) {}
        /// The place there.
        V_FilePlace operator*() const { return (*m_pPlaces)[m_uPosition]; }
        /// Moves on.
        Iterator &operator++() {
            ++m_uPosition;
            return *this;
        }
        /// Whether it is at another position.
        bool operator!=(const Iterator &other) const { return m_uPosition != other.m_uPosition; }

      private:
        const V_FilePlaces *m_pPlaces;
        std::size_t m_uPosition;
    };
    /// The first.
    Iterator begin() const { return {*this, 0}; }
    /// Behind the last.
    Iterator end() const { return {*this, size()}; }

  private:
    const vl::PlaceList *m_pList; ///< of which it holds a reference
};

/// One name of a V_FileListing.
struct V_ListedFile {
    const char *name;         ///< bare, as the place that answers spells it
    unsigned int place;       ///< this and the others as in V_FileInfo
    bool isDirectory;         ///< or else a file
    bool isArchived;          ///< in an archive, or else on disk
    int method;               ///< as in V_FileInfo
    std::uint64_t size;       ///< as in V_FileInfo
    std::uint64_t storedSize; ///< as in V_FileInfo
    unsigned int timeStamp;   ///< as in V_FileInfo
};

/// The names in one directory as a program sees them: each once, from the place that answers to it, sorted by
/// upper-cased bytes. V_FileSearch, beside it, gives a name for each place that has it. It stays as it was
/// when it was made.
///
///     for (const V_ListedFile &file : V_FileListing("maps\\*.map"))
///         menu.add(file.name, file.size);
class VL_API V_FileListing {
  public:
    /// Those that match `pattern`, which is as V_FileSearch takes it. Throws what V_FileSearch throws.
    explicit V_FileListing(const char *pattern);
    ~V_FileListing();
    V_FileListing(const V_FileListing &) = delete;
    V_FileListing &operator=(const V_FileListing &) = delete;

    /// How many there are.
    std::size_t size() const { return static_cast<std::size_t>(end() - begin()); }
    /// One of them, by its position. Valid as long as this.
    const V_ListedFile &operator[](std::size_t position) const { return begin()[position]; }
    /// The first.
    const V_ListedFile *begin() const;
    /// Behind the last.
    const V_ListedFile *end() const;

  private:
    vl::DirectoryView *m_pView;
};
