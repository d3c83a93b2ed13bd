// The names in a directory, one after the other.

#include "platform/posix/system.h"

#include "platform/listing.h"
#include "platform/posix/directory_reader.h"
#include "platform/posix/spelling.h"

#include <optional>

namespace vl::platform {

bool visitNames(std::string_view directory, const std::function<void(const char *)> &visit) {
    SystemPath path;
    std::optional<DirectoryReader> reader;
    const auto open = [&](const char *text) { return reader.emplace(text).valid(); };
    if (!toSystemPath(path, directory) || withSpelling(path, open) != Spelling::Found)
        return false;
    errno = 0;
    while (const char *name = reader->next()) {
        visit(name);
        errno = 0;
    }
    return errno == 0;
}

} // namespace vl::platform
