// The exceptions of the script subsystem. V_ScriptLoaderException_* are thrown while a script is loaded,
// V_ScriptException_* by the queries, the typed parsing and the block checks of a loaded one.
//
// The arguments of each constructor are those of its message, in the message's order. `file` is the full path
// of the file at fault (the included file for an error inside it), `line` counts within that file from 1.
// `nesting` names a block from the inside out: "[wheel]/[car]/[vehicles.txt]"; it holds at most 511
// characters, each element with its slash at most 63, and is cut where it would be longer.
#pragma once

#include "vl/core/exception.h"

/// Area: scripts.
class VL_API V_ScriptException : public V_Exception {};

/// Area: loading scripts.
class VL_API V_ScriptLoaderException : public V_ScriptException {};

#define VL_SCRIPT_EXCEPTION(Area, Case, ...)                                                                 \
    class VL_API Area##_##Case : public Area {                                                               \
      public:                                                                                                \
        explicit Area##_##Case(__VA_ARGS__);                                                                 \
    }
#define VL_LOADER_EXCEPTION(Case, ...) VL_SCRIPT_EXCEPTION(V_ScriptLoaderException, Case, __VA_ARGS__)

// ---- Preprocessing: comments, brackets, string markings, directives ------------------------------------

/// "V_ScriptLoader: Block comment /*...*/ starting\nin line %u of \"%s\" doesn't end!"
VL_LOADER_EXCEPTION(BlockComment, unsigned int line, const char *file);
/// "V_ScriptLoader: Closing bracket \"%c\" in line %u\nof \"%s\" found without opening bracket!"
VL_LOADER_EXCEPTION(NoOpeningBracket, char closer, unsigned int line, const char *file);
/// "V_ScriptLoader: Closing bracket \"%c\" in line %u of\n\"%s\" doesn't fit bracket in line %u
/// (expected: \"%c\")!"
VL_LOADER_EXCEPTION(BracketIncompatible, char closer, unsigned int line, const char *file,
                    unsigned int openLine, char expectedCloser);
/// "V_ScriptLoader: String marking \"...\" starting\nin line %u of \"%s\" doesn't end!"
VL_LOADER_EXCEPTION(EndlessString, unsigned int line, const char *file);
/// "V_ScriptLoader: #include directive in line %u of \"%s\"\ncan't be used inside a bracketed block (starts
/// in line %u)!"
VL_LOADER_EXCEPTION(BracketedInclude, unsigned int line, const char *file, unsigned int openLine);
/// "V_ScriptLoader: Syntax error in #include\ndirective in line %u of \"%s\"!"
VL_LOADER_EXCEPTION(IncludeSyntax, unsigned int line, const char *file);
/// "V_ScriptLoader: Attempt to include file \"%s\" again in\nline%u of \"%s\" (recursion problem)!"
VL_LOADER_EXCEPTION(MultipleInclusion, const char *name, unsigned int line, const char *file);
/// "V_ScriptLoader: #define directive in line %u of \"%s\"\ncan't be used inside a bracketed block (starts in
/// line %u)!"
VL_LOADER_EXCEPTION(BracketedDefine, unsigned int line, const char *file, unsigned int openLine);
/// "V_ScriptLoader: #define directive in line %u of \"%s\"\ncan't assign #define's longer than %d
/// characters!"
VL_LOADER_EXCEPTION(DefineTooLong, unsigned int line, const char *file, int limit);
/// "V_ScriptLoader: Syntax error in #define\ndirective in line %u of \"%s\"!"
VL_LOADER_EXCEPTION(DefineSyntax, unsigned int line, const char *file);
/// "V_ScriptLoader: Attempt to re-#define \"%s\"\n(originally \"%s\")\nas \"%s\" in line %u of \"%s\"!"
VL_LOADER_EXCEPTION(ReDefinition, const char *name, const char *oldValue, const char *newValue,
                    unsigned int line, const char *file);
/// "V_ScriptLoader: Unknown preprocessor directive\nin line %u of \"%s\"!"
VL_LOADER_EXCEPTION(UnknownDirective, unsigned int line, const char *file);
/// "V_ScriptLoader: File \"%s\" ends with\nopened bracket from line %u!"
VL_LOADER_EXCEPTION(NoClosingBracket, const char *file, unsigned int openLine);

// ---- Block structure -----------------------------------------------------------------------------------

