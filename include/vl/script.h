// Scripts: configuration files made of tagged blocks, their preprocessor, and typed access to what they say.
//
//     #include "wheels.txt"             // brought in once, from the directory of the first script
//     #define MAX 100                   // every word MAX from here on is replaced
//     [car]
//     {
//         [engine] power = 250.5; name = "Big Block"; turbo;
//         [wheel]  pos = (1, 0, 2); grip = 80%;
//     }
//
// A V_Script loads a file with all that it includes and holds the tree of its blocks, which never changes
// afterwards, and a cursor, the current block. The current block is the root at first, which stands for the
// file; lock moves the cursor down to a child, unlock moves it back up. A block either has children (it came
// from `[tag] { ... }`), or statements (from `[tag] name = value; ...`), or neither. Queries, parse and
// blockCheck work on the current block.
//
// Outside string markings ("...") scripts ignore case: texts are kept in lower case, and names that a client
// gives match whatever their case (A-Z). Left and right sides of statements are kept without whitespace
// outside string markings and without the quotation marks; a \" inside a marking is kept as these two
// characters and becomes one quotation mark when it is parsed. A zero byte in a file ends the text it is in.
//
// All blocks of one script together take at most 524288 bytes: each its record, name and statement texts.
//
// Texts that are returned belong to the script and are valid as long as it is. Nothing here is synchronised:
// scripts are loaded and used from one thread at a time.
#pragma once

#include "vl/core/export.h"
#include "vl/script/exception.h"

struct ScriptBlock;
class V_ScriptLoader;
namespace vl {
struct LoadEnvironment;
}

/// A script as a tree of blocks: queries, parsing and checks.
class VL_API V_Script {
  public:
    /// How a right side is converted into variables. The format holds literal characters, which the text must
    /// hold too, and conversions:
    /// - %c  one character, stored as a char
    /// - %d, %i, %u  a decimal integer, stored in 32 bits; a minus sign is allowed for %u too and wraps.
    ///   Letters that follow the digits are read over ("12ab" stores 12). A word instead of a number: true,
    ///   yes and on store 1, false, no and off store 0.
    /// - %x  hexadecimal digits, lower case, without a prefix, stored in 32 bits
    /// - %f  a floating-point number, stored as a float; a % after it divides it by 100
    /// - %s  text up to the character that follows %s in the format or to the end, whichever comes first,
    ///   stored with a terminating zero. Between quotation marks, which are not stored, that character does
    ///   not end it; \" stores one quotation mark.
    /// - %Ns, N a decimal number: the same, but a text of more than N characters fails. Use it to bound
    ///   what a script can write: "%31s" for a char[32].
    /// Any other conversion fails. Numbers are read as the standard conversions %d, %u, %x and %f read them,
    /// whatever the process's locale; one that its type cannot hold (for %f: too large, or too small to be
    /// told from 0) fails, and so does an exponent without digits ("1e").
    struct Format {
        /// The conversions.
        const char *format;
        /// Bytes from the destination of each conversion to that of the next, one entry per conversion, ended
        /// by 0; 0 may stand for the last conversion's entry too. A conversion without a destination because
        /// the array has ended fails. A %s that is not the last conversion fails when text and zero do not
        /// fit in its entry, if that is positive.
        const int *argsizes;
    };

    /// One row of a table that describes the variables of a block; a row with a null name ends the table.
    struct Variables {
        const char *name;      ///< left side of the statement
        void *pData;           ///< where the value is written; need not be aligned
        const char *pDefault;  ///< converted when there is no statement; null: the statement must be there
        const Format *pFormat; ///< of the right side
    };

    /// One row of a table that describes the children of a block; a row with a null name ends the table.
    struct Blocks {
        const char *name;  ///< with or without surrounding [ ]
        unsigned int uMin; ///< fewest blocks of that name
        unsigned int uMax; ///< most blocks of that name
    };

