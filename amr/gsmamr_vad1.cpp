// GSM-AMR voice activity detector, option 1 (TS 26.094 vad1.c): a 9-band
// filter bank of half-band filter pairs, per-band SNR against a background
// noise estimate, an adaptive threshold, the high-pass correlation ("complex
// signal") aid, and burst/hangover rules.
#include <algorithm>
#include <cstddef>

#include "amr/amr_vad_common.h"
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
constexpr int16_t kCoeff3 = 13363, kCoeff5_1 = 21955, kCoeff5_2 = 6390;
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

// The bank's operators: the reference's saturating ones, or plain integer ones for frames whose
// bounds (ownBankIsExact) show that no sum leaves 16 bits; with positive coefficients mult never
// meets its one saturating case, so both give the same bits there.
struct SatOps {
    static int16_t add(int16_t a, int16_t b) { return fx::add(a, b); }
    static int16_t sub(int16_t a, int16_t b) { return fx::sub(a, b); }
};
struct PlainOps {
    static int16_t add(int16_t a, int16_t b) { return static_cast<int16_t>(a + b); }
    static int16_t sub(int16_t a, int16_t b) { return static_cast<int16_t>(a - b); }
};
inline int16_t ownMulC(int16_t c, int16_t x) { return static_cast<int16_t>((int32_t(c) * x) >> 15); }  // c > 0

// First stage of the bank: 5th-order half-band pair on the input scaled by 1/4, decimating by 2.
template <class Op>
void ownFirstStage(const int16_t* in, int16_t* out, int16_t* data) {
    int16_t d0 = data[0], d1 = data[1];
    for (int i = 0; i < kFrame / 4; ++i) {
        const int16_t t0 = Op::sub(in[4 * i] >> 2, ownMulC(kCoeff5_1, d0));
        int16_t t1 = Op::add(d0, ownMulC(kCoeff5_1, t0));
        const int16_t t3 = Op::sub(in[4 * i + 1] >> 2, ownMulC(kCoeff5_2, d1));
        int16_t t2 = Op::add(d1, ownMulC(kCoeff5_2, t3));
        out[4 * i] = Op::add(t1, t2);
        out[4 * i + 1] = Op::sub(t1, t2);
        d0 = Op::sub(in[4 * i + 2] >> 2, ownMulC(kCoeff5_1, t0));
        t1 = Op::add(t0, ownMulC(kCoeff5_1, d0));
        d1 = Op::sub(in[4 * i + 3] >> 2, ownMulC(kCoeff5_2, t3));
        t2 = Op::add(t3, ownMulC(kCoeff5_2, d1));
        out[4 * i + 2] = Op::add(t1, t2);
        out[4 * i + 3] = Op::sub(t1, t2);
    }
    data[0] = d0, data[1] = d1;
}

// 5th-order half-band pair: low band into x0, high band into x1, memories d0 and d1.
template <class Op>
[[gnu::always_inline]] inline void ownFilter5(int16_t& x0, int16_t& x1, int16_t& d0, int16_t& d1) {
    int16_t t0 = Op::sub(x0, ownMulC(kCoeff5_1, d0));
    const int16_t t1 = Op::add(d0, ownMulC(kCoeff5_1, t0));
    d0 = t0;
    t0 = Op::sub(x1, ownMulC(kCoeff5_2, d1));
    const int16_t t2 = Op::add(d1, ownMulC(kCoeff5_2, t0));
    d1 = t0;
    x0 = static_cast<int16_t>(Op::add(t1, t2) >> 1);
    x1 = static_cast<int16_t>(Op::sub(t1, t2) >> 1);
}

// 3rd-order half-band pair, memory d.
template <class Op>
[[gnu::always_inline]] inline void ownFilter3(int16_t& x0, int16_t& x1, int16_t& d) {
    const int16_t t1 = Op::sub(x1, ownMulC(kCoeff3, d));
    const int16_t t2 = Op::add(d, ownMulC(kCoeff3, t1));
    d = t1;
    x1 = static_cast<int16_t>(Op::sub(x0, t2) >> 1);
    x0 = static_cast<int16_t>(Op::add(x0, t2) >> 1);
}

