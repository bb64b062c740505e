// GSM-AMR adaptive codebook: fractional long-term prediction and the
// decoding of the pitch lag index (TS 26.073 pred_lt.c, dec_lag3.c, dec_lag6.c
// and the pitch part of dec_amr.c).
#include "amr/gsmamr_pitch.h"
#include "amr/gsmamr_simd.h"

#include <algorithm>
#include <cstdlib>

#include "amr/gsmamr_common.h"
#include "core/check.h"
#include "core/fixed.h"
#include "core/generic_kernels.h"
#include "g729/gain.h"
#include "xvosc.h"

namespace xvo {

using namespace fx;

namespace {

constexpr int kUpSamp = 6;  // interpolation filter resolution
constexpr int kTaps = 10;   // taps each side
/// 1/6-resolution interpolation filter of the long-term predictor (TS 26.073 inter_6 of pred_lt.c).
constexpr int16_t kInter6[kUpSamp * kTaps + 1] = {
    29443, 28346, 25207, 20449, 14701, 8693,  3143,  -1352, -4402, -5865, -5850, -4673, -2783, -672, 1211, 2536,
    3130,  2991,  2259,  1170,  0,     -1001, -1652, -1868, -1666, -1147, -464,  218,   756,   1060, 1099, 904,
    550,   135,   -245,  -514,  -634,  -602,  -451,  -231,  0,     191,   308,   340,   296,   198,  78,   -36,
    -120,  -163,  -165,  -132,  -79,   -19,   34,    73,    91,    89,    70,    38,    0};

constexpr int kPitMin = 20;       // shortest lag below 12.2
constexpr int kPitMinMR122 = 18;  // shortest lag at 12.2

struct Lag {
    int t0, frac;
};

// 1/3-resolution lags (all modes but 12.2). Absolute subframes: 8-bit index; relative: 5 or 6
// bits, or the 4-bit delta code of 4.75..6.7 around a reference lag.
Lag ownDecLag3(int index, int t0Min, int t0Max, bool relative, int t0Prev, bool flag4) {
    if (!relative) {
        if (index < 197) {
            const int t0 = mult(static_cast<int16_t>(index + 2), 10923) + 19;
            return {t0, index - 3 * t0 + 58};
        }
        return {index - 112, 0};
    }
    if (!flag4) {
        const int i = (((index + 2) * 10923) >> 15) - 1;
        return {i + t0Min, index - 2 - 3 * i};
    }
    int ref = t0Prev;
    if (ref - t0Min > 5) ref = t0Min + 5;
    if (t0Max - ref > 4) ref = t0Max - 4;
    if (index < 4) return {ref - 5 + index, 0};
    if (index < 12) {
        const int i = (((index - 5) * 10923) >> 15) - 1;
        return {i + ref, index - 9 - 3 * i};
    }
    return {index - 12 + ref + 1, 0};
}

// 1/6-resolution lags (12.2): 9-bit absolute, 6-bit relative index.
Lag ownDecLag6(int index, bool relative, int t0Prev) {
    if (!relative) {
        if (index < 463) {
            const int t0 = (((index + 5) * 5462) >> 15) + 17;
            return {t0, index - 6 * t0 + 105};
        }
        return {index - 368, 0};
    }
    int t0Min = std::max(t0Prev - 5, kPitMinMR122);
    if (t0Min + 9 > kGsmAmrPitMax) t0Min = kGsmAmrPitMax - 9;
    const int i = (((index + 5) * 5462) >> 15) - 1;
    return {i + t0Min, index - 3 - 6 * i};
}


// ---- closed-loop search -----------------------------------------------------

/// Mode-dependent parameters of the search (TS 26.073 pitch_fr.c mode_dep_parm).
struct PitchParams {
    int16_t maxFracLag, flag3, firstFrac, lastFrac, intLow, intRange, frcLow, frcRange, pitMin;
};
constexpr PitchParams kPitchParams[8] = {
    {84, 1, -2, 2, 5, 10, 5, 9, 20}, {84, 1, -2, 2, 5, 10, 5, 9, 20}, {84, 1, -2, 2, 3, 6, 5, 9, 20},
    {84, 1, -2, 2, 3, 6, 5, 9, 20},  {84, 1, -2, 2, 3, 6, 5, 9, 20},  {84, 1, -2, 2, 3, 6, 10, 19, 20},
    {84, 1, -2, 2, 3, 6, 5, 9, 20},  {94, 0, -3, 3, 3, 6, 5, 9, 18}};

constexpr int kInterSrch = 4;  // taps each side of the correlation interpolation
/// 1/6-resolution interpolation filter of the normalised correlation (TS 26.073 inter_6 of inter_36.c).
constexpr int16_t kInter6Corr[kUpSamp * kInterSrch + 1] = {29519, 28316, 24906, 19838, 13896, 7945, 2755,
                                                           -1127, -3459, -4304, -3969, -2899, -1561, -336,
                                                           534,   970,   1023,  823,   516,   220,   0,
                                                           -131,  -194,  -215,  0};

/// Search window around a lag: [t - low, t - low + range] within [pitMin, 143].
void ownRange(int t, int low, int range, int pitMin, int& t0Min, int& t0Max) {
    t0Min = std::max<int>(sub(static_cast<int16_t>(std::clamp(t, -32768, 32767)), static_cast<int16_t>(low)), pitMin);
    t0Max = t0Min + range;
    if (t0Max > kGsmAmrPitMax) t0Max = kGsmAmrPitMax, t0Min = t0Max - range;
}

/// Normalised correlation between the target and the past excitation filtered by h, for every
/// lag tMin..tMax (corr indexed by lag). The filtered excitation of each lag is updated from the
/// previous one; it is kept at a quarter scale when its first energy passes 2^26.
void ownNormCorr(const int16_t* exc, const int16_t* xn, const int16_t* h, int tMin, int tMax, int16_t* corr) {
    int16_t excf[kGsmAmrSubframe];
    const int k = -tMin;
    // The first lag's filtered excitation: exact convolution sums when no partial sum can leave
    // 32 bits (4 Eexc Eh below (2^31 - 1)^2), else the saturating operator form.
    const auto& g = generic::ownGenericKernels();
    if (generic::ownFits32(4 * g.energy(exc + k, kGsmAmrSubframe), g.energy(h, kGsmAmrSubframe))) {
        int64_t c[kGsmAmrSubframe];
        g.conv40(exc + k, h, 0, kGsmAmrSubframe, c);
        for (int n = 0; n < kGsmAmrSubframe; ++n) excf[n] = extract_h(L_shl(static_cast<int32_t>(2 * c[n]), 3));
    } else {
        for (int n = 0; n < kGsmAmrSubframe; ++n) {
            int32_t s = 0;
            for (int i = 0; i <= n; ++i) s = L_mac(s, exc[k + i], h[n - i]);
            excf[n] = extract_h(L_shl(s, 3));
        }
    }
    int32_t e = 0;
    for (int j = 0; j < kGsmAmrSubframe; ++j) e = L_mac(e, excf[j], excf[j]);
    int hFac = 3, scaling = 0;
    if (e > 67108864) {
        for (int16_t& v : excf) v = shr(v, 2);
        hFac = 1, scaling = 2;
    }
    int32_t energy[kGsmAmrPitMax + 1], dot[kGsmAmrPitMax + 1];
    const int nLags = tMax - tMin + 1;
    gsmamr::ownGsmAmrKernels().acbLags(exc, xn, h, tMin, nLags, hFac, scaling, excf, energy, dot);
    for (int n = 0; n < nLags; ++n) {
        int16_t normH, normL, corrH, corrL;
        L_Extract(g729::ownInvSqrt_G729(energy[n]), normH, normL);
        L_Extract(dot[n], corrH, corrL);
        corr[tMin + n] = extract_h(L_shl(Mpy_32(corrH, corrL, normH, normL), 16));
    }
}

/// The correlation interpolated at lag + frac (1/3 or 1/6 units).
int16_t ownInterpol3or6(const int16_t* x, int frac, bool flag3) {
    if (flag3) frac *= 2;
    if (frac < 0) {
        frac += kUpSamp;
        --x;
    }
    const int16_t* c1 = kInter6Corr + frac;
    const int16_t* c2 = kInter6Corr + (kUpSamp - frac);
    int32_t s = 0;
    for (int i = 0, k = 0; i < kInterSrch; ++i, k += kUpSamp) {
        s = L_mac(s, x[-i], c1[k]);
        s = L_mac(s, x[1 + i], c2[k]);
    }
    return round_fx(s);
}

/// Best fraction in frac..lastFrac around lag (the first of equal maxima kept), then folded so that
/// the fraction stays in -1..1 (1/3) or -2..3 (1/6).
void ownSearchFrac(int& lag, int& frac, int lastFrac, const int16_t* corr, bool flag3) {
    int16_t best = ownInterpol3or6(corr + lag, frac, flag3);
    for (int f = frac + 1; f <= lastFrac; ++f) {
        const int16_t c = ownInterpol3or6(corr + lag, f, flag3);
        if (c > best) best = c, frac = f;
    }
    if (!flag3) {
        if (frac == -3) frac = 3, --lag;
    } else {
        if (frac == -2) frac = 1, --lag;
        if (frac == 2) frac = -1, ++lag;
    }
}

/// The 4-bit delta code's reference lag: the previous lag kept within [t0Min + 5, t0Max - 4].
int ownDeltaRef(int prev, int t0Min, int t0Max) {
    int ref = prev;
    if (ref - t0Min > 5) ref = t0Min + 5;
    if (t0Max - ref > 4) ref = t0Max - 4;
    return ref;
}

int ownEncLag3(int t0, int frac, int prev, int t0Min, int t0Max, bool delta, bool flag4) {
    if (!delta) return t0 <= 85 ? 3 * t0 - 58 + frac : t0 + 112;
    if (!flag4) return 3 * (t0 - t0Min) + 2 + frac;
    const int ref = ownDeltaRef(prev, t0Min, t0Max);
    const int up = 3 * t0 + frac, low = 3 * (ref - 2);
    if (low >= up) return t0 - ref + 5;
    if (3 * (ref + 1) > up) return up - low + 3;
    return t0 - ref + 11;
}

int ownEncLag6(int t0, int frac, int t0Min, bool delta) {
    if (!delta) return t0 <= 94 ? 6 * t0 - 105 + frac : t0 + 368;
    return 6 * (t0 - t0Min) + 3 + frac;
}

}  // namespace

void ownPredLt3or6_16s(int16_t* exc, int t0, int frac, bool flag3) {
    const int16_t* x0 = exc - t0;
    frac = -frac;
    if (flag3) frac *= 2;  // the 1/3 filter is every other tap of the 1/6 one
    if (frac < 0) {
        frac += kUpSamp;
        --x0;
    }
    const int16_t* c1 = kInter6 + frac;
    const int16_t* c2 = kInter6 + (kUpSamp - frac);
    // The interpolation is one 20-tap correlation: w holds the taps of the samples x0[j-9..j+10].
    int16_t w[2 * kTaps];
    int32_t wAbs = 0;
    for (int i = 0; i < kTaps; ++i) {
        w[kTaps - 1 - i] = c1[i * kUpSamp], w[kTaps + i] = c2[i * kUpSamp];
        wAbs += std::abs(c1[i * kUpSamp]) + std::abs(c2[i * kUpSamp]);
    }
    // Outputs that read only history (short lags also read samples this loop writes) come from
    // exact sums when no partial sum (at most 2 (max|x| + 1) sum|w|) nor the rounding can
    // saturate; the others, and every output when that bound fails, from the operator form.
    const auto& g = generic::ownGenericKernels();
    const int16_t* y = x0 - (kTaps - 1);
    const int nFast = std::clamp(static_cast<int>(exc - x0) - kTaps, 0, kGsmAmrSubframe);
    int j0 = 0;
    if (nFast > 0 && 2 * int64_t(g.maxAbs(y, nFast + 2 * kTaps - 1) + 1) * wAbs + 0x8000 <= MAX_32) {
        int64_t out[kGsmAmrSubframe];
        g.xcorrFixed(w, y, 2 * kTaps, nFast, out);
        for (int j = 0; j < nFast; ++j) exc[j] = extract_h(static_cast<int32_t>(2 * out[j] + 0x8000));
        j0 = nFast;
        x0 += nFast;
    }
    for (int j = j0; j < kGsmAmrSubframe; ++j) {
        const int16_t* x1 = x0++;
        const int16_t* x2 = x0;
        int32_t s = 0;
        for (int i = 0, k = 0; i < kTaps; ++i, k += kUpSamp) {
            s = L_mac(s, x1[-i], c1[k]);
            s = L_mac(s, x2[i], c2[k]);
        }
        exc[j] = round_fx(s);
    }
}

}  // namespace xvo

