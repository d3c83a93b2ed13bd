// What a file is, told of its descriptor.
#pragma once

#include "platform/platform.h"

#include <sys/stat.h>

namespace vl::platform {

/// Tells what an open file is; false of anything but a regular file.
inline bool identify(int descriptor, FileIdentity &identity) {
    struct stat info;
    if (fstat(descriptor, &info) != 0 || !S_ISREG(info.st_mode))
        return false;
    identity = {info.st_dev, info.st_ino, static_cast<std::uint64_t>(info.st_size), info.st_mtim.tv_sec,
                static_cast<std::uint32_t>(info.st_mtim.tv_nsec)};
    return true;
}

} // namespace vl::platform
