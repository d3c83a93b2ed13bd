// A path being composed in a caller's buffer of 256 characters: every step is bounded, and what does not fit
// is refused, never cut.
#pragma once

#include "platform/platform.h"
#include "vl/file/exception.h"

#include <cstring>
#include <string_view>

namespace vl {

class PathText {
  public:
    /// Composes into `buffer`; `name` is what a refusal names.
    PathText(platform::PathBuffer &buffer, const char *name) : m_strBuffer(buffer), m_pName(name) {
        m_strBuffer[0] = 0;
    }

    void append(char c) {
        if (m_uLength == platform::maxPath)
            V_throw(V_FileException_PathTooLong(m_pName));
        m_strBuffer[m_uLength++] = c;
        m_strBuffer[m_uLength] = 0;
    }
    void append(std::string_view text) {
        if (text.size() > platform::maxPath - m_uLength)
            V_throw(V_FileException_PathTooLong(m_pName));
        std::memcpy(m_strBuffer + m_uLength, text.data(), text.size());
        m_uLength += text.size();
        m_strBuffer[m_uLength] = 0;
    }

    bool endsWithBackslash() const { return m_uLength != 0 && m_strBuffer[m_uLength - 1] == '\\'; }
    std::size_t length() const { return m_uLength; }
    std::string_view view() const { return {m_strBuffer, m_uLength}; }
    void cutTo(std::size_t length) {
        m_uLength = length;
        m_strBuffer[length] = 0;
    }

    /// Removes the last element: what remains ends just behind the backslash before it. A root stays.
    void removeLastElement() {
        std::size_t end = endsWithBackslash() ? m_uLength - 1 : m_uLength;
        while (end != 0 && m_strBuffer[end - 1] != '\\')
            --end;
        if (end != 0)
            cutTo(end);
    }

  private:
    platform::PathBuffer &m_strBuffer;
    const char *m_pName;
    std::size_t m_uLength = 0;
};

/// The length of the directory part of a path, up to and including its last backslash; 0 without one.
inline std::size_t directoryLength(const char *path) {
    const char *last = std::strrchr(path, '\\');
    return last ? static_cast<std::size_t>(last - path) + 1 : 0;
}

} // namespace vl