    /// Strides of the formats below.
    static const int m_argsizes_char[2];
    static const int m_argsizes_unsigned[2];
    static const int m_argsizes_int[2];
    static const int m_argsizes_hex[2];
    static const int m_argsizes_float[2];
    static const int m_argsizes_float3[4];
    static const int m_argsizes_string[2];

    static const Format t_char;     ///< "%c": a char
    static const Format t_unsigned; ///< "%u": an unsigned int
    static const Format t_int;      ///< "%d": an int
    static const Format t_hex;      ///< "%x": an unsigned int
    static const Format t_float;    ///< "%f": a float
    static const Format t_float3;   ///< "(%f,%f,%f)": three consecutive floats
    /// "%s": a character buffer. CAUTION: it must hold WHATEVER the script holds; prefer a format with a
    /// limit ("%31s").
    static const Format t_string;

    /// Loads a script. `fileName` is resolved as V_File does, and every name it includes is resolved against
    /// the directory of `fileName`; the library's current directory is unchanged afterwards. Throws the
    /// V_ScriptLoaderException_* classes, what V_File throws when a file or the directory is not found, is
    /// empty or cannot be read (V_FileException_PathTooLong also for an included name of more than 255
    /// characters), and V_MemoryException_Allocation. Nothing of a script that fails to load remains.
    explicit V_Script(const char *fileName);
    ~V_Script();

    // ---- Cursor --------------------------------------------------------------------------------------

    /// Makes child `index` (from 0, in text order) the current block. Throws V_ScriptException_BlockNotFound;
    /// the cursor is then unchanged.
    void lock(unsigned int index);

    /// Makes the child number `index` among those named `name` the current block. Names of blocks may be
    /// given as `car` or `[car]`. Throws V_ScriptException_NamedBlockNotFound; the cursor is then unchanged.
    void lock(const char *name, unsigned int index);

    /// Makes the parent the current block; false, and no change, at the root.
    bool unlock();

    // ---- Queries: none throws ------------------------------------------------------------------------

    /// The script's file name without directory, as given to the constructor.
    const char *getScriptName() const;

    /// Where the cursor is, from the inside out: "[wheel]/[car]/[vehicles.txt]", cut after 511 characters and
    /// each element, with its slash, after 63. Valid until the next call for any script.
    const char *staticNesting() const;

    /// Name of the current block, or of child `index`; null when there is no such child.
    const char *getBlockName() const;
    const char *getBlockName(unsigned int index) const;

    /// Depth of the current block, 0 at the root.
    unsigned int getIndent() const;

    /// Whether the current block, or a child, has children. False when there is no such child.
    bool isParent() const;
    bool isParent(unsigned int index) const;
    bool isParent(const char *name, unsigned int index) const;

    /// Whether the current block, or a child, has statements. False when there is no such child.
    bool isData() const;
    bool isData(unsigned int index) const;
    bool isData(const char *name, unsigned int index) const;

    /// Number of children, and of those named `name`.
    unsigned int count() const;
    unsigned int count(const char *name) const;

    /// Number of statements, and of those whose left side is `name`.
    unsigned int countLvalues() const;
    unsigned int countLvalues(const char *name) const;

    /// Left or right side of statement `index` (from 0, in text order); null when there is no such statement,
    /// the right side also for one without `=`.
    const char *getLvalue(unsigned int index) const;
    const char *getAssignment(unsigned int index) const;

    /// Right side of a statement whose left side is `name`, counted from the LAST such statement backwards: 0
    /// gives the one that stands last. Null when there is none or it has no `=`.
    const char *getAssignment(const char *name, unsigned int index) const;

    /// Position among all children of the child number `index` among those named `name`. The one query that
    /// throws: V_ScriptException_NamedBlockNotFound.
    unsigned int getBlockIndex(const char *name, unsigned int index) const;

    // ---- Typed parsing -------------------------------------------------------------------------------

