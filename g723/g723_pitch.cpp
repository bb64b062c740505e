// G.723.1 pitch-side kernels: the encoder's harmonic noise-weighting search (Comp_Pw) and the
// decoder's pitch postfilter (Comp_Lpf with Find_B, Find_F and Get_Ind), ITU-T G.723.1 2.11, 3.6.
#include <algorithm>

#include "core/check.h"
#include "core/fixed.h"
#include "xvosc.h"

namespace xvo {
namespace {

using namespace fx;

constexpr int kSub = 60, kFrame = 240, kPitchMin = 18, kPitchMax = 145;
constexpr int kPwRange = 3;
constexpr int16_t kPwConst = 0x2800;

/// Quotient of a 32-bit numerator by a 16-bit denominator in Q15 (G.723.1 div_l): 32767 when the
/// numerator is at least den << 16, else 15 restoring steps on both halved. num >= 0, den > 0.
int16_t ownDivL(int32_t num, int16_t den) {
    const int32_t d = L_deposit_h(den);
    if (num >= d) return MAX_16;
    num = L_shr(num, 1);
    const int32_t dh = L_shr(d, 1);
    int16_t out = 0;
    for (int i = 0; i < 15; ++i) {
        out = shl(out, 1);
        num = L_shl(num, 1);
        if (num >= dh) num = L_sub(num, dh), out = add(out, 1);
    }
    return out;
}

/// Square root of a Q31 value in Q15, bit by bit over 14 trial bits (G.723.1 Sqrt_lbc).
int16_t ownSqrtLbc(int32_t num) {
    int16_t rez = 0, e = 0x4000;
    for (int i = 0; i < 14; ++i) {
        if (num >= L_mult(add(rez, e), add(rez, e))) rez = add(rez, e);
        e = shr(e, 1);
    }
    return rez;
}

struct Pf {
    int16_t indx = 0, gain = 0, scGn = 0x7fff;
};

/// Postfilter gain and scaling gain for lag `ind` from the target energy, cross and lag energy.
Pf ownGetInd(int16_t ind, int16_t ten, int16_t ccr, int16_t enr, int16_t lpfConst) {
    Pf pf;
    pf.indx = ind;
    if (L_mult(ccr, ccr) > L_shr(L_mult(ten, enr), 2)) {
        pf.gain = ccr >= enr ? lpfConst : mult(div_s(ccr, enr), lpfConst);
        int32_t a = L_mac(L_shr(L_deposit_h(ten), 1), ccr, pf.gain);
        a = L_add(a, L_shr(L_mult(enr, mult(pf.gain, pf.gain)), 1));
        const int16_t e = round_fx(a);
        const int32_t half = L_shr(L_deposit_h(ten), 1);
        const int16_t q = half >= L_deposit_h(e) ? MAX_16 : ownDivL(half, e);
        pf.scGn = ownSqrtLbc(L_deposit_h(q));
    } else {
        pf.gain = 0;
        pf.scGn = 0x7fff;
    }
    pf.gain = mult(pf.gain, pf.scGn);
    return pf;
}

}  // namespace

/// The pitch postfilter's choice for one subframe (see xvosPitchPostFilter_G723_16s).
static void ownPitchPostFilter(int16_t olp, const int16_t* buff, int sfc, int16_t lpfConst, Pf& pf) {
    const int16_t* x = buff + kPitchMax + sfc * kSub;
    olp = std::min<int16_t>(olp, kPitchMax - 3);
    // Backward and forward lags of largest positive correlation (the forward one only while the
    // lagged subframe stays inside the frame).
    int16_t bIdx = 0, fIdx = 0;
    int32_t bestB = 0, bestF = 0;
    for (int i = olp - 3; i <= olp + 3; ++i) {
        int32_t a = 0;
        for (int j = 0; j < kSub; ++j) a = L_mac(a, x[j], x[j - i]);
        if (a > bestB) bestB = a, bIdx = static_cast<int16_t>(-i);
    }
    for (int i = olp - 3; i <= olp + 3; ++i) {
        int32_t a = 0;
        if (sfc * kSub + kSub + i <= kFrame)
            for (int j = 0; j < kSub; ++j) a = L_mac(a, x[j], x[j + i]);
        if (a > bestF) bestF = a, fIdx = static_cast<int16_t>(i);
    }
    pf = Pf{};
    if (bIdx == 0 && fIdx == 0) return;
    int32_t lcr[5] = {};
    for (int j = 0; j < kSub; ++j) lcr[0] = L_mac(lcr[0], x[j], x[j]);
    auto cross = [&](int16_t idx, int32_t& c, int32_t& e) {
        for (int j = 0; j < kSub; ++j) c = L_mac(c, x[j], x[idx + j]), e = L_mac(e, x[idx + j], x[idx + j]);
    };
    if (bIdx != 0) cross(bIdx, lcr[1], lcr[2]);
    if (fIdx != 0) cross(fIdx, lcr[3], lcr[4]);
    int32_t mx = 0;
    for (int32_t v : lcr) mx = std::max(mx, v);
    const int16_t exp = norm_l(mx);
    int16_t scr[5];
    for (int i = 0; i < 5; ++i) scr[i] = extract_h(L_shl(lcr[i], exp));
    if (bIdx != 0 && fIdx == 0) {
        pf = ownGetInd(bIdx, scr[0], scr[1], scr[2], lpfConst);
    } else if (bIdx == 0) {
        pf = ownGetInd(fIdx, scr[0], scr[3], scr[4], lpfConst);
    } else if (L_mult(mult_r(scr[1], scr[1]), scr[4]) > L_mult(mult_r(scr[3], scr[3]), scr[2])) {
        pf = ownGetInd(bIdx, scr[0], scr[1], scr[2], lpfConst);
    } else {
        pf = ownGetInd(fIdx, scr[0], scr[3], scr[4], lpfConst);
    }
}

}  // namespace xvo

