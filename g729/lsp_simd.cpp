// Vector twins of the two hot loops of the G.729 line-spectral family:
// the first-stage LSF codebook distances (128 entries x 10) and the
// Chebyshev evaluations of the root finder at the grid points. The scalar
// forms define the results; the SSE4.1 and AVX2 forms reproduce every
// saturation of the reference operators lane by lane and are tested equal
// to them.
// The helpers below pass vectors by value between inline functions of one
// instruction set; the note on the AVX calling convention does not apply.
#pragma GCC diagnostic ignored "-Wpsabi"

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

/// Elements 2p and 2p+1 of r packed as one word, as in kLspcb1Pairs.
uint32_t kPairOf(const int16_t* r, int p) {
    return (static_cast<uint32_t>(static_cast<uint16_t>(r[2 * p + 1])) << 16) | static_cast<uint16_t>(r[2 * p]);
}

void dist2Scalar(const int16_t* r, const int16_t* w, int from, int32_t* d) {
    for (int k = 0; k < kNC1; ++k) {
        int32_t dist = 0;  // Lsp_select_1 / Lsp_select_2
        for (int j = from; j < from + 5; ++j) {
            const int16_t t = fx::sub(r[j], kLspcb2[k][j]);
            dist = fx::L_mac(dist, fx::mult(w[j], t), t);
        }
        d[k] = dist == fx::MAX_32 ? static_cast<int32_t>(kDistCap) : dist >> 1;
    }
}

void chebGridScalar(const int16_t* x, int n, const int16_t* f, int shift, bool q23, int16_t* y) {
    for (int i = 0; i < n; ++i) y[i] = ownChebps_16s(x[i], f, shift, q23);  // tested equal to the exact form
}

// ---- vector forms -----------------------------------------------------------------
//
// One body for every width, written with the compiler's vector types: N lanes
// of 32 bits (4 for SSE4.1, 8 for AVX2). Sums that may wrap are formed on
// the unsigned type; every saturation of the reference operators is rebuilt
// from a wrap test and a select.

#define XVO_VINLINE __attribute__((always_inline)) inline

template <int N>
struct Lanes {
    typedef int32_t S __attribute__((vector_size(4 * N)));
    typedef uint32_t U __attribute__((vector_size(4 * N)));
    typedef int16_t H __attribute__((vector_size(2 * N)));
};

/// The saturated value of the sign of a: 0x7fffffff or 0x80000000.
template <class S>
XVO_VINLINE S satOf(const S& a) { return (a >> 31) ^ 0x7fffffff; }

/// L_add.
template <class S, class U>
XVO_VINLINE S addSat(const S& a, const S& b) {
    const S r = (S)((U)a + (U)b);
    return (((a ^ r) & (b ^ r)) < 0) ? satOf(a) : r;
}

/// L_sub.
template <class S, class U>
XVO_VINLINE S subSat(const S& a, const S& b) {
    const S r = (S)((U)a - (U)b);
    return (((a ^ b) & (a ^ r)) < 0) ? satOf(a) : r;
}

/// L_shl by a constant 1..15.
template <int K, class S, class U>
XVO_VINLINE S shlSat(const S& a) {
    const S r = (S)((U)a << K);
    return ((r >> K) == a) ? r : satOf(a);
}

/// L_mult of 16-bit values held in 32-bit lanes.
template <class S, class U>
XVO_VINLINE S lmult(const S& a, const S& b) {
    const S p = a * b;
    return (p == 0x40000000) ? S{} + 0x7fffffff : (S)((U)p << 1);
}

/// Mpy_32_16(hi, lo, x) = L_mac(L_mult(hi, x), mult(lo, x), 1), lo in 0..32767.
template <class S, class U>
XVO_VINLINE S mpy32x16(const S& hi, const S& lo, const S& x) {
    return addSat<S, U>(lmult<S, U>(hi, x), ((lo * x) >> 15) * 2);
}

