// V_Script::parse: right sides and defaults into a client's variables, by a small scanf-like format language.
// Numbers are converted by hand or by std::from_chars, never through the process's locale.

#include "vl/script.h"

#include "base/text.h"
#include "script/characters.h"
#include "script/loader.h"

#include <algorithm>
#include <charconv>
#include <cstdint>
#include <cstring>
#include <limits>
#include <string_view>

using vl::lower;

const int V_Script::m_argsizes_char[2] = {1, 0};
const int V_Script::m_argsizes_unsigned[2] = {4, 0};
const int V_Script::m_argsizes_int[2] = {4, 0};
const int V_Script::m_argsizes_hex[2] = {4, 0};
const int V_Script::m_argsizes_float[2] = {4, 0};
const int V_Script::m_argsizes_float3[4] = {4, 4, 4, 0};
const int V_Script::m_argsizes_string[2] = {4, 0};

constinit const V_Script::Format V_Script::t_char = {"%c", m_argsizes_char};
constinit const V_Script::Format V_Script::t_unsigned = {"%u", m_argsizes_unsigned};
constinit const V_Script::Format V_Script::t_int = {"%d", m_argsizes_int};
constinit const V_Script::Format V_Script::t_hex = {"%x", m_argsizes_hex};
constinit const V_Script::Format V_Script::t_float = {"%f", m_argsizes_float};
constinit const V_Script::Format V_Script::t_float3 = {"(%f,%f,%f)", m_argsizes_float3};
constinit const V_Script::Format V_Script::t_string = {"%s", m_argsizes_string};

bool V_Script::sm_bIgnoreUnknownVariables = false;

namespace {

bool isDigit(char c) { return c >= '0' && c <= '9'; }

/// Destinations need not be aligned.
template <class T>
void store(void *destination, T value) {
    std::memcpy(destination, &value, sizeof value);
}

enum class Number { None, OutOfRange, Read };

/// What the conversions %d (signed) and %u read from the start of `token`, as 32 bits.
Number readInteger(std::string_view token, bool isSigned, std::uint32_t &value) {
    const bool sign = !token.empty() && (token[0] == '+' || token[0] == '-');
    const bool negative = sign && token[0] == '-';
    token.remove_prefix(sign);

    std::uint32_t magnitude = 0;
    const auto [end, error] = std::from_chars(token.data(), token.data() + token.size(), magnitude);
    if (error == std::errc::invalid_argument)
        return Number::None;
    const std::uint32_t limit = isSigned ? 0x7FFFFFFFu + negative : 0xFFFFFFFFu;
    if (error != std::errc() || magnitude > limit)
        return Number::OutOfRange;
    value = negative ? 0 - magnitude : magnitude;
    return Number::Read;
}

/// 1, 0, or -1 for a word that is neither.
int readBool(std::string_view token) {
    const auto is = [token](std::string_view word) {
        return std::equal(token.begin(), token.end(), word.begin(), word.end(),
                          [](char a, char b) { return lower(a) == b; });
    };
    if (is("true") || is("yes") || is("on"))
        return 1;
    return is("false") || is("no") || is("off") ? 0 : -1;
}

/// Copies a text to `destination`, with a terminating zero, until it meets `stop` outside string markings:
/// false, and the text cut, when it is longer than `limit` characters.
bool copyText(const char *&text, char stop, std::uint64_t limit, char *destination) {
    bool inMarking = false;
    std::uint64_t length = 0;
    for (; *text && (inMarking || *text != stop); ++text) {
        if (*text == '"') {
            inMarking = !inMarking;
            continue;
        }
        if (text[0] == '\\' && text[1] == '"')
            ++text;
        if (length == limit) {
            destination[length] = 0;
            return false;
        }
        destination[length++] = *text;
    }
    destination[length] = 0;
    return true;
}

/// Puts what a format consists of into words: literal characters and conversions.
struct Conversion {
    char letter = 0;                                                 ///< 0: a literal character
    std::uint64_t width = std::numeric_limits<std::uint64_t>::max(); ///< most characters of a %s
    const char *next;                                                ///< what follows it in the format

    explicit Conversion(const char *format) : next(format + 1) {
        if (format[0] != '%' || format[1] == 0)
            return;
        if (isDigit(*next)) {
            // A width of more digits than any text has characters is as good as none.
            for (width = 0; isDigit(*next); ++next)
                width = std::min<std::uint64_t>(width * 10 + static_cast<unsigned int>(*next - '0'),
                                                std::numeric_limits<std::uint32_t>::max());
            letter = *next == 's' ? 's' : '?';
        } else {
            letter = *next;
        }
        next += *next != 0;
    }
};

} // namespace

bool V_Script::isNumber(char c) const { return isDigit(c) || c == '+' || c == '-'; }

