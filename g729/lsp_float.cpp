// G.729 line-spectral parameters in floating point, after the G.729
// floating-point reference (Annex C): the LPC-to-LSP root finder and the
// MA-predictive LSF decoder with its erased-frame memory update. Tables are
// the fixed-point ones scaled to float (codebooks Q13, predictors Q15).
#include <cmath>

#include "core/check.h"
#include "g729/g729_tables.h"
#include "g729/lsp.h"
#include "xvosc.h"

namespace xvo::g729 {

namespace {

constexpr int kNC = 5;
constexpr float kGap1 = 0.0012f, kGap2 = 0.0006f, kGap3 = 0.0392f;  // float reference gaps, radians
constexpr float kLLimit = 0.005f, kMLimit = 3.135f;
constexpr float kQ13 = 1.0f / 8192.0f, kQ15 = 1.0f / 32768.0f;

float chebyshev(float x, const float* f) {
    const float x2 = 2.0f * x;
    float b2 = 1.0f;
    float b1 = x2 + f[1];
    for (int i = 2; i < kNC; ++i) {
        const float b0 = x2 * b1 - b2 + f[i];
        b2 = b1;
        b1 = b0;
    }
    return x * b1 - b2 + 0.5f * f[kNC];
}

/// Grid cos(pi*i/n), i = 0..n, with the end points held at +-0.9997559 as in
/// the float reference (table computed once).
struct FloatGrid {
    float g60[61], g50[51];
    FloatGrid() {
        for (int i = 0; i <= 60; ++i) g60[i] = static_cast<float>(std::cos(M_PI * i / 60.0));
        for (int i = 0; i <= 50; ++i) g50[i] = static_cast<float>(std::cos(M_PI * i / 50.0));
        g60[0] = g50[0] = 0.9997559f;
        g60[60] = g50[50] = -0.9997559f;
    }
};

const float* floatGrid(int intervals) {
    static const FloatGrid grid;
    return intervals == 50 ? grid.g50 : grid.g60;
}

void expand(float* buf, float gap) {
    for (int j = 1; j < kM; ++j) {
        const float tmp = (buf[j - 1] - buf[j] + gap) * 0.5f;
        if (tmp > 0.0f) {
            buf[j - 1] -= tmp;
            buf[j] += tmp;
        }
    }
}

}  // namespace

int ownLPCToLSP_32f(const float* a, float* lsp, int intervals, int bisections) {
    float f[2][kNC + 1];
    f[0][0] = f[1][0] = 1.0f;
    for (int i = 1, j = kM; i <= kNC; ++i, --j) {
        f[0][i] = a[i] + a[j] - f[0][i - 1];
        f[1][i] = a[i] - a[j] + f[1][i - 1];
    }
    const float* grid = floatGrid(intervals);
    int nf = 0, ip = 0;
    float xlow = grid[0];
    float ylow = chebyshev(xlow, f[0]);
    int j = 0;
    while (nf < kM && j < intervals) {
        ++j;
        float xhigh = xlow, yhigh = ylow;
        xlow = grid[j];
        ylow = chebyshev(xlow, f[ip]);
        if (ylow * yhigh <= 0.0f) {
            --j;  // the float reference searches the rest of this interval for the next root
            for (int i = 0; i < bisections; ++i) {
                const float xmid = 0.5f * (xlow + xhigh);
                const float ymid = chebyshev(xmid, f[ip]);
                if (ylow * ymid <= 0.0f) {
                    yhigh = ymid;
                    xhigh = xmid;
                } else {
                    ylow = ymid;
                    xlow = xmid;
                }
            }
            const float den = yhigh - ylow;
            const float xint = den == 0.0f ? xlow : xlow - ylow * (xhigh - xlow) / den;
            lsp[nf++] = xint;
            ip ^= 1;
            xlow = xint;
            ylow = chebyshev(xlow, f[ip]);
        }
    }
    return nf;
}

int ownLSFDecode_32f(int l0, int l1, int l2, int l3, float* prevFreq, float* lsf) {
    const int ma = l0 & 1;
    l1 &= kNC0 - 1;
    l2 &= kNC1 - 1;
    l3 &= kNC1 - 1;
    float buf[kM];
    for (int j = 0; j < kM; ++j) buf[j] = (kLspcb1[l1][j] + kLspcb2[j < kNC ? l2 : l3][j]) * kQ13;
    expand(buf, kGap1);
    expand(buf, kGap2);
    for (int j = 0; j < kM; ++j) {
        float v = buf[j] * (kFgSum[ma][j] * kQ15);
        for (int k = 0; k < kMaNp; ++k) v += prevFreq[k * kM + j] * (kFg[ma][k][j] * kQ15);
        lsf[j] = v;
    }
    ownPushMemory(prevFreq, buf);
    return ownStabilise<float>(lsf, kLLimit, kGap3, kMLimit, [](float v) { return v + kGap3; });
}

void ownLSFDecodeErased_32f(int ma, float* prevFreq, const float* lsf) {
    float res[kM];
    for (int j = 0; j < kM; ++j) {
        float v = lsf[j];
        for (int k = 0; k < kMaNp; ++k) v -= prevFreq[k * kM + j] * (kFg[ma][k][j] * kQ15);
        res[j] = v * (kFgSumInv[ma][j] * (1.0f / 4096.0f));
    }
    ownPushMemory(prevFreq, res);
}

}  // namespace xvo::g729