using namespace xvo;

XVOSC_API XvoStatus xvosAdaptiveCodebookDecode_GSMAMR_16s(Xvo16s valAdptIndex, Xvo16s* pResultPrevIntPitchLag,
                                                         Xvo16s* pResultLTPLag, Xvo16s* pSrcDstExcitation,
                                                         Xvo16s* pResultIntPitchLag, Xvo16s* pDstAdptVector,
                                                         Xvo16s subFrame, Xvo16s bfi, Xvo16s inBackgroundNoise,
                                                         Xvo16s voicedHangover, XvoSpeechRate mode) {
    XVO_CHECK(ownCheckPtrs(pResultPrevIntPitchLag, pResultLTPLag, pSrcDstExcitation, pResultIntPitchLag,
                           pDstAdptVector));
    XVO_RETURN_IF(subFrame < 0 || subFrame > 3, xvoStsSize);
    const int row = ownGsmAmrRow(mode, true);
    XVO_RETURN_IF(row < 0, xvoStsRange);
    const bool mr122 = row == kGsmAmrRow122;
    XVO_RETURN_IF(!mr122 && (valAdptIndex < 0 || valAdptIndex > 511), xvoStsRange);

    // Subframes 1 and 3 are coded relative to the previous lag; 4.75 and 5.15 code subframe 2 so too.
    const bool relative = subFrame == 1 || subFrame == 3 || (subFrame == 2 && row <= 1);
    int prevLag = *pResultPrevIntPitchLag;
    int decoded, used, frac;
    if (!mr122) {
        const int low = row == 5 ? 10 : 5, range = row == 5 ? 19 : 9;  // 7.95 has the wider window
        int t0Min = std::max(prevLag - low, kPitMin);
        int t0Max = t0Min + range;
        if (t0Max > kGsmAmrPitMax) t0Max = kGsmAmrPitMax, t0Min = t0Max - range;
        const Lag lag = ownDecLag3(valAdptIndex, t0Min, t0Max, relative, prevLag, row <= 3);
        decoded = used = lag.t0;
        frac = lag.frac;
        if (bfi != 0) {
            // Lost frame: one more than the previous lag, up to the maximum, unless a
            // low-rate frame in background noise still trusts the lag it carried.
            prevLag = std::min(prevLag + 1, kGsmAmrPitMax);
            used = prevLag;
            frac = 0;
            if (inBackgroundNoise != 0 && voicedHangover > 4 && row <= 2) used = decoded;
        }
    } else {
        const Lag lag = ownDecLag6(valAdptIndex & 511, relative, prevLag);
        decoded = used = lag.t0;
        frac = lag.frac;
        if (bfi != 0 || (relative && (valAdptIndex & 511) > 60)) used = prevLag, frac = 0;
    }
    // The interpolation reads 10 samples either side of the lag within the 154-sample history.
    XVO_RETURN_IF(used < 10 || used > kGsmAmrPitMax + 1, xvoStsBadCodecParam);

    int16_t* exc = pSrcDstExcitation + 154;
    ownPredLt3or6_16s(exc, used, frac, !mr122);
    std::copy(exc, exc + kGsmAmrSubframe, pDstAdptVector);
    *pResultPrevIntPitchLag = static_cast<Xvo16s>(prevLag);
    *pResultLTPLag = static_cast<Xvo16s>(decoded);
    *pResultIntPitchLag = static_cast<Xvo16s>(used);
    return xvoStsOk;
}

