// Script blocks as text, for comparison.
#pragma once

#include "vl/script.h"

#include <string>

/// What a block holds, on one line: `car{engine(power=250;turbo) empty}`.
inline std::string describeBlock(V_Script &script) {
    std::string text = script.getIndent() == 0 ? "" : script.getBlockName();
    if (script.isData()) {
        text += '(';
        for (unsigned int i = 0; i < script.countLvalues(); ++i) {
            text += (i ? ";" : "") + std::string(script.getLvalue(i));
            if (script.getAssignment(i))
                text += '=' + std::string(script.getAssignment(i));
        }
        text += ')';
    }
    if (script.isParent()) {
        text += '{';
        for (unsigned int i = 0; i < script.count(); ++i) {
            const V_ScriptLock lock(&script, i);
            text += (i ? " " : "") + describeBlock(script);
        }
        text += '}';
    }
    return text;
}
