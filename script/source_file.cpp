// Pass 1 of the preprocessor: comments, words, brackets and string markings.

#include "script/source_file.h"

#include "base/text.h"
#include "script/characters.h"
#include "script/eight_characters.h"

#include <cstdio>
#include <cstring>
#include <utility>

namespace vl {
namespace {

/// For each character that just belongs to its word: what it is in lower case. 0 for those that the scanner
/// looks at closely (and for the zero byte).
struct WordCharacters {
    constexpr WordCharacters() {
        constexpr CharacterSet notable(whitespace, "/\"{}[]<>");
        for (int i = 0; i < 256; ++i)
            if (const char c = static_cast<char>(i); !notable.contains(c))
                m_lower[i] = lower(c);
    }
    char operator[](char c) const { return m_lower[static_cast<unsigned char>(c)]; }

    char m_lower[256] = {};
};
constexpr WordCharacters wordCharacters;

} // namespace

SourceFile::SourceFile(const char *path, SourceFile *includedBy, LoadSession &session)
    : m_session(session), m_state(session.state), m_pIncludedBy(includedBy) {
    std::snprintf(m_strPath, sizeof m_strPath, "%s", path);
    unsigned int size = 0;
    m_pBytes = session.files.load(m_strPath, size);
    m_pRead = m_pBytes;
    m_pWrite = m_pBytes;
    m_pEnd = m_pBytes + size;
    if (session.trace)
        m_uTraceIndex = session.trace->addFile(m_strPath);
}

SourceFile::~SourceFile() {
    for (INCLUDEINSERT *include = m_includes.getFirst(); include; include = m_includes.getNext(include))
        V_Memory::freeCounted(include->text);
    m_state.m_bracketPool.giveBackAll(m_brackets);
    m_state.m_definePool.giveBackAll(m_defines);
    m_state.m_includePool.giveBackAll(m_includes);
    V_Memory::freeCounted(m_pBytes);
}

SourceFile::INCLUDEINSERT *SourceFile::scan() {
    for (;;) {
        skipComment();
        skipWhitespace();
        if (m_pRead == m_pEnd)
            break;
        if (m_eDirective == Directive::None && !m_state.hasDefinitions() && !m_session.trace)
            copyPlainText();
        const std::string_view word = readWord();
        if (word.empty())
            continue;
        if (m_eDirective == Directive::None)
            processOrdinaryWord(word);
        else if (m_eDirective == Directive::Define)
            processDefineName(word);
        else
            return processIncludeName(word);
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
    const char *read = m_pRead;
    for (; read != m_pEnd && isWhitespace(*read); ++read)
        m_uLine += *read == '\n';
    if (read != m_pRead && m_pWrite != m_pBytes && !isWhitespace(m_pWrite[-1]))
        *m_pWrite++ = ' ';
    m_pRead = read;
}

/// Copies on, from the beginning of a word, for as long as nothing can happen to the words: there is no
/// definition to look for, and this stops at what the scanner looks at closely, at a second blank between
/// words, and at a word that begins a directive. Where it stops within a word, the rest is read as a word and
/// kept like any other.
void SourceFile::copyPlainText() {
    const char *read = m_pRead;
    const char *const end = m_pEnd;
    char *write = m_pWrite;
    bool betweenWords = true;
    int plain = 8;
    while (plain == 8 && end - read >= 8) {
        const EightCharacters eight(read);
        const EightMarks blanks = eight.equal(' ');
        const EightMarks behindBlank = blanks << 8 | (betweenWords ? 0x80 : 0);
        plain = EightCharacters::before(eight.firstBelow(' ') | ((blanks | eight.equal('#')) & behindBlank) |
                                        eight.firstEqual('"') | eight.firstEqual('/') |
                                        eight.firstEqual('>', '<' ^ '>') | eight.firstEqual('{', '[' ^ '{') |
                                        eight.firstEqual('}', ']' ^ '}'));
        eight.storeLower(write, plain);
        read += plain;
        write += plain;
        betweenWords = blanks >> 63 != 0;
    }
    for (; plain == 8 && read != end; ++read) {
        const char c = *read == ' ' ? ' ' : wordCharacters[*read];
        if (c == 0 || (betweenWords && (c == ' ' || c == '#')))
            break;
        *write++ = c;
        betweenWords = c == ' ';
    }
    m_pRead = read;
    m_pWrite = write;
}

/// Reads to the end of the word at the read position. It is copied, in lower case, to the write position,
/// which stays where it is: it is the word's processing that keeps or drops it.
std::string_view SourceFile::readWord() {
    char *out = m_pWrite;
    for (;;) {
        // Bytes are written here: positions in members would be read anew after each.
        const char *read = m_pRead;
        const char *const end = m_pEnd;
        char *write = out;
        for (char c; read != end && (c = wordCharacters[*read]) != 0; ++read)
            *write++ = c;
        out = write;
        m_pRead = read;
        if (read == end || isWhitespace(*read) || isComment(read, end))
            break;
        if (*read == '"' && end - read > 1) {
            out = copyStringMarking(out);
            continue;
        }
        checkBracket(*read);
        *out++ = *m_pRead++;
    }
    return {m_pWrite, static_cast<std::size_t>(out - m_pWrite)};
}

/// An opening bracket is noted, a closing one must fit.
void SourceFile::checkBracket(char c) {
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
}

/// What becomes of a word outside directives, and what directive it begins.
void SourceFile::processOrdinaryWord(std::string_view word) {
    if (word.front() == '#') {
        if (word == "#include")
            m_eDirective = Directive::Include;
        else if (word == "#define")
            m_eDirective = Directive::Define;
        else
            fail(m_uLine, V_ScriptLoaderException_UnknownDirective(m_uLine, m_strPath));
        return;
    }

    const auto position = static_cast<unsigned int>(m_pWrite - m_pBytes);
    if (m_state.hasDefinitions()) {
        const bool semicolon = word.back() == ';';
        const std::string_view name =
            word.substr(0, word.size() - (semicolon ? 1 : 0)).substr(0, WorkState::maximumDefineLength);
        if (const V_String *value = m_state.findDefinition(name)) {
            *m_state.m_definePool.take(m_defines) = {value, position, m_uLine, semicolon};
            return;
        }
    }
    if (m_session.trace)
        m_wordOrigins.push_back({position, m_uLine, m_uTraceIndex});
    m_pWrite += word.size();
}

char *SourceFile::copyStringMarking(char *out) {
    const char *read = m_pRead + 1;
    for (;; ++read) {
        if (read == m_pEnd || *read == '\n')
            fail(m_uLine, V_ScriptLoaderException_EndlessString(m_uLine, m_strPath));
        if (isEscapedQuote(read, m_pEnd))
            ++read;
        else if (*read == '"')
            break;
    }
    const std::size_t length = static_cast<std::size_t>(read + 1 - m_pRead);
    std::memmove(out, m_pRead, length);
    m_pRead += length;
    return out + length;
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
