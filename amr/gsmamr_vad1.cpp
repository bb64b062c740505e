// GSM-AMR voice activity detector, option 1 (TS 26.094 vad1.c): a 9-band
// filter bank of half-band filter pairs, per-band SNR against a background
// noise estimate, an adaptive threshold, the high-pass correlation ("complex
// signal") aid, and burst/hangover rules.
#include <algorithm>
#include <cstddef>

#include "amr/amr_vad_common.h"
#include "amr/gsmamr_simd.h"
#include "core/check.h"
#include "core/fixed.h"
#include "core/generic_kernels.h"
#include "xvosc.h"

static_assert(sizeof(XvoVAD1State_GSMAMR) == 132, "the option-1 record is 64 16-bit fields and the 32-bit power");
static_assert(offsetof(XvoVAD1State_GSMAMR, corrHpFast) == 126, "reference field order");

namespace xvo {
namespace {

using namespace fx;

constexpr int kBands = 9;
constexpr int kFrame = 160;
constexpr int16_t kCoeff3 = 13363;
constexpr int16_t kNoiseMax = 16000;
constexpr int16_t kAlphaUp1 = 1638, kAlphaDown1 = 2097, kAlphaUp2 = 491, kAlphaDown2 = 1867, kAlpha3 = 1638;
constexpr int16_t kAlpha4 = 3276, kAlpha5 = 16383;
constexpr int16_t kStatCount = 20, kCadMinStatCount = 5, kStatThr = 1000;
constexpr int16_t kVadThrHigh = 1260, kVadThrLow = 720, kVadSlope = -2808;
constexpr int16_t kInvBands = 3641;  // 1/9 in Q15
constexpr int32_t kPowLow = 15000, kPowPitch = 343040, kPowComplex = 15000;
constexpr int16_t kCvadAdaptHigh = 19660, kCvadAdaptLow = 16383, kCvadInNoise = 21298, kCvadHang = 22936;
constexpr int16_t kCvadHangLimit = 100, kCvadHangLength = 250, kCvadMinCorr = 13106;
constexpr int16_t kCvadSlow = 655, kCvadFast = 2621, kCvadReallyFast = 6553;

// 3rd-order half-band pair, memory d.
[[gnu::always_inline]] inline void ownFilter3(int16_t& x0, int16_t& x1, int16_t& d) {
    const int16_t t1 = sub(x1, mult(kCoeff3, d));
    const int16_t t2 = add(d, mult(kCoeff3, t1));
    d = t1;
    x1 = shr(sub(x0, t2), 1);
    x0 = shr(add(x0, t2), 1);
}

void ownFilterBank(XvoVAD1State_GSMAMR* st, const int16_t* in, int16_t* level) {
    int16_t b[kFrame];
    gsmamr::ownGsmAmrKernels().vadBank5(in, b, st->aData5);
    {
        int16_t m[3] = {st->aData3[0], st->aData3[1], st->aData3[4]};
        gsmamr::ownGsmAmrKernels().vadBank3(b, m);
        st->aData3[0] = m[0], st->aData3[1] = m[1], st->aData3[4] = m[2];
        int16_t m2 = st->aData3[2], m3 = st->aData3[3];
        for (int i = 0; i < kFrame / 16; ++i) {
            ownFilter3(b[16 * i], b[16 * i + 8], m2);
            ownFilter3(b[16 * i + 4], b[16 * i + 12], m3);
        }
        st->aData3[2] = m2, st->aData3[3] = m3;
    }
    int16_t* sl = st->subLevel;
    level[8] = amrvad::ownLevel(b, &sl[8], kFrame / 4 - 8, kFrame / 4, 4, 1, 15);
    const int a8[4] = {7, 3, 2, 6};  // bands 7..4, stride 8
    for (int k = 0; k < 4; ++k) level[7 - k] = amrvad::ownLevel(b, &sl[7 - k], kFrame / 8 - 4, kFrame / 8, 8, a8[k], 16);
    const int a16[4] = {4, 12, 8, 0};  // bands 3..0, stride 16
    for (int k = 0; k < 4; ++k) level[3 - k] = amrvad::ownLevel(b, &sl[3 - k], kFrame / 16 - 2, kFrame / 16, 16, a16[k], 16);
}

// Stationarity counter and the averaged levels it is measured against.
void ownUpdateControl(XvoVAD1State_GSMAMR* st, const int16_t* level) {
    if (st->complexWarning != 0 && st->statCount < kCadMinStatCount) st->statCount = kCadMinStatCount;
    if ((st->pitch & 0x6000) == 0x6000 || (st->tone & 0x7c00) == 0x7c00 || (st->vadreg & 0x7f80) == 0) {
        st->statCount = kStatCount;
    } else {
        const int16_t statRat = amrvad::ownStatRatio(level, st->aveLevel, kBands);
        if (statRat > kStatThr) st->statCount = kStatCount;
        else if ((st->vadreg & 0x4000) != 0 && st->statCount != 0) st->statCount = sub(st->statCount, 1);
    }
    int16_t alpha = kAlpha4;
    if (st->statCount == kStatCount) alpha = 32767;
    else if ((st->vadreg & 0x4000) == 0) alpha = kAlpha5;
    amrvad::ownAveLevelUpdate(st->aveLevel, level, kBands, alpha);
}

// Background-noise update: fast while the signal looks like noise, slow or downwards only otherwise.
void ownNoiseUpdate(XvoVAD1State_GSMAMR* st, const int16_t* level) {
    ownUpdateControl(st, level);
    int16_t up, down, bckrAdd = 2;
    if ((st->vadreg & 0x7800) == 0 && (st->pitch & 0x7800) == 0 && st->complexHangCount == 0) {
        up = kAlphaUp1, down = kAlphaDown1;
    } else if (st->statCount == 0 && st->complexHangCount == 0) {
        up = kAlphaUp2, down = kAlphaDown2;
    } else {
        up = 0, down = kAlpha3, bckrAdd = 0;
    }
    amrvad::ownNoiseUpdate(st->bckrEst, st->oldLevel, level, kBands, up, down, bckrAdd, kNoiseMax);
}

int16_t ownHangover(XvoVAD1State_GSMAMR* st, int16_t noiseLevel, bool lowPower) {
    const int16_t burstLen = noiseLevel > 100 ? 4 : 5, hangLen = noiseLevel > 100 ? 7 : 4;
    if (lowPower) {
        st->burstCount = st->hangCount = st->complexHangCount = st->complexHangTimer = 0;
        return 0;
    }
    if (st->complexHangTimer > kCvadHangLimit && st->complexHangCount < kCvadHangLength)
        st->complexHangCount = kCvadHangLength;
    if (st->complexHangCount != 0) {
        st->burstCount = 4;
        st->complexHangCount = sub(st->complexHangCount, 1);
        return 1;
    }
    if ((st->vadreg & 0x3ff0) == 0 && st->corrHpFast > kCvadInNoise) return 1;
    return amrvad::ownBurstHangover(st->vadreg, st->burstCount, st->hangCount, burstLen, hangLen);
}

int16_t ownVAD1(XvoVAD1State_GSMAMR* st, const int16_t* speech) {
    // Frame power over the 40 samples before the frame and its first 120. The terms are never
    // negative, so the saturating sums are the exact ones capped at MAX_32.
    const auto& g = generic::ownGenericKernels();
    const int32_t pow = static_cast<int32_t>(std::min<int64_t>(st->prevPower + 2 * g.energy(speech, kFrame - 40), MAX_32));
    st->prevPower = static_cast<int32_t>(std::min<int64_t>(2 * g.energy(speech + kFrame - 40, 40), MAX_32));
    if (pow < kPowPitch) st->pitch = static_cast<int16_t>(st->pitch & 0x3fff);
    if (pow < kPowComplex) st->complexLow = static_cast<int16_t>(st->complexLow & 0x3fff);

    int16_t level[kBands];
    ownFilterBank(st, speech, level);

    // Decision: averaged per-band SNR against a threshold falling with the noise level.
    int32_t acc = 0;
    for (int i = 0; i < kBands; ++i) {
        const int16_t e = norm_s(st->bckrEst[i]);
        const int16_t q = shl(div_s(shr(level[i], 1), shl(st->bckrEst[i], e)), sub(e, 5));
        acc = L_mac(acc, q, q);
    }
    const int16_t snrSum = mult(extract_h(L_shl(acc, 6)), kInvBands);
    acc = 0;
    for (int i = 0; i < kBands; ++i) acc = L_add(acc, st->bckrEst[i]);
    const int16_t noiseLevel = extract_h(L_shl(acc, 13));
    int16_t thr = add(mult(kVadSlope, noiseLevel), kVadThrHigh);
    if (thr < kVadThrLow) thr = kVadThrLow;
    st->vadreg = shr(st->vadreg, 1);
    if (snrSum > thr) st->vadreg = static_cast<int16_t>(st->vadreg | 0x4000);
    const bool lowPower = pow < kPowLow;

    // High-pass correlation: adapts quickly towards the frame's best correlation.
    int16_t alpha;
    if (st->bestCorrHp < st->corrHpFast) alpha = st->corrHpFast < kCvadAdaptHigh ? kCvadFast : kCvadReallyFast;
    else alpha = st->corrHpFast < kCvadAdaptHigh ? kCvadFast : kCvadSlow;
    int32_t t = L_deposit_h(st->corrHpFast);
    t = L_mac(L_msu(t, alpha, st->corrHpFast), alpha, st->bestCorrHp);
    st->corrHpFast = round_fx(t);
    if (st->corrHpFast < kCvadMinCorr || lowPower) st->corrHpFast = kCvadMinCorr;

    st->complexHigh = shr(st->complexHigh, 1);
    st->complexLow = shr(st->complexLow, 1);
    if (!lowPower) {
        if (st->corrHpFast > kCvadAdaptHigh) st->complexHigh = static_cast<int16_t>(st->complexHigh | 0x4000);
        if (st->corrHpFast > kCvadAdaptLow) st->complexLow = static_cast<int16_t>(st->complexLow | 0x4000);
    }
    st->complexHangTimer = st->corrHpFast > kCvadHang ? add(st->complexHangTimer, 1) : int16_t{0};
    st->complexWarning = (st->complexHigh & 0x7f80) == 0x7f80 || (st->complexLow & 0x7fff) == 0x7fff;

    ownNoiseUpdate(st, level);
    st->speechVadDecision = ownHangover(st, noiseLevel, lowPower);
    return st->speechVadDecision;
}

}  // namespace
}  // namespace xvo

XVOSC_API XvoStatus xvosVAD1_GSMAMR_16s(const Xvo16s* pSrcSpch, XvoVAD1State_GSMAMR* pState, Xvo16s* pVadFlag,
                                       Xvo16s bestCorrHp) {
    XVO_CHECK(xvo::ownCheckPtrs(pSrcSpch, pState, pVadFlag));
    pState->bestCorrHp = bestCorrHp;
    *pVadFlag = xvo::ownVAD1(pState, pSrcSpch);
    return xvoStsOk;
}
