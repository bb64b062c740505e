// G.729 depth-first algebraic codebook search (G.729 3.8.1, the reference
// procedure D4i40_17) and its exported 16-bit and 32-bit matrix forms.
#include "g729/fcb.h"

#include <initializer_list>

#include "core/check.h"
#include "core/fixed.h"
#include "xvosc.h"

namespace xvo::g729 {

using namespace fx;

namespace {

constexpr int16_t kMaxTime = 75;      // passing triples allowed per subframe
constexpr int16_t kFirstExtra = 30;   // extra budget seeded in the first subframe
constexpr int16_t kThreshFcb = 13107; // 0.4 in Q15

/// Sign of d[n] as the search keeps it: 32767 (+1) or -32768 (-1).
inline int16_t signWord(int16_t d) { return d >= 0 ? MAX_16 : MIN_16; }

/// Multiplies the cross block at `off` (rows on track ta, columns on track tb)
/// by the Q15 product of the signs of its two positions. The factor is
/// 32766, -32767 or 32767, so mult() never saturates and the plain product
/// shifted by 15 is exact (and vectorises).
void foldBlock(int16_t* rr, int off, const int16_t* sign, int ta, int tb) {
    for (int m = 0; m < kNbPos; ++m) {
        const int16_t sa = sign[5 * m + ta];
        int16_t* row = rr + off + m * kNbPos;
        int16_t fac[kNbPos];
        for (int n = 0; n < kNbPos; ++n) fac[n] = mult(sa, sign[5 * n + tb]);
        for (int n = 0; n < kNbPos; ++n) row[n] = static_cast<int16_t>((int32_t(row[n]) * fac[n]) >> 15);
    }
}

/// Candidate (ps3, alp) beats the best (psc, alpha) when ps3^2/alp is larger,
/// compared by cross-multiplication; the 32-bit saturation of the reference
/// difference never changes its sign, so the exact difference decides.
inline bool beats(int16_t ps3c, int16_t alp, int16_t psc, int16_t alpha) {
    return int64_t(ps3c) * alpha - int64_t(psc) * alp > 0;
}

}  // namespace

OwnFcbPick ownFcbNested_G729_scalar(const int16_t* absD, const int16_t* rr, int16_t thres, int16_t time) {
    OwnFcbPick best{{0, 1, 2, 3}, time};
    int16_t psc = 0, alpha = MAX_16;
    // Energies accumulate the reference's L_mac terms (2x diagonal, 4x cross);
    // with 16-bit entries they stay below 2^21, so plain int32 sums are exact.
    for (int a = 0; a < kNbPos; ++a) {
        const int16_t ps0 = absD[5 * a];
        const int32_t alp0 = 2 * int32_t(rr[kR00 + a]);
        for (int b = 0; b < kNbPos; ++b) {
            const int16_t ps1 = add(ps0, absD[5 * b + 1]);
            const int32_t alp1 = alp0 + 2 * rr[kR11 + b] + 4 * rr[kR01 + a * 8 + b];
            for (int c = 0; c < kNbPos; ++c) {
                const int16_t ps2 = add(ps1, absD[5 * c + 2]);
                if (ps2 <= thres) continue;
                const int32_t alp2 = alp1 + 2 * rr[kR22 + c] + 4 * rr[kR02 + a * 8 + c] + 4 * rr[kR12 + b * 8 + c];
                for (int t = 3; t <= 4; ++t) {
                    const int16_t* diag = rr + (t == 3 ? kR33 : kR44);
                    const int16_t* c0 = rr + (t == 3 ? kR03 : kR04) + a * 8;
                    const int16_t* c1 = rr + (t == 3 ? kR13 : kR14) + b * 8;
                    const int16_t* c2 = rr + (t == 3 ? kR23 : kR24) + c * 8;
                    for (int e = 0; e < kNbPos; ++e) {
                        const int16_t ps3 = add(ps2, absD[5 * e + t]);
                        const int32_t alp3 = alp2 + 2 * diag[e] + 4 * (c0[e] + c1[e] + c2[e]);
                        const int16_t alp = static_cast<int16_t>(alp3 >> 5);
                        const int16_t ps3c = mult(ps3, ps3);
                        if (beats(ps3c, alp, psc, alpha)) {
                            psc = ps3c;
                            alpha = alp;
                            best.pos[0] = static_cast<int16_t>(5 * a);
                            best.pos[1] = static_cast<int16_t>(5 * b + 1);
                            best.pos[2] = static_cast<int16_t>(5 * c + 2);
                            best.pos[3] = static_cast<int16_t>(5 * e + t);
                        }
                    }
                }
                time = sub(time, 1);
                if (time <= 0) {
                    best.time = time;
                    return best;
                }
            }
        }
    }
    best.time = time;
    return best;
}

void ownFcbSearch_G729(const int16_t* d, int16_t* rr, int16_t time, int16_t* cod, int16_t* code, int16_t* pTimeLeft,
                       OwnFcbNestedFn nested) {
    alignas(32) int16_t absD[kSubfr];
    int16_t sign[kSubfr];
    for (int n = 0; n < kSubfr; ++n) {
        sign[n] = signWord(d[n]);
        absD[n] = d[n] >= 0 ? d[n] : negate(d[n]);
    }

    // Threshold: 0.4 of the way from the mean to the maximum of the triple
    // correlation. The mean term is (sum of |d| on tracks 0..2) / 8.
    int16_t max0 = absD[0], max1 = absD[1], max2 = absD[2];
    int32_t sum = 0;
    for (int i = 0; i < kSubfr; i += 5) {
        if (absD[i] > max0) max0 = absD[i];
        if (absD[i + 1] > max1) max1 = absD[i + 1];
        if (absD[i + 2] > max2) max2 = absD[i + 2];
        sum += absD[i] + absD[i + 1] + absD[i + 2];
    }
    const int16_t maxSum = add(add(max0, max1), max2);
    const int16_t average = extract_l(sum >> 3);
    const int16_t thres = add(mult(sub(maxSum, average), kThreshFcb), average);

    foldBlock(rr, kR01, sign, 0, 1);
    foldBlock(rr, kR02, sign, 0, 2);
    foldBlock(rr, kR03, sign, 0, 3);
    foldBlock(rr, kR04, sign, 0, 4);
    foldBlock(rr, kR12, sign, 1, 2);
    foldBlock(rr, kR13, sign, 1, 3);
    foldBlock(rr, kR14, sign, 1, 4);
    foldBlock(rr, kR23, sign, 2, 3);
    foldBlock(rr, kR24, sign, 2, 4);

    const OwnFcbPick pick = nested(absD, rr, thres, time);
    *pTimeLeft = pick.time;

    for (int n = 0; n < kSubfr; ++n) cod[n] = 0;
    bool positive[4];
    for (int k = 0; k < 4; ++k) {
        const int16_t s = sign[pick.pos[k]];
        cod[pick.pos[k]] = shr(s, 2);  // Q15 sign to Q13: +8191 or -8192
        positive[k] = s > 0;
    }
    ownFcbCodeWords4(pick.pos, positive, code);
}

void ownFcbCodeWords4(const int16_t* pos, const bool* positive, int16_t* code) {
    int16_t signBits = 0;
    for (int k = 0; k < 4; ++k)
        if (positive[k]) signBits = static_cast<int16_t>(signBits | (1 << k));
    const int p3 = pos[3];
    const int code3 = 2 * (p3 / 5) + (p3 % 5 - 3);
    code[0] = signBits;
    code[1] = static_cast<int16_t>(pos[0] / 5 + ((pos[1] / 5) << 3) + ((pos[2] / 5) << 6) + (code3 << 9));
}

void ownFcbMatrixFrom32s(const int32_t* src, int16_t* rr) {
    for (int k = 0; k < kMatrixSize; ++k) rr[k] = sat16(src[k] >> 15);
}

OwnFcbNestedFn ownFcbNestedFor(OwnCpuLevel level) {
    switch (level) {
        case OwnCpuLevel::AVX2: return ownFcbNested_G729_avx2;
        case OwnCpuLevel::SSE41: return ownFcbNested_G729_sse41;
        case OwnCpuLevel::Scalar: return ownFcbNested_G729_scalar;
        default: return nullptr;
    }
}

namespace {

OwnFcbNestedFn bestNested() {
    static const OwnFcbNestedFn fn = [] {
        for (OwnCpuLevel l : {OwnCpuLevel::AVX2, OwnCpuLevel::SSE41})
            if (ownCpuSupports(l)) return ownFcbNestedFor(l);
        return &ownFcbNested_G729_scalar;
    }();
    return fn;
}

int16_t startBudget(int16_t extra, bool first) { return add(kMaxTime, first ? kFirstExtra : extra); }

}  // namespace

}  // namespace xvo::g729

