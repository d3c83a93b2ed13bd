// The file system: one name space over the disk and the archives.
//
// A name is resolved against the library's own current directory, then looked up on disk, then in the active
// archives. In the usual mode, AH_ARCHIVES, names are virtual paths below the local root (the executable's
// directory): `\data\car.txt` is, on disk, the local root followed by that path, and in an archive the file
// car.txt of the directory `\data\`. A file on disk hides an archived one of the same name.
//
// Names and paths are zero-terminated, hold at most 255 characters, use the backslash (slashes are taken
// alike) and ignore the case of A-Z. Resolving a name removes `.\` elements, lets `..` remove the element
// before it (above the root it stays at the root) and refuses what grows too long with
// V_FileException_PathTooLong. Every function that takes a name may throw that, and
// V_FileException_FilenameTooLong when that limit is enabled. Sizes and offsets are in bytes and 32 bits
// wide; larger files are refused with V_FileException_FileTooLarge. Exhausted memory throws
// V_MemoryException_Allocation.
//
// Nothing here is synchronised: all calls are expected from one thread at a time.
#pragma once

#include "vl/core/export.h"
#include "vl/core/string.h"
#include "vl/file/exception.h"
#include "vl/file/places.h"
#include "vl/file/reader.h"
#include "vl/file/search.h"
#include "vl/file/stream.h"
#include "vl/file/writer.h"

struct V_StartSettings;
namespace vl {
struct ArchiveIndexSlot;
class FileSystem;
} // namespace vl

/// The file system: names, plain files and archives. One exists, reached through `File`.
class VL_API V_File {
  public:
    /// Given as a size: all of the file.
    static constexpr unsigned int WHOLE_FILE = 0xFFFFFFFF;

    /// How names are resolved, and whether archives take part.
    enum ArchiveHandling {
        AH_DIRECTORIES = 0, ///< the disk only; names are operating-system paths
        AH_ARCHIVES = 1,    ///< names are virtual paths below the local root, on disk and in archives
        /// The disk only, as AH_DIRECTORIES, but on the current directory's drive alone: a full path on it
        /// stands as it is, so what was resolved once resolves to itself; any other name is joined to the
        /// current directory, or to its drive when it begins with a backslash.
        AH_LOCAL_ROOT = 2
    };

    /// Where a name is found.
    enum Location {
        LOC_NONE = 0,
        LOC_ARCHIVE = 1, ///< a file or directory inside an active archive
        LOC_DISK = 2     ///< a file or directory on disk
    };

    /// How an archived file is stored.
    enum Method {
        METHOD_LZSS = 1,           ///< an LZSS container
        METHOD_LZSS_SCRAMBLED = 2, ///< the same, scrambled
        METHOD_STORED = 3          ///< as it is
    };

    /// A calendar time as archives store it, UTC.
    struct CalendarTime {
        /// `month` and `day` count from 1, `dayOfWeek` from 0, Sunday.
        unsigned short year;
        unsigned short month;
        unsigned short dayOfWeek;
        unsigned short day;
        unsigned short hour;
        unsigned short minute;
        unsigned short second;
        unsigned short milliseconds;
    };

    /// One file of a loaded archive.
    struct VASFileEntry {
        const char *key;         ///< five digits of dirIndex, then the name: "00003readme.txt"
        unsigned int size;       ///< unpacked
        unsigned int offset;     ///< of the stored bytes, from the start of the archive
        unsigned int storedSize; ///< of the stored bytes
        unsigned int reserved;   ///< not examined
        unsigned int dirIndex;   ///< the VASDirectoryEntry::index of its directory
        unsigned int seed;       ///< of the scrambling, METHOD_LZSS_SCRAMBLED only
        unsigned int method;     ///< a Method; another value reads as nothing
        CalendarTime time;       ///< of the last write
    };

    /// One directory of a loaded archive.
    struct VASDirectoryEntry {
        const char *key;            ///< its path: "\data\maps\"
        unsigned char reserved[16]; ///< not examined
        int index;                  ///< position in the archive's directory region
    };

