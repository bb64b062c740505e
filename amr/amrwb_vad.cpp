// AMR-WB voice activity detector (TS 26.173 wb_vad.c): a 12-band filter bank of half-band
// filter pairs on the 256-sample frame, per-band SNR against a background-noise estimate, a
// threshold moving with the noise and speech levels, burst and hangover rules, the tone register
// aid, and the long-term speech-level estimate.
#include <algorithm>
#include <cstddef>

#include "amr/amr_vad_common.h"
#include "core/check.h"
#include "core/fixed.h"
#include "core/generic_kernels.h"
#include "xvosc.h"

/// The detector's record, in the order the header documents (loadable field by field).
struct XvoVADState_AMRWB {
    int16_t bckrEst[12];   // background-noise estimate per band
    int16_t aveLevel[12];  // averaged levels for the stationarity estimate
    int16_t oldLevel[12];  // levels of the previous frame
    int16_t subLevel[12];  // levels of the previous frame's tail
    int16_t aData5[5][2];  // 5th-order filter memories
    int16_t aData3[6];     // 3rd-order filter memories
    int16_t vadReg;        // intermediate decisions, newest in bit 14
    int16_t burstCount, hangCount, statCount;
    int16_t spEstCount, spMaxCount, spMax, speechLevel;
    int32_t prevPower;  // power of the previous frame
    int16_t levels[12];  // the last frame's band levels
};
static_assert(sizeof(XvoVADState_AMRWB) == 172, "the AMR-WB VAD record is 172 bytes");
static_assert(offsetof(XvoVADState_AMRWB, prevPower) == 144 && offsetof(XvoVADState_AMRWB, levels) == 148,
              "documented field order");

