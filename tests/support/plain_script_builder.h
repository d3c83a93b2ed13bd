// A straightforward builder of script blocks, by recursion and by searching anew at every level, as the judge
// of the library's.
#pragma once

#include <algorithm>
#include <cstring>
#include <string>
#include <string_view>
#include <utility>

class PlainBuilder {
  public:
    explicit PlainBuilder(std::string text) : m_text(std::move(text)) {}

    /// What the preprocessed text, its terminating zero included, becomes, as describeBlock tells it; or the
    /// first words of the error.
    std::string build() {
        try {
            return region(0, m_text.size());
        } catch (const char *error) {
            return error;
        }
    }

  private:
    static bool blank(char c) { return c != 0 && std::strchr(" \t\n\r\v", c); }
    static std::string untilZero(const std::string &text) { return text.c_str(); }
    void blanks(std::size_t &p, std::size_t end) const {
        while (p < end && blank(m_text[p]))
            ++p;
    }
    bool escaped(std::size_t p) const { return m_text.compare(p, 2, "\\\"") == 0; }

    std::string region(std::size_t p, std::size_t end) {
        std::string children;
        unsigned int count = 0;
        for (;;) {
            while (p < end && (blank(m_text[p]) || m_text[p] == 0))
                ++p;
            if (p >= end)
                return count ? "{" + children + "}" : "";
            if (m_text[p] == '{')
                throw "There can't be a nested block";
            if (m_text[p] != '[')
                throw "There can't be data";
            const std::size_t close = m_text.find(']', p);
            if (close == p + 1)
                throw "Tag brackets [ ] cannot";
            std::size_t q = close + 1;
            if (close < end)
                blanks(q, end);
            if (close >= end || q >= end || m_text[q] == '}' || m_text[q] == '[')
                throw "Either { } nesting or data must";
            children += (count++ ? " " : "") + untilZero(m_text.substr(p + 1, close - p - 1));
            p = m_text[q] == '{' ? nesting(q + 1, end, children) : data(q, end, children);
        }
    }
    std::size_t nesting(std::size_t start, std::size_t end, std::string &out) {
        bool marked = false;
        int depth = 1;
        for (std::size_t p = start; p < end; ++p) {
            if (escaped(p))
                ++p;
            else if (m_text[p] == '"')
                marked = !marked;
            else if (!marked && m_text[p] == '{')
                ++depth;
            else if (!marked && m_text[p] == '}' && --depth == 0) {
                out += region(start, p);
                return p + 1;
            }
        }
        throw "Either { } nesting or data must";
    }
    std::size_t data(std::size_t start, std::size_t end, std::string &out) {
        std::size_t p = start;
        bool marked = false;
        unsigned int semicolons = 0;
        for (; p < end; ++p) {
            if (escaped(p))
                ++p;
            else if (m_text[p] == '"')
                marked = !marked;
            else if (!marked && std::string_view("[{}").find(m_text[p]) != std::string_view::npos)
                break;
            else
                semicolons += !marked && m_text[p] == ';';
        }
        p = std::min(p, end);
        const std::string text = m_text.substr(start, p - start);
        const std::size_t last = text.find_last_not_of(std::string(" \0", 2));
        if (semicolons == 0 || last == std::string::npos || text[last] != ';')
            throw "Statements separating semicolon";
        out += content(text, semicolons);
        return p;
    }
    static std::string content(const std::string &s, unsigned int count) {
        std::string out;
        unsigned int statements = 0;
        std::size_t q = 0;
        const auto skip = [&] {
            while (q < s.size() && blank(s[q]))
                ++q;
        };
        for (unsigned int i = 0; i < count; ++i) {
            skip();
            if (q >= s.size())
                throw "Statements separating semicolon";
            if (s[q] == '=')
                throw "Left side of an assignment\noperator";
            if (s[q] == ';') {
                ++q;
                continue;
            }
            const std::size_t left = q;
            while (q < s.size() && s[q] != '=' && s[q] != ';' && !blank(s[q])) {
                q += s.compare(q, 2, "\\\"") == 0 ? 2 : 1;
                if (s[q - 1] == '"' && (q - left < 2 || s[q - 2] != '\\'))
                    break;
            }
            const std::string name = s.substr(left, q - left);
            skip();
            if (q >= s.size())
                throw "Statements separating semicolon";
            const char separator = s[q++];
            skip();
            if (separator != '=' && separator != ';')
                throw "Left side of an assignment can't";
            out += (statements++ ? ";" : "") + untilZero(name);
            if (separator == ';')
                continue;
            bool marked = false;
            const std::size_t right = q;
            std::string value;
            for (; q < s.size() && (marked || s[q] != ';'); ++q) {
                if (s.compare(q, 2, "\\\"") == 0) {
                    value += "\\\"";
                    ++q;
                } else if (s[q] == '"')
                    marked = !marked;
                else if (!marked && s[q] == '=')
                    throw "Only single assignments are supported!";
                else if (marked || !blank(s[q]))
                    value += s[q];
            }
            if (q == right)
                throw "Right side of assignment ";
            if (q >= s.size())
                throw "Right side of an assignment can't";
            ++q;
            out += '=' + untilZero(value);
        }
        return statements ? "(" + out + ")" : "";
    }

    std::string m_text;
};
