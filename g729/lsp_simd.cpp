// Vector twins of the hot loops of the G.729 line-spectral family: the
// LSF codebook distances of both stages (main body and SID) and the
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

void sidDist2Scalar(const int16_t* r, const int16_t* w, int16_t* e) {
    for (int m = 0; m < 16; ++m) {
        int32_t acc = 0;
        for (int j = 0; j < kM; ++j) {
            const int16_t d = fx::sub(r[j], kLspcb2[kPtrTab2[j < 5 ? 0 : 1][m]][j]);
            const int16_t t = fx::extract_h(fx::L_shl(fx::L_mult(w[j], d), 3));
            acc = fx::L_mac(acc, t, d);
        }
        e[m] = fx::extract_h(acc);
    }
}

void chebGridScalar(const int16_t* x, int n, const int16_t* f, int shift, bool q23, int16_t* y) {
    for (int i = 0; i < n; ++i) y[i] = ownChebps_16s(x[i], f, shift, q23);  // tested equal to the exact form
}

// ---- vector forms -----------------------------------------------------------------
//
// One body for every width, written with the compiler's vector types: N lanes
// of 32 bits (4 for SSE4.1, 8 for AVX2). Sums that may wrap are formed on
// the unsigned type.

#define XVO_VINLINE __attribute__((always_inline)) inline

template <int N>
struct Lanes {
    typedef int32_t S __attribute__((vector_size(4 * N)));
    typedef uint32_t U __attribute__((vector_size(4 * N)));
    typedef int16_t H __attribute__((vector_size(2 * N)));
};

/// Whether any lane of v has a bit at or above bit 30 set.
template <class U>
XVO_VINLINE bool anyAbove30(const U& v) {
    uint64_t w[sizeof(U) / 8];
    __builtin_memcpy(w, &v, sizeof w);
    uint64_t o = 0;
    for (uint64_t e : w) o |= e;
    return (o & 0xc0000000c0000000ull) != 0;
}

/// A group some lane of which left the fast range (bad): the recursion again
/// with every sum and product tested for leaving the 32-bit range, where the
/// reference would saturate. Lanes flagged there are run by the operator
/// form; the other bad lanes take this result, which is then exact.
template <int N, bool Q23>
XVO_VINLINE void chebGroupChecked(typename Lanes<N>::S xv, typename Lanes<N>::U bad,
                                  const typename Lanes<N>::U* fterm, const int16_t* x, const int16_t* f, int shift,
                                  int16_t* y) {
    using S = typename Lanes<N>::S;
    using U = typename Lanes<N>::U;
    auto addOvf = [](S a, S b, S& r) {  // by value: r may be a or b
        r = (S)((U)a + (U)b);
        return ((a ^ r) & (b ^ r)) < 0;
    };
    S b2 = S{} + ((Q23 ? 128 : 256) << 16);
    S b1 = (S)((U)(xv * (Q23 ? 512 : 1024)) + fterm[1]);
    S o = S{}, t = S{};
    for (int i = 2; i <= 5; ++i) {
        const S hx = (b1 >> 16) * xv;  // at most 2^30
        o |= hx == 0x40000000;          // L_mult(-32768, -32768)
        o |= addOvf((S)((U)hx * 2), (((b1 >> 1) & 0x7fff) * xv >> 15) * 2, t);
        if (i < 5) o |= addOvf(t, t, t);  // L_shl(t, 1)
        const S b2h = b2 >> 16;
        o |= b2h == -32768;  // L_mult(-32768, -32768)
        o |= addOvf(t, (S)((U)(S{} - b2h) << 16), t);
        o |= addOvf(t, S{} - ((b2 >> 1) & 0x7fff) * 2, t);
        o |= addOvf(t, (S)fterm[i], t);
        b2 = b1;
        b1 = t;
    }
    t >>= (Q23 ? 9 : 10);
    for (int l = 0; l < N; ++l) {
        if ((bad[l] >> 30) == 0) continue;  // the fast result stands
        y[l] = o[l] ? ownChebpsExact_16s(x[l], f, shift, Q23)
                    : static_cast<int16_t>(t[l] > 32767 ? 32767 : t[l] < -32768 ? -32768 : t[l]);
    }
}

