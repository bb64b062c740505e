// G.723.1 open-loop pitch estimate (G.723.1 2.9) and the adaptive codebook
// contribution of a chosen lag and gain entry (G.723.1 2.14, 3.4).
#include <cstdint>

#include "core/check.h"
#include "core/fixed.h"
#include "g723/g723_tables.h"
#include "xvosc.h"

namespace xvo::g723 {

using namespace fx;

namespace {
constexpr int kPitchMin = 18;
constexpr int kWin = 2 * kSubFrLen;  // two subframes share one open-loop lag
}  // namespace

// Lag of largest normalised cross-correlation ccr^2 / energy over 18..142,
// compared as mantissa and exponent; a longer lag must beat a shorter one by
// a margin (1/4) unless the two are closer than 18 samples.
int16_t ownOpenLoopPitch_G723(const int16_t* s) {
    int16_t indx = kPitchMin, mxp = 30, mcr = 0x4000, mnr = 0x7fff;
    int pr = -kPitchMin + 1;
    int32_t enr32 = 0;
    for (int j = 0; j < kWin; ++j) enr32 = L_mac(enr32, s[pr + j], s[pr + j]);
    for (int i = kPitchMin; i <= kPitchMax - 3; ++i) {
        --pr;
        enr32 = L_msu(enr32, s[pr + kWin], s[pr + kWin]);
        enr32 = L_mac(enr32, s[pr], s[pr]);
        int32_t acc = 0;
        for (int j = 0; j < kWin; ++j) acc = L_mac(acc, s[j], s[pr + j]);
        if (acc <= 0) continue;
        int16_t e = norm_l(acc);
        acc = L_shl(acc, e);
        e = shl(e, 1);
        int16_t ccr = round_fx(acc);
        acc = L_mult(ccr, ccr);
        const int16_t n2 = norm_l(acc);
        acc = L_shl(acc, n2);
        e = add(e, n2);
        ccr = extract_h(acc);
        const int16_t ne = norm_l(enr32);
        e = sub(e, ne);
        const int16_t enr = round_fx(L_shl(enr32, ne));
        if (ccr >= enr) {
            e = sub(e, 1);
            ccr = shr(ccr, 1);
        }
        if (e > mxp) continue;
        bool take = e + 1 < mxp;
        if (!take) {
            const int16_t tmp = e + 1 == mxp ? shr(mcr, 1) : mcr;
            if (L_msu(L_mult(ccr, mnr), enr, tmp) > 0) {
                if (i - indx < kPitchMin) {
                    take = true;
                } else {
                    int32_t a = L_negate(L_shr(L_mult(ccr, mnr), 2));
                    take = L_msu(L_mac(a, ccr, mnr), enr, tmp) > 0;
                }
            }
        }
        if (take) indx = static_cast<int16_t>(i), mxp = e, mcr = ccr, mnr = enr;
    }
    return indx;
}

// 5-tap filter of the excitation at `lag` (repeated with period lag) with the
// five gains of one table entry.
void ownDecodeAdaptiveVector_G723(const int16_t* past, int lag, const int16_t* w, int16_t* dst) {
    int16_t rez[kSubFrLen + 4];
    for (int i = 0; i < 2; ++i) rez[i] = past[-lag - 2 + i];
    for (int i = 0; i < kSubFrLen + 2; ++i) rez[2 + i] = past[-lag + i % lag];
    for (int i = 0; i < kSubFrLen; ++i) {
        int32_t acc = 0;
        for (int j = 0; j < 5; ++j) acc = L_mac(acc, rez[i + j], w[j]);
        dst[i] = round_fx(L_shl(acc, 1));
    }
}

}  // namespace xvo::g723

using namespace xvo;

extern "C" {

XVOSC_API XvoStatus xvosOpenLoopPitchSearch_G723_16s(const Xvo16s* pSrc, Xvo16s* pDstLag) {
    XVO_CHECK(ownCheckPtrs(pSrc, pDstLag));
    *pDstLag = g723::ownOpenLoopPitch_G723(pSrc);
    return xvoStsOk;
}

XVOSC_API XvoStatus xvosDecodeAdaptiveVector_G723_16s(const Xvo16s* pSrcPrevExcitation, Xvo16s* pDst,
                                                      Xvo16s valBaseLag, Xvo16s lagIndex, Xvo16s gainIndex, int rate) {
    XVO_CHECK(ownCheckPtrs(pSrcPrevExcitation, pDst));
    XVO_RETURN_IF(rate != 2 && rate != 4, xvoStsRange);
    XVO_RETURN_IF(valBaseLag < 18 || valBaseLag > 145 || lagIndex < 0 || lagIndex > 3, xvoStsRange);
    const bool big = rate == 2 || valBaseLag >= g723::kSubFrLen - 2;
    XVO_RETURN_IF(gainIndex < 0 || gainIndex >= (big ? 170 : 85), xvoStsRange);
    const int16_t* w = (big ? g723::kAcbkGain170 : g723::kAcbkGain085) + 20 * gainIndex;
    g723::ownDecodeAdaptiveVector_G723(pSrcPrevExcitation, valBaseLag - 1 + lagIndex, w, pDst);
    return xvoStsOk;
}

}  // extern "C"