bool V_Script::isText(char c) const { return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z'); }

bool V_Script::isFloat(char c) const { return isNumber(c) || c == '.' || c == 'e' || c == 'E'; }

bool V_Script::isHex(char c) const { return isDigit(c) || (c >= 'a' && c <= 'f'); }

void V_Script::parse(const Variables *table, bool applyDefaults) {
    const unsigned int statements = m_pCurrent->m_uNumLvalues;
    char *const *const leftSides = m_pCurrent->m_ppLvalues;

    if (!sm_bIgnoreUnknownVariables) {
        for (unsigned int i = 0; i < statements; ++i) {
            const Variables *row = table;
            while (row->name && !lwrstrequal(leftSides[i], row->name))
                ++row;
            if (!row->name)
                V_throw(V_ScriptException_UnknownVariable(leftSides[i], staticNesting()));
        }
    }
    for (const Variables *row = table; row->name; ++row)
        if (countLvalues(row->name) > 1)
            V_throw(V_ScriptException_DoubleVariable(row->name, staticNesting()));

    for (const Variables *row = table; row->name; ++row) {
        unsigned int i = 0;
        while (i < statements && !lwrstrequal(leftSides[i], row->name))
            ++i;
        const bool assigned = i < statements;
        const char *text = assigned ? m_pCurrent->m_ppAssignments[i] : row->pDefault;
        if (!text)
            V_throw(V_ScriptException_NoDefault(row->name, staticNesting()));
        if ((assigned || applyDefaults) && !convert(text, *row->pFormat, row->pData))
            V_throw(V_ScriptException_Parsing(row->name, staticNesting(), text, row->pFormat->format));
    }
}

void V_Script::parse(const Variables *table, unsigned int index, bool applyDefaults) {
    const V_ScriptLock lock(this, index);
    parse(table, applyDefaults);
}

void V_Script::parse(const Variables *table, const char *name, unsigned int index, bool applyDefaults) {
    const V_ScriptLock lock(this, name, index);
    parse(table, applyDefaults);
}

bool V_Script::convert(const char *text, const Format &format, void *data) const {
    char *destination = static_cast<char *>(data);
    const int *stride = format.argsizes;
    for (const char *f = format.format; *f;) {
        const Conversion conversion(f);
        if (!conversion.letter) {
            if (*text++ != *f)
                return false;
            f = conversion.next;
            continue;
        }
        if (!destination)
            return false;
        switch (conversion.letter) {
        case 'c':
            if (!*text)
                return false;
            *destination = *text++;
            break;
        case 'd':
        case 'i':
        case 'u':
            if (!convertInteger(text, conversion.letter, destination))
                return false;
            break;
        case 'x':
            if (!convertHex(text, destination))
                return false;
            break;
        case 'f':
            if (!convertFloat(text, destination))
                return false;
            break;
        case 's': {
            const char *following = std::strchr(conversion.next, '%');
            const bool followed = following && following[1] != 0;
            const std::uint64_t room =
                followed && *stride > 0 ? static_cast<unsigned int>(*stride) - 1 : conversion.width;
            if (!copyText(text, *conversion.next, std::min(room, conversion.width), destination))
                return false;
            break;
        }
        default:
            return false;
        }
        // The array's end is the last conversion's entry: what would follow has no destination.
        destination = *stride ? destination + *stride : nullptr;
        stride += *stride != 0;
        f = conversion.next;
    }
    return *text == 0;
}

bool V_Script::convertInteger(const char *&text, char letter, void *destination) const {
    const char *start = text;
    while (isNumber(*text) || isText(*text))
        ++text;
    const std::string_view token(start, static_cast<std::size_t>(text - start));

    std::uint32_t value = 0;
    switch (readInteger(token, letter != 'u', value)) {
    case Number::OutOfRange:
        return false;
    case Number::Read:
        break;
    case Number::None:
        const int truth = readBool(token);
        if (truth < 0)
            return false;
        value = static_cast<std::uint32_t>(truth);
    }
    store(destination, value);
    return true;
}

bool V_Script::convertHex(const char *&text, void *destination) const {
    const char *start = text;
    while (isHex(*text))
        ++text;
    std::uint32_t value = 0;
    if (std::from_chars(start, text, value, 16).ec != std::errc())
        return false;
    store(destination, value);
    return true;
}

bool V_Script::convertFloat(const char *&text, void *destination) const {
    const char *start = text;
    while (isFloat(*text))
        ++text;

    // from_chars knows no plus sign, and would leave an exponent without digits standing.
    const char *number = start + (start != text && *start == '+');
    if (number != start && *number == '-')
        return false;
    float value = 0;
    const auto [end, error] = std::from_chars(number, text, value);
    if (error != std::errc())
        return false;
    const auto isExponent = [](char c) { return c == 'e' || c == 'E'; };
    if (end != text && isExponent(*end) && std::none_of(number, end, isExponent))
        return false;
    if (*text == '%') {
        value /= 100;
        ++text;
    }
    store(destination, value);
    return true;
}
