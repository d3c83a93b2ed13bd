// Names: how a client's name becomes a resolved path and a path on disk, and the library's current directory.

#include "vl/file.h"

#include "core/counted.h"
#include "file/path_text.h"
#include "platform/platform.h"

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

/// Turns slashes into backslashes and drops every `.\` whose dot does not follow another dot. Returns whether
/// two dots may stand in the result.
bool normalise(PathBuffer &out, const char *name) {
    const std::size_t length = std::strlen(name);
    if (length <= vl::platform::maxPath && copyPlain(out, name, length))
        return false;
    char *to = out;
    for (const char *c = name; *c; ++c) {
        if (c[0] == '.' && isSeparator(c[1]) && (c == name || c[-1] != '.')) {
            ++c;
        } else {
            if (to == out + vl::platform::maxPath)
                V_throw(V_FileException_PathTooLong(name));
            *to++ = isSeparator(*c) ? '\\' : *c;
        }
    }
    *to = 0;
    return true;
}

/// Appends a name to a path; two dots, when the name may have them, remove the last element, and take the
/// separator behind them along.
void join(PathText &path, const char *name, bool mayHaveDots) {
    while (const char *dots = mayHaveDots ? std::strstr(name, "..") : nullptr) {
        path.append(name, static_cast<std::size_t>(dots - name));
        path.removeLastElement();
        name = dots + (dots[2] ? 3 : 2);
    }
    path.append(name);
    if (path.endsWithBackslash())
        path.cutTo(path.length() - 1);
}

bool hasDrive(const char *path) { return path[0] && path[1] == ':'; }

} // namespace

void V_File::relativeToAbsolutePath(char *out, const char *name) {
    auto &buffer = *reinterpret_cast<PathBuffer *>(out);
    PathBuffer normalised;
    const bool mayHaveDots = normalise(normalised, name);

    if (sm_bFilenameLengthLimitationEnabled &&
        std::strlen(normalised + vl::directoryLength(normalised)) > filenameLimit)
        V_throw(V_FileException_FilenameTooLong(normalised, filenameLimit));

    PathText path(buffer, name);
    const bool fromRoot = normalised[0] == '\\';
    if (m_archiveHandling == AH_ARCHIVES) {
        if (!fromRoot)
            path.append(m_path);
        join(path, normalised, mayHaveDots);
    } else if (m_archiveHandling == AH_DIRECTORIES
                   ? hasDrive(normalised) || (fromRoot && normalised[1] == '\\')
                   : std::V_CTrI::compare(normalised, m_path, 3) == 0) { // drive and backslash
        path.append(normalised);
    } else if (fromRoot) {
        path.append(m_path, 2); // the drive
        path.append(normalised);
    } else {
        path.append(m_path);
        join(path, normalised, mayHaveDots);
    }
}

void V_File::absolutePathToDirStructure(char *out, const char *path) {
    PathText diskPath(*reinterpret_cast<PathBuffer *>(out), path);
    if (m_archiveHandling != AH_ARCHIVES) {
        diskPath.append(path);
        return;
    }
    diskPath.append(m_originalLocalDirPath);
    if (diskPath.endsWithBackslash() && path[0] == '\\')
        ++path; // the root of a drive brings its backslash along
    diskPath.append(path);
    if (diskPath.endsWithBackslash() && std::strcmp(out, m_originalLocalDirPath) != 0)
        diskPath.cutTo(diskPath.length() - 1);
}

void V_File::checkPathExistence(const char *path) {
    if (m_archiveHandling == AH_ARCHIVES && path[0] == '\\')
        ++path; // relative to the process's current directory, which is the local root
    if (const std::size_t length = vl::directoryLength(path); length > 1) {
        PathBuffer directory;
        PathText(directory, path).append(path, length - 1);
        vl::platform::createDirectory(directory);
    }
}

const char *V_File::getFullPathName(const char *name) {
    PathBuffer path;
    relativeToAbsolutePath(path, name);
    const auto size = static_cast<unsigned int>(std::strlen(path) + 1);
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
