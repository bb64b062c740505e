// G.723.1 pitch-side kernels: the closed-loop 5-tap adaptive codebook search
// with the error-taming bound on its gain tables (G.723.1 2.14, 2.17), the
// harmonic noise-weighting search (2.11), the decoder's pitch postfilter
// (3.6) and the postfilter gain control (3.9).
#include <cstdint>

#include "core/check.h"
#include "core/fixed.h"
#include "g723/g723_internal.h"
#include "g723/g723_tables.h"
#include "xvosc.h"

namespace xvo::g723 {

using namespace fx;

namespace {

constexpr int kTaps = 5;              // adaptive codebook filter taps
constexpr int16_t kPwConst = 0x2800;  // harmonic weighting gain ceiling
constexpr int16_t kLpfConst63 = 0x1800, kLpfConst53 = 0x2000;
constexpr int32_t kThreshErr = 0x40000000;  // taming threshold
constexpr int kTameShift = 23;


// Bit-by-bit square root of a Q31 value (14 trial bits, 16384 down to 2).
int16_t ownSqrt(int32_t num) {
    int16_t rez = 0, bit = 0x4000;
    for (int i = 0; i < 14; ++i) {
        const int16_t t = add(rez, bit);
        if (num >= L_mult(t, t)) rez = t;
        bit = shr(bit, 1);
    }
    return rez;
}

// Sum of a[j] b[j], j = 0..n-1, as the reference forms it term by term:
// with `half` the terms are L_shr(L_mult(a, b), 1) added by L_add, else they
// are L_mac steps. Each product fits 31 bits except (-32768)^2; when that
// pair is absent and neither the positive nor the negative terms can leave
// 32 bits, no partial sum saturates and the plain wide sum is the result.
int32_t ownMacSum(const int16_t* a, const int16_t* b, int n, bool half) {
    if (int32_t r; ownWideDot(a, b, n, half ? 1 : 2, &r)) return r;
    int64_t sum = 0, pos = 0;
    bool edge = false;
    for (int j = 0; j < n; ++j) {
        const int32_t p = int32_t(a[j]) * b[j];
        edge |= p == 0x40000000;
        sum += p;
        pos += p > 0 ? p : 0;
    }
    const int k = half ? 1 : 2;
    if (!edge && k * pos <= MAX_32 && k * (sum - pos) >= MIN_32) return static_cast<int32_t>(k * sum);
    int32_t acc = 0;
    for (int j = 0; j < n; ++j) acc = half ? L_add(acc, L_shr(L_mult(a[j], b[j]), 1)) : L_mac(acc, a[j], b[j]);
    return acc;
}

int32_t ownDot60(const int16_t* a, const int16_t* b) { return ownMacSum(a, b, kSubFrLen, false); }

// ---- adaptive codebook search ---------------------------------------------

// The 20 correlations of one candidate lag: 5 target crosses, 5 energies and
// the 10 cross products of the 5 filtered, shifted excitations.
void ownAcbkCorrelations(const int16_t* tv, const int16_t* h, const int16_t* hr, const int16_t* exc, int lag,
                         int32_t* cor) {
    int16_t rez[kSubFrLen + kTaps - 1];
    // Excitation at the lag, repeated with period `lag` when it is shorter
    // than the subframe, with two samples of lead-in and lead-out.
    for (int i = 0; i < kTaps / 2; ++i) rez[i] = exc[kPitchMax - lag - kTaps / 2 + i];
    for (int i = 0; i < kSubFrLen + kTaps / 2; ++i) rez[kTaps / 2 + i] = exc[kPitchMax - lag + i % lag];

    int16_t flt[kTaps][kSubFrLen];
    for (int i = 0; i < kSubFrLen; ++i) flt[kTaps - 1][i] = round_fx(ownMacSum(rez + kTaps - 1, hr + kSubFrLen - 1 - i, i + 1, false));
    // Each earlier tap is the next one delayed by a sample plus its new head.
    for (int t = kTaps - 2; t >= 0; --t) {
        flt[t][0] = mult_r(rez[t], 0x2000);
        for (int j = 1; j < kSubFrLen; ++j) flt[t][j] = round_fx(L_mac(L_deposit_h(flt[t + 1][j - 1]), rez[t], h[j]));
    }
    int k = 0;
    for (int t = 0; t < kTaps; ++t) cor[k++] = L_shl(ownMacSum(tv, flt[t], kSubFrLen, true), 1);
    for (int t = 0; t < kTaps; ++t) cor[k++] = ownDot60(flt[t], flt[t]);
    for (int a = 1; a < kTaps; ++a)
        for (int b = 0; b < a; ++b) cor[k++] = L_shl(ownMacSum(flt[a], flt[b], kSubFrLen, true), 2);
}

// Usable gain-table lengths from the taming memory: the worst error over the
// 30-sample zones the candidate lags reach bounds the table (G.723.1 2.17).
void ownTameBounds(int16_t baseLag, int hb, const int32_t* err, int16_t sineDetect, int16_t bound[2]) {
    const int16_t zoneHi = mult(static_cast<int16_t>(baseLag + hb), 1092);
    int i1 = baseLag - 1 - kSubFrLen + 1 - kTaps / 2;
    if (i1 <= 0) i1 = 1;
    const int16_t zoneLo = mult(static_cast<int16_t>(i1), 1092);
    int32_t worst = -1;
    for (int i = zoneHi; i >= zoneLo; --i)
        if (L_sub(err[i], worst) > 0) worst = err[i];
    int16_t off = 0;
    const int32_t d = L_sub(worst, kThreshErr);
    if (d <= 0 && sineDetect >= 0) off = extract_l(L_shr(L_negate(d), kTameShift));
    bound[0] = add(51, shl(off, 2));
    if (bound[0] > 85) bound[0] = 85;
    bound[1] = add(93, shl(off, 3));
    if (bound[1] > 170) bound[1] = 170;
}

// The reference's sum of the 20 terms L_shr(L_mult(c, w), 1) (no table weight is -32768, so
// each term is the exact product): when neither the positive nor the negative terms can leave
// 32 bits no partial sum saturates and the plain sum is the result; otherwise term by term.
int32_t ownAcbkScoreSlow(const int16_t* cv, const int16_t* w) {
    int64_t sum = 0, pos = 0;
    for (int j = 0; j < 20; ++j) {
        const int32_t t = int32_t(cv[j]) * w[j];
        sum += t;
        pos += t > 0 ? t : 0;
    }
    if (pos <= MAX_32 && sum - pos >= MIN_32) return static_cast<int32_t>(sum);
    int32_t acc = 0;
    for (int j = 0; j < 20; ++j) acc = L_add(acc, L_shr(L_mult(cv[j], w[j]), 1));
    return acc;
}

// Scores one candidate's normalised correlations against `n` table entries;
// updates the running best when a score is strictly larger.
void ownAcbkScore(const int16_t* cv, const int16_t* table, int n, int cand, int32_t& best,
                  int16_t& lid, int16_t& gid) {
    for (int i = 0; i < n; ++i) {
        const int16_t* w = table + 20 * i;
        int32_t acc;
        if (!ownWideDot(cv, w, 20, 1, &acc)) acc = ownAcbkScoreSlow(cv, w);
        if (acc > best) {
            best = acc;
            gid = static_cast<int16_t>(i);
            lid = static_cast<int16_t>(cand);
        }
    }
}

}  // namespace

void ownAdaptiveCodebookSearch_G723(int16_t baseLag, const int16_t* tv, const int16_t* h, const int16_t* exc,
                                    const int32_t* err, int16_t* lagIndex, int16_t* gainIndex, int16_t subFrame,
                                    int16_t sineDetect, int rate) {
    const bool odd = (subFrame & 1) != 0;
    const int hb = odd ? 4 : 3;
    int16_t hr[kSubFrLen];  // the response reversed, so that convolutions run forward
    for (int i = 0; i < kSubFrLen; ++i) hr[i] = h[kSubFrLen - 1 - i];
    int32_t cor[4 * 20];
    for (int k = 0; k < hb; ++k) ownAcbkCorrelations(tv, h, hr, exc, baseLag - 1 + k, cor + 20 * k);

    int32_t mx = 0;
    for (int i = 0; i < hb * 20; ++i) {
        const int32_t a = L_abs(cor[i]);
        if (a > mx) mx = a;
    }
    const int16_t e = norm_l(mx);
    int16_t cv[4 * 20];
    for (int i = 0; i < hb * 20; ++i) cv[i] = round_fx(L_shl(cor[i], e));

    int16_t bound[2];
    ownTameBounds(baseLag, hb, err, sineDetect, bound);

    int32_t best = 0;
    int16_t lid = 1, gid = 0;
    for (int k = 0; k < hb; ++k) {
        int l = 1;
        if (rate == 4) l = (odd ? baseLag : baseLag - 1 + k) >= kSubFrLen - 2 ? 1 : 0;
        ownAcbkScore(cv + 20 * k, l ? kAcbkGain170 : kAcbkGain085, bound[l], k, best,
                     lid, gid);
    }
    *lagIndex = lid;
    *gainIndex = gid;
}

// ---- harmonic noise weighting ---------------------------------------------

void ownHarmonicSearch_G723(int16_t olp, const int16_t* s, int16_t* gain, int16_t* lagOut) {
    int32_t lcr[15];
    lcr[0] = ownDot60(s, s);
    for (int i = 0; i <= 2 * kPwRange; ++i) {
        const int16_t* p = s - (olp - kPwRange + i);
        lcr[2 * i + 1] = ownDot60(p, p);
        lcr[2 * i + 2] = ownDot60(s, p);
    }
    int32_t mx = 0;
    for (int i = 0; i < 15; ++i) {
        const int32_t a = L_abs(lcr[i]);
        if (a > mx) mx = a;
    }
    const int16_t e = norm_l(mx);
    int16_t scr[15];
    for (int i = 0; i < 15; ++i) scr[i] = round_fx(L_shl(lcr[i], e));

    // Largest normalised cross-correlation ccr^2 / enr, compared crosswise.
    int idx = -1;
    int16_t mcr = 1, mnr = 0x7fff;
    for (int i = 0; i <= 2 * kPwRange; ++i) {
        const int16_t enr = scr[2 * i + 1], ccr = scr[2 * i + 2];
        if (ccr <= 0) continue;
        const int16_t c2 = mult_r(ccr, ccr);
        if (L_msu(L_mult(c2, mnr), enr, mcr) > 0) {
            mcr = c2;
            mnr = enr;
            idx = i;
        }
    }
    if (idx < 0) {
        *gain = 0;
        *lagOut = olp;
        return;
    }
    // Weighting only when the prediction gain passes the 0.375 energy limit.
    int16_t g = 0;
    const int32_t lim = L_mult(scr[0], mnr);
    const int32_t d = L_sub(L_add(L_shr(lim, 2), L_shr(lim, 3)), L_mult(scr[2 * idx + 2], scr[2 * idx + 2]));
    if (d < 0) {
        const int16_t c = scr[2 * idx + 2];
        g = c >= mnr ? kPwConst : mult_r(div_s(c, mnr), kPwConst);
    }
    *gain = g;
    *lagOut = static_cast<int16_t>(olp - kPwRange + idx);
}

// ---- pitch postfilter -----------------------------------------------------

namespace {

// Backward (dir < 0) or forward (dir > 0) lag of largest positive correlation
// within 3 of the open-loop lag; 0 when none is positive. A forward lag must
// keep the lagged subframe inside the frame.
int16_t ownPostLag(const int16_t* buf, int16_t olp, int sfc, int dir) {
    if (olp > kPitchMax - 3) olp = kPitchMax - 3;
    const int16_t* s = buf + kPitchMax + sfc * kSubFrLen;
    int16_t indx = 0;
    int32_t best = 0;
    for (int i = olp - 3; i <= olp + 3; ++i) {
        int32_t acc = 0;
        if (dir < 0)
            acc = ownDot60(s, s - i);
        else if (sfc * kSubFrLen + kSubFrLen + i <= kFrame)
            acc = ownDot60(s, s + i);
        if (acc > best) {
            best = acc;
            indx = static_cast<int16_t>(dir < 0 ? -i : i);
        }
    }
    return indx;
}

// Postfilter gain and scaling gain of one chosen lag (reference Get_Ind).
void ownPostGain(int16_t ind, int16_t ten, int16_t ccr, int16_t enr, int16_t lpfConst, int16_t* lag, int16_t* gain,
                 int16_t* scale) {
    int16_t g = 0, sc = 0x7fff;
    if (L_mult(ccr, ccr) > L_shr(L_mult(ten, enr), 2)) {
        g = ccr >= enr ? lpfConst : mult(div_s(ccr, enr), lpfConst);
        int32_t acc = L_mac(L_shr(L_deposit_h(ten), 1), ccr, g);
        acc = L_add(acc, L_shr(L_mult(enr, mult(g, g)), 1));
        const int16_t out = round_fx(acc);
        const int32_t in = L_shr(L_deposit_h(ten), 1);
        const int16_t q = in >= L_deposit_h(out) ? int16_t(0x7fff) : ownDivL(in, out);
        sc = ownSqrt(L_deposit_h(q));
    }
    *lag = ind;
    *gain = mult(g, sc);
    *scale = sc;
}

}  // namespace

void ownPitchPostFilter_G723(int16_t olp, const int16_t* buf, int16_t* lag, int16_t* gain, int16_t* scale, int16_t sfc,
                             int rate) {
    const int16_t bi = ownPostLag(buf, olp, sfc, -1);
    const int16_t fi = ownPostLag(buf, olp, sfc, +1);
    if (bi == 0 && fi == 0) {
        *lag = 0;
        *gain = 0;
        *scale = 0x7fff;
        return;
    }
    const int16_t* s = buf + kPitchMax + sfc * kSubFrLen;
    int32_t lcr[5] = {ownDot60(s, s), 0, 0, 0, 0};
    if (bi != 0) lcr[1] = ownDot60(s, s + bi), lcr[2] = ownDot60(s + bi, s + bi);
    if (fi != 0) lcr[3] = ownDot60(s, s + fi), lcr[4] = ownDot60(s + fi, s + fi);
    int32_t mx = 0;
    for (int32_t v : lcr)
        if (v > mx) mx = v;
    const int16_t e = norm_l(mx);
    int16_t scr[5];
    for (int i = 0; i < 5; ++i) scr[i] = extract_h(L_shl(lcr[i], e));

    const int16_t c = rate == 4 ? kLpfConst63 : kLpfConst53;
    bool backward = bi != 0;
    if (bi != 0 && fi != 0) backward = L_mult(mult_r(scr[1], scr[1]), scr[4]) > L_mult(mult_r(scr[3], scr[3]), scr[2]);
    if (backward)
        ownPostGain(bi, scr[0], scr[1], scr[2], c, lag, gain, scale);
    else
        ownPostGain(fi, scr[0], scr[3], scr[4], c, lag, gain, scale);
}

// ---- gain control -----------------------------------------------------------

void ownGainControl_G723(int32_t sen, int16_t* tv, int16_t* runGain) {
    int32_t en = 0;
    for (int i = 0; i < kSubFrLen; ++i) {
        const int16_t t = shr(tv[i], 2);
        en = L_mac(en, t, t);
    }
    int16_t target = 0x1000;
    if (en != 0 && sen != 0) {
        int16_t e = norm_l(en);
        en = L_shl(en, e);
        int16_t n = norm_l(sen);
        int32_t acc = L_shr(L_shl(sen, n), 1);
        e = sub(6, add(sub(e, n), 1));
        if (e < 0) e = 0;
        target = ownSqrt(L_shr(L_deposit_h(ownDivL(acc, extract_h(en))), e));
    }
    int16_t g = *runGain;
    for (int i = 0; i < kSubFrLen; ++i) {
        // gain <- (15 gain + target) / 16, rounded
        g = round_fx(L_mac(L_msu(L_deposit_h(g), g, 0x0800), target, 0x0800));
        const int16_t m = add(g, shr(g, 4));
        tv[i] = round_fx(L_shl(L_mult(tv[i], m), 4));
    }
    *runGain = g;
}

}  // namespace xvo::g723

