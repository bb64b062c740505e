// G.723.1 6.3 kbit/s fixed codebook: the multipulse maximum-likelihood quantisation search
// (Find_Best), run on the plain impulse response and, for lags below 58, on the response with
// its pitch train (Gen_Trn), then the pulse placement and the combinatorial coding (Fcbk_Pack).
#include <algorithm>
#include <climits>

#include "core/check.h"
#include "core/fixed.h"
#include "g723/g723_tables.h"
#include "xvosc.h"

using namespace xvo;
using namespace xvo::fx;

namespace {

constexpr int kSub = 60, kGrid = 2, kMaxPulses = 6, kMlqSteps = 2, kGainLevels = 24;

struct Best {
    int32_t maxErr = INT32_MIN;
    int16_t grid = 0, mamp = 0, useTrn = 0;
    int16_t pamp[kMaxPulses] = {}, ploc[kMaxPulses] = {};
};

/// dst = src plus src shifted by lag, 2 lag, ... while inside the subframe (the pitch train).
void ownGenTrain(int16_t* dst, const int16_t* src, int lag) {
    int16_t tmp[kSub];
    std::copy(src, src + kSub, tmp);
    std::copy(src, src + kSub, dst);
    for (int t = lag; t < kSub; t = add(static_cast<int16_t>(t), static_cast<int16_t>(lag)))
        for (int i = t; i < kSub; ++i) dst[i] = add(dst[i], tmp[i - t]);
}

/// One search pass (Find_Best): on each grid, for 4 quantised amplitudes around the largest
/// correlation's, place the np pulses one by one at the largest remaining correlation, and keep
/// the candidate whose filtered code best matches the target.
void ownFindBest(Best& best, const int16_t* tv, const int16_t* h, int np, int lag) {
    int16_t imr[kSub], occ[kSub], corr[kSub];
    int32_t err[kSub], wrk[kSub];
    Best t;
    if (lag < kSub - 2) {
        t.useTrn = 1;
        ownGenTrain(imr, h, lag);
    } else {
        std::copy(h, h + kSub, imr);
    }
    for (int i = 0; i < kSub; ++i) occ[i] = shr(imr[i], 1);
    int32_t a = 0;
    for (int i = 0; i < kSub; ++i) a = L_mac(a, occ[i], occ[i]);
    int16_t exp = norm_l(a);
    corr[0] = round_fx(L_shl(a, exp));
    for (int i = 1; i < kSub; ++i) {
        a = 0;
        for (int j = i; j < kSub; ++j) a = L_mac(a, occ[j], occ[j - i]);
        corr[i] = round_fx(L_shl(a, exp));
    }
    exp = sub(exp, 4);
    for (int i = 0; i < kSub; ++i) {
        a = 0;
        for (int j = i; j < kSub; ++j) a = L_mac(a, tv[j], imr[j - i]);
        err[i] = L_shl(a, exp);
    }
    for (int k = 0; k < kGrid; ++k) {
        t.grid = static_cast<int16_t>(k);
        int32_t a1 = 0;
        for (int i = k; i < kSub; i += kGrid)
            if (L_abs(err[i]) >= a1) a1 = L_abs(err[i]), t.ploc[0] = static_cast<int16_t>(i);
        // The quantised amplitude nearest the largest correlation.
        const int32_t a2 = a1;
        a1 = 0x40000000;
        int maxId = kGainLevels - kMlqSteps;
        for (int i = maxId; i >= kMlqSteps; --i) {
            const int32_t d = L_abs(L_sub(L_mult(g723::kFcbkGain[i], corr[0]), a2));
            if (d < a1) a1 = d, maxId = i;
        }
        --maxId;
        for (int s = 1; s <= 2 * kMlqSteps; ++s) {
            for (int j = k; j < kSub; j += kGrid) wrk[j] = err[j], occ[j] = 0;
            t.mamp = static_cast<int16_t>(maxId - kMlqSteps + s);
            const int16_t amp = g723::kFcbkGain[t.mamp];
            t.pamp[0] = wrk[t.ploc[0]] >= 0 ? amp : negate(amp);
            occ[t.ploc[0]] = 1;
            for (int j = 1; j < np; ++j) {
                int32_t top = static_cast<int32_t>(0xc0000000u);
                for (int l = k; l < kSub; l += kGrid) {
                    if (occ[l] != 0) continue;
                    const int32_t w = L_msu(wrk[l], t.pamp[j - 1], corr[abs_s(static_cast<int16_t>(l - t.ploc[j - 1]))]);
                    wrk[l] = w;
                    if (L_abs(w) > top) top = L_abs(w), t.ploc[j] = static_cast<int16_t>(l);
                }
                t.pamp[j] = wrk[t.ploc[j]] >= 0 ? amp : negate(amp);
                occ[t.ploc[j]] = 1;
            }
            // Score: 2 <target, filtered code> - |filtered code|^2.
            std::fill(occ, occ + kSub, int16_t{0});
            for (int j = 0; j < np; ++j) occ[t.ploc[j]] = t.pamp[j];
            for (int l = kSub - 1; l >= 0; --l) {
                a = 0;
                for (int j = 0; j <= l; ++j) a = L_mac(a, occ[j], imr[l - j]);
                occ[l] = extract_h(L_shl(a, 2));
            }
            int32_t score = 0;
            for (int j = 0; j < kSub; ++j) {
                score = L_mac(score, tv[j], occ[j]);
                score = L_sub(score, L_shr(L_mult(occ[j], occ[j]), 1));
            }
            if (score > best.maxErr) {
                best.maxErr = score, best.grid = t.grid, best.mamp = t.mamp, best.useTrn = t.useTrn;
                std::copy(t.pamp, t.pamp + np, best.pamp);
                std::copy(t.ploc, t.ploc + np, best.ploc);
            }
        }
    }
}

}  // namespace

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
    const int np = (subFrame & 1) ? 5 : 6;
    // The best-score accumulator starts at the most negative value, so a result always exists.
    Best best;
    ownFindBest(best, pSrcTarget, pSrcImpulseResponse, np, kSub);
    if (valLag < kSub - 2) ownFindBest(best, pSrcTarget, pSrcImpulseResponse, np, valLag);

    int16_t code[kSub] = {};
    for (int i = 0; i < np; ++i) code[best.ploc[i]] = best.pamp[i];
    // Position code: combinations skipped by each empty grid position; signs, first pulse first.
    int j = kMaxPulses - np;
    int16_t signs = 0;
    int32_t pos = 0;
    for (int i = 0; i < kSub / kGrid; ++i) {
        const int16_t v = code[best.grid + kGrid * i];
        if (v == 0) {
            pos = L_add(pos, g723::kCombinatorial[j * 30 + i]);
        } else {
            signs = shl(signs, 1);
            if (v < 0) signs = add(signs, 1);
            if (++j == kMaxPulses) break;
        }
    }
    if (best.useTrn == 1) ownGenTrain(code, code, valLag);
    std::copy(code, code + kSub, pDstFixedVector);
    *pDstPulseData = best.grid;
    *pDstTrainFlag = best.useTrn;
    *pDstGainIndex = best.mamp;
    *pDstSignCode = signs;
    *pDstPositionCode = pos;
    return xvoStsOk;
}
