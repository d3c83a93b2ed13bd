// The preprocessor: turns a script file and all that it includes into one text. Files being preprocessed form
// a stack of their own, so a long chain of includes costs memory, not stack.
//
// Pass 2 (here) writes the compacted text of a file in order, and at the position of each record its insert:
//
//     replaced word    value, `;` if the word ended with one, one space
//     included file    its text, one space

#include "script/source_file.h"

#include "core/counted.h"

#include <cstdint>
#include <cstring>
#include <utility>

namespace vl {
namespace {

/// The files being preprocessed, from the innermost include out to the root.
class IncludeStack {
  public:
    IncludeStack() = default;
    ~IncludeStack() {
        while (m_pTop)
            pop();
    }
    IncludeStack(const IncludeStack &) = delete;
    IncludeStack &operator=(const IncludeStack &) = delete;

    SourceFile *top() const { return m_pTop; }
    void push(const char *path, LoadSession &session) {
        m_pTop = newCounted<SourceFile>(path, m_pTop, session);
    }
    void pop() noexcept { deleteCounted(std::exchange(m_pTop, m_pTop->includedBy())); }

  private:
    SourceFile *m_pTop = nullptr;
};

char *append(char *out, const char *text, std::size_t length) {
    std::memcpy(out, text, length);
    return out + length;
}

} // namespace

char *SourceFile::assemble(unsigned int &length) {
    CountedArray<char> text;
    char *end = m_pWrite;
    if (isTextAlready()) {
        text.reset(std::exchange(m_pBytes, nullptr));
    } else {
        text.reset(allocateArray<char>(assembledSize()));
        end = assembleText(text.get());
    }
    if (end != text.get() && end[-1] == ' ')
        --end;
    *end = 0;
    length = static_cast<unsigned int>(end - text.get()) + 1;
    return text.release();
}

/// Whether the compacted bytes are the result, with room for its terminating zero: there is nothing to put
/// between them.
bool SourceFile::isTextAlready() const {
    return !m_defines.getFirst() && !m_includes.getFirst() && !m_session.trace && m_pWrite != m_pEnd;
}

/// Of the whole result before a final space is removed, the terminating zero included.
std::uint64_t SourceFile::assembledSize() const {
    std::uint64_t size = static_cast<std::uint64_t>(m_pWrite - m_pBytes) + 1;
    for (const DEFINEINSERT *define = m_defines.getFirst(); define; define = m_defines.getNext(define))
        size += define->value->size() + (define->semicolon ? 2 : 1);
    for (const INCLUDEINSERT *include = m_includes.getFirst(); include; include = m_includes.getNext(include))
        size += std::uint64_t(include->length) + 1;
    return size;
}

char *SourceFile::assembleText(char *text) {
    ScriptTrace *trace = m_session.trace;
    ScriptTrace::Origins origins;
    auto origin = m_wordOrigins.cbegin();
    const auto offset = [text](const char *place) { return static_cast<unsigned int>(place - text); };

    const DEFINEINSERT *define = m_defines.getFirst();
    INCLUDEINSERT *include = m_includes.getFirst();
    unsigned int compacted = 0;
    const auto size = static_cast<unsigned int>(m_pWrite - m_pBytes);
    char *out = text;
    for (;;) {
        const bool includeNext =
            include && (!define || include->position < define->position ||
                        (include->position == define->position && include->line < define->line));
        const unsigned int position = includeNext ? include->position : define ? define->position : size;

        for (; origin != m_wordOrigins.cend() && origin->position < position; ++origin)
            origins.push_back({offset(out) + origin->position - compacted, origin->line, origin->file});
        out = append(out, m_pBytes + compacted, position - compacted);
        compacted = position;

        if (includeNext) {
            if (trace)
                for (const ScriptTrace::Origin &included : trace->takeOrigins(include->text))
                    origins.push_back({offset(out) + included.position, included.line, included.file});
            out = append(out, include->text, include->length);
            V_Memory::freeCounted(std::exchange(include->text, nullptr));
            include = m_includes.getNext(include);
        } else if (define) {
            if (trace)
                origins.push_back({offset(out), define->line, m_uTraceIndex});
            out = append(out, define->value->data(), define->value->size());
            if (define->semicolon)
                *out++ = ';';
            define = m_defines.getNext(define);
        } else {
            break;
        }
        *out++ = ' ';
    }
    if (trace)
        trace->setOrigins(text, std::move(origins));
    return out;
}

} // namespace vl

char *V_ScriptLoader::preprocess(const char *name, unsigned int &length, vl::LoadSession &session) {
    vl::IncludeStack files;
    try {
        files.push(session.files.fullPath(name), session);
        for (;;) {
            if (const INCLUDEINSERT *include = files.top()->scan()) {
                files.push(session.files.fullPath(include->name), session);
                continue;
            }
            unsigned int textLength = 0;
            char *text = files.top()->assemble(textLength);
            files.pop();
            if (!files.top()) {
                length = textLength;
                return text;
            }
            files.top()->setIncludedText(text, textLength - 1);
        }
    } catch (...) {
        if (session.trace && files.top())
            session.trace->failAt(files.top()->traceIndex(), files.top()->failureLine());
        throw;
    }
}
