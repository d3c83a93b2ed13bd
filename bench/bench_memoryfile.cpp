// Tagged values, one by one: writing and reading a million of each kind, beside the untagged binary archive
// of cereal, msgpack-cxx, and a hand-written writer and reader of the same bytes that keep everything in
// registers (the limit).
//
// Every writer starts with an empty buffer of its own kind, reserved beforehand where it can be.

#include "vl/math_types.h"
#include "vl/memoryfile.h"

#include <benchmark/benchmark.h>
#include <cereal/archives/binary.hpp>
#include <cereal/types/string.hpp>
#define MSGPACK_NO_BOOST
#include <msgpack.hpp>

#include <cstdint>
#include <cstring>
#include <istream>
#include <random>
#include <sstream>
#include <streambuf>
#include <string>
#include <vector>

namespace {

constexpr std::size_t valueCount = 1'000'000;
using Vector = M_Vector3Template<float>;

} // namespace

template <class Archive>
void serialize(Archive &archive, Vector &vector) {
    archive(vector.x, vector.y, vector.z);
}

namespace {

// ---- The values ----------------------------------------------------------------------------------------

template <class T>
T make(std::mt19937 &random);

template <>
int make<int>(std::mt19937 &random) { // every length of the compact form equally often
    const auto bits = static_cast<unsigned int>(random());
    return static_cast<int>(bits) >> (bits % 4 * 8);
}
template <>
float make<float>(std::mt19937 &random) {
    return static_cast<float>(random()) / 1000;
}
template <>
Vector make<Vector>(std::mt19937 &random) {
    return {make<float>(random), make<float>(random), make<float>(random)};
}
template <>
V_String make<V_String>(std::mt19937 &random) {
    return V_String(1 + random() % 12, 'a');
}

template <class T>
const std::vector<T> &values() {
    static const std::vector<T> all = [] {
        std::mt19937 random(1);
        std::vector<T> result(valueCount);
        for (T &value : result)
            value = make<T>(random);
        return result;
    }();
    return all;
}

/// cereal and msgpack know the standard string only.
template <class T>
struct Peer {
    using Type = T;
};
template <>
struct Peer<V_String> {
    using Type = std::string;
};
template <class T>
using PeerType = typename Peer<T>::Type;

template <class T>
const std::vector<PeerType<T>> &peerValues() {
    static const std::vector<PeerType<T>> all(values<T>().begin(), values<T>().end());
    return all;
}
template <>
const std::vector<std::string> &peerValues<V_String>() {
    static const std::vector<std::string> all = [] {
        std::vector<std::string> result;
        for (const V_String &value : values<V_String>())
            result.emplace_back(value.data(), value.size());
        return result;
    }();
    return all;
}

constexpr unsigned int roomForAll = 32'000'000;

void count(benchmark::State &state) {
    state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(valueCount));
}

// ---- The memory file -----------------------------------------------------------------------------------

template <class T, bool TAGS = true>
void writeVl(benchmark::State &state) {
    const auto &all = values<T>();
    V_MemoryFile file(roomForAll);
    for (auto _ : state) {
        file.construct(roomForAll);
        file.enableTags(TAGS);
        for (const T &value : all)
            file << value;
        benchmark::DoNotOptimize(file.getAddress());
    }
    count(state);
}

template <class T, bool TAGS = true>
void readVl(benchmark::State &state) {
    V_MemoryFile file(roomForAll);
    file.enableTags(TAGS);
    for (const T &value : values<T>())
        file << value;
    std::vector<T> out(valueCount);
    for (auto _ : state) {
        file.toRead();
        for (T &value : out)
            file >> value;
        benchmark::ClobberMemory();
    }
    count(state);
}

// ---- By hand -------------------------------------------------------------------------------------------

