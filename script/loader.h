// The tree of a loaded script, and the loader that builds it and is its root.
#pragma once

#include "vl/core/string.h"

/// Bytes that the blocks of one script may take while the tree is built.
constexpr int SCRIPT_BLOCK_MEMORYFRAME_SIZE = 524288;

namespace vl {
class FrameMemory;
class LoadSession;
struct LoadEnvironment;
} // namespace vl

/// One block of the tree. A parent block has children, a data block has statements, an empty one neither.
struct ScriptBlock {
    char *m_pName;              ///< the tag; of the root the script's file name
    unsigned int m_uNumLvalues; ///< number of statements
    char **m_ppLvalues;         ///< their left sides
    char **m_ppAssignments;     ///< their right sides, null for a statement without =
    char *m_pContent;           ///< both arrays and the statement texts; null without statements
    ScriptBlock *m_pParent;     ///< null for the root
    unsigned int m_uIndent;     ///< depth, 0 for the root
    ScriptBlock *m_pFirstChild; ///< null without children
    ScriptBlock *m_pNext;       ///< next sibling in text order, or null
    unsigned int m_uNumChildren;
};

/// The root block. Its name is the first thing in the one allocation that holds every other block, name and
/// statement of the tree, and owns it.
class V_ScriptLoader : public ScriptBlock {
  public:
    /// An open bracket of a file that is being preprocessed.
    struct BRACKETS {
        char closer;       ///< what closes it
        unsigned int line; ///< where it stands
    };

    /// A word that was replaced by a definition.
    struct DEFINEINSERT {
        const V_String *value; ///< held by the define table
        unsigned int position; ///< in the compacted text
        unsigned int line;     ///< of the word
        bool semicolon;        ///< the word ended with one
    };

    /// An included file.
    struct INCLUDEINSERT {
        char name[256];        ///< as written between the delimiters
        char *text;            ///< preprocessed; owned until it is copied out, null until it is there
        unsigned int length;   ///< without the terminating zero
        unsigned int position; ///< in the compacted text
        unsigned int line;     ///< of the directive's argument
    };

    /// Loads the script `name` (resolved against the current directory) and builds its tree. Throws as
    /// V_Script's constructor.
    V_ScriptLoader(const char *name, const vl::LoadEnvironment &environment);
    ~V_ScriptLoader();
    V_ScriptLoader(const V_ScriptLoader &) = delete;
    V_ScriptLoader &operator=(const V_ScriptLoader &) = delete;

    /// The preprocessed text of the script `name` and all that it includes: a counted allocation that the
    /// caller releases. `length` counts the terminating zero. Throws as the constructor.
    static char *preprocessedText(const char *name, unsigned int &length,
                                  const vl::LoadEnvironment &environment);

  private:
    static char *preprocess(const char *name, unsigned int &length, vl::LoadSession &session);
    void generateBlock(const char *name, unsigned int nameLength, ScriptBlock *block, ScriptBlock *parent,
                       unsigned int indent, const char *text, unsigned int start, unsigned int end,
                       vl::LoadSession &session);
    void generateContent(ScriptBlock *block, const char *text, unsigned int start, unsigned int end,
                         unsigned int semicolons, vl::LoadSession &session);
    void adoptBlocks(const vl::FrameMemory &frame);
};

namespace vl {

/// Room for a nesting text: "[wheel]/[car]/[vehicles.txt]".
using NestingText = char[512];

/// Writes the nesting text of `block`, cut to its buffer, each element with its slash to 63 characters.
void writeNesting(NestingText &text, const ScriptBlock *block);

} // namespace vl
