// checksums.cpp: CRC-32 and Adler-32 of the PNG writer, with carry-less-multiply and SSSE3 paths where the processor has them.
//
// The portable CRC-32 reads 16 bytes a step through 16 tables; on x86-64 with
// PCLMULQDQ four 128-bit lanes are folded 64 bytes a step and reduced at the end.
// Adler-32 reduces its sums once per 5552 bytes, the most that cannot overflow
// 32 bits; the SSSE3 path sums 32 bytes a step in vector lanes.
#include <algorithm>
#include <bit>
#include <cstring>

#include "images/formats/codec.h"

#if defined(__x86_64__)
#include <immintrin.h>
#define QV_X86_SIMD 1
#endif

namespace qv::codec {
namespace {

// Slice-by-16 tables of the reflected polynomial 0xEDB88320.
struct crctables {
  std::uint32_t t[16][256];
  crctables() {
    for (std::uint32_t i = 0; i < 256; ++i) {
      std::uint32_t c = i;
      for (int k = 0; k < 8; ++k) c = c & 1 ? 0xEDB88320u ^ (c >> 1) : c >> 1;
      t[0][i] = c;
    }
    for (std::uint32_t i = 0; i < 256; ++i)
      for (int s = 1; s < 16; ++s) t[s][i] = (t[s - 1][i] >> 8) ^ t[0][t[s - 1][i] & 255];
  }
};
const crctables& tables() {
  static const crctables c;
  return c;
}

std::uint32_t load32le(const std::uint8_t* p) {
  std::uint32_t v;
  std::memcpy(&v, p, 4);
  if constexpr (std::endian::native == std::endian::big) v = __builtin_bswap32(v);
  return v;
}

// `c` is the running register (already inverted), as are the results of the helpers below.
std::uint32_t crc_tables(std::uint32_t c, const std::uint8_t* p, std::size_t n) {
  const auto& t = tables().t;
  for (; n >= 16; p += 16, n -= 16) {
    std::uint32_t a = load32le(p) ^ c, b = load32le(p + 4), d = load32le(p + 8), e = load32le(p + 12);
    c = t[15][a & 255] ^ t[14][(a >> 8) & 255] ^ t[13][(a >> 16) & 255] ^ t[12][a >> 24] ^ t[11][b & 255] ^
        t[10][(b >> 8) & 255] ^ t[9][(b >> 16) & 255] ^ t[8][b >> 24] ^ t[7][d & 255] ^ t[6][(d >> 8) & 255] ^
        t[5][(d >> 16) & 255] ^ t[4][d >> 24] ^ t[3][e & 255] ^ t[2][(e >> 8) & 255] ^ t[1][(e >> 16) & 255] ^
        t[0][e >> 24];
  }
  while (n--) c = t[0][(c ^ *p++) & 255] ^ (c >> 8);
  return c;
}

#if QV_X86_SIMD
// Folding constants of the reflected polynomial: x^(4*128+32), x^(4*128-32) mod P for the
// 64-byte step, x^(128+32), x^(128-32) for the 16-byte step, x^64 for the 64-bit step,
// and the polynomial with its Barrett quotient.
alignas(16) constexpr std::uint64_t k1k2[2] = {0x0154442bd4, 0x01c6e41596};
alignas(16) constexpr std::uint64_t k3k4[2] = {0x01751997d0, 0x00ccaa009e};
alignas(16) constexpr std::uint64_t k5k0[2] = {0x0163cd6124, 0};
alignas(16) constexpr std::uint64_t poly[2] = {0x01db710641, 0x01f7011641};

inline __m128i load(const std::uint8_t* q) { return _mm_loadu_si128(reinterpret_cast<const __m128i*>(q)); }

// One lane moved on by the distance that `k` stands for, and the next 16 bytes added.
__attribute__((target("pclmul"))) inline __m128i fold(__m128i x, __m128i k, __m128i next) {
  return _mm_xor_si128(_mm_xor_si128(_mm_clmulepi64_si128(x, k, 0x11), _mm_clmulepi64_si128(x, k, 0x00)), next);
}

// `n` is at least 64 and a multiple of 16.
__attribute__((target("pclmul,sse4.1"))) std::uint32_t crc_fold(std::uint32_t c, const std::uint8_t* p,
                                                                  std::size_t n) {
  __m128i x1 = _mm_xor_si128(load(p), _mm_cvtsi32_si128(int(c))), x2 = load(p + 16), x3 = load(p + 32),
          x4 = load(p + 48);
  p += 64, n -= 64;
  __m128i k = _mm_load_si128(reinterpret_cast<const __m128i*>(k1k2));
  for (; n >= 64; p += 64, n -= 64) {
    x1 = fold(x1, k, load(p)), x2 = fold(x2, k, load(p + 16));
    x3 = fold(x3, k, load(p + 32)), x4 = fold(x4, k, load(p + 48));
  }
  k = _mm_load_si128(reinterpret_cast<const __m128i*>(k3k4));
  x1 = fold(x1, k, x2), x1 = fold(x1, k, x3), x1 = fold(x1, k, x4);
  for (; n >= 16; p += 16, n -= 16) x1 = fold(x1, k, load(p));
  // 128 bits to 64, then 64 to 32 by Barrett reduction.
  const __m128i mask = _mm_setr_epi32(~0, 0, ~0, 0);
  x2 = _mm_clmulepi64_si128(x1, k, 0x10);
  x1 = _mm_xor_si128(_mm_srli_si128(x1, 8), x2);
  k = _mm_loadl_epi64(reinterpret_cast<const __m128i*>(k5k0));
  x2 = _mm_srli_si128(x1, 4);
  x1 = _mm_xor_si128(_mm_clmulepi64_si128(_mm_and_si128(x1, mask), k, 0x00), x2);
  k = _mm_load_si128(reinterpret_cast<const __m128i*>(poly));
  x2 = _mm_clmulepi64_si128(_mm_and_si128(x1, mask), k, 0x10);
  x2 = _mm_clmulepi64_si128(_mm_and_si128(x2, mask), k, 0x00);
  return std::uint32_t(_mm_extract_epi32(_mm_xor_si128(x1, x2), 1));
}

// Sums of `blocks` steps of 32 bytes, blocks * 32 <= 5552, into `a` and `b` before reduction.
__attribute__((target("ssse3"))) void adler_lanes(std::uint32_t& a, std::uint32_t& b, const std::uint8_t* p,
                                                  std::size_t blocks) {
  const __m128i w1 = _mm_setr_epi8(32, 31, 30, 29, 28, 27, 26, 25, 24, 23, 22, 21, 20, 19, 18, 17);
  const __m128i w2 = _mm_setr_epi8(16, 15, 14, 13, 12, 11, 10, 9, 8, 7, 6, 5, 4, 3, 2, 1);
  const __m128i zero = _mm_setzero_si128(), ones = _mm_set1_epi16(1);
  // `before` adds up `a` as it stood before each step; each step then adds 32 times it to `b`.
  __m128i before = _mm_cvtsi32_si128(int(a * blocks)), sa = zero, sb = _mm_cvtsi32_si128(int(b));
  for (std::size_t i = 0; i < blocks; ++i, p += 32) {
    __m128i u = _mm_loadu_si128(reinterpret_cast<const __m128i*>(p)),
            v = _mm_loadu_si128(reinterpret_cast<const __m128i*>(p + 16));
    before = _mm_add_epi32(before, sa);
    sa = _mm_add_epi32(sa, _mm_add_epi32(_mm_sad_epu8(u, zero), _mm_sad_epu8(v, zero)));
    sb = _mm_add_epi32(sb, _mm_madd_epi16(_mm_maddubs_epi16(u, w1), ones));
    sb = _mm_add_epi32(sb, _mm_madd_epi16(_mm_maddubs_epi16(v, w2), ones));
  }
  sb = _mm_add_epi32(sb, _mm_slli_epi32(before, 5));
  sa = _mm_add_epi32(sa, _mm_shuffle_epi32(sa, _MM_SHUFFLE(1, 0, 3, 2)));
  sb = _mm_add_epi32(sb, _mm_shuffle_epi32(sb, _MM_SHUFFLE(2, 3, 0, 1)));
  sb = _mm_add_epi32(sb, _mm_shuffle_epi32(sb, _MM_SHUFFLE(1, 0, 3, 2)));
  a += std::uint32_t(_mm_cvtsi128_si32(sa));
  b = std::uint32_t(_mm_cvtsi128_si32(sb));
}

const bool has_pclmul = __builtin_cpu_supports("pclmul") && __builtin_cpu_supports("sse4.1");
const bool has_ssse3 = __builtin_cpu_supports("ssse3");
#endif

constexpr std::uint32_t adler_base = 65521;
constexpr std::size_t adler_run = 5552;

void adler_bytes(std::uint32_t& a, std::uint32_t& b, const std::uint8_t* p, std::size_t k) {
  for (; k >= 8; k -= 8, p += 8) {
    a += p[0], b += a, a += p[1], b += a, a += p[2], b += a, a += p[3], b += a;
    a += p[4], b += a, a += p[5], b += a, a += p[6], b += a, a += p[7], b += a;
  }
  while (k--) a += *p++, b += a;
}

}  // namespace

std::uint32_t crc32_portable(std::uint32_t crc, const std::uint8_t* p, std::size_t n) { return ~crc_tables(~crc, p, n); }

std::uint32_t adler32_portable(std::uint32_t adler, const std::uint8_t* p, std::size_t n) {
  std::uint32_t a = adler & 0xFFFF, b = adler >> 16;
  while (n) {
    std::size_t k = std::min(n, adler_run);
    adler_bytes(a, b, p, k);
    p += k, n -= k;
    a %= adler_base, b %= adler_base;
  }
  return (b << 16) | a;
}

std::uint32_t crc32(std::uint32_t crc, const std::uint8_t* p, std::size_t n) {
  std::uint32_t c = ~crc;
#if QV_X86_SIMD
  if (has_pclmul && n >= 64) {
    std::size_t k = n & ~std::size_t(15);
    c = crc_fold(c, p, k);
    p += k, n -= k;
  }
#endif
  return ~crc_tables(c, p, n);
}

std::uint32_t adler32(std::uint32_t adler, const std::uint8_t* p, std::size_t n) {
  std::uint32_t a = adler & 0xFFFF, b = adler >> 16;
  while (n) {
    std::size_t k = std::min(n, adler_run);
    n -= k;
#if QV_X86_SIMD
    if (has_ssse3 && k >= 32) {
      adler_lanes(a, b, p, k / 32);
      p += k & ~std::size_t(31), k &= 31;
    }
#endif
    adler_bytes(a, b, p, k);
    p += k;
    a %= adler_base, b %= adler_base;
  }
  return (b << 16) | a;
}

}  // namespace qv::codec
