// G.723.1 multipulse maximum-likelihood quantiser of the 6.3 kbit/s mode
// (G.723.1 2.15): pulse search on both grids around the quantised largest
// amplitude, optionally with the pitch-train impulse response, then the
// combinatorial position code and the pitch train on the code vector.
#include <algorithm>
#include <cstdint>

#include "core/check.h"
#include "core/fixed.h"
#include "g723/g723_internal.h"
#include "g723/g723_tables.h"
#include "xvosc.h"

namespace xvo::g723 {

using namespace fx;

namespace {

constexpr int kGrid = 2;         // pulse grids (even / odd positions)
constexpr int kGainLevels = 24;  // pulse amplitude levels
constexpr int kMlqSteps = 2;     // amplitudes tried each side of the estimate
constexpr int kPulses[4] = {6, 5, 6, 5};


// Adds copies of src delayed by lag, 2 lag, ... (saturating) into dst.
void ownPitchTrain(int16_t* dst, const int16_t* src, int16_t lag) {
    int16_t tmp[kSubFrLen];
    for (int i = 0; i < kSubFrLen; ++i) tmp[i] = dst[i] = src[i];
    for (int d = lag; d < kSubFrLen; d += lag)
        for (int i = d; i < kSubFrLen; ++i) dst[i] = add(dst[i], tmp[i - d]);
}

}  // namespace

// One search over both grids with the response imr as given (plain or with
// its pitch train): for each grid the largest backward-filtered target sets
// the amplitude estimate, and 4 amplitude levels around it place np pulses
// greedily; the candidate of largest score (first on ties) is kept in best,
// which the caller starts at maxErr = MIN_32.
void ownGainQuant_G723(MlqBest& best, const int16_t* tv, const int16_t* imr, int np) {
    int32_t imrPeak = 0;
    for (int i = 0; i < kSubFrLen; ++i) imrPeak = std::max(imrPeak, imr[i] < 0 ? -int32_t(imr[i]) : int32_t(imr[i]));
    // Autocorrelation of the halved response, normalised by its energy.
    int16_t half[kSubFrLen], rr[kSubFrLen];
    for (int i = 0; i < kSubFrLen; ++i) half[i] = shr(imr[i], 1);
    int32_t acc = 0;
    for (int i = 0; i < kSubFrLen; ++i) acc = L_mac(acc, half[i], half[i]);
    int16_t e = norm_l(acc);
    rr[0] = round_fx(L_shl(acc, e));
    for (int i = 1; i < kSubFrLen; ++i) {
        if (!ownWideDot(half + i, half, kSubFrLen - i, 2, &acc)) {
            acc = 0;
            for (int j = i; j < kSubFrLen; ++j) acc = L_mac(acc, half[j], half[j - i]);
        }
        rr[i] = round_fx(L_shl(acc, e));
    }
    // Backward-filtered target.
    e = sub(e, 4);
    int32_t errBlk[kSubFrLen];
    for (int i = 0; i < kSubFrLen; ++i) {
        if (!ownWideDot(tv + i, imr, kSubFrLen - i, 2, &acc)) {
            acc = 0;
            for (int j = i; j < kSubFrLen; ++j) acc = L_mac(acc, tv[j], imr[j - i]);
        }
        errBlk[i] = L_shl(acc, e);
    }

    for (int k = 0; k < kGrid; ++k) {
        int16_t loc[kMaxPulses] = {}, amp[kMaxPulses] = {};
        int32_t top = 0;
        for (int i = k; i < kSubFrLen; i += kGrid) {
            const int32_t a = L_abs(errBlk[i]);
            if (a >= top) top = a, loc[0] = static_cast<int16_t>(i);
        }
        // Amplitude level nearest the largest correlation.
        int32_t dmin = 0x40000000;
        int ampId = kGainLevels - kMlqSteps;
        for (int i = ampId; i >= kMlqSteps; --i) {
            const int32_t d = L_abs(L_sub(L_mult(kFcbkGain[i], rr[0]), top));
            if (d < dmin) dmin = d, ampId = i;
        }
        --ampId;
        for (int step = 1; step <= 2 * kMlqSteps; ++step) {
            int32_t wrk[kSubFrLen];
            bool occ[kSubFrLen] = {};
            for (int j = k; j < kSubFrLen; j += kGrid) wrk[j] = errBlk[j];
            const int16_t mampId = static_cast<int16_t>(ampId - kMlqSteps + step);
            const int16_t mamp = kFcbkGain[mampId];
            amp[0] = wrk[loc[0]] >= 0 ? mamp : negate(mamp);
            occ[loc[0]] = true;
            for (int j = 1; j < np; ++j) {
                int32_t mx = static_cast<int32_t>(0xc0000000u);
                for (int l = k; l < kSubFrLen; l += kGrid) {
                    if (occ[l]) continue;
                    const int d = l - loc[j - 1];
                    wrk[l] = L_msu(wrk[l], amp[j - 1], rr[d < 0 ? -d : d]);
                    const int32_t a = L_abs(wrk[l]);
                    if (a > mx) mx = a, loc[j] = static_cast<int16_t>(l);
                }
                amp[j] = wrk[loc[j]] >= 0 ? mamp : negate(mamp);
                occ[loc[j]] = true;
            }
            // Synthesised pulses: a sparse convolution in position order gives
            // the same saturating sums as the dense one (zeros add nothing).
            int16_t pos[kMaxPulses], pa[kMaxPulses];
            int n = 0;
            for (int l = k; l < kSubFrLen; l += kGrid)
                if (occ[l])
                    for (int j = 0; j < np; ++j)
                        if (loc[j] == l) pos[n] = static_cast<int16_t>(l), pa[n++] = amp[j];
            // Below this bound no partial sum of the doubled products can saturate.
            const bool plain = int64_t(mamp) * imrPeak * 2 * n < (int64_t(1) << 31);
            int32_t score = 0;
            for (int l = 0; l < kSubFrLen; ++l) {
                acc = 0;
                if (plain) {
                    for (int j = 0; j < n && pos[j] <= l; ++j) acc += int32_t(pa[j]) * imr[l - pos[j]];
                    acc *= 2;
                } else {
                    for (int j = 0; j < n && pos[j] <= l; ++j) acc = L_mac(acc, pa[j], imr[l - pos[j]]);
                }
                const int16_t y = extract_h(L_shl(acc, 2));
                score = L_mac(score, tv[l], y);
                score = L_sub(score, L_shr(L_mult(y, y), 1));
            }
            if (score > best.maxErr) {
                best.maxErr = score;
                best.grid = static_cast<int16_t>(k);
                best.ampId = mampId;
                for (int j = 0; j < np; ++j) best.amp[j] = amp[j], best.loc[j] = loc[j];
            }
        }
    }
}

void ownMPMLQSearch_G723(int16_t lag, const int16_t* h, const int16_t* tv, int16_t* code, int16_t* grid,
                         int16_t* trainFlag, int16_t* gainIndex, int16_t* signCode, int32_t* posCode, int16_t sfc) {
    const int np = kPulses[sfc];
    // Plain response first; the pitch-train response (lags below 58) replaces
    // its result only when it scores strictly better.
    MlqBest best;
    ownGainQuant_G723(best, tv, h, np);
    int16_t train = 0;
    if (lag < kSubFrLen - 2) {
        int16_t imr[kSubFrLen];
        ownPitchTrain(imr, h, lag);
        MlqBest withTrain;
        ownGainQuant_G723(withTrain, tv, imr, np);
        if (withTrain.maxErr > best.maxErr) best = withTrain, train = 1;
    }

    int16_t v[kSubFrLen] = {};
    for (int i = 0; i < np; ++i) v[best.loc[i]] = best.amp[i];

    // Position code: every empty grid position before the last pulse adds the
    // combinatorial weight of its column in the row of pulses still to place.
    int row = kMaxPulses - np;
    int16_t signs = 0;
    int32_t pos = 0;
    for (int i = 0; i < kSubFrLen / kGrid; ++i) {
        const int16_t s = v[best.grid + kGrid * i];
        if (s == 0) {
            pos = L_add(pos, kCombinatorial[row * 30 + i]);
        } else {
            signs = shl(signs, 1);
            if (s < 0) signs = add(signs, 1);
            if (++row == kMaxPulses) break;
        }
    }
    if (train == 1)
        ownPitchTrain(code, v, lag);
    else
        for (int i = 0; i < kSubFrLen; ++i) code[i] = v[i];
    *grid = best.grid;
    *trainFlag = train;
    *gainIndex = best.ampId;
    *signCode = signs;
    *posCode = pos;
}

}  // namespace xvo::g723