using namespace xvo::g729;

extern "C" {

XVOSC_API XvoStatus xvosFixedCodebookSearch_G729_16s(const Xvo16s* pSrcCorr, Xvo16s* pSrcDstMatrix,
                                                     Xvo16s* pDstFixedVector, Xvo16s* pDstCode,
                                                     Xvo16s* pSrcDstExtra, Xvo16s subFrame) {
    XVO_CHECK(xvo::ownCheckPtrs(pSrcCorr, pSrcDstMatrix, pDstFixedVector));
    XVO_CHECK(xvo::ownCheckPtrs(pSrcDstExtra, pDstCode));
    XVO_RETURN_IF(subFrame < 0 || subFrame > 1, xvoStsRange);
    ownFcbSearch_G729(pSrcCorr, pSrcDstMatrix, startBudget(*pSrcDstExtra, subFrame == 0), pDstFixedVector, pDstCode,
                      pSrcDstExtra, bestNested());
    return xvoStsOk;
}

XVOSC_API XvoStatus xvosFixedCodebookSearch_G729_32s16s(const Xvo16s* pSrcCorr, Xvo32s* pSrcDstMatrix,
                                                        Xvo16s* pDstFixedVector, Xvo16s* pDstCode,
                                                        Xvo16s* pSrcDstExtra, Xvo16s subFrame) {
    XVO_CHECK(xvo::ownCheckPtrs(pSrcCorr, pSrcDstMatrix, pDstFixedVector, pDstCode, pSrcDstExtra));
    XVO_RETURN_IF(subFrame < 0, xvoStsRange);
    alignas(32) int16_t rr[kMatrixSize];
    ownFcbMatrixFrom32s(pSrcDstMatrix, rr);
    ownFcbSearch_G729(pSrcCorr, rr, startBudget(*pSrcDstExtra, subFrame == 0), pDstFixedVector, pDstCode,
                      pSrcDstExtra, bestNested());
    for (int k = 0; k < kMatrixSize; ++k) pSrcDstMatrix[k] = rr[k];
    return xvoStsOk;
}

}  // extern "C"
