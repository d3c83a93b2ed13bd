// What the one V_File holds: how names become paths, the places that names are looked for in, and the search
// of findFirst.
#pragma once

#include "core/ref.h"
#include "file/names/name_rules.h"
#include "file/places/place_list.h"
#include "file/places/search.h"
#include "vl/core/startup.h"
#include "vl/file.h"

#include <cstdio>
#include <optional>

namespace vl {

class FileSystem {
  public:
    /// What `File` holds; there must be one.
    static FileSystem &get() { return *File->m_pSystem; }

    /// Enters the directory that the settings (which must outlive this) tell, as V_File::setFileSystemRoot
    /// does it.
    explicit FileSystem(const V_StartSettings &settings);

    /// The root that a start with these settings has, by the name that the system gives it. Throws
    /// V_FileException_DirectoryNotFound, V_FileException_PathTooLong and V_MemoryException_Allocation.
    static Path rootOf(const V_StartSettings &settings);

    /// Opens a file by an operating-system path, as platform::openFile does: relative to the process's
    /// current directory, or to the root where that is left alone. May be called without a started library.
    static std::FILE *openGiven(const char *path, const char *mode);

    NameRules names;
    Path startupDirectory;
    Path fullPathName;            ///< the answer of getFullPathName
    bool overrides = true;        ///< whether save replaces files
    std::optional<Search> search; ///< of findFirst

    /// The places that take part in lookups: the disk alone while names are operating-system paths.
    const Ref<const PlaceList> &activePlaces() const { return names.areVirtual() ? m_places : m_diskAlone; }
    /// All of them, also while they are parked.
    const Ref<const PlaceList> &places() const { return m_places; }

    /// As V_File::addPlace and its neighbours.
    unsigned int addPlace(const char *path, V_File::PlaceOrder order, const char *at, unsigned int beside);
    bool removePlace(unsigned int id);
    bool movePlace(unsigned int id, V_File::PlaceOrder order, unsigned int beside);
    void setWriteDirectory(const char *dir);
    /// The directory that files are written to, if it is one apart and takes part; null for the local root.
    const Placing *writeDirectory() const;

    /// Makes `dir` the local root and loads its archives instead of the active ones.
    void setRoot(const char *dir);
    bool setSecondaryDirectory(const char *dir);
    const Path &secondaryDirectory() const { return m_secondaryDirectory; }

    void enablePriorityArchive(const char *name);
    void disablePriorityArchive();
    bool isPriorityEnabled() const { return m_bPriorityEnabled; }
    const Path &priorityName() const { return m_priorityName; }

  private:
    void enterDirectory(const char *dir);
    bool loadArchives();
    bool loadArchivesOf(const char *directory, V_FilePlace::Origin origin);
    bool loadFound(const char *directory, const char *name, V_FilePlace::Origin origin);
    void unloadArchives();
    Ref<Archive> loadArchive(const char *name) const;
    Path belowRoot(const char *path) const;
    bool expand(Path &out, const char *path) const;
    std::size_t positionFor(const PlaceList &places, V_File::PlaceOrder order, unsigned int beside) const;
    Place newPlace(Ref<Archive> archive, Ref<const Placing> placing, V_FilePlace::Origin origin) {
        return {std::move(archive), std::move(placing), origin, m_uNextId++};
    }

    const V_StartSettings &m_settings;
    unsigned int m_uNextId = 1;
    Ref<const PlaceList> m_diskAlone; ///< the local root
    Ref<const PlaceList> m_places;    ///< parked while names are operating-system paths
    bool m_bPriorityEnabled = false;  ///< stays when archives are loaded anew, though the archive does not
    Path m_priorityName;              ///< as the client gave it
    Path m_secondaryDirectory;        ///< empty, or ending with a backslash
};

} // namespace vl
