// SIMD twins of the nested G.729 search. Each (i0, i1) pair evaluates its 8
// third pulses at once (saturating 16-bit correlations, exact 32-bit
// energies), and each passing triple evaluates its 16 fourth pulses at once;
// the candidates are then compared in the scalar order, so the pick, the
// tie-break and the budget accounting equal the scalar kernel's.
#include <immintrin.h>

#include "core/fixed.h"
#include "g729/fcb.h"

namespace xvo::g729 {

namespace {

/// Candidate k beats the best (psc, alpha) when ps3c[k]*alpha - psc*alp[k] > 0.
/// Both products lie within +-2^30, so their 32-bit difference is exact and
/// one madd per pair of lanes decides. The candidates are then taken in the
/// scalar order: the lowest beating lane becomes the best and only the lanes
/// after it are tested again against the new best.
template <typename MaskFn>
inline void pickFourth(const int16_t* ps3c, const int16_t* alp, int16_t& psc, int16_t& alpha, int& bestK, MaskFn beatMask) {
    unsigned mask = beatMask(psc, alpha);
    while (mask) {
        const int k = __builtin_ctz(mask);
        psc = ps3c[k];
        alpha = alp[k];
        bestK = k;
        mask = beatMask(psc, alpha) & ~((2u << k) - 1u);
    }
}

/// The madd operand (alpha, -psc) in every 32-bit lane.
inline int32_t bestPair(int16_t psc, int16_t alpha) {
    return static_cast<int32_t>((static_cast<uint32_t>(static_cast<uint16_t>(-psc)) << 16) | static_cast<uint16_t>(alpha));
}

/// Per-track copies of |d| (track t, position 5m+t at m).
inline void splitTracks(const int16_t* absD, int16_t (*tr)[8]) {
    for (int t = 0; t < 5; ++t)
        for (int m = 0; m < 8; ++m) tr[t][m] = absD[5 * m + t];
}

inline void setPick(OwnFcbPick& p, int a, int b, int c, int k) {
    p.pos[0] = static_cast<int16_t>(5 * a);
    p.pos[1] = static_cast<int16_t>(5 * b + 1);
    p.pos[2] = static_cast<int16_t>(5 * c + 2);
    p.pos[3] = static_cast<int16_t>(5 * (k & 7) + (k < 8 ? 3 : 4));
}

/// (x*x) >> 15 for 0 <= x <= 32767, lane-wise (the Q15 mult of the search).
__attribute__((target("sse4.1"))) inline __m128i squareQ15(__m128i x) {
    const __m128i hi = _mm_mulhi_epi16(x, x), lo = _mm_mullo_epi16(x, x);
    return _mm_or_si128(_mm_slli_epi16(hi, 1), _mm_srli_epi16(lo, 15));
}

__attribute__((target("avx2"))) inline __m256i squareQ15(__m256i x) {
    const __m256i hi = _mm256_mulhi_epi16(x, x), lo = _mm256_mullo_epi16(x, x);
    return _mm256_or_si256(_mm256_slli_epi16(hi, 1), _mm256_srli_epi16(lo, 15));
}

__attribute__((target("sse4.1"))) inline __m128i load8(const int16_t* p) {
    return _mm_loadu_si128(reinterpret_cast<const __m128i*>(p));
}
/// 4 int32 lanes from 4 int16 values.
__attribute__((target("sse4.1"))) inline __m128i load4w(const int16_t* p) {
    return _mm_cvtepi16_epi32(_mm_loadl_epi64(reinterpret_cast<const __m128i*>(p)));
}
/// 8 int32 lanes from 8 int16 values.
__attribute__((target("avx2"))) inline __m256i load8w(const int16_t* p) {
    return _mm256_cvtepi16_epi32(_mm_loadu_si128(reinterpret_cast<const __m128i*>(p)));
}

}  // namespace

__attribute__((target("sse4.1"))) OwnFcbPick ownFcbNested_G729_sse41(const int16_t* absD, const int16_t* rr,
                                                                     int16_t thres, int16_t time) {
    using namespace fx;
    alignas(16) int16_t tr[5][8];
    splitTracks(absD, tr);
    OwnFcbPick best{{0, 1, 2, 3}, time};
    int16_t psc = 0, alpha = MAX_16;
    const __m128i vThres = _mm_set1_epi16(thres);
    const __m128i d2 = load8(tr[2]), d3 = load8(tr[3]), d4 = load8(tr[4]);
    alignas(16) int16_t ps2[8], ps3c[16];
    alignas(16) int32_t alp2[8];
    alignas(16) int16_t alp[16];
    for (int a = 0; a < kNbPos; ++a) {
        const int16_t ps0 = tr[0][a];
        const int32_t alp0 = 2 * int32_t(rr[kR00 + a]);
        for (int b = 0; b < kNbPos; ++b) {
            const int16_t ps1 = add(ps0, tr[1][b]);
            const __m128i vps2 = _mm_adds_epi16(_mm_set1_epi16(ps1), d2);
            int mask = _mm_movemask_epi8(_mm_packs_epi16(_mm_cmpgt_epi16(vps2, vThres), _mm_setzero_si128()));
            if (mask == 0) continue;
            _mm_store_si128(reinterpret_cast<__m128i*>(ps2), vps2);
            const int32_t alp1 = alp0 + 2 * rr[kR11 + b] + 4 * rr[kR01 + a * 8 + b];
            const __m128i vAlp1 = _mm_set1_epi32(alp1);
            for (int h = 0; h < 8; h += 4) {
                __m128i x = _mm_add_epi32(load4w(rr + kR02 + a * 8 + h), load4w(rr + kR12 + b * 8 + h));
                x = _mm_add_epi32(_mm_slli_epi32(x, 2), _mm_slli_epi32(load4w(rr + kR22 + h), 1));
                _mm_store_si128(reinterpret_cast<__m128i*>(alp2 + h), _mm_add_epi32(x, vAlp1));
            }
            // Fourth-pulse cross terms that depend only on (i0, i1).
            __m128i x3[2], x4[2];
            for (int h = 0; h < 2; ++h) {
                x3[h] = _mm_add_epi32(load4w(rr + kR03 + a * 8 + 4 * h), load4w(rr + kR13 + b * 8 + 4 * h));
                x4[h] = _mm_add_epi32(load4w(rr + kR04 + a * 8 + 4 * h), load4w(rr + kR14 + b * 8 + 4 * h));
            }
            while (mask) {
                const int c = __builtin_ctz(static_cast<unsigned>(mask));
                mask &= mask - 1;
                const __m128i vps2c = _mm_set1_epi16(ps2[c]);
                const __m128i q3 = squareQ15(_mm_adds_epi16(vps2c, d3));
                const __m128i q4 = squareQ15(_mm_adds_epi16(vps2c, d4));
                const __m128i vAlp2 = _mm_set1_epi32(alp2[c]);
                __m128i e3[2], e4[2];
                for (int h = 0; h < 2; ++h) {
                    __m128i s3 = _mm_add_epi32(x3[h], load4w(rr + kR23 + c * 8 + 4 * h));
                    __m128i s4 = _mm_add_epi32(x4[h], load4w(rr + kR24 + c * 8 + 4 * h));
                    s3 = _mm_add_epi32(_mm_slli_epi32(s3, 2), _mm_slli_epi32(load4w(rr + kR33 + 4 * h), 1));
                    s4 = _mm_add_epi32(_mm_slli_epi32(s4, 2), _mm_slli_epi32(load4w(rr + kR44 + 4 * h), 1));
                    e3[h] = _mm_srai_epi32(_mm_add_epi32(s3, vAlp2), 5);
                    e4[h] = _mm_srai_epi32(_mm_add_epi32(s4, vAlp2), 5);
                }
                // alp3 >> 5 lies within 16 bits, so the saturating pack is exact.
                const __m128i a3 = _mm_packs_epi32(e3[0], e3[1]), a4 = _mm_packs_epi32(e4[0], e4[1]);
                const __m128i p0 = _mm_unpacklo_epi16(q3, a3), p1 = _mm_unpackhi_epi16(q3, a3);
                const __m128i p2 = _mm_unpacklo_epi16(q4, a4), p3 = _mm_unpackhi_epi16(q4, a4);
                auto beatMask = [&](int16_t pc, int16_t al) __attribute__((target("sse4.1"))) {
                    const __m128i bp = _mm_set1_epi32(bestPair(pc, al)), z = _mm_setzero_si128();
                    auto m4 = [&](__m128i p) __attribute__((target("sse4.1"))) {
                        return static_cast<unsigned>(_mm_movemask_ps(_mm_castsi128_ps(_mm_cmpgt_epi32(_mm_madd_epi16(p, bp), z))));
                    };
                    return m4(p0) | m4(p1) << 4 | m4(p2) << 8 | m4(p3) << 12;
                };
                int k = -1;
                if (beatMask(psc, alpha)) {
                    _mm_store_si128(reinterpret_cast<__m128i*>(ps3c), q3);
                    _mm_store_si128(reinterpret_cast<__m128i*>(ps3c + 8), q4);
                    _mm_store_si128(reinterpret_cast<__m128i*>(alp), a3);
                    _mm_store_si128(reinterpret_cast<__m128i*>(alp + 8), a4);
                    pickFourth(ps3c, alp, psc, alpha, k, beatMask);
                }
                if (k >= 0) setPick(best, a, b, c, k);
                time = sub(time, 1);
                if (time <= 0) {
                    best.time = time;
                    return best;
                }
            }
        }
    }
    best.time = time;
    return best;
}

__attribute__((target("avx2"))) OwnFcbPick ownFcbNested_G729_avx2(const int16_t* absD, const int16_t* rr,
                                                                  int16_t thres, int16_t time) {
    using namespace fx;
    alignas(32) int16_t tr[5][8];
    splitTracks(absD, tr);
    OwnFcbPick best{{0, 1, 2, 3}, time};
    int16_t psc = 0, alpha = MAX_16;
    const __m128i vThres = _mm_set1_epi16(thres);
    const __m128i d2 = _mm_loadu_si128(reinterpret_cast<const __m128i*>(tr[2]));
    const __m256i d34 = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(tr[3]));  // tracks 3 and 4
    const __m256i diag3 = _mm256_slli_epi32(load8w(rr + kR33), 1);
    const __m256i diag4 = _mm256_slli_epi32(load8w(rr + kR44), 1);
    const __m256i diag2 = _mm256_slli_epi32(load8w(rr + kR22), 1);
    alignas(32) int16_t ps2[8], ps3c[16];
    alignas(32) int32_t alp2[8];
    alignas(32) int16_t alp[16];
    for (int a = 0; a < kNbPos; ++a) {
        const int16_t ps0 = tr[0][a];
        const int32_t alp0 = 2 * int32_t(rr[kR00 + a]);
        for (int b = 0; b < kNbPos; ++b) {
            const int16_t ps1 = add(ps0, tr[1][b]);
            const __m128i vps2 = _mm_adds_epi16(_mm_set1_epi16(ps1), d2);
            int mask = _mm_movemask_epi8(_mm_packs_epi16(_mm_cmpgt_epi16(vps2, vThres), _mm_setzero_si128()));
            if (mask == 0) continue;
            _mm_store_si128(reinterpret_cast<__m128i*>(ps2), vps2);
            const int32_t alp1 = alp0 + 2 * rr[kR11 + b] + 4 * rr[kR01 + a * 8 + b];
            __m256i x = _mm256_add_epi32(load8w(rr + kR02 + a * 8), load8w(rr + kR12 + b * 8));
            x = _mm256_add_epi32(_mm256_slli_epi32(x, 2), diag2);
            _mm256_store_si256(reinterpret_cast<__m256i*>(alp2), _mm256_add_epi32(x, _mm256_set1_epi32(alp1)));
            const __m256i x3 = _mm256_add_epi32(load8w(rr + kR03 + a * 8), load8w(rr + kR13 + b * 8));
            const __m256i x4 = _mm256_add_epi32(load8w(rr + kR04 + a * 8), load8w(rr + kR14 + b * 8));
            while (mask) {
                const int c = __builtin_ctz(static_cast<unsigned>(mask));
                mask &= mask - 1;
                const __m256i q = squareQ15(_mm256_adds_epi16(_mm256_set1_epi16(ps2[c]), d34));
                const __m256i vAlp2 = _mm256_set1_epi32(alp2[c]);
                __m256i s3 = _mm256_slli_epi32(_mm256_add_epi32(x3, load8w(rr + kR23 + c * 8)), 2);
                __m256i s4 = _mm256_slli_epi32(_mm256_add_epi32(x4, load8w(rr + kR24 + c * 8)), 2);
                s3 = _mm256_srai_epi32(_mm256_add_epi32(_mm256_add_epi32(s3, diag3), vAlp2), 5);
                s4 = _mm256_srai_epi32(_mm256_add_epi32(_mm256_add_epi32(s4, diag4), vAlp2), 5);
                // Exact 16-bit pack, then restore the candidate order 0..15.
                const __m256i av = _mm256_permute4x64_epi64(_mm256_packs_epi32(s3, s4), 0xD8);
                const __m256i lo = _mm256_unpacklo_epi16(q, av), hi = _mm256_unpackhi_epi16(q, av);
                auto beatMask = [&](int16_t pc, int16_t al) __attribute__((target("avx2"))) {
                    const __m256i bp = _mm256_set1_epi32(bestPair(pc, al)), z = _mm256_setzero_si256();
                    const unsigned ml = static_cast<unsigned>(
                        _mm256_movemask_ps(_mm256_castsi256_ps(_mm256_cmpgt_epi32(_mm256_madd_epi16(lo, bp), z))));
                    const unsigned mh = static_cast<unsigned>(
                        _mm256_movemask_ps(_mm256_castsi256_ps(_mm256_cmpgt_epi32(_mm256_madd_epi16(hi, bp), z))));
                    // lo holds candidates 0-3 and 8-11, hi 4-7 and 12-15.
                    return (ml & 0xFu) | (mh & 0xFu) << 4 | (ml >> 4) << 8 | (mh >> 4) << 12;
                };
                int k = -1;
                if (beatMask(psc, alpha)) {
                    _mm256_store_si256(reinterpret_cast<__m256i*>(ps3c), q);
                    _mm256_store_si256(reinterpret_cast<__m256i*>(alp), av);
                    pickFourth(ps3c, alp, psc, alpha, k, beatMask);
                }
                if (k >= 0) setPick(best, a, b, c, k);
                time = sub(time, 1);
                if (time <= 0) {
                    best.time = time;
                    return best;
                }
            }
        }
    }
    best.time = time;
    return best;
}

}  // namespace xvo::g729
