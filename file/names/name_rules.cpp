// How a client's name becomes a path (what is held: name_rules.h).

#include "file/names/name_rules.h"

#include "vl/core/string.h"

#include <algorithm>
#include <cstring>

namespace vl {
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
    platform::PathBuffer text;
    std::size_t length;
    bool mayHaveTwoDots = false;

    NormalisedName(const char *name, bool wholeElements) : length(std::strlen(name)) {
        if (length <= platform::maxPath && copyPlain(text, name, length))
            return;
        if (wholeElements) {
            if (length > platform::maxPath)
                V_throw(V_FileException_PathTooLong(name));
            return; // as it was copied: its elements are looked at one by one
        }
        mayHaveTwoDots = true;
        char *to = text;
        for (const char *c = name; *c; ++c) {
            if (c[0] == '.' && isSeparator(c[1]) && (c == name || c[-1] != '.')) {
                ++c;
            } else {
                if (to == text + platform::maxPath)
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
/// Returns how much of the path has stayed.
std::size_t join(Path &path, const NormalisedName &normalised, const char *asGiven) {
    std::string_view name = normalised.view();
    std::size_t kept = path.length();
    if (normalised.mayHaveTwoDots) {
        for (std::size_t dots; (dots = name.find("..")) != name.npos;) {
            path.append(name.substr(0, dots), asGiven);
            path.removeLastElement();
            kept = std::min(kept, path.length());
            name.remove_prefix(std::min(dots + 3, name.size()));
        }
    }
    path.append(name, asGiven);
    if (path.endsWithBackslash())
        path.cutTo(path.length() - 1);
    return std::min(kept, path.length());
}

/// Appends a name to a path element by element; ".." alone removes the last one. Returns how much of the path
/// has stayed.
std::size_t joinElements(Path &path, std::string_view name, const char *asGiven) {
    std::size_t kept = path.length();
    while (!name.empty()) {
        const std::size_t end = std::min(name.find('\\'), name.size());
        const std::string_view element = name.substr(0, end);
        name.remove_prefix(std::min(end + 1, name.size()));
        if (element.empty() || element == ".")
            continue;
        if (element == "..") {
            path.removeLastElement();
        } else {
            if (!path.endsWithBackslash())
                path.append("\\", asGiven);
            path.append(element, asGiven);
        }
        kept = std::min(kept, path.length());
    }
    if (path.endsWithBackslash())
        path.cutTo(path.length() - 1);
    return std::min(kept, path.length());
}

bool hasDrive(std::string_view path) { return path.size() >= 2 && path[1] == ':'; }

} // namespace

Path NameRules::resolve(const char *name, std::size_t *kept) const {
    const NormalisedName normalised(name, wholeElements);
    const char *const text = normalised.text;
    if (lengthLimited && normalised.length - (normalised.view().rfind('\\') + 1) > filenameLimit)
        V_throw(V_FileException_FilenameTooLong(text, filenameLimit));

    const bool fromRoot = text[0] == '\\';
    bool full = false; // an operating-system path that needs nothing in front of it
    if (mode == V_File::AH_DIRECTORIES)
        full = hasDrive(normalised.view()) || (fromRoot && text[1] == '\\');
    else if (!areVirtual())
        full = std::V_CTrI::compare(text, current.text(), 3) == 0; // drive and backslash

    Path path;
    if (!fromRoot && !full)
        path = current;
    else if (!full && !areVirtual())
        path.append(current.view().substr(0, 2), name); // the drive
    std::size_t stays = path.length();
    if (full || (fromRoot && !areVirtual()))
        path.append(normalised.view(), name);
    else
        stays = wholeElements ? joinElements(path, normalised.view(), name) : join(path, normalised, name);
    if (kept)
        *kept = stays;
    return path;
}

Path NameRules::resolveVirtual(const char *name) const {
    NameRules fromRoot;
    fromRoot.wholeElements = wholeElements;
    fromRoot.setMode(V_File::AH_ARCHIVES);
    return fromRoot.resolve(name);
}

bool NameRules::toDiskPath(Path &out, std::string_view resolved) const {
    if (areVirtual())
        return joinDiskPath(out, root, resolved);
    return makeAbsolute(out, resolved, root);
}

void NameRules::setMode(int newMode) {
    Path start;
    if (newMode != V_File::AH_ARCHIVES)
        start = root;
    if (!start.endsWithBackslash())
        start.append("\\", root.text());
    mode = newMode;
    current = start;
}

bool joinDiskPath(Path &out, const Path &directory, std::string_view rest) {
    out = directory;
    if (out.endsWithBackslash() && rest.starts_with('\\'))
        rest.remove_prefix(1); // the root of a drive brings its backslash along
    // A backslash at the end is not part of the path, nor need it fit.
    if (rest.ends_with('\\'))
        rest.remove_suffix(1);
    if (out.tryAppend(rest))
        return true;
    out.cutTo(0);
    return false;
}

bool makeAbsolute(Path &out, std::string_view path, const Path &root) {
    // A digit in front of a colon begins a name like any other where the system has no drives.
    const bool ofDrive = hasDrive(path) && upper(path[0]) >= 'A' && upper(path[0]) <= 'Z';
    const std::string_view drive = path.substr(0, ofDrive ? 2 : 0);
    const std::string_view rest = path.substr(drive.size());
    const bool fromTop = !rest.empty() && isSeparator(rest[0]);
    const bool network = !ofDrive && fromTop && rest.size() > 1 && isSeparator(rest[1]);
    const bool otherDrive = ofDrive && upper(drive[0]) != upper(root.text()[0]);

    std::string_view front = root.view();
    if (network)
        front = front.substr(0, 0);
    else if (fromTop || otherDrive)
        front = ofDrive ? drive : front.substr(0, 2);
    const bool separated = fromTop || front.ends_with('\\');
    out.cutTo(0);
    if (out.tryAppend(front) && (separated || out.tryAppend("\\")) && out.tryAppend(rest))
        return true;
    out.cutTo(0);
    return false;
}

bool hasInnerDots(std::string_view name) {
    for (std::size_t dots = name.find(".."); dots != name.npos; dots = name.find("..", dots + 1)) {
        const bool begins = dots == 0 || isSeparator(name[dots - 1]);
        const bool ends = dots + 2 == name.size() || isSeparator(name[dots + 2]);
        if (!begins || !ends)
            return true;
    }
    return false;
}

bool isNameable(std::string_view name, bool isDirectory, bool wholeElements) {
    if (name.empty() || name.size() > platform::maxPath || name == "." || name.find('/') != name.npos)
        return false;
    return wholeElements ? name != ".."
                         : name.find("..") == name.npos && !(isDirectory && name.ends_with('.'));
}

bool isNameablePath(std::string_view path) {
    if (!path.starts_with('\\') || path.size() > platform::maxPath)
        return false;
    path.remove_prefix(1);
    while (!path.empty()) {
        const std::size_t end = path.find('\\');
        const bool isDirectory = end != path.npos;
        if (!isNameable(path.substr(0, end), isDirectory))
            return false;
        path.remove_prefix(isDirectory ? end + 1 : path.size());
    }
    return true;
}

} // namespace vl
