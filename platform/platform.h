// All that the library asks of an operating system, in the library's own terms. Nothing above this header
// includes an operating-system header or knows which system it runs on; one folder beside it holds the answer
// of each system.
//
// Paths given to and reported by these functions are zero-terminated, use the backslash (a slash is taken
// alike) and name files without regard to the case of A-Z. A system without drives presents its tree as the
// one drive C: (the root directory is `C:\`); a path without a drive or a leading backslash is relative to
// the process's current directory. Path results hold at most maxPath characters; what does not fit is
// refused, never cut. Nothing here throws the library's exceptions: failure is a false or null result.
#pragma once

#include <cstdint>
#include <cstdio>

namespace vl::platform {

/// Longest path in characters, the terminating zero not counted.
inline constexpr unsigned int maxPath = 255;

/// A buffer for one path.
using PathBuffer = char[maxPath + 1];

// ---- Directories and file names ------------------------------------------------------------------------

/// The process's current directory, without a trailing backslash except for a drive's root. False when it
/// cannot be told or does not fit.
bool currentDirectory(PathBuffer &out);

/// Makes `path` the process's current directory. False when it is not a directory that can be entered.
bool setCurrentDirectory(const char *path);

/// The absolute form of `path` (drive, single backslashes, "." and ".." resolved by text alone); the file
/// need not exist. False when it does not fit or `path` is empty.
bool fullPath(PathBuffer &out, const char *path);

enum class FileKind { None, File, Directory };

/// What lies at `path`: nothing that can be found, a file (anything that is not a directory), or a directory.
FileKind fileKind(const char *path);

/// Creates one directory; its parent must exist. False when it was not created (also when it exists).
bool createDirectory(const char *path);

/// Deletes a file (never a directory). False when nothing was deleted.
bool removeFile(const char *path);

// ---- Files ---------------------------------------------------------------------------------------------

/// Opens a file for standard input and output, `mode` as for fopen ("rb", "wb", "a+b"). Opening for writing a
/// name that exists in another spelling opens that file. Null on failure; a directory never opens.
/// The caller closes the result with fclose.
std::FILE *openFile(const char *path, const char *mode);

/// The length in bytes of an open file of any size; the position is left where it was. False when the length
/// cannot be told (a pipe, for example).
bool fileLength(std::FILE *file, std::uint64_t &length);

/// Moves an open file to an absolute position. False on failure.
bool seekFile(std::FILE *file, std::uint64_t position);

/// A point in time in calendar form, UTC. Months 1-12, days 1-31, Sunday is day of week 0.
struct CalendarTime {
    std::uint16_t year, month, dayOfWeek, day, hour, minute, second, milliseconds;
};

/// The time of the last write to an existing file that can be opened for reading (not a directory). False
/// otherwise.
bool lastWriteTime(const char *path, CalendarTime &time);

// ---- Enumeration of a directory ------------------------------------------------------------------------

/// One running enumeration of the names in a directory.
class Enumeration;

/// Starts to enumerate the names of one directory that match the wildcards `*` and `?` of the last element of
/// `pattern` ("*" and "*.*" match every name), without "." and "..". Names come sorted by their upper-cased
/// form, so the order is the same on every machine; names of more than maxPath characters are left out. The
/// names are those of the moment of the call. Null when the directory cannot be read or no memory is left;
/// `outOfMemory`, where given, tells which.
Enumeration *startEnumeration(const char *pattern, bool *outOfMemory = nullptr);

/// The next bare name, or null at the end. Valid until endEnumeration.
const char *nextName(Enumeration *enumeration);

/// Releases an enumeration; null is ignored.
void endEnumeration(Enumeration *enumeration);

/// Whether `name` matches `pattern` (`*` any run of characters, `?` exactly one), without regard to the case
/// of A-Z. The time is at most proportional to the product of both lengths.
bool matchesWildcards(const char *pattern, const char *name);

// ---- Unbuffered reading --------------------------------------------------------------------------------

/// A file opened for reading past the system's cache.
class UnbufferedFile;

/// Opens an existing file; where the file system offers no unbuffered reading, ordinary reads serve. Null on
/// failure.
UnbufferedFile *openUnbuffered(const char *path);
void closeUnbuffered(UnbufferedFile *file);

/// Length in bytes. False when it cannot be told.
bool unbufferedLength(UnbufferedFile *file, std::uint64_t &length);

/// Bytes per sector: positions, counts and buffer addresses of readUnbuffered are multiples of it. A power of
/// two, at least 512.
std::uint32_t sectorSize(UnbufferedFile *file);

/// Reads `count` bytes at `position` into `buffer`; short only at the end of the file or on an error. Returns
/// the bytes read.
std::uint32_t readUnbuffered(UnbufferedFile *file, std::uint64_t position, void *buffer, std::uint32_t count);

// ---- The process and the machine -----------------------------------------------------------------------

/// The command line: the executable's full path in double quotes, then the arguments separated by blanks.
/// Valid for the rest of the process.
const char *commandLine();

/// The computer's name, at most 15 characters. False when it cannot be told.
bool computerName(char (&out)[16]);

/// Physical memory in bytes; figures beyond 4294967295 are reported as 4294967295.
void physicalMemory(std::uint32_t &total, std::uint32_t &available);

/// Process and thread priority as raisePriority found them.
struct Priority {
    int process, thread;
    bool processChanged, threadChanged;
};

/// Raises the calling thread as far as the system allows without asking; what is not allowed is left alone.
Priority raisePriority();

/// Restores what raisePriority changed.
void restorePriority(const Priority &saved);

/// The high-resolution counter: monotonic nanoseconds. performanceFrequency is false where there is none.
bool performanceFrequency(std::int64_t &ticksPerSecond);
std::int64_t performanceCounter();

/// A monotonic millisecond clock that wraps after 2^32 milliseconds.
std::uint32_t milliseconds();

/// Whether the operating system saves the SSE registers of a thread.
bool savesSseState();

/// Tells the user of a fatal failure and, where the system has such a thing, waits for the answer. Here:
/// title and text on standard error.
void messageBox(const char *title, const char *text);

/// Whether standard error is watched at a terminal (asked by the tool, for its progress line).
bool standardErrorIsTerminal();

// ---- Random numbers ------------------------------------------------------------------------------------

/// The runtime's generator, one per thread, start state 1: state = state * 214013 + 2531011 modulo 2^32, and
/// a draw is bits 16 to 30 of the new state, 0 to 32767.
void seedRandom(std::uint32_t seed);
int drawRandom();

// ---- The processor -------------------------------------------------------------------------------------

/// EAX, EBX, ECX and EDX after CPUID.
struct CpuidRegisters {
    std::uint32_t eax, ebx, ecx, edx;
};

/// Executes CPUID for a leaf (subleaf 0). False, and all registers 0, on processors without the instruction.
bool cpuid(std::uint32_t leaf, CpuidRegisters &registers);

/// The time-stamp counter; 0 on processors without one.
inline std::uint64_t timeStampCounter() {
#if defined(__x86_64__) || defined(__i386__)
    return __builtin_ia32_rdtsc();
#else
    return 0;
#endif
}

} // namespace vl::platform