/// "V_ScriptLoader: Tag brackets [ ] cannot\nbe empty: block [%s]!"
VL_LOADER_EXCEPTION(EmptyTag, const char *nesting);
/// "V_ScriptLoader: Either { } nesting or data must\nfollow each tag in block [%s]!"
VL_LOADER_EXCEPTION(TagWithoutContent, const char *nesting);
/// "V_ScriptLoader: There can't be a nested block\nwithout tag inside block [%s]!"
VL_LOADER_EXCEPTION(NestingWithoutTag, const char *nesting);
/// "V_ScriptLoader: There can't be data\nwithout tag inside block [%s]!"
VL_LOADER_EXCEPTION(DataWithoutTag, const char *nesting);
/// "V_ScriptLoader: Statements separating semicolon\nmissing inside block [%s]!"
VL_LOADER_EXCEPTION(NoSemicolon, const char *nesting);
/// "V_ScriptLoader: Left side of an assignment\noperator = is missing in block [%s]!"
VL_LOADER_EXCEPTION(NoLValue, const char *nesting);
/// "V_ScriptLoader: Only single assignments are supported!\nCheck \"%s=...\" in block [%s].\n(Semicolon
/// missing?)"
VL_LOADER_EXCEPTION(MultipleAssignment, const char *leftSide, const char *nesting);
/// "V_ScriptLoader: Right side of assignment \"%s=\"\nin block [%s] cannot be empty!"
VL_LOADER_EXCEPTION(NoRValue, const char *leftSide, const char *nesting);
/// "V_ScriptLoader: Left side of an assignment can't\ncontain spaces! Check \"%s=...\" in block [%s]."
VL_LOADER_EXCEPTION(LValueSpaces, const char *leftSide, const char *nesting);
/// "V_ScriptLoader: Right side of an assignment can't\ncontain spaces! Check \"%s=...\" in block [%s]."
VL_LOADER_EXCEPTION(RValueSpaces, const char *leftSide, const char *nesting);
/// "V_ScriptLoader: The frame memory allocator used by generateBlock() and generateContent() is out of
/// memory. Increase SCRIPT_BLOCK_MEMORYFRAME_SIZE(=%d) in V_Scrip!": the script's blocks need more than that
/// many bytes.
VL_LOADER_EXCEPTION(OutOfBlockMemory, int frameSize);

#undef VL_LOADER_EXCEPTION

// ---- A loaded script -----------------------------------------------------------------------------------

#define VL_SCRIPT_LEAF(Case, ...) VL_SCRIPT_EXCEPTION(V_ScriptException, Case, __VA_ARGS__)

/// "V_Script: There is no block number %u\nin %s!"
VL_SCRIPT_LEAF(BlockNotFound, unsigned int index, const char *nesting);
/// "V_Script: There is no block number %u named \"%s\"\nin %s!"
VL_SCRIPT_LEAF(NamedBlockNotFound, unsigned int index, const char *name, const char *nesting);
/// "V_Script: Unknown variable \"%s\"\nin %s!"
VL_SCRIPT_LEAF(UnknownVariable, const char *leftSide, const char *nesting);
/// "V_Script: Double variables named \"%s\"\nin %s!"
VL_SCRIPT_LEAF(DoubleVariable, const char *name, const char *nesting);
/// "V_Script: Variables \"%s\" doesn't have a default value\nin %s!\nYou have to assign a value to it."
VL_SCRIPT_LEAF(NoDefault, const char *name, const char *nesting);
/// "V_Script: Can't parse assignment to variable \"%s\"\nin %s!\nAssignment: \"%s\"  Format:\"%s\""
VL_SCRIPT_LEAF(Parsing, const char *name, const char *nesting, const char *text, const char *format);
/// "V_Script: A block \"%s\" should not exist\nin %s!"
VL_SCRIPT_LEAF(UnknownBlock, const char *name, const char *nesting);
/// "V_Script: Block \"%s\" has to appear at least\n%u times in %s!"
VL_SCRIPT_LEAF(TooFewBlocks, const char *name, unsigned int minimum, const char *nesting);
/// "V_Script: Block \"%s\" has to appear at maximum\n%u times in %s!"
VL_SCRIPT_LEAF(TooManyBlocks, const char *name, unsigned int maximum, const char *nesting);

#undef VL_SCRIPT_LEAF
#undef VL_SCRIPT_EXCEPTION
