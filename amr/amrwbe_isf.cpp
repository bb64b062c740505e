// AMR-WB+ ISF decoding (TS 26.290): the 46-bit low-band decoder with a per-split loss mask
// (dpisf_2s_46b_2) and the 8-value high-band ISF decoder (d_isf_hf: one-stage split VQ with
// AR prediction).
#include <algorithm>

#include "amr/amrwb_isf.h"
#include "amr/amrwb_tables.h"
#include "core/check.h"
#include "core/fixed.h"
#include "xvosc.h"

using namespace xvo;
using namespace xvo::fx;

namespace {

constexpr int kHfOrder = 8;
constexpr int16_t kHfGap = 461;      // minimum distance between successive high-band ISFs
constexpr int16_t kHfMu = 16384;     // AR prediction factor 0.5 (Q15)
constexpr int16_t kHfAlpha = 29491;  // 0.9 (Q15): share of the memory kept on a lost frame

}  // namespace

XVOSC_API XvoStatus xvosISFQuantDecode_AMRWBE_16s(const Xvo16s* pSrcIdxs, Xvo16s* pDstQntIsf, Xvo16s* pSrcDstResidual,
                                                 const Xvo16s* pSrcPrevQntIsf, Xvo16s* pSrcDstIsfMemory, Xvo32s bfi,
                                                 Xvo32s lossMask) {
    XVO_CHECK(ownCheckPtrs(pSrcIdxs, pDstQntIsf, pSrcDstResidual));
    XVO_CHECK(ownCheckPtrs(pSrcPrevQntIsf, pSrcDstIsfMemory));
    amrwb::ownDecodeIsfFrame(pSrcIdxs, 0, lossMask, pDstQntIsf, pSrcDstResidual, pSrcPrevQntIsf, pSrcDstIsfMemory,
                             bfi != 0);
    return xvoStsOk;
}

XVOSC_API XvoStatus xvosISFQuantDecodeHighBand_AMRWBE_16s(const Xvo16s* pSrcIdxs, Xvo16s* pSrcDstMemory,
                                                         Xvo16s* pDstQntIsf, Xvo32s bfi, Xvo32s tableSet) {
    XVO_CHECK(ownCheckPtrs(pSrcIdxs, pSrcDstMemory, pDstQntIsf));
    const int16_t* mean = tableSet != 0 ? amrwb::kMeanIsfHf12k8 : amrwb::kMeanIsfHfLow;
    const int16_t* dico1 = tableSet != 0 ? amrwb::kDico1IsfHf12k8 : amrwb::kDico1IsfHfLow;
    int16_t isf[kHfOrder];
    if (bfi == 0) {
        // The indices are taken modulo the codebook sizes (2 and 7 bits), so any value addresses a row.
        const int16_t* r1 = dico1 + (pSrcIdxs[0] & 3) * kHfOrder;
        const int16_t* r2 = amrwb::kDico2IsfHf + (pSrcIdxs[1] & 127) * kHfOrder;
        for (int i = 0; i < kHfOrder; ++i)
            isf[i] = add(add(add(r1[i], r2[i]), mean[i]), mult_r(kHfMu, pSrcDstMemory[i]));
    } else {
        // Lost frame: the past ISFs pulled 10 % towards the mean.
        for (int i = 0; i < kHfOrder; ++i) isf[i] = add(mult_r(kHfAlpha, pSrcDstMemory[i]), mean[i]);
    }
    int16_t lo = kHfGap;
    for (int i = 0; i < kHfOrder - 1; ++i) {
        if (isf[i] < lo) isf[i] = lo;
        lo = add(isf[i], kHfGap);
    }
    for (int i = 0; i < kHfOrder; ++i) pSrcDstMemory[i] = sub(isf[i], mean[i]);
    std::copy(isf, isf + kHfOrder, pDstQntIsf);
    return xvoStsOk;
}
