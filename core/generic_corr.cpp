// Autocorrelation, cross-correlation, partial convolution and the
// lag-maximum searches. The exact sums come from the kernel table of the
// running CPU (generic_kernels.h), at most kChunk outputs per call; this
// file applies each function's saturation, rounding or normalisation.
#include <algorithm>
#include <cstdint>
#include <limits>

#include "check.h"
#include "fixed.h"
#include "generic_kernels.h"
#include "helpers.h"

using namespace xvo;
using namespace xvo::fx;
using xvo::generic::kChunk;
using xvo::generic::ownGenericKernels;
using xvo::generic::ownRoundSfs;

namespace {

/// r[k] = sum_{i=0}^{len-1-k} x[i]*y[i+k] for k = k0..k0+count-1 (count <= kChunk), 0 for k >= len.
/// Truncated lags of one signal (x == y, autocorrelation) or of two (backward-filtered target).
void truncLags(const int16_t* x, const int16_t* y, int len, int k0, int count, int64_t* r) {
    const auto& kt = ownGenericKernels();
    const int valid = k0 >= len ? 0 : (len - k0 < count ? len - k0 : count);
    if (valid > 0) {
        if (k0 == 0 && len == 160) kt.xcorrTrunc160(x, y, len, valid, r);
        else kt.xcorrTrunc(x, y + k0, len - k0, valid, r);
    }
    for (int k = valid; k < count; ++k) r[k] = 0;
}

/// Runs `emit(k, value)` for k = 0..n-1 over chunks of exact sums made by `fill(k0, count, buf)`.
template <class Fill, class Emit>
void chunked(int n, Fill fill, Emit emit) {
    int64_t buf[kChunk];
    for (int k0 = 0; k0 < n; k0 += kChunk) {
        const int count = n - k0 < kChunk ? n - k0 : kChunk;
        fill(k0, count, buf);
        for (int j = 0; j < count; ++j) emit(k0 + j, buf[j]);
    }
}

/// Lag-maximum search over lags hi..lo (downwards), ">=": ties go to the smaller lag.
/// `fill(bottom, count, buf)` gives the exact sums of lags bottom..bottom+count-1.
template <class Fill>
void lagMaxSearch(int64_t lo, int64_t hi, Fill fill, int32_t* pMax, int* pLag) {
    int64_t buf[kChunk];
    int32_t best = *pMax;
    int lag = *pLag;
    for (int64_t top = hi; top >= lo; top -= kChunk) {
        const int64_t bottom = top - lo + 1 > kChunk ? top - kChunk + 1 : lo;
        const int count = static_cast<int>(top - bottom + 1);
        fill(bottom, count, buf);
        for (int j = count - 1; j >= 0; --j) {
            const int32_t v = sat32(buf[j]);
            if (v >= best) {
                best = v;
                lag = static_cast<int>(bottom + j);
            }
        }
    }
    *pMax = best;
    *pLag = lag;
}

/// Autocorrelation lag maximum: forward lags sum x[i]*x[i+k], or backward
/// lags sum x[i]*x[i-k] (the signal's past precedes x).
XvoStatus autoCorrLagMax(const int16_t* pSrc, int len, int lowerLag, int upperLag, int32_t* pMax, int* pLag,
                         bool backward) {
    XVO_CHECK(ownCheckPtrs(pSrc, pMax, pLag));
    XVO_CHECK(ownCheckLens(len));
    *pMax = MIN_32;
    *pLag = upperLag;
    lagMaxSearch(
        lowerLag, upperLag,
        [&](int64_t bottom, int count, int64_t* r) {
            if (!backward) return ownGenericKernels().xcorrFixed(pSrc, pSrc + bottom, len, count, r);
            // Lag bottom+j reads x[i-bottom-j]: the fixed form from x - top, in reverse order.
            const int64_t top = bottom + count - 1;
            int64_t tmp[kChunk];
            ownGenericKernels().xcorrFixed(pSrc, pSrc - top, len, count, tmp);
            for (int j = 0; j < count; ++j) r[j] = tmp[count - 1 - j];
        },
        pMax, pLag);
    return xvoStsOk;
}

}  // namespace