template <int N, bool Q23>
XVO_VINLINE void chebGridBody(const int16_t* x, int n, const int16_t* f, int shift, int16_t* y) {
    using S = typename Lanes<N>::S;
    using U = typename Lanes<N>::U;
    using H = typename Lanes<N>::H;
    const int16_t fmul = static_cast<int16_t>(1 << shift);
    S fterm[6];
    for (int i = 1; i < 5; ++i) fterm[i] = S{} + fx::L_mult(f[i], fmul);
    fterm[5] = S{} + fx::L_mult(f[5], static_cast<int16_t>(fmul >> 1));
    // G independent groups per pass: the recursion is one long dependency
    // chain, so the groups run interleaved.
    constexpr int G = 32 / N;
    for (int k = 0; k < n; k += N * G) {
        S xv[G], b2h[G], b2l[G], b1h[G], b1l[G], t[G];
        for (int g = 0; g < G; ++g) {
            const int at = k + N * g < n ? k + N * g : k;  // a short tail repeats the first group
            H h;
            __builtin_memcpy(&h, x + at, sizeof h);
            xv[g] = __builtin_convertvector(h, S);
            b2h[g] = S{} + (Q23 ? 128 : 256);
            b2l[g] = S{};
            t[g] = addSat<S, U>(xv[g] * (Q23 ? 512 : 1024), fterm[1]);  // L_mult(x, 256 or 512) + f1
            b1h[g] = t[g] >> 16;
            b1l[g] = (t[g] >> 1) & 0x7fff;
        }
        for (int i = 2; i < 5; ++i)
            for (int g = 0; g < G; ++g) {
                S u = shlSat<1, S, U>(mpy32x16<S, U>(b1h[g], b1l[g], xv[g]));
                u = addSat<S, U>(u, lmult<S, U>(b2h[g], S{} - 32768));
                u = subSat<S, U>(u, b2l[g] * 2);
                u = addSat<S, U>(u, fterm[i]);
                b2h[g] = b1h[g];
                b2l[g] = b1l[g];
                b1h[g] = u >> 16;
                b1l[g] = (u >> 1) & 0x7fff;
            }
        for (int g = 0; g < G && k + N * g < n; ++g) {
            S u = mpy32x16<S, U>(b1h[g], b1l[g], xv[g]);
            u = addSat<S, U>(u, lmult<S, U>(b2h[g], S{} - 32768));
            u = subSat<S, U>(u, b2l[g] * 2);
            u = addSat<S, U>(u, fterm[5]);
            const H h = __builtin_convertvector(shlSat<Q23 ? 7 : 6, S, U>(u) >> 16, H);
            __builtin_memcpy(y + k + N * g, &h, sizeof h);
        }
    }
}

template <int N>
XVO_VINLINE void chebGridVec(const int16_t* x, int n, const int16_t* f, int shift, bool q23, int16_t* y) {
    if (q23) chebGridBody<N, true>(x, n, f, shift, y);
    else chebGridBody<N, false>(x, n, f, shift, y);
}

template <int N>
XVO_VINLINE void dist2Vec(const int16_t* r, const int16_t* w, int from, int32_t* d) {
    using S = typename Lanes<N>::S;
    using U = typename Lanes<N>::U;
    using H = typename Lanes<N>::H;
    for (int k = 0; k < kNC1; k += N) {
        U s{};
        for (int j = from; j < from + 5; ++j) {
            H c;
            __builtin_memcpy(&c, &kLspcb2T[j][k], sizeof c);
            S t = (S{} + r[j]) - __builtin_convertvector(c, S);
            t = t > 32767 ? S{} + 32767 : t;
            t = t < -32768 ? S{} - 32768 : t;
            s += (U)(((S{} + w[j]) * t >> 15) * t);  // each term 0..2^30
            s = s < kDistCap ? s : U{} + kDistCap;
        }
        __builtin_memcpy(d + k, &s, sizeof s);
    }
}

