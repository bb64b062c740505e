// GSM-AMR silence-descriptor analysis (TS 26.073 dtx_enc.c with the SID path of Q_plsf_3): the
// averaged LSPs and log energy of the DTX history are quantised to the 35-bit SID parameters, and
// the LSF quantiser and gain predictor memories are set from them for the frames that follow.
#include <algorithm>

#include "amr/gsmamr_common.h"
#include "amr/gsmamr_tables.h"
#include "core/check.h"
#include "core/fixed.h"
#include "g729/lsp.h"
#include "xvosc.h"

namespace xvo {
namespace {

using namespace fx;
using namespace gsmamr;

constexpr int kM = 10;
constexpr int16_t kLsfGap = 205;

/// LSF weighting factors (Lsf_wt): from the distances to the neighbours, Q13 after the shift.
void ownLsfWeights(const int16_t* lsf, int16_t* wf) {
    wf[0] = lsf[1];
    for (int i = 1; i < 9; ++i) wf[i] = sub(lsf[i + 1], lsf[i - 1]);
    wf[9] = sub(16384, lsf[8]);
    for (int i = 0; i < kM; ++i) {
        const int16_t t = sub(wf[i], 1843);
        wf[i] = shl(t < 0 ? sub(3427, mult(wf[i], 28160)) : sub(1843, mult(t, 6242)), 3);
    }
}

/// Index of the row of a `rows` x `dim` codebook nearest to r in weighted squared error (the
/// first of equal errors); r takes that row.
int16_t ownWeightedVq(int16_t* r, const int16_t* cb, const int16_t* wf, int dim, int rows) {
    int32_t best = MAX_32;
    int index = 0;
    for (int i = 0; i < rows; ++i) {
        int32_t d = 0;
        for (int j = 0; j < dim; ++j) {
            const int16_t t = mult(wf[j], sub(r[j], cb[i * dim + j]));
            d = L_mac(d, t, t);
        }
        if (d < best) best = d, index = i;
    }
    std::copy(cb + index * dim, cb + (index + 1) * dim, r);
    return static_cast<int16_t>(index);
}

/// Raises each LSF to at least the previous one + gap (the first to at least gap).
void ownReorderLsf(int16_t* lsf) {
    int16_t lo = kLsfGap;
    for (int i = 0; i < kM; ++i) {
        if (lsf[i] < lo) lsf[i] = lo;
        lo = add(lsf[i], kLsfGap);
    }
}

}  // namespace
}  // namespace xvo

using namespace xvo;

XVOSC_API XvoStatus xvosEncDTXSID_GSMAMR_16s(const Xvo16s* pSrcLSPHist, const Xvo16s* pSrcLogEnHist,
                                            Xvo16s* pSrcDstSidParams, Xvo16s* pSrcDstPastRq, Xvo16s* pDstLSPQ,
                                            Xvo16s* pSrcDstPastQuaEn, Xvo16s* pSrcDstPastQuaEnMR122,
                                            Xvo16s computeSidFlag) {
    XVO_CHECK(ownCheckPtrs(pSrcLSPHist, pSrcLogEnHist, pSrcDstSidParams));
    XVO_CHECK(ownCheckPtrs(pSrcDstPastRq, pDstLSPQ));
    XVO_CHECK(ownCheckPtrs(pSrcDstPastQuaEn, pSrcDstPastQuaEnMR122));
    // The stored parameters are sent again unless a new SID is requested, or the stored
    // log-energy index is 0 (also after a reset), as the reference encoder does.
    if (computeSidFlag == 0 && pSrcDstSidParams[4] != 0) return xvoStsOk;

    // Average of the 8 frames: log energy (history entries / 4, summed, halved) and LSPs.
    int16_t logEn = 0;
    int32_t acc[kM] = {};
    for (int i = 0; i < 8; ++i) {
        logEn = add(logEn, shr(pSrcLogEnHist[i], 2));
        for (int j = 0; j < kM; ++j) acc[j] = L_add(acc[j], pSrcLSPHist[i * kM + j]);
    }
    logEn = shr(logEn, 1);
    int16_t lsp[kM];
    for (int j = 0; j < kM; ++j) lsp[j] = extract_l(L_shr(acc[j], 3));

    // 6-bit log energy index; the gain predictors restart from the energy it stands for.
    int16_t enIdx = shr(add(add(logEn, 2560), 128), 8);
    enIdx = std::clamp<int16_t>(enIdx, 0, 63);
    int16_t qe = sub(sub(shl(enIdx, 8), 2560), 9000);
    qe = std::clamp<int16_t>(qe, -14436, 0);
    const int16_t qe122 = mult(5443, qe);

    // Ordered LSFs, quantised with the best of the 8 initial predictions and the 3 splits.
    int16_t lsf[kM], wf[kM], r[kM], pred[kM];
    g729::ownLSPToLSFNorm_16s(lsp, lsf);
    ownReorderLsf(lsf);
    ownLSFToLSP_GSMAMR_16s(lsf, lsp);
    g729::ownLSPToLSFNorm_16s(lsp, lsf);
    ownLsfWeights(lsf, wf);
    int32_t bestErr = MAX_32;
    int init = 0;
    for (int j = 0; j < 8; ++j) {
        int32_t err = 0;
        int16_t tr[kM], tp[kM];
        for (int i = 0; i < kM; ++i) {
            tp[i] = add(kMeanLsf3[i], kPastRqInit[j * kM + i]);
            tr[i] = sub(lsf[i], tp[i]);
            err = L_mac(err, tr[i], tr[i]);
        }
        if (err < bestErr) {
            bestErr = err, init = j;
            std::copy(tr, tr + kM, r);
            std::copy(tp, tp + kM, pred);
        }
    }
    const int16_t i0 = ownWeightedVq(r, kDico1Lsf3, wf, 3, 256);
    const int16_t i1 = ownWeightedVq(r + 3, kDico2Lsf3, wf + 3, 3, 512);
    const int16_t i2 = ownWeightedVq(r + 6, kDico3Lsf3, wf + 6, 4, 512);
    int16_t lsfq[kM];
    for (int i = 0; i < kM; ++i) lsfq[i] = add(r[i], pred[i]);
    ownReorderLsf(lsfq);

    ownLSFToLSP_GSMAMR_16s(lsfq, pDstLSPQ);
    std::copy(r, r + kM, pSrcDstPastRq);
    std::fill(pSrcDstPastQuaEn, pSrcDstPastQuaEn + 4, qe);
    std::fill(pSrcDstPastQuaEnMR122, pSrcDstPastQuaEnMR122 + 4, qe122);
    const int16_t params[5] = {static_cast<int16_t>(init), i0, i1, i2, enIdx};
    std::copy(params, params + 5, pSrcDstSidParams);
    return xvoStsOk;
}
