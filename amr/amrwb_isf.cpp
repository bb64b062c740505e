// AMR-WB ISF decoding (TS 26.173 qpisf_2s.c: two-stage split VQ with MA
// prediction, 46-bit and 36-bit layouts, lost-frame estimate) and the
// silence-descriptor ISF quantiser and decoder (qisf_ns.c).
#include <algorithm>

#include "amr/amrwb_isf.h"
#include "amr/amrwb_tables.h"
#include "core/check.h"
#include "core/fixed.h"
#include "xvosc.h"

namespace xvo {
namespace {

using namespace fx;
using namespace amrwb;

constexpr int kM = 16;
constexpr int16_t kIsfGap = 128;  // minimum distance between successive ISFs (50 Hz)
constexpr int16_t kMu = 10923;    // MA prediction factor (1/3)

/// 0 for the 46-bit layout, 1 for the 36-bit one (6.6 and the SID code), -1 when not an AMR-WB mode.
int ownIsfLayout(int mode) {
    switch (mode) {
        case XVO_BITRATE_6600:
        case XVO_BITRATE_DTX: return 1;
        case XVO_BITRATE_8850:
        case XVO_BITRATE_12650:
        case XVO_BITRATE_14250:
        case XVO_BITRATE_15850:
        case XVO_BITRATE_18250:
        case XVO_BITRATE_19850:
        case XVO_BITRATE_23050:
        case XVO_BITRATE_23850: return 0;
        default: return -1;
    }
}

/// Raises each of the first 15 ISFs to at least the previous one + 128 (the first to 128).
void ownReorderIsf(int16_t* isf) {
    int16_t lo = kIsfGap;
    for (int i = 0; i < kM - 1; ++i) {
        if (isf[i] < lo) isf[i] = lo;
        lo = add(isf[i], kIsfGap);
    }
}

/// Adds row `index` (masked to the codebook) of a `rows` x `dim` codebook to out[0..dim-1].
void ownAddRow(int16_t* out, const int16_t* cb, int rows, int dim, int index) {
    const int16_t* r = cb + (index & (rows - 1)) * dim;
    for (int j = 0; j < dim; ++j) out[j] = add(out[j], r[j]);
}

/// Index of the row nearest to x (squared error, first of equal minima); x takes that row.
int ownSubVQ(int16_t* x, const int16_t* cb, int dim, int rows) {
    int32_t best = MAX_32;
    int index = 0;
    for (int i = 0; i < rows; ++i) {
        int32_t d = 0;
        for (int j = 0; j < dim; ++j) {
            const int16_t t = sub(x[j], cb[i * dim + j]);
            d = L_mac(d, t, t);
        }
        if (d < best) best = d, index = i;
    }
    std::copy(cb + index * dim, cb + (index + 1) * dim, x);
    return index;
}

/// Good-frame ISF decoding without the history: rows + mean + prediction; the residual becomes the
/// memory. A set bit k of `lossMask` (46-bit layout only) leaves out the stage-2 row of split k, so
/// that split keeps its stage-1 row alone (AMR-WB+ frames whose second stage was lost).
void ownDecodeIsf2s(const int16_t* idx, int layout, int16_t* mem, int16_t* isf, int lossMask = 0) {
    int16_t q[kM] = {};
    ownAddRow(q, kDico1Isf, 256, 9, idx[0]);
    ownAddRow(q + 9, kDico2Isf, 256, 7, idx[1]);
    if (layout == 0) {
        if (!(lossMask & 1)) ownAddRow(q, kDico21Isf, 64, 3, idx[2]);
        if (!(lossMask & 2)) ownAddRow(q + 3, kDico22Isf, 128, 3, idx[3]);
        if (!(lossMask & 4)) ownAddRow(q + 6, kDico23Isf, 128, 3, idx[4]);
        if (!(lossMask & 8)) ownAddRow(q + 9, kDico24Isf, 32, 3, idx[5]);
        if (!(lossMask & 16)) ownAddRow(q + 12, kDico25Isf, 32, 4, idx[6]);
    } else {
        ownAddRow(q, kDico21Isf36b, 128, 5, idx[2]);
        ownAddRow(q + 5, kDico22Isf36b, 128, 4, idx[3]);
        ownAddRow(q + 9, kDico23Isf36b, 64, 7, idx[4]);
    }
    for (int i = 0; i < kM; ++i) {
        isf[i] = add(add(q[i], kMeanIsf[i]), mult(kMu, mem[i]));
        mem[i] = q[i];
    }
}

/// The `surv` rows of a stage-1 codebook nearest to x, nearest first (earlier rows win ties).
void ownStage1(const int16_t* x, const OwnVqPairs& cb, int dim, int* best, int surv) {
    uint32_t xp[5];
    ownPackPairs(x, dim, xp);
    int32_t d[256];
    ownAmrwbKernels().vqDist(xp, cb, d);
    int32_t dmin[4];
    for (int k = 0; k < surv; ++k) dmin[k] = MAX_32, best[k] = k;
    for (int i = 0; i < cb.rows; ++i) {
        for (int k = 0; k < surv; ++k) {
            if (d[i] < dmin[k]) {
                for (int l = surv - 1; l > k; --l) dmin[l] = dmin[l - 1], best[l] = best[l - 1];
                dmin[k] = d[i], best[k] = i;
                break;
            }
        }
    }
}

struct Split {
    const OwnVqPairs& cb;
    int dim;
};

/// Stage 2 of one stage-1 part: for each of the 4 survivors, the nearest row of every split of
/// the residual (the first of equal distances); the survivor with the smallest summed error wins.
/// Writes the stage-1 index and the split indices.
void ownTwoStage(const int16_t* x, const int16_t* cb1, const OwnVqPairs& cb1p, int dim1, const Split* splits,
                 int nSplits, int16_t* idx1, int16_t* idx2) {
    int surv[4];
    ownStage1(x, cb1p, dim1, surv, 4);
    int32_t dist = MAX_32;
    *idx1 = static_cast<int16_t>(surv[0]);
    const OwnVqDistFn vqDist = ownAmrwbKernels().vqDist;
    for (int k = 0; k < 4; ++k) {
        int16_t r[9];
        for (int i = 0; i < dim1; ++i) r[i] = sub(x[i], cb1[surv[k] * dim1 + i]);
        int32_t total = 0;
        int16_t tmp[3];
        for (int s = 0, off = 0; s < nSplits; off += splits[s].dim, ++s) {
            uint32_t rp[4];
            ownPackPairs(r + off, splits[s].dim, rp);
            int32_t d[128];
            vqDist(rp, splits[s].cb, d);
            int index = 0;
            for (int i = 1; i < splits[s].cb.rows; ++i)
                if (d[i] < d[index]) index = i;
            tmp[s] = static_cast<int16_t>(index);
            total = L_add(total, d[index]);
        }
        if (total < dist) {
            dist = total;
            *idx1 = static_cast<int16_t>(surv[k]);
            std::copy(tmp, tmp + nSplits, idx2);
        }
    }
}

void ownDecodeIsfNoise(const int16_t* idx, int16_t* isf) {
    std::fill(isf, isf + kM, int16_t{0});
    ownAddRow(isf, kDico1IsfNoise, 64, 2, idx[0]);
    ownAddRow(isf + 2, kDico2IsfNoise, 64, 3, idx[1]);
    ownAddRow(isf + 5, kDico3IsfNoise, 64, 3, idx[2]);
    ownAddRow(isf + 8, kDico4IsfNoise, 32, 4, idx[3]);
    ownAddRow(isf + 12, kDico5IsfNoise, 32, 4, idx[4]);
    for (int i = 0; i < kM; ++i) isf[i] = add(isf[i], kMeanIsfNoise[i]);
    ownReorderIsf(isf);
}

}  // namespace

namespace amrwb {

void ownDecodeIsfFrame(const int16_t* idx, int layout, int lossMask, int16_t* out, int16_t* mem, const int16_t* prev,
                       int16_t* hist, bool bad) {
    int16_t isf[kM];
    if (!bad) {
        ownDecodeIsf2s(idx, layout, mem, isf, lossMask);
        // The history keeps the ISFs before the order is enforced, most recent first.
        std::copy_backward(hist, hist + 2 * kM, hist + 3 * kM);
        std::copy(isf, isf + kM, hist);
    } else {
        // Lost frame: 0.9 of the previous ISFs and 0.1 of the mean of the history and the ISF mean.
        for (int i = 0; i < kM; ++i) {
            const int32_t sum = int32_t(kMeanIsf[i]) + hist[i] + hist[kM + i] + hist[2 * kM + i];
            const int16_t ref = static_cast<int16_t>((sum + 2) >> 2);
            isf[i] = static_cast<int16_t>((29491 * int32_t(prev[i]) + 3277 * int32_t(ref)) >> 15);
            const int16_t pred = add(ref, mult(mem[i], kMu));
            mem[i] = asr16(sub_wrap(isf[i], pred), 1);
        }
    }
    ownReorderIsf(isf);
    std::copy(isf, isf + kM, out);
}

}  // namespace amrwb
}  // namespace xvo

