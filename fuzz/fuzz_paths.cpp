// Names of any shape, in every mode, against a plain second implementation of the rules.

#include "vl/core.h"
#include "vl/file.h"

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <sstream>
#include <string>

namespace {

std::string normalised(std::string name) {
    std::replace(name.begin(), name.end(), '/', '\\');
    std::string out;
    for (std::size_t i = 0; i < name.size(); ++i) {
        if (name.compare(i, 2, ".\\") == 0 && (i == 0 || name[i - 1] != '.'))
            ++i;
        else
            out += name[i];
    }
    return out;
}

std::string joined(std::string out, const std::string &name) {
    for (std::size_t i = 0; i < name.size(); ++i) {
        if (name.compare(i, 2, "..") == 0) {
            const std::size_t from = !out.empty() && out.back() == '\\' ? out.size() - 1 : out.size();
            const std::size_t slash = from == 0 ? std::string::npos : out.rfind('\\', from - 1);
            if (slash != std::string::npos)
                out.resize(slash + 1);
            i += 2;
        } else {
            out += name[i];
        }
        if (out.size() > 255)
            return std::string(256, '?'); // refused, whatever follows
    }
    if (!out.empty() && out.back() == '\\')
        out.pop_back();
    return out;
}

std::string joinedWhole(std::string out, const std::string &name) {
    std::istringstream elements(name);
    for (std::string element; std::getline(elements, element, '\\');) {
        if (element.empty() || element == ".")
            continue;
        if (!out.empty() && out.back() == '\\')
            out.pop_back();
        if (element != "..")
            out += '\\' + element;
        else if (const std::size_t slash = out.rfind('\\'); slash != std::string::npos)
            out.resize(slash + 1);
        if (out.size() > 255)
            return std::string(256, '?');
    }
    if (!out.empty() && out.back() == '\\')
        out.pop_back();
    return out;
}

std::string expectedPath(int mode, bool whole, const std::string &given) {
    const auto joined = whole ? joinedWhole : ::joined;
    std::string name = given;
    std::replace(name.begin(), name.end(), '/', '\\');
    if (!whole)
        name = normalised(given);
    const std::string current = File->getCurrentDirectory();
    if (name.size() > 255)
        return name;
    if (mode == V_File::AH_ARCHIVES)
        return joined(name[0] == '\\' ? "" : current, name);
    const bool hasDrive = name.size() > 1 && name[1] == ':';
    if (mode == V_File::AH_DIRECTORIES && (name.compare(0, 2, "\\\\") == 0 || hasDrive))
        return name;
    if (mode == V_File::AH_LOCAL_ROOT && hasDrive && (name[0] | 0x20) == (current[0] | 0x20) &&
        name[2] == '\\')
        return name;
    return name[0] == '\\' ? current.substr(0, 2) + name : joined(current, name);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    static V_VantorInit library;
    static const bool silent = (Sys->ceaseVerbose(1), true);
    if (size == 0 || !silent)
        return 0;
    const int mode = data[0] % 3;
    const bool whole = data[0] >= 128;
    File->setWholeElements(whole);
    std::string name(reinterpret_cast<const char *>(data + 1), size - 1);
    name.resize(std::strlen(name.c_str()));
    File->setArchiveHandling(mode);
    const std::string expected = expectedPath(mode, whole, name);
    try {
        if (File->getFullPathName(name.c_str()) != expected)
            std::abort();
    } catch (V_FileException_PathTooLong *) {
        if (expected.size() <= 255)
            std::abort();
    }
    try {
        File->where(name.c_str());
        File->changeDirectory(name.c_str());
        if (File->getCurrentDirectory() == std::string())
            std::abort();
    } catch (V_FileException *) {
    }
    return 0;
}
