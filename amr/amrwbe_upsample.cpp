// AMR-WB+ decoder output stage (TS 26.290 Join_over_12k8): the 12.8 kHz low and high bands are
// joined into one 25.6 kHz signal by a half-band interpolator, then resampled to 48 or 44.1 kHz
// by a 12-tap-per-side polyphase filter whose phase runs on from call to call.
#include <algorithm>
#include <array>

#include "amr/amrwbe_band.h"
#include "amr/amrwbe_tables.h"
#include "core/check.h"
#include "core/fixed.h"
#include "xvosc.h"

namespace xvo::amrwbe {
namespace {

using namespace fx;

constexpr int kMaxIn = 1024, kHist = 24;


/// Output count: ceil((2 len facUp - phase) / facDown), in the codec's division steps.
int16_t ownUpCount(int len, int16_t facUp, int16_t facDown, int16_t phase) {
    int32_t t = L_mult(static_cast<int16_t>(2 * len), facUp);
    t = L_mac(t, sub(facDown, add(1, phase)), 1);
    const int16_t i = norm_s(facDown);
    int16_t n = div_s(extract_h(L_shl(t, i)), shl(facDown, i));
    const int16_t n1 = add(n, 1);
    if (L_msu(t, n1, facDown) >= 0) n = n1;
    return n;
}

/// The 25.6 kHz signal: even samples LF + HF twelve samples back, odd samples the half-band
/// interpolation of LF - HF. lf and hf hold kHist history samples, then len new ones; x gets
/// 2 len samples.
void ownJoin(const int16_t* lf, const int16_t* hf, int len, int16_t* x) {
    int16_t dif[kHist + kMaxIn], sum[kHist + kMaxIn];
    for (int k = 0; k < kHist + len; ++k) {
        const int32_t l = L_mult(lf[k], 32767);
        dif[k] = round_fx(L_msu(l, hf[k], 16384));
        sum[k] = round_fx(L_mac(l, hf[k], 16384));
    }
    int16_t peak = 0;
    for (int k = 0; k < kHist + len; ++k) peak = std::max(peak, abs_s(dif[k]));
    // Below this peak no partial sum of the doubled products can saturate: one exact sum.
    const bool exact = int32_t(peak) * kUpAbsMax < (int32_t(1) << 30);
    for (int i = 0; i < len; ++i) {
        int32_t s = 0;
        if (exact) {
            for (int j = 0; j < 12; ++j) s += kJoinHalfBand[j] * (int32_t(dif[i + 12 - j]) + dif[i + 13 + j]);
            s *= 2;
        } else {
            for (int j = 0; j < 12; ++j) {
                s = L_mac(s, dif[i + 12 - j], kJoinHalfBand[j]);
                s = L_mac(s, dif[i + 13 + j], kJoinHalfBand[j]);
            }
        }
        x[2 * i] = sum[i + 12];
        x[2 * i + 1] = round_fx(L_shl(s, 1));
    }
}

/// The reference's saturating sum over one phase row, in its order (left wing and right wing
/// alternately, from the centre out), doubled as L_mac doubles.
int32_t ownUpDotSat(const int16_t* row, const int16_t* x) {
    int32_t s = 0;
    for (int j = 0; j < 12; ++j) {
        s = L_mac(s, x[11 - j], row[11 - j]);
        s = L_mac(s, x[12 + j], row[12 + j]);
    }
    return s;
}

int32_t ownUpDotExact(const int16_t* row, const int16_t* x) {
    return ownDot(row, x, kUpTaps) * 2;  // |sum| < 2^30 here (see the caller)
}

}  // namespace
}  // namespace xvo::amrwbe

using namespace xvo;
using namespace xvo::amrwbe;

extern "C" {

XVOSC_API XvoStatus xvosBandJoinUpsample_AMRWBE_16s(const Xvo16s* pSrcLowBand, const Xvo16s* pSrcHighBand, Xvo32s len,
                                                   Xvo16s* pDst, Xvo32s dstLen, Xvo16s* pSrcDstHistory,
                                                   Xvo16s* pSrcDstPhase, Xvo32s* pDstCount, Xvo16s downFactor) {
    XVO_CHECK(ownCheckPtrs(pSrcLowBand, pSrcHighBand, pDst));
    XVO_CHECK(ownCheckPtrs(pSrcDstHistory, pSrcDstPhase, pDstCount));
    XVO_CHECK(ownCheckLens(dstLen, len));
    XVO_RETURN_IF(len > kMaxIn || (dstLen != 3840 && dstLen != 3528), xvoStsSize);
    XVO_RETURN_IF(downFactor < 48 || downFactor > 164, xvoStsRange);
    const bool is48 = dstLen == 3840;
    const int16_t facUp = is48 ? 1440 : 1323, facDown = static_cast<int16_t>(downFactor * 8);
    int16_t frac = *pSrcDstPhase;
    XVO_RETURN_IF(frac < 0 || frac >= facUp, xvoStsRange);
    const std::array<int16_t, kUpTaps>* rows = is48 ? kUp48Rows.data() : kUp44Rows.data();

    const int count = ownUpCount(len, facUp, facDown, frac);
    // x: 24 samples of history, the 2 len new samples, and zeros the filter never weighs.
    alignas(32) int16_t x[kHist + 2 * kMaxIn + kUpTaps] = {};
    std::copy_n(pSrcDstHistory, kHist, x);
    ownJoin(pSrcLowBand, pSrcHighBand, len, x + kHist);
    int16_t peak = 0;
    for (int k = 0; k < kHist + 2 * len; ++k) peak = std::max(peak, abs_s(x[k]));
    // Below this peak no partial sum of the doubled products can saturate.
    const bool exact = int32_t(peak) * kUpAbsMax < (int32_t(1) << 30);

    // The phase advances by facDown / facUp input samples per output (facDown < facUp).
    const int16_t fracStep = facDown, wrap = sub(facUp, fracStep);
    int pos = 0;
    for (int i = 0; i < count; ++i) {
        const int16_t* row = rows[frac >> 3].data();
        const int16_t* xp = x + pos + 1;
        const int32_t s = exact ? ownUpDotExact(row, xp) : ownUpDotSat(row, xp);
        pDst[i] = shl(mult_r(round_fx(s), 32767), 1);
        if (frac >= wrap) {
            ++pos;
            frac = sub(frac, wrap);
        } else {
            frac = add(frac, fracStep);
        }
    }
    std::copy_n(x + 2 * len, kHist, pSrcDstHistory);
    *pSrcDstPhase = frac;
    *pDstCount = count;
    return xvoStsOk;
}

}  // extern "C"
