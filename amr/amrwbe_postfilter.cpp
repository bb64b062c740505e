// AMR-WB+ decoder low-band post-filter (TS 26.290 Bass_postfilter): between the harmonics of the
// decoded 12.8 kHz synthesis, the noise estimated as x[n] - (x[n - T] + x[n + T]) / 2 is low-pass
// filtered and subtracted, with T checked against pitch doubling and the gain limited on bursts.
// And the stereo coder's FIR (TS 26.290 Fir_filt) that shapes the mid-band excitation.
#include <algorithm>

#include "core/check.h"
#include "core/fixed.h"
#include "core/helpers.h"
#include "xvosc.h"

namespace xvo::amrwbe {
namespace {

using namespace fx;

constexpr int kPitMax = 375;  // largest pitch lag of any internal sampling rate
constexpr int kSubfr = 64, kFrame = 1024, kNbSubfr = 16, kFilt = 12, kExtra = 96;
constexpr int kSynMem = kPitMax + 2 * kSubfr;
static_assert(sizeof(XvoPostFilterLowBandState_AMRWBE) == 2 * (kSynMem + 2 * kFilt + 5) + 2);

/// Low-pass filter of the harmonic noise (Filt_lp), Q15, centre tap first.
constexpr int16_t kFiltLp[kFilt + 1] = {2892, 2831, 2657, 2384, 2041, 1659, 1271, 907, 594, 347, 171, 64, 13};

/// x = round(x << exp) over n samples, saturating (a negative exp shifts right).
void ownScale(int16_t* x, int n, int16_t exp) {
    for (int i = 0; i < n; ++i) x[i] = round_fx(L_shl(L_deposit_h(x[i]), exp));
}

/// 1/sqrt(x) in Q31 for x in Q0 (0x7fffffff for x <= 0).
int32_t ownInvSqrt(int32_t x) {
    int16_t e = norm_l(x);
    x = L_shl(x, e);
    e = sub(31, e);
    ownInvSqrt_32s(&x, &e);
    return L_shl(x, e);
}

/// Half the lag when the synthesis correlates with itself at T/2 by more than 0.95 over the
/// subframe and the 96 samples before it. syn[0] is the subframe start.
int16_t ownShortPitchTracker(const int16_t* syn, int16_t lag) {
    const int16_t half = shr(lag, 1);
    const int16_t* v1 = syn - kExtra;
    const int16_t* v2 = syn - half - kExtra;
    int32_t ener = 1, corr = 1, ener2 = 1;
    constexpr int kBlock = (kSubfr + kExtra) / 4;
    for (int j = 0; j < kSubfr + kExtra; j += kBlock) {
        int32_t e = 0, c = 0, t = 0;
        for (int i = 0; i < kBlock; ++i) e = L_mac(e, v1[i + j], v1[i + j]);
        for (int i = 0; i < kBlock; ++i) c = L_mac(c, v1[i + j], v2[i + j]);
        for (int i = 0; i < kBlock; ++i) t = L_mac(t, v2[i + j], v2[i + j]);
        ener = L_add(ener, L_shr(e, 1));
        corr = L_add(corr, L_shr(c, 1));
        ener2 = L_add(ener2, L_shr(t, 1));
    }
    int16_t h1, l1, h2, l2;
    L_Extract(ener, h1, l1);
    L_Extract(ener2, h2, l2);
    const int32_t inv = ownInvSqrt(L_shr(Mpy_32(h1, l1, h2, l2), 1));
    L_Extract(inv, h2, l2);
    L_Extract(L_shr(corr, 1), h1, l1);
    return L_sub(Mpy_32(h1, l1, h2, l2), 31130) > 0 ? half : lag;
}

/// min(gain, sqrt(energy at n / energy at n + T)) in Q14 over the lg samples of the subframe.
int16_t ownLimitGain(const int16_t* syn, int lag, int lg, int16_t gain) {
    int32_t e0 = 0, e1 = 0;
    for (int i = 0; i < lg; ++i) e0 = L_mac(e0, syn[i], syn[i]);
    for (int i = 0; i < lg; ++i) e1 = L_mac(e1, syn[i + lag], syn[i + lag]);
    if (e0 == 0) e0 = 1;
    const int16_t x0 = norm_l(e0);
    int16_t x1 = norm_l(e1);
    const int16_t m0 = extract_h(L_shl(e0, x0));
    int16_t m1 = extract_h(L_shl(e1, x1));
    if (m1 > m0) {
        m1 = shr(m1, 1);
        x1 = sub(x1, 1);
    }
    m1 = div_s(m1, m0);
    x1 = sub(x1, x0);
    int32_t r = L_deposit_h(m1);
    int16_t e = add(x1, 16);
    ownInvSqrt_32s(&r, &e);
    const int16_t g = extract_h(L_shl(r, add(add(e, x1), 7)));
    return g < gain ? g : gain;
}

void ownPostFilter(const int16_t* in, const int16_t* lags, const int16_t* gains, int16_t* out, bool pitchAdjust,
                   XvoPostFilterLowBandState_AMRWBE& st) {
    // synBuf: kPitMax + delay samples of history, then the frame; syn = the frame's output start.
    const int hist = kPitMax + (pitchAdjust ? 2 * kSubfr : kSubfr);
    const int length = hist + kFrame;
    int16_t synBuf[kSynMem + kFrame];
    std::copy_n(st.synth, hist, synBuf);
    std::copy_n(in, kFrame, synBuf + hist);
    std::copy_n(synBuf + kFrame, hist, st.synth);
    int16_t* syn = synBuf + kPitMax;
    std::copy_n(syn - kFilt, kFrame, out);

    int16_t peak = 0;
    for (int i = 0; i < length; ++i) peak = std::max(peak, abs_s(synBuf[i]));
    const int16_t scale = sub(norm_s(peak), 3);  // 12 significant bits
    ownScale(synBuf, length, scale);

    int16_t noiseBuf[2 * kFilt + kSubfr];
    const int16_t* noise = noiseBuf + kFilt;
    int16_t lag = st.lag[0], gain = st.gain[0];
    for (int sf = 0; sf < kFrame; sf += kSubfr) {
        if (pitchAdjust) {
            // The synthesis runs two subframes late: the first two use the previous frame's values.
            const int k = (sf >> 6) - 2;
            lag = k < 0 ? st.lag[k + 2] : lags[k];
            gain = k < 0 ? st.gain[k + 2] : gains[k];
        }
        gain = std::clamp<int16_t>(gain, 0, 16384);
        lag = ownShortPitchTracker(syn + sf, lag);
        const int lg = std::clamp((pitchAdjust ? 2 * kSubfr : kSubfr) + kFrame - (lag + sf), 0, kSubfr);
        if (lg > 0) gain = ownLimitGain(syn + sf, lag, lg, gain);

        const int16_t half = shr(gain, 1);
        for (int i = 0; i < lg; ++i) {
            int32_t t = L_mult(syn[i + sf], gain);
            t = L_msu(t, syn[i + sf - lag], half);
            t = L_msu(t, syn[i + sf + lag], half);
            noiseBuf[i + 2 * kFilt] = round_fx(t);
        }
        for (int i = lg; i < kSubfr; ++i)
            noiseBuf[i + 2 * kFilt] = round_fx(L_mult(gain, sub(syn[i + sf], syn[i + sf - lag])));
        std::copy_n(st.noise, 2 * kFilt, noiseBuf);
        ownScale(noiseBuf, 2 * kFilt, sub(scale, st.scale));
        std::copy_n(noiseBuf + kSubfr, 2 * kFilt, st.noise);

        for (int i = 0; i < kSubfr; ++i) {
            int32_t t = L_mult(kFiltLp[0], noise[i]);
            for (int j = 1; j <= kFilt; ++j) t = L_mac(t, kFiltLp[j], add(noise[i - j], noise[i + j]));
            out[i + sf] = sub(out[i + sf], round_fx(L_shr(t, scale)));
        }
        if (!pitchAdjust) {
            lag = lags[sf >> 6];
            gain = gains[sf >> 6];
        }
        st.scale = scale;
    }
    if (pitchAdjust) {
        st.lag[0] = lags[kNbSubfr - 2];
        st.gain[0] = gains[kNbSubfr - 2];
        st.lag[1] = lags[kNbSubfr - 1];
        st.gain[1] = gains[kNbSubfr - 1];
    } else {
        st.lag[0] = lag;
        st.gain[0] = gain;
    }
}

bool ownLagsValid(const int16_t* lags, int n) {
    return std::all_of(lags, lags + n, [](int16_t t) { return t >= 1 && t <= kPitMax; });
}

}  // namespace
}  // namespace xvo::amrwbe

