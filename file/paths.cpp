// Names: how a client's name becomes a resolved path and a path on disk, and the library's current directory.

#include "vl/file.h"

#include "core/counted.h"
#include "file/path_text.h"
#include "platform/platform.h"

#include <algorithm>
#include <cstring>

using vl::PathText;
using vl::platform::PathBuffer;

char V_File::m_strStartupDirectory[256];
char V_File::m_originalLocalDirPath[256];
char V_File::m_path[256];
char *V_File::m_pathName = nullptr;
unsigned int V_File::m_uPathLen = 0;
bool V_File::sm_bFilenameLengthLimitationEnabled = false;

namespace {

constexpr unsigned int filenameLimit = 42;

bool isSeparator(char c) { return c == '\\' || c == '/'; }

/// Copies a name with backslashes. False when a dot is followed by a separator or another dot: almost no name
/// has such, so this is written for the compiler to take many characters at a time.
bool copyPlain(char *out, const char *name, std::size_t length) {
    unsigned char special = 0;
    for (std::size_t i = 0; i < length; ++i) {
        const char next = name[i + 1];
        out[i] = name[i] == '/' ? '\\' : name[i];
        special |=
            static_cast<unsigned char>((name[i] == '.') & ((next == '.') | (next == '/') | (next == '\\')));
    }
    out[length] = 0;
    return special == 0;
}

/// A client's name with backslashes, and without every `.\` whose dot does not follow another dot.
struct NormalisedName {
    PathBuffer text;
    std::size_t length;
    bool mayHaveTwoDots = false;

    explicit NormalisedName(const char *name) : length(std::strlen(name)) {
        if (length <= vl::platform::maxPath && copyPlain(text, name, length))
            return;
        mayHaveTwoDots = true;
        char *to = text;
        for (const char *c = name; *c; ++c) {
            if (c[0] == '.' && isSeparator(c[1]) && (c == name || c[-1] != '.')) {
                ++c;
            } else {
                if (to == text + vl::platform::maxPath)
                    V_throw(V_FileException_PathTooLong(name));
                *to++ = isSeparator(*c) ? '\\' : *c;
            }
        }
        *to = 0;
        length = static_cast<std::size_t>(to - text);
    }
    std::string_view view() const { return {text, length}; }
};

/// Appends a name to a path; two dots remove the last element, and take the separator behind them along.
void join(PathText &path, const NormalisedName &normalised) {
    std::string_view name = normalised.view();
    if (normalised.mayHaveTwoDots) {
        for (std::size_t dots; (dots = name.find("..")) != name.npos;) {
            path.append(name.substr(0, dots));
            path.removeLastElement();
            name.remove_prefix(std::min(dots + 3, name.size()));
        }
    }
    path.append(name);
    if (path.endsWithBackslash())
        path.cutTo(path.length() - 1);
}

bool hasDrive(const char *path) { return path[0] && path[1] == ':'; }

} // namespace

std::string_view V_File::relativeToAbsolutePath(char *out, const char *name) {
    const NormalisedName normalised(name);
    const char *const text = normalised.text;
    if (sm_bFilenameLengthLimitationEnabled && std::strlen(text + vl::directoryLength(text)) > filenameLimit)
        V_throw(V_FileException_FilenameTooLong(text, filenameLimit));

    PathText path(*reinterpret_cast<PathBuffer *>(out), name);
    const bool fromRoot = text[0] == '\\';
    if (m_archiveHandling == AH_ARCHIVES) {
        if (!fromRoot)
            path.append(m_path);
        join(path, normalised);
    } else if (m_archiveHandling == AH_DIRECTORIES
                   ? hasDrive(text) || (fromRoot && text[1] == '\\')
                   : std::V_CTrI::compare(text, m_path, 3) == 0) { // drive and backslash
        path.append(normalised.view());
    } else if (fromRoot) {
        path.append({m_path, 2}); // the drive
        path.append(normalised.view());
    } else {
        path.append(m_path);
        join(path, normalised);
    }
    return path.view();
}

std::string_view V_File::absolutePathToDirStructure(char *out, std::string_view path) {
    // What callers hand over is zero-terminated, so that a refusal can name it.
    PathText diskPath(*reinterpret_cast<PathBuffer *>(out), path.data());
    if (m_archiveHandling != AH_ARCHIVES) {
        diskPath.append(path);
        return diskPath.view();
    }
    const std::string_view root = m_originalLocalDirPath;
    diskPath.append(root);
    if (diskPath.endsWithBackslash() && path.starts_with('\\'))
        path.remove_prefix(1); // the root of a drive brings its backslash along
    diskPath.append(path);
    if (diskPath.endsWithBackslash() && diskPath.view() != root)
        diskPath.cutTo(diskPath.length() - 1);
    return diskPath.view();
}

void V_File::checkPathExistence(const char *path) {
    if (m_archiveHandling == AH_ARCHIVES && path[0] == '\\')
        ++path; // relative to the process's current directory, which is the local root
    if (const std::size_t length = vl::directoryLength(path); length > 1) {
        PathBuffer directory;
        PathText(directory, path).append({path, length - 1});
        vl::platform::createDirectory(directory);
    }
}

const char *V_File::getFullPathName(const char *name) {
    PathBuffer path;
    const auto size = static_cast<unsigned int>(relativeToAbsolutePath(path, name).size() + 1);
    if (size > m_uPathLen) {
        m_pathName = static_cast<char *>(
            V_REALLOCATE(m_pathName, static_cast<int>(m_uPathLen), static_cast<int>(size)));
        m_uPathLen = size;
    }
    return static_cast<const char *>(std::memcpy(m_pathName, path, size));
}

void V_File::getPath(const char *name, V_String &out) const {
    PathBuffer path;
    relativeToAbsolutePath(path, name);
    const std::size_t length = vl::directoryLength(path);
    out.assign(path, length ? length : std::strlen(path));
}

void V_File::getFilename(const char *name, V_String &out) const {
    PathBuffer path;
    relativeToAbsolutePath(path, name);
    out.assign(path + vl::directoryLength(path));
}

void V_File::changeDirectory(const char *dir) {
    if (dir[0] == 0 || std::strcmp(dir, ".") == 0)
        return;
    PathBuffer name;
    PathText copy(name, dir);
    copy.append(dir);
    if (copy.length() > 1 && isSeparator(name[copy.length() - 1]))
        copy.cutTo(copy.length() - 1);
    if (std::strcmp(name, ".") == 0)
        return; // the current directory with its separator

    PathBuffer resolved;
    relativeToAbsolutePath(resolved, name);
    if (!isResolvedDirectory(resolved))
        V_throw(V_FileException_DirectoryNotFound(resolved));

    PathBuffer newPath;
    PathText path(newPath, dir);
    path.append(resolved);
    if (!path.endsWithBackslash())
        path.append('\\');
    std::memcpy(m_path, newPath, sizeof m_path);
}

void V_File::resetCurrentDirectory() {
    PathBuffer root;
    PathText path(root, m_originalLocalDirPath);
    if (m_archiveHandling != AH_ARCHIVES)
        path.append(m_originalLocalDirPath);
    if (!path.endsWithBackslash())
        path.append('\\');
    std::memcpy(m_path, root, sizeof m_path);
}