using namespace xvo;

extern "C" {

XVOSC_API XvoStatus xvosAdaptiveCodebookSearch_G723(Xvo16s valBaseLag, const Xvo16s* pSrcAdptTarget,
                                                   const Xvo16s* pSrcImpulseResponse, const Xvo16s* pSrcPrevExcitation,
                                                   const Xvo32s* pSrcPrevError, Xvo16s* pDstLagIndex,
                                                   Xvo16s* pDstAdptGainIndex, Xvo16s subFrame, Xvo16s sineDetect,
                                                   int rate) {
    XVO_CHECK(ownCheckPtrs(pSrcAdptTarget, pSrcImpulseResponse, pSrcPrevExcitation, pSrcPrevError, pDstLagIndex,
                           pDstAdptGainIndex));
    XVO_RETURN_IF(subFrame < 0 || subFrame > 4, xvoStsRange);
    XVO_RETURN_IF(valBaseLag < 18 || valBaseLag > ((subFrame & 1) ? 141 : 142), xvoStsRange);
    XVO_RETURN_IF(rate != 2 && rate != 4, xvoStsRange);
    g723::ownAdaptiveCodebookSearch_G723(valBaseLag, pSrcAdptTarget, pSrcImpulseResponse, pSrcPrevExcitation,
                                         pSrcPrevError, pDstLagIndex, pDstAdptGainIndex, subFrame, sineDetect, rate);
    return xvoStsOk;
}

XVOSC_API XvoStatus xvosHarmonicSearch_G723_16s(Xvo16s valLag, const Xvo16s* pSrc, Xvo16s* pDstGain, Xvo16s* pDstLag) {
    XVO_CHECK(ownCheckPtrs(pSrc, pDstGain, pDstLag));
    XVO_RETURN_IF(valLag < 18 || valLag > 145, xvoStsRange);
    g723::ownHarmonicSearch_G723(valLag, pSrc, pDstGain, pDstLag);
    return xvoStsOk;
}

XVOSC_API XvoStatus xvosPitchPostFilter_G723_16s(Xvo16s valLag, const Xvo16s* pSrc, Xvo16s* pDstLag, Xvo16s* pDstGain,
                                                Xvo16s* pDstGainScale, Xvo16s subFrame, int rate) {
    XVO_CHECK(ownCheckPtrs(pSrc, pDstLag, pDstGain, pDstGainScale));
    XVO_RETURN_IF(rate != 2 && rate != 4, xvoStsRange);
    XVO_RETURN_IF(subFrame < 0 || subFrame > 3, xvoStsRange);
    XVO_RETURN_IF(valLag < 18 || valLag > 145, xvoStsRange);
    g723::ownPitchPostFilter_G723(valLag, pSrc, pDstLag, pDstGain, pDstGainScale, subFrame, rate);
    return xvoStsOk;
}

XVOSC_API XvoStatus xvosGainControl_G723_16s_I(Xvo32s energy, Xvo16s* pSrcDst, Xvo16s* pSrcDstGain) {
    XVO_CHECK(ownCheckPtrs(pSrcDst, pSrcDstGain));
    XVO_RETURN_IF(energy < 0, xvoStsBadArg);
    g723::ownGainControl_G723(energy, pSrcDst, pSrcDstGain);
    return xvoStsOk;
}

}  // extern "C"
