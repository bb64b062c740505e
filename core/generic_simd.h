// Width-independent bodies of the SIMD twins of the generic kernels.
//
// Included by generic_sse2.cpp and generic_avx2.cpp only. Each includer
// defines XVO_SIMD_TARGET (its target attribute) and a vector traits struct V
// (see generic_sse2.cpp for the members), then instantiates these templates.
// Everything here has internal linkage, so the two instruction sets never
// share a compiled body.
//
// Exactness. pmaddwd forms x0*y0 + x1*y1 in one 32-bit lane; the true value
// lies in [-2147418112, 2^31], and only the corner (-32768)^2 + (-32768)^2
// wraps. Two accumulation modes give exact sums from it:
//  - narrow: 32-bit wrapping lanes. The sum is exact modulo 2^32, so it is
//    the exact sum whenever that fits in 32 bits, which Cauchy-Schwarz
//    guarantees when Ex*Ey <= (2^31-1)^2 (ownFits32). Callers check the
//    energies first; signals scaled as the codecs scale them take this path.
//  - wide: each lane plus the bias 2147418112 lies in [0, 2^32), so it is
//    zero-extended into 64-bit lanes and the bias is subtracted at the end.
#pragma once

#include <emmintrin.h>

#include <cstdint>

#include "generic_kernels.h"

#ifndef XVO_SIMD_TARGET
#error "define XVO_SIMD_TARGET before including generic_simd.h"
#endif

