// Pass 1 of the preprocessor: comments, words, brackets and string markings.

#include "script/source_file.h"

#include "script/characters.h"

#include <cstdio>
#include <cstring>
#include <utility>

namespace vl {
namespace {

/// What the scanner looks at closely; every other character just belongs to its word.
constexpr CharacterSet notable(whitespace, "/\"{}[]<>");

/// Whether a comment begins at `text`.
bool isComment(const char *text, const char *end) {
    return *text == '/' && end - text >= 2 && (text[1] == '/' || text[1] == '*');
}

} // namespace

SourceFile::SourceFile(const char *path, SourceFile *includedBy)
    : m_state(WorkState::get()), m_pIncludedBy(includedBy) {
    std::snprintf(m_strPath, sizeof m_strPath, "%s", path);
    unsigned int size = 0;
    m_pBytes = loadEnvironment.files->load(m_strPath, size);
    m_pRead = m_pBytes;
    m_pWrite = m_pBytes;
    m_pEnd = m_pBytes + size;
    if (loadEnvironment.trace)
        m_uTraceIndex = loadEnvironment.trace->addFile(m_strPath);
}

SourceFile::~SourceFile() {
    for (INCLUDEINSERT *include = m_includes.getFirst(); include; include = m_includes.getNext(include))
        V_Memory::freeCounted(include->text);
    m_state.m_bracketPool.giveBackAll(m_brackets);
    m_state.m_definePool.giveBackAll(m_defines);
    m_state.m_includePool.giveBackAll(m_includes);
    loadEnvironment.files->release(m_pBytes);
}

SourceFile::INCLUDEINSERT *SourceFile::scan() {
    for (;;) {
        skipComment();
        skipWhitespace();
        if (m_pRead == m_pEnd)
            break;
        if (INCLUDEINSERT *include = processWord(readWord()))
            return include;
    }
    if (const BRACKETS *open = m_brackets.getLast())
        fail(open->line, V_ScriptLoaderException_NoClosingBracket(m_strPath, open->line));
    return nullptr;
}

void SourceFile::skipComment() {
    if (m_pRead == m_pEnd || !isComment(m_pRead, m_pEnd))
        return;

    if (m_pRead[1] == '/') {
        const void *lineEnd = std::memchr(m_pRead, '\n', static_cast<std::size_t>(m_pEnd - m_pRead));
        m_pRead = lineEnd ? static_cast<const char *>(lineEnd) : m_pEnd;
        return;
    }
    const unsigned int start = m_uLine;
    for (m_pRead += 2; m_pEnd - m_pRead >= 2; ++m_pRead) {
        if (m_pRead[0] == '*' && m_pRead[1] == '/') {
            m_pRead += 2;
            return;
        }
        if (*m_pRead == '\n')
            ++m_uLine;
    }
    fail(start, V_ScriptLoaderException_BlockComment(start, m_strPath));
}

void SourceFile::skipWhitespace() {
    const char *start = m_pRead;
    for (; m_pRead != m_pEnd && isWhitespace(*m_pRead); ++m_pRead)
        if (*m_pRead == '\n')
            ++m_uLine;
    if (m_pRead != start && m_pWrite != m_pBytes && !isWhitespace(m_pWrite[-1]))
        *m_pWrite++ = ' ';
}

/// Reads to the end of the word at the read position. It is copied, in lower case, to the write position,
/// which stays where it is: it is the word's processing that keeps or drops it.
std::string_view SourceFile::readWord() {
    char *out = m_pWrite;
    while (m_pRead != m_pEnd) {
        const char c = *m_pRead;
        if (!notable.contains(c)) {
            *out++ = lower(c);
            ++m_pRead;
            continue;
        }
        if (isWhitespace(c) || isComment(m_pRead, m_pEnd))
            break;
        if (c == '"' && m_pEnd - m_pRead > 1) {
            out = copyStringMarking(out);
            continue;
        }
        switch (c) {
        case '{':
            openBracket('}');
            break;
        case '[':
            openBracket(']');
            break;
        case '<':
            openBracket('>');
            break;
        case '}':
        case ']':
        case '>':
            closeBracket(c);
            break;
        }
        *out++ = c;
        ++m_pRead;
    }
    return {m_pWrite, static_cast<std::size_t>(out - m_pWrite)};
}

char *SourceFile::copyStringMarking(char *out) {
    const char *start = m_pRead++;
    for (;; ++m_pRead) {
        if (m_pRead == m_pEnd || *m_pRead == '\n')
            fail(m_uLine, V_ScriptLoaderException_EndlessString(m_uLine, m_strPath));
        if (isEscapedQuote(m_pRead, m_pEnd))
            ++m_pRead;
        else if (*m_pRead == '"')
            break;
    }
    ++m_pRead;
    std::memmove(out, start, static_cast<std::size_t>(m_pRead - start));
    return out + (m_pRead - start);
}

void SourceFile::openBracket(char closer) {
    BRACKETS *bracket = m_state.m_bracketPool.take(m_brackets);
    bracket->closer = closer;
    bracket->line = m_uLine;
}

void SourceFile::closeBracket(char closer) {
    BRACKETS *open = m_brackets.getLast();
    if (!open)
        fail(m_uLine, V_ScriptLoaderException_NoOpeningBracket(closer, m_uLine, m_strPath));
    if (open->closer != closer)
        fail(m_uLine, V_ScriptLoaderException_BracketIncompatible(closer, m_uLine, m_strPath, open->line,
                                                                  open->closer));
    m_state.m_bracketPool.giveBack(m_brackets, open);
}

} // namespace vl
