// Translation of paths, and the process's current directory.

#include "platform/windows/system.h"

#include "platform/windows/paths.h"

#include "base/text.h"
#include "platform/windows/text.h"

#include <cstring>
#include <cwchar>

namespace vl::platform {

namespace {

/// In front of a path of which the system is to take every character as it stands.
constexpr std::wstring_view verbatim = L"\\\\?\\";
constexpr std::wstring_view verbatimNetwork = L"\\\\?\\UNC\\";

/// Room for an absolute path in the system's everyday form, which may be longer before it is refused.
constexpr DWORD plainRoom = 2 * (maxPath + 1);
using PlainPath = wchar_t[plainRoom];

bool isSeparator(char c) { return c == '\\' || c == '/'; }

bool isLetter(char c) { return upper(c) >= 'A' && upper(c) <= 'Z'; }

bool startsLike(std::string_view name, std::string_view upperCased) {
    for (std::size_t i = 0; i < upperCased.size(); ++i)
        if (i >= name.size() || upper(name[i]) != upperCased[i])
            return false;
    return true;
}

/// The names that are devices in every directory.
bool isDevice(std::string_view element) {
    std::string_view name = element.substr(0, element.find('.'));
    while (name.ends_with(' '))
        name.remove_suffix(1);
    for (const std::string_view device : {"CON", "PRN", "AUX", "NUL", "CONIN$", "CONOUT$"})
        if (name.size() == device.size() && startsLike(name, device))
            return true;
    if (!startsLike(name, "COM") && !startsLike(name, "LPT"))
        return false;
    name.remove_prefix(3);
    // The system takes the raised digits of Latin-1 for digits, too.
    return (name.size() == 1 && name[0] >= '0' && name[0] <= '9') || name == "\xC2\xB9" ||
           name == "\xC2\xB2" || name == "\xC2\xB3" || name == "\xB9" || name == "\xB2" || name == "\xB3";
}

/// Whether every element names a file or directory, or is "." or "..".
bool areElementsSound(std::string_view path) {
    while (!path.empty()) {
        const std::size_t end = std::min(path.find_first_of("\\/"), path.size());
        const std::string_view element = path.substr(0, end);
        if (!element.empty() && element != "." && element != ".." && !namesAFile(element))
            return false;
        path.remove_prefix(std::min(end + 1, path.size()));
    }
    return true;
}

/// The absolute form of a path of the library, without a separator at its end but for a root. Its length; 0
/// when it is refused.
std::size_t toAbsolute(PlainPath &out, std::string_view path) {
    const bool ofDrive = path.size() >= 2 && path[1] == ':';
    // What stands in the place of a network's computer there leads to devices and past every rule.
    const bool ofDevice = path.size() >= 4 && isSeparator(path[0]) && isSeparator(path[1]) &&
                          (path[2] == '.' || path[2] == '?') && isSeparator(path[3]);
    if (path.empty() || path.size() > maxPath || (ofDrive && !isLetter(path[0])) || ofDevice ||
        !areElementsSound(path.substr(ofDrive ? 2 : 0)))
        return 0;
    wchar_t given[maxPath + 1];
    given[toWide(given, maxPath, path)] = 0;
    const DWORD length = GetFullPathNameW(given, plainRoom, out, nullptr);
    if (length == 0 || length >= plainRoom)
        return 0;
    std::size_t end = length;
    if (end > 3 && out[end - 1] == L'\\') // `C:\` stays
        out[--end] = 0;
    return toUtf8(nullptr, 0, {out, end}) <= maxPath ? end : 0;
}

/// Writes the form that the system takes literally.
void makeVerbatim(SystemPath &out, std::wstring_view plain) {
    const bool network = plain.starts_with(L"\\\\");
    const std::wstring_view front = network ? verbatimNetwork : verbatim;
    if (network)
        plain.remove_prefix(2);
    std::wmemcpy(out.text, front.data(), front.size());
    std::wmemcpy(out.text + front.size(), plain.data(), plain.size());
    out.text[front.size() + plain.size()] = 0;
}

} // namespace

bool namesAFile(std::string_view element) {
    for (const char c : element)
        if (static_cast<unsigned char>(c) < ' ' || std::strchr("<>:\"|?*", c))
            return false;
    return !element.ends_with('.') && !element.ends_with(' ') && !isDevice(element);
}

bool toSystemPath(SystemPath &out, std::string_view path) {
    PlainPath plain;
    const std::size_t length = toAbsolute(plain, path);
    if (length == 0)
        return false;
    makeVerbatim(out, {plain, length});
    out.endsInSeparator = isSeparator(path.back());
    return true;
}

bool toEnginePath(PathBuffer &out, std::wstring_view path) {
    char *to = out;
    if (path.starts_with(verbatimNetwork)) {
        path.remove_prefix(verbatimNetwork.size());
        *to++ = '\\';
        *to++ = '\\';
    } else if (path.starts_with(verbatim)) {
        path.remove_prefix(verbatim.size());
    }
    if (path.size() > 3 && path.ends_with(L'\\'))
        path.remove_suffix(1);
    const std::size_t room = maxPath - static_cast<std::size_t>(to - out);
    const std::size_t length = toUtf8(to, room, path);
    if (length == 0 || length > room)
        return false;
    to[length] = 0;
    return true;
}

bool realPath(SystemPath &out, HANDLE handle) {
    out.endsInSeparator = false;
    const DWORD length = GetFinalPathNameByHandleW(handle, out.text, SystemPath::room, FILE_NAME_NORMALIZED);
    return length != 0 && length < SystemPath::room;
}

bool currentDirectory(PathBuffer &out) {
    PlainPath directory;
    const DWORD length = GetCurrentDirectoryW(plainRoom, directory);
    return length != 0 && length < plainRoom && toEnginePath(out, {directory, length});
}

bool setCurrentDirectory(const char *path) {
    PlainPath plain;
    return toAbsolute(plain, path) != 0 && SetCurrentDirectoryW(plain);
}

bool fullPath(PathBuffer &out, const char *path) {
    PlainPath plain;
    const std::size_t length = toAbsolute(plain, path);
    return length != 0 && toEnginePath(out, {plain, length});
}

bool realDirectory(PathBuffer &out, const char *path) {
    // The system tells the current directory as it was entered, by whatever links.
    return fullPath(out, path) && fileKind(path) == FileKind::Directory;
}

bool systemPath(PathBuffer &out, const char *path) { return fullPath(out, path); }

} // namespace vl::platform
