// Texts between the library, whose names are UTF-8, and the system, whose names are UTF-16.
//
// Every text has a form on the other side, so that no file is out of reach and no name unreadable: a byte
// that is not part of valid UTF-8 is taken for the Latin-1 character of its number (U+0080 to U+00FF), and a
// half of a surrogate pair that stands alone, which the system's names may hold, is written in the three
// bytes that its number would take (generalized UTF-8, also known as WTF-8) and read back from them.
#pragma once

#include <cstddef>
#include <string_view>

namespace vl::platform {

/// Writes at most `room` units without a terminating zero and returns how many there are; more than `room`
/// when the text does not fit.
std::size_t toWide(wchar_t *out, std::size_t room, std::string_view text);

/// Writes at most `room` bytes without a terminating zero and returns how many there are; more than `room`
/// when the text does not fit.
std::size_t toUtf8(char *out, std::size_t room, std::wstring_view text);

} // namespace vl::platform