    /// The header of an archive file, unscrambled.
    struct VASHeader {
        /// Fields of the file, as docs/formats/archive.md describes them.
        unsigned int tag;
        unsigned int seed;
        unsigned int fileCount;
        unsigned int dirCount;
        unsigned int fileInfoSize;
        unsigned int dirInfoSize;
        float version;
        unsigned int headerCRC; ///< 0 once it has been checked
        unsigned int fileInfoCRC;
        unsigned int dirInfoCRC;
        unsigned int archiverID;
    };

    /// The tables of one loaded archive; all pointers are owned.
    struct V_VASArchive {
        char *archivePath;           ///< absolute path of the archive file
        VASHeader header;            ///< as read from it
        VASFileEntry *files;         ///< fileCount entries, sorted by key
        VASDirectoryEntry *dirs;     ///< dirCount entries, sorted by key
        char *fileNames;             ///< the keys of the files
        char *dirNames;              ///< the keys of the directories
        vl::ArchiveIndexSlot *index; ///< private: speeds the lookup; null when binary search serves
    };

    /// The answer of a lookup.
    struct V_VASFind {
        V_VASArchive *archive;  ///< null when nothing was found
        VASFileEntry *file;     ///< null for a directory
        VASDirectoryEntry *dir; ///< of the file, or what was found
    };

    /// Version of archives that this library reads: 1.2.
    static constexpr float VAS_ARCHIVE_VERSION = 1.2f;

    // ---- Names and directories -----------------------------------------------------------------------

    /// The resolved path of `name`. Valid until the next call.
    const char *getFullPathName(const char *name);

    /// Sets `out` to the directory part of the resolved path, trailing backslash included, or to its file
    /// part. A path without a backslash is given whole by both.
    void getPath(const char *name, V_String &out) const;
    void getFilename(const char *name, V_String &out) const;

    /// Makes `dir` the library's current directory; "." and "" change nothing, "\" is the root. Throws
    /// V_FileException_DirectoryNotFound with the resolved path when it is neither on disk nor in an active
    /// archive; nothing has changed then.
    void changeDirectory(const char *dir);

    /// The library's current directory, always ending with a backslash: a virtual path in AH_ARCHIVES mode,
    /// an operating-system path in the other modes. Valid, and kept up to date, as long as the file system.
    const char *getCurrentDirectory() const;

    /// The process's current directory as it was before the library was started; "" when that was longer than
    /// 255 characters.
    const char *getStartupDirectory() const;

    /// Makes `dir` (an operating-system path, relative to the process's current directory) the local root and
    /// the process's current directory, and loads the archives found there instead of the earlier ones.
    /// Throws V_FileException_DirectoryNotFound when it cannot be entered: the root is unchanged but no
    /// archives are loaded. Also throws what loading an archive throws.
    void setFileSystemRoot(const char *dir);

    /// When enabled, names whose file part is longer than 42 characters are refused with
    /// V_FileException_FilenameTooLong. Off at start.
    void enableFilenameLengthLimitation(bool enable);
    bool isFilenameLengthLimitationEnabled() const;

    /// Where `name` is found; the disk is asked first.
    Location where(const char *name);

    /// 1 when the name is found at all, else 0.
    int exists(const char *name);

    /// Tells all that is known of a name at once: of the file that load would read or, when there is none, of
    /// the first directory of that name. False, and `info` is unchanged, when there is neither. Nothing is
    /// opened.
    bool find(const char *name, V_FileInfo &info);

    /// What every place has of the name, a file or else a directory, first to last, so that it shows what
    /// hides what. Writes as many as there is `room` for to `infos` and returns how many there are.
    std::size_t findAll(const char *name, V_FileInfo *infos, std::size_t room);

    /// 1 when the name is a directory on disk or in an active archive, else 0.
    int isDirectory(const char *name);

    /// Off at start: two dots take the element before them away wherever they stand in a name, so
    /// `com_11..bvr` is `vr`. When on, `.` and `..` count only as whole elements and empty elements collapse
    /// (`ball//x` is `ball\x`), on disk and in archives alike, as today's tools write names.
    void setWholeElements(bool enable);
    bool hasWholeElements() const;

    // ---- Files ---------------------------------------------------------------------------------------

    /// Size in bytes, unpacked. Throws V_FileException_FileNotFound (with the upper-cased resolved path).
    unsigned int size(const char *name);

