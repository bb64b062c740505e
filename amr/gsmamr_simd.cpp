// GSM-AMR vector kernels (see gsmamr_simd.h).
#include "amr/gsmamr_simd.h"

#include <immintrin.h>

#include <cstring>
#include <utility>

#include "core/fixed.h"

namespace xvo::gsmamr {
namespace {

constexpr int kL = 40;

void acbLagsScalar(const int16_t* exc, const int16_t* xn, const int16_t* h, int tMin, int nLags, int hFac, int scaling,
                   int16_t* excf, int32_t* energy, int32_t* dot) {
    using namespace fx;
    for (int n = 0; n < nLags; ++n) {
        int32_t e = 0, d = 0;
        for (int j = 0; j < kL; ++j) e = L_mac(e, excf[j], excf[j]);
        for (int j = 0; j < kL; ++j) d = L_mac(d, xn[j], excf[j]);
        energy[n] = e, dot[n] = d;
        if (n + 1 == nLags) break;
        const int16_t x = exc[-(tMin + n) - 1];
        for (int j = kL - 1; j > 0; --j) excf[j] = add(extract_h(L_shl(L_mult(x, h[j]), hFac)), excf[j - 1]);
        excf[0] = shr(x, scaling);
    }
}

void corHScalar(const int16_t* h2, const int16_t* sign, int16_t (*rr)[kL]) {
    // Step k adds h2[k] h2[k + dec] to every lag's running sum and fills row j = 39 - k of the
    // lower triangle (columns j - dec), then its mirror; the signs read reversed so that the lag
    // loop runs over contiguous values.
    int32_t c[kL] = {};
    int16_t srev[kL], val[kL];
    for (int m = 0; m < kL; ++m) srev[m] = sign[kL - 1 - m];
    for (int k = 0; k < kL; ++k) {
        const int j = kL - 1 - k;
        const int32_t hk = h2[k], sj = sign[j];
        c[0] += 2 * hk * hk;
        rr[j][j] = static_cast<int16_t>((c[0] + 0x8000) >> 16);
        const int n = kL - 1 - k;
        for (int dec = 1; dec <= n; ++dec) {
            c[dec] += 2 * hk * h2[k + dec];
            const int32_t sp = (sj * srev[k + dec]) >> 15;
            val[dec] = static_cast<int16_t>((((c[dec] + 0x8000) >> 16) * sp) >> 15);
        }
        for (int dec = 1; dec <= n; ++dec) rr[j][j - dec] = rr[j - dec][j] = val[dec];
    }
}

OwnPairBest pairSearchScalar(int na, int nb, const int32_t* psA, const int32_t* alpA, const int32_t* dnB,
                             const int32_t* rvB, const int16_t (*rAB)[16], int32_t w) {
    OwnPairBest best;
    for (int a = 0; a < na; ++a) {
        for (int b = 0; b < nb; ++b) {
            const int32_t ps = psA[a] + dnB[b], alp = alpA[a] + rvB[b] + w * rAB[a][b];
            const int32_t sq = (ps * ps) >> 15, alp16 = (alp + 0x8000) >> 16;
            if (2 * int64_t(best.alp) * sq - 2 * int64_t(best.sq) * alp16 > 0) {
                best.sq = static_cast<int16_t>(sq), best.alp = static_cast<int16_t>(alp16);
                best.ps = static_cast<int16_t>(ps), best.a = a, best.b = b;
            }
        }
    }
    return best;
}

void fftStageScalar(int16_t* x, int stage, const int16_t* phs) {
    const int jj = 2 << stage, kk = 2 * jj, ii2 = 2 * (64 >> stage);
    for (int j = 0, ji = 0; j < jj; j += 2, ji += ii2) {
        const int32_t c = phs[ji], sn = phs[ji + 1];
        for (int k = j; k < 128; k += kk) {
            const int kj = k + jj;
            const int32_t br = x[kj], bi = x[kj + 1], ar = x[k], ai = x[k + 1];
            const int32_t tr = (2 * (br * c - bi * sn) + 0x8000) >> 16;
            const int32_t ti = (2 * (bi * c + br * sn) + 0x8000) >> 16;
            x[kj] = static_cast<int16_t>((ar - tr) >> 1);
            x[kj + 1] = static_cast<int16_t>((ai - ti) >> 1);
            x[k] = static_cast<int16_t>((ar + tr) >> 1);
            x[k + 1] = static_cast<int16_t>((ai + ti) >> 1);
        }
    }
}

constexpr int16_t kVadC1 = 21955, kVadC2 = 6390;

// One all-pass step of a half-band branch: the new memory x - c mem, the output mem + c new.
inline int16_t vadStep(int16_t x, int16_t c, int16_t& mem) {
    const int16_t t = fx::sub(x, fx::mult(c, mem)), y = fx::add(mem, fx::mult(c, t));
    mem = t;
    return y;
}

void vadBank5Scalar(const int16_t* in, int16_t* b, int16_t (*d)[2]) {
    using namespace fx;
    for (int s = 0; s < 80; ++s) {
        const int16_t y0 = vadStep(shr(in[2 * s], 2), kVadC1, d[0][0]);
        const int16_t y1 = vadStep(shr(in[2 * s + 1], 2), kVadC2, d[0][1]);
        b[2 * s] = add(y0, y1), b[2 * s + 1] = sub(y0, y1);
    }
    for (int i = 0; i < 40; ++i) {
        for (int f = 0; f < 2; ++f) {  // filter f on b[4i + f] and b[4i + 2 + f]
            const int16_t y0 = vadStep(b[4 * i + f], kVadC1, d[1 + f][0]);
            const int16_t y1 = vadStep(b[4 * i + 2 + f], kVadC2, d[1 + f][1]);
            b[4 * i + f] = shr(add(y0, y1), 1), b[4 * i + 2 + f] = shr(sub(y0, y1), 1);
        }
    }
}

constexpr int16_t kVadC3 = 13363;

void vadBank3Scalar(int16_t* b, int16_t* m) {
    using namespace fx;
    constexpr int kOff[3] = {0, 2, 3};
    for (int i = 0; i < 20; ++i) {
        for (int f = 0; f < 3; ++f) {
            int16_t& x0 = b[8 * i + kOff[f]];
            int16_t& x1 = b[8 * i + 4 + kOff[f]];
            const int16_t t1 = sub(x1, mult(kVadC3, m[f])), t2 = add(m[f], mult(kVadC3, t1));
            m[f] = t1;
            x1 = shr(sub(x0, t2), 1);
            x0 = shr(add(x0, t2), 1);
        }
    }
}

// Vector form. The energy is a sum of non-negative terms, so the saturating sum is the exact sum
// capped at MAX_32. The correlation's partial sums stay inside 32 bits when 4 Exn Eexcf <
// (2^31 - 1)^2 (Cauchy-Schwarz on every prefix); otherwise that lag takes the scalar sum. The
// update term extract_h(L_shl(L_mult(x, h), hFac)) is sat16((x h) >> (15 - hFac)), saturation
// of L_mult and L_shl included, and the add saturates per lane.
#define XVO_SSE41 __attribute__((target("sse4.1")))
#define XVO_AVX2 __attribute__((target("avx2")))

XVO_SSE41 inline int64_t hsum64(__m128i v) { return _mm_cvtsi128_si64(v) + _mm_extract_epi64(v, 1); }

/// Exact sum of a^2 over 40 values (5 vectors of 8).
XVO_SSE41 inline int64_t energy40(const __m128i* v) {
    __m128i acc = _mm_setzero_si128();
    const __m128i z = _mm_setzero_si128();
    for (int i = 0; i < 5; ++i) {
        const __m128i m = _mm_madd_epi16(v[i], v[i]);  // two squares per lane, at most 2^31 (unsigned)
        acc = _mm_add_epi64(acc, _mm_add_epi64(_mm_unpacklo_epi32(m, z), _mm_unpackhi_epi32(m, z)));
    }
    return hsum64(acc);
}

/// Exact sum of a b over 40 values, for inputs where no pair of products is 2 x 2^30.
XVO_SSE41 inline int64_t dot40(const __m128i* a, const __m128i* b) {
    __m128i acc = _mm_setzero_si128();
    for (int i = 0; i < 5; ++i) {
        const __m128i m = _mm_madd_epi16(a[i], b[i]);
        acc = _mm_add_epi64(acc, _mm_add_epi64(_mm_cvtepi32_epi64(m), _mm_cvtepi32_epi64(_mm_srli_si128(m, 8))));
    }
    return hsum64(acc);
}

template <int Shift>
XVO_SSE41 inline void acbLagsVec(const int16_t* exc, const int16_t* xn, const int16_t* h, int tMin, int nLags,
                                 int scaling, int16_t* excf, int32_t* energy, int32_t* dot) {
    constexpr int64_t kMax2 = int64_t(fx::MAX_32) * fx::MAX_32;
    alignas(16) int16_t buf[kL + 8] = {};  // buf[8 + j] = excf[j]; lane 0 reads buf[7], then is replaced
    __m128i f[5], x[5], hv[5];
    for (int i = 0; i < 5; ++i) {
        f[i] = _mm_loadu_si128(reinterpret_cast<const __m128i*>(excf + 8 * i));
        x[i] = _mm_loadu_si128(reinterpret_cast<const __m128i*>(xn + 8 * i));
        hv[i] = _mm_loadu_si128(reinterpret_cast<const __m128i*>(h + 8 * i));
    }
    const int64_t exn = energy40(x);
    for (int n = 0; n < nLags; ++n) {
        const int64_t e = energy40(f);
        energy[n] = 2 * e >= fx::MAX_32 ? fx::MAX_32 : static_cast<int32_t>(2 * e);
        // 2^62 / 4 exn compared without overflow: exn e < (2^31 - 1)^2 / 4.
        const bool fits = exn == 0 || e == 0 || (e <= kMax2 / 4 / exn);
        if (fits) {
            dot[n] = static_cast<int32_t>(2 * dot40(x, f));
        } else {
            int32_t d = 0;
            for (int i = 0; i < 5; ++i) _mm_storeu_si128(reinterpret_cast<__m128i*>(buf + 8 + 8 * i), f[i]);
            for (int j = 0; j < kL; ++j) d = fx::L_mac(d, xn[j], buf[8 + j]);
            dot[n] = d;
        }
        if (n + 1 == nLags) break;
        const int16_t s = exc[-(tMin + n) - 1];
        const __m128i sv = _mm_set1_epi16(s);
        for (int i = 0; i < 5; ++i) _mm_store_si128(reinterpret_cast<__m128i*>(buf + 8 + 8 * i), f[i]);
        for (int i = 0; i < 5; ++i) {
            const __m128i lo = _mm_mullo_epi16(sv, hv[i]), hi = _mm_mulhi_epi16(sv, hv[i]);
            const __m128i p0 = _mm_srai_epi32(_mm_unpacklo_epi16(lo, hi), Shift);
            const __m128i p1 = _mm_srai_epi32(_mm_unpackhi_epi16(lo, hi), Shift);
            const __m128i prev = _mm_loadu_si128(reinterpret_cast<const __m128i*>(buf + 7 + 8 * i));
            f[i] = _mm_adds_epi16(_mm_packs_epi32(p0, p1), prev);
        }
        // j = 0 takes the new sample itself, scaled, not the filtered sum.
        f[0] = _mm_insert_epi16(f[0], fx::shr(s, scaling), 0);
    }
    for (int i = 0; i < 5; ++i) _mm_storeu_si128(reinterpret_cast<__m128i*>(excf + 8 * i), f[i]);
}

/// Copies the lower triangle of rr onto the upper one.
XVO_SSE41 inline void corHMirror(int16_t (*rr)[kL]) {
    // Block (bi, bj) with bi > bj transposed into (bj, bi); diagonal blocks transposed
    // in place of their upper half.
    for (int bi = 0; bi < kL; bi += 8) {
        for (int bj = 0; bj <= bi; bj += 8) {
            __m128i r[8];
            for (int t = 0; t < 8; ++t) r[t] = _mm_loadu_si128(reinterpret_cast<const __m128i*>(&rr[bi + t][bj]));
            const __m128i a0 = _mm_unpacklo_epi16(r[0], r[1]), a1 = _mm_unpackhi_epi16(r[0], r[1]);
            const __m128i a2 = _mm_unpacklo_epi16(r[2], r[3]), a3 = _mm_unpackhi_epi16(r[2], r[3]);
            const __m128i a4 = _mm_unpacklo_epi16(r[4], r[5]), a5 = _mm_unpackhi_epi16(r[4], r[5]);
            const __m128i a6 = _mm_unpacklo_epi16(r[6], r[7]), a7 = _mm_unpackhi_epi16(r[6], r[7]);
            const __m128i b0 = _mm_unpacklo_epi32(a0, a2), b1 = _mm_unpackhi_epi32(a0, a2);
            const __m128i b2 = _mm_unpacklo_epi32(a1, a3), b3 = _mm_unpackhi_epi32(a1, a3);
            const __m128i b4 = _mm_unpacklo_epi32(a4, a6), b5 = _mm_unpackhi_epi32(a4, a6);
            const __m128i b6 = _mm_unpacklo_epi32(a5, a7), b7 = _mm_unpackhi_epi32(a5, a7);
            const __m128i t[8] = {_mm_unpacklo_epi64(b0, b4), _mm_unpackhi_epi64(b0, b4), _mm_unpacklo_epi64(b1, b5),
                                  _mm_unpackhi_epi64(b1, b5), _mm_unpacklo_epi64(b2, b6), _mm_unpackhi_epi64(b2, b6),
                                  _mm_unpacklo_epi64(b3, b7), _mm_unpackhi_epi64(b3, b7)};
            if (bi != bj) {
                for (int u = 0; u < 8; ++u) _mm_storeu_si128(reinterpret_cast<__m128i*>(&rr[bj + u][bi]), t[u]);
                continue;
            }
            // Diagonal block: row u keeps its columns 0..u and takes u + 1..7 from the transpose.
            const __m128i lane = _mm_setr_epi16(0, 1, 2, 3, 4, 5, 6, 7);
            for (int u = 0; u < 8; ++u) {
                const __m128i upper = _mm_cmpgt_epi16(lane, _mm_set1_epi16(static_cast<int16_t>(u)));
                _mm_storeu_si128(reinterpret_cast<__m128i*>(&rr[bi + u][bi]), _mm_blendv_epi8(r[u], t[u], upper));
            }
        }
    }
}

// Row form of the matrix: with the lag sums kept in reversed order (cr[k + col] holds lag
// j - col while row j = 39 - k is filled) and the response read reversed, row j's columns 0..j
// are one contiguous pass, four 32-bit lanes at a time; rows are filled up to a multiple of four
// columns (the spill lands in the upper triangle, which the mirror then overwrites). The mirror
// copies the lower triangle in 8 x 8 blocks.
XVO_SSE41 void corHSse41(const int16_t* h2, const int16_t* sign, int16_t (*rr)[kL]) {
    alignas(16) int32_t hr[kL], sg[kL], cr[kL + 8] = {};
    for (int m = 0; m < kL; ++m) hr[m] = h2[kL - 1 - m], sg[m] = sign[m];
    const __m128i rnd = _mm_set1_epi32(0x8000);
    for (int k = 0; k < kL; ++k) {
        const int j = kL - 1 - k;
        const __m128i hk = _mm_set1_epi32(2 * int32_t(h2[k])), sj = _mm_set1_epi32(sign[j]);
        for (int col = 0; col <= j; col += 4) {
            __m128i c = _mm_loadu_si128(reinterpret_cast<const __m128i*>(cr + k + col));
            c = _mm_add_epi32(c, _mm_mullo_epi32(hk, _mm_load_si128(reinterpret_cast<const __m128i*>(hr + col))));
            _mm_storeu_si128(reinterpret_cast<__m128i*>(cr + k + col), c);
            const __m128i r = _mm_srai_epi32(_mm_add_epi32(c, rnd), 16);
            const __m128i sp =
                _mm_srai_epi32(_mm_mullo_epi32(sj, _mm_load_si128(reinterpret_cast<const __m128i*>(sg + col))), 15);
            const __m128i v = _mm_srai_epi32(_mm_mullo_epi32(r, sp), 15);
            _mm_storel_epi64(reinterpret_cast<__m128i*>(&rr[j][col]), _mm_packs_epi32(v, v));
        }
        rr[j][j] = static_cast<int16_t>((cr[kL - 1] + 0x8000) >> 16);
    }
    corHMirror(rr);
}

// The same rows eight lanes at a time (a row's spill stays inside its diagonal 8 x 8 block).
XVO_AVX2 void corHAvx2(const int16_t* h2, const int16_t* sign, int16_t (*rr)[kL]) {
    alignas(32) int32_t hr[kL], sg[kL], cr[kL + 8] = {};
    for (int m = 0; m < kL; ++m) hr[m] = h2[kL - 1 - m], sg[m] = sign[m];
    const __m256i rnd = _mm256_set1_epi32(0x8000);
    for (int k = 0; k < kL; ++k) {
        const int j = kL - 1 - k;
        const __m256i hk = _mm256_set1_epi32(2 * int32_t(h2[k])), sj = _mm256_set1_epi32(sign[j]);
        for (int col = 0; col <= j; col += 8) {
            __m256i c = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(cr + k + col));
            c = _mm256_add_epi32(c, _mm256_mullo_epi32(hk, _mm256_load_si256(reinterpret_cast<const __m256i*>(hr + col))));
            _mm256_storeu_si256(reinterpret_cast<__m256i*>(cr + k + col), c);
            const __m256i r = _mm256_srai_epi32(_mm256_add_epi32(c, rnd), 16);
            const __m256i sp = _mm256_srai_epi32(
                _mm256_mullo_epi32(sj, _mm256_load_si256(reinterpret_cast<const __m256i*>(sg + col))), 15);
            const __m256i v = _mm256_srai_epi32(_mm256_mullo_epi32(r, sp), 15);
            const __m128i p = _mm_packs_epi32(_mm256_castsi256_si128(v), _mm256_extracti128_si256(v, 1));
            _mm_storeu_si128(reinterpret_cast<__m128i*>(&rr[j][col]), p);
        }
        rr[j][j] = static_cast<int16_t>((cr[kL - 1] + 0x8000) >> 16);
    }
    corHMirror(rr);
}

// Pair search, eight b lanes at a time. While every alp16 is positive the strict comparison
// orders the pairs by sq / alp16 (all sq are >= 0 > -1), so the scan keeps the first pair of the
// largest ratio: each lane keeps its own first best over a (products below 2^30 fit 32 bits),
// then the lanes' winners are compared, ties going to the earlier pair. A non-positive alp16
// sends the search to the scalar scan.
XVO_AVX2 OwnPairBest pairSearchAvx2(int na, int nb, const int32_t* psA, const int32_t* alpA, const int32_t* dnB,
                                    const int32_t* rvB, const int16_t (*rAB)[16], int32_t w) {
    alignas(32) int32_t wsq[16], walp[16], wps[16], wa[16];
    const __m256i lane = _mm256_setr_epi32(0, 1, 2, 3, 4, 5, 6, 7), rnd = _mm256_set1_epi32(0x8000);
    const __m256i wv = _mm256_set1_epi32(w), one = _mm256_set1_epi32(1), none = _mm256_set1_epi32(-1);
    __m256i bad = _mm256_setzero_si256();
    for (int c = 0; c < nb; c += 8) {
        const __m256i valid = _mm256_cmpgt_epi32(_mm256_set1_epi32(nb - c), lane);
        const __m256i d = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(dnB + c));
        const __m256i rv = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(rvB + c));
        __m256i bsq = none, balp = one, bps = _mm256_setzero_si256(), ba = _mm256_setzero_si256();
        for (int a = 0; a < na; ++a) {
            const __m256i r = _mm256_cvtepi16_epi32(_mm_loadu_si128(reinterpret_cast<const __m128i*>(&rAB[a][c])));
            const __m256i ps = _mm256_add_epi32(_mm256_set1_epi32(psA[a]), d);
            const __m256i alp = _mm256_add_epi32(_mm256_add_epi32(_mm256_set1_epi32(alpA[a]), rv), _mm256_mullo_epi32(wv, r));
            __m256i sq = _mm256_srai_epi32(_mm256_mullo_epi32(ps, ps), 15);
            __m256i alp16 = _mm256_srai_epi32(_mm256_add_epi32(alp, rnd), 16);
            bad = _mm256_or_si256(bad, _mm256_and_si256(valid, _mm256_cmpgt_epi32(one, alp16)));
            sq = _mm256_blendv_epi8(none, sq, valid);
            alp16 = _mm256_blendv_epi8(one, alp16, valid);
            const __m256i better = _mm256_cmpgt_epi32(_mm256_mullo_epi32(balp, sq), _mm256_mullo_epi32(bsq, alp16));
            bsq = _mm256_blendv_epi8(bsq, sq, better);
            balp = _mm256_blendv_epi8(balp, alp16, better);
            bps = _mm256_blendv_epi8(bps, ps, better);
            ba = _mm256_blendv_epi8(ba, _mm256_set1_epi32(a), better);
        }
        _mm256_store_si256(reinterpret_cast<__m256i*>(wsq + c), bsq);
        _mm256_store_si256(reinterpret_cast<__m256i*>(walp + c), balp);
        _mm256_store_si256(reinterpret_cast<__m256i*>(wps + c), bps);
        _mm256_store_si256(reinterpret_cast<__m256i*>(wa + c), ba);
    }
    if (!_mm256_testz_si256(bad, bad)) return pairSearchScalar(na, nb, psA, alpA, dnB, rvB, rAB, w);
    // Every lane took its first pair (sq >= 0 > -1 with alp16 > 0); lanes are visited in b order,
    // so among equal ratios only an earlier a wins.
    OwnPairBest best;
    for (int b = 0; b < nb; ++b) {
        const int64_t l = int64_t(best.alp) * wsq[b], r = int64_t(best.sq) * walp[b];
        if (b == 0 || l > r || (l == r && wa[b] < best.a)) {
            best.sq = static_cast<int16_t>(wsq[b]), best.alp = static_cast<int16_t>(walp[b]);
            best.ps = static_cast<int16_t>(wps[b]), best.a = wa[b], best.b = b;
        }
    }
    return best;
}

