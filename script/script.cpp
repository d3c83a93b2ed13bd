// V_Script: a script is loaded from its own directory, where the names of all its included files begin, too.

#include "vl/script.h"

#include "core/counted.h"
#include "script/load_environment.h"
#include "script/loader.h"
#include "vl/file.h"

#include <string_view>

namespace {

/// Length of the part of a file name that names its directory: up to the last slash of either kind, or the
/// drive alone.
std::size_t directoryLength(std::string_view fileName) {
    const std::size_t slash = fileName.find_last_of("\\/");
    if (slash != std::string_view::npos)
        return slash + 1;
    return fileName.size() >= 2 && fileName[1] == ':' ? 2 : 0;
}

} // namespace

V_Script::V_Script(const char *fileName) : V_Script(fileName, vl::LoadEnvironment{}) {}

V_Script::V_Script(const char *fileName, const vl::LoadEnvironment &environment)
    : m_pRoot(nullptr), m_pCurrent(nullptr) {
    const std::size_t length = directoryLength(fileName);
    // A copy: what the client gave may be V_File's own buffer, which loading overwrites.
    const V_String name(fileName + length);
    const V_FileDirectoryChange directory(V_String(fileName, length));
    m_pRoot = vl::newCounted<V_ScriptLoader>(name.c_str(), environment);
    m_pCurrent = m_pRoot;
}

V_Script::~V_Script() {
    vl::deleteCounted(m_pRoot);
    m_pRoot = nullptr;
    m_pCurrent = nullptr;
}