XVOSC_API XvoStatus xvosAdaptiveCodebookSearch_GSMAMR_16s(const Xvo16s* pSrcTarget, const Xvo16s* pSrcImpulseResponse,
                                                         const Xvo16s* pSrcOpenLoopLag, Xvo16s* pPitchLag,
                                                         Xvo16s* pSrcDstExcitation, Xvo16s* pFracPitchLag,
                                                         Xvo16s* pAdptIndex, Xvo16s* pDstAdptVector, Xvo16s subFrame,
                                                         XvoSpeechRate mode) {
    XVO_CHECK(ownCheckPtrs(pSrcTarget, pSrcImpulseResponse, pSrcOpenLoopLag, pPitchLag, pSrcDstExcitation,
                           pFracPitchLag, pAdptIndex, pDstAdptVector));
    XVO_RETURN_IF(subFrame < 0 || subFrame > 3, xvoStsSize);
    const int row = ownGsmAmrRow(mode, false);
    XVO_RETURN_IF(row < 0, xvoStsRange);
    const PitchParams& p = kPitchParams[row];
    const bool flag3 = p.flag3 != 0, flag4 = row <= 3;
    const int prev = *pPitchLag;

    // Subframes 0 and 2 search around the open-loop lag of their half frame, except subframe 2 of
    // 4.75/5.15; the others search around the previous subframe's lag.
    const bool delta = !(subFrame == 0 || (subFrame == 2 && row > 1));
    int t0Min, t0Max;
    if (!delta)
        ownRange(pSrcOpenLoopLag[subFrame == 0 ? 0 : 1], p.intLow, p.intRange, p.pitMin, t0Min, t0Max);
    else
        ownRange(prev, p.frcLow, p.frcRange, p.pitMin, t0Min, t0Max);

    int16_t* exc = pSrcDstExcitation + 154;
    // Indexed by lag directly (only t0Min-4..t0Max+4 is written and read), so no pointer ever
    // points outside the array.
    int16_t corr[kGsmAmrPitMax + kInterSrch + 1];
    ownNormCorr(exc, pSrcTarget, pSrcImpulseResponse, t0Min - kInterSrch, t0Max + kInterSrch, corr);

    int lag = t0Min;
    for (int t = t0Min + 1; t <= t0Max; ++t)
        if (corr[t] >= corr[lag]) lag = t;  // the largest of equal maxima

    int frac = p.firstFrac, lastFrac = p.lastFrac;
    if (!delta && lag > p.maxFracLag) {
        frac = 0;
    } else if (delta && flag4) {
        // 4-bit delta code: fractions only around the reference lag, or on one side of it.
        const int ref = ownDeltaRef(prev, t0Min, t0Max);
        if (lag == ref || lag == ref - 1) {
            ownSearchFrac(lag, frac, lastFrac, corr, flag3);
        } else if (lag == ref - 2) {
            frac = 0;
            ownSearchFrac(lag, frac, lastFrac, corr, flag3);
        } else if (lag == ref + 1) {
            lastFrac = 0;
            ownSearchFrac(lag, frac, lastFrac, corr, flag3);
        } else {
            frac = 0;
        }
    } else {
        ownSearchFrac(lag, frac, lastFrac, corr, flag3);
    }

    const int index = flag3 ? ownEncLag3(lag, frac, prev, t0Min, t0Max, delta, flag4)
                            : ownEncLag6(lag, frac, t0Min, delta);
    ownPredLt3or6_16s(exc, lag, frac, flag3);
    std::copy(exc, exc + kGsmAmrSubframe, pDstAdptVector);
    *pPitchLag = static_cast<Xvo16s>(lag);
    *pFracPitchLag = static_cast<Xvo16s>(frac);
    *pAdptIndex = static_cast<Xvo16s>(index);
    return xvoStsOk;
}