    /// Reads a file into `buffer`. From disk: `size` bytes from its start (all for WHOLE_FILE); fewer throw
    /// V_FileException_UnableToReadData with the disk path.
    /// CAUTION: of an ARCHIVED file ALL bytes are written, WHATEVER `size` SAYS: the buffer must hold
    /// File->size(name) bytes. Use the allocating load when in doubt.
    /// Throws V_FileException_FileNotFound, V_FileException_ArchiveNotFound (the archive has vanished),
    /// V_FileException_UnableToReadData (the archive is cut short) and V_FileException_FileCorrupted (the
    /// archived data is damaged), the last two with the resolved path. After an exception the buffer may be
    /// partly written.
    void load(void *buffer, const char *name, unsigned int size);
    /// The same: a char buffer must not be taken for the label of the allocating load.
    void load(char *buffer, const char *name, unsigned int size) {
        load(static_cast<void *>(buffer), name, size);
    }

    /// Reads a file into a new block of `size` bytes (of the file's size for WHOLE_FILE), to be released with
    /// free. An archived file that is larger is cut to `size`; one that is smaller leaves the rest 0; a
    /// disk file that is smaller throws V_FileException_UnableToReadData. A size of 0 throws
    /// V_FileException_FileCorrupted, so an empty file cannot be loaded this way. An archived file of an
    /// unknown method gives zeros. Otherwise throws as the load above, and before a large block is taken if
    /// the archive cannot hold so large a file. `owner` is a label without effect.
    char *load(const char *owner, const char *name, unsigned int size);
    char *load(const char *name, unsigned int size);

    /// Releases a block of load, compress, decompress, encrypt or decrypt; null is ignored.
    void free(char *buffer);

    /// Writes a file on disk, creating its directory (not the directory's parents) when it is missing. With
    /// override on (the start setting) an existing disk file is replaced, otherwise it is left alone. Returns
    /// 1, or 0 when nothing was written because of that or because the file cannot be opened. How much the
    /// disk took is not examined: compare size() where a full disk must be noticed. A name with two dots
    /// beside other characters, which take the element before them away, is written so and told in the log.
    int save(const char *name, const void *data, unsigned int size);

    /// Writes behind the end of a file on disk, creating it as save does when it is missing. 1 or 0 as save.
    /// CAUTION: a file that exists but cannot be opened for appending (a read-only one) is saved, too: with
    /// override on it is REPLACED by the new bytes alone.
    int append(const char *name, const void *data, unsigned int size);

    /// Deletes a file on disk: 1, or 0 when nothing was deleted. Archived files are never touched.
    int del(const char *name);

    /// Whether save replaces existing files (non-zero).
    void setOverride(int override);

    // The functions from here to getUserDirectory tell what fails with V_FileException_OperationFailed. They
    // change what lies in the write directory, or else below the local root, as save does, and throw
    // V_FileException_OutsideWriteDirectory likewise.

    /// Writes a file, creating directories as save does, so that it can never be lost: the old file stays
    /// until the new one is whole and on the disk itself. As V_FileWriter::REPLACE and commit, which say
    /// more.
    void saveAtomically(const char *name, const void *data, unsigned int size);

    /// Writes a copy of a file, wherever it is read from, as saveAtomically does it. Throws what V_FileReader
    /// throws, too.
    void copy(const char *from, const char *to);

    /// Renames a file or a directory, or moves it; a file that is called `to` is replaced.
    void rename(const char *from, const char *to);

    /// Creates a directory with all that lead to it; one that is there will do.
    void createDirectory(const char *name);

    /// Removes a directory that holds nothing.
    void removeDirectory(const char *name);

    /// Sets `out` to the directory for what a program keeps of its user's (saved games, settings), an
    /// operating-system path, for setWriteDirectory for example, and creates it: `maker` and `program` below
    /// $XDG_DATA_HOME, or ~/.local/share without that. Both must be plain names.
    void getUserDirectory(const char *maker, const char *program, V_String &out);

    /// Time of the last write, UTC, as a number that orders times but is no count of seconds:
    /// (((((year - 1995) * 12 + month) * 31 + day) * 24 + hour) * 60 + minute) * 60 + second, modulo 2^32.
    /// 0 when the file is not found.
    unsigned int timeStamp(const char *name);