namespace xvo {
namespace {

using namespace fx;

constexpr int kFrame = 256, kBands = 12;
constexpr int16_t kCoeff3 = 13363, kCoeff5_1 = 21955, kCoeff5_2 = 6390;
constexpr int16_t kNoiseInit = 150, kNoiseMax = 20000, kSpeechLevelInit = 2050;
constexpr int16_t kAlphaUp1 = 1638, kAlphaDown1 = 2097, kAlphaUp2 = 491, kAlphaDown2 = 1867, kAlpha3 = 1638;
constexpr int16_t kAlpha4 = 3276, kAlpha5 = 16383, kAlphaSp = 4915;
constexpr int16_t kStatCount = 20, kStatThr = 1000;
constexpr int16_t kThrMin = 204, kThrHigh = 768, kThrLow = 217;
constexpr int16_t kNoP1 = 31744, kNoSlope = 1509;                             // noise-level threshold line
constexpr int16_t kSpChMin = -96, kSpChMax = 96, kSpP1 = 22527, kSpSlope = -1339;  // speech-level correction
constexpr int16_t kHangHigh = 12, kHangLow = 2, kHangSlope = -1110;
constexpr int16_t kBurstHigh = 8, kBurstSlope = 297;
constexpr int16_t kMinSpeechSnr = 4096, kMinSpeechLevel1 = 129, kMinSpeechLevel2 = 410;
constexpr int16_t kSpEstCount = 80, kSpActivityCount = 25;
constexpr int32_t kPowLow = 30000, kPowTone = 686080;

// 5th-order half-band pair: low band into x0, high band into x1; the sum and difference are
// halved in 32 bits (no 16-bit saturation before the halving).
[[gnu::always_inline]] inline void ownFilter5(int16_t& x0, int16_t& x1, int16_t* d) {
    int16_t t0 = sub(x0, mult(kCoeff5_1, d[0]));
    const int16_t t1 = add(d[0], mult(kCoeff5_1, t0));
    d[0] = t0;
    t0 = sub(x1, mult(kCoeff5_2, d[1]));
    const int16_t t2 = add(d[1], mult(kCoeff5_2, t0));
    d[1] = t0;
    x0 = static_cast<int16_t>((int32_t(t1) + t2) >> 1);
    x1 = static_cast<int16_t>((int32_t(t1) - t2) >> 1);
}

// 3rd-order half-band pair.
[[gnu::always_inline]] inline void ownFilter3(int16_t& x0, int16_t& x1, int16_t& d) {
    const int16_t t1 = sub(x1, mult(kCoeff3, d));
    const int16_t t2 = add(d, mult(kCoeff3, t1));
    d = t1;
    x1 = static_cast<int16_t>((int32_t(x0) - t2) >> 1);
    x0 = static_cast<int16_t>((int32_t(x0) + t2) >> 1);
}

void ownFilterBank(XvoVADState_AMRWB* st, const int16_t* in, int16_t* level) {
    int16_t b[kFrame];
    for (int i = 0; i < kFrame; ++i) b[i] = shr(in[i], 1);  // one bit of headroom
    int16_t d5[5][2], d3[6];
    std::copy(&st->aData5[0][0], &st->aData5[0][0] + 10, &d5[0][0]);
    std::copy(st->aData3, st->aData3 + 6, d3);
    for (int i = 0; i < kFrame / 2; ++i) ownFilter5(b[2 * i], b[2 * i + 1], d5[0]);
    for (int i = 0; i < kFrame / 4; ++i) {
        ownFilter5(b[4 * i], b[4 * i + 2], d5[1]);
        ownFilter5(b[4 * i + 1], b[4 * i + 3], d5[2]);
    }
    for (int i = 0; i < kFrame / 8; ++i) {
        ownFilter5(b[8 * i], b[8 * i + 4], d5[3]);
        ownFilter5(b[8 * i + 2], b[8 * i + 6], d5[4]);
        ownFilter3(b[8 * i + 3], b[8 * i + 7], d3[0]);
    }
    for (int i = 0; i < kFrame / 16; ++i) {
        ownFilter3(b[16 * i], b[16 * i + 8], d3[1]);
        ownFilter3(b[16 * i + 4], b[16 * i + 12], d3[2]);
        ownFilter3(b[16 * i + 6], b[16 * i + 14], d3[3]);
    }
    for (int i = 0; i < kFrame / 32; ++i) {
        ownFilter3(b[32 * i], b[32 * i + 16], d3[4]);
        ownFilter3(b[32 * i + 8], b[32 * i + 24], d3[5]);
    }
    std::copy(&d5[0][0], &d5[0][0] + 10, &st->aData5[0][0]);
    std::copy(d3, d3 + 6, st->aData3);

    // Bands from 6400 Hz down to 0: (stride, first index, scale) of each, 200 Hz wide at the bottom.
    struct Band {
        int m, a, scale;
    };
    constexpr Band kB[kBands] = {{32, 0, 17},  {32, 16, 17}, {32, 24, 17}, {32, 8, 17}, {16, 12, 16}, {16, 4, 16},
                                 {16, 6, 16},  {16, 14, 16}, {8, 2, 15},   {8, 3, 15},  {8, 7, 15},   {4, 1, 14}};
    int16_t* sl = st->subLevel;
    for (int k = kBands - 1; k >= 0; --k) {
        const int n = kFrame / kB[k].m, tail = kB[k].m == 4 ? 48 : kB[k].m == 8 ? 24 : kB[k].m == 16 ? 12 : 6;
        level[k] = amrvad::ownLevel(b, &sl[k], n - tail, n, kB[k].m, kB[k].a, kB[k].scale);
    }
}

/// Stationarity counter and averaged levels (update_cntrl), with the tone register as the aid.
void ownUpdateControl(XvoVADState_AMRWB* st, const int16_t* level, int16_t tone) {
    if ((tone & 0x7c00) == 0x7c00 || (st->vadReg & 0x7f80) == 0) {
        st->statCount = kStatCount;
    } else if (amrvad::ownStatRatio(level, st->aveLevel, kBands) > kStatThr) {
        st->statCount = kStatCount;
    } else if ((st->vadReg & 0x4000) != 0 && st->statCount != 0) {
        st->statCount = sub(st->statCount, 1);
    }
    int16_t alpha = kAlpha4;
    if (st->statCount == kStatCount) alpha = 32767;
    else if ((st->vadReg & 0x4000) == 0) alpha = kAlpha5;
    amrvad::ownAveLevelUpdate(st->aveLevel, level, kBands, alpha);
}

/// -1024 log2(x 2^-15) in the reference's approximation (three squarings of the normalised value).
int16_t ownILog2(int16_t mant) {
    if (mant <= 0) mant = 1;
    const int16_t ex = norm_s(mant);
    mant = shl(mant, ex);
    for (int i = 0; i < 3; ++i) mant = mult(mant, mant);
    const int32_t t = L_mult(mant, mant);
    const int16_t ex2 = norm_l(t);
    mant = extract_h(L_shl(t, ex2));
    int16_t res = shl(add(ex, 16), 10);
    res = add(res, shl(ex2, 6));
    return sub(add(res, 127), shr(mant, 8));
}

int16_t ownDecision(XvoVADState_AMRWB* st, const int16_t* level, int32_t powSum, int16_t tone) {
    int32_t snrSum = 0;
    for (int i = 0; i < kBands; ++i) {
        const int16_t e = norm_s(st->bckrEst[i]);
        const int16_t q = shl(div_s(shr(level[i], 1), shl(st->bckrEst[i], e)), sub(e, 6));
        snrSum = L_mac(snrSum, q, q);
    }
    int32_t acc = 0;
    for (int i = 1; i < kBands; ++i) acc = L_add(acc, st->bckrEst[i]);  // the lowest band left out
    const int16_t noiseLevel = extract_h(L_shl(acc, 12));
    // The speech level is kept at least at the noise level (0 dB SNR) and corrected by it.
    int16_t minSpeech = shl(mult(noiseLevel, kMinSpeechSnr), 3);
    if (st->speechLevel < minSpeech) st->speechLevel = minSpeech;
    const int16_t logNoise = ownILog2(noiseLevel), logSpeech = ownILog2(sub(st->speechLevel, minSpeech));
    const int16_t base = add(mult(kNoSlope, sub(logNoise, kNoP1)), kThrHigh);
    const int16_t corr = std::clamp(add(kSpChMin, mult(kSpSlope, sub(logSpeech, kSpP1))), kSpChMin, kSpChMax);
    int16_t thr = add(base, corr);
    if (thr < kThrMin) thr = kThrMin;

    st->vadReg = shr(st->vadReg, 1);
    if (L_sub(snrSum, L_mult(thr, 512 * kBands)) > 0) st->vadReg = static_cast<int16_t>(st->vadReg | 0x4000);
    const bool lowPower = powSum < kPowLow;

    // Background noise: fast while the decisions say noise, slow when stationary, else downwards only.
    ownUpdateControl(st, level, tone);
    int16_t up, down, bckrAdd = 2;
    if ((st->vadReg & 0x7800) == 0) up = kAlphaUp1, down = kAlphaDown1;
    else if (st->statCount == 0) up = kAlphaUp2, down = kAlphaDown2;
    else up = 0, down = kAlpha3, bckrAdd = 0;
    amrvad::ownNoiseUpdate(st->bckrEst, st->oldLevel, level, kBands, up, down, bckrAdd, kNoiseMax);

    int16_t hangLen = add(mult(kHangSlope, sub(thr, kThrLow)), kHangHigh);
    if (hangLen < kHangLow) hangLen = kHangLow;
    const int16_t burstLen = add(mult(kBurstSlope, sub(thr, kThrHigh)), kBurstHigh);
    if (lowPower) {
        st->burstCount = st->hangCount = 0;
        return 0;
    }
    return amrvad::ownBurstHangover(st->vadReg, st->burstCount, st->hangCount, burstLen, hangLen);
}

/// Long-term speech level: half the largest level of 25 active frames found within 80, approached
/// by 0.15 of the difference.
void ownEstimateSpeech(XvoVADState_AMRWB* st, int16_t level) {
    if (sub(sub(st->spEstCount, st->spMaxCount), kSpEstCount - kSpActivityCount) > 0)
        st->spEstCount = st->spMax = st->spMaxCount = 0;
    st->spEstCount = add(st->spEstCount, 1);
    if (((st->vadReg & 0x4000) != 0 || level > st->speechLevel) && level > kMinSpeechLevel1) {
        if (level > st->spMax) st->spMax = level;
        st->spMaxCount = add(st->spMaxCount, 1);
        if (st->spMaxCount >= kSpActivityCount) {
            const int16_t half = shr(st->spMax, 1);
            if (half > kMinSpeechLevel2) st->speechLevel = add(st->speechLevel, mult_r(kAlphaSp, sub(half, st->speechLevel)));
            st->spMax = st->spMaxCount = st->spEstCount = 0;
        }
    }
}

int16_t ownVadAmrwb(XvoVADState_AMRWB* st, const int16_t* speech, int16_t* tone) {
    // Power of this frame and the previous one; the terms are never negative, so the saturating
    // sum is the exact one capped at MAX_32.
    const int32_t pow = static_cast<int32_t>(
        std::min<int64_t>(2 * generic::ownGenericKernels().energy(speech, kFrame), MAX_32));
    const int32_t powSum = L_add(pow, st->prevPower);
    st->prevPower = pow;
    if (powSum < kPowTone) *tone = static_cast<int16_t>(*tone & 0x1fff);

    int16_t level[kBands];
    ownFilterBank(st, speech, level);
    const int16_t flag = ownDecision(st, level, powSum, *tone);

    int32_t acc = 0;
    for (int i = 1; i < kBands; ++i) acc = L_add(acc, level[i]);
    ownEstimateSpeech(st, extract_h(L_shl(acc, 12)));
    std::copy(level, level + kBands, st->levels);
    return flag;
}

}  // namespace
}  // namespace xvo

