// Pass 1 of the preprocessor: the arguments of the directives #include and #define.

#include "script/source_file.h"

#include "base/text.h"
#include "script/characters.h"
#include "vl/file/exception.h"

#include <cstring>

namespace vl {
namespace {

/// The value of a #define: the rest of its line, up to a comment, with whitespace reduced as between words.
class DefineValue {
  public:
    /// Reads from `text` on; returns where the value ends.
    const char *read(const char *text, const char *end) {
        for (; text != end && *text != '\n'; ++text) {
            if (isEscapedQuote(text, end)) {
                add(*text++);
                add('"');
            } else if (*text == '"') {
                m_bInMarking = !m_bInMarking;
                add('"');
            } else if (m_bInMarking) {
                add(isWhitespace(*text) ? ' ' : *text);
            } else if (isWhitespace(*text)) {
                if (m_uLength != 0 && !m_bSpace)
                    add(' ');
                m_bSpace = true;
                continue;
            } else if (isComment(text, end)) {
                break;
            } else {
                add(lower(*text));
            }
            m_bSpace = false;
        }
        if (m_bSpace && m_uLength != 0)
            --m_uLength;
        return text;
    }

    bool isComplete() const { return m_uLength != 0 && !m_bInMarking; }
    bool isTooLong() const { return m_uLength > WorkState::maximumDefineLength; }
    std::string_view get() const { return {m_strValue, m_uLength}; }

  private:
    /// What does not fit is counted only.
    void add(char c) {
        if (m_uLength < sizeof m_strValue)
            m_strValue[m_uLength] = c;
        ++m_uLength;
    }

    char m_strValue[WorkState::maximumDefineLength + 1];
    std::size_t m_uLength = 0;
    bool m_bInMarking = false;
    bool m_bSpace = false;
};

bool isDelimited(std::string_view word) {
    return word.size() >= 2 &&
           ((word.front() == '"' && word.back() == '"') || (word.front() == '<' && word.back() == '>'));
}

} // namespace

SourceFile::INCLUDEINSERT *SourceFile::processIncludeName(std::string_view word) {
    if (const BRACKETS *open = m_brackets.getLast())
        fail(m_uLine, V_ScriptLoaderException_BracketedInclude(m_uLine, m_strPath, open->line));
    if (!isDelimited(word))
        fail(m_uLine, V_ScriptLoaderException_IncludeSyntax(m_uLine, m_strPath));

    const V_String name(word.data() + 1, word.size() - 2);
    if (name.size() >= sizeof INCLUDEINSERT::name)
        fail(m_uLine, V_FileException_PathTooLong(name.c_str()));
    if (!m_state.include(name))
        fail(m_uLine, V_ScriptLoaderException_MultipleInclusion(name.c_str(), m_uLine, m_strPath));

    INCLUDEINSERT *insert = m_state.m_includePool.take(m_includes);
    std::memcpy(insert->name, name.c_str(), name.size() + 1);
    insert->text = nullptr;
    insert->length = 0;
    insert->position = static_cast<unsigned int>(m_pWrite - m_pBytes);
    insert->line = m_uLine;
    m_eDirective = Directive::None;
    return insert;
}

void SourceFile::processDefineName(std::string_view word) {
    if (const BRACKETS *open = m_brackets.getLast())
        fail(m_uLine, V_ScriptLoaderException_BracketedDefine(m_uLine, m_strPath, open->line));

    DefineValue value;
    m_pRead = value.read(m_pRead, m_pEnd);
    if (!value.isComplete())
        fail(m_uLine, V_ScriptLoaderException_DefineSyntax(m_uLine, m_strPath));
    if (word.size() > WorkState::maximumDefineLength || value.isTooLong())
        fail(m_uLine, V_ScriptLoaderException_DefineTooLong(
                          m_uLine, m_strPath, static_cast<int>(WorkState::maximumDefineLength)));
    if (const V_String *old = m_state.findDefinition(word)) {
        const V_String name(word.data(), word.size());
        const V_String text(value.get().data(), value.get().size());
        fail(m_uLine, V_ScriptLoaderException_ReDefinition(name.c_str(), old->c_str(), text.c_str(), m_uLine,
                                                           m_strPath));
    }
    m_state.define(word, value.get());
    m_eDirective = Directive::None;
}

} // namespace vl