    /// Finds a name that does not exist on disk: writes `format` (printf, one int) with 0, 1, 2, ... into
    /// `out` until it does. `out` holds 256 characters. Returns 1; or 0 with an empty `out` when the format
    /// gives the same name again. Throws V_FileException_PathTooLong when a name does not fit.
    int tmpName(char *out, const char *format);

    // ---- Places --------------------------------------------------------------------------------------

    /// Where a place comes to stand among the others.
    enum PlaceOrder {
        PLACE_FIRST,  ///< in front of all, but for the write directory
        PLACE_LAST,   ///< behind all
        PLACE_BEFORE, ///< right before another
        PLACE_BEHIND  ///< right behind another
    };

    /// Adds a directory or an archive to the places that names are looked for in and returns its id. `path`
    /// is an operating-system path, relative ones lie below the local root. `at` is the virtual directory
    /// where the place is shown, with all that leads there; "\" is the root. `beside` is the id of the other
    /// place for PLACE_BEFORE and PLACE_BEHIND. An archive stays the file that it is now, whatever comes to
    /// lie at its path, as long as the process has files left to open; from then on another file at the path
    /// is noticed when it is read, as with the archives that stand from the start. Nothing else is touched.
    /// Throws, and nothing has changed then, V_FileException_FileNotFound (no such path),
    /// V_FileException_NoSuchPlace and what enablePriorityArchive throws, V_FileException_UnableToReadData
    /// also when an archive's data is cut short.
    unsigned int addPlace(const char *path, PlaceOrder order = PLACE_LAST, const char *at = "\\",
                          unsigned int beside = 0);

    /// Takes a place out of the list. Open streams and running searches go on to their end over it. False
    /// when there is none of this id, and for the local root, which stays.
    bool removePlace(unsigned int id);

    /// Moves a place. False when there is none of this id, and for the write directory, which stays the
    /// first. Throws V_FileException_NoSuchPlace.
    bool movePlace(unsigned int id, PlaceOrder order, unsigned int beside = 0);

    /// Makes a directory (an operating-system path, relative ones lie below the local root) the one that
    /// files are written to, and the first of the places; null or "" for the local root, as at the start. In
    /// the write directory `save` creates all directories that a name tells, and what a link would lead out
    /// of it is refused with V_FileException_OutsideWriteDirectory. Throws V_FileException_DirectoryNotFound;
    /// nothing has changed then.
    void setWriteDirectory(const char *dir);

    // ---- Search --------------------------------------------------------------------------------------

    /// One search after the other, as V_FileSearch does it, which several at once need: findFirst begins a
    /// new one and returns its first name, findNext the next one, null when there are no more. Valid until
    /// the next call of either. Loading archives anew ends the search.
    const char *findFirst(const char *pattern);
    const char *findNext();

    // ---- Archives ------------------------------------------------------------------------------------

    /// Names in archives match without regard to the case of A-Z; the first active archive that holds one
    /// answers (the priority archive, those of the local root sorted by name, those of the secondary
    /// directory likewise), and of several records with equal names in one archive the first. A file whose
    /// directory has no record is not found.

    /// Sets how names are resolved (ArchiveHandling) and resets the current directory: `\` for AH_ARCHIVES,
    /// the local root otherwise. Archives are parked while the mode is not AH_ARCHIVES. Another value than
    /// these resolves names as AH_LOCAL_ROOT does.
    void setArchiveHandling(int mode);
    int getArchiveHandling() const;

    /// Loads the archive `name` (relative to the local root) in front of all others, replacing an earlier
    /// priority archive. While archives are parked it is parked, too, as the first of them. Throws
    /// V_FileException_ArchiveNotFound, V_FileException_UnableToReadData,
    /// V_FileException_ArchiveCorrupted or V_FileException_ArchiveVersionConflict; no priority archive is
    /// enabled then.
    void enablePriorityArchive(const char *name);

    /// Unloads the priority archive, wherever it is (also while archives are parked). After setFileSystemRoot
    /// or setSecondaryArchiveSearchPath, which unload it with the others, this only clears the flag.
    void disablePriorityArchive() const;
    bool isPriorityArchiveEnabled() const;

    /// The name last given to enablePriorityArchive.
    const char *getPriorityArchive() const;

