// All that the library asks of an operating system, in the library's own terms. Nothing above this header
// includes an operating-system header or knows which system it runs on; one folder beside it holds the answer
// of each system.
//
// Paths given to and reported by these functions are zero-terminated UTF-8, use the backslash (a slash is
// taken alike) and name files without regard to the case of A-Z. A system without drives presents its tree as
// the one drive C: (the root directory is `C:\`), and any bytes as they are; another drive and a network path
// (`\\server\...`) name nothing there. A path without a leading backslash is relative to the process's
// current directory, `C:a.txt` to that of the drive.
// "." and ".." are resolved by text alone, ".." above the root is the root, and a path that ends in a
// backslash names a directory or nothing. A path longer than maxPath characters is refused, never cut,
// whether it is given or reported. Nothing here throws: failure is a false or null result.
//
// Where names are exact in the system, the exact spelling of an element wins; where a directory holds none,
// the first in sorted order of the names that are equal but for the case of A-Z is meant (sorted by their
// upper-cased bytes, and where these are equal by the bytes themselves). An element once chosen stands: if
// the rest of the path is not below it, no other spelling of it is tried. Which names a directory holds is
// cached and checked at every call, so a name that appears, vanishes or changes between two calls is seen; a
// missing name costs one system call. The cache is not locked: the functions that take a path belong to one
// thread at a time. The others may be called from any.
#pragma once

#include <cstdint>
#include <cstdio>
#include <string_view>

namespace vl::platform {

/// Longest path in characters, the terminating zero not counted.
inline constexpr unsigned int maxPath = 255;

/// A buffer for one path.
using PathBuffer = char[maxPath + 1];

// ---- Directories and file names ------------------------------------------------------------------------

/// The process's current directory, without a trailing backslash except for a drive's root. False when it
/// cannot be told or does not fit.
bool currentDirectory(PathBuffer &out);

/// Makes `path` the process's current directory. False when it is not a directory that can be entered. The
/// layer may keep the directory open, so that names missing below it are told at less cost.
bool setCurrentDirectory(const char *path);

/// The absolute form of `path`: with drive, in single backslashes, without "." and "..", without a trailing
/// backslash except for the root, in the spelling given; the file need not exist. False when it does not fit,
/// or `path` is empty, on another drive or on the network.
bool fullPath(PathBuffer &out, const char *path);

/// The path by which currentDirectory would tell the directory `path` once it were entered: absolute, as the
/// system spells it, links followed. False when it is no directory, or does not fit.
bool realDirectory(PathBuffer &out, const char *path);

/// A path as the system itself writes it: `/home/u/a.txt` for `C:\home\u\a.txt`. False where fullPath is.
bool systemPath(PathBuffer &out, const char *path);

enum class FileKind { None, File, Directory };

/// What lies at `path`: nothing that can be found, a file (anything that is not a directory), or a directory.
/// Asked of every name, so its length need not be counted again.
FileKind fileKind(std::string_view path);

/// Creates one directory; its parent must exist. False when it was not created (also when the name exists, in
/// any spelling).
bool createDirectory(const char *path);

/// Whether `path`, which lies below `directory` by its text, lies there in fact, with all links followed:
/// what exists of it, and what a link at its end would have created.
bool staysWithin(const char *directory, const char *path);

/// Deletes a file (never a directory), in whatever spelling it is there. False when nothing was deleted.
bool removeFile(const char *path);

// ---- Files ---------------------------------------------------------------------------------------------

/// Opens a file for standard input and output, `mode` as for fopen: one of r, w and a, then any of +, b and
/// t. Opening for writing a name that exists in another spelling opens that file; a new file goes into the
/// directory that matches. Null on failure; a directory never opens, and for reading nothing but a regular
/// file does (a pipe is refused rather than waited for). Programs started later do not inherit it. The caller
/// closes the result with fclose.
std::FILE *openFile(const char *path, const char *mode);

/// The length in bytes of an open file of any size, with what was written to it and is still buffered; the
/// position is left where it was. False when the length cannot be told (a pipe or a device, for example).
bool fileLength(std::FILE *file, std::uint64_t &length);

/// Moves an open file to an absolute position. False on failure.
bool seekFile(std::FILE *file, std::uint64_t position);

/// What tells a file from another one that has taken its place, and from itself when it has changed.
struct FileIdentity {
    std::uint64_t volume, file; ///< the system's own numbers
    std::uint64_t length;       ///< in bytes
    std::int64_t lastWrite;     ///< in seconds since 1970, UTC
    std::uint32_t nanoseconds;  ///< of that second

