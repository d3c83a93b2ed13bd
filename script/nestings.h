// Finds the closing brace of each nesting. One pass over the text finds them all, so that deep nesting does
// not cost a search per level.
//
// A search that starts behind an opening brace counts the braces outside string markings, and starts outside.
// Whether it sees a brace therefore depends only on how many quotation marks stand between the two: braces
// see each other when the numbers of marks before them are both even or both odd, which makes two independent
// bracket languages in one text.
#pragma once

#include "core/counted.h"
#include "script/characters.h"

#include <algorithm>

namespace vl {

class Nestings {
  public:
    static constexpr unsigned int none = 0xFFFFFFFF;

    /// For nestings within text[0, end).
    Nestings(const char *text, unsigned int end) : m_pText(text), m_uEnd(end) {}

    /// Enters the nesting whose opening brace stands at `open`: false, and nothing entered, when its closing
    /// brace does not stand before `end`. Braces are asked for in the order of their positions.
    bool enter(unsigned int open, unsigned int end) {
        if (!m_braces)
            match(open);
        while (m_braces[m_uNext].open != open)
            ++m_uNext;
        Brace &brace = m_braces[m_uNext];
        if (brace.close >= end)
            return false;
        brace.enclosing = m_uCurrent;
        m_uCurrent = m_uNext;
        return true;
    }

    bool isInside() const { return m_uCurrent != none; }
    /// The closing brace of the nesting entered last.
    unsigned int close() const { return m_braces[m_uCurrent].close; }
    void leave() { m_uCurrent = m_braces[m_uCurrent].enclosing; }

  private:
    struct Brace {
        unsigned int open;
        unsigned int close;     ///< none when it is missing
        unsigned int enclosing; ///< the next brace further out: while matching, and once entered
    };

    void match(unsigned int start) {
        const char *end = m_pText + m_uEnd;
        const auto count = static_cast<std::size_t>(std::count(m_pText + start, end, '{'));
        m_braces.reset(allocateArray<Brace>(count));

        unsigned int innermost[2] = {none, none};
        unsigned int parity = 0;
        unsigned int next = 0;
        for (const char *p = m_pText + start; p != end; ++p) {
            unsigned int &open = innermost[parity];
            switch (*p) {
            case '"':
                parity ^= 1;
                break;
            case '\\':
                if (isEscapedQuote(p, end))
                    ++p;
                break;
            case '{':
                m_braces[next] = {static_cast<unsigned int>(p - m_pText), none, open};
                open = next++;
                break;
            case '}':
                if (open != none) {
                    m_braces[open].close = static_cast<unsigned int>(p - m_pText);
                    open = m_braces[open].enclosing;
                }
                break;
            }
        }
    }

    const char *m_pText;
    unsigned int m_uEnd;
    CountedArray<Brace> m_braces; ///< in the order of their positions
    unsigned int m_uNext = 0;
    unsigned int m_uCurrent = none;
};

} // namespace vl
