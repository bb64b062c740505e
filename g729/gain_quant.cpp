// G.729 encoder-side gain kernels: the adaptive-codebook gain (G_pitch,
// G.729 3.7.3) and the two-stage conjugate-structure gain quantisers of
// the main body (3.9) and Annex D (6.4 kbit/s), fixed point and float.
#include "core/check.h"
#include "core/fixed.h"
#include "g729/excitation_tables.h"
#include "g729/g729_tables.h"
#include "g729/gain.h"
#include "xvosc.h"

namespace xvo::g729 {

using namespace fx;

namespace {

constexpr int kSubfr = 40;

/// Adaptive-codebook gain xn.y1 / y1.y1 in Q14, limited to 1.2, and the
/// normalised correlations [yy, 15-exp_yy, xy, 15-exp_xy]. A sum that
/// overflows is recomputed on y1/4.
int16_t pitchGain(const int16_t* xn, const int16_t* y1, int16_t* gc) {
    int16_t sy[kSubfr];
    for (int i = 0; i < kSubfr; ++i) sy[i] = shr(y1[i], 2);
    // A dot product normalised to 16 bits; when it overflows it is taken
    // again on y1/4 and the exponent corrected by `redo`.
    auto normDot = [&](const int16_t* a, bool scaleBoth, int32_t init, int16_t redo, int16_t& mant) {
        bool ovf = false;
        int32_t s = init;
        for (int i = 0; i < kSubfr; ++i) s = L_mac(s, a[i], y1[i], ovf);
        int16_t e = 0;
        if (ovf) {
            s = init;
            for (int i = 0; i < kSubfr; ++i) s = L_mac(s, scaleBoth ? sy[i] : a[i], sy[i]);
            e = redo;
        }
        const int16_t n = norm_l(s);
        mant = round_fx(L_shl(s, n));
        return sub(n, e);
    };
    int16_t yy, xy;
    const int16_t expYY = normDot(y1, true, 1, 4, yy);  // 1 avoids an all-zero sum
    const int16_t expXY = normDot(xn, false, 0, 2, xy);
    gc[0] = yy;
    gc[1] = sub(15, expYY);
    gc[2] = xy;
    gc[3] = sub(15, expXY);
    if (xy <= 0) {
        gc[3] = -15;
        return 0;
    }
    int16_t gain = shr(div_s(shr(xy, 1), yy), sub(expXY, expYY));
    return gain > 19661 ? int16_t(19661) : gain;
}

/// The tables and Q formats of one gain quantiser.
struct GainBook {
    const int16_t (*gbk1)[2];
    const int16_t (*gbk2)[2];
    const int16_t* map1;
    const int16_t* map2;
    int ncode1, ncode2, ncan1, ncan2;
    const int16_t* thr1;
    const int16_t* thr2;
    const int16_t (*coef)[2];
    const int32_t (*lcoef)[2];
    int16_t invCoef;
    bool q13Code;  // code column in Q14 (6.4 kbit/s) rather than Q13
};

const GainBook kBook8k{kGbk1, kGbk2, kMap1, kMap2, 8, 16, 4, 8, kThr1, kThr2, kCoef, kLCoef, -17103, false};
const GainBook kBook6k{kGbk1_6k, kGbk2_6k, kMap1_6k, kMap2_6k, 8, 8, 6, 6,
                       kThr1_6k, kThr2_6k, kCoef_6k, kLCoef_6k, -28940, true};

/// Normalised a*b - c*d style term of the best-gain computation: returns
/// the mantissa and sets its exponent.
int16_t diffTerm(int32_t L1, int16_t e1, int32_t L2, int16_t e2, int16_t& expOut) {
    int32_t L;
    int16_t e;
    if (e1 > e2) {
        L = L_sub(L_shr(L1, add(sub(e1, e2), 1)), L_shr(L2, 1));
        e = sub(e2, 1);
    } else {
        L = L_sub(L_shr(L1, 1), L_shr(L2, add(sub(e2, e1), 1)));
        e = sub(e1, 1);
    }
    const int16_t sft = norm_l(L);
    expOut = sub(add(e, sft), 16);
    return extract_h(L_shl(L, sft));
}

/// Pre-selection of the first candidates of both stages around the
/// unquantised gains (the reference Gbk_presel).
void preselect(const GainBook& b, const int16_t* best, int16_t gcode0, int& cand1, int& cand2) {
    const int sh = b.q13Code ? 1 : 0;  // the 6.4 kbit/s values sit one bit lower
    const int32_t cfbg = L_mult(b.coef[0][0], best[0]);
    int16_t acc = extract_h(L_add(cfbg, L_shr(b.lcoef[1][1], 15)));
    int32_t L = L_sub(L_shl(L_deposit_l(best[1]), 7 - sh), L_mult(acc, gcode0));
    const int32_t tx = L_mult(extract_h(L_shl(L, 2)), b.invCoef);
    acc = mult(extract_h(L_sub(cfbg, L_shr(b.lcoef[0][1], 10))), gcode0);
    L = L_sub(L_mult(acc, b.coef[1][0]), L_shr(L_mult(b.coef[0][0], best[1]), 3));
    const int32_t ty = L_mult(extract_h(L_shl(L, 2)), b.invCoef);
    const int sftY = 3 - sh, sftX = 5;
    auto count = [&](int32_t t, const int16_t* thr, int sft, int limit) {
        int c = 0;
        while (c < limit) {
            const int32_t d = L_sub(t, L_shr(L_mult(thr[c], gcode0), sft));
            if (gcode0 > 0 ? d > 0 : d < 0) ++c;
            else break;
        }
        return c;
    };
    cand1 = count(ty, b.thr1, sftY, b.ncode1 - b.ncan1);
    cand2 = count(tx, b.thr2, sftX, b.ncode2 - b.ncan2);
}

/// The conjugate-structure search; writes the gains and the transmitted
/// codes and updates the past energies.
void gainQuant(const GainBook& b, int32_t energy, const int16_t* gCoeff, const int16_t* expCoeff, bool tame,
               int16_t* pastEn, int16_t* gain, int16_t* index) {
    int16_t gcode0, expG;
    ownGainPredict_G729(energy, pastEn, &gcode0, &expG);
    const int sh = b.q13Code ? 1 : 0;

    // Unquantised optimum gains from the 2x2 system.
    int32_t L1 = L_mult(gCoeff[0], gCoeff[2]), L2 = L_mult(gCoeff[4], gCoeff[4]);
    int16_t e1 = add(add(expCoeff[0], expCoeff[2]), 1 - 2), e2 = add(add(expCoeff[4], expCoeff[4]), 1);
    int32_t L;
    int16_t e;
    if (e1 > e2) {
        L = L_sub(L_shr(L1, sub(e1, e2)), L2);
        e = e2;
    } else {
        L = L_sub(L1, L_shr(L2, sub(e2, e1)));
        e = e1;
    }
    int16_t sft = norm_l(L);
    const int16_t denom = extract_h(L_shl(L, sft));
    const int16_t expDenom = sub(add(e, sft), 16);
    const int16_t invDenom = negate(div_s(16384, denom));
    const int16_t expInv = sub(14 + 15, expDenom);

    int16_t best[2], expNum;
    int16_t num = diffTerm(L_mult(gCoeff[2], gCoeff[1]), add(expCoeff[2], expCoeff[1]), L_mult(gCoeff[3], gCoeff[4]),
                           add(add(expCoeff[3], expCoeff[4]), 1), expNum);
    best[0] = extract_h(L_shr(L_mult(num, invDenom), sub(add(expNum, expInv), 9 + 16 - 1)));  // Q9
    if (tame && best[0] > 481) best[0] = 481;
    num = diffTerm(L_mult(gCoeff[0], gCoeff[3]), add(expCoeff[0], expCoeff[3]), L_mult(gCoeff[1], gCoeff[4]),
                   add(add(expCoeff[1], expCoeff[4]), 1), expNum);
    best[1] = extract_h(L_shr(L_mult(num, invDenom), sub(add(expNum, expInv), 2 + 16 - 1)));  // Q2

    const int16_t gcode0Q4 = expG >= 4 ? shr(gcode0, sub(expG, 4))
                                       : extract_h(L_shl(L_deposit_l(gcode0), sub(4 + 16, expG)));
    int cand1, cand2;
    preselect(b, best, gcode0Q4, cand1, cand2);

    // Align the five coefficients to the smallest exponent, in DPF.
    int16_t expMin[5] = {add(expCoeff[0], 13), add(expCoeff[1], 14),
                         add(expCoeff[2], sub(shl(expG, 1), 21 - 2 * sh)), add(expCoeff[3], sub(expG, 3 - sh)),
                         add(expCoeff[4], sub(expG, 4 - sh))};
    int16_t eMin = expMin[0];
    for (int i = 1; i < 5; ++i)
        if (expMin[i] < eMin) eMin = expMin[i];
    int16_t hi[5], lo[5];
    for (int i = 0; i < 5; ++i) L_Extract(L_shr(L_deposit_h(gCoeff[i]), sub(expMin[i], eMin)), hi[i], lo[i]);

    int32_t distMin = MAX_32;
    int i1 = cand1, i2 = cand2;
    for (int i = 0; i < b.ncan1; ++i)
        for (int j = 0; j < b.ncan2; ++j) {
            const int16_t gp = add(b.gbk1[cand1 + i][0], b.gbk2[cand2 + j][0]);
            if (tame && gp >= 16383) continue;
            const int16_t tmp = extract_l(L_shr(L_add(b.gbk1[cand1 + i][1], b.gbk2[cand2 + j][1]), 1));
            const int16_t gc = mult(gcode0, tmp);
            L = Mpy_32_16(hi[0], lo[0], mult(gp, gp));
            L = L_add(L, Mpy_32_16(hi[1], lo[1], gp));
            L = L_add(L, Mpy_32_16(hi[2], lo[2], mult(gc, gc)));
            L = L_add(L, Mpy_32_16(hi[3], lo[3], gc));
            L = L_add(L, Mpy_32_16(hi[4], lo[4], mult(gc, gp)));
            if (L_sub(L, distMin) < 0) {
                distMin = L;
                i1 = cand1 + i;
                i2 = cand2 + j;
            }
        }

    gain[0] = add(b.gbk1[i1][0], b.gbk2[i2][0]);
    int32_t gbk12 = L_add(b.gbk1[i1][1], b.gbk2[i2][1]);
    int16_t tmp;
    if (b.q13Code) {
        gbk12 = L_shr(gbk12, 1);  // Q13
        tmp = extract_l(gbk12);
    } else {
        tmp = extract_l(L_shr(gbk12, 1));  // Q12
    }
    gain[1] = extract_h(L_shl(L_mult(tmp, gcode0), add(negate(expG), static_cast<int16_t>(4 - sh))));
    ownGainUpdate_G729(pastEn, gbk12);
    index[0] = b.map1[i1];
    index[1] = b.map2[i2];
}

/// The float tables of one quantiser.
struct GainBookF {
    const float (*gbk1)[2];
    const float (*gbk2)[2];
    const int16_t* map1;
    const int16_t* map2;
    int ncode1, ncode2, ncan1, ncan2;
    const float* thr1;
    const float* thr2;
    const float (*coef)[2];
    float invCoef, gpClip2, gp0999;
};

const GainBookF kBookF8k{kGbk1F, kGbk2F, kMap1, kMap2, 8, 16, 4, 8, kThr1F, kThr2F, kCoefF, -0.032623f, 0.94f, 0.9999f};
const GainBookF kBookF6k{kGbk1F_6k, kGbk2F_6k, kMap1_6k, kMap2_6k, 8, 8, 6, 6, kThr1F_6k, kThr2F_6k, kCoefF_6k,
                         -0.027599f, 0.94f, 0.9999f};

/// The float search (the floating-point reference qua_gain after its gain
/// prediction): gcode0 is the predicted fixed-codebook gain.
void gainSearchF(const GainBookF& b, const float* g, float gcode0, bool tame, int16_t* index, float* gain) {
    const float t = -1.0f / (4.0f * g[0] * g[2] - g[4] * g[4]);
    float best0 = (2.0f * g[2] * g[1] - g[3] * g[4]) * t;
    const float best1 = (2.0f * g[0] * g[3] - g[1] * g[4]) * t;
    if (tame && best0 > b.gpClip2) best0 = b.gpClip2;
    const float x = (best1 - (b.coef[0][0] * best0 + b.coef[1][1]) * gcode0) * b.invCoef;
    const float y = (b.coef[1][0] * (-b.coef[0][1] + best0 * b.coef[0][0]) * gcode0 - b.coef[0][0] * best1) * b.invCoef;
    auto count = [&](float v, const float* thr, int limit) {
        int c = 0;
        do {
            if (gcode0 > 0.0f ? v > thr[c] * gcode0 : v < thr[c] * gcode0) ++c;
            else break;
        } while (c < limit);
        return c;
    };
    const int cand1 = count(y, b.thr1, b.ncode1 - b.ncan1), cand2 = count(x, b.thr2, b.ncode2 - b.ncan2);
    float distMin = 1.e38f;
    int i1 = cand1, i2 = cand2;
    for (int i = 0; i < b.ncan1; ++i)
        for (int j = 0; j < b.ncan2; ++j) {
            const float gp = b.gbk1[cand1 + i][0] + b.gbk2[cand2 + j][0];
            if (tame && !(gp < b.gp0999)) continue;
            const float gc = gcode0 * (b.gbk1[cand1 + i][1] + b.gbk2[cand2 + j][1]);
            const float dist = gp * gp * g[0] + gp * g[1] + gc * gc * g[2] + gc * g[3] + gp * gc * g[4];
            if (dist < distMin) distMin = dist, i1 = cand1 + i, i2 = cand2 + j;
        }
    gain[0] = b.gbk1[i1][0] + b.gbk2[i2][0];
    gain[1] = gcode0 * (b.gbk1[i1][1] + b.gbk2[i2][1]);
    index[0] = b.map1[i1];
    index[1] = b.map2[i2];
}

}  // namespace

}  // namespace xvo::g729

