// Case-blind resolution of paths.
//
// What this is laid out for, with the listings cached: a name that is there as spelled costs the system call
// that wants it; one that is missing, with however many of its directories, costs one stat of the deepest
// directory that exists; one in another spelling costs both.

#include "platform/posix/system.h"

#include "platform/posix/spelling.h"

#include "platform/posix/directory_cache.h"

#include <algorithm>

namespace vl::platform {

namespace {

/// One element of a path together with the directory that it is looked for in.
class Element {
  public:
    /// The last element of a path that has one.
    explicit Element(SystemPath &path) : m_path(path) { toLast(); }

    unsigned int start() const { return m_uStart; }

    bool isFirst() const { return m_uStart == m_path.root; }
    bool isLast() const { return m_uEnd == m_path.length; }

    void toLast() { endAt(m_path.length); }
    void moveUp() { endAt(m_uStart - 1); }
    void moveDown() { startAt(m_uEnd + 1); }
    void startAt(unsigned int start) {
        m_uStart = m_uEnd = start;
        while (!isLast() && m_path.text[m_uEnd] != '/')
            ++m_uEnd;
    }

    std::string_view name() const { return {m_path.text + m_uStart, m_uEnd - m_uStart}; }

    /// Not zero-terminated.
    std::string_view directory() const {
        switch (m_uStart) {
        case 0:
            return ".";
        case 1:
            return "/";
        default:
            return {m_path.text, m_uStart - 1};
        }
    }

    /// Asks the directory, and rewrites the element when it is there in another spelling.
    NameMatch find() {
        char *const slash = m_uStart > 1 ? m_path.text + m_uStart - 1 : nullptr;
        if (slash)
            *slash = '\0';
        const NameMatch match =
            DirectoryCache::instance().find(directory(), m_path.text + m_uStart, m_uEnd - m_uStart);
        if (slash)
            *slash = '/';
        return match;
    }

  private:
    void endAt(unsigned int end) {
        m_uEnd = end;
        m_uStart = end;
        while (!isFirst() && m_path.text[m_uStart - 1] != '/')
            --m_uStart;
    }

    SystemPath &m_path;
    unsigned int m_uStart, m_uEnd;
};

bool hasElements(const SystemPath &path) { return path.length > path.root; }

bool isAscii(std::string_view name) {
    return std::all_of(name.begin(), name.end(), [](char c) { return static_cast<signed char>(c) >= 0; });
}

bool isThere(NameMatch match) { return match == NameMatch::Exact || match == NameMatch::OtherCase; }

/// Whether a cached listing lets the element be looked for elsewhere than under its exact name.
bool isDoubtful(NameMatch match, const Element &element) {
    // A file system that ignores case itself may take letters beyond A-Z for equal.
    return (match == NameMatch::Missing || match == NameMatch::OtherCase) && isAscii(element.name());
}

} // namespace

Doubt doubtOf(SystemPath &path) {
    const Doubt none{path.length, false};
    if (!hasElements(path))
        return none;
    DirectoryCache &cache = DirectoryCache::instance();
    Element element(path);
    // Most names that are missing are missing below the current directory, together with their directories.
    if (const unsigned int below = cache.belowHeld({path.text, path.length})) {
        element.startAt(below);
        const NameMatch match = cache.guessInHeld(element.name());
        if (isDoubtful(match, element))
            return {element.start(), match == NameMatch::Missing};
        if (element.isLast() && match != NameMatch::NoDirectory)
            return none;
        element.toLast();
    }
    while (true) {
        const NameMatch match = cache.guess(element.directory(), element.name());
        if (match != NameMatch::NoDirectory)
            return isDoubtful(match, element) ? Doubt{element.start(), false} : none;
        if (element.isFirst())
            return none;
        element.moveUp();
    }
}

Spelling findSpelling(SystemPath &path, Doubt doubt) {
    if (!hasElements(path))
        return Spelling::Found;
    // Below a listing that does not hold the name exactly there is nothing to ask for; otherwise the deepest
    // directory is asked first.
    Element element(path);
    if (doubt.element != path.length)
        element.startAt(doubt.element);
    NameMatch match = doubt.missingInHeld && DirectoryCache::instance().isHeldUnchanged() ? NameMatch::Missing
                                                                                          : element.find();
    while (match == NameMatch::NoDirectory && !element.isFirst()) {
        element.moveUp();
        match = element.find();
    }
    while (isThere(match) && !element.isLast()) {
        element.moveDown();
        match = element.find();
    }
    if (isThere(match))
        return Spelling::Found;
    return match == NameMatch::Missing && element.isLast() ? Spelling::Missing : Spelling::Unreachable;
}

} // namespace vl::platform
