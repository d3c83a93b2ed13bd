// Scripts from the disk or from one archive.

#include "script_source.h"

#include "vl/core/system.h"
#include "vl/file.h"

#include <algorithm>
#include <cstdlib>
#include <stdexcept>
#include <vector>

namespace fs = std::filesystem;

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
        const V_StringI wanted(element.c_str());
        std::vector<std::string> matches;
        for (const auto &entry : fs::directory_iterator(result, ignored))
            if (wanted == entry.path().filename().c_str())
                matches.push_back(entry.path().filename().string());
        std::sort(matches.begin(), matches.end());
        result /= matches.empty() ? element.string() : matches.front();
    }
    return result;
}

} // namespace

ScriptSource::ScriptSource(const std::string &archive) : m_startDirectory(fs::current_path()) {
    Sys->ceaseVerbose(0);
    if (archive.empty()) {
        File->setArchiveHandling(V_File::AH_DIRECTORIES);
        return;
    }
    const fs::path target = fs::absolute(m_startDirectory / archive);
    if (!fs::is_regular_file(target))
        throw std::runtime_error(archive + ": no such archive");

    // A root of its own, where no other archive and no file on disk gets in the way.
    std::string root = (fs::temp_directory_path() / "vl-script-XXXXXX").string();
    if (!mkdtemp(root.data()))
        throw std::runtime_error(root + ": cannot be created");
    m_archiveRoot = root;
    try {
        fs::create_symlink(target, m_archiveRoot / "SCRIPTS.VAS");
        File->setFileSystemRoot(root.c_str());
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
    if (!m_archiveRoot.empty())
        return fs::path('/' + file).lexically_normal().string();
    return fs::absolute(m_startDirectory / file).lexically_normal().string();
}

std::string ScriptSource::shown(const std::string &path) const {
    std::string result = path;
    std::replace(result.begin(), result.end(), '\\', '/');
    if (!m_archiveRoot.empty())
        return result.substr(result.find_first_not_of('/') == std::string::npos ? 0 : 1);

    if (result.size() > 2 && result[1] == ':')
        result.erase(0, 2);
    const fs::path spelled = spelledAsOnDisk(result);
    const fs::path relative = spelled.lexically_relative(m_startDirectory);
    const bool below = !relative.empty() && *relative.begin() != "..";
    return (below ? relative : spelled).string();
}