// Bounds of one all-pass section t = x - c d, d' = t, y = d + c t fed with |x| <= in from a memory
// |d| <= mem: |t| stays within max((in + 1) / (1 - c), mem) (the +1 covers mult's rounding down)
// and |y| within that times (1 + c), plus 1.
struct OwnAllpass {
    int32_t state, out;
};
constexpr OwnAllpass ownAllpassBound(int32_t in, int32_t mem, int16_t c) {
    const int32_t st = std::max<int32_t>(((in + 1) * 32768 + (32767 - c)) / (32768 - c), mem);
    return {st, st + ((st * c) >> 15) + 1};
}

template <size_t N>
int32_t ownMaxAbs(const int16_t (&m)[N]) {
    int32_t r = 0;
    for (int16_t v : m) r = std::max<int32_t>(r, v < 0 ? -int32_t(v) : v);
    return r;
}

// True when no sum of the bank can leave 16 bits for this frame: the input peak and the memories
// bound every stage's sections and sums (each below 32767).
bool ownBankIsExact(const XvoVAD1State_GSMAMR* st, int32_t peak) {
    const auto ok = [](int32_t v) { return v < 32767; };
    int32_t in = (peak + 3) >> 2;  // the first stage's input, scaled by 1/4
    const int32_t mem1 = std::max<int32_t>(ownMaxAbs(st->aData5[0]), 0);
    auto a = ownAllpassBound(in, mem1, kCoeff5_1), b = ownAllpassBound(in, mem1, kCoeff5_2);
    int32_t out = a.out + b.out;
    if (!ok(a.state) || !ok(b.state) || !ok(a.out) || !ok(b.out) || !ok(out)) return false;
    const int32_t mem2 = std::max(ownMaxAbs(st->aData5[1]), ownMaxAbs(st->aData5[2]));
    a = ownAllpassBound(out, mem2, kCoeff5_1), b = ownAllpassBound(out, mem2, kCoeff5_2);
    if (!ok(a.state) || !ok(b.state) || !ok(a.out + b.out)) return false;
    in = ((a.out + b.out) >> 1) + 1;
    const int32_t mem3 = ownMaxAbs(st->aData3);
    for (int stage = 0; stage < 2; ++stage) {  // the two rounds of 3rd-order pairs
        const auto c = ownAllpassBound(in, mem3, kCoeff3);
        if (!ok(c.state) || !ok(in + c.out)) return false;
        in = ((in + c.out) >> 1) + 1;
    }
    return true;
}

template <class Op>
void ownBank(XvoVAD1State_GSMAMR* st, const int16_t* in, int16_t* b) {
    ownFirstStage<Op>(in, b, st->aData5[0]);
    // Each filter's memory lives in registers for its whole pass.
    {
        int16_t a0 = st->aData5[1][0], a1 = st->aData5[1][1], c0 = st->aData5[2][0], c1 = st->aData5[2][1];
        for (int i = 0; i < kFrame / 4; ++i) {
            ownFilter5<Op>(b[4 * i], b[4 * i + 2], a0, a1);
            ownFilter5<Op>(b[4 * i + 1], b[4 * i + 3], c0, c1);
        }
        st->aData5[1][0] = a0, st->aData5[1][1] = a1, st->aData5[2][0] = c0, st->aData5[2][1] = c1;
    }
    int16_t m0 = st->aData3[0], m1 = st->aData3[1], m4 = st->aData3[4];
    for (int i = 0; i < kFrame / 8; ++i) {
        ownFilter3<Op>(b[8 * i], b[8 * i + 4], m0);
        ownFilter3<Op>(b[8 * i + 2], b[8 * i + 6], m1);
        ownFilter3<Op>(b[8 * i + 3], b[8 * i + 7], m4);
    }
    st->aData3[0] = m0, st->aData3[1] = m1, st->aData3[4] = m4;
    int16_t m2 = st->aData3[2], m3 = st->aData3[3];
    for (int i = 0; i < kFrame / 16; ++i) {
        ownFilter3<Op>(b[16 * i], b[16 * i + 8], m2);
        ownFilter3<Op>(b[16 * i + 4], b[16 * i + 12], m3);
    }
    st->aData3[2] = m2, st->aData3[3] = m3;
}

void ownFilterBank(XvoVAD1State_GSMAMR* st, const int16_t* in, int16_t* level, int32_t peak) {
    int16_t b[kFrame];
    if (ownBankIsExact(st, peak)) ownBank<PlainOps>(st, in, b);
    else ownBank<SatOps>(st, in, b);
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
    ownFilterBank(st, speech, level, g.maxAbs(speech, kFrame));

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
