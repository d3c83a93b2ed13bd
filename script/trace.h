// The trace of a load, for tools that point at a mistake: it knows from which file and line each word of the
// preprocessed text came, and where a load failed. Loading pays nothing for it when it is not asked for.
#pragma once

#include <map>
#include <string>
#include <vector>

namespace vl {

class ScriptTrace {
  public:
    struct Origin {
        unsigned int position; ///< of a word, in a text
        unsigned int line;     ///< where the word came from, in the file of that text or of `file`
        unsigned int file;     ///< index into the files
    };
    using Origins = std::vector<Origin>;

    /// A file is preprocessed from now on; returns its index.
    unsigned int addFile(const char *path) {
        m_files.emplace_back(path);
        return static_cast<unsigned int>(m_files.size() - 1);
    }

    /// The origins of the words of a finished text, in the order of their positions. They are kept under the
    /// text's address until they are taken for the text into which it goes.
    void setOrigins(const char *text, Origins origins) { m_texts[text] = std::move(origins); }
    Origins takeOrigins(const char *text) {
        auto node = m_texts.extract(text);
        return node.empty() ? Origins() : std::move(node.mapped());
    }

    /// Where the load failed: a line of a file, or a position in the finished text.
    void failAt(unsigned int file, unsigned int line) {
        m_file = m_files[file];
        m_uLine = line;
    }
    void failAt(const char *text, unsigned int position) {
        for (const Origin &origin : m_texts[text])
            if (origin.position <= position)
                failAt(origin.file, origin.line);
    }

    /// The place of the failure; an empty file name and line 0 while there was none.
    const std::string &file() const { return m_file; }
    unsigned int line() const { return m_uLine; }

  private:
    std::vector<std::string> m_files;
    std::map<const char *, Origins> m_texts;
    std::string m_file;
    unsigned int m_uLine = 0;
};

} // namespace vl