namespace xvo::generic {
namespace {  // NOLINT: one private copy per instruction set on purpose

constexpr int64_t kMaddBias = 2147418112;  // -(most negative pmaddwd lane)

// Horizontal reductions of one 128-bit vector, shared by both widths.
__attribute__((target("sse2"))) inline int32_t hsum32x4(__m128i v) {
    v = _mm_add_epi32(v, _mm_shuffle_epi32(v, 0x4E));
    v = _mm_add_epi32(v, _mm_shuffle_epi32(v, 0xB1));
    return _mm_cvtsi128_si32(v);
}
/// Lane j of the result is the (wrapping) sum of the four lanes of aj.
__attribute__((target("sse2"))) inline __m128i transposeSum4(__m128i a0, __m128i a1, __m128i a2, __m128i a3) {
    const __m128i t0 = _mm_unpacklo_epi32(a0, a1), t1 = _mm_unpackhi_epi32(a0, a1);
    const __m128i t2 = _mm_unpacklo_epi32(a2, a3), t3 = _mm_unpackhi_epi32(a2, a3);
    return _mm_add_epi32(_mm_add_epi32(_mm_unpacklo_epi64(t0, t2), _mm_unpackhi_epi64(t0, t2)),
                         _mm_add_epi32(_mm_unpacklo_epi64(t1, t3), _mm_unpackhi_epi64(t1, t3)));
}
__attribute__((target("sse2"))) inline int64_t hsum64x2(__m128i v) {
    return _mm_cvtsi128_si64(_mm_add_epi64(v, _mm_unpackhi_epi64(v, v)));
}
__attribute__((target("sse2"))) inline int hmax16x8(__m128i v) {
    v = _mm_max_epi16(v, _mm_shuffle_epi32(v, 0x4E));
    v = _mm_max_epi16(v, _mm_shuffle_epi32(v, 0xB1));
    v = _mm_max_epi16(v, _mm_shufflelo_epi16(v, 0xB1));
    return static_cast<int16_t>(_mm_cvtsi128_si32(v));
}
__attribute__((target("sse2"))) inline int hmin16x8(__m128i v) {
    v = _mm_min_epi16(v, _mm_shuffle_epi32(v, 0x4E));
    v = _mm_min_epi16(v, _mm_shuffle_epi32(v, 0xB1));
    v = _mm_min_epi16(v, _mm_shufflelo_epi16(v, 0xB1));
    return static_cast<int16_t>(_mm_cvtsi128_si32(v));
}

/// Plain exact dot product of x[0..n-1] and y[0..n-1] (for short remainders).
inline int64_t dotTail(const int16_t* x, const int16_t* y, int n) {
    int64_t s = 0;
    for (int i = 0; i < n; ++i) s += int32_t(x[i]) * y[i];
    return s;
}

/// Accumulates one pmaddwd result into `acc` (narrow or wide mode).
template <class V, bool kWide>
XVO_SIMD_TARGET inline typename V::I accum(typename V::I acc, typename V::I p) {
    if constexpr (kWide) return V::addWide64(acc, V::add32(p, V::set32(static_cast<int32_t>(kMaddBias))));
    else return V::add32(acc, p);
}

/// Exact sum held by `acc` after `nVec` accumulations.
template <class V, bool kWide>
XVO_SIMD_TARGET inline int64_t finish(typename V::I acc, int64_t nVec) {
    if constexpr (kWide) return V::hsum64(acc) - nVec * (V::W / 2) * kMaddBias;
    else return V::hsum32(acc);
}

/// The sums of L accumulators; four narrow ones are reduced together.
template <class V, bool kWide, int L>
XVO_SIMD_TARGET inline void finishAll(const typename V::I* acc, int64_t nVec, int64_t* out) {
    if constexpr (!kWide && L == 4) {
        const __m128i s = transposeSum4(V::fold(acc[0]), V::fold(acc[1]), V::fold(acc[2]), V::fold(acc[3]));
        alignas(16) int32_t v[4];
        _mm_store_si128(reinterpret_cast<__m128i*>(v), s);
        for (int j = 0; j < 4; ++j) out[j] = v[j];
    } else {
        for (int j = 0; j < L; ++j) out[j] = finish<V, kWide>(acc[j], nVec);
    }
}

template <class V>
XVO_SIMD_TARGET int64_t energyV(const int16_t* x, int n) {
    if (n < V::W) return dotTail(x, x, n);
    typename V::I acc = V::zero();
    int i = 0;
    for (; i + V::W <= n; i += V::W) {
        const typename V::I v = V::loadu(x + i);
        acc = V::addWide64(acc, V::madd(v, v));  // x0^2 + x1^2 <= 2^31: exact as unsigned
    }
    if (i < n) {  // the last block again, its counted lanes masked
        const typename V::I v = V::andv(V::loadu(x + n - V::W), V::tailMask(n - i));
        acc = V::addWide64(acc, V::madd(v, v));
    }
    return V::hsum64(acc);
}

/// out[j] = sum_{i=0}^{n-1} x[i]*y[i+j], j = 0..L-1, for n >= W. The last
/// partial block is re-read from n-W with the already counted lanes masked.
template <class V, bool kWide, int L>
XVO_SIMD_TARGET inline void dots(const int16_t* x, const int16_t* y, int n, int64_t* out) {
    typename V::I acc[L];
    for (int j = 0; j < L; ++j) acc[j] = V::zero();
    int i = 0;
    int64_t nVec = 0;
    for (; i + V::W <= n; i += V::W, ++nVec) {
        const typename V::I xv = V::loadu(x + i);
        for (int j = 0; j < L; ++j) acc[j] = accum<V, kWide>(acc[j], V::madd(xv, V::loadu(y + i + j)));
    }
    if (i < n) {
        const typename V::I xv = V::andv(V::loadu(x + n - V::W), V::tailMask(n - i));
        for (int j = 0; j < L; ++j) acc[j] = accum<V, kWide>(acc[j], V::madd(xv, V::loadu(y + n - V::W + j)));
        ++nVec;
    }
    finishAll<V, kWide, L>(acc, nVec, out);
}

template <class V, bool kWide>
XVO_SIMD_TARGET void xcorrFixedRun(const int16_t* x, const int16_t* y, int n, int nLags, int64_t* out) {
    int k = 0;
    for (; k + 4 <= nLags; k += 4) dots<V, kWide, 4>(x, y + k, n, out + k);
    for (; k < nLags; ++k) dots<V, kWide, 1>(x, y + k, n, out + k);
}

template <class V>
XVO_SIMD_TARGET void xcorrFixedV(const int16_t* x, const int16_t* y, int n, int nLags, int64_t* out) {
    if (n < V::W) return kGenericScalar.xcorrFixed(x, y, n, nLags, out);
    if (ownFits32(energyV<V>(x, n), energyV<V>(y, n + nLags - 1))) xcorrFixedRun<V, false>(x, y, n, nLags, out);
    else xcorrFixedRun<V, true>(x, y, n, nLags, out);
}

/// Truncated form of a long block (n > kPadMax) in groups of 4 lags: the
/// vector part covers the length the group has in common, then the last
/// 1..3 products of its shorter lags.
template <class V, bool kWide>
XVO_SIMD_TARGET void xcorrTruncRun(const int16_t* x, const int16_t* y, int n, int nLags, int64_t* out) {
    int k = 0;
    for (; k + 4 <= nLags && n - k - 3 >= V::W; k += 4) {
        const int c = n - k - 3;
        dots<V, kWide, 4>(x, y + k, c, out + k);
        for (int j = 0; j < 3; ++j) out[k + j] += dotTail(x + c, y + c + k + j, 3 - j);
    }
    for (; k < nLags && n - k >= V::W; ++k) dots<V, kWide, 1>(x, y + k, n - k, out + k);
    for (; k < nLags; ++k) out[k] = k < n ? dotTail(x, y + k, n - k) : 0;
}

/// Longest block that the truncated form copies between zeros.
constexpr int kPadMax = 512;

/// dst[0..n-1] = src[0..n-1] followed by 2W zeros.
template <class V>
XVO_SIMD_TARGET inline void padCopy(const int16_t* src, int n, int16_t* dst) {
    if (n < V::W) {
        for (int i = 0; i < n; ++i) dst[i] = src[i];
    } else {
        for (int i = 0; i + V::W <= n; i += V::W) V::storeu(dst + i, V::loadu(src + i));
        V::storeu(dst + n - V::W, V::loadu(src + n - V::W));
    }
    V::storeu(dst + n, V::zero());
    V::storeu(dst + n + V::W, V::zero());
}

/// Truncated form of a block copied in front of zeros (xp, yp): lag k runs
/// over the whole vectors that cover its n - k products, the products past
/// the end meeting zeros, so there is no remainder and no scalar tail.
template <class V, bool kWide, int N>
XVO_SIMD_TARGET inline void truncPaddedRun(const int16_t* xp, const int16_t* yp, int nArg, int nLags, int64_t* out) {
    const int n = N ? N : nArg;
    const int valid = nLags < n ? nLags : n;
    auto cover = [](int m) { return (m + V::W - 1) / V::W * V::W; };
    int k = 0;
    for (; k + 4 <= valid; k += 4) dots<V, kWide, 4>(xp, yp + k, cover(n - k), out + k);
    for (; k < valid; ++k) dots<V, kWide, 1>(xp, yp + k, cover(n - k), out + k);
    for (; k < nLags; ++k) out[k] = 0;
}

/// Truncated form of a short padded block with W lags per step: lane l of a
/// vector holds lag K + l, so no horizontal sum is needed. Each step takes
/// the sample pair x[i], x[i+1] (broadcast) against the pairs yp[K+i+l],
/// yp[K+i+l+1]. Narrow sums only (the lanes of one lag are never combined).
template <class V>
XVO_SIMD_TARGET inline void truncOuterRun(const int16_t* xp, const int16_t* yp, int n, int nLags, int64_t* out) {
    const int valid = nLags < n ? nLags : n;
    for (int k0 = 0; k0 < valid; k0 += V::W) {
        typename V::I lo = V::zero(), hi = V::zero();
        for (int i = 0; i < n - k0; i += 2) {  // pairs past n meet zeros
            const typename V::I xx = V::pairOf(xp + i);
            const typename V::I a = V::loadu(yp + k0 + i), b = V::loadu(yp + k0 + i + 1);
            lo = V::add32(lo, V::madd(V::unpackLo16(a, b), xx));
            hi = V::add32(hi, V::madd(V::unpackHi16(a, b), xx));
        }
        alignas(32) int32_t lag[V::W];
        V::storeLags(lo, hi, lag);
        if (k0 + V::W <= valid) {
            for (int l = 0; l < V::W; ++l) out[k0 + l] = lag[l];
        } else {
            for (int l = 0; k0 + l < valid; ++l) out[k0 + l] = lag[l];
        }
    }
    for (int k = valid; k < nLags; ++k) out[k] = 0;
}

/// Truncated form for n <= kPadMax; N = 160 is the dedicated frame length.
template <class V, int N>
XVO_SIMD_TARGET void xcorrTruncPadded(const int16_t* x, const int16_t* y, int nArg, int nLags, int64_t* out) {
    const int n = N ? N : nArg;
    // Reads reach xp[n + W - 1] and yp[n + W + 1].
    alignas(32) int16_t xbuf[kPadMax + 2 * V::W];
    alignas(32) int16_t ybuf[kPadMax + 2 * V::W];
    padCopy<V>(x, n, xbuf);
    const int16_t* yp = xbuf;
    if (y != x) {
        padCopy<V>(y, n, ybuf);
        yp = ybuf;
    }
    const int64_t ex = energyV<V>(x, n);
    const int64_t ey = x == y ? ex : energyV<V>(y, n);
    // Short blocks with many lags spend most of their time in horizontal sums: then one lag per lane.
    const bool outer = N == 0 && n < 6 * V::W && nLags >= V::W;
    if (ownFits32(ex, ey) && outer) truncOuterRun<V>(xbuf, yp, n, nLags, out);
    else if (ownFits32(ex, ey)) truncPaddedRun<V, false, N>(xbuf, yp, n, nLags, out);
    else truncPaddedRun<V, true, N>(xbuf, yp, n, nLags, out);
}

template <class V>
XVO_SIMD_TARGET void xcorrTruncV(const int16_t* x, const int16_t* y, int n, int nLags, int64_t* out) {
    if (n <= kPadMax) return xcorrTruncPadded<V, 0>(x, y, n, nLags, out);
    const int64_t ex = energyV<V>(x, n);
    const int64_t ey = x == y ? ex : energyV<V>(y, n);
    if (ownFits32(ex, ey)) xcorrTruncRun<V, false>(x, y, n, nLags, out);
    else xcorrTruncRun<V, true>(x, y, n, nLags, out);
}

/// out[j] = sum_{i=0}^{m} a[i]*b[m+j-i], j = 0..L-1, for m+1 >= W. Each block
/// of a is reversed once and meets plain loads of b.
template <class V, bool kWide, int L>
XVO_SIMD_TARGET inline void convDots(const int16_t* a, const int16_t* b, int m, int64_t* out) {
    typename V::I acc[L];
    for (int j = 0; j < L; ++j) acc[j] = V::zero();
    const int c = m + 1;
    int i = 0;
    int64_t nVec = 0;
    for (; i + V::W <= c; i += V::W, ++nVec) {
        const typename V::I ar = V::rev(V::loadu(a + i));
        for (int j = 0; j < L; ++j) acc[j] = accum<V, kWide>(acc[j], V::madd(ar, V::loadu(b + m + j - i - V::W + 1)));
    }
    if (i < c) {
        const typename V::I ar = V::rev(V::andv(V::loadu(a + c - V::W), V::tailMask(c - i)));
        for (int j = 0; j < L; ++j) acc[j] = accum<V, kWide>(acc[j], V::madd(ar, V::loadu(b + j)));
        ++nVec;
    }
    finishAll<V, kWide, L>(acc, nVec, out);
}

inline int64_t convTail(const int16_t* a, const int16_t* b, int m, int from) {
    int64_t s = 0;
    for (int i = from; i <= m; ++i) s += int32_t(a[i]) * b[m - i];
    return s;
}

template <class V, bool kWide>
XVO_SIMD_TARGET void convRun(const int16_t* a, const int16_t* b, int m0, int count, int64_t* out) {
    const int end = m0 + count;
    int m = m0;
    for (; m < end && m + 1 < V::W; ++m) out[m - m0] = convTail(a, b, m, 0);
    for (; m + 4 <= end; m += 4) {
        convDots<V, kWide, 4>(a, b, m, out + (m - m0));
        for (int j = 1; j < 4; ++j) out[m - m0 + j] += convTail(a, b, m + j, m + 1);
    }
    for (; m < end; ++m) convDots<V, kWide, 1>(a, b, m, out + (m - m0));
}

template <class V>
XVO_SIMD_TARGET void convV(const int16_t* a, const int16_t* b, int m0, int count, int64_t* out) {
    const int n = m0 + count;
    if (ownFits32(energyV<V>(a, n), energyV<V>(b, n))) convRun<V, false>(a, b, m0, count, out);
    else convRun<V, true>(a, b, m0, count, out);
}

/// Partial convolution of 40 samples: both inputs are copied between zeros
/// so that each group of 4 outputs runs over whole blocks with no remainder
/// (terms outside 0..39 meet a zero).
template <class V, bool kWide>
XVO_SIMD_TARGET inline void conv40Run(const int16_t* ap, const int16_t* bp, int64_t* out) {
    constexpr int W = V::W;
    for (int m = 0; m < 40; m += 4) {
        const int top = m + 3;
        const int blocks = (top + W) / W;
        typename V::I acc[4];
        for (int j = 0; j < 4; ++j) acc[j] = V::zero();
        for (int q = 0; q < blocks; ++q) {
            const int i = top + 1 - (blocks - q) * W;  // first a index of the block, >= 1 - W
            const typename V::I ar = V::rev(V::loadu(ap + i));
            for (int j = 0; j < 4; ++j) acc[j] = accum<V, kWide>(acc[j], V::madd(ar, V::loadu(bp + m + j - i - W + 1)));
        }
        finishAll<V, kWide, 4>(acc, blocks, out + m);
    }
}

template <class V>
XVO_SIMD_TARGET void conv40V(const int16_t* a, const int16_t* b, int, int, int64_t* out) {
    constexpr int W = V::W;
    // a[i] at ap[W + i] (i >= 1 - W reads zeros); b[t] at bp[4 + t] (t >= -3 and t < 40 + W - 1).
    alignas(32) int16_t abuf[W + 40];
    alignas(32) int16_t bbuf[4 + 40 + W];
    for (int i = 0; i < W; ++i) abuf[i] = 0;
    for (int i = 0; i < 4; ++i) bbuf[i] = 0;
    for (int i = 0; i < 40; ++i) abuf[W + i] = a[i], bbuf[4 + i] = b[i];
    for (int i = 0; i < W; ++i) bbuf[44 + i] = 0;
    if (ownFits32(energyV<V>(a, 40), energyV<V>(b, 40))) conv40Run<V, false>(abuf + W, bbuf + 4, out);
    else conv40Run<V, true>(abuf + W, bbuf + 4, out);
}

template <class V>
XVO_SIMD_TARGET int maxAbsV(const int16_t* x, int n) {
    if (n < V::W) return kGenericScalar.maxAbs(x, n);
    typename V::I mx = V::loadu(x), mn = mx;
    int i = V::W;
    for (; i + V::W <= n; i += V::W) {
        const typename V::I v = V::loadu(x + i);
        mx = V::max16(mx, v);
        mn = V::min16(mn, v);
    }
    if (i < n) {  // overlapping re-read: maximum and minimum do not mind
        const typename V::I v = V::loadu(x + n - V::W);
        mx = V::max16(mx, v);
        mn = V::min16(mn, v);
    }
    const int hi = V::hmax16(mx), lo = V::hmin16(mn);
    const int negMag = lo == -32768 ? 32767 : -lo;
    return hi > negMag ? hi : (negMag > 0 ? negMag : 0);
}

template <class V>
XVO_SIMD_TARGET void shiftV(const int16_t* src, int16_t* dst, int n, int left) {
    int i = 0;
    if (left > 0) {
        for (; i + V::W <= n; i += V::W) V::storeu(dst + i, V::sll16(V::loadu(src + i), left));
    } else {
        const int r = -left > 15 ? 15 : -left;
        for (; i + V::W <= n; i += V::W) V::storeu(dst + i, V::sra16(V::loadu(src + i), r));
    }
    if (i < n) kGenericScalar.shift(src + i, dst + i, n - i, left);
}

/// x[i] + ((p*val) >> 15) for 8 (or the low 4) lanes, formed in 32 bits and packed with saturation.
__attribute__((target("sse2"))) inline __m128i sharpen(__m128i cur, __m128i past, __m128i val) {
    const __m128i lo = _mm_mullo_epi16(past, val), hi = _mm_mulhi_epi16(past, val);
    const __m128i p0 = _mm_srai_epi32(_mm_unpacklo_epi16(lo, hi), 15), p1 = _mm_srai_epi32(_mm_unpackhi_epi16(lo, hi), 15);
    const __m128i c0 = _mm_srai_epi32(_mm_unpacklo_epi16(cur, cur), 16), c1 = _mm_srai_epi32(_mm_unpackhi_epi16(cur, cur), 16);
    return _mm_packs_epi32(_mm_add_epi32(c0, p0), _mm_add_epi32(c1, p1));
}

/// Pitch sharpening for lag > 3: 8 outputs per step for lags of 8 and more,
/// 4 for lags 4..7, so a step never reads inside itself.
template <class V>
XVO_SIMD_TARGET void harmonicV(int16_t val, int lag, int16_t* x, int len) {
    const __m128i v = _mm_set1_epi16(val);
    int i = 0;
    if (lag >= 8) {
        for (; i + 8 <= len; i += 8) {
            const __m128i past = _mm_loadu_si128(reinterpret_cast<const __m128i*>(x + i - lag));
            const __m128i cur = _mm_loadu_si128(reinterpret_cast<const __m128i*>(x + i));
            _mm_storeu_si128(reinterpret_cast<__m128i*>(x + i), sharpen(cur, past, v));
        }
    } else {
        for (; i + 4 <= len; i += 4) {
            const __m128i past = _mm_loadl_epi64(reinterpret_cast<const __m128i*>(x + i - lag));
            const __m128i cur = _mm_loadl_epi64(reinterpret_cast<const __m128i*>(x + i));
            _mm_storel_epi64(reinterpret_cast<__m128i*>(x + i), sharpen(cur, past, v));
        }
    }
    if (i < len) kGenericScalar.harmonic(val, lag, x + i, len - i);
}

template <class V>
constexpr OwnGenericKernels makeTable(OwnCpuLevel level) {
    return {level,         &energyV<V>, &xcorrFixedV<V>, &xcorrTruncV<V>, &xcorrTruncPadded<V, 160>,
            &convV<V>,     &conv40V<V>, &maxAbsV<V>,     &shiftV<V>,       &harmonicV<V>};
}

}  // namespace
}  // namespace xvo::generic
