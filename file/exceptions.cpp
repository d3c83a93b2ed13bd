// The messages of the file system's exceptions, and how they and other messages show a path on disk.

#include "vl/file/exception.h"

#include "file/shown_path.h"

namespace vl {

bool ShownPath::sm_bAsSystem = false;

ShownPath::ShownPath(const char *name) : m_pText(name) {
    if (!sm_bAsSystem || !name[0] || name[1] != ':' || (name[2] != '\\' && name[2] != '/'))
        return;
    if (platform::systemPath(m_strSystem, name))
        m_pText = m_strSystem;
}

} // namespace vl

using vl::ShownPath;

V_FileException_FileNotFound::V_FileException_FileNotFound(const char *name) {
    setError("File %s not found", ShownPath(name).text());
}

V_FileException_FileCorrupted::V_FileException_FileCorrupted(const char *name) {
    setError("File %s is corrupted", ShownPath(name).text());
}

V_FileException_FileNotAStream::V_FileException_FileNotAStream(const char *name) {
    setError("File %s is not a stream", ShownPath(name).text());
}

V_FileException_ArchiveNotFound::V_FileException_ArchiveNotFound(const char *name) {
    setError("Archive %s not found", ShownPath(name).text());
}

V_FileException_OverreadingStream::V_FileException_OverreadingStream(const char *name) {
    setError("Overreading stream %s", ShownPath(name).text());
}

V_FileException_DirectoryNotFound::V_FileException_DirectoryNotFound(const char *name) {
    setError("Directory %s not found", ShownPath(name).text());
}

V_FileException_ArchiveCorrupted::V_FileException_ArchiveCorrupted(const char *name) {
    setError("Archive \"%s\" is corrupted", ShownPath(name).text());
}

V_FileException_IncompatibleArchiverID::V_FileException_IncompatibleArchiverID(const char *name) {
    setError("Archive \"%s\" is not compatible with this program", ShownPath(name).text());
}

V_FileException_CannotCopyCompressedFileStream::V_FileException_CannotCopyCompressedFileStream(
    const char *name) {
    setError("Cannot copy construct compressed file stream \"%s\"", ShownPath(name).text());
}

V_FileException_CannotSeekCompressedFileStream::V_FileException_CannotSeekCompressedFileStream(
    const char *name) {
    setError("Cannot seek compressed file stream \"%s\"", ShownPath(name).text());
}

V_FileException_UnableToReadData::V_FileException_UnableToReadData(const char *name) {
    setError("Unable to read data from \"%s\"", ShownPath(name).text());
}

V_FileException_PathTooLong::V_FileException_PathTooLong(const char *name) {
    setError("Path \"%s\" exceeds 255 characters", ShownPath(name).text());
}

V_FileException_FileTooLarge::V_FileException_FileTooLarge(const char *name) {
    setError("File \"%s\" exceeds 4294967295 bytes", ShownPath(name).text());
}

V_FileException_ArchiveVersionConflict::V_FileException_ArchiveVersionConflict(const char *archive,
                                                                               float archiveVersion,
                                                                               float moduleVersion) {
    setError("Archive \"%s\" is v%1.2f and VL-module is v%1.2f - Update your archive",
             ShownPath(archive).text(), static_cast<double>(archiveVersion),
             static_cast<double>(moduleVersion));
}

V_FileException_FilenameTooLong::V_FileException_FilenameTooLong(const char *name, int limit) {
    setError("File name \"%s\" (excluding path) exceeds %i characters", ShownPath(name).text(), limit);
}

V_FileException_OutsideWriteDirectory::V_FileException_OutsideWriteDirectory(const char *name) {
    setError("File %s leads out of the write directory", name);
}

V_FileException_NoSuchPlace::V_FileException_NoSuchPlace(unsigned int id) {
    setError("There is no place %u", id);
}

V_FileException_OperationFailed::V_FileException_OperationFailed(const char *action, const char *name,
                                                                 const char *reason) {
    setError("Unable to %s \"%s\": %s", action, name, reason);
}