extern "C" {

XVOSC_API XvoStatus xvosAutoCorr_NormE_16s32s(const Xvo16s* pSrc, int len, Xvo32s* pDst, int lenDst, int* pNorm) {
    XVO_CHECK(ownCheckPtrs(pSrc, pDst, pNorm));
    XVO_CHECK(ownCheckLens(len, lenDst));
    const int64_t e = ownGenericKernels().energy(pSrc, len);
    XVO_RETURN_IF(e > 0x3fffffff, xvoStsOverflow);
    const int32_t r0 = static_cast<int32_t>(2 * e + 1);
    const int n = ownNorm_32s(r0);
    *pNorm = n;
    // |r[k]| <= e, so 2*r[k] << n stays within r0 << n <= 0x7fffffff.
    chunked(lenDst, [&](int k0, int count, int64_t* r) { truncLags(pSrc, pSrc, len, k0, count, r); },
            [&](int k, int64_t v) { pDst[k] = static_cast<int32_t>(k == 0 ? int64_t(r0) << n : v << (n + 1)); });
    return xvoStsOk;
}

XVOSC_API XvoStatus xvosAutoCorr_16s32s(const Xvo16s* pSrc, int len, Xvo32s* pDst, int lenDst) {
    XVO_CHECK(ownCheckPtrs(pSrc, pDst));
    XVO_CHECK(ownCheckLens(len, lenDst));
    chunked(lenDst, [&](int k0, int count, int64_t* r) { truncLags(pSrc, pSrc, len, k0, count, r); },
            [&](int k, int64_t v) { pDst[k] = sat32(v); });
    return xvoStsOk;
}

XVOSC_API XvoStatus xvosConvPartial_16s32s(const Xvo16s* pSrc1, const Xvo16s* pSrc2, Xvo32s* pDst, int len) {
    XVO_CHECK(ownCheckPtrs(pSrc1, pSrc2, pDst));
    XVO_CHECK(ownCheckLens(len));
    chunked(len, [&](int m0, int count, int64_t* r) { ownGenericKernels().conv(pSrc1, pSrc2, m0, count, r); },
            [&](int m, int64_t v) { pDst[m] = sat32(v); });
    return xvoStsOk;
}

XVOSC_API XvoStatus xvosConvPartial_16s_Sfs(const Xvo16s* pSrc1, const Xvo16s* pSrc2, Xvo16s* pDst, int len,
                                            int scaleFactor) {
    XVO_CHECK(ownCheckPtrs(pSrc1, pSrc2, pDst));
    XVO_RETURN_IF(scaleFactor < 0, xvoStsBadArg);  // before the length, on purpose
    XVO_CHECK(ownCheckLens(len));
    const auto& kt = ownGenericKernels();
    const bool subframe = len == 40 && scaleFactor == 12;
    chunked(len,
            [&](int m0, int count, int64_t* r) {
                if (subframe) kt.conv40(pSrc1, pSrc2, 0, 40, r);
                else kt.conv(pSrc1, pSrc2, m0, count, r);
            },
            [&](int m, int64_t v) { pDst[m] = sat16(sat32(ownRoundSfs(v, scaleFactor))); });
    return xvoStsOk;
}

XVOSC_API XvoStatus xvosCrossCorr_16s32s_Sfs(const Xvo16s* pSrc1, const Xvo16s* pSrc2, int len, Xvo32s* pDst,
                                             int scaleFactor) {
    XVO_CHECK(ownCheckPtrs(pSrc1, pSrc2, pDst));
    XVO_CHECK(ownCheckLens(len));
    XVO_RETURN_IF(scaleFactor < 0, xvoStsScaleRange);
    chunked(len, [&](int k0, int count, int64_t* r) { truncLags(pSrc1, pSrc2, len, k0, count, r); },
            [&](int k, int64_t v) { pDst[k] = sat32(ownRoundSfs(v, scaleFactor)); });
    return xvoStsOk;
}

XVOSC_API XvoStatus xvosCrossCorr_NormM_16s(const Xvo16s* pSrc1, const Xvo16s* pSrc2, int len, Xvo16s* pDst) {
    XVO_CHECK(ownCheckPtrs(pSrc1, pSrc2, pDst));
    XVO_CHECK(ownCheckLens(len));
    // Pass 1: the largest magnitude of the doubled, saturated sums (the L_mac scale). A block of
    // up to kChunk keeps its sums for pass 2; a longer one has them computed again.
    int64_t r[kChunk];
    int32_t m = 0;
    for (int k0 = 0; k0 < len; k0 += kChunk) {
        const int count = std::min(len - k0, kChunk);
        truncLags(pSrc1, pSrc2, len, k0, count, r);
        for (int j = 0; j < count; ++j) m = std::max(m, L_abs(sat32(2 * r[j])));
    }
    const int shift = 18 - std::min(norm_l(m), int16_t(16));
    // Pass 2: every value fits in 16 bits after the shift.
    for (int k0 = 0; k0 < len; k0 += kChunk) {
        const int count = std::min(len - k0, kChunk);
        if (len > kChunk) truncLags(pSrc1, pSrc2, len, k0, count, r);
        for (int j = 0; j < count; ++j) pDst[k0 + j] = extract_l(L_shr(sat32(2 * r[j]), shift));
    }
    return xvoStsOk;
}

XVOSC_API XvoStatus xvosCrossCorrLagMax_16s(const Xvo16s* pSrc1, const Xvo16s* pSrc2, int len, int lagMax,
                                            Xvo32s* pMax, int* pLag) {
    XVO_CHECK(ownCheckPtrs(pSrc1, pSrc2));
    XVO_CHECK(ownCheckPtrs(pMax, pLag));
    XVO_CHECK(ownCheckLens(len));
    XVO_RETURN_IF(lagMax < 0, xvoStsRange);
    *pMax = 0;
    *pLag = lagMax;
    lagMaxSearch(
        0, lagMax,
        [&](int64_t bottom, int count, int64_t* r) {
            ownGenericKernels().xcorrFixed(pSrc1, pSrc2 + bottom, len, count, r);
        },
        pMax, pLag);
    return xvoStsOk;
}

XVOSC_API XvoStatus xvosAutoCorrLagMax_Fwd_16s(const Xvo16s* pSrc, int len, int lowerLag, int upperLag,
                                               Xvo32s* pMax, int* pLag) {
    return autoCorrLagMax(pSrc, len, lowerLag, upperLag, pMax, pLag, false);
}

XVOSC_API XvoStatus xvosAutoCorrLagMax_Inv_16s(const Xvo16s* pSrc, int len, int lowerLag, int upperLag,
                                               Xvo32s* pMax, int* pLag) {
    return autoCorrLagMax(pSrc, len, lowerLag, upperLag, pMax, pLag, true);
}

XVOSC_API XvoStatus xvosCrossCorrLagMax_32f64f(const Xvo32f* pSrc1, const Xvo32f* pSrc2, int len, int lagMax,
                                               Xvo64f* pMax, int* pLag) {
    XVO_CHECK(ownCheckPtrs(pSrc1, pSrc2));
    XVO_CHECK(ownCheckPtrs(pMax, pLag));
    XVO_CHECK(ownCheckLens(len));
    XVO_RETURN_IF(lagMax < 0, xvoStsRange);
    double best = 0.0;
    int lag = lagMax;
    for (int k = lagMax; k >= 0; --k) {
        double s = 0.0;
        for (int i = 0; i < len; ++i) s += double(pSrc1[i]) * double(pSrc2[i + k]);
        if (s >= best) {
            best = s;
            lag = k;
        }
    }
    *pMax = best;
    *pLag = lag;
    return xvoStsOk;
}

XVOSC_API XvoStatus xvosAutoCorrLagMax_32f(const Xvo32f* pSrc, int len, int lowerLag, int upperLag, Xvo32f* pMax,
                                           int* pLag) {
    XVO_CHECK(ownCheckPtrs(pSrc, pMax, pLag));
    XVO_CHECK(ownCheckLens(len));
    double best = -std::numeric_limits<double>::infinity();
    int lag = upperLag;
    for (int64_t k = upperLag; k >= lowerLag; --k) {
        double s = 0.0;
        for (int i = 0; i < len; ++i) s += double(pSrc[i]) * double(pSrc[i - k]);
        if (s >= best) {
            best = s;
            lag = static_cast<int>(k);
        }
    }
    *pMax = static_cast<float>(best);
    *pLag = lag;
    return xvoStsOk;
}

}  // extern "C"
