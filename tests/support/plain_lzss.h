// The LZSS format once more, as plainly as it can be written: one ring, three integer arrays, one byte at a
// time. Judge of the library's codec in tests and fuzz targets, and its measure in the benchmark.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <vector>

namespace plain {

struct Tree {
    static constexpr int N = 4096, F = 18, NIL = N;
    std::uint8_t text[N + F - 1];
    int lson[N + 1], rson[N + 257], dad[N + 1];
    int length = 0, position = 0;

    Tree() {
        std::memset(text, ' ', sizeof text);
        for (int i = N + 1; i <= N + 256; ++i)
            rson[i] = NIL;
        for (int i = 0; i < N; ++i)
            dad[i] = NIL;
    }

    void insert(int r) {
        const std::uint8_t *key = &text[r];
        int cmp = 1, p = N + 1 + key[0];
        rson[r] = lson[r] = NIL;
        length = 0;
        for (;;) {
            int *const son = cmp >= 0 ? rson : lson;
            if (son[p] == NIL) {
                son[p] = r;
                dad[r] = p;
                return;
            }
            p = son[p];
            int i = 1;
            for (; i < F; ++i)
                if ((cmp = key[i] - text[p + i]) != 0)
                    break;
            if (i > length) {
                position = p;
                length = i;
                if (i >= F)
                    break;
            }
        }
        dad[r] = dad[p];
        lson[r] = lson[p];
        rson[r] = rson[p];
        dad[lson[p]] = r;
        dad[rson[p]] = r;
        (rson[dad[p]] == p ? rson : lson)[dad[p]] = r;
        dad[p] = NIL;
    }

    void erase(int p) {
        if (dad[p] == NIL)
            return;
        int q;
        if (rson[p] == NIL) {
            q = lson[p];
        } else if (lson[p] == NIL) {
            q = rson[p];
        } else {
            q = lson[p];
            if (rson[q] != NIL) {
                do
                    q = rson[q];
                while (rson[q] != NIL);
                rson[dad[q]] = lson[q];
                dad[lson[q]] = dad[q];
                lson[q] = lson[p];
                dad[lson[p]] = q;
            }
            rson[q] = rson[p];
            dad[rson[p]] = q;
        }
        dad[q] = dad[p];
        (rson[dad[p]] == p ? rson : lson)[dad[p]] = q;
        dad[p] = NIL;
    }
};

inline std::vector<std::uint8_t> encode(const std::uint8_t *data, std::size_t size) {
    std::vector<std::uint8_t> out;
    Tree tree;
    std::size_t next = 0;
    int s = 0, r = Tree::N - Tree::F, ahead = 0;
    while (ahead < Tree::F && next < size)
        tree.text[r + ahead++] = data[next++];
    for (int i = 1; i <= Tree::F; ++i)
        tree.insert(r - i);
    tree.insert(r);
    std::vector<std::uint8_t> group{0};
    int mask = 1;
    while (ahead > 0) {
        int length = tree.length < ahead ? tree.length : ahead;
        if (length <= 2) {
            length = 1;
            group[0] = static_cast<std::uint8_t>(group[0] | mask);
            group.push_back(tree.text[r]);
        } else {
            group.push_back(static_cast<std::uint8_t>(tree.position));
            group.push_back(static_cast<std::uint8_t>((tree.position >> 4 & 0xF0) | (length - 3)));
        }
        mask <<= 1;
        if (mask == 0x100) {
            out.insert(out.end(), group.begin(), group.end());
            group.assign(1, 0);
            mask = 1;
        }
        for (int i = 0; i < length; ++i) {
            tree.erase(s);
            if (next < size) {
                tree.text[s] = data[next];
                if (s < Tree::F - 1)
                    tree.text[s + Tree::N] = data[next];
                ++next;
            } else {
                --ahead;
            }
            s = (s + 1) & 4095;
            r = (r + 1) & 4095;
            if (ahead > 0)
                tree.insert(r);
        }
    }
    if (group.size() > 1)
        out.insert(out.end(), group.begin(), group.end());
    return out;
}

/// Decodes into at most `limit` bytes and returns how many there were. `whole` tells whether the code ended
/// just where the last item did and nothing went beyond the limit.
inline std::size_t decode(const std::uint8_t *code, std::size_t size, std::uint8_t *out, std::size_t limit,
                          bool &whole) {
    std::uint8_t ring[4096];
    std::memset(ring, ' ', sizeof ring);
    std::size_t in = 0, produced = 0;
    unsigned int r = 4078, flags = 0;
    whole = false;
    while (in < size) {
        if (produced == limit)
            return produced;
        if (((flags >>= 1) & 0x100) == 0) {
            flags = code[in++] | 0xFF00u;
            if (in == size)
                return produced;
        }
        if (flags & 1) {
            ring[r++ & 4095] = out[produced++] = code[in++];
        } else {
            if (size - in < 2)
                return produced;
            const unsigned int position = code[in] | (code[in + 1] & 0xF0u) << 4;
            const unsigned int length = (code[in + 1] & 15u) + 3;
            in += 2;
            for (unsigned int k = 0; k < length; ++k) {
                if (produced == limit)
                    return produced;
                ring[r++ & 4095] = out[produced++] = ring[(position + k) & 4095];
            }
        }
    }
    whole = true;
    return produced;
}

} // namespace plain