using namespace xvo;

XVOSC_API XvoStatus xvosHarmonicSearch_G723_16s(Xvo16s valLag, const Xvo16s* pSrc, Xvo16s* pDstGain, Xvo16s* pDstLag) {
    using namespace fx;
    XVO_CHECK(ownCheckPtrs(pSrc, pDstGain, pDstLag));
    XVO_RETURN_IF(valLag < kPitchMin || valLag > kPitchMax, xvoStsRange);
    // Energy of the subframe, then per lag olp-3..olp+3 the lagged energy and the cross.
    int32_t lcr[15];
    lcr[0] = 0;
    for (int i = 0; i < kSub; ++i) lcr[0] = L_mac(lcr[0], pSrc[i], pSrc[i]);
    for (int i = 0; i <= 2 * kPwRange; ++i) {
        const Xvo16s* y = pSrc - (valLag - kPwRange + i);
        int32_t c = 0, e = 0;
        for (int j = 0; j < kSub; ++j) c = L_mac(c, pSrc[j], y[j]), e = L_mac(e, y[j], y[j]);
        lcr[2 * i + 1] = e, lcr[2 * i + 2] = c;
    }
    int32_t mx = 0;
    for (int32_t v : lcr) mx = std::max(mx, L_abs(v));
    const int16_t exp = norm_l(mx);
    int16_t scr[15];
    for (int i = 0; i < 15; ++i) scr[i] = round_fx(L_shl(lcr[i], exp));
    // The lag maximising cross^2 / energy among positive crosses.
    int idx = -1;
    int16_t mcr = 1, mnr = 0x7fff;
    for (int i = 0; i <= 2 * kPwRange; ++i) {
        const int16_t enr = scr[2 * i + 1], ccr = scr[2 * i + 2];
        if (ccr <= 0) continue;
        const int16_t c2 = mult_r(ccr, ccr);
        if (L_msu(L_mult(c2, mnr), enr, mcr) > 0) mcr = c2, mnr = enr, idx = i;
    }
    if (idx < 0) {
        *pDstGain = 0;
        *pDstLag = valLag;
        return xvoStsOk;
    }
    // The gain only when the prediction gain passes the limit (energy x 3/8 below cross^2).
    int16_t gain = 0;
    const int32_t t = L_mult(scr[0], mnr);
    if (L_sub(L_add(L_shr(t, 2), L_shr(t, 3)), L_mult(scr[2 * idx + 2], scr[2 * idx + 2])) < 0) {
        const int16_t c = scr[2 * idx + 2];
        gain = c >= mnr ? kPwConst : mult_r(div_s(c, mnr), kPwConst);
    }
    *pDstGain = gain;
    *pDstLag = static_cast<Xvo16s>(valLag - kPwRange + idx);
    return xvoStsOk;
}

XVOSC_API XvoStatus xvosPitchPostFilter_G723_16s(Xvo16s valLag, const Xvo16s* pSrc, Xvo16s* pDstLag, Xvo16s* pDstGain,
                                                Xvo16s* pDstGainScale, Xvo16s subFrame, int rate) {
    XVO_CHECK(ownCheckPtrs(pSrc, pDstLag, pDstGain, pDstGainScale));
    XVO_RETURN_IF(rate != 2 && rate != 4, xvoStsRange);
    XVO_RETURN_IF(subFrame < 0 || subFrame > 3, xvoStsRange);
    XVO_RETURN_IF(valLag < kPitchMin || valLag > kPitchMax, xvoStsRange);
    Pf pf;
    ownPitchPostFilter(valLag, pSrc, subFrame, rate == 4 ? 0x1800 : 0x2000, pf);
    *pDstLag = pf.indx;
    *pDstGain = pf.gain;
    *pDstGainScale = pf.scGn;
    return xvoStsOk;
}

XVOSC_API XvoStatus xvosGainControl_G723_16s_I(Xvo32s energy, Xvo16s* pSrcDst, Xvo16s* pSrcDstGain) {
    using namespace fx;
    XVO_CHECK(ownCheckPtrs(pSrcDst, pSrcDstGain));
    XVO_RETURN_IF(energy < 0, xvoStsBadArg);
    // Energy of the subframe with a pre-shift of 2.
    int32_t out = 0;
    for (int i = 0; i < kSub; ++i) {
        const int16_t t = shr(pSrcDst[i], 2);
        out = L_mac(out, t, t);
    }
    int16_t target = 0x1000;
    if (out != 0 && energy != 0) {
        const int16_t eo = norm_l(out);
        const int32_t o = L_shl(out, eo);
        const int16_t ei = norm_l(energy);
        const int32_t in = L_shr(L_shl(energy, ei), 1);
        const int16_t e = std::max<int16_t>(sub(6, add(sub(eo, ei), 1)), 0);
        target = ownSqrtLbc(L_shr(L_deposit_h(ownDivL(in, extract_h(o))), e));
    }
    // The running gain moves a sixteenth of the way to the target per sample.
    int16_t g = *pSrcDstGain;
    for (int i = 0; i < kSub; ++i) {
        int32_t a = L_msu(L_deposit_h(g), g, 0x0800);
        g = round_fx(L_mac(a, target, 0x0800));
        const int16_t f = add(g, shr(g, 4));
        pSrcDst[i] = round_fx(L_shl(L_mult(pSrcDst[i], f), 4));
    }
    *pSrcDstGain = g;
    return xvoStsOk;
}
