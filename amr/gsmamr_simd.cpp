// GSM-AMR vector kernels (see gsmamr_simd.h).
#include "amr/gsmamr_simd.h"

#include <immintrin.h>

#include "amr/gsmamr_tables.h"
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

// Vector form. The energy is a sum of non-negative terms, so the saturating sum is the exact sum
// capped at MAX_32. The correlation's partial sums stay inside 32 bits when 4 Exn Eexcf <
// (2^31 - 1)^2 (Cauchy-Schwarz on every prefix); otherwise that lag takes the scalar sum. The
// update term extract_h(L_shl(L_mult(x, h), hFac)) is sat16((x h) >> (15 - hFac)), saturation
// of L_mult and L_shl included, and the add saturates per lane.
void fftStageScalar(int16_t* x, int stage) {
    const int jj = 2 << stage, kk = 2 * jj, ii2 = 2 * (64 >> stage);
    for (int j = 0, ji = 0; j < jj; j += 2, ji += ii2) {
        const int32_t c = kFftPhase[ji], sn = kFftPhase[ji + 1];
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

#define XVO_SSE41 __attribute__((target("sse4.1")))
#define XVO_AVX2 __attribute__((target("avx2")))

// Four butterflies at a time: tr = br c - bi s as madd([br, -bi], [c, s]) (the twiddle's -32768 is
// never negated), ti = madd([br, bi], [s, c]); (m + 0x4000) >> 15 is the reference's
// (2 m + 0x8000) >> 16; a +- t stays within 16 bits below the 13500 bound. c1 holds [c, s] and
// c2 [s, c] per complex lane.
XVO_SSE41 inline void fftButterfly4(__m128i a, __m128i b, __m128i c1, __m128i c2, __m128i& sum, __m128i& dif) {
    const __m128i negIm = _mm_set_epi16(-1, 0, -1, 0, -1, 0, -1, 0), rnd = _mm_set1_epi32(0x4000);
    const __m128i bn = _mm_sub_epi16(_mm_xor_si128(b, negIm), negIm);
    const __m128i tr = _mm_srai_epi32(_mm_add_epi32(_mm_madd_epi16(bn, c1), rnd), 15);
    const __m128i ti = _mm_srai_epi32(_mm_add_epi32(_mm_madd_epi16(b, c2), rnd), 15);
    const __m128i t = _mm_unpacklo_epi16(_mm_packs_epi32(tr, tr), _mm_packs_epi32(ti, ti));
    sum = _mm_srai_epi16(_mm_add_epi16(a, t), 1);
    dif = _mm_srai_epi16(_mm_sub_epi16(a, t), 1);
}

/// Twiddle pairs [c, s] and [s, c] of complex indices q0..q3 (entries 2 qi of the phase table).
XVO_SSE41 inline void fftTwiddles(int q0, int q1, int q2, int q3, __m128i& c1, __m128i& c2) {
    const int16_t* p = kFftPhase;
    c1 = _mm_set_epi16(p[2 * q3 + 1], p[2 * q3], p[2 * q2 + 1], p[2 * q2], p[2 * q1 + 1], p[2 * q1], p[2 * q0 + 1], p[2 * q0]);
    c2 = _mm_set_epi16(p[2 * q3], p[2 * q3 + 1], p[2 * q2], p[2 * q2 + 1], p[2 * q1], p[2 * q1 + 1], p[2 * q0], p[2 * q0 + 1]);
}

XVO_SSE41 void fftStageSse41(int16_t* x, int stage) {
    auto ld = [](const int16_t* p) { return _mm_loadu_si128(reinterpret_cast<const __m128i*>(p)); };
    auto st = [](int16_t* p, __m128i v) { _mm_storeu_si128(reinterpret_cast<__m128i*>(p), v); };
    __m128i c1, c2, sum, dif;
    if (stage == 0) {  // pairs of neighbouring complex values, twiddle 1
        fftTwiddles(0, 0, 0, 0, c1, c2);
        for (int k = 0; k < 128; k += 16) {
            const __m128i t0 = _mm_shuffle_epi32(ld(x + k), _MM_SHUFFLE(3, 1, 2, 0));
            const __m128i t1 = _mm_shuffle_epi32(ld(x + k + 8), _MM_SHUFFLE(3, 1, 2, 0));
            fftButterfly4(_mm_unpacklo_epi64(t0, t1), _mm_unpackhi_epi64(t0, t1), c1, c2, sum, dif);
            st(x + k, _mm_unpacklo_epi32(sum, dif));
            st(x + k + 8, _mm_unpackhi_epi32(sum, dif));
        }
        return;
    }
    if (stage == 1) {  // blocks [a0 a1 b0 b1], twiddles of complex indices 0 and 32
        fftTwiddles(0, 32, 0, 32, c1, c2);
        for (int k = 0; k < 128; k += 16) {
            const __m128i v0 = ld(x + k), v1 = ld(x + k + 8);
            fftButterfly4(_mm_unpacklo_epi64(v0, v1), _mm_unpackhi_epi64(v0, v1), c1, c2, sum, dif);
            st(x + k, _mm_unpacklo_epi64(sum, dif));
            st(x + k + 8, _mm_unpackhi_epi64(sum, dif));
        }
        return;
    }
    const int jj = 2 << stage, kk = 2 * jj, step = 64 >> stage;  // twiddle step in complex indices
    for (int j = 0; j < jj; j += 8) {
        const int q = j / 2 * step;
        fftTwiddles(q, q + step, q + 2 * step, q + 3 * step, c1, c2);
        for (int k = j; k < 128; k += kk) {
            fftButterfly4(ld(x + k), ld(x + k + jj), c1, c2, sum, dif);
            st(x + k, sum);
            st(x + k + jj, dif);
        }
    }
}

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

constexpr OwnGsmAmrKernels kScalar{OwnCpuLevel::Scalar, acbLagsScalar, fftStageScalar};
constexpr OwnGsmAmrKernels kSse41{OwnCpuLevel::SSE41, acbLagsSse41, fftStageSse41};
constexpr OwnGsmAmrKernels kAvx2{OwnCpuLevel::AVX2, acbLagsAvx2, fftStageSse41};

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
