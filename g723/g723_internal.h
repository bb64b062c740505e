// Kernels shared between the G.723.1 exports of this family.
#pragma once

#include <cstdint>

#include <emmintrin.h>

#include "core/fixed.h"

namespace xvo::g723 {

inline constexpr int kMaxPulses = 6;  ///< most MP-MLQ pulses per subframe

/// Best MP-MLQ candidate of a search: score, grid, amplitude index, and the
/// pulses in the order they were placed (signed amplitudes, positions).
struct MlqBest {
    int32_t maxErr = fx::MIN_32;
    int16_t grid = 0, ampId = 0;
    int16_t amp[kMaxPulses] = {};
    int16_t loc[kMaxPulses] = {};
};

/// MP-MLQ pulse and amplitude search of np pulses over both grids with the
/// response imr (60) against the target tv (60); best is replaced by every
/// strictly better candidate.
void ownGainQuant_G723(MlqBest& best, const int16_t* tv, const int16_t* imr, int np);

// Restoring division of a non-negative 32-bit numerator by a positive 16-bit
// denominator placed in the high half; 32767 when the quotient reaches 1.
inline int16_t ownDivL(int32_t num, int16_t den) {
    using namespace fx;
    int32_t lden = L_deposit_h(den);
    if (num >= lden) return MAX_16;
    num = L_shr(num, 1);
    lden = L_shr(lden, 1);
    int16_t q = 0;
    for (int i = 0; i < 15; ++i) {
        q = shl(q, 1);
        num = L_shl(num, 1);
        if (num >= lden) {
            num = L_sub(num, lden);
            q = add(q, 1);
        }
    }
    return q;
}

/// Correlation matrix of the algebraic search (416 entries, layout of
/// xvosToeplizMatrix_G723_16s); T = int16_t high halves or int32_t full sums.
/// halve: the response is halved, else shifted left by half of norm_l(en).
template <typename T>
void ownToeplitz_G723(const int16_t* H, T* rr, bool halve, int32_t en);
extern template void ownToeplitz_G723<int16_t>(const int16_t*, int16_t*, bool, int32_t);
extern template void ownToeplitz_G723<int32_t>(const int16_t*, int32_t*, bool, int32_t);

/// Fast exact dot product for the saturating sums of the searches: when no pair is (-32768)^2
/// and sum |a_j b_j| (bounded from above with 16-bit lanes, margin included) keeps every partial
/// sum of k a_j b_j inside 32 bits, stores k sum a_j b_j in *out and returns true; then the
/// reference's L_mac (k = 2) or L_add(L_shr(L_mult)) (k = 1) chain gives the same value.
/// Returns false (nothing stored) otherwise.
inline bool ownWideDot(const int16_t* a, const int16_t* b, int n, int k, int32_t* out) {
    const __m128i zero = _mm_setzero_si128(), minv = _mm_set1_epi16(-32768);
    __m128i s = zero, bound = zero, edge = zero;
    int j = 0;
    for (; j + 8 <= n; j += 8) {
        const __m128i va = _mm_loadu_si128(reinterpret_cast<const __m128i*>(a + j));
        const __m128i vb = _mm_loadu_si128(reinterpret_cast<const __m128i*>(b + j));
        s = _mm_add_epi32(s, _mm_madd_epi16(va, vb));
        const __m128i aa = _mm_max_epi16(va, _mm_subs_epi16(zero, va));  // |-32768| read as 32767
        const __m128i ab = _mm_max_epi16(vb, _mm_subs_epi16(zero, vb));
        bound = _mm_add_epi32(bound, _mm_srli_epi32(_mm_madd_epi16(aa, ab), 4));  // < 2^27 per pair
        edge = _mm_or_si128(edge, _mm_and_si128(_mm_cmpeq_epi16(va, minv), _mm_cmpeq_epi16(vb, minv)));
    }
    if (_mm_movemask_epi8(edge) != 0) return false;
    alignas(16) int32_t sl[4], bl[4];
    _mm_store_si128(reinterpret_cast<__m128i*>(sl), s);
    _mm_store_si128(reinterpret_cast<__m128i*>(bl), bound);
    int64_t sum = int64_t(sl[0]) + sl[1] + sl[2] + sl[3];
    int64_t abs = 16 * (int64_t(bl[0]) + bl[1] + bl[2] + bl[3]);
    for (; j < n; ++j) {
        const int32_t p = int32_t(a[j]) * b[j];
        if (p == 0x40000000) return false;
        sum += p;
        abs += p < 0 ? -int64_t(p) : p;
    }
    // Margin: 16 per pair for the shift and 65536 per term for -32768 read as 32767.
    if (k * (abs + int64_t(n) * 65552) > fx::MAX_32) return false;
    *out = static_cast<int32_t>(k * sum);
    return true;
}

}  // namespace xvo::g723
