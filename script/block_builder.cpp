// Builds the tree of blocks from preprocessed text, in the frame memory. Blocks that are nested are worked
// through without recursion: how deep a script may nest is a question of the frame alone.
//
//     region      any number of items
//     item        [ tag ] { region }     a parent block
//                 [ tag ] data           a data block
//     data        up to the next [ { } outside string markings
//     statement   ;   or   left side ;   or   left side = right side ;

#include "script/loader.h"

#include "script/characters.h"
#include "script/load_session.h"
#include "script/nestings.h"
#include "script/trace.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <new>

namespace vl {
namespace {

constexpr CharacterSet dataNotable("[{};\"\\");
constexpr CharacterSet statementNotable(whitespace, "=;\"\\");

/// Throws Leaf(arguments..., nesting text of the block). `position` is where in the text the mistake is seen.
template <class Leaf, class... Arguments>
[[noreturn]] void fail(const LoadSession &session, const ScriptBlock *block, const char *text,
                       unsigned int position, Arguments... arguments) {
    NestingText nesting;
    writeNesting(nesting, block);
    if (session.trace)
        session.trace->failAt(text, position);
    V_throw(Leaf(arguments..., nesting));
}

template <class Char>
Char *skipWhitespace(Char *text, Char *end) {
    while (text != end && isWhitespace(*text))
        ++text;
    return text;
}

void fillBlock(const char *name, unsigned int nameLength, ScriptBlock *block, ScriptBlock *parent,
               unsigned int indent, FrameMemory &frame) {
    block->m_pName = frame.allocate(std::uint64_t(nameLength) + 1, false);
    std::memcpy(block->m_pName, name, nameLength);
    block->m_pName[nameLength] = 0;
    block->m_uIndent = indent;
    block->m_pParent = parent;
    block->m_uNumLvalues = 0;
    block->m_ppLvalues = nullptr;
    block->m_ppAssignments = nullptr;
    block->m_pContent = nullptr;
}

ScriptBlock *appendChild(ScriptBlock *parent, ScriptBlock *lastChild, FrameMemory &frame) {
    auto *child = new (frame.allocate(sizeof(ScriptBlock), true)) ScriptBlock{};
    ++parent->m_uNumChildren;
    (lastChild ? lastChild->m_pNext : parent->m_pFirstChild) = child;
    return child;
}

/// The data of a block: up to the next bracket that begins or ends a block.
struct Data {
    unsigned int end;
    unsigned int semicolons; ///< outside string markings
};

Data findData(const char *text, unsigned int start, unsigned int end) {
    unsigned int semicolons = 0;
    bool inMarking = false;
    unsigned int p = start;
    for (; p < end; ++p) {
        if (!dataNotable.contains(text[p]))
            continue;
        if (text[p] == '"')
            inMarking = !inMarking;
        else if (text[p] == '\\')
            p += isEscapedQuote(text + p, text + end);
        else if (inMarking)
            continue;
        else if (text[p] == ';')
            ++semicolons;
        else
            break;
    }
    return {p, semicolons};
}

char *endOfLeftSide(char *q, char *end) {
    for (; q != end; ++q) {
        if (!statementNotable.contains(*q))
            continue;
        if (*q == '"')
            return q + 1;
        if (*q != '\\')
            break;
        q += isEscapedQuote(q, end);
    }
    return q;
}

enum class RightSide { Complete, SecondAssignment, Endless };

/// Moves `q` from the first character of a right side behind its semicolon, which becomes a zero, and drops
/// quotation marks, and whitespace outside string markings, on the way.
RightSide compactRightSide(char *&q, char *end) {
    bool inMarking = false;
    char *out = q;
    for (; q != end; ++q) {
        const char c = *q;
        // NOLINTNEXTLINE(bugprone-branch-clone): nearly every character takes this way, told by one test
        if (!statementNotable.contains(c)) {
            *out++ = c;
        } else if (isEscapedQuote(q, end)) {
            *out++ = *q++;
            *out++ = '"';
        } else if (c == '"') {
            inMarking = !inMarking;
        } else if (inMarking || c == '\\') {
            *out++ = c;
        } else if (c == '=') {
            return RightSide::SecondAssignment;
        } else if (c == ';') {
            *out = 0;
            ++q;
            return RightSide::Complete;
        }
    }
    return RightSide::Endless;
}

} // namespace

void writeNesting(NestingText &text, const ScriptBlock *block) {
    std::size_t length = 0;
    text[0] = 0;
    for (const char *slash = ""; block; block = block->m_pParent, slash = "/") {
        char element[64];
        const int room = static_cast<int>(sizeof element - sizeof "[]" - std::strlen(slash));
        std::snprintf(element, sizeof element, "%s[%.*s]", slash, room, block->m_pName);
        std::snprintf(text + length, sizeof text - length, "%s", element);
        length = std::min(length + std::strlen(element), sizeof text - 1);
    }
}

} // namespace vl

using namespace vl;

