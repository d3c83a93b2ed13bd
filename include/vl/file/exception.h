// The exceptions of the file system. Every class says what its message names.
#pragma once

#include "vl/core/exception.h"

/// Area: file system.
class VL_API V_FileException : public V_Exception {};

/// Declares a leaf whose message names one file, archive or directory.
#define VL_FILE_EXCEPTION(Leaf)                                                                              \
    class VL_API Leaf : public V_FileException {                                                             \
      public:                                                                                                \
        explicit Leaf(const char *name);                                                                     \
    }

/// "File %s not found": neither on disk nor in an active archive.
VL_FILE_EXCEPTION(V_FileException_FileNotFound);
/// "File %s is corrupted": an empty file given to the allocating load, or damaged data in an archived file or
/// in a compressed container, which is then named by its magic "VA->".
VL_FILE_EXCEPTION(V_FileException_FileCorrupted);
/// "File %s is not a stream": an unbuffered stream on an archived file that is not stored raw,
/// or one that is assigned a stream of the buffered kind.
VL_FILE_EXCEPTION(V_FileException_FileNotAStream);
/// "Archive %s not found": an archive file that cannot be opened.
VL_FILE_EXCEPTION(V_FileException_ArchiveNotFound);
/// "Overreading stream %s": an unbuffered stream read beyond the end of its file.
VL_FILE_EXCEPTION(V_FileException_OverreadingStream);
/// "Directory %s not found".
VL_FILE_EXCEPTION(V_FileException_DirectoryNotFound);
/// "Archive \"%s\" is corrupted": a checksum of its header or tables is wrong, or the tables contradict
/// themselves.
VL_FILE_EXCEPTION(V_FileException_ArchiveCorrupted);
/// "Archive \"%s\" is not compatible with this program": verifyArchiverID found another identifier.
VL_FILE_EXCEPTION(V_FileException_IncompatibleArchiverID);
/// "Cannot copy construct compressed file stream \"%s\"".
VL_FILE_EXCEPTION(V_FileException_CannotCopyCompressedFileStream);
/// "Cannot seek compressed file stream \"%s\"".
VL_FILE_EXCEPTION(V_FileException_CannotSeekCompressedFileStream);
/// "Unable to read data from \"%s\"": fewer bytes than expected could be read.
VL_FILE_EXCEPTION(V_FileException_UnableToReadData);
/// "Path \"%s\" exceeds 255 characters": a name that resolves, with its directories, to more characters than
/// a path holds. The message shows the name as it was given.
VL_FILE_EXCEPTION(V_FileException_PathTooLong);
/// "File \"%s\" exceeds 4294967295 bytes": sizes and offsets are 32 bits wide.
VL_FILE_EXCEPTION(V_FileException_FileTooLarge);
/// "File %s leads out of the write directory": through a link, see V_File::setWriteDirectory.
VL_FILE_EXCEPTION(V_FileException_OutsideWriteDirectory);

#undef VL_FILE_EXCEPTION

/// "Unable to %s \"%s\": %s": what was to be done with the file or directory, its name as it was given, and
/// the system's reason.
class VL_API V_FileException_OperationFailed : public V_FileException {
  public:
    /// With what the message names.
    V_FileException_OperationFailed(const char *action, const char *name, const char *reason);
};

/// "There is no place %u": see V_File::addPlace.
class VL_API V_FileException_NoSuchPlace : public V_FileException {
  public:
    /// With what the message names.
    explicit V_FileException_NoSuchPlace(unsigned int id);
};

/// "Archive \"%s\" is v%1.2f and VL-module is v%1.2f - Update your archive".
class VL_API V_FileException_ArchiveVersionConflict : public V_FileException {
  public:
    /// With what the message names.
    V_FileException_ArchiveVersionConflict(const char *archive, float archiveVersion, float moduleVersion);
};

/// "File name \"%s\" (excluding path) exceeds %i characters": see V_File::enableFilenameLengthLimitation.
class VL_API V_FileException_FilenameTooLong : public V_FileException {
  public:
    /// With what the message names.
    V_FileException_FilenameTooLong(const char *name, int limit);
};
