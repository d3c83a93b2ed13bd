// Scripts from the disk or from one archive.

#include "script_source.h"

#include "platform/native.h"
#include "platform/platform.h"
#include "vl/core/system.h"
#include "vl/file.h"

#include <algorithm>
#include <cstdio>
#include <random>
#include <stdexcept>
#include <vector>

namespace fs = std::filesystem;
using vl::platform::nativePath;
using vl::platform::textOf;

namespace {

/// The path as the disk spells it: the library takes names in any case, an editor does not.
fs::path spelledAsOnDisk(const fs::path &path) {
    fs::path result;
    for (const fs::path &element : path) {
        std::error_code ignored;
        if (fs::exists(result / element, ignored)) {
            result /= element;
            continue;
        }
        const V_StringI wanted(textOf(element).c_str());
        std::vector<std::string> matches;
        for (const auto &entry : fs::directory_iterator(result, ignored))
            if (wanted == textOf(entry.path().filename()).c_str())
                matches.push_back(textOf(entry.path().filename()));
        std::sort(matches.begin(), matches.end());
        result /= matches.empty() ? element : nativePath(matches.front());
    }
    return result;
}

/// A directory of its own among the temporary ones.
fs::path newDirectory() {
    std::random_device random;
    for (int attempt = 0; attempt < 100; ++attempt) {
        char name[32];
        std::snprintf(name, sizeof name, "vl-script-%08x", random());
        fs::path path = fs::temp_directory_path() / name;
        if (fs::create_directory(path)) {
            fs::permissions(path, fs::perms::owner_all);
            return path;
        }
    }
    throw std::runtime_error(textOf(fs::temp_directory_path()) + ": no directory can be created there");
}

} // namespace

ScriptSource::ScriptSource(const std::string &archive) : m_startDirectory(fs::current_path()) {
    Sys->ceaseVerbose(0);
    if (archive.empty()) {
        File->setArchiveHandling(V_File::AH_DIRECTORIES);
        return;
    }
    const fs::path target = fs::absolute(m_startDirectory / nativePath(archive));
    if (!fs::is_regular_file(target))
        throw std::runtime_error(archive + ": no such archive");

    // A root of its own, where no other archive and no file on disk gets in the way.
    m_archiveRoot = newDirectory();
    try {
        File->setFileSystemRoot(textOf(m_archiveRoot).c_str());
        File->addPlace(textOf(target).c_str());
    } catch (V_FileException *) {
        removeRoot();
        throw std::runtime_error(archive + ": not an archive, or a damaged one");
    } catch (...) {
        removeRoot();
        throw;
    }
}

ScriptSource::~ScriptSource() { removeRoot(); }

void ScriptSource::removeRoot() const {
    std::error_code ignored;
    fs::current_path(m_startDirectory, ignored);
    if (!m_archiveRoot.empty())
        fs::remove_all(m_archiveRoot, ignored);
}

std::string ScriptSource::nameOf(const std::string &file) const {
    const fs::path path = nativePath(file);
    if (!m_archiveRoot.empty())
        return textOf(("/" / path).lexically_normal());
    return textOf(fs::absolute(m_startDirectory / path).lexically_normal());
}

std::string ScriptSource::shown(const std::string &path) const {
    if (!m_archiveRoot.empty()) {
        std::string result = path;
        std::replace(result.begin(), result.end(), '\\', '/');
        return result.substr(result.find_first_not_of('/') == std::string::npos ? 0 : 1);
    }
    vl::platform::PathBuffer system;
    const bool isPath = vl::platform::systemPath(system, path.c_str());
    const fs::path spelled = spelledAsOnDisk(nativePath(isPath ? system : path.c_str()));
    const fs::path relative = spelled.lexically_relative(m_startDirectory);
    const bool below = !relative.empty() && *relative.begin() != "..";
    return textOf(below ? relative : spelled);
}
