// Between memory files and their bytes.
#pragma once

#include "vl/memoryfile.h"

#include <string>

inline std::string bytesOf(const V_MemoryFile &file) {
    return {static_cast<const char *>(file.getAddress()), file.getSize()};
}

/// A file to be read, over a copy of `bytes`.
inline V_MemoryFile over(const std::string &bytes) {
    return V_MemoryFile(bytes.data(), static_cast<unsigned int>(bytes.size()), true);
}

using DataError = V_MemoryFileException_DataError;
using Illegal = V_MemoryFileException_IllegalCall;
using Overreading = V_MemoryFileException_Overreading;
using SeekOutOfRange = V_MemoryFileException_SeekOutOfRange;
