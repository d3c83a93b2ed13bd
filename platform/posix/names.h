// How file names compare: without regard to the case of A-Z, and in the one order that every listing has.
#pragma once

#include <cstddef>
#include <string_view>

namespace vl::platform {

inline unsigned char upperCase(char c) {
    return static_cast<unsigned char>(c >= 'a' && c <= 'z' ? c - ('a' - 'A') : c);
}

inline bool equalNames(std::string_view a, std::string_view b) {
    if (a.size() != b.size())
        return false;
    for (std::size_t i = 0; i < a.size(); ++i)
        if (upperCase(a[i]) != upperCase(b[i]))
            return false;
    return true;
}

/// The sorted order: by the upper-cased bytes, names equal so far by their own bytes.
inline bool namePrecedes(std::string_view a, std::string_view b) {
    for (std::size_t i = 0; i < a.size() && i < b.size(); ++i)
        if (upperCase(a[i]) != upperCase(b[i]))
            return upperCase(a[i]) < upperCase(b[i]);
    return a.size() != b.size() ? a.size() < b.size() : a < b;
}

} // namespace vl::platform
