// Pitch sharpening (fixed and float), float pre-emphasis and the LPC
// residual filter.
#include <cstdint>

#include "check.h"
#include "fixed.h"
#include "generic_kernels.h"

using namespace xvo;
using namespace xvo::fx;

extern "C" {

XVOSC_API XvoStatus xvosHarmonicFilter_16s_I(Xvo16s val, int lag, Xvo16s* pSrcDst, int len) {
    XVO_CHECK(ownCheckPtrs(pSrcDst));
    XVO_CHECK(ownCheckLens(len));
    if (lag <= 0) return xvoStsOk;
    // The product of two 16-bit values shifted by 15 may be 32768 (-32768 * -32768): the
    // addition is formed in 32 bits before it saturates or wraps.
    if (lag > 3) {
        generic::ownGenericKernels().harmonic(val, lag, pSrcDst, len);
    } else {
        for (int i = 0; i < len; ++i)
            pSrcDst[i] = wrap16(int32_t(pSrcDst[i]) + ((int32_t(pSrcDst[i - lag]) * val) >> 15));
    }
    return xvoStsOk;
}

XVOSC_API XvoStatus xvosHarmonicFilter_32f_I(Xvo32f val, int lag, Xvo32f* pSrcDst, int len) {
    XVO_CHECK(ownCheckPtrs(pSrcDst));
    XVO_CHECK(ownCheckLens(len));
    if (lag <= 0) return xvoStsOk;
    for (int i = 0; i < len; ++i) {
        const float p = val * pSrcDst[i - lag];  // rounded product, then the sum: no fused multiply-add
        pSrcDst[i] = pSrcDst[i] + p;
    }
    return xvoStsOk;
}

XVOSC_API XvoStatus xvosPreemphasize_32f_I(Xvo32f val, Xvo32f* pSrcDst, int len, Xvo32f* pMem) {
    XVO_CHECK(ownCheckPtrs(pSrcDst, pMem));
    XVO_CHECK(ownCheckLens(len));
    float prev = *pMem;
    for (int i = 0; i < len; ++i) {
        const float x = pSrcDst[i];
        const float p = val * prev;
        pSrcDst[i] = x - p;
        prev = x;
    }
    *pMem = prev;
    return xvoStsOk;
}

XVOSC_API XvoStatus xvosResidualFilter_Low_16s_Sfs(const Xvo16s* pSrcLpc, int order, const Xvo16s* pSrc,
                                                   Xvo16s* pDst, int len, int scaleFactor) {
    XVO_CHECK(ownCheckPtrs(pSrcLpc, pSrc, pDst));
    XVO_CHECK(ownCheckLens(order, len));
    XVO_RETURN_IF(scaleFactor < 0, xvoStsScaleRange);
    for (int n = 0; n < len; ++n) {
        int64_t s = 0;
        for (int j = 0; j <= order; ++j) s += int32_t(pSrcLpc[j]) * pSrc[n - j];
        pDst[n] = sat16(sat32(generic::ownRoundSfs(s, scaleFactor)));
    }
    return xvoStsOk;
}

}  // extern "C"
