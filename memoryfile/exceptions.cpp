// The messages of the memory files' exceptions.

#include "vl/memoryfile/exception.h"

#include "file/shown_path.h"

namespace {

bool isNamed(const char *fileName) { return fileName && *fileName; }

constexpr const char *noName = "memoryfile not named yet";

} // namespace

V_MemoryFileException_SeekOutOfRange::V_MemoryFileException_SeekOutOfRange(const char *fileName) {
    if (isNamed(fileName))
        setError("V_MemoryFile seek out of range(\"%s\")", vl::ShownPath(fileName).text());
    else
        setError("V_MemoryFile seek out of range(%s)", noName);
}

V_MemoryFileException_Overreading::V_MemoryFileException_Overreading(const char *fileName) {
    if (isNamed(fileName))
        setError("Read of the end of an V_MemoryFile(\"%s\")", vl::ShownPath(fileName).text());
    else
        setError("Read of the end of an V_MemoryFile(%s)", noName);
}

V_MemoryFileException_DataError::V_MemoryFileException_DataError(const char *fileName) {
    if (isNamed(fileName))
        setError("Invalid data read from an V_MemoryFile(\"%s\")", vl::ShownPath(fileName).text());
    else
        setError("Invalid data read from an V_MemoryFile(%s)", noName);
}

V_MemoryFileException_UnableToOpenFileForWrite::V_MemoryFileException_UnableToOpenFileForWrite(
    const char *fileName) {
    setError("V_MemoryFile: Unable to open file (\"%s\") for write", vl::ShownPath(fileName).text());
}

V_MemoryFileException_UnableToWriteData::V_MemoryFileException_UnableToWriteData(const char *fileName) {
    setError("V_MemoryFile: Unable to write to file (\"%s\")", vl::ShownPath(fileName).text());
}

V_MemoryFileException_IllegalCall::V_MemoryFileException_IllegalCall(const char *action,
                                                                     const char *fileName) {
    if (isNamed(fileName))
        setError("V_MemoryFile: Unable to %s (\"%s\")", action, vl::ShownPath(fileName).text());
    else
        setError("V_MemoryFile: Unable to %s (%s)", action, noName);
}