// FFT stage, four butterflies at a time: pmaddwd forms br c - bi s (bi negated first, so -sin
// needs no negation) and br s + bi c; the halved sums and differences fit 16 bits (|a| < 13500,
// |t| <= sqrt(2) 13500 + 1). a and b hold four complex values each, w1 the twiddles (c, s) and
// w2 (s, c).
XVO_SSE41 inline void fftButterflies(__m128i& a, __m128i& b, __m128i w1, __m128i w2) {
    const __m128i negIm = _mm_setr_epi16(1, -1, 1, -1, 1, -1, 1, -1), rnd = _mm_set1_epi32(0x8000);
    const __m128i p = _mm_madd_epi16(_mm_sign_epi16(b, negIm), w1), q = _mm_madd_epi16(b, w2);
    const __m128i tr = _mm_srai_epi32(_mm_add_epi32(_mm_slli_epi32(p, 1), rnd), 16);
    const __m128i ti = _mm_srai_epi32(_mm_add_epi32(_mm_slli_epi32(q, 1), rnd), 16);
    const __m128i t = _mm_or_si128(_mm_and_si128(tr, _mm_set1_epi32(0xffff)), _mm_slli_epi32(ti, 16));
    b = _mm_srai_epi16(_mm_sub_epi16(a, t), 1);
    a = _mm_srai_epi16(_mm_add_epi16(a, t), 1);
}

