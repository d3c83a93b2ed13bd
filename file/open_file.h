// An open standard I/O file that closes itself, and how large an open file is.
#pragma once

#include "platform/platform.h"
#include "vl/file/exception.h"

#include <cstdint>
#include <cstdio>
#include <limits>
#include <memory>

namespace vl {

struct CloseFile {
    void operator()(std::FILE *file) const { std::fclose(file); }
};
using OpenFile = std::unique_ptr<std::FILE, CloseFile>;

/// Opens a file for a few transfers of the caller's own blocks, which standard I/O need not buffer. Null on
/// failure.
inline OpenFile openWithoutBuffer(const char *path, const char *mode) {
    OpenFile file(platform::openFile(path, mode));
    if (file)
        std::setvbuf(file.get(), nullptr, _IONBF, 0);
    return file;
}

/// The size of an open file on disk, a std::FILE or a platform::UnbufferedFile. Throws
/// V_FileException_UnableToReadData and V_FileException_FileTooLarge, naming `path`.
template <class Opened>
unsigned int sizeOf(Opened *file, const char *path) {
    std::uint64_t length = 0;
    if (!platform::fileLength(file, length))
        V_throw(V_FileException_UnableToReadData(path));
    if (length > std::numeric_limits<unsigned int>::max())
        V_throw(V_FileException_FileTooLarge(path));
    return static_cast<unsigned int>(length);
}

} // namespace vl
