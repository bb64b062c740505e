// AMR-WB+ band split and join around the 2 kHz low band (TS 26.290 stereo band split): a 32/5
// polyphase decimator, a 5/32 polyphase interpolator and the residual between them.
#include "amr/amrwbe_band.h"

#include <algorithm>

#include "amr/amrwbe_tables.h"
#include "core/check.h"
#include "core/fixed.h"
#include "xvosc.h"

namespace xvo::amrwbe {
namespace {

// |sample| * row bound stays inside 32 bits, so the dot products below are exact.
static_assert(int64_t(32768) * kDecimAbsMax + 8192 < (int64_t(1) << 31));
static_assert(int64_t(32768) * kInterpAbsMax + 8192 < (int64_t(1) << 31));

void decimScalar(const int16_t* src, int16_t* dst, int count) {
    for (int j = 0; j < count; ++j) {
        const int16_t* c = kDecimRows[kDecimRow[j % 5]].data();
        const int16_t* x = src + 32 * (j / 5) + kDecimPos[j % 5] + 1;
        int32_t s = 0;
        for (int t = 0; t < kDecimTaps; ++t) s += int32_t(c[t]) * x[t];
        dst[j] = ownRound14(s);
    }
}

void interpScalar(const int16_t* low, int16_t* dst, int len) {
    for (int j = 0; j < len; ++j) {
        const int16_t* c = kInterpRows[(5 * j) & 31].data();
        const int16_t* x = low + ((5 * j) >> 5) + 1;
        int32_t s = 0;
        for (int t = 0; t < kInterpTaps; ++t) s += int32_t(c[t]) * x[t];
        dst[j] = ownRound14(s);
    }
}

}  // namespace

const OwnBandKernels& ownBandKernelsFor(OwnCpuLevel level) {
    static const OwnBandKernels scalar{OwnCpuLevel::Scalar, decimScalar, interpScalar};
    static const OwnBandKernels sse2{OwnCpuLevel::SSE2, ownDecimSSE2, ownInterpSSE2};
    static const OwnBandKernels avx2{OwnCpuLevel::AVX2, ownDecimAVX2, ownInterpSSE2};
    switch (level) {
        case OwnCpuLevel::AVX2: return avx2;
        case OwnCpuLevel::SSE41:
        case OwnCpuLevel::SSE2: return sse2;
        default: return scalar;
    }
}

const OwnBandKernels& ownBandKernels() {
    static const OwnBandKernels& k = ownBandKernelsFor(ownCpuLevel());
    return k;
}

}  // namespace xvo::amrwbe

using namespace xvo;
using namespace xvo::amrwbe;

extern "C" {

XVOSC_API XvoStatus xvosBandSplit_AMRWBE_16s(const Xvo16s* pSrc, Xvo16s* pSrcDstLowBand, Xvo16s* pDstHighBand,
                                            Xvo32s len) {
    XVO_CHECK(ownCheckPtrs(pSrc, pSrcDstLowBand, pDstHighBand));
    XVO_CHECK(ownCheckLens(len));
    const auto& k = ownBandKernels();
    // Decimate first: the residual below reads pSrc[j] only, so pDstHighBand may equal pSrc.
    k.decim(pSrc, pSrcDstLowBand + 20, (len / 32) * 5);
    int16_t tmp[256];
    for (int j = 0; j < len; j += 256) {
        const int n = std::min(256, len - j);
        // Position 5j is a whole number of 32nds from base 5j/32 onwards.
        k.interp(pSrcDstLowBand + ((int64_t(5) * j) >> 5), tmp, n);
        for (int i = 0; i < n; ++i) pDstHighBand[j + i] = fx::sub(pSrc[j + i], tmp[i]);
    }
    return xvoStsOk;
}

XVOSC_API XvoStatus xvosBandJoin_AMRWBE_16s(const Xvo16s* pSrcLowBand, const Xvo16s* pSrcHighBand, Xvo16s* pDst,
                                           Xvo32s len) {
    XVO_CHECK(ownCheckPtrs(pSrcLowBand, pSrcHighBand, pDst));
    XVO_CHECK(ownCheckLens(len));
    const auto& k = ownBandKernels();
    int16_t tmp[256];
    for (int j = 0; j < len; j += 256) {
        const int n = std::min(256, len - j);
        k.interp(pSrcLowBand + ((int64_t(5) * j) >> 5), tmp, n);
        for (int i = 0; i < n; ++i) pDst[j + i] = fx::add(pSrcHighBand[j + i], tmp[i]);
    }
    return xvoStsOk;
}

}  // extern "C"
