// The library's string types: the standard string with an allocator that reports exhaustion as the library
// does, compared byte by byte or without regard to the case of A-Z.
#pragma once

#include "vl/core/exception.h"
#include "vl/core/export.h"

#include <cstddef>
#include <limits>
#include <new>
#include <string>

/// Takes memory from the global allocation function without counting it. Throws V_MemoryException_Allocation.
template <class T>
class V_Allocator {
  public:
    /// What it allocates.
    using value_type = T;

    V_Allocator() = default;
    /// From the allocator of another type.
    template <class U>
    V_Allocator(const V_Allocator<U> &) {}

    /// Throws V_MemoryException_Allocation.
    T *allocate(std::size_t count) {
        if (count <= std::numeric_limits<std::size_t>::max() / sizeof(T))
            if (void *block = ::operator new(count * sizeof(T), std::nothrow))
                return static_cast<T *>(block);
        V_throw(V_MemoryException_Allocation());
    }
    /// Takes what allocate gave.
    void deallocate(T *block, std::size_t) noexcept { ::operator delete(block); }

    /// All are equal.
    template <class U>
    bool operator==(const V_Allocator<U> &) const {
        return true;
    }
    /// Never.
    template <class U>
    bool operator!=(const V_Allocator<U> &) const {
        return false;
    }
};

namespace std { // NOLINT(cert-dcl58-cpp): clients name V_CTrI so

/// Character traits that compare without regard to the case of A-Z. The name in this namespace is part of the
/// library's interface.
struct V_CTrI : char_traits<char> {
    /// The lower-case letter of A-Z, any other character as it is.
    static constexpr unsigned char fold(char c) {
        return static_cast<unsigned char>(c >= 'A' && c <= 'Z' ? c - 'A' + 'a' : c);
    }
    /// As the standard asks of character traits, on folded characters.
    static constexpr bool eq(char a, char b) { return fold(a) == fold(b); }
    static constexpr bool lt(char a, char b) { return fold(a) < fold(b); }
    static constexpr int compare(const char *a, const char *b, size_t count) {
        for (; count != 0; --count, ++a, ++b)
            if (!eq(*a, *b))
                return lt(*a, *b) ? -1 : 1;
        return 0;
    }
    /// The first place of `wanted`, null when there is none.
    static constexpr const char *find(const char *text, size_t count, const char &wanted) {
        for (; count != 0; --count, ++text)
            if (eq(*text, wanted))
                return text;
        return nullptr;
    }
};

} // namespace std

/// The library's string type, and the one that compares without regard to case.
using V_String = std::basic_string<char, std::char_traits<char>, V_Allocator<char>>;
using V_StringI = std::basic_string<char, std::V_CTrI, V_Allocator<char>>;
