// What scripts know about characters: whitespace, comments, and sets to scan for.
#pragma once

#include <string_view>

namespace vl {

/// A set of characters that is asked with one table look-up.
class CharacterSet {
  public:
    constexpr explicit CharacterSet(std::string_view members) {
        for (const char c : members)
            m_bMembers[static_cast<unsigned char>(c)] = true;
    }
    constexpr CharacterSet(const CharacterSet &other, std::string_view more) : CharacterSet(other) {
        for (const char c : more)
            m_bMembers[static_cast<unsigned char>(c)] = true;
    }
    constexpr bool contains(char c) const { return m_bMembers[static_cast<unsigned char>(c)]; }

  private:
    bool m_bMembers[256] = {};
};

inline constexpr CharacterSet whitespace("\n\r\v \t");

constexpr bool isWhitespace(char c) { return whitespace.contains(c); }

/// Whether a comment begins at `text`.
constexpr bool isComment(const char *text, const char *end) {
    return *text == '/' && end - text >= 2 && (text[1] == '/' || text[1] == '*');
}

/// Whether the two characters at `text` are \", which stand for a quotation mark that marks nothing.
constexpr bool isEscapedQuote(const char *text, const char *end) {
    return *text == '\\' && end - text >= 2 && text[1] == '"';
}

} // namespace vl
