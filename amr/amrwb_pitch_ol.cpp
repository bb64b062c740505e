// AMR-WB and AMR-WB+ open-loop pitch search on the decimated weighted speech (TS 26.173
// p_med_ol.c Pitch_med_ol and Med_olag, hp_wsp.c, and the per-call updates of cod_main.c):
// weighted correlation maximum, its normalised correlation on a 180 Hz high-passed copy, the
// median of the last five reliable lags, the adaptive weighting switch and the tone register.
#include <algorithm>
#include <cstdlib>

#include "amr/amrwb_simd.h"
#include "amr/amrwb_tables.h"
#include "core/check.h"
#include "core/fixed.h"
#include "core/helpers.h"
#include "xvosc.h"

using namespace xvo;
using namespace xvo::fx;

namespace {

constexpr int kMaxLag = 256;  // longest lag and frame the AMR-WB+ variant accepts
constexpr int16_t kReliableGain = 19661;  // 0.6 (Q15): a lag this well correlated joins the median
constexpr int16_t kWeightOn = 26214;      // 0.8 (Q15): weighting stays on while the adaptive weight is this high
constexpr int16_t kToneGain = 21298;      // 0.65 (Q15): a correlation above this marks a tonal half frame

/// Third-order 180 Hz high-pass of wsp into out (Q12 coefficients, recursive part in double
/// precision), with the 9-value memory y3, y2, y1 (hi, lo each) and x0, x1, x2.
void ownHpWsp(const int16_t* wsp, int16_t* out, int len, int16_t* mem) {
    constexpr int16_t a1 = 21663, a2 = -19258, a3 = 5734;
    constexpr int16_t b0 = -3432, b1 = 10280, b2 = -10280, b3 = 3432;
    int16_t y3h = mem[0], y3l = mem[1], y2h = mem[2], y2l = mem[3], y1h = mem[4], y1l = mem[5];
    int16_t x0 = mem[6], x1 = mem[7], x2 = mem[8];
    for (int i = 0; i < len; ++i) {
        const int16_t x3 = x2;
        x2 = x1, x1 = x0, x0 = wsp[i];
        int32_t t = 16384;  // rounding of the low halves
        t = L_mac(L_mac(L_mac(t, y1l, a1), y2l, a2), y3l, a3);
        t = L_shr(t, 15);
        t = L_mac(L_mac(L_mac(t, y1h, a1), y2h, a2), y3h, a3);
        t = L_mac(L_mac(L_mac(L_mac(t, x0, b0), x1, b1), x2, b2), x3, b3);
        t = L_shl(t, 2);  // Q12 coefficients
        y3h = y2h, y3l = y2l, y2h = y1h, y2l = y1l;
        L_Extract(t, y1h, y1l);
        out[i] = round_fx(L_shl(t, 1));
    }
    mem[0] = y3h, mem[1] = y3l, mem[2] = y2h, mem[3] = y2l, mem[4] = y1h, mem[5] = y1l;
    mem[6] = x0, mem[7] = x1, mem[8] = x2;
}

/// Median of five values, by the reference's partial exchange sort.
int16_t ownMedian5(const int16_t* x) {
    int16_t x1 = x[0], x2 = x[1], x3 = x[2], x4 = x[3], x5 = x[4];
    if (x2 < x1) std::swap(x1, x2);
    if (x3 < x1) std::swap(x1, x3);
    if (x4 < x1) std::swap(x1, x4);
    if (x5 < x1) x5 = x1;
    if (x3 < x2) std::swap(x2, x3);
    if (x4 < x2) std::swap(x2, x4);
    if (x5 < x2) x5 = x2;
    if (x4 < x3) x3 = x4;
    if (x5 < x3) x3 = x5;
    return x3;
}

struct OlState {
    int16_t* medianLag;
    int16_t* lagHist;
    int16_t* adaptWeight;
    int16_t* weightFlag;
    int16_t* hpMem;
    int16_t* hpHist;
};

/// One open-loop search over lags lmax down to lmin + 1 on the len current samples of wsp
/// (lmax samples of history before wsp[0]); returns the lag and writes its normalised correlation.
/// Then the median, adaptive weight and weighting flag updates. Argument values already checked.
int16_t ownOpenLoopPitch(const int16_t* wsp, int lmin, int lmax, int len, const OlState& st, int16_t& gain) {
    const int l0 = *st.medianLag;
    const bool weighted = l0 > 0 && *st.weightFlag > 0;
    int iw = 198, ie = 98 + lmax - l0;  // lag weighting, and weighting around the previous median
    // The correlations of every lag: when 2 len max|wsp|^2 stays below 2^31 no partial sum can
    // saturate and the vector kernel's plain sums are the reference's; otherwise the scalar form.
    int peak = 0;
    for (int k = -lmax; k < len; ++k) peak = std::max(peak, std::abs(int(wsp[k])));
    const bool exact = 2 * int64_t(len) * peak * peak < (int64_t(1) << 31);
    const auto& kernels = exact ? amrwb::ownAmrwbKernels() : amrwb::ownAmrwbKernelsFor(OwnCpuLevel::Scalar);
    int32_t corr[kMaxLag];
    kernels.olCorr(wsp, lmin, lmax, len, corr);
    int32_t best = MIN_32;
    int tm = 0;
    for (int i = lmax; i > lmin; --i) {
        int32_t r = corr[lmax - i];
        int16_t hi, lo;
        L_Extract(r, hi, lo);
        r = Mpy_32_16(hi, lo, amrwb::kCorrWeight[iw--]);
        if (weighted) {
            L_Extract(r, hi, lo);
            r = Mpy_32_16(hi, lo, amrwb::kCorrWeight[ie--]);
        }
        if (r >= best) best = r, tm = i;  // the shorter of equal maxima
    }

    // Normalised correlation at the chosen lag on the high-passed signal, with its history.
    int16_t hpBuf[2 * kMaxLag];
    std::copy(st.hpHist, st.hpHist + lmax, hpBuf);
    int16_t* hp = hpBuf + lmax;
    ownHpWsp(wsp, hp, len, st.hpMem);
    int32_t r0 = 0, r1 = 1, r2 = 1;
    for (int j = 0; j < len; ++j) {
        r0 = L_mac(r0, hp[j], hp[j - tm]);
        r1 = L_mac(r1, hp[j - tm], hp[j - tm]);
        r2 = L_mac(r2, hp[j], hp[j]);
    }
    const int16_t e0 = norm_l(r0);
    r0 = L_shl(r0, e0);
    int16_t e1 = norm_l(r1);
    r1 = L_shl(r1, e1);
    const int16_t e2 = norm_l(r2);
    r2 = L_shl(r2, e2);
    r1 = L_mult(round_fx(r1), round_fx(r2));
    const int16_t n = norm_l(r1);
    r1 = L_shl(r1, n);
    e1 = sub(62, add(add(e1, e2), n));
    ownInvSqrt_32s(&r1, &e1);
    r0 = L_mult(round_fx(r0), round_fx(r1));
    gain = round_fx(L_shl(r0, add(sub(31, e0), e1)));
    std::copy(hpBuf + len, hpBuf + len + lmax, st.hpHist);

    // A well-correlated lag enters the median of the last five and restores full weighting;
    // otherwise the weight decays by 0.9 and the weighting turns off below 0.8.
    if (gain > kReliableGain) {
        std::copy_backward(st.lagHist, st.lagHist + 4, st.lagHist + 5);
        st.lagHist[0] = static_cast<int16_t>(tm);
        *st.medianLag = ownMedian5(st.lagHist);
        *st.adaptWeight = 32767;
    } else {
        *st.adaptWeight = mult(*st.adaptWeight, 29491);
    }
    *st.weightFlag = *st.adaptWeight >= kWeightOn ? 1 : 0;
    return static_cast<int16_t>(tm);
}

/// The weighting around the previous median reads the weight table at 98 + lmax - median and the
/// lmax - lmin - 1 entries below it, so it needs lmax - 100 <= median <= lmin + 99.
bool ownMedianUsable(int l0, int flag, int lmin, int lmax) {
    return !(l0 > 0 && flag > 0) || (l0 >= lmax - 100 && l0 <= lmin + 99);
}

}  // namespace

