// GSM-AMR voice activity detector, option 2 (TS 26.094 vad2.c), with the 128-point real FFT of
// r_fft.c and the pre-emphasis it applies: per 80-sample half frame, 16 channel energies from the
// FFT of the block-normalised, pre-emphasised signal, their SNRs against a noise estimate summed
// into a voice metric, a threshold and hangover set by the long-term SNR, and the noise update.
#include <algorithm>
#include <cstddef>
#include <cstdlib>

#include "amr/gsmamr_simd.h"
#include "core/check.h"
#include "core/fixed.h"
#include "core/generic_kernels.h"
#include "core/helpers.h"
#include "g729/gain.h"
#include "xvosc.h"

static_assert(sizeof(XvoVAD2State_GSMAMR) == 200, "the option-2 record layout");
static_assert(offsetof(XvoVAD2State_GSMAMR, frameCount) == 40 && offsetof(XvoVAD2State_GSMAMR, chEnrg) == 44 &&
                  offsetof(XvoVAD2State_GSMAMR, r0) == 188,
              "reference field order");

namespace xvo {
namespace {

using namespace fx;

constexpr int kFrm = 80, kDelay = 24, kFft = 128, kChan = 16;
constexpr int16_t kPreEmp = -26214;  // -0.8

// Phase table of the 64-point complex FFT: cos and -sin of 2 pi k / 128, interleaved.
constexpr int16_t kPhs[128] = {
    32767,  0,      32729,  -1608,  32610,  -3212,  32413,  -4808,  32138,  -6393,  31786,  -7962,  31357,  -9512,
    30853,  -11039, 30274,  -12540, 29622,  -14010, 28899,  -15447, 28106,  -16846, 27246,  -18205, 26320,  -19520,
    25330,  -20788, 24279,  -22006, 23170,  -23170, 22006,  -24279, 20788,  -25330, 19520,  -26320, 18205,  -27246,
    16846,  -28106, 15447,  -28899, 14010,  -29622, 12540,  -30274, 11039,  -30853, 9512,   -31357, 7962,   -31786,
    6393,   -32138, 4808,   -32413, 3212,   -32610, 1608,   -32729, 0,      -32768, -1608,  -32729, -3212,  -32610,
    -4808,  -32413, -6393,  -32138, -7962,  -31786, -9512,  -31357, -11039, -30853, -12540, -30274, -14010, -29622,
    -15447, -28899, -16846, -28106, -18205, -27246, -19520, -26320, -20788, -25330, -22006, -24279, -23170, -23170,
    -24279, -22006, -25330, -20788, -26320, -19520, -27246, -18205, -28106, -16846, -28899, -15447, -29622, -14010,
    -30274, -12540, -30853, -11039, -31357, -9512,  -31786, -7962,  -32138, -6393,  -32413, -4808,  -32610, -3212,
    -32729, -1608};

// Channel edges (FFT bins), their gains, the voice-metric table and the long-term-SNR tables.
constexpr int8_t kChTbl[kChan][2] = {{2, 3},   {4, 5},   {6, 7},   {8, 9},   {10, 11}, {12, 13}, {14, 16}, {17, 19},
                                     {20, 22}, {23, 26}, {27, 30}, {31, 35}, {36, 41}, {42, 48}, {49, 55}, {56, 63}};
constexpr int16_t kChTblSh[kChan] = {16384, 16384, 16384, 16384, 16384, 16384, 10923, 10923,
                                     10923, 8192,  8192,  6554,  5461,  4681,  4681,  4096};
constexpr int8_t kVmTbl[90] = {2,  2,  2,  2,  2,  2,  2,  2,  2,  2,  2,  3,  3,  3,  3,  3,  4,  4,
                               4,  5,  5,  5,  6,  6,  7,  7,  7,  8,  8,  9,  9,  10, 10, 11, 12, 12,
                               13, 13, 14, 15, 15, 16, 17, 17, 18, 19, 20, 20, 21, 22, 23, 24, 24, 25,
                               26, 27, 28, 28, 29, 30, 31, 32, 33, 34, 35, 36, 37, 37, 38, 39, 40, 41,
                               42, 43, 44, 45, 46, 47, 48, 49, 50, 50, 50, 50, 50, 50, 50, 50, 50, 50};
constexpr int8_t kHangover[20] = {30, 30, 30, 30, 30, 30, 28, 26, 24, 22, 20, 18, 16, 14, 12, 10, 8, 8, 8, 8};
constexpr int8_t kBurst[20] = {8, 8, 8, 8, 8, 8, 8, 8, 7, 6, 5, 4, 4, 4, 4, 4, 4, 4, 4, 4};
constexpr int16_t kVmThr[20] = {34, 34, 34, 34, 34, 34, 34, 34, 34, 34, 34, 40, 51, 71, 100, 139, 191, 257, 337, 432};

// Per scaling state (channel energies in 22.9 or 27.4): noise floor, minimum energy, initial
// noise, fractional bits; shifts between the states.
constexpr int16_t kNoiseFloor[2] = {512, 16}, kMinChEnrg[2] = {32, 1}, kIneNoise[2] = {8192, 256}, kFbits[2] = {9, 4};
constexpr int16_t kStateShift[2] = {4 - 9, 9 - 4}, kEnrgNormShift[2] = {9 - 1 + 2, 4 - 1 + 2};
constexpr int32_t kMinNoise = 32;
constexpr int16_t kHighAlpha = 29491, kLowAlpha = 22938, kDevThld = 7168;
constexpr int16_t kCeeSm = 18022, kOneMinusCeeSm = 14746, kCneSm = 3277, kOneMinusCneSm = 29491;
constexpr int16_t kUpdateThld = 35, kHysterThld = 6, kUpdateCntThld = 50;

/// Largest magnitude in x[0..127] (-32768 counted as 32767, which fails every bound used here).
int ownMaxAbs128(const int16_t* x) { return generic::ownGenericKernels().maxAbs(x, kFft); }

/// 64-point complex FFT in place (decimation in time, each stage halved), the core of the real
/// FFT. A stage whose inputs all stay below 13500 in magnitude cannot saturate any operator (the
/// rotated term stays below sqrt(2) 13500), so it runs on plain integers with the reference's
/// rounding; otherwise on the saturating operators.
void ownCFft(int16_t* x) {
    for (int i = 0, j = 0; i < kFft - 2; i += 2) {
        if (j > i) std::swap(x[i], x[j]), std::swap(x[i + 1], x[j + 1]);
        int k = kFft / 2;
        while (j >= k) j -= k, k >>= 1;
        j += k;
    }
    for (int stage = 0; stage < 6; ++stage) {
        const int jj = 2 << stage, kk = 2 * jj, ii2 = 2 * (kFft / 2 >> stage);
        if (ownMaxAbs128(x) < 13500) {
            gsmamr::ownGsmAmrKernels().fftStage(x, stage, kPhs);
            continue;
        }
        for (int j = 0, ji = 0; j < jj; j += 2, ji += ii2) {
            for (int k = j; k < kFft; k += kk) {
                const int kj = k + jj;
                const int16_t tr = round_fx(L_msu(L_mult(x[kj], kPhs[ji]), x[kj + 1], kPhs[ji + 1]));
                const int16_t ti = round_fx(L_mac(L_mult(x[kj + 1], kPhs[ji]), x[kj], kPhs[ji + 1]));
                x[kj] = shr(sub(x[k], tr), 1);
                x[kj + 1] = shr(sub(x[k + 1], ti), 1);
                x[k] = shr(add(x[k], tr), 1);
                x[k + 1] = shr(add(x[k + 1], ti), 1);
            }
        }
    }
}

}  // namespace

/// 128-point real FFT in place: the complex FFT of the 64 sample pairs, then the split into the
/// positive-frequency half (bins 0 and 64 packed in x[0] and x[1]).
void ownRealFft128_16s(int16_t* x) {
    ownCFft(x);
    const int16_t r0 = x[0], r1 = x[1];
    x[0] = add(r0, r1);
    x[1] = sub(r0, r1);
    // Below 6786 in magnitude no sum of the split can saturate either (at most 316436 times that).
    const bool exact = ownMaxAbs128(x) < 6786;
    for (int i = 2, j = kFft - 2; i <= kFft / 2; i += 2, j = kFft - i) {
        if (exact) {
            const int32_t f1r = x[i] + x[j], f1i = x[i + 1] - x[j + 1], f2r = x[i + 1] + x[j + 1], f2i = x[j] - x[i];
            const int32_t l1r = f1r * 65536, l1i = f1i * 65536;
            auto rnd = [](int32_t v) { return static_cast<int16_t>(((v >> 1) + 0x8000) >> 16); };
            x[i] = rnd(l1r + 2 * (f2r * kPhs[i] - f2i * kPhs[i + 1]));
            x[i + 1] = rnd(l1i + 2 * (f2i * kPhs[i] + f2r * kPhs[i + 1]));
            x[j] = rnd(l1r + 2 * (f2r * kPhs[j] + f2i * kPhs[j + 1]));
            x[j + 1] = rnd(-l1i + 2 * (f2r * kPhs[j + 1] - f2i * kPhs[j]));
            continue;
        }
        const int16_t f1r = add(x[i], x[j]), f1i = sub(x[i + 1], x[j + 1]);
        const int16_t f2r = add(x[i + 1], x[j + 1]), f2i = sub(x[j], x[i]);
        const int32_t l1r = L_deposit_h(f1r), l1i = L_deposit_h(f1i);
        x[i] = round_fx(L_shr(L_msu(L_mac(l1r, f2r, kPhs[i]), f2i, kPhs[i + 1]), 1));
        x[i + 1] = round_fx(L_shr(L_mac(L_mac(l1i, f2i, kPhs[i]), f2r, kPhs[i + 1]), 1));
        x[j] = round_fx(L_shr(L_mac(L_mac(l1r, f2r, kPhs[j]), f2i, kPhs[j + 1]), 1));
        x[j + 1] = round_fx(L_shr(L_mac(L_msu(L_negate(l1i), f2i, kPhs[j]), f2r, kPhs[j + 1]), 1));
    }
}

namespace {

/// 10 log10 of x 2^-fbits in Q8 (the reference's fn10Log10).
int16_t ownDb(int32_t x, int16_t fbits) {
    int16_t e, f;
    ownLog2_32s16s(x, &e, &f);
    e = sub(e, fbits);
    return static_cast<int16_t>(L_shr_r(Mpy_32_16(e, f, 24660), 6));
}

/// One 80-sample half frame; returns its decision.
int16_t ownVad2Half(const int16_t* in, XvoVAD2State_GSMAMR* st, int16_t ltpFlag) {
    st->frameCount = L_add(st->frameCount, 1);
    int16_t buf[kFrm];
    int scale = 2;  // headroom for the FFT
    xvosAutoScale_16s(in, buf, kFrm, &scale);
    const int16_t normb = static_cast<int16_t>(scale);

    // Pre-emphasis (the memory rescaled to this block's scale), placed after 24 zeros in 128.
    int16_t data[kFft] = {};
    st->preEmpMem = shr_r(st->preEmpMem, sub(st->lastNormbShift, normb));
    st->lastNormbShift = normb;
    int16_t mem = st->preEmpMem;
    xvosPreemphasize_GSMAMR_16s(kPreEmp, buf, data + kDelay, kFrm, &mem);
    st->preEmpMem = mem;
    ownRealFft128_16s(data);

    // Channel energies in 22.9 or, for loud blocks, 27.4; a change of state rescales them. (A
    // record holding another shift state than 0 or 1 is read as state 1.)
    if (st->shiftState != 0) st->shiftState = 1;
    bool change = false;
    if (st->shiftState == 0) {
        if (normb <= -2 + 2) change = true, st->shiftState = 1;
    } else if (normb >= -2 + 5) {
        change = true, st->shiftState = 0;
    }
    const int s = st->shiftState;
    if (change)
        for (int i = 0; i < kChan; ++i) st->chEnrg[i] = L_shr(st->chEnrg[i], kStateShift[s]);
    const int16_t alpha = st->frameCount == 1 ? 32767 : kCeeSm, oneMinus = st->frameCount == 1 ? 0 : kOneMinusCeeSm;
    for (int i = 0; i < kChan; ++i) {
        int32_t e = 0;
        for (int j = kChTbl[i][0]; j <= kChTbl[i][1]; ++j) {
            e = L_mac(e, data[2 * j], data[2 * j]);
            e = L_mac(e, data[2 * j + 1], data[2 * j + 1]);
        }
        e = L_shr_r(e, sub(shl(normb, 1), kEnrgNormShift[s]));
        int16_t hi, lo;
        L_Extract(e, hi, lo);
        const int32_t t = Mpy_32_16(hi, lo, mult(alpha, kChTblSh[i]));
        L_Extract(st->chEnrg[i], hi, lo);
        st->chEnrg[i] = L_add(t, Mpy_32_16(hi, lo, oneMinus));
        if (st->chEnrg[i] < kMinChEnrg[s]) st->chEnrg[i] = kMinChEnrg[s];
    }
    int32_t tce = 0, peak = 0;
    for (int i = 0; i < kChan; ++i) tce = L_add(tce, st->chEnrg[i]);
    for (int i = 2; i < kChan; ++i)
        if (st->chEnrg[i] > peak) peak = st->chEnrg[i];
    int16_t hi, lo;
    L_Extract(tce, hi, lo);
    const bool p2a = peak > Mpy_32_16(hi, lo, 20480);  // peak-to-average above 10 dB

    // The first four half frames take the noise estimate from the signal.
    if (st->frameCount <= 4) {
        for (int i = 0; i < kChan; ++i) {
            if (p2a || st->chEnrg[i] < kIneNoise[s]) st->chNoise[i] = kIneNoise[0];
            else st->chNoise[i] = s == 1 ? L_shr(st->chEnrg[i], kStateShift[0]) : st->chEnrg[i];
        }
    }

    // Channel SNRs, quantised in 0.375 dB steps, give the voice metric.
    int16_t enrgDb[kChan], snr[kChan];
    int16_t vmSum = 0;
    for (int i = 0; i < kChan; ++i) {
        enrgDb[i] = ownDb(st->chEnrg[i], kFbits[s]);
        snr[i] = sub(enrgDb[i], ownDb(st->chNoise[i], kFbits[0]));
        const int16_t q = shr_r(mult(21845, snr[i]), 6);
        vmSum = add(vmSum, kVmTbl[std::clamp<int>(q, 0, 89)]);
    }

    // Total SNR: reset on the first frames and after a forced update, else tracked.
    int16_t xt;
    if (st->frameCount <= 4 || st->fupdateFlag != 0) {
        st->negSnrVar = st->negSnrBias = 0;
        int32_t tne = 0;
        for (int i = 0; i < kChan; ++i) tne = L_add(tne, st->chNoise[i]);
        xt = sub(14320, ownDb(tne, kFbits[0]));
        st->tsnr = xt;
    } else {
        int32_t sum = 0;
        for (int i = 0; i < kChan; ++i) {
            L_Extract(L_shr(L_mult(snr[i], 10885), 8), hi, lo);
            sum = L_add(sum, g729::ownPow2_G729(add(hi, 3), lo));  // 2^3 keeps negative SNRs
        }
        xt = ownDb(sum, 4 + 3);  // the mean over 16 and the 2^3
        if (xt > st->tsnr) {
            st->tsnr = round_fx(L_add(L_mult(29491, st->tsnr), L_mult(3277, xt)));
        } else if (sub(xt, mult(20480, st->tsnr)) > 0) {
            st->tsnr = round_fx(L_add(L_mult(32702, st->tsnr), L_mult(66, xt)));
        }
    }
    const int tsnrq = std::clamp<int>(shr(mult(st->tsnr, 10923), 8), 0, 19);

    if (xt < 0) {  // negative SNRs raise the threshold through their variance
        const int16_t sq = round_fx(L_shl(L_mult(xt, xt), 7));
        st->negSnrVar = round_fx(L_add(L_mult(32440, st->negSnrVar), L_mult(328, sq)));
        if (st->negSnrVar > 1024) st->negSnrVar = 1024;
        const int16_t t = mult_r(shl(sub(st->negSnrVar, 166), 4), 24576);
        st->negSnrBias = t < 0 ? int16_t{0} : shr(t, 8);
    }

    int16_t ivad;
    if (vmSum > add(kVmThr[tsnrq], st->negSnrBias)) {
        ivad = 1;
        st->burstCount = add(st->burstCount, 1);
        if (st->burstCount > kBurst[tsnrq]) st->hangover = kHangover[tsnrq];
    } else {
        st->burstCount = 0;
        st->hangover = sub(st->hangover, 1);
        if (st->hangover <= 0) ivad = 0, st->hangover = 0;
        else ivad = 1;
    }

    // Spectral deviation from the long-term channel energies, which follow faster at low SNR.
    int16_t dev = 0;
    if (st->frameCount == 1) {
        std::copy(enrgDb, enrgDb + kChan, st->chEnrgLongDb);
    } else {
        for (int i = 0; i < kChan; ++i) dev = add(dev, abs_s(sub(st->chEnrgLongDb[i], enrgDb[i])));
    }
    int16_t a, oma;
    const int16_t d = sub(st->tsnr, xt);
    if (d <= 0 || st->tsnr <= 0) a = kHighAlpha, oma = static_cast<int16_t>(32768 - kHighAlpha);
    else if (d > st->tsnr) a = kLowAlpha, oma = static_cast<int16_t>(32768 - kLowAlpha);
    else a = sub(kHighAlpha, mult(kHighAlpha - kLowAlpha, div_s(d, st->tsnr))), oma = sub(32767, a);
    for (int i = 0; i < kChan; ++i)
        st->chEnrgLongDb[i] = round_fx(L_add(L_mult(oma, enrgDb[i]), L_mult(a, st->chEnrgLongDb[i])));

    // Noise update: on quiet frames, or forced after 50 stationary frames without a tone or pitch.
    bool update = false;
    st->fupdateFlag = 0;
    if (vmSum <= kUpdateThld) {
        if (st->burstCount == 0) update = true, st->updateCnt = 0;
    } else if (tce > kNoiseFloor[s] && dev < kDevThld && !p2a && ltpFlag == 0) {
        st->updateCnt = add(st->updateCnt, 1);
        if (st->updateCnt >= kUpdateCntThld) update = true, st->fupdateFlag = 1;
    }
    st->hysterCnt = st->updateCnt == st->lastUpdateCnt ? add(st->hysterCnt, 1) : int16_t{0};
    st->lastUpdateCnt = st->updateCnt;
    if (st->hysterCnt > kHysterThld) st->updateCnt = 0;
    if (update) {
        const int16_t sh = s == 1 ? kStateShift[0] : 0;  // the noise is kept in 22.9
        for (int i = 0; i < kChan; ++i) {
            L_Extract(L_shr(st->chEnrg[i], sh), hi, lo);
            const int32_t t = Mpy_32_16(hi, lo, kCneSm);
            L_Extract(st->chNoise[i], hi, lo);
            st->chNoise[i] = L_add(t, Mpy_32_16(hi, lo, kOneMinusCneSm));
            if (st->chNoise[i] <= kMinNoise) st->chNoise[i] = kMinNoise;
        }
    }
    return ivad;
}

}  // namespace
}  // namespace xvo

