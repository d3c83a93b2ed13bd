// An open standard I/O file that closes itself.
#pragma once

#include "platform/platform.h"

#include <cstdio>
#include <memory>

namespace vl {

struct CloseFile {
    void operator()(std::FILE *file) const { std::fclose(file); }
};
using OpenFile = std::unique_ptr<std::FILE, CloseFile>;

/// Opens a file for a few transfers of the caller's own blocks, which standard I/O need not buffer. Null on
/// failure.
inline OpenFile openUnbuffered(const char *path, const char *mode) {
    OpenFile file(platform::openFile(path, mode));
    if (file)
        std::setvbuf(file.get(), nullptr, _IONBF, 0);
    return file;
}

} // namespace vl