XVOSC_API XvoStatus xvosOpenLoopPitchSearch_AMRWB_16s(const Xvo16s* pSrcWgtSpch, Xvo16s* pDstLag, Xvo16s* pDstGain,
                                                     Xvo16s* pSrcDstMedianLag, Xvo16s* pSrcDstLagHist,
                                                     Xvo16s* pSrcDstAdaptWeight, Xvo16s* pSrcDstWeightFlag,
                                                     Xvo16s* pSrcDstHpMem, Xvo16s* pSrcDstHpWspHist, Xvo16s* pSrcDstTone,
                                                     Xvo32s len) {
    XVO_CHECK(ownCheckPtrs(pSrcWgtSpch, pDstLag, pDstGain, pSrcDstMedianLag, pSrcDstLagHist, pSrcDstAdaptWeight,
                           pSrcDstWeightFlag, pSrcDstHpMem, pSrcDstHpWspHist, pSrcDstTone));
    XVO_RETURN_IF(len != 64 && len != 128, xvoStsSize);
    constexpr int kMin = 17, kMax = 115;
    XVO_RETURN_IF(!ownMedianUsable(*pSrcDstMedianLag, *pSrcDstWeightFlag, kMin, kMax), xvoStsRange);
    const OlState st{pSrcDstMedianLag, pSrcDstLagHist, pSrcDstAdaptWeight, pSrcDstWeightFlag, pSrcDstHpMem,
                     pSrcDstHpWspHist};
    int16_t gain;
    const int16_t lag = ownOpenLoopPitch(pSrcWgtSpch + kMax, kMin, kMax, len, st, gain);
    // The tone register shifts once per half frame; bit 14 marks a strongly periodic one.
    int16_t tone = asr16(*pSrcDstTone, 1);
    if (gain > kToneGain) tone = static_cast<int16_t>(tone | 0x4000);
    *pSrcDstTone = tone;
    *pDstLag = lag;
    *pDstGain = gain;
    return xvoStsOk;
}