    /// Sets a second directory whose archives are loaded behind those of the local root ("" for none), then
    /// loads all archives anew. Returns whether that directory holds any. Throws what loading an archive
    /// throws.
    bool setSecondaryArchiveSearchPath(const char *dir);
    const char *getSecondaryArchiveSearchPath() const;

    /// How a file is stored (Method): METHOD_STORED for whatever is on disk; -1 when it is not found or is a
    /// directory of an archive only.
    int getMethod(const char *name);

    /// Throws V_FileException_IncompatibleArchiverID, naming the first active archive that was not built for
    /// `id`.
    void verifyArchiverID(int id) const;

    // ---- Containers and checksums --------------------------------------------------------------------

    /// A new "VA->" container holding `size` bytes compressed by LZSS; release it with free. 0 bytes give a
    /// container of size 0; data from 3579135872 bytes on, whose worst case does not fit 32 bits, throws
    /// V_MemoryException_Allocation. `owner` is a label without effect.
    void *compress(const char *owner, const void *data, unsigned int size);
    void *compress(const void *data, unsigned int size);

    /// The content of a "VA->" container in a new block; release it with free. The container's length is not
    /// known here, so its `packedSize` is trusted: the caller vouches that so many bytes are there.
    /// Everything else is checked: a wrong magic or code that does not decode to exactly `size` bytes throws
    /// V_FileException_FileCorrupted with "VA->". Code in a container of `size` 0 is ignored, as in an
    /// archive.
    void *decompress(const char *owner, const void *container);
    void *decompress(const void *container);

    /// A new "VC->" container of `size` + 16 bytes holding the data scrambled under a fresh random seed;
    /// release it with free. It hides, it does not secure. Throws V_FileException_FileTooLarge when `size` +
    /// 16 does not fit 32 bits.
    void *encrypt(const char *owner, const void *data, unsigned int size);
    void *encrypt(const void *data, unsigned int size);

    /// The content of a "VC->" container in a new block; release it with free. Nothing of the container is
    /// examined: a damaged or foreign one gives wrong bytes, and the caller vouches that the `size` bytes are
    /// there. Keep a CRC32 beside it where damage must be noticed.
    void *decrypt(const char *owner, const void *container);
    void *decrypt(const void *container);

    /// CRC-32 as in IEEE 802.3 and zlib; 0 for 0 bytes.
    unsigned int CRC32(const void *data, unsigned int size);

  private:
    friend class V_VantorInit;
    friend class vl::FileSystem;

    VL_LOCAL explicit V_File(const V_StartSettings &settings);
    VL_LOCAL ~V_File();
    V_File(const V_File &) = delete;
    V_File &operator=(const V_File &) = delete;

    vl::FileSystem *m_pSystem; ///< all that it holds, owned
};

#ifndef VL_NO_GLOBAL_NAMES
/// The file system; null before start-up and after shutdown. A program that has another `File` defines
/// VL_NO_GLOBAL_NAMES before it includes the library and asks V_getFile.
extern VL_API V_File *File;
#endif

/// What `File` points to.
VL_API V_File *V_getFile();

/// Changes the library's current directory for the length of a scope.
class VL_API V_FileDirectoryChange {
  public:
    V_FileDirectoryChange();
    /// As construct.
    explicit V_FileDirectoryChange(const V_String &dir);
    /// Changes back. Never throws: should the earlier directory be gone, the current one becomes the root.
    ~V_FileDirectoryChange();

    /// Undoes a change in force (as destruct), then remembers the current directory and changes to `dir`.
    /// When that fails, throws as V_File::changeDirectory, the earlier directory being back and no change in
    /// force.
    void construct(const V_String &dir);
    /// Undoes the change, if one is in force. Throws as V_File::changeDirectory when the earlier directory is
    /// gone; the change then stays in force.
    void destruct();
    /// Whether a change is in force.
    bool isConstructed() const { return m_bConstructed; }

  private:
    V_FileDirectoryChange(const V_FileDirectoryChange &) = delete;
    V_FileDirectoryChange &operator=(const V_FileDirectoryChange &) = delete;
    VL_LOCAL void initializeMembers();

    V_String m_strPrevious;
    bool m_bConstructed;
};