using namespace xvo;

extern "C" {

XVOSC_API XvoStatus xvosMPMLQFixedCodebookSearch_G723(Xvo16s valLag, const Xvo16s* pSrcImpulseResponse,
                                                     const Xvo16s* pSrcTarget, Xvo16s* pDstFixedVector,
                                                     Xvo16s* pDstPulseData, Xvo16s* pDstTrainFlag,
                                                     Xvo16s* pDstGainIndex, Xvo16s* pDstSignCode,
                                                     Xvo32s* pDstPositionCode, Xvo16s subFrame) {
    XVO_CHECK(ownCheckPtrs(pSrcImpulseResponse, pSrcTarget, pDstFixedVector, pDstPulseData, pDstTrainFlag,
                           pDstGainIndex));
    XVO_CHECK(ownCheckPtrs(pDstSignCode, pDstPositionCode));
    XVO_RETURN_IF(valLag < 18 || valLag > 145, xvoStsRange);
    XVO_RETURN_IF(subFrame < 0 || subFrame > 3, xvoStsRange);
    g723::ownMPMLQSearch_G723(valLag, pSrcImpulseResponse, pSrcTarget, pDstFixedVector, pDstPulseData, pDstTrainFlag,
                              pDstGainIndex, pDstSignCode, pDstPositionCode, subFrame);
    return xvoStsOk;
}

XVOSC_API XvoStatus xvosGainQuant_G723_16s(const Xvo16s* pSrcImpulseResponse, const Xvo16s* pSrcTarget,
                                           Xvo16s* pDstLocation, Xvo16s* pDstAmplitude, Xvo16s* pDstGrid,
                                           Xvo16s* pDstSubframe, Xvo16s* pDstGainIndex, int numPulses,
                                           Xvo32s* pDstIndex) {
    XVO_CHECK(ownCheckPtrs(pSrcImpulseResponse, pSrcTarget, pDstLocation, pDstAmplitude, pDstGrid, pDstSubframe,
                           pDstGainIndex, pDstIndex));
    XVO_RETURN_IF(numPulses != 5 && numPulses != 6, xvoStsRange);
    g723::MlqBest best;
    g723::ownGainQuant_G723(best, pSrcTarget, pSrcImpulseResponse, numPulses);
    for (int i = 0; i < g723::kSubFrLen; ++i) pDstSubframe[i] = 0;
    for (int i = 0; i < numPulses; ++i) {
        pDstLocation[i] = best.loc[i];
        pDstAmplitude[i] = best.amp[i];
        pDstSubframe[best.loc[i]] = best.amp[i];
    }
    *pDstGrid = best.grid;
    *pDstGainIndex = best.ampId;
    *pDstIndex = best.maxErr;
    return xvoStsOk;
}

}  // extern "C"
