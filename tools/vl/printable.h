// Names from files on a terminal.
#pragma once

#include <algorithm>
#include <string>

/// `text` with '?' for every control character: a terminal would obey those.
inline std::string printable(std::string text) {
    std::replace_if(
        text.begin(), text.end(), [](unsigned char c) { return c < 0x20 || c == 0x7F; }, '?');
    return text;
}