// Stages 0 and 1 regroup two vectors (eight complex values) into their a and b halves: 32-bit
// elements for partners one apart, 64-bit halves for partners two apart.
XVO_SSE41 void fftStageSse41(int16_t* x, int stage, const int16_t* phs) {
    const int jj = 2 << stage, kk = 2 * jj, ii2 = 2 * (64 >> stage);
    alignas(16) int16_t w1[8], w2[8];
    auto twiddles = [&](int q0, int period) {
        for (int q = 0; q < 4; ++q) {
            const int ji = (q0 + q % period) * ii2;
            w1[2 * q] = phs[ji], w1[2 * q + 1] = phs[ji + 1];
            w2[2 * q] = phs[ji + 1], w2[2 * q + 1] = phs[ji];
        }
        return std::pair{_mm_load_si128(reinterpret_cast<const __m128i*>(w1)),
                         _mm_load_si128(reinterpret_cast<const __m128i*>(w2))};
    };
    if (stage < 2) {
        const auto [W1, W2] = twiddles(0, stage == 0 ? 1 : 2);
        for (int k = 0; k < 128; k += 16) {
            __m128i v0 = _mm_loadu_si128(reinterpret_cast<const __m128i*>(x + k));
            __m128i v1 = _mm_loadu_si128(reinterpret_cast<const __m128i*>(x + k + 8));
            if (stage == 0) v0 = _mm_shuffle_epi32(v0, 0xd8), v1 = _mm_shuffle_epi32(v1, 0xd8);  // a a b b
            __m128i a = _mm_unpacklo_epi64(v0, v1), b = _mm_unpackhi_epi64(v0, v1);
            fftButterflies(a, b, W1, W2);
            v0 = _mm_unpacklo_epi64(a, b), v1 = _mm_unpackhi_epi64(a, b);
            if (stage == 0) v0 = _mm_shuffle_epi32(v0, 0xd8), v1 = _mm_shuffle_epi32(v1, 0xd8);
            _mm_storeu_si128(reinterpret_cast<__m128i*>(x + k), v0);
            _mm_storeu_si128(reinterpret_cast<__m128i*>(x + k + 8), v1);
        }
        return;
    }
    for (int j = 0; j < jj; j += 8) {
        const auto [W1, W2] = twiddles(j / 2, 4);
        for (int k = j; k < 128; k += kk) {
            __m128i a = _mm_loadu_si128(reinterpret_cast<const __m128i*>(x + k));
            __m128i b = _mm_loadu_si128(reinterpret_cast<const __m128i*>(x + k + jj));
            fftButterflies(a, b, W1, W2);
            _mm_storeu_si128(reinterpret_cast<__m128i*>(x + k + jj), b);
            _mm_storeu_si128(reinterpret_cast<__m128i*>(x + k), a);
        }
    }
}

