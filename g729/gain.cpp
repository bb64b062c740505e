// G.729 gain decoding with its MA energy predictor (G.729 3.9, 4.4.2), and
// the adaptive gain control that ends the postfilters (G.729 4.2.4, Annex A).
#include "g729/gain.h"

#include <cmath>

#include "core/check.h"
#include "core/fixed.h"
#include "core/helpers.h"
#include "g729/g729_tables.h"
#include "xvosc.h"

namespace xvo::g729 {

using namespace fx;

int32_t ownPow2_G729(int16_t exponent, int16_t fraction) {
    const int32_t x = L_mult(fraction, 32);  // fraction << 6
    const int16_t i = extract_h(x);          // bits 10..15 of the fraction
    const int16_t a = static_cast<int16_t>(extract_l(L_shr(x, 1)) & 0x7fff);
    const int16_t diff = sub(kTabpow[i], kTabpow[i + 1]);
    return L_shr_r(L_msu(L_deposit_h(kTabpow[i]), diff, a), sub(30, exponent));
}

int32_t ownInvSqrt_G729(int32_t x) {
    if (x <= 0) return 0x3fffffff;
    const int16_t n = norm_l(x);
    x = L_shl(x, n);
    int16_t e = sub(30, n);
    if ((e & 1) == 0) x = L_shr(x, 1);
    e = add(shr(e, 1), 1);
    x = L_shr(x, 9);
    const int16_t i = sub(extract_h(x), 16);
    const int16_t a = static_cast<int16_t>(extract_l(L_shr(x, 1)) & 0x7fff);
    const int16_t diff = sub(kTabsqr[i], kTabsqr[i + 1]);
    return L_shr(L_msu(L_deposit_h(kTabsqr[i]), diff, a), e);
}

void ownGainPredict_G729(int32_t energy, const int16_t* pastEnergy, int16_t* gcode0, int16_t* expGcode0) {
    // Mean-removed innovation energy in dB: 127.298 - 3.0103 * log2(energy)
    // (Q14), then the MA prediction in Q24.
    int16_t e, f;
    ownLog2_32s16s(energy, &e, &f);
    int32_t L = Mpy_32_16(e, f, -24660);
    L = L_mac(L, 32588, 32);
    L = L_shl(L, 10);
    for (int i = 0; i < 4; ++i) L = L_mac(L, kPred[i], pastEnergy[i]);
    const int16_t g = extract_h(L);  // Q8 dB
    // gcode0 = 10^(g/20) = 2^(0.166 g), with the integer part as exponent.
    L = L_shr(L_mult(g, 5439), 8);
    int16_t hi, lo;
    L_Extract(L, hi, lo);
    *gcode0 = extract_l(ownPow2_G729(14, lo));
    *expGcode0 = sub(14, hi);
}

void ownGainUpdate_G729(int16_t* pastEnergy, int32_t gbk12) {
    for (int i = 3; i > 0; --i) pastEnergy[i] = pastEnergy[i - 1];
    int16_t e, f;
    ownLog2_32s16s(gbk12, &e, &f);
    const int32_t L = L_Comp(sub(e, 13), f);                  // log2, Q16
    pastEnergy[0] = mult(extract_h(L_shl(L, 13)), 24660);     // 6.0206 * log2, Q10
}

void ownGainUpdateErasure_G729(int16_t* pastEnergy) {
    int32_t sum = 0;
    for (int i = 0; i < 4; ++i) sum = L_add(sum, pastEnergy[i]);
    int16_t av = sub(extract_l(L_shr(sum, 2)), 4096);
    if (av < -14336) av = -14336;
    for (int i = 3; i > 0; --i) pastEnergy[i] = pastEnergy[i - 1];
    pastEnergy[0] = av;
}

namespace {

constexpr int kSubfr = 40;

/// The main-body gain control (scale_st): the input/output "energies" are
/// sums of magnitudes; gain(n) = 0.9875 gain(n-1) + 0.0125 g_in/g_out (Q14).
void gainControl_G729(const int16_t* in, int16_t* out, int16_t* pGain) {
    constexpr int16_t kAgcFac = 32358, kAgcFac1 = 32768 - 32358;
    auto magnitudeSum = [](const int16_t* x) {
        int32_t s = 0;
        for (int i = 0; i < kSubfr; ++i) s = L_add(s, L_abs(x[i]));
        return s;
    };
    int16_t g0 = 0;
    int32_t sIn = magnitudeSum(in);
    if (sIn != 0) {
        const int16_t scalIn = norm_l(sIn);
        const int16_t gIn = extract_h(L_shl(sIn, scalIn));
        int32_t sOut = magnitudeSum(out);
        if (sOut == 0) {
            *pGain = 0;
            return;
        }
        const int16_t scalOut = norm_l(sOut);
        const int16_t gOut = extract_h(L_shl(sOut, scalOut));
        int16_t sh = sub(add(scalIn, 1), scalOut);
        if (gIn < gOut) {
            g0 = div_s(gIn, gOut);  // Q15
        } else {
            g0 = add(shr(div_s(sub(gIn, gOut), gOut), 1), 0x4000);  // Q14
            sh = sub(sh, 1);
        }
        g0 = mult_r(shr(g0, sh), kAgcFac1);
    }
    int16_t gain = *pGain;
    for (int i = 0; i < kSubfr; ++i) {
        gain = add(mult_r(kAgcFac, gain), g0);
        out[i] = round_fx(L_shl(L_mult(gain, out[i]), 1));
    }
    *pGain = gain;
}

/// Energy of x/4 over the subframe (the Annex A agc measure).
int32_t quarterEnergy(const int16_t* x) {
    int32_t s = 0;
    for (int i = 0; i < kSubfr; ++i) {
        const int16_t v = shr(x[i], 2);
        s = L_mac(s, v, v);
    }
    return s;
}

/// The Annex A gain control (agc): g0 = 0.1 sqrt(E_in/E_out) (Q12) and
/// gain(n) = 0.9 gain(n-1) + g0.
void gainControl_G729A(const int16_t* in, int16_t* out, int16_t* pGain) {
    constexpr int16_t kAgcFac = 29491, kAgcFac1 = 32767 - 29491;
    int32_t s = quarterEnergy(out);
    if (s == 0) {
        *pGain = 0;
        return;
    }
    int16_t exp = sub(norm_l(s), 1);
    const int16_t gOut = round_fx(L_shl(s, exp));
    s = quarterEnergy(in);
    int16_t g0 = 0;
    if (s != 0) {
        const int16_t n = norm_l(s);
        const int16_t gIn = round_fx(L_shl(s, n));
        exp = sub(exp, n);
        s = L_shr(L_shl(L_deposit_l(div_s(gOut, gIn)), 7), exp);  // Q22 E_out/E_in
        g0 = mult(round_fx(L_shl(ownInvSqrt_G729(s), 9)), kAgcFac1);
    }
    int16_t gain = *pGain;
    for (int i = 0; i < kSubfr; ++i) {
        gain = add(mult(gain, kAgcFac), g0);
        out[i] = extract_h(L_shl(L_mult(out[i], gain), 3));
    }
    *pGain = gain;
}

}  // namespace

}  // namespace xvo::g729

