// Block auto-scaling, element-wise inverse square root and the auto-scaled
// dot product.
#include <cstdint>

#include "check.h"
#include "fixed.h"
#include "generic_kernels.h"
#include "helpers.h"
#include "helpers_tables.h"

using namespace xvo;
using namespace xvo::fx;
using xvo::generic::ownGenericKernels;

namespace {

// Shared body of the two auto-scaling entry points (arguments checked).
void autoScale(const int16_t* src, int16_t* dst, int len, int* pScale) {
    const auto& k = ownGenericKernels();
    const int s = *pScale;
    const int m = k.maxAbs(src, len);
    if (m == 0) {
        for (int i = 0; i < len; ++i) dst[i] = 0;
        *pScale = 16 - s;
        return;
    }
    const int n = norm_s(static_cast<int16_t>(m));  // 0..14
    // n - s is a left shift of at most n: the block's largest magnitude stays below 0x8000.
    k.shift(src, dst, len, n - s);
    *pScale = n - s;
}

// 2^30 / sqrt(x) of one element, G.729/AMR-WB inverse square root table.
int32_t invSqrt(int32_t x) {
    if (x <= 0) return 0x3fffffff;
    const int n = ownNorm_32s(x);
    int32_t y = x << n;  // normalised: no bit is lost
    const int e = 32 - n;
    if ((e & 1) == 0) y >>= 1;
    const int i = (y >> 25) - 16;  // table row 0..47
    const int32_t a = (y >> 10) & 0x7fff;
    const int32_t s0 = kInvSqrtTable[i], s1 = kInvSqrtTable[i + 1];
    // A - a*B with A = s0 << 16 and B = 2*(s0 - s1): positive, below 2^31.
    const int32_t r = s0 * 65536 - a * (2 * (s0 - s1));
    return r >> (e / 2);
}

}  // namespace

extern "C" {

XVOSC_API XvoStatus xvosAutoScale_16s(const Xvo16s* pSrc, Xvo16s* pDst, int len, int* pScale) {
    XVO_CHECK(ownCheckPtrs(pSrc, pDst, pScale));
    XVO_CHECK(ownCheckLens(len));
    XVO_RETURN_IF(*pScale < 0, xvoStsScaleRange);
    autoScale(pSrc, pDst, len, pScale);
    return xvoStsOk;
}

XVOSC_API XvoStatus xvosAutoScale_16s_I(Xvo16s* pSrcDst, int len, int* pScale) {
    XVO_CHECK(ownCheckPtrs(pSrcDst, pScale));
    XVO_CHECK(ownCheckLens(len));
    XVO_RETURN_IF(*pScale < 0, xvoStsScaleRange);
    autoScale(pSrcDst, pSrcDst, len, pScale);
    return xvoStsOk;
}

XVOSC_API XvoStatus xvosInvSqrt_32s_I(Xvo32s* pSrcDst, int len) {
    XVO_CHECK(ownCheckPtrs(pSrcDst));
    XVO_CHECK(ownCheckLens(len));
    for (int i = 0; i < len; ++i) pSrcDst[i] = invSqrt(pSrcDst[i]);
    return xvoStsOk;
}

XVOSC_API XvoStatus xvosDotProdAutoScale_16s32s_Sfs(const Xvo16s* pSrc1, const Xvo16s* pSrc2, int len,
                                                    Xvo32s* pDst, int* pSfs) {
    XVO_CHECK(ownCheckPtrs(pSrc1, pSrc2, pDst, pSfs));
    XVO_CHECK(ownCheckLens(len));
    int64_t s = 0;
    ownGenericKernels().xcorrFixed(pSrc1, pSrc2, len, 1, &s);
    int sf = 0;
    while (generic::ownRoundSfs(s, sf) > MAX_32 || generic::ownRoundSfs(s, sf) < MIN_32) ++sf;
    *pDst = static_cast<int32_t>(generic::ownRoundSfs(s, sf));
    *pSfs = sf;
    return xvoStsOk;
}

}  // extern "C"
