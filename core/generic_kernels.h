// Inner kernels of the generic correlation, convolution and scaling
// functions, with one prototype per kernel and one table of kernel pointers
// per CPU level (scalar, SSE2, AVX2). The exported functions in
// generic_corr.cpp and generic_scale.cpp check their arguments and then call
// the table of the running CPU, chosen once; tests and benchmarks ask for
// the table of each level and require identical results from all of them.
//
// Every correlation kernel returns exact 64-bit sums of 16x16-bit products;
// the callers apply the saturation, rounding and normalisation of each
// exported function, so a SIMD twin is correct exactly when it reproduces
// those sums.
#pragma once

#include <cstdint>

#include "cpu.h"

namespace xvo::generic {

/// Exact sum of squares of x[0..n-1] (n >= 0).
using OwnEnergyFn = int64_t (*)(const int16_t* x, int n);

/// Lagged dot products. For k = 0..nLags-1:
///   fixed form:     out[k] = sum_{i=0}^{n-1}   x[i] * y[i + k]   (reads y[0..n+nLags-2])
///   truncated form: out[k] = sum_{i=0}^{n-1-k} x[i] * y[i + k]   (reads y[0..n-1]; 0 for k >= n)
/// n >= 1, nLags >= 1.
using OwnXcorrFn = void (*)(const int16_t* x, const int16_t* y, int n, int nLags, int64_t* out);

/// Partial convolution outputs m = m0..m0+count-1:
///   out[m - m0] = sum_{i=0}^{m} a[i] * b[m - i]   (reads a and b up to index m0+count-1).
using OwnConvFn = void (*)(const int16_t* a, const int16_t* b, int m0, int count, int64_t* out);

/// Largest magnitude of x[0..n-1] with -32768 counted as 32767 (n >= 1).
using OwnMaxAbsFn = int (*)(const int16_t* x, int n);

/// dst[i] = src[i] shifted left by `left` (0..14) when left > 0, else shifted
/// right arithmetically by -left (any amount; 15 and more give 0 or -1).
/// The caller guarantees that a left shift does not overflow. src may equal dst.
using OwnShiftFn = void (*)(const int16_t* src, int16_t* dst, int n, int left);

/// Pitch sharpening for lag > 3: x[i] = sat16(x[i] + ((x[i-lag]*val) >> 15)),
/// i = 0..len-1 in order (reads lag samples before x).
using OwnHarmonicFn = void (*)(int16_t val, int lag, int16_t* x, int len);

struct OwnGenericKernels {
    OwnCpuLevel level;
    OwnEnergyFn energy;
    OwnXcorrFn xcorrFixed;
    OwnXcorrFn xcorrTrunc;
    OwnXcorrFn xcorrTrunc160;  ///< truncated form, n == 160 only
    OwnConvFn conv;
    OwnConvFn conv40;          ///< m0 == 0, count == 40 only
    OwnMaxAbsFn maxAbs;
    OwnShiftFn shift;
    OwnHarmonicFn harmonic;
};

/// Table of `level` (which the CPU must support).
const OwnGenericKernels& ownGenericKernels(OwnCpuLevel level);

/// Table of the best level of the running CPU, chosen on first use.
const OwnGenericKernels& ownGenericKernels();

/// Per-level tables (defined in generic_scalar.cpp, generic_sse2.cpp, generic_avx2.cpp).
extern const OwnGenericKernels kGenericScalar;
extern const OwnGenericKernels kGenericSse2;
extern const OwnGenericKernels kGenericAvx2;

/// True when every dot product of two blocks with these energies fits in
/// 32 bits (Cauchy-Schwarz: |sum x*y|^2 <= Ex*Ey), so that 32-bit wrapping
/// accumulation gives the exact sum.
inline bool ownFits32(int64_t ex, int64_t ey) {
    constexpr unsigned __int128 kMax = static_cast<unsigned __int128>(0x7fffffff) * 0x7fffffff;
    return static_cast<unsigned __int128>(ex) * static_cast<unsigned __int128>(ey) <= kMax;
}

/// An exact sum rounded by an _Sfs scale factor sf >= 0: (s + 2^(sf-1)) >> sf,
/// arithmetic (nothing is added for sf = 0). |s| < 2^62 for every sum here.
constexpr int64_t ownRoundSfs(int64_t s, int sf) {
    if (sf == 0) return s;
    if (sf > 62) return 0;
    return (s + (int64_t(1) << (sf - 1))) >> sf;
}

/// The exported functions ask for at most this many outputs per kernel call.
inline constexpr int kChunk = 64;

}  // namespace xvo::generic