using namespace xvo;
using namespace xvo::g729;

namespace {

XvoStatus lpcToLsp32f(const Xvo32f* a, const Xvo32f* prev, Xvo32f* lsp, int intervals, int bisections) {
    XVO_CHECK(ownCheckPtrs(a, prev, lsp));
    float roots[kM];
    const int nf = ownLPCToLSP_32f(a, roots, intervals, bisections);
    const float* src = nf < kM ? prev : roots;
    for (int i = 0; i < kM; ++i) lsp[i] = src[i];
    return xvoStsOk;
}

}  // namespace

extern "C" {

XVOSC_API XvoStatus xvosLPCToLSP_G729_32f(const Xvo32f* pSrcLPC, const Xvo32f* pSrcPrevLSP, Xvo32f* pDstLSP) {
    return lpcToLsp32f(pSrcLPC, pSrcPrevLSP, pDstLSP, 60, 4);
}

XVOSC_API XvoStatus xvosLPCToLSP_G729A_32f(const Xvo32f* pSrcLPC, const Xvo32f* pSrcPrevLSP, Xvo32f* pDstLSP) {
    return lpcToLsp32f(pSrcLPC, pSrcPrevLSP, pDstLSP, 50, 2);
}

XVOSC_API XvoStatus xvosLSFDecode_G729_32f(const Xvo16s* pSrcIndices, Xvo32f* pSrcDstPrevFreq, Xvo32f* pDstLSF) {
    XVO_CHECK(ownCheckPtrs(pSrcIndices, pSrcDstPrevFreq, pDstLSF));
    ownLSFDecode_32f(pSrcIndices[0], pSrcIndices[1], pSrcIndices[2], pSrcIndices[3], pSrcDstPrevFreq, pDstLSF);
    return xvoStsOk;
}

XVOSC_API XvoStatus xvosLSFDecodeErased_G729_32f(int maIndex, Xvo32f* pSrcDstPrevFreq, Xvo32f* pSrcLSF) {
    XVO_CHECK(ownCheckPtrs(pSrcDstPrevFreq, pSrcLSF));
    XVO_RETURN_IF(maIndex < 0 || maIndex > 1, xvoStsBadCodecParam);
    ownLSFDecodeErased_32f(maIndex, pSrcDstPrevFreq, pSrcLSF);
    return xvoStsOk;
}

}  // extern "C"