#define XVO_SSE41 __attribute__((target("sse4.1")))
#define XVO_AVX2 __attribute__((target("avx2")))

XVO_SSE41 void chebGridSse41(const int16_t* x, int n, const int16_t* f, int shift, bool q23, int16_t* y) {
    chebGridVec<4>(x, n, f, shift, q23, y);
}
/// First-stage distances from the pair-packed codebook: per 32-bit lane the
/// saturated 16-bit differences of two entries, squared and summed by one
/// multiply-add (at most 2^31, read as unsigned), then capped (every partial
/// sum stays below 2^31 + 2^30, so the unsigned sum cannot wrap).
XVO_SSE41 void dist1Sse41(const int16_t* r, int32_t* d) {
    __m128i rp[5];
    for (int p = 0; p < 5; ++p) rp[p] = _mm_set1_epi32(static_cast<int32_t>(kPairOf(r, p)));
    const __m128i cap = _mm_set1_epi32(static_cast<int32_t>(kDistCap));
    for (int i = 0; i < kNC0; i += 4) {
        __m128i s = _mm_setzero_si128();
        for (int p = 0; p < 5; ++p) {
            const __m128i dv = _mm_subs_epi16(rp[p], _mm_load_si128(reinterpret_cast<const __m128i*>(&kLspcb1Pairs[p][i])));
            s = _mm_min_epu32(_mm_add_epi32(s, _mm_madd_epi16(dv, dv)), cap);
        }
        _mm_store_si128(reinterpret_cast<__m128i*>(d + i), s);
    }
}
XVO_SSE41 void dist2Sse41(const int16_t* r, const int16_t* w, int from, int32_t* d) { dist2Vec<4>(r, w, from, d); }
XVO_AVX2 void chebGridAvx2(const int16_t* x, int n, const int16_t* f, int shift, bool q23, int16_t* y) {
    chebGridVec<8>(x, n, f, shift, q23, y);
}
XVO_AVX2 void dist1Avx2(const int16_t* r, int32_t* d) {
    __m256i rp[5];
    for (int p = 0; p < 5; ++p) rp[p] = _mm256_set1_epi32(static_cast<int32_t>(kPairOf(r, p)));
    const __m256i cap = _mm256_set1_epi32(static_cast<int32_t>(kDistCap));
    for (int i = 0; i < kNC0; i += 8) {
        __m256i s = _mm256_setzero_si256();
        for (int p = 0; p < 5; ++p) {
            const __m256i dv =
                _mm256_subs_epi16(rp[p], _mm256_load_si256(reinterpret_cast<const __m256i*>(&kLspcb1Pairs[p][i])));
            s = _mm256_min_epu32(_mm256_add_epi32(s, _mm256_madd_epi16(dv, dv)), cap);
        }
        _mm256_store_si256(reinterpret_cast<__m256i*>(d + i), s);
    }
}
XVO_AVX2 void dist2Avx2(const int16_t* r, const int16_t* w, int from, int32_t* d) { dist2Vec<8>(r, w, from, d); }

#undef XVO_AVX2
#undef XVO_SSE41
#undef XVO_VINLINE

constexpr OwnLspKernels kScalar{dist1Scalar, chebGridScalar, dist2Scalar};
constexpr OwnLspKernels kSse41{dist1Sse41, chebGridSse41, dist2Sse41};
constexpr OwnLspKernels kAvx2{dist1Avx2, chebGridAvx2, dist2Avx2};

}  // namespace

const OwnLspKernels& ownLspKernelsFor(OwnCpuLevel level) {
    switch (level) {
        case OwnCpuLevel::AVX2: return kAvx2;
        case OwnCpuLevel::SSE41: return kSse41;
        default: return kScalar;  // SSE2 lacks the 32-bit multiply and unsigned minimum
    }
}

const OwnLspKernels& ownLspKernels() {
    static const OwnLspKernels& k = ownLspKernelsFor(ownCpuLevel());
    return k;
}

}  // namespace xvo::g729