using namespace xvo;

XVOSC_API XvoStatus xvosPreemphasize_GSMAMR_16s(Xvo16s gamma, const Xvo16s* pSrc, Xvo16s* pDst, int len,
                                               Xvo16s* pMem) {
    XVO_CHECK(ownCheckPtrs(pSrc, pDst, pMem));
    XVO_CHECK(ownCheckLens(len));
    // Backwards, so that pDst may equal pSrc; the first sample uses the memory.
    const int16_t last = pSrc[len - 1];
    for (int i = len - 1; i > 0; --i) pDst[i] = fx::add(pSrc[i], fx::mult(gamma, pSrc[i - 1]));
    pDst[0] = fx::add(pSrc[0], fx::mult(gamma, *pMem));
    *pMem = last;
    return xvoStsOk;
}

XVOSC_API XvoStatus xvosFFTFwd_RToPerm_GSMAMR_16s_I(Xvo16s* pSrcDst) {
    XVO_CHECK(ownCheckPtrs(pSrcDst));
    ownRealFft128_16s(pSrcDst);
    return xvoStsOk;
}

XVOSC_API XvoStatus xvosVAD2_GSMAMR_16s(const Xvo16s* pSrcSpch, XvoVAD2State_GSMAMR* pState, Xvo16s* pVadFlag,
                                       Xvo16s ltpFlag) {
    XVO_CHECK(ownCheckPtrs(pSrcSpch, pState, pVadFlag));
    pState->ltpFlag = ltpFlag;
    // Both halves are always analysed (each updates the state); the frame is speech if either is.
    const int16_t first = ownVad2Half(pSrcSpch, pState, ltpFlag);
    const int16_t second = ownVad2Half(pSrcSpch + kFrm, pState, ltpFlag);
    *pVadFlag = static_cast<Xvo16s>(first || second);
    return xvoStsOk;
}
