// V_Script: the cursor and the queries.

#include "vl/script.h"

#include "base/text.h"
#include "script/characters.h"
#include "script/loader.h"

#include <cstring>

// ---- Names ---------------------------------------------------------------------------------------------

bool V_Script::lwrstrequal(const char *scriptText, const char *name) {
    for (; *scriptText == vl::lower(*name); ++scriptText, ++name)
        if (*scriptText == 0)
            return true;
    return false;
}

bool V_Script::blkstrequal(const char *blockName, const char *pattern) {
    const std::size_t length = std::strlen(pattern);
    if (length < 2 || pattern[0] != '[' || pattern[length - 1] != ']')
        return lwrstrequal(blockName, pattern);
    for (std::size_t i = 1; i < length - 1; ++i, ++blockName)
        if (*blockName != vl::lower(pattern[i]))
            return false;
    return *blockName == 0;
}

ScriptBlock *V_Script::findBlock(unsigned int index) const {
    ScriptBlock *block = m_pCurrent->m_pFirstChild;
    for (; block && index != 0; --index)
        block = block->m_pNext;
    return block;
}

ScriptBlock *V_Script::findNthBlock(const char *name, unsigned int index) const {
    for (ScriptBlock *block = m_pCurrent->m_pFirstChild; block; block = block->m_pNext)
        if (blkstrequal(block->m_pName, name) && index-- == 0)
            return block;
    return nullptr;
}

// ---- Cursor --------------------------------------------------------------------------------------------

void V_Script::lock(unsigned int index) {
    ScriptBlock *block = findBlock(index);
    if (!block)
        V_throw(V_ScriptException_BlockNotFound(index, staticNesting()));
    m_pCurrent = block;
}

void V_Script::lock(const char *name, unsigned int index) {
    ScriptBlock *block = findNthBlock(name, index);
    if (!block)
        V_throw(V_ScriptException_NamedBlockNotFound(index, name, staticNesting()));
    m_pCurrent = block;
}

bool V_Script::unlock() {
    if (!m_pCurrent->m_pParent)
        return false;
    m_pCurrent = m_pCurrent->m_pParent;
    return true;
}

V_ScriptLock::V_ScriptLock(V_Script *script, unsigned int index) : m_pScript(script) { script->lock(index); }

V_ScriptLock::V_ScriptLock(V_Script *script, const char *name, unsigned int index) : m_pScript(script) {
    script->lock(name, index);
}

V_ScriptLock::~V_ScriptLock() {
    m_pScript->unlock();
    m_pScript = nullptr;
}

// ---- Queries -------------------------------------------------------------------------------------------

const char *V_Script::getScriptName() const { return m_pRoot->m_pName; }

const char *V_Script::staticNesting() const {
    static vl::NestingText nesting;
    vl::writeNesting(nesting, m_pCurrent);
    return nesting;
}

const char *V_Script::getBlockName() const { return m_pCurrent->m_pName; }

const char *V_Script::getBlockName(unsigned int index) const {
    const ScriptBlock *block = findBlock(index);
    return block ? block->m_pName : nullptr;
}

unsigned int V_Script::getIndent() const { return m_pCurrent->m_uIndent; }

bool V_Script::isParent() const { return m_pCurrent->m_uNumChildren != 0; }

bool V_Script::isParent(unsigned int index) const {
    const ScriptBlock *block = findBlock(index);
    return block && block->m_uNumChildren != 0;
}

bool V_Script::isParent(const char *name, unsigned int index) const {
    const ScriptBlock *block = findNthBlock(name, index);
    return block && block->m_uNumChildren != 0;
}

bool V_Script::isData() const { return m_pCurrent->m_uNumLvalues != 0; }

bool V_Script::isData(unsigned int index) const {
    const ScriptBlock *block = findBlock(index);
    return block && block->m_uNumLvalues != 0;
}

bool V_Script::isData(const char *name, unsigned int index) const {
    const ScriptBlock *block = findNthBlock(name, index);
    return block && block->m_uNumLvalues != 0;
}

unsigned int V_Script::count() const { return m_pCurrent->m_uNumChildren; }

unsigned int V_Script::count(const char *name) const {
    unsigned int result = 0;
    for (const ScriptBlock *block = m_pCurrent->m_pFirstChild; block; block = block->m_pNext)
        result += blkstrequal(block->m_pName, name);
    return result;
}

unsigned int V_Script::countLvalues() const { return m_pCurrent->m_uNumLvalues; }

unsigned int V_Script::countLvalues(const char *name) const {
    unsigned int result = 0;
    for (unsigned int i = 0; i < m_pCurrent->m_uNumLvalues; ++i)
        result += lwrstrequal(m_pCurrent->m_ppLvalues[i], name);
    return result;
}

const char *V_Script::getLvalue(unsigned int index) const {
    return index < m_pCurrent->m_uNumLvalues ? m_pCurrent->m_ppLvalues[index] : nullptr;
}

const char *V_Script::getAssignment(unsigned int index) const {
    return index < m_pCurrent->m_uNumLvalues ? m_pCurrent->m_ppAssignments[index] : nullptr;
}

const char *V_Script::getAssignment(const char *name, unsigned int index) const {
    for (unsigned int i = m_pCurrent->m_uNumLvalues; i-- != 0;)
        if (lwrstrequal(m_pCurrent->m_ppLvalues[i], name) && index-- == 0)
            return m_pCurrent->m_ppAssignments[i];
    return nullptr;
}

unsigned int V_Script::getBlockIndex(const char *name, unsigned int index) const {
    unsigned int position = 0;
    unsigned int rest = index;
    for (const ScriptBlock *block = m_pCurrent->m_pFirstChild; block; block = block->m_pNext, ++position)
        if (blkstrequal(block->m_pName, name) && rest-- == 0)
            return position;
    V_throw(V_ScriptException_NamedBlockNotFound(index, name, staticNesting()));
}