inline unsigned char *put(unsigned char *to, const int &value) {
    const auto bits = static_cast<std::uint32_t>(value);
    const std::uint32_t magnitude = value < 0 ? 0 - bits : bits;
    const unsigned int extra = (magnitude >> 7 != 0) + (magnitude >> 15 != 0) + (magnitude >> 23 != 0);
    to[0] = static_cast<unsigned char>(extra == 3 ? 2 : 20 - extra);
    std::memcpy(to + 1, &bits, 4);
    return to + 2 + extra;
}
template <class T>
inline unsigned char *put(unsigned char *to, const T &value) {
    to[0] = sizeof(T) == 4 ? 9 : 22;
    std::memcpy(to + 1, &value, sizeof(T));
    return to + 1 + sizeof(T);
}
inline unsigned char *put(unsigned char *to, const V_String &value) {
    *to++ = 13;
    to = put(to, static_cast<int>(value.size()));
    std::memcpy(to, value.data(), value.size());
    return to + value.size();
}

inline const unsigned char *get(const unsigned char *from, const unsigned char *end, int &value) {
    if (end - from < 5)
        std::abort();
    const unsigned int extra = from[0] == 2 ? 3 : 20u - from[0];
    if (extra > 3)
        std::abort();
    std::uint32_t bits;
    std::memcpy(&bits, from + 1, 4);
    const unsigned int unused = 24 - 8 * extra;
    value = static_cast<int>(bits << unused) >> unused;
    return from + 2 + extra;
}
template <class T>
inline const unsigned char *get(const unsigned char *from, const unsigned char *end, T &value) {
    if (end - from < static_cast<std::ptrdiff_t>(1 + sizeof(T)) || from[0] != (sizeof(T) == 4 ? 9 : 22))
        std::abort();
    std::memcpy(&value, from + 1, sizeof(T));
    return from + 1 + sizeof(T);
}
inline const unsigned char *get(const unsigned char *from, const unsigned char *end, V_String &value) {
    int length;
    if (end == from || *from != 13)
        std::abort();
    from = get(from + 1, end, length);
    if (length < 0 || length > end - from)
        std::abort();
    value.assign(reinterpret_cast<const char *>(from), static_cast<std::size_t>(length));
    return from + length;
}

template <class T>
void writeByHand(benchmark::State &state) {
    const auto &all = values<T>();
    std::vector<unsigned char> buffer(roomForAll);
    for (auto _ : state) {
        unsigned char *to = buffer.data();
        for (const T &value : all)
            to = put(to, value);
        benchmark::DoNotOptimize(to);
    }
    count(state);
}

template <class T>
void readByHand(benchmark::State &state) {
    std::vector<unsigned char> buffer(roomForAll);
    unsigned char *to = buffer.data();
    for (const T &value : values<T>())
        to = put(to, value);
    std::vector<T> out(valueCount);
    for (auto _ : state) {
        const unsigned char *from = buffer.data();
        for (T &value : out)
            from = get(from, buffer.data() + buffer.size(), value);
        benchmark::ClobberMemory();
    }
    count(state);
}

// ---- cereal --------------------------------------------------------------------------------------------

/// The cheapest buffer that its streams can be given.
class FlatBuffer : public std::streambuf {
  public:
    explicit FlatBuffer(std::vector<char> &bytes) {
        setp(bytes.data(), bytes.data() + bytes.size());
        setg(bytes.data(), bytes.data(), bytes.data() + bytes.size());
    }
};

template <class T>
void writeCereal(benchmark::State &state) {
    const auto &all = peerValues<T>();
    std::vector<char> bytes(roomForAll);
    for (auto _ : state) {
        FlatBuffer buffer(bytes);
        std::ostream stream(&buffer);
        cereal::BinaryOutputArchive archive(stream);
        for (const auto &value : all)
            archive(value);
        benchmark::ClobberMemory();
    }
    count(state);
}

