// GSM-AMR decoding of the quantised LSPs (TS 26.073 d_plsf_3.c, d_plsf_5.c):
// split-vector decoding with first-order MA prediction below 12.2, split-matrix
// decoding of two vectors per frame at 12.2, and the lost-frame estimate.
#include <algorithm>

#include "amr/gsmamr_common.h"
#include "amr/gsmamr_tables.h"
#include "core/check.h"
#include "core/fixed.h"
#include "xvosc.h"

namespace xvo {
namespace {

using namespace fx;
using namespace gsmamr;

constexpr int kM = 10;
constexpr int16_t kLsfGap = 205;        // minimum distance between LSFs (about 50 Hz)
constexpr int16_t kPredFac122 = 21299;  // MA prediction factor of 12.2 (0.65)

/// Forces a minimum distance of kLsfGap between successive LSFs, starting from kLsfGap.
void ownReorderLsf(int16_t* lsf) {
    int16_t lsfMin = kLsfGap;
    for (int i = 0; i < kM; ++i) {
        if (lsf[i] < lsfMin) lsf[i] = lsfMin;
        lsfMin = add(lsf[i], kLsfGap);
    }
}

/// Row `index` (clamped to the codebook) of a codebook with `rows` rows of `width` values.
const int16_t* ownRow(const int16_t* cb, int rows, int width, int index) {
    return cb + std::clamp(index, 0, rows - 1) * width;
}

// One LSF vector from three split indices (modes below 12.2).
void ownDecodeSplit3(const int16_t* idx, int row, int16_t* pastRes, int16_t* lsf, bool bfi) {
    if (bfi) {
        // Lost frame: 0.9 of the previous LSFs and 0.1 of the mean; the residual memory follows.
        for (int i = 0; i < kM; ++i) lsf[i] = add(mult(lsf[i], 29491), mult(kMeanLsf3[i], 3277));
        for (int i = 0; i < kM; ++i) pastRes[i] = sub(lsf[i], add(kMeanLsf3[i], mult(pastRes[i], kPredFac3[i])));
        return;
    }
    const bool mr515 = row <= 1, mr795 = row == 5;
    const int16_t* r1 = mr795 ? ownRow(kMr795Lsf1, 512, 3, idx[0]) : ownRow(kDico1Lsf3, 256, 3, idx[0]);
    const int16_t* r2 = ownRow(kDico2Lsf3, 512, 3, mr515 ? idx[1] * 2 : idx[1]);
    const int16_t* r3 = mr515 ? ownRow(kMr515Lsf3, 128, 4, idx[2]) : ownRow(kDico3Lsf3, 512, 4, idx[2]);
    const int16_t res[kM] = {r1[0], r1[1], r1[2], r2[0], r2[1], r2[2], r3[0], r3[1], r3[2], r3[3]};
    for (int i = 0; i < kM; ++i) {
        lsf[i] = add(res[i], add(kMeanLsf3[i], mult(pastRes[i], kPredFac3[i])));
        pastRes[i] = res[i];
    }
}

// Two LSF vectors from five split-matrix indices (12.2).
void ownDecodeSplit5(const int16_t* idx, int16_t* pastRes, const int16_t* pastLsf, int16_t* lsf1, int16_t* lsf2,
                     bool bfi) {
    if (bfi) {
        // Lost frame: 0.95 of the previous LSFs and 0.05 of the mean.
        for (int i = 0; i < kM; ++i) lsf2[i] = lsf1[i] = add(mult(pastLsf[i], 31128), mult(kMeanLsf5[i], 1639));
        for (int i = 0; i < kM; ++i) pastRes[i] = sub(lsf2[i], add(kMeanLsf5[i], mult(pastRes[i], kPredFac122)));
        return;
    }
    int16_t r1[kM], r2[kM];
    const int16_t* tab[5] = {kDico1Lsf5, kDico2Lsf5, kDico3Lsf5, kDico4Lsf5, kDico5Lsf5};
    const int rows[5] = {128, 256, 256, 256, 64};
    for (int k = 0; k < 5; ++k) {
        // The third split carries a sign in bit 0 of its index.
        const bool neg = k == 2 && (idx[2] & 1);
        const int16_t* row = ownRow(tab[k], rows[k], 4, k == 2 ? shr(idx[2], 1) : idx[k]);
        r1[2 * k] = neg ? negate(row[0]) : row[0];
        r1[2 * k + 1] = neg ? negate(row[1]) : row[1];
        r2[2 * k] = neg ? negate(row[2]) : row[2];
        r2[2 * k + 1] = neg ? negate(row[3]) : row[3];
    }
    for (int i = 0; i < kM; ++i) {
        const int16_t pred = add(kMeanLsf5[i], mult(pastRes[i], kPredFac122));
        lsf1[i] = add(r1[i], pred);
        lsf2[i] = add(r2[i], pred);
        pastRes[i] = r2[i];
    }
}

}  // namespace
}  // namespace xvo

using namespace xvo;

XVOSC_API XvoStatus xvosQuantLSPDecode_GSMAMR_16s(const Xvo16s* pSrcQntIdx, Xvo16s* pSrcDstPrevQntLSFResidual,
                                                 Xvo16s* pSrcDstPrevQntLSF, Xvo16s* pDstQntLSP, Xvo16s* pDstQntLSF,
                                                 Xvo16s bfi, XvoSpeechRate mode) {
    XVO_CHECK(ownCheckPtrs(pSrcQntIdx, pSrcDstPrevQntLSFResidual, pSrcDstPrevQntLSF, pDstQntLSP, pDstQntLSF));
    const int row = ownGsmAmrRow(mode, true);
    XVO_RETURN_IF(row < 0, xvoStsRange);
    int16_t lsf[2 * kM];
    int16_t res[kM];
    std::copy(pSrcDstPrevQntLSFResidual, pSrcDstPrevQntLSFResidual + kM, res);
    const int vectors = row == kGsmAmrRow122 ? 2 : 1;
    if (vectors == 2) {
        ownDecodeSplit5(pSrcQntIdx, res, pSrcDstPrevQntLSF, lsf, lsf + kM, bfi != 0);
    } else {
        std::copy(pSrcDstPrevQntLSF, pSrcDstPrevQntLSF + kM, lsf);
        ownDecodeSplit3(pSrcQntIdx, row, res, lsf, bfi != 0);
    }
    for (int v = 0; v < vectors; ++v) {
        ownReorderLsf(lsf + v * kM);
        ownLSFToLSP_GSMAMR_16s(lsf + v * kM, pDstQntLSP + v * kM);  // reordered LSFs are positive
    }
    std::copy(lsf, lsf + vectors * kM, pDstQntLSF);
    std::copy(lsf + (vectors - 1) * kM, lsf + vectors * kM, pSrcDstPrevQntLSF);
    std::copy(res, res + kM, pSrcDstPrevQntLSFResidual);
    return xvoStsOk;
}