// Filter bank, one branch per 16-bit lane: stage one's two branches take in[2s] and in[2s + 1],
// stage two's four take b[4i..4i + 3] (coefficients c1 c1 c2 c2), so each step is one load. mult
// by c2 is pmulhw by 2 c2; by c1 (2 c1 above 16 bits) pmulhw by 2 c1 - 65536 plus the value.
XVO_SSE41 void vadBank5Sse41(const int16_t* in, int16_t* b, int16_t (*d)[2]) {
    auto step = [](__m128i x, __m128i& mem, __m128i c, __m128i big) {
        auto mult = [&](__m128i v) { return _mm_add_epi16(_mm_mulhi_epi16(v, c), _mm_and_si128(v, big)); };
        const __m128i t = _mm_subs_epi16(x, mult(mem)), y = _mm_adds_epi16(mem, mult(t));
        mem = t;
        return y;
    };
    const int16_t c1 = static_cast<int16_t>(2 * kVadC1 - 65536), c2 = 2 * kVadC2;
    alignas(16) int16_t y[160];
    {
        const __m128i c = _mm_setr_epi16(c1, c2, 0, 0, 0, 0, 0, 0), big = _mm_setr_epi16(-1, 0, 0, 0, 0, 0, 0, 0);
        __m128i mem = _mm_setr_epi16(d[0][0], d[0][1], 0, 0, 0, 0, 0, 0);
        for (int s = 0; s < 80; ++s) {
            int32_t pair;
            std::memcpy(&pair, in + 2 * s, 4);
            pair = _mm_cvtsi128_si32(step(_mm_srai_epi16(_mm_cvtsi32_si128(pair), 2), mem, c, big));
            std::memcpy(y + 2 * s, &pair, 4);
        }
        d[0][0] = static_cast<int16_t>(_mm_extract_epi16(mem, 0)), d[0][1] = static_cast<int16_t>(_mm_extract_epi16(mem, 1));
        // b[2s] = y0 + y1, b[2s + 1] = y0 - y1 (saturating).
        for (int i = 0; i < 160; i += 8) {
            const __m128i v = _mm_load_si128(reinterpret_cast<const __m128i*>(y + i));
            const __m128i sw = _mm_shufflehi_epi16(_mm_shufflelo_epi16(v, 0xb1), 0xb1);
            _mm_storeu_si128(reinterpret_cast<__m128i*>(b + i), _mm_blend_epi16(_mm_adds_epi16(v, sw), _mm_subs_epi16(sw, v), 0xaa));
        }
    }
    const __m128i c = _mm_setr_epi16(c1, c1, c2, c2, 0, 0, 0, 0), big = _mm_setr_epi16(-1, -1, 0, 0, 0, 0, 0, 0);
    __m128i mem = _mm_setr_epi16(d[1][0], d[2][0], d[1][1], d[2][1], 0, 0, 0, 0);
    for (int i = 0; i < 40; ++i) {
        const __m128i v = step(_mm_loadl_epi64(reinterpret_cast<const __m128i*>(b + 4 * i)), mem, c, big);
        const __m128i sw = _mm_shufflelo_epi16(v, 0x4e);  // y2 y3 y0 y1
        const __m128i o = _mm_blend_epi16(_mm_adds_epi16(v, sw), _mm_subs_epi16(sw, v), 0x0c);
        _mm_storel_epi64(reinterpret_cast<__m128i*>(b + 4 * i), _mm_srai_epi16(o, 1));
    }
    d[1][0] = static_cast<int16_t>(_mm_extract_epi16(mem, 0)), d[2][0] = static_cast<int16_t>(_mm_extract_epi16(mem, 1));
    d[1][1] = static_cast<int16_t>(_mm_extract_epi16(mem, 2)), d[2][1] = static_cast<int16_t>(_mm_extract_epi16(mem, 3));
}