using namespace xvo::g729;
using namespace xvo::fx;

extern "C" {

XVOSC_API XvoStatus xvosDecodeGain_G729_16s(Xvo32s energy, Xvo16s* pSrcDstPastEnergy, const Xvo16s* pSrcGainIndex,
                                            Xvo16s* pSrcDstGain) {
    XVO_CHECK(xvo::ownCheckPtrs(pSrcDstPastEnergy, pSrcDstGain));
    if (pSrcGainIndex == nullptr) {
        int16_t pitch = mult(pSrcDstGain[0], 29491);  // 0.9
        if (pitch > 29491) pitch = 29491;
        pSrcDstGain[0] = pitch;
        pSrcDstGain[1] = mult(pSrcDstGain[1], 32111);  // 0.98
        ownGainUpdateErasure_G729(pSrcDstPastEnergy);
        return xvoStsOk;
    }
    const int i = kImap1[pSrcGainIndex[0] & 7], j = kImap2[pSrcGainIndex[1] & 15];
    int16_t gcode0, expG;
    ownGainPredict_G729(energy, pSrcDstPastEnergy, &gcode0, &expG);
    const int32_t gbk12 = L_add(kGbk1[i][1], kGbk2[j][1]);  // Q13
    const int16_t tmp = extract_l(L_shr(gbk12, 1));         // Q12
    pSrcDstGain[0] = add(kGbk1[i][0], kGbk2[j][0]);
    pSrcDstGain[1] = extract_h(L_shl(L_mult(tmp, gcode0), sub(4, expG)));
    ownGainUpdate_G729(pSrcDstPastEnergy, gbk12);
    return xvoStsOk;
}

XVOSC_API XvoStatus xvosDecodeGain_G729I_16s(Xvo32s energy, Xvo16s valAttenuation, Xvo16s* pSrcDstPastEnergy,
                                             const Xvo16s* pSrcGainIndex, Xvo16s* pSrcDstGain) {
    XVO_CHECK(xvo::ownCheckPtrs(pSrcDstPastEnergy, pSrcDstGain));
    if (pSrcGainIndex == nullptr) {
        pSrcDstGain[0] = mult(pSrcDstGain[0], valAttenuation);
        pSrcDstGain[1] = mult(pSrcDstGain[1], valAttenuation);
        ownGainUpdateErasure_G729(pSrcDstPastEnergy);
        return xvoStsOk;
    }
    const int i = kImap1_6k[pSrcGainIndex[0] & 7], j = kImap2_6k[pSrcGainIndex[1] & 7];
    int16_t gcode0, expG;
    ownGainPredict_G729(energy, pSrcDstPastEnergy, &gcode0, &expG);
    const int32_t gbk12 = L_shr(L_add(kGbk1_6k[i][1], kGbk2_6k[j][1]), 1);  // Q13
    const int64_t prod = int64_t(extract_l(gbk12)) * gcode0;
    const int sh = expG + 12;
    // Not saturated: the product is shifted and truncated to 16 bits.
    const int64_t g = sh >= 0 ? (sh > 62 ? (prod < 0 ? -1 : 0) : prod >> sh) : (sh < -40 ? 0 : prod * (int64_t(1) << -sh));
    pSrcDstGain[0] = add(kGbk1_6k[i][0], kGbk2_6k[j][0]);
    pSrcDstGain[1] = static_cast<int16_t>(static_cast<uint16_t>(static_cast<uint64_t>(g)));
    ownGainUpdate_G729(pSrcDstPastEnergy, gbk12);
    return xvoStsOk;
}

XVOSC_API XvoStatus xvosGainControl_G729_16s_I(const Xvo16s* pSrc, Xvo16s* pSrcDst, Xvo16s* pSrcDstGain) {
    XVO_CHECK(xvo::ownCheckPtrs(pSrc, pSrcDst, pSrcDstGain));
    gainControl_G729(pSrc, pSrcDst, pSrcDstGain);
    return xvoStsOk;
}

XVOSC_API XvoStatus xvosGainControl_G729A_16s_I(const Xvo16s* pSrc, Xvo16s* pSrcDst, Xvo16s* pSrcDstGain) {
    XVO_CHECK(xvo::ownCheckPtrs(pSrc, pSrcDst, pSrcDstGain));
    gainControl_G729A(pSrc, pSrcDst, pSrcDstGain);
    return xvoStsOk;
}

XVOSC_API XvoStatus xvosGainControl_G729_32f_I(const Xvo32f* pSrc, Xvo32f* pSrcDst, Xvo32f* pSrcDstGain) {
    XVO_CHECK(xvo::ownCheckPtrs(pSrc, pSrcDst, pSrcDstGain));
    constexpr float kAgcFac = 0.9875f, kAgcFac1 = 1.0f - 0.9875f;
    float gIn = 0.0f, gOut = 0.0f, g0 = 0.0f;
    for (int i = 0; i < 40; ++i) gIn += std::fabs(pSrc[i]);
    if (gIn != 0.0f) {
        for (int i = 0; i < 40; ++i) gOut += std::fabs(pSrcDst[i]);
        if (gOut == 0.0f) {
            *pSrcDstGain = 0.0f;
            return xvoStsOk;
        }
        g0 = gIn / gOut * kAgcFac1;
    }
    float gain = *pSrcDstGain;
    for (int i = 0; i < 40; ++i) {
        gain = gain * kAgcFac + g0;
        pSrcDst[i] *= gain;
    }
    *pSrcDstGain = gain;
    return xvoStsOk;
}

}  // extern "C"
