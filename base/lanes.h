// Four floats that are computed with at once.
#pragma once

#include <cstring>

namespace vl {

#if defined(__GNUC__)

using Lanes = float __attribute__((vector_size(16)));

/// first[0], first[1], second[0], second[1]: two pairs, moved as one 8-byte load each.
inline Lanes loadPairs(const float *first, const float *second) {
    using Halves = double __attribute__((vector_size(16)));
    using Pair = double __attribute__((aligned(alignof(float)), may_alias));
    const Halves halves = {*reinterpret_cast<const Pair *>(first), *reinterpret_cast<const Pair *>(second)};
    Lanes lanes;
    std::memcpy(&lanes, &halves, sizeof lanes);
    return lanes;
}

#else

struct Lanes {
    float lane[4];
    float operator[](int i) const { return lane[i]; }
    friend Lanes operator+(Lanes a, Lanes b) {
        return {{a[0] + b[0], a[1] + b[1], a[2] + b[2], a[3] + b[3]}};
    }
    friend Lanes operator-(Lanes a, Lanes b) {
        return {{a[0] - b[0], a[1] - b[1], a[2] - b[2], a[3] - b[3]}};
    }
    friend Lanes operator*(Lanes a, Lanes b) {
        return {{a[0] * b[0], a[1] * b[1], a[2] * b[2], a[3] * b[3]}};
    }
    friend Lanes operator*(float a, Lanes b) { return Lanes{{a, a, a, a}} * b; }
};

inline Lanes loadPairs(const float *first, const float *second) {
    return {{first[0], first[1], second[0], second[1]}};
}

#endif

} // namespace vl