XVOSC_API XvoStatus xvosOpenLoopPitchSearch_AMRWBE_16s(const Xvo16s* pSrcWgtSpch, Xvo16s* pDstLag, Xvo16s* pDstGain,
                                                      Xvo16s* pSrcDstMedianLag, Xvo16s* pSrcDstLagHist,
                                                      Xvo16s* pSrcDstAdaptWeight, Xvo16s* pSrcDstWeightFlag,
                                                      Xvo16s* pSrcDstHpMem, Xvo16s* pSrcDstHpWspHist, Xvo32s minLag,
                                                      Xvo32s maxLag, Xvo32s len) {
    XVO_CHECK(ownCheckPtrs(pSrcWgtSpch, pDstLag, pDstGain, pSrcDstMedianLag, pSrcDstLagHist, pSrcDstAdaptWeight,
                           pSrcDstWeightFlag, pSrcDstHpMem, pSrcDstHpWspHist));
    XVO_RETURN_IF(len < 1 || len > kMaxLag, xvoStsSize);
    XVO_RETURN_IF(minLag < 1 || maxLag <= minLag || maxLag > kMaxLag || maxLag - minLag > 198, xvoStsRange);
    XVO_RETURN_IF(!ownMedianUsable(*pSrcDstMedianLag, *pSrcDstWeightFlag, minLag, maxLag), xvoStsRange);
    const OlState st{pSrcDstMedianLag, pSrcDstLagHist, pSrcDstAdaptWeight, pSrcDstWeightFlag, pSrcDstHpMem,
                     pSrcDstHpWspHist};
    int16_t gain;
    *pDstLag = ownOpenLoopPitch(pSrcWgtSpch + maxLag, minLag, maxLag, len, st, gain);
    *pDstGain = gain;
    return xvoStsOk;
}