using namespace xvo;

XVOSC_API XvoStatus xvosVADGetSize_AMRWB_16s(Xvo32s* pDstSize) {
    XVO_CHECK(ownCheckPtrs(pDstSize));
    *pDstSize = static_cast<Xvo32s>(sizeof(XvoVADState_AMRWB));
    return xvoStsOk;
}

XVOSC_API XvoStatus xvosVADInit_AMRWB_16s(XvoVADState_AMRWB* pState) {
    XVO_CHECK(ownCheckPtrs(pState));
    XvoVADState_AMRWB s{};
    std::fill(s.bckrEst, s.bckrEst + kBands, kNoiseInit);
    std::fill(s.aveLevel, s.aveLevel + kBands, kNoiseInit);
    std::fill(s.oldLevel, s.oldLevel + kBands, kNoiseInit);
    s.speechLevel = kSpeechLevelInit;
    *pState = s;
    return xvoStsOk;
}

XVOSC_API XvoStatus xvosVAD_AMRWB_16s(const Xvo16s* pSrcSpch, XvoVADState_AMRWB* pState, Xvo16s* pToneFlag,
                                     Xvo16s* pVadFlag) {
    XVO_CHECK(ownCheckPtrs(pSrcSpch, pState));
    XVO_CHECK(ownCheckPtrs(pToneFlag, pVadFlag));
    *pVadFlag = ownVadAmrwb(pState, pSrcSpch, pToneFlag);
    return xvoStsOk;
}

XVOSC_API XvoStatus xvosVADGetEnergyLevel_AMRWB_16s(const XvoVADState_AMRWB* pState, Xvo16s* pDstEnergyLevel) {
    XVO_CHECK(ownCheckPtrs(pState, pDstEnergyLevel));
    std::copy(pState->levels, pState->levels + kBands, pDstEnergyLevel);
    return xvoStsOk;
}
