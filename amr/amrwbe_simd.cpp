// Vector twins of the AMR-WB+ 2 kHz band decimator (128 taps) and interpolator (20 taps): plain
// 16 x 16 -> 32-bit dot products whose sums cannot overflow (see amrwbe_band.cpp), so pairwise
// multiply-adds in any order give the scalar results.
#pragma GCC diagnostic ignored "-Wpsabi"

#include <immintrin.h>

#include "amr/amrwbe_band.h"
#include "amr/amrwbe_tables.h"

namespace xvo::amrwbe {
namespace {

inline int32_t hsum(__m128i v) {
    v = _mm_add_epi32(v, _mm_shuffle_epi32(v, _MM_SHUFFLE(1, 0, 3, 2)));
    v = _mm_add_epi32(v, _mm_shuffle_epi32(v, _MM_SHUFFLE(2, 3, 0, 1)));
    return _mm_cvtsi128_si32(v);
}

inline __m128i ld(const int16_t* p) { return _mm_loadu_si128(reinterpret_cast<const __m128i*>(p)); }

}  // namespace

void ownDecimSSE2(const int16_t* src, int16_t* dst, int count) {
    for (int j = 0; j < count; ++j) {
        const int16_t* c = kDecimRows[kDecimRow[j % 5]].data();
        const int16_t* x = src + 32 * (j / 5) + kDecimPos[j % 5] + 1;
        __m128i a0 = _mm_setzero_si128(), a1 = _mm_setzero_si128();
        for (int t = 0; t < kDecimTaps; t += 16) {
            a0 = _mm_add_epi32(a0, _mm_madd_epi16(ld(c + t), ld(x + t)));
            a1 = _mm_add_epi32(a1, _mm_madd_epi16(ld(c + t + 8), ld(x + t + 8)));
        }
        dst[j] = ownRound14(hsum(_mm_add_epi32(a0, a1)));
    }
}

void ownInterpSSE2(const int16_t* low, int16_t* dst, int len) {
    for (int j = 0; j < len; ++j) {
        const int16_t* c = kInterpRows[(5 * j) & 31].data();
        const int16_t* x = low + ((5 * j) >> 5) + 1;
        // Taps 0..15, then 16..19 through a 64-bit load (the row's zero padding is not read past
        // the 20 samples the caller provides).
        __m128i a = _mm_add_epi32(_mm_madd_epi16(ld(c), ld(x)), _mm_madd_epi16(ld(c + 8), ld(x + 8)));
        a = _mm_add_epi32(a, _mm_madd_epi16(_mm_loadl_epi64(reinterpret_cast<const __m128i*>(c + 16)),
                                            _mm_loadl_epi64(reinterpret_cast<const __m128i*>(x + 16))));
        dst[j] = ownRound14(hsum(a));
    }
}

__attribute__((target("avx2"))) void ownDecimAVX2(const int16_t* src, int16_t* dst, int count) {
    for (int j = 0; j < count; ++j) {
        const int16_t* c = kDecimRows[kDecimRow[j % 5]].data();
        const int16_t* x = src + 32 * (j / 5) + kDecimPos[j % 5] + 1;
        __m256i a = _mm256_setzero_si256();
        for (int t = 0; t < kDecimTaps; t += 16)
            a = _mm256_add_epi32(a, _mm256_madd_epi16(_mm256_loadu_si256(reinterpret_cast<const __m256i*>(c + t)),
                                                      _mm256_loadu_si256(reinterpret_cast<const __m256i*>(x + t))));
        const __m128i h = _mm_add_epi32(_mm256_castsi256_si128(a), _mm256_extracti128_si256(a, 1));
        dst[j] = ownRound14(hsum(h));
    }
}

}  // namespace xvo::amrwbe
