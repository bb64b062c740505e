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

// Phases step through 0, 2, 4, 1, 3, 5, 2, 4, 1, 3, 5, ...: below 4 a phase moves on by 2 and the
// read position by 6, otherwise it drops by 3 and the position moves by 7 (32 inputs per 5
// outputs). Phase 5 at p is phase 0 at p + 1 (the prototype's last tap is zero).
template <typename Dot>
void ownDecimWalk(const int16_t* src, int16_t* dst, int count, Dot dot) {
    int pos = 0, ph = 0;
    for (int j = 0; j < count; ++j) {
        const int r = ph == 5 ? 0 : ph;
        const int p = ph == 5 ? pos + 1 : pos;
        dst[j] = ownRound14(dot(kDecimRows[r].data(), src + p + 1));
        if (ph > 3) {
            pos += 7;
            ph -= 3;
        } else {
            pos += 6;
            ph += 2;
        }
    }
}

template <typename Dot>
void ownInterpWalk(const int16_t* low, int16_t* dst, int len, Dot dot) {
    int base = 0, ph = 0;  // position 5j = 32 base + ph
    for (int j = 0; j < len; ++j) {
        dst[j] = ownRound14(dot(kInterpRows[ph].data(), low + base + 1));
        ph += 5;
        if (ph >= 32) {
            ph -= 32;
            ++base;
        }
    }
}

void decimScalar(const int16_t* src, int16_t* dst, int count) {
    ownDecimWalk(src, dst, count, [](const int16_t* c, const int16_t* x) {
        int32_t s = 0;
        for (int t = 0; t < kDecimTaps; ++t) s += int32_t(c[t]) * x[t];
        return s;
    });
}

void interpScalar(const int16_t* low, int16_t* dst, int len) {
    ownInterpWalk(low, dst, len, [](const int16_t* c, const int16_t* x) {
        int32_t s = 0;
        for (int t = 0; t < kInterpTaps; ++t) s += int32_t(c[t]) * x[t];
        return s;
    });
}

}  // namespace

const OwnBandKernels& ownBandKernelsFor(OwnCpuLevel level) {
    static const OwnBandKernels scalar{OwnCpuLevel::Scalar, decimScalar, interpScalar};
    (void)level;
    return scalar;
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