namespace xvo {
namespace {

/// <a,b> + 1 normalised to 16 bits: value and exponent. When the sum saturates it is taken again
/// as <a2,b2> (the operands with y1 divided by 4) and the exponent corrected by `fix` (TS 26.073 G_pitch).
void ownNormDot(const int16_t* a, const int16_t* b, const int16_t* a2, const int16_t* b2, int fix, int16_t& v,
                int16_t& e) {
    bool ovf = false;
    int32_t s = 1;
    for (int i = 0; i < kGsmAmrSubframe; ++i) s = L_mac(s, a[i], b[i], ovf);
    if (ovf) {
        s = 1;
        for (int i = 0; i < kGsmAmrSubframe; ++i) s = L_mac(s, a2[i], b2[i]);
    } else {
        fix = 0;
    }
    e = norm_l(s);
    v = round_fx(L_shl(s, e));
    e = static_cast<int16_t>(e - fix);
}

/// Adaptive-codebook gain xn.y1 / y1.y1 in Q14, limited to 1.2 (0 when the correlation is below 4),
/// and the four coefficients yy, 15 - exp(yy), xy, 15 - exp(xy) the gain quantisers reuse.
int16_t ownPitchGain(const int16_t* xn, const int16_t* y1, int16_t* coeff) {
    int16_t y1q[kGsmAmrSubframe];
    for (int i = 0; i < kGsmAmrSubframe; ++i) y1q[i] = shr(y1[i], 2);
    int16_t yy, expYY, xy, expXY;
    ownNormDot(y1, y1, y1q, y1q, 4, yy, expYY);
    ownNormDot(xn, y1, xn, y1q, 2, xy, expXY);
    coeff[0] = yy, coeff[1] = sub(15, expYY), coeff[2] = xy, coeff[3] = sub(15, expXY);
    if (xy < 4) return 0;
    const int16_t gain = shr(div_s(shr(xy, 1), yy), sub(expXY, expYY));
    return std::min<int16_t>(gain, 19661);
}

}  // namespace
}  // namespace xvo

XVOSC_API XvoStatus xvosAdaptiveCodebookGainCoeffs_GSMAMR_16s(const Xvo16s* pSrcTarget, const Xvo16s* pSrcFltAdptVector,
                                                             Xvo16s* pDstGainCoeff, Xvo16s* pResultGain) {
    XVO_CHECK(ownCheckPtrs(pSrcTarget, pSrcFltAdptVector, pDstGainCoeff, pResultGain));
    *pResultGain = ownPitchGain(pSrcTarget, pSrcFltAdptVector, pDstGainCoeff);
    return xvoStsOk;
}

XVOSC_API XvoStatus xvosAdaptiveCodebookGain_GSMAMR_16s(const Xvo16s* pSrcTarget, const Xvo16s* pSrcFltAdptVector,
                                                       Xvo16s* pResultGain) {
    XVO_CHECK(ownCheckPtrs(pSrcTarget, pSrcFltAdptVector, pResultGain));
    int16_t coeff[4];
    *pResultGain = ownPitchGain(pSrcTarget, pSrcFltAdptVector, coeff);
    return xvoStsOk;
}