using namespace xvo;

XVOSC_API XvoStatus xvosISFQuantDecode_AMRWB_16s(const Xvo16s* pSrcIdxs, Xvo16s* pDstQntIsf, Xvo16s* pSrcDstResidual,
                                                const Xvo16s* pSrcPrevQntIsf, Xvo16s* pSrcDstIsfMemory, Xvo32s bfi,
                                                XvoSpeechRate mode) {
    XVO_CHECK(ownCheckPtrs(pSrcIdxs, pDstQntIsf, pSrcDstResidual));
    XVO_CHECK(ownCheckPtrs(pSrcPrevQntIsf, pSrcDstIsfMemory));
    const int layout = ownIsfLayout(mode);
    XVO_RETURN_IF(layout < 0, xvoStsRange);
    ownDecodeIsfFrame(pSrcIdxs, layout, 0, pDstQntIsf, pSrcDstResidual, pSrcPrevQntIsf, pSrcDstIsfMemory, bfi != 0);
    return xvoStsOk;
}

XVOSC_API XvoStatus xvosISFQuantDTX_AMRWB_16s(const Xvo16s* pSrcIsf, Xvo16s* pDstQntIsf, Xvo16s* pDstIdxs) {
    XVO_CHECK(ownCheckPtrs(pSrcIsf, pDstQntIsf, pDstIdxs));
    int16_t r[kM], idx[5];
    for (int i = 0; i < kM; ++i) r[i] = sub(pSrcIsf[i], kMeanIsfNoise[i]);
    idx[0] = static_cast<int16_t>(ownSubVQ(r, kDico1IsfNoise, 2, 64));
    idx[1] = static_cast<int16_t>(ownSubVQ(r + 2, kDico2IsfNoise, 3, 64));
    idx[2] = static_cast<int16_t>(ownSubVQ(r + 5, kDico3IsfNoise, 3, 64));
    idx[3] = static_cast<int16_t>(ownSubVQ(r + 8, kDico4IsfNoise, 4, 32));
    idx[4] = static_cast<int16_t>(ownSubVQ(r + 12, kDico5IsfNoise, 4, 32));
    ownDecodeIsfNoise(idx, pDstQntIsf);
    std::copy(idx, idx + 5, pDstIdxs);
    return xvoStsOk;
}

