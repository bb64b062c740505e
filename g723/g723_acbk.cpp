// G.723.1 closed-loop adaptive-codebook search (Find_Acbk with the error-taming bound Test_Err,
// ITU-T G.723.1 2.14 and the taming procedure): 3 or 4 candidate lags, each with its 5-tap
// filtered past excitation, searched jointly with the 85- or 170-entry gain codebook.
#include <algorithm>

#include "core/check.h"
#include "core/fixed.h"
#include "g723/g723_tables.h"
#include "xvosc.h"

using namespace xvo;
using namespace xvo::fx;

namespace {

constexpr int kSub = 60, kPitchMax = 145, kOrd = 5;

/// The lagged excitation of one candidate: 2 samples before the lag, then 62 samples repeating the
/// last `lag` ones (Get_Rez).
void ownGetRez(int16_t* rez, const int16_t* prev, int lag) {
    for (int i = 0; i < kOrd / 2; ++i) rez[i] = prev[kPitchMax - lag - kOrd / 2 + i];
    for (int i = 0; i < kSub + kOrd / 2; ++i) rez[kOrd / 2 + i] = prev[kPitchMax - lag + i % lag];
}

/// The 20 correlation terms of a candidate: crosses with the target, energies, and the crosses
/// between the five filtered vectors.
void ownCandidateTerms(const int16_t* tv, const int16_t* h, const int16_t* rez, int32_t* out) {
    int16_t flt[kOrd][kSub];
    for (int i = 0; i < kSub; ++i) {
        int32_t a = 0;
        for (int j = 0; j <= i; ++j) a = L_mac(a, rez[kOrd - 1 + j], h[i - j]);
        flt[kOrd - 1][i] = round_fx(a);
    }
    for (int i = kOrd - 2; i >= 0; --i) {
        flt[i][0] = mult_r(rez[i], 0x2000);
        for (int j = 1; j < kSub; ++j) flt[i][j] = round_fx(L_mac(L_deposit_h(flt[i + 1][j - 1]), rez[i], h[j]));
    }
    for (int i = 0; i < kOrd; ++i) {
        int32_t a = 0;
        for (int j = 0; j < kSub; ++j) a = L_add(a, L_shr(L_mult(tv[j], flt[i][j]), 1));
        *out++ = L_shl(a, 1);
    }
    for (int i = 0; i < kOrd; ++i) {
        int32_t a = 0;
        for (int j = 0; j < kSub; ++j) a = L_mac(a, flt[i][j], flt[i][j]);
        *out++ = a;
    }
    for (int i = 1; i < kOrd; ++i)
        for (int j = 0; j < i; ++j) {
            int32_t a = 0;
            for (int l = 0; l < kSub; ++l) a = L_add(a, L_shr(L_mult(flt[i][l], flt[j][l]), 1));
            *out++ = L_shl(a, 2);
        }
}

}  // namespace

XVOSC_API XvoStatus xvosAdaptiveCodebookSearch_G723(Xvo16s valBaseLag, const Xvo16s* pSrcAdptTarget,
                                                   const Xvo16s* pSrcImpulseResponse, const Xvo16s* pSrcPrevExcitation,
                                                   const Xvo32s* pSrcPrevError, Xvo16s* pDstLagIndex,
                                                   Xvo16s* pDstAdptGainIndex, Xvo16s subFrame, Xvo16s sineDetect,
                                                   int rate) {
    XVO_CHECK(ownCheckPtrs(pSrcAdptTarget, pSrcImpulseResponse, pSrcPrevExcitation, pSrcPrevError, pDstLagIndex,
                           pDstAdptGainIndex));
    const int odd = subFrame & 1;
    XVO_RETURN_IF(valBaseLag < 18 || valBaseLag > (odd ? 141 : 142), xvoStsRange);
    XVO_RETURN_IF(subFrame < 0 || subFrame > 4, xvoStsRange);
    XVO_RETURN_IF(rate != 2 && rate != 4, xvoStsRange);
    const int hb = 3 + odd, olp = valBaseLag;

    int32_t cor[4 * 20];
    for (int k = 0; k < hb; ++k) {
        int16_t rez[kSub + kOrd - 1];
        ownGetRez(rez, pSrcPrevExcitation, olp - 1 + k);
        ownCandidateTerms(pSrcAdptTarget, pSrcImpulseResponse, rez, cor + 20 * k);
    }
    int32_t mx = 0;
    for (int i = 0; i < hb * 20; ++i) mx = std::max(mx, L_abs(cor[i]));
    const int16_t exp = norm_l(mx);
    int16_t cv[4 * 20];
    for (int i = 0; i < hb * 20; ++i) cv[i] = round_fx(L_shl(cor[i], exp));

    // Error taming: the worst past error over the zones the candidates reach bounds the gains.
    const int zone2 = mult(static_cast<int16_t>(olp + hb), 1092);
    const int zone1 = mult(static_cast<int16_t>(std::max(olp - 62, 1)), 1092);
    int32_t worst = -1;
    for (int i = zone2; i >= zone1; --i)
        if (L_sub(pSrcPrevError[i], worst) > 0) worst = pSrcPrevError[i];
    int16_t off = 0;
    if (!(L_sub(worst, 0x40000000) > 0 || sineDetect < 0)) off = extract_l(L_shr(L_negate(L_sub(worst, 0x40000000)), 23));
    const int bound[2] = {std::min<int>(add(51, shl(off, 2)), 85), std::min<int>(add(93, shl(off, 3)), 170)};

    // Joint search: strictly greater scores replace the best, which starts at 0 (lag index 1).
    int32_t best = 0;
    int16_t lid = 1, gid = 0;
    for (int k = 0; k < hb; ++k) {
        int l = 1;
        if (rate == 4) l = odd ? (olp >= kSub - 2) : (olp - 1 + k >= kSub - 2);
        const int16_t* t = l ? g723::kAcbkGain170 : g723::kAcbkGain085;
        for (int i = 0; i < bound[l]; ++i, t += 20) {
            int32_t s = 0;
            for (int j = 0; j < 20; ++j) s = L_add(s, L_shr(L_mult(cv[k * 20 + j], t[j]), 1));
            if (s > best) best = s, gid = static_cast<int16_t>(i), lid = static_cast<int16_t>(k);
        }
    }
    *pDstLagIndex = lid;
    *pDstAdptGainIndex = gid;
    return xvoStsOk;
}
