// UTF-8 and UTF-16 (text.h). The encodings are those of RFC 3629 and RFC 2781.

#include "platform/windows/text.h"

#include <cstdint>

namespace vl::platform {

namespace {

constexpr std::uint32_t firstSurrogate = 0xD800, firstLowSurrogate = 0xDC00, lastSurrogate = 0xDFFF;
constexpr std::uint32_t firstBeyondOneUnit = 0x10000, lastCharacter = 0x10FFFF;

/// Takes one character from the front of a text. Ill-formed bytes are taken one by one.
std::uint32_t takeCharacter(std::string_view &text) {
    const auto byte = [&](std::size_t i) {
        return i < text.size() ? static_cast<std::uint8_t>(text[i]) : std::uint8_t{0};
    };
    const std::uint8_t lead = byte(0);
    const std::size_t following = lead < 0xC2 ? 0 : lead < 0xE0 ? 1 : lead < 0xF0 ? 2 : lead < 0xF5 ? 3 : 0;
    std::uint32_t character = following == 0 ? lead : lead & (0x3Fu >> following);
    for (std::size_t i = 1; i <= following; ++i) {
        if ((byte(i) & 0xC0) != 0x80) {
            text.remove_prefix(1);
            return lead;
        }
        character = character << 6 | (byte(i) & 0x3Fu);
    }
    // Longer than need be, or beyond what there is.
    constexpr std::uint32_t smallest[] = {0, 0x80, 0x800, firstBeyondOneUnit};
    if (character < smallest[following] || character > lastCharacter) {
        text.remove_prefix(1);
        return lead;
    }
    text.remove_prefix(following + 1);
    return character;
}

} // namespace

std::size_t toWide(wchar_t *out, std::size_t room, std::string_view text) {
    std::size_t count = 0;
    const auto put = [&](std::uint32_t unit) {
        if (count < room)
            out[count] = static_cast<wchar_t>(unit);
        ++count;
    };
    while (!text.empty()) {
        const std::uint32_t character = takeCharacter(text);
        if (character < firstBeyondOneUnit) {
            put(character);
        } else {
            put(firstSurrogate + ((character - firstBeyondOneUnit) >> 10));
            put(firstLowSurrogate + ((character - firstBeyondOneUnit) & 0x3FF));
        }
    }
    return count;
}

std::size_t toUtf8(char *out, std::size_t room, std::wstring_view text) {
    std::size_t count = 0;
    const auto put = [&](std::uint32_t byte) {
        if (count < room)
            out[count] = static_cast<char>(byte);
        ++count;
    };
    const auto unit = [&](std::size_t i) { return static_cast<std::uint32_t>(text[i]) & 0xFFFF; };
    for (std::size_t i = 0; i < text.size(); ++i) {
        std::uint32_t character = unit(i);
        if (character >= firstSurrogate && character < firstLowSurrogate && i + 1 < text.size() &&
            unit(i + 1) >= firstLowSurrogate && unit(i + 1) <= lastSurrogate)
            character =
                firstBeyondOneUnit + ((character - firstSurrogate) << 10) + (unit(++i) - firstLowSurrogate);
        if (character < 0x80) {
            put(character);
            continue;
        }
        const int following = character < 0x800 ? 1 : character < firstBeyondOneUnit ? 2 : 3;
        constexpr std::uint32_t lead[] = {0, 0xC0, 0xE0, 0xF0};
        put(lead[following] | character >> (6 * following));
        for (int shift = 6 * (following - 1); shift >= 0; shift -= 6)
            put(0x80 | (character >> shift & 0x3F));
    }
    return count;
}

} // namespace vl::platform
