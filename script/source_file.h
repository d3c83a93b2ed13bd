// One script file while it is preprocessed. Pass 1 (source_file.cpp, directives.cpp) goes over the file's
// bytes once: it checks comments, brackets and string markings, handles the directives, and compacts the
// words, in lower case outside string markings, towards the start of the same buffer. Pass 2
// (preprocessor.cpp) puts the values of definitions and the texts of included files between them.
#pragma once

#include "script/load_session.h"
#include "script/trace.h"
#include "vl/script/exception.h"

#include <cstdint>
#include <string_view>

namespace vl {

class SourceFile {
  public:
    using BRACKETS = V_ScriptLoader::BRACKETS;
    using DEFINEINSERT = V_ScriptLoader::DEFINEINSERT;
    using INCLUDEINSERT = V_ScriptLoader::INCLUDEINSERT;

    /// Loads the file. `includedBy` is the file whose directive asked for it, null for the root.
    SourceFile(const char *path, SourceFile *includedBy, LoadSession &session);
    ~SourceFile();
    SourceFile(const SourceFile &) = delete;
    SourceFile &operator=(const SourceFile &) = delete;

    /// Runs pass 1 on to the next #include, or to the end (null). The caller puts the included text into the
    /// record before it goes on.
    INCLUDEINSERT *scan();

    /// Hands over the text of the file that scan asked for last: a counted allocation.
    void setIncludedText(char *text, unsigned int length) noexcept {
        m_includes.getLast()->text = text;
        m_includes.getLast()->length = length;
    }

    /// Pass 2: the result, a counted allocation; `length` counts its terminating zero.
    char *assemble(unsigned int &length);

    SourceFile *includedBy() const { return m_pIncludedBy; }
    unsigned int traceIndex() const { return m_uTraceIndex; }
    /// Where an exception that leaves the preprocessor arose.
    unsigned int failureLine() const { return m_uFailureLine ? m_uFailureLine : m_uLine; }

  private:
    enum class Directive { None, Include, Define };

    void skipComment();
    void skipWhitespace();
    void copyPlainText();
    std::string_view readWord();
    char *copyStringMarking(char *out);
    void checkBracket(char c);
    void openBracket(char closer);
    void closeBracket(char closer);

    void processOrdinaryWord(std::string_view word);
    INCLUDEINSERT *processIncludeName(std::string_view word);
    void processDefineName(std::string_view word);

    bool isTextAlready() const;
    std::uint64_t assembledSize() const;
    char *assembleText(char *text);

    template <class Leaf>
    [[noreturn]] void fail(unsigned int line, const Leaf &exception) {
        m_uFailureLine = line;
        V_throw(exception);
    }

    LoadSession &m_session;
    WorkState &m_state; ///< the session's
    char m_strPath[256];
    SourceFile *m_pIncludedBy;

    char *m_pBytes;      ///< the file, until assemble hands it over; the compacted text grows at its start
    const char *m_pRead; ///< pass 1 has come this far
    const char *m_pEnd;
    char *m_pWrite; ///< end of the compacted text
    unsigned int m_uLine = 1;
    unsigned int m_uFailureLine = 0;
    Directive m_eDirective = Directive::None;

    V_DLList<BRACKETS> m_brackets; ///< the innermost last
    V_DLList<DEFINEINSERT> m_defines;
    V_DLList<INCLUDEINSERT> m_includes;

    unsigned int m_uTraceIndex = 0;
    ScriptTrace::Origins m_wordOrigins; ///< of the compacted words; empty when nobody asks
};

} // namespace vl