// Third stage, the whole block of eight in one vector: the branches run in lanes 4, 6 and 7
// (lane 5 computes an unused value), their outputs move down to lanes 0, 2 and 3 to meet x0.
XVO_SSE41 void vadBank3Sse41(int16_t* b, int16_t* m) {
    const __m128i c = _mm_set1_epi16(2 * kVadC3);
    __m128i mem = _mm_setr_epi16(0, 0, 0, 0, m[0], 0, m[1], m[2]);
    for (int i = 0; i < 20; ++i) {
        const __m128i v = _mm_loadu_si128(reinterpret_cast<const __m128i*>(b + 8 * i));
        const __m128i t1 = _mm_subs_epi16(v, _mm_mulhi_epi16(mem, c));
        const __m128i t2 = _mm_srli_si128(_mm_adds_epi16(mem, _mm_mulhi_epi16(t1, c)), 8);
        mem = t1;
        const __m128i x0 = _mm_srai_epi16(_mm_adds_epi16(v, t2), 1);
        const __m128i x1 = _mm_slli_si128(_mm_srai_epi16(_mm_subs_epi16(v, t2), 1), 8);
        _mm_storeu_si128(reinterpret_cast<__m128i*>(b + 8 * i), _mm_blend_epi16(_mm_blend_epi16(v, x0, 0x0d), x1, 0xd0));
    }
    m[0] = static_cast<int16_t>(_mm_extract_epi16(mem, 4));
    m[1] = static_cast<int16_t>(_mm_extract_epi16(mem, 6));
    m[2] = static_cast<int16_t>(_mm_extract_epi16(mem, 7));
}