    bool operator==(const FileIdentity &) const = default;
};

/// A file that is open for reading at any position, from any thread.
using FileHandle = std::intptr_t;
inline constexpr FileHandle noFile = -1;

/// What a path is known for.
enum class OpenAs {
    Named, ///< made of a client's name: most likely there is no such file
    Known  ///< a file was found under it before
};

/// As fileKind, and tells what lies there; of a directory that is when its names last changed.
FileKind fileStatus(std::string_view path, FileIdentity &identity);

/// Opens an existing regular file for reading and tells what it is. noFile, and nothing told, when there is
/// none that can be read; nothing else ever opens, and a pipe is refused rather than waited for. Programs
/// started later do not inherit it.
FileHandle openForReading(const char *path, FileIdentity &identity, OpenAs as);

/// Reads `count` bytes at `position`; fewer only at the end of the file or on an error. Returns the bytes
/// read.
std::uint32_t readAt(FileHandle file, std::uint64_t position, void *buffer, std::uint32_t count);

void closeFile(FileHandle file);

/// The same open file once more, with what it is now; noFile when the process cannot open another.
FileHandle duplicate(FileHandle file, FileIdentity &identity);

/// Whether an open file may be kept for long: not when half of the files that the process may open are open.
bool mayStayOpen(FileHandle file);

// ---- Writing -------------------------------------------------------------------------------------------
//
// What fails here leaves a reason, which lastFailure tells until the next failure of one of these functions
// on the same thread.

/// Why the last of these functions failed on this thread, in the system's words; "" when none has.
const char *lastFailure();

enum class WriteMode {
    Replace, ///< an existing file is emptied, a missing one made
    Keep,    ///< what an existing file holds stays, a missing one is made
    Existing ///< what the file holds stays; there must be one
};

/// Opens a file for writing at any position and tells what it is. Names are taken as openFile takes them.
/// noFile on failure; a directory never opens, and nothing but a regular file does.
FileHandle openForWriting(const char *path, WriteMode mode, FileIdentity &identity);

/// Writes `count` bytes at `position`. Returns the bytes written: fewer on failure alone.
std::uint32_t writeAt(FileHandle file, std::uint64_t position, const void *data, std::uint32_t count);

/// Cuts a file, or makes it longer with zeros.
bool resizeFile(FileHandle file, std::uint64_t length);

/// Hands what was written to the disk itself.
bool flushToDisk(FileHandle file);

/// Closes a file that was written to: some systems tell only here that something was not.
bool closeWritten(FileHandle file);

/// Renames a file or directory; a file at the new name, in whatever spelling, is replaced.
bool rename(const char *from, const char *to);

/// Removes a directory that holds nothing.
bool removeDirectory(const char *path);

/// Creates a directory with all that lead to it; one that is there already will do.
bool createDirectories(const char *path);

/// A new file that is to take the place of another one when it is whole.
class Replacement;

/// Makes a file of a name of its own in the directory of `path`, or of what a link there leads to. It has the
/// access rights of the file that it will replace. Null on failure; `outOfMemory` tells whether that was for
/// want of memory. The caller gives the result to one of the two functions behind it.
Replacement *beginReplacement(const char *path, bool *outOfMemory);
FileHandle fileOf(const Replacement *replacement);

/// Hands the new file to the disk and puts it in the place of the old one in one step: whoever looks, also
/// after a crash, finds the one or the other. On failure the old one stays and the new one is removed.
bool finishReplacement(Replacement *replacement);
/// Removes the new file; null is ignored.
void dropReplacement(Replacement *replacement);

/// The directory where the user's programs keep their data, in the layer's form. False when there is none or
/// it does not fit.
bool userDataDirectory(PathBuffer &out);

/// A point in time in calendar form, UTC. Months 1-12, days 1-31, Sunday is day of week 0.
struct CalendarTime {
    std::uint16_t year, month, dayOfWeek, day, hour, minute, second, milliseconds;
};

/// The calendar form of a file's last write. False when its year does not fit.
bool toCalendar(const FileIdentity &identity, CalendarTime &time);

// ---- Enumeration of a directory ------------------------------------------------------------------------

/// One running enumeration of the names in a directory.
class Enumeration;

/// Starts to enumerate the names of one directory that match the wildcards `*` and `?` of the last element of
/// `pattern` ("*" and "*.*" match every name), without "." and "..". Names come sorted by their upper-cased
/// bytes, those that differ in case only by the bytes themselves, so the order is the same on every machine.
/// Left out is what no path can name: names of more than maxPath characters or with a backslash. The names
/// are those of the moment of the call. Null when the directory cannot be read or no memory is left;
/// `outOfMemory`, where given, tells which.
Enumeration *startEnumeration(const char *pattern, bool *outOfMemory = nullptr);

/// The next bare name, or null at the end. Valid until endEnumeration.
const char *nextName(Enumeration *enumeration);

/// Releases an enumeration; null is ignored.
void endEnumeration(Enumeration *enumeration);

// ---- Unbuffered reading --------------------------------------------------------------------------------

/// A file opened for reading past the system's cache.
class UnbufferedFile;

/// Opens an existing regular file; where the file system offers no unbuffered reading, ordinary reads serve.
/// Tells what it is. Null on failure; `outOfMemory`, where given, tells whether that was for want of memory.
UnbufferedFile *openUnbuffered(const char *path, FileIdentity &identity, bool *outOfMemory = nullptr);
/// The same of a file that is open already, whatever has become of its path.
UnbufferedFile *openUnbuffered(FileHandle file, FileIdentity &identity, bool *outOfMemory = nullptr);
void closeUnbuffered(UnbufferedFile *file);

/// Bytes per sector: positions, counts and buffer addresses of readUnbuffered are multiples of it. A power of
/// two, at least 512; it never changes while the file is open.
std::uint32_t sectorSize(UnbufferedFile *file);

/// Reads `count` bytes at `position` into `buffer`; short only at the end of the file or on an error. Returns
/// the bytes read. Where the file system refuses a direct read, this and all later reads are ordinary ones.
std::uint32_t readUnbuffered(UnbufferedFile *file, std::uint64_t position, void *buffer, std::uint32_t count);

// ---- The process and the machine -----------------------------------------------------------------------

/// The full path of the program's executable, of any length; `C:\` where it cannot be told. Valid for the
/// rest of the process. Null when no memory is left.
const char *executablePath();

/// The computer's name, cut after 15 characters. False when it cannot be told or cannot be part of a file
/// name.
bool computerName(char (&out)[16]);

/// Physical memory in bytes, in all and as much as can be had without swapping; figures beyond 4294967295 are
/// reported as 4294967295, those that cannot be told as 0.
void physicalMemory(std::uint32_t &total, std::uint32_t &available);

/// What a system knows of the processor: a name, and the sizes of its caches in bytes. "" and 0 for what it
/// does not tell.
struct SystemProcessor {
    char name[64];
    std::uint32_t l1Code, l1Data, l2, l3;
};

/// Asked where the processor does not tell of itself.
void describeProcessor(SystemProcessor &processor);

/// Priorities as raisePriority found them, in the system's own numbers, and whether it changed them. POSIX
/// has two that concern a thread: its nice value and its scheduling policy; Windows the process's class and
/// the thread's own.
struct Priority {
    int process, thread;
    bool processChanged, threadChanged;
};

/// Raises the calling thread as far as the system allows without asking, at most to the lowest of the
/// real-time priorities; what is not allowed is left alone, and so is a thread that is real-time already.
Priority raisePriority();

/// Restores what raisePriority changed; to be called by the same thread.
void restorePriority(const Priority &saved);

/// The high-resolution counter: monotonic nanoseconds. performanceFrequency is false where there is none.
bool performanceFrequency(std::int64_t &ticksPerSecond);
std::int64_t performanceCounter();

/// A monotonic millisecond clock that wraps after 2^32 milliseconds.
std::uint32_t milliseconds();

/// Whether the operating system saves the SSE registers of a thread.
bool savesSseState();

/// Writes a line on standard error, where there is one, and waits for nobody. Takes no memory.
void printError(const char *text);

/// Tells the user of a fatal failure and, where the system has a message box, waits until it is closed; on
/// POSIX title and text go to standard error. Null counts as an empty text.
void messageBox(const char *title, const char *text);

} // namespace vl::platform