using namespace xvo::g729;

extern "C" {

XVOSC_API XvoStatus xvosAdaptiveCodebookGain_G729_16s(const Xvo16s* pSrcTarget, const Xvo16s* pSrcFltAdaptiveVector,
                                                      Xvo16s* pDstCorrCoeff, Xvo16s* pDstGain) {
    XVO_CHECK(xvo::ownCheckPtrs(pSrcTarget, pSrcFltAdaptiveVector, pDstCorrCoeff, pDstGain));
    *pDstGain = pitchGain(pSrcTarget, pSrcFltAdaptiveVector, pDstCorrCoeff);
    return xvoStsOk;
}

XVOSC_API XvoStatus xvosAdaptiveCodebookGain_G729A_16s(const Xvo16s* pSrcTarget, const Xvo16s* pSrcFltAdaptiveVector,
                                                       Xvo16s* pDstCorrCoeff, Xvo16s* pDstGain) {
    XVO_CHECK(xvo::ownCheckPtrs(pSrcTarget, pSrcFltAdaptiveVector, pDstCorrCoeff, pDstGain));
    *pDstGain = pitchGain(pSrcTarget, pSrcFltAdaptiveVector, pDstCorrCoeff);
    return xvoStsOk;
}

XVOSC_API XvoStatus xvosGainQuant_G729_16s(Xvo32s energy, const Xvo16s* pSrcGainCoeff, const Xvo16s* pSrcGainExp,
                                           Xvo16s tameFlag, Xvo16s* pSrcDstPastEnergy, Xvo16s* pDstGain,
                                           Xvo16s* pDstIndex) {
    XVO_CHECK(xvo::ownCheckPtrs(pSrcGainCoeff, pSrcGainExp, pSrcDstPastEnergy, pDstGain, pDstIndex));
    XVO_RETURN_IF(tameFlag < 0 || tameFlag > 1, xvoStsRange);
    gainQuant(kBook8k, energy, pSrcGainCoeff, pSrcGainExp, tameFlag == 1, pSrcDstPastEnergy, pDstGain, pDstIndex);
    return xvoStsOk;
}

XVOSC_API XvoStatus xvosGainQuant_G729D_16s(Xvo32s energy, const Xvo16s* pSrcGainCoeff, const Xvo16s* pSrcGainExp,
                                            Xvo16s tameFlag, Xvo16s* pSrcDstPastEnergy, Xvo16s* pDstGain,
                                            Xvo16s* pDstIndex) {
    XVO_CHECK(xvo::ownCheckPtrs(pSrcGainCoeff, pSrcGainExp, pSrcDstPastEnergy, pDstGain, pDstIndex));
    XVO_RETURN_IF(tameFlag < 0 || tameFlag > 1, xvoStsRange);
    gainQuant(kBook6k, energy, pSrcGainCoeff, pSrcGainExp, tameFlag == 1, pSrcDstPastEnergy, pDstGain, pDstIndex);
    return xvoStsOk;
}

XVOSC_API XvoStatus xvosGainCodebookSearch_G729_32f(const Xvo32f* pSrcGainCoeff, Xvo32f predictedGain,
                                                    Xvo16s tameFlag, Xvo16s* pDstIndex, Xvo32f* pDstGain) {
    XVO_CHECK(xvo::ownCheckPtrs(pSrcGainCoeff, pDstIndex, pDstGain));
    XVO_RETURN_IF(tameFlag < 0 || tameFlag > 1, xvoStsRange);
    gainSearchF(kBookF8k, pSrcGainCoeff, predictedGain, tameFlag == 1, pDstIndex, pDstGain);
    return xvoStsOk;
}

XVOSC_API XvoStatus xvosGainCodebookSearch_G729D_32f(const Xvo32f* pSrcGainCoeff, Xvo32f predictedGain,
                                                     Xvo16s tameFlag, Xvo16s* pDstIndex, Xvo32f* pDstGain) {
    XVO_CHECK(xvo::ownCheckPtrs(pSrcGainCoeff, pDstIndex, pDstGain));
    XVO_RETURN_IF(tameFlag < 0 || tameFlag > 1, xvoStsRange);
    gainSearchF(kBookF6k, pSrcGainCoeff, predictedGain, tameFlag == 1, pDstIndex, pDstGain);
    return xvoStsOk;
}

}  // extern "C"