template <class T>
void readCereal(benchmark::State &state) {
    std::vector<char> bytes(roomForAll);
    {
        FlatBuffer buffer(bytes);
        std::ostream stream(&buffer);
        cereal::BinaryOutputArchive archive(stream);
        for (const auto &value : peerValues<T>())
            archive(value);
    }
    std::vector<PeerType<T>> out(valueCount);
    for (auto _ : state) {
        FlatBuffer buffer(bytes);
        std::istream stream(&buffer);
        cereal::BinaryInputArchive archive(stream);
        for (auto &value : out)
            archive(value);
        benchmark::ClobberMemory();
    }
    count(state);
}

// ---- msgpack -------------------------------------------------------------------------------------------

template <class T>
void pack(msgpack::packer<msgpack::sbuffer> &packer, const T &value) {
    packer.pack(value);
}
void pack(msgpack::packer<msgpack::sbuffer> &packer, const Vector &value) {
    packer.pack_array(3);
    packer.pack(value.x);
    packer.pack(value.y);
    packer.pack(value.z);
}

/// What its parser hands over, without the tree of objects that it otherwise builds.
template <class T>
struct Visitor : msgpack::null_visitor {
    T value{};
    float *next = nullptr;
    bool visit_positive_integer(std::uint64_t number) { return store(number); }
    bool visit_negative_integer(std::int64_t number) { return store(number); }
    bool visit_float32(float number) {
        if constexpr (std::is_same_v<T, Vector>)
            *next++ = number;
        else
            store(number);
        return true;
    }
    bool start_array(std::uint32_t) {
        if constexpr (std::is_same_v<T, Vector>)
            next = &value.x;
        return true;
    }
    bool visit_str(const char *text, std::uint32_t size) {
        if constexpr (std::is_same_v<T, std::string>)
            value.assign(text, size);
        return true;
    }
    template <class Number>
    bool store(Number number) {
        if constexpr (std::is_arithmetic_v<T>)
            value = static_cast<T>(number);
        return true;
    }
};

template <class T>
void writeMsgpack(benchmark::State &state) {
    const auto &all = peerValues<T>();
    msgpack::sbuffer buffer(roomForAll);
    for (auto _ : state) {
        buffer.clear();
        msgpack::packer<msgpack::sbuffer> packer(buffer);
        for (const auto &value : all)
            pack(packer, value);
        benchmark::ClobberMemory();
    }
    count(state);
}

template <class T>
void readMsgpack(benchmark::State &state) {
    msgpack::sbuffer buffer(roomForAll);
    msgpack::packer<msgpack::sbuffer> packer(buffer);
    for (const auto &value : peerValues<T>())
        pack(packer, value);
    std::vector<PeerType<T>> out(valueCount);
    for (auto _ : state) {
        std::size_t offset = 0;
        Visitor<PeerType<T>> visitor;
        for (auto &value : out) {
            msgpack::parse(buffer.data(), buffer.size(), offset, visitor);
            value = visitor.value;
        }
        benchmark::ClobberMemory();
    }
    count(state);
}

#define VL_SUBJECTS(Type)                                                                                    \
    BENCHMARK(writeVl<Type>);                                                                                \
    BENCHMARK(writeVl<Type, false>)->Name("writeUntagged<" #Type ">");                                       \
    BENCHMARK(writeByHand<Type>);                                                                            \
    BENCHMARK(writeCereal<Type>);                                                                            \
    BENCHMARK(writeMsgpack<Type>);                                                                           \
    BENCHMARK(readVl<Type>);                                                                                 \
    BENCHMARK(readVl<Type, false>)->Name("readUntagged<" #Type ">");                                         \
    BENCHMARK(readByHand<Type>);                                                                             \
    BENCHMARK(readCereal<Type>);                                                                             \
    BENCHMARK(readMsgpack<Type>)
VL_SUBJECTS(int);
VL_SUBJECTS(float);
VL_SUBJECTS(V_String);
VL_SUBJECTS(Vector);

} // namespace

BENCHMARK_MAIN();
