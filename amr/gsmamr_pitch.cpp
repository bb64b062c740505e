// GSM-AMR adaptive codebook: fractional long-term prediction and the
// decoding of the pitch lag index (TS 26.073 pred_lt.c, dec_lag3.c, dec_lag6.c
// and the pitch part of dec_amr.c).
#include "amr/gsmamr_pitch.h"

#include <algorithm>

#include "amr/gsmamr_common.h"
#include "core/check.h"
#include "core/fixed.h"
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
    for (int j = 0; j < kGsmAmrSubframe; ++j) {
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
