// The messages of the script subsystem's exceptions.

#include "vl/script/exception.h"

#include "file/shown_path.h"

using vl::ShownPath;

#define VL_LOADER_MESSAGE(Case, parameters, ...)                                                             \
    V_ScriptLoaderException_##Case::V_ScriptLoaderException_##Case parameters { setError(__VA_ARGS__); }
#define VL_SCRIPT_MESSAGE(Case, parameters, ...)                                                             \
    V_ScriptException_##Case::V_ScriptException_##Case parameters { setError(__VA_ARGS__); }

VL_LOADER_MESSAGE(BlockComment, (unsigned int line, const char *file),
                  "V_ScriptLoader: Block comment /*...*/ starting\nin line %u of \"%s\" doesn't end!", line,
                  ShownPath(file).text())
VL_LOADER_MESSAGE(
    NoOpeningBracket, (char closer, unsigned int line, const char *file),
    "V_ScriptLoader: Closing bracket \"%c\" in line %u\nof \"%s\" found without opening bracket!", closer,
    line, ShownPath(file).text())
VL_LOADER_MESSAGE(
    BracketIncompatible,
    (char closer, unsigned int line, const char *file, unsigned int openLine, char expectedCloser),
    "V_ScriptLoader: Closing bracket \"%c\" in line %u of\n\"%s\" doesn't fit bracket in line %u "
    "(expected: \"%c\")!",
    closer, line, ShownPath(file).text(), openLine, expectedCloser)
VL_LOADER_MESSAGE(EndlessString, (unsigned int line, const char *file),
                  "V_ScriptLoader: String marking \"...\" starting\nin line %u of \"%s\" doesn't end!", line,
                  ShownPath(file).text())
VL_LOADER_MESSAGE(BracketedInclude, (unsigned int line, const char *file, unsigned int openLine),
                  "V_ScriptLoader: #include directive in line %u of \"%s\"\ncan't be used inside a bracketed "
                  "block (starts in line %u)!",
                  line, ShownPath(file).text(), openLine)
VL_LOADER_MESSAGE(IncludeSyntax, (unsigned int line, const char *file),
                  "V_ScriptLoader: Syntax error in #include\ndirective in line %u of \"%s\"!", line,
                  ShownPath(file).text())
VL_LOADER_MESSAGE(MultipleInclusion, (const char *name, unsigned int line, const char *file),
                  "V_ScriptLoader: Attempt to include file \"%s\" again in\nline%u of \"%s\" (recursion "
                  "problem)!",
                  name, line, ShownPath(file).text())
VL_LOADER_MESSAGE(BracketedDefine, (unsigned int line, const char *file, unsigned int openLine),
                  "V_ScriptLoader: #define directive in line %u of \"%s\"\ncan't be used inside a bracketed "
                  "block (starts in line %u)!",
                  line, ShownPath(file).text(), openLine)
VL_LOADER_MESSAGE(
    DefineTooLong, (unsigned int line, const char *file, int limit),
    "V_ScriptLoader: #define directive in line %u of \"%s\"\ncan't assign #define's longer than "
    "%d characters!",
    line, ShownPath(file).text(), limit)
VL_LOADER_MESSAGE(DefineSyntax, (unsigned int line, const char *file),
                  "V_ScriptLoader: Syntax error in #define\ndirective in line %u of \"%s\"!", line,
                  ShownPath(file).text())
VL_LOADER_MESSAGE(
    ReDefinition,
    (const char *name, const char *oldValue, const char *newValue, unsigned int line, const char *file),
    "V_ScriptLoader: Attempt to re-#define \"%s\"\n(originally \"%s\")\nas \"%s\" in line %u of "
    "\"%s\"!",
    name, oldValue, newValue, line, ShownPath(file).text())
VL_LOADER_MESSAGE(UnknownDirective, (unsigned int line, const char *file),
                  "V_ScriptLoader: Unknown preprocessor directive\nin line %u of \"%s\"!", line,
                  ShownPath(file).text())
VL_LOADER_MESSAGE(NoClosingBracket, (const char *file, unsigned int openLine),
                  "V_ScriptLoader: File \"%s\" ends with\nopened bracket from line %u!",
                  ShownPath(file).text(), openLine)

VL_LOADER_MESSAGE(EmptyTag, (const char *nesting),
                  "V_ScriptLoader: Tag brackets [ ] cannot\nbe empty: block [%s]!", nesting)