/// G groups of N points from x (G independent recursions run interleaved: each
/// is one long dependency chain).
template <int N, int G, bool Q23>
XVO_VINLINE void chebGroups(const int16_t* x, const typename Lanes<N>::U* fterm, const int16_t* f, int shift,
                            int16_t* y) {
    using S = typename Lanes<N>::S;
    using U = typename Lanes<N>::U;
    using H = typename Lanes<N>::H;
    S xv[G], b2[G], b1[G];
    U bad[G];
    for (int g = 0; g < G; ++g) {
        H h;
        __builtin_memcpy(&h, x + N * g, sizeof h);
        xv[g] = __builtin_convertvector(h, S);
        b2[g] = S{} + ((Q23 ? 128 : 256) << 16);
        b1[g] = (S)((U)(xv[g] * (Q23 ? 512 : 1024)) + fterm[1]);
        bad[g] = U{};
    }
    auto mpyHalf = [](const S& b, const S& xx) {  // Mpy_32_16 of b's halves by x, halved, wrapping
        return (U)((b >> 16) * xx) + (U)((((b >> 1) & 0x7fff) * xx) >> 15);
    };
    for (int i = 2; i < 5; ++i)
        for (int g = 0; g < G; ++g) {
            const S b0 = (S)((mpyHalf(b1[g], xv[g]) << 2) - (U)(b2[g] & ~1) + fterm[i]);
            bad[g] |= (U)b0 + (1u << 29);
            b2[g] = b1[g];
            b1[g] = b0;
        }
    for (int g = 0; g < G; ++g) {
        S t = (S)((mpyHalf(b1[g], xv[g]) << 1) - (U)(b2[g] & ~1) + fterm[5]) >> (Q23 ? 9 : 10);
        t = t > 32767 ? S{} + 32767 : t;
        t = t < -32768 ? S{} - 32768 : t;
        const H h = __builtin_convertvector(t, H);
        __builtin_memcpy(y + N * g, &h, sizeof h);
        if (anyAbove30(bad[g])) chebGroupChecked<N, Q23>(xv[g], bad[g], fterm, x + N * g, f, shift, y + N * g);
    }
}

/// The evaluation of ownChebps_16s on plain 32-bit lanes: while every stored b
/// stays below 2^29 in magnitude no operator of the reference saturates, so
/// the wrapping sums are exact. A lane that leaves that range is recomputed by
/// the scalar form (which runs the operator form where one saturates).
template <int N, bool Q23>
XVO_VINLINE void chebGridBody(const int16_t* x, int n, const int16_t* f, int shift, int16_t* y) {
    using U = typename Lanes<N>::U;
    if (!ownChebpsFastOk(f, shift)) {
        chebGridScalar(x, n, f, shift, Q23, y);
        return;
    }
    const int32_t fmul = int32_t(2) << shift;
    U fterm[6];
    for (int i = 1; i < 5; ++i) fterm[i] = U{} + static_cast<uint32_t>(f[i] * fmul);
    fterm[5] = U{} + static_cast<uint32_t>(f[5] * (fmul >> 1));
    constexpr int G = 32 / N;
    int k = 0;
    for (; k + N * G <= n; k += N * G) chebGroups<N, G, Q23>(x + k, fterm, f, shift, y + k);
    for (; k < n; k += N) chebGroups<N, 1, Q23>(x + k, fterm, f, shift, y + k);
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

/// The SID second-stage codebook by column: v[j][m] = lspcb2[ptrTab2[j < 5 ? 0 : 1][m]][j].
struct SidCb2T {
    alignas(32) int16_t v[10][16];
};
const SidCb2T& sidCb2T() {
    static const SidCb2T t = [] {
        SidCb2T c{};
        for (int j = 0; j < kM; ++j)
            for (int m = 0; m < 16; ++m) c.v[j][m] = kLspcb2[kPtrTab2[j < 5 ? 0 : 1][m]][j];
        return c;
    }();
    return t;
}

/// t = extract_h(L_shl(L_mult(w, d), 3)) is sat16((w d) >> 12); t and d share
/// their sign, so every L_mac term is 2 t d in 0..2^31 (read unsigned, 2^31
/// where L_mult saturates) and the saturating sum is the unsigned sum capped
/// at 2^31 - 1 (sum of a capped value and one term stays below 2^32).
template <int N>
XVO_VINLINE void sidDist2Vec(const int16_t* r, const int16_t* w, int16_t* e) {
    using S = typename Lanes<N>::S;
    using U = typename Lanes<N>::U;
    using H = typename Lanes<N>::H;
    const SidCb2T& cb = sidCb2T();
    for (int m = 0; m < 16; m += N) {
        U acc{};
        for (int j = 0; j < kM; ++j) {
            H c;
            __builtin_memcpy(&c, &cb.v[j][m], sizeof c);
            S d = (S{} + r[j]) - __builtin_convertvector(c, S);
            d = d > 32767 ? S{} + 32767 : d;
            d = d < -32768 ? S{} - 32768 : d;
            S t = ((S{} + w[j]) * d) >> 12;
            t = t > 32767 ? S{} + 32767 : t;
            t = t < -32768 ? S{} - 32768 : t;
            acc += (U)(t * d) << 1;
            acc = acc < 0x7fffffffu ? acc : U{} + 0x7fffffffu;
        }
        const H h = __builtin_convertvector((S)(acc >> 16), H);
        __builtin_memcpy(e + m, &h, sizeof h);
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
XVO_SSE41 void sidDist2Sse41(const int16_t* r, const int16_t* w, int16_t* e) { sidDist2Vec<4>(r, w, e); }
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
XVO_AVX2 void sidDist2Avx2(const int16_t* r, const int16_t* w, int16_t* e) { sidDist2Vec<8>(r, w, e); }

#undef XVO_AVX2
#undef XVO_SSE41
#undef XVO_VINLINE

constexpr OwnLspKernels kScalar{dist1Scalar, chebGridScalar, dist2Scalar, sidDist2Scalar};
constexpr OwnLspKernels kSse41{dist1Sse41, chebGridSse41, dist2Sse41, sidDist2Sse41};
constexpr OwnLspKernels kAvx2{dist1Avx2, chebGridAvx2, dist2Avx2, sidDist2Avx2};

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