void V_ScriptLoader::generateBlock(const char *name, unsigned int nameLength, ScriptBlock *block,
                                   ScriptBlock *parent, unsigned int indent, const char *text,
                                   unsigned int start, unsigned int end, LoadSession &session) {
    fillBlock(name, nameLength, block, parent, indent, session.frame);

    Nestings nestings(text, end);
    unsigned int regionEnd = end;
    ScriptBlock *lastChild = nullptr;
    unsigned int p = start;
    for (;;) {
        while (p != regionEnd && (isWhitespace(text[p]) || text[p] == 0))
            ++p;
        if (p == regionEnd) {
            if (!nestings.isInside())
                return;
            p = nestings.close() + 1;
            nestings.leave();
            regionEnd = nestings.isInside() ? nestings.close() : end;
            lastChild = block;
            block = block->m_pParent;
            continue;
        }
        if (text[p] == '{')
            fail<V_ScriptLoaderException_NestingWithoutTag>(session, block, text, p);
        if (text[p] != '[')
            fail<V_ScriptLoaderException_DataWithoutTag>(session, block, text, p);

        const char *const region = text + regionEnd;
        const char *tag = text + p + 1;
        const char *tagEnd = std::find(tag, region, ']');
        if (tagEnd == tag && tagEnd != region)
            fail<V_ScriptLoaderException_EmptyTag>(session, block, text, p);
        const char *content = tagEnd == region ? region : skipWhitespace(tagEnd + 1, region);
        if (content == region || *content == '}' || *content == '[')
            fail<V_ScriptLoaderException_TagWithoutContent>(session, block, text, p);

        const auto tagLength = static_cast<unsigned int>(tagEnd - tag);
        const auto contentStart = static_cast<unsigned int>(content - text);
        if (*content == '{') {
            // A nesting that does not end in its region is none.
            if (!nestings.enter(contentStart, regionEnd))
                fail<V_ScriptLoaderException_TagWithoutContent>(session, block, text, p);
            ScriptBlock *child = appendChild(block, lastChild, session.frame);
            fillBlock(tag, tagLength, child, block, block->m_uIndent + 1, session.frame);
            block = child;
            lastChild = nullptr;
            regionEnd = nestings.close();
            p = contentStart + 1;
        } else {
            const Data data = findData(text, contentStart, regionEnd);
            lastChild = appendChild(block, lastChild, session.frame);
            fillBlock(tag, tagLength, lastChild, block, block->m_uIndent + 1, session.frame);
            generateContent(lastChild, text, contentStart, data.end, data.semicolons, session);
            p = data.end;
        }
    }
}

void V_ScriptLoader::generateContent(ScriptBlock *block, const char *text, unsigned int start,
                                     unsigned int end, unsigned int semicolons, LoadSession &session) {
    unsigned int last = end;
    while (last != start && (text[last - 1] == ' ' || text[last - 1] == 0))
        --last;
    if (semicolons == 0 || last == start || text[last - 1] != ';')
        fail<V_ScriptLoaderException_NoSemicolon>(session, block, text, last == start ? start : last - 1);

    const std::uint64_t arraysSize = std::uint64_t(semicolons) * 2 * sizeof(char *);
    block->m_uNumLvalues = semicolons;
    block->m_pContent = session.frame.allocate(arraysSize + (end - start), true);
    block->m_ppLvalues = reinterpret_cast<char **>(block->m_pContent);
    block->m_ppAssignments = block->m_ppLvalues + semicolons;
    char *const copy = block->m_pContent + arraysSize;
    char *const copyEnd = copy + (end - start);
    std::memcpy(copy, text + start, end - start);

    char *q = copy;
    const auto position = [&](const char *place) { return start + static_cast<unsigned int>(place - copy); };
    const auto missingSemicolon = [&] {
        fail<V_ScriptLoaderException_NoSemicolon>(session, block, text, last - 1);
    };
    for (unsigned int i = 0; i < block->m_uNumLvalues;) {
        q = skipWhitespace(q, copyEnd);
        if (q == copyEnd)
            missingSemicolon();
        if (*q == '=')
            fail<V_ScriptLoaderException_NoLValue>(session, block, text, position(q));
        if (*q == ';') {
            --block->m_uNumLvalues;
            ++q;
            continue;
        }

        char *const leftSide = q;
        char *const leftSideEnd = endOfLeftSide(q, copyEnd);
        q = skipWhitespace(leftSideEnd, copyEnd);
        if (q == copyEnd)
            missingSemicolon();
        const char separator = *q++;
        q = skipWhitespace(q, copyEnd);
        *leftSideEnd = 0;
        block->m_ppLvalues[i] = leftSide;
        block->m_ppAssignments[i] = nullptr;
        if (separator == '=') {
            if (q == copyEnd || *q == ';')
                fail<V_ScriptLoaderException_NoRValue>(session, block, text, position(leftSide), leftSide);
            block->m_ppAssignments[i] = q;
            switch (compactRightSide(q, copyEnd)) {
            case RightSide::Complete:
                break;
            case RightSide::SecondAssignment:
                fail<V_ScriptLoaderException_MultipleAssignment>(session, block, text, position(leftSide),
                                                                 leftSide);
            case RightSide::Endless:
                fail<V_ScriptLoaderException_RValueSpaces>(session, block, text, position(leftSide),
                                                           leftSide);
            }
        } else if (separator != ';') {
            fail<V_ScriptLoaderException_LValueSpaces>(session, block, text, position(leftSide), leftSide);
        }
        ++i;
    }
}