VL_LOADER_MESSAGE(TagWithoutContent, (const char *nesting),
                  "V_ScriptLoader: Either { } nesting or data must\nfollow each tag in block [%s]!", nesting)
VL_LOADER_MESSAGE(NestingWithoutTag, (const char *nesting),
                  "V_ScriptLoader: There can't be a nested block\nwithout tag inside block [%s]!", nesting)
VL_LOADER_MESSAGE(DataWithoutTag, (const char *nesting),
                  "V_ScriptLoader: There can't be data\nwithout tag inside block [%s]!", nesting)
VL_LOADER_MESSAGE(NoSemicolon, (const char *nesting),
                  "V_ScriptLoader: Statements separating semicolon\nmissing inside block [%s]!", nesting)
VL_LOADER_MESSAGE(NoLValue, (const char *nesting),
                  "V_ScriptLoader: Left side of an assignment\noperator = is missing in block [%s]!", nesting)
VL_LOADER_MESSAGE(MultipleAssignment, (const char *leftSide, const char *nesting),
                  "V_ScriptLoader: Only single assignments are supported!\nCheck \"%s=...\" in block "
                  "[%s].\n(Semicolon missing?)",
                  leftSide, nesting)
VL_LOADER_MESSAGE(NoRValue, (const char *leftSide, const char *nesting),
                  "V_ScriptLoader: Right side of assignment \"%s=\"\nin block [%s] cannot be empty!",
                  leftSide, nesting)
VL_LOADER_MESSAGE(
    LValueSpaces, (const char *leftSide, const char *nesting),
    "V_ScriptLoader: Left side of an assignment can't\ncontain spaces! Check \"%s=...\" in block "
    "[%s].",
    leftSide, nesting)
VL_LOADER_MESSAGE(RValueSpaces, (const char *leftSide, const char *nesting),
                  "V_ScriptLoader: Right side of an assignment can't\ncontain spaces! Check \"%s=...\" in "
                  "block [%s].",
                  leftSide, nesting)
VL_LOADER_MESSAGE(
    OutOfBlockMemory, (int frameSize),
    "V_ScriptLoader: The frame memory allocator used by generateBlock() and generateContent() is "
    "out of memory. Increase SCRIPT_BLOCK_MEMORYFRAME_SIZE(=%d) in V_Scrip!",
    frameSize)

VL_SCRIPT_MESSAGE(BlockNotFound, (unsigned int index, const char *nesting),
                  "V_Script: There is no block number %u\nin %s!", index, nesting)
VL_SCRIPT_MESSAGE(NamedBlockNotFound, (unsigned int index, const char *name, const char *nesting),
                  "V_Script: There is no block number %u named \"%s\"\nin %s!", index, name, nesting)
VL_SCRIPT_MESSAGE(UnknownVariable, (const char *leftSide, const char *nesting),
                  "V_Script: Unknown variable \"%s\"\nin %s!", leftSide, nesting)
VL_SCRIPT_MESSAGE(DoubleVariable, (const char *name, const char *nesting),
                  "V_Script: Double variables named \"%s\"\nin %s!", name, nesting)
VL_SCRIPT_MESSAGE(
    NoDefault, (const char *name, const char *nesting),
    "V_Script: Variables \"%s\" doesn't have a default value\nin %s!\nYou have to assign a value "
    "to it.",
    name, nesting)
VL_SCRIPT_MESSAGE(Parsing, (const char *name, const char *nesting, const char *text, const char *format),
                  "V_Script: Can't parse assignment to variable \"%s\"\nin %s!\nAssignment: \"%s\"  "
                  "Format:\"%s\"",
                  name, nesting, text, format)
VL_SCRIPT_MESSAGE(UnknownBlock, (const char *name, const char *nesting),
                  "V_Script: A block \"%s\" should not exist\nin %s!", name, nesting)
VL_SCRIPT_MESSAGE(TooFewBlocks, (const char *name, unsigned int minimum, const char *nesting),
                  "V_Script: Block \"%s\" has to appear at least\n%u times in %s!", name, minimum, nesting)
VL_SCRIPT_MESSAGE(TooManyBlocks, (const char *name, unsigned int maximum, const char *nesting),
                  "V_Script: Block \"%s\" has to appear at maximum\n%u times in %s!", name, maximum, nesting)