XVO_SSE41 void acbLagsSse41(const int16_t* exc, const int16_t* xn, const int16_t* h, int tMin, int nLags, int hFac,
                            int scaling, int16_t* excf, int32_t* energy, int32_t* dot) {
    if (hFac == 3) acbLagsVec<12>(exc, xn, h, tMin, nLags, scaling, excf, energy, dot);
    else if (hFac == 1) acbLagsVec<14>(exc, xn, h, tMin, nLags, scaling, excf, energy, dot);
    else acbLagsScalar(exc, xn, h, tMin, nLags, hFac, scaling, excf, energy, dot);
}

XVO_AVX2 void acbLagsAvx2(const int16_t* exc, const int16_t* xn, const int16_t* h, int tMin, int nLags, int hFac,
                          int scaling, int16_t* excf, int32_t* energy, int32_t* dot) {
    if (hFac == 3) acbLagsVec<12>(exc, xn, h, tMin, nLags, scaling, excf, energy, dot);
    else if (hFac == 1) acbLagsVec<14>(exc, xn, h, tMin, nLags, scaling, excf, energy, dot);
    else acbLagsScalar(exc, xn, h, tMin, nLags, hFac, scaling, excf, energy, dot);
}

#undef XVO_AVX2
#undef XVO_SSE41

constexpr OwnGsmAmrKernels kScalar{OwnCpuLevel::Scalar, acbLagsScalar, corHScalar, pairSearchScalar, fftStageScalar, vadBank5Scalar, vadBank3Scalar};
constexpr OwnGsmAmrKernels kSse41{OwnCpuLevel::SSE41, acbLagsSse41, corHSse41, pairSearchScalar, fftStageSse41, vadBank5Sse41, vadBank3Sse41};
constexpr OwnGsmAmrKernels kAvx2{OwnCpuLevel::AVX2, acbLagsAvx2, corHAvx2, pairSearchAvx2, fftStageSse41, vadBank5Sse41, vadBank3Sse41};

}  // namespace

const OwnGsmAmrKernels& ownGsmAmrKernelsFor(OwnCpuLevel level) {
    switch (level) {
        case OwnCpuLevel::AVX2: return kAvx2;
        case OwnCpuLevel::SSE41: return kSse41;
        default: return kScalar;
    }
}

const OwnGsmAmrKernels& ownGsmAmrKernels() {
    static const OwnGsmAmrKernels& k = ownGsmAmrKernelsFor(ownCpuLevel());
    return k;
}

}  // namespace xvo::gsmamr