    /// Converts the right sides of the current block's statements into the variables of `table`. First every
    /// statement must have a row (V_ScriptException_UnknownVariable; not with setIgnoreUnknownVariables) and
    /// every row at most one statement (V_ScriptException_DoubleVariable). Then the rows are converted in
    /// their order. A row without a statement needs a default; that is converted only when `applyDefaults` is
    /// set, otherwise its variable keeps its value. A row with neither statement nor default, or whose
    /// statement has no right side, throws V_ScriptException_NoDefault; a text that its format does not fit,
    /// V_ScriptException_Parsing. Rows converted before a failure stay converted.
    void parse(const Variables *table, bool applyDefaults);

    /// The same for a child, found as by lock (which may throw); the cursor is unchanged afterwards.
    void parse(const Variables *table, unsigned int index, bool applyDefaults);
    void parse(const Variables *table, const char *name, unsigned int index, bool applyDefaults);

    /// Whether parse passes over statements without a row. Applies to all scripts; false at start.
    static bool getIgnoreUnknownVariables() { return sm_bIgnoreUnknownVariables; }
    static void setIgnoreUnknownVariables(bool ignore) { sm_bIgnoreUnknownVariables = ignore; }

    // ---- Block checks --------------------------------------------------------------------------------

    /// Checks the children of the current block: each must be named in a row, unless `allowUnknownBlocks` is
    /// set (V_ScriptException_UnknownBlock), then each row must be met, in table order
    /// (V_ScriptException_TooFewBlocks, V_ScriptException_TooManyBlocks). The first violation is thrown.
    void blockCheck(const Blocks *table, bool allowUnknownBlocks);

    /// The same for a child, found as by lock (which may throw); the cursor is unchanged afterwards.
    void blockCheck(const Blocks *table, unsigned int index, bool allowUnknownBlocks);
    void blockCheck(const Blocks *table, const char *name, unsigned int index, bool allowUnknownBlocks);

  protected:
    /// Loads a script whose files do not come from `File`, or whose loading is traced.
    V_Script(const char *fileName, const vl::LoadEnvironment &environment);

  private:
    friend class V_ScriptLock;

    V_Script() = delete;
    V_Script(const V_Script &) = delete;
    V_Script &operator=(const V_Script &) = delete;

    VL_LOCAL static bool lwrstrequal(const char *scriptText, const char *name);
    VL_LOCAL static bool blkstrequal(const char *blockName, const char *pattern);
    VL_LOCAL ScriptBlock *findBlock(unsigned int index) const;
    VL_LOCAL ScriptBlock *findNthBlock(const char *name, unsigned int index) const;

    VL_LOCAL bool isNumber(char c) const;
    VL_LOCAL bool isText(char c) const;
    VL_LOCAL bool isFloat(char c) const;
    VL_LOCAL bool isHex(char c) const;
    VL_LOCAL bool convert(const char *text, const Format &format, void *destination) const;
    VL_LOCAL bool convertInteger(const char *&text, char letter, void *destination) const;
    VL_LOCAL bool convertHex(const char *&text, void *destination) const;
    VL_LOCAL bool convertFloat(const char *&text, void *destination) const;

    static bool sm_bIgnoreUnknownVariables;

    V_ScriptLoader *m_pRoot;
    ScriptBlock *m_pCurrent;
};

/// Locks a child for the length of a scope. Locks are released in reverse order and before the script is
/// destroyed.
class VL_API V_ScriptLock {
  public:
    /// As V_Script::lock. When that throws, there is no lock and the cursor is unchanged.
    V_ScriptLock(V_Script *script, unsigned int index);
    V_ScriptLock(V_Script *script, const char *name, unsigned int index);

    /// Unlocks.
    ~V_ScriptLock();

  private:
    V_ScriptLock(const V_ScriptLock &) = delete;
    V_ScriptLock &operator=(const V_ScriptLock &) = delete;

    V_Script *m_pScript;
};
