// The exceptions of memory files. Each names the file, or says "memoryfile not named yet".
#pragma once

#include "vl/core/exception.h"

/// Area: memory files.
class VL_API V_MemoryFileException : public V_Exception {};

/// Declares a leaf whose message names one file.
#define VL_MEMORY_FILE_EXCEPTION(Leaf)                                                                       \
    class VL_API Leaf : public V_MemoryFileException {                                                       \
      public:                                                                                                \
        explicit Leaf(const char *fileName);                                                                 \
    }

/// "V_MemoryFile seek out of range(\"%s\")": a position before the first byte or behind the last.
VL_MEMORY_FILE_EXCEPTION(V_MemoryFileException_SeekOutOfRange);
/// "Read of the end of an V_MemoryFile(\"%s\")": fewer bytes are left than were to be read.
VL_MEMORY_FILE_EXCEPTION(V_MemoryFileException_Overreading);
/// "Invalid data read from an V_MemoryFile(\"%s\")": a tag other than the one expected, or a chunk whose size
/// is impossible.
VL_MEMORY_FILE_EXCEPTION(V_MemoryFileException_DataError);
/// "V_MemoryFile: Unable to open file (\"%s\") for write".
VL_MEMORY_FILE_EXCEPTION(V_MemoryFileException_UnableToOpenFileForWrite);
/// "V_MemoryFile: Unable to write to file (\"%s\")": the disk did not take what a write-through file holds.
VL_MEMORY_FILE_EXCEPTION(V_MemoryFileException_UnableToWriteData);

#undef VL_MEMORY_FILE_EXCEPTION

/// "V_MemoryFile: Unable to %s (\"%s\")": a call that this file, as it was built, does not offer, or a value
/// that its format cannot hold. `action` says what was asked, as in "read a file that is written to disk".
class VL_API V_MemoryFileException_IllegalCall : public V_MemoryFileException {
  public:
    /// With what the message names.
    V_MemoryFileException_IllegalCall(const char *action, const char *fileName);
};
