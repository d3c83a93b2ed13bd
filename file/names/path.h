// The one path type: a text of at most 255 characters in its own buffer. Every step of composing one is
// bounded; what does not fit is refused, never cut.
#pragma once

#include "base/text.h"
#include "platform/platform.h"
#include "vl/file/exception.h"

#include <cstring>
#include <string_view>

namespace vl {

class Path {
  public:
    Path() { m_strText[0] = 0; }
    Path(const Path &other) { *this = other; }
    Path &operator=(const Path &other) {
        if (this != &other) {
            m_uLength = other.m_uLength;
            std::memcpy(m_strText, other.m_strText, m_uLength + 1);
        }
        return *this;
    }

    const char *text() const { return m_strText; }
    std::string_view view() const { return {m_strText, m_uLength}; }
    std::size_t length() const { return m_uLength; }
    bool endsWithBackslash() const { return m_uLength != 0 && m_strText[m_uLength - 1] == '\\'; }

    /// The length of the directory part, up to and including the last backslash; 0 without one.
    std::size_t directoryLength() const { return view().rfind('\\') + 1; }
    /// What follows the directory part.
    const char *fileName() const { return m_strText + directoryLength(); }

    /// Appends, or leaves the path as it is and gives false when that does not fit.
    bool tryAppend(std::string_view text) {
        if (text.size() > platform::maxPath - m_uLength)
            return false;
        std::memcpy(m_strText + m_uLength, text.data(), text.size());
        m_uLength += text.size();
        m_strText[m_uLength] = 0;
        return true;
    }
    /// Appends. Throws V_FileException_PathTooLong, which names `name`, when that does not fit.
    void append(std::string_view text, const char *name) {
        if (!tryAppend(text))
            V_throw(V_FileException_PathTooLong(name));
    }

    /// Makes a-z from the given position on A-Z.
    void upperCase(std::size_t from) {
        for (char *c = m_strText + from; *c; ++c)
            *c = upper(*c);
    }

    void cutTo(std::size_t length) {
        m_uLength = length;
        m_strText[length] = 0;
    }
    /// Removes the last element: what remains ends just behind the backslash before it. A root stays.
    void removeLastElement() {
        std::size_t end = endsWithBackslash() ? m_uLength - 1 : m_uLength;
        while (end != 0 && m_strText[end - 1] != '\\')
            --end;
        if (end != 0)
            cutTo(end);
    }

    /// For what reports a path: `fill(buffer)` writes it and tells whether it could; empty when not.
    template <class Fill>
    bool set(const Fill &fill) {
        const bool filled = fill(m_strText);
        cutTo(filled ? std::strlen(m_strText) : 0);
        return filled;
    }

  private:
    std::size_t m_uLength = 0;
    platform::PathBuffer m_strText;
};

} // namespace vl
