// CRC-32 (see crc32.h) in two ways: with sixteen tables ("slicing", Kounavis and Berry, Intel 2005), and by
// folding with carry-less multiplication (Gopal et al., "Fast CRC Computation for Generic Polynomials Using
// PCLMULQDQ Instruction", Intel 2009).

#include "file/codec/crc32.h"

#include "base/byte_order.h"

#include <array>

#if (defined(__x86_64__) || defined(__i386__)) && defined(__GNUC__)
#define VL_CRC32_CARRYLESS
#include <immintrin.h>
#endif

namespace vl {
namespace {

constexpr std::uint32_t polynomial = 0xEDB88320; // bit 31 is x^0

/// One bit on: the register times x, modulo the polynomial.
constexpr std::uint32_t timesX(std::uint32_t value) { return value >> 1 ^ (value & 1 ? polynomial : 0); }

constexpr std::size_t slices = 16;

/// Table k takes a byte that k further bytes follow.
constexpr auto sliceTables = [] {
    std::array<std::array<std::uint32_t, 256>, slices> tables{};
    for (std::uint32_t i = 0; i < 256; ++i) {
        tables[0][i] = i;
        for (int bit = 0; bit < 8; ++bit)
            tables[0][i] = timesX(tables[0][i]);
    }
    for (std::size_t k = 1; k < slices; ++k)
        for (std::size_t i = 0; i < 256; ++i)
            tables[k][i] = tables[k - 1][i] >> 8 ^ tables[0][tables[k - 1][i] & 0xFF];
    return tables;
}();

/// `crc` here and below is the bare register, without the inversions at start and end.
std::uint32_t updateSliced(std::uint32_t crc, const std::uint8_t *bytes, std::size_t size) {
    for (; size >= slices; bytes += slices, size -= slices) {
        const std::uint32_t words[4] = {crc ^ loadLe32(bytes), loadLe32(bytes + 4), loadLe32(bytes + 8),
                                        loadLe32(bytes + 12)};
        crc = 0;
        for (std::size_t i = 0; i < slices; ++i)
            crc ^= sliceTables[slices - 1 - i][words[i / 4] >> i % 4 * 8 & 0xFF];
    }
    for (; size > 0; ++bytes, --size)
        crc = crc >> 8 ^ sliceTables[0][(crc ^ *bytes) & 0xFF];
    return crc;
}

#ifdef VL_CRC32_CARRYLESS

/// x^n modulo the polynomial, as a factor of a carry-less multiplication: the product of two reflected
/// numbers comes out one bit low, hence the shift.
constexpr std::int64_t foldFactor(int n) {
    std::uint32_t value = 0x80000000;
    for (int i = 0; i < n; ++i)
        value = timesX(value);
    return std::int64_t{value} << 1;
}

#define VL_CARRYLESS __attribute__((target("sse2,pclmul")))

/// Moves 128 bits of the message `factors` further on and adds the 128 bits found there.
VL_CARRYLESS inline __m128i fold(__m128i value, __m128i factors, __m128i next) {
    const __m128i low = _mm_clmulepi64_si128(value, factors, 0x00);
    const __m128i high = _mm_clmulepi64_si128(value, factors, 0x11);
    return _mm_xor_si128(_mm_xor_si128(low, high), next);
}

VL_CARRYLESS inline __m128i load(const std::uint8_t *bytes) {
    return _mm_loadu_si128(reinterpret_cast<const __m128i *>(bytes));
}

constexpr std::size_t carrylessMinimum = 64;

/// At least 64 bytes: four accumulators of 128 bits, folded 64 bytes on at each step, then into one another;
/// the tables reduce the last 128 bits.
VL_CARRYLESS std::uint32_t updateCarryless(std::uint32_t crc, const std::uint8_t *bytes, std::size_t size) {
    __m128i a = _mm_xor_si128(load(bytes), _mm_cvtsi32_si128(static_cast<int>(crc)));
    __m128i b = load(bytes + 16);
    __m128i c = load(bytes + 32);
    __m128i d = load(bytes + 48);
    bytes += 64;
    size -= 64;
    const __m128i by64 = _mm_set_epi64x(foldFactor(512 - 32), foldFactor(512 + 32));
    for (; size >= 64; bytes += 64, size -= 64) {
        a = fold(a, by64, load(bytes));
        b = fold(b, by64, load(bytes + 16));
        c = fold(c, by64, load(bytes + 32));
        d = fold(d, by64, load(bytes + 48));
    }
    const __m128i by16 = _mm_set_epi64x(foldFactor(128 - 32), foldFactor(128 + 32));
    a = fold(fold(fold(a, by16, b), by16, c), by16, d);
    for (; size >= 16; bytes += 16, size -= 16)
        a = fold(a, by16, load(bytes));
    std::uint8_t rest[16];
    _mm_storeu_si128(reinterpret_cast<__m128i *>(rest), a);
    return updateSliced(updateSliced(0, rest, sizeof rest), bytes, size);
}

bool hasCarryless() {
    __builtin_cpu_init();
    return __builtin_cpu_supports("pclmul") && __builtin_cpu_supports("sse2");
}

#endif

} // namespace

std::uint32_t crc32(const void *data, std::size_t size, std::uint32_t previous) {
#ifdef VL_CRC32_CARRYLESS
    static const bool carryless = hasCarryless();
    if (size >= carrylessMinimum && carryless)
        return ~updateCarryless(~previous, static_cast<const std::uint8_t *>(data), size);
#endif
    return crc32Sliced(data, size, previous);
}

std::uint32_t crc32Sliced(const void *data, std::size_t size, std::uint32_t previous) {
    return ~updateSliced(~previous, static_cast<const std::uint8_t *>(data), size);
}

} // namespace vl
