// Vector twins of the two hot loops of the G.729 line-spectral family:
// the first-stage LSF codebook distances (128 entries x 10) and the
// Chebyshev evaluations of the root finder at the grid points. The scalar
// forms define the results; the AVX2 forms reproduce every saturation of
// the reference operators lane by lane and are tested equal to them.
#include <immintrin.h>

#include "core/fixed.h"
#include "g729/g729_tables.h"
#include "g729/lsp.h"

namespace xvo::g729 {

namespace {

constexpr uint32_t kDistCap = 1u << 30;  // sum of squares from which the reference sum saturates

// ---- scalar ------------------------------------------------------------------

void dist1Scalar(const int16_t* r, int32_t* d) {
    for (int i = 0; i < kNC0; ++i) {
        uint32_t s = 0;
        for (int j = 0; j < kM; ++j) {
            const int32_t t = fx::sub(r[j], kLspcb1[i][j]);
            s += static_cast<uint32_t>(t * t);
            if (s > kDistCap) s = kDistCap;  // keeps s below 2^31 + 2^30
        }
        d[i] = static_cast<int32_t>(s);
    }
}

void chebGridScalar(const int16_t* x, int n, const int16_t* f, int shift, bool q23, int16_t* y) {
    for (int i = 0; i < n; ++i) y[i] = ownChebpsExact_16s(x[i], f, shift, q23);
}

// ---- AVX2 ----------------------------------------------------------------------

#define XVO_AVX2 __attribute__((target("avx2")))

/// Saturating a + b (L_add).
XVO_AVX2 inline __m256i addSat(__m256i a, __m256i b) {
    const __m256i r = _mm256_add_epi32(a, b);
    const __m256i ov = _mm256_srai_epi32(_mm256_and_si256(_mm256_xor_si256(a, r), _mm256_xor_si256(b, r)), 31);
    const __m256i sat = _mm256_xor_si256(_mm256_srai_epi32(a, 31), _mm256_set1_epi32(0x7fffffff));
    return _mm256_blendv_epi8(r, sat, ov);
}

/// Saturating a - b (L_sub).
XVO_AVX2 inline __m256i subSat(__m256i a, __m256i b) {
    const __m256i r = _mm256_sub_epi32(a, b);
    const __m256i ov = _mm256_srai_epi32(_mm256_and_si256(_mm256_xor_si256(a, b), _mm256_xor_si256(a, r)), 31);
    const __m256i sat = _mm256_xor_si256(_mm256_srai_epi32(a, 31), _mm256_set1_epi32(0x7fffffff));
    return _mm256_blendv_epi8(r, sat, ov);
}

/// Saturating a << n for 1 <= n <= 15 (L_shl).
template <int N>
XVO_AVX2 inline __m256i shlSat(__m256i a) {
    const __m256i r = _mm256_slli_epi32(a, N);
    const __m256i ok = _mm256_cmpeq_epi32(_mm256_srai_epi32(r, N), a);
    const __m256i sat = _mm256_xor_si256(_mm256_srai_epi32(a, 31), _mm256_set1_epi32(0x7fffffff));
    return _mm256_blendv_epi8(sat, r, ok);
}

/// L_mult of 16-bit values held in 32-bit lanes.
XVO_AVX2 inline __m256i lmult(__m256i a, __m256i b) {
    const __m256i p = _mm256_mullo_epi32(a, b);
    const __m256i big = _mm256_cmpeq_epi32(p, _mm256_set1_epi32(0x40000000));
    return _mm256_blendv_epi8(_mm256_slli_epi32(p, 1), _mm256_set1_epi32(0x7fffffff), big);
}

/// Mpy_32_16(hi, lo, x): L_mac(L_mult(hi, x), mult(lo, x), 1), lo in 0..32767.
XVO_AVX2 inline __m256i mpy32x16(__m256i hi, __m256i lo, __m256i x) {
    const __m256i m = _mm256_srai_epi32(_mm256_mullo_epi32(lo, x), 15);
    return addSat(lmult(hi, x), _mm256_slli_epi32(m, 1));
}

template <bool Q23>
XVO_AVX2 void chebGridAvx2T(const int16_t* x, int n, const int16_t* f, int shift, int16_t* y) {
    const int16_t fmul = static_cast<int16_t>(1 << shift);
    const int16_t fhalf = static_cast<int16_t>(1 << (shift - 1));
    __m256i fterm[6];
    for (int i = 1; i < 5; ++i) fterm[i] = _mm256_set1_epi32(fx::L_mult(f[i], fmul));
    fterm[5] = _mm256_set1_epi32(fx::L_mult(f[5], fhalf));
    const __m256i minus32768 = _mm256_set1_epi32(-32768);
    const __m256i mask15 = _mm256_set1_epi32(0x7fff);
    // Four independent groups of 8 points per pass: the recursion is one long
    // dependency chain, so the groups run interleaved.
    constexpr int G = 4;
    for (int k = 0; k < n; k += 8 * G) {
        __m256i xv[G], b2h[G], b2l[G], b1h[G], b1l[G], t[G];
        for (int g = 0; g < G; ++g) {
            const int at = k + 8 * g < n ? k + 8 * g : k;  // a short tail repeats the first group
            xv[g] = _mm256_cvtepi16_epi32(_mm_loadu_si128(reinterpret_cast<const __m128i*>(x + at)));
            b2h[g] = _mm256_set1_epi32(Q23 ? 128 : 256);
            b2l[g] = _mm256_setzero_si256();
            t[g] = addSat(_mm256_slli_epi32(xv[g], Q23 ? 9 : 10), fterm[1]);  // L_mult(x, 512 or 256) + f1
            b1h[g] = _mm256_srai_epi32(t[g], 16);
            b1l[g] = _mm256_and_si256(_mm256_srai_epi32(t[g], 1), mask15);
        }
        for (int i = 2; i < 5; ++i)
            for (int g = 0; g < G; ++g) {
                __m256i u = shlSat<1>(mpy32x16(b1h[g], b1l[g], xv[g]));
                u = addSat(u, lmult(b2h[g], minus32768));
                u = subSat(u, _mm256_slli_epi32(b2l[g], 1));
                u = addSat(u, fterm[i]);
                b2h[g] = b1h[g];
                b2l[g] = b1l[g];
                b1h[g] = _mm256_srai_epi32(u, 16);
                b1l[g] = _mm256_and_si256(_mm256_srai_epi32(u, 1), mask15);
            }
        for (int g = 0; g < G; ++g) {
            __m256i u = mpy32x16(b1h[g], b1l[g], xv[g]);
            u = addSat(u, lmult(b2h[g], minus32768));
            u = subSat(u, _mm256_slli_epi32(b2l[g], 1));
            u = addSat(u, fterm[5]);
            t[g] = _mm256_srai_epi32(shlSat<Q23 ? 7 : 6>(u), 16);
        }
        for (int g = 0; g < G && k + 8 * g < n; ++g) {
            const __m128i packed = _mm_packs_epi32(_mm256_castsi256_si128(t[g]), _mm256_extracti128_si256(t[g], 1));
            _mm_storeu_si128(reinterpret_cast<__m128i*>(y + k + 8 * g), packed);
        }
    }
}

XVO_AVX2 void chebGridAvx2(const int16_t* x, int n, const int16_t* f, int shift, bool q23, int16_t* y) {
    if (q23) chebGridAvx2T<true>(x, n, f, shift, y);
    else chebGridAvx2T<false>(x, n, f, shift, y);
}

XVO_AVX2 void dist1Avx2(const int16_t* r, int32_t* d) {
    __m256i rp[5];
    for (int p = 0; p < 5; ++p)
        rp[p] = _mm256_set1_epi32(static_cast<int32_t>((static_cast<uint32_t>(static_cast<uint16_t>(r[2 * p + 1])) << 16) |
                                                       static_cast<uint16_t>(r[2 * p])));
    const __m256i cap = _mm256_set1_epi32(static_cast<int32_t>(kDistCap));
    for (int i = 0; i < kNC0; i += 8) {
        __m256i s = _mm256_setzero_si256();
        for (int p = 0; p < 5; ++p) {
            const __m256i cb = _mm256_load_si256(reinterpret_cast<const __m256i*>(&kLspcb1Pairs[p][i]));
            const __m256i dv = _mm256_subs_epi16(rp[p], cb);
            // d0^2 + d1^2 <= 2^31 read as unsigned; s <= 2^30, so the sum stays below 2^32
            s = _mm256_min_epu32(_mm256_add_epi32(s, _mm256_madd_epi16(dv, dv)), cap);
        }
        _mm256_store_si256(reinterpret_cast<__m256i*>(d + i), s);
    }
}

#undef XVO_AVX2

constexpr OwnLspKernels kScalar{dist1Scalar, chebGridScalar};
constexpr OwnLspKernels kAvx2{dist1Avx2, chebGridAvx2};

}  // namespace

const OwnLspKernels& ownLspKernelsFor(OwnCpuLevel level) {
    return level == OwnCpuLevel::AVX2 ? kAvx2 : kScalar;
}

const OwnLspKernels& ownLspKernels() {
    static const OwnLspKernels& k = ownLspKernelsFor(ownCpuLevel());
    return k;
}

}  // namespace xvo::g729