using namespace xvo;
using namespace xvo::amrwbe;

extern "C" {

XVOSC_API XvoStatus xvosPostFilterLowBand_AMRWBE_16s(const Xvo16s* pSrc, const Xvo16s* pSrcLag, const Xvo16s* pSrcGain,
                                                    Xvo16s* pDst, Xvo32s pitchAdjust,
                                                    XvoPostFilterLowBandState_AMRWBE* pState) {
    XVO_CHECK(ownCheckPtrs(pSrc, pSrcLag, pSrcGain, pDst, pState));
    XVO_RETURN_IF(pitchAdjust != 0 && pitchAdjust != 1, xvoStsRange);
    XVO_RETURN_IF(!ownLagsValid(pSrcLag, kNbSubfr) || !ownLagsValid(pState->lag, 2), xvoStsBadCodecParam);
    XVO_RETURN_IF(pState->scale < -3 || pState->scale > 12, xvoStsBadCodecParam);
    ownPostFilter(pSrc, pSrcLag, pSrcGain, pDst, pitchAdjust != 0, *pState);
    return xvoStsOk;
}

XVOSC_API XvoStatus xvosPostFilterLowBandInit_AMRWBE_16s(XvoPostFilterLowBandState_AMRWBE* pState) {
    XVO_CHECK(ownCheckPtrs(pState));
    *pState = XvoPostFilterLowBandState_AMRWBE{};
    pState->lag[0] = pState->lag[1] = 64;
    return xvoStsOk;
}

XVOSC_API XvoStatus xvosFIRGenMidBand_AMRWBE_16s(const Xvo16s* pSrc, Xvo16s* pDst, Xvo32s len, const Xvo16s* pSrcCoef,
                                                Xvo32s order) {
    using namespace fx;
    XVO_CHECK(ownCheckPtrs(pSrc, pDst, pSrcCoef));
    XVO_CHECK(ownCheckLens(len, order));
    XVO_RETURN_IF(order > 64, xvoStsSize);
    const Xvo16s* x = pSrc + (order - 1);  // order - 1 history samples come first
    for (Xvo32s i = 0; i < len; ++i) {
        int32_t s = L_mult(x[i], pSrcCoef[0]);
        for (Xvo32s j = 1; j < order; ++j) s = L_mac(s, pSrcCoef[j], x[i - j]);
        pDst[i] = round_fx(L_shl(s, 2));
    }
    return xvoStsOk;
}

}  // extern "C"
