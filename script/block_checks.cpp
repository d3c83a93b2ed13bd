// V_Script::blockCheck: which children a block may have, and how many of each.

#include "script/loader.h"
#include "vl/script.h"

void V_Script::blockCheck(const Blocks *table, bool allowUnknownBlocks) {
    if (!allowUnknownBlocks) {
        for (const ScriptBlock *block = m_pCurrent->m_pFirstChild; block; block = block->m_pNext) {
            const Blocks *row = table;
            while (row->name && !blkstrequal(block->m_pName, row->name))
                ++row;
            if (!row->name)
                V_throw(V_ScriptException_UnknownBlock(block->m_pName, staticNesting()));
        }
    }
    for (const Blocks *row = table; row->name; ++row) {
        const unsigned int found = count(row->name);
        if (found < row->uMin)
            V_throw(V_ScriptException_TooFewBlocks(row->name, row->uMin, staticNesting()));
        if (found > row->uMax)
            V_throw(V_ScriptException_TooManyBlocks(row->name, row->uMax, staticNesting()));
    }
}

void V_Script::blockCheck(const Blocks *table, unsigned int index, bool allowUnknownBlocks) {
    const V_ScriptLock lock(this, index);
    blockCheck(table, allowUnknownBlocks);
}

void V_Script::blockCheck(const Blocks *table, const char *name, unsigned int index,
                          bool allowUnknownBlocks) {
    const V_ScriptLock lock(this, name, index);
    blockCheck(table, allowUnknownBlocks);
}