XVOSC_API XvoStatus xvosISFQuantDecodeDTX_AMRWB_16s(const Xvo16s* pSrcIdxs, Xvo16s* pDstQntIsf) {
    XVO_CHECK(ownCheckPtrs(pSrcIdxs, pDstQntIsf));
    ownDecodeIsfNoise(pSrcIdxs, pDstQntIsf);
    return xvoStsOk;
}

XVOSC_API XvoStatus xvosISFQuant_AMRWB_16s(const Xvo16s* pSrcIsf, Xvo16s* pSrcDstResidual, Xvo16s* pDstQntIsf,
                                          Xvo16s* pDstIdxs, XvoSpeechRate mode) {
    XVO_CHECK(ownCheckPtrs(pSrcIsf, pSrcDstResidual, pDstQntIsf, pDstIdxs));
    const int layout = ownIsfLayout(mode);
    XVO_RETURN_IF(layout < 0, xvoStsRange);
    // Residual after the mean and the MA prediction.
    int16_t x[kM];
    for (int i = 0; i < kM; ++i) x[i] = sub(sub(pSrcIsf[i], kMeanIsf[i]), mult(kMu, pSrcDstResidual[i]));
    int16_t idx[7] = {};
    if (layout == 0) {
        const Split s1[3] = {{kDico21IsfP, 3}, {kDico22IsfP, 3}, {kDico23IsfP, 3}};
        const Split s2[2] = {{kDico24IsfP, 3}, {kDico25IsfP, 4}};
        ownTwoStage(x, kDico1Isf, kDico1IsfP, 9, s1, 3, &idx[0], &idx[2]);
        ownTwoStage(x + 9, kDico2Isf, kDico2IsfP, 7, s2, 2, &idx[1], &idx[5]);
    } else {
        const Split s1[2] = {{kDico21Isf36bP, 5}, {kDico22Isf36bP, 4}};
        const Split s2[1] = {{kDico23Isf36bP, 7}};
        ownTwoStage(x, kDico1Isf, kDico1IsfP, 9, s1, 2, &idx[0], &idx[2]);
        ownTwoStage(x + 9, kDico2Isf, kDico2IsfP, 7, s2, 1, &idx[1], &idx[4]);
    }
    int16_t isf[kM];
    ownDecodeIsf2s(idx, layout, pSrcDstResidual, isf);
    ownReorderIsf(isf);
    std::copy(isf, isf + kM, pDstQntIsf);
    std::copy(idx, idx + (layout == 0 ? 7 : 5), pDstIdxs);
    return xvoStsOk;
}
