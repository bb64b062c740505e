// G.723.1 LPC analysis steps of the encoder (G.723.1 2.4, 2.5): the windowed, normalised and
// lag-windowed autocorrelation of a 180-sample block, and the LPC-to-LSP-frequency conversion by a
// sign-change search of the sum and difference polynomials on a 256-point grid.
#include <algorithm>

#include "core/check.h"
#include "core/fixed.h"
#include "g723/analysis_tables.h"
#include "xvosc.h"

namespace xvo::g723 {

using namespace fx;

namespace {

/// 32 x 16 multiply of the reference's LPC step: (low half x v) >> 15 plus 2 (high half x v).
int32_t ownMls(int32_t lv, int16_t v) {
    const int32_t lo = (lv & 0xffff) * int32_t(v);  // |lo| < 2^31
    return L_mac(L_shr(lo, 15), v, extract_h(lv));
}

/// floor((num >> 1) / den) for 0 <= num < den << 16 (32767 at or above it).
int16_t ownDivL(int32_t num, int16_t den) {
    if (num >= L_deposit_h(den)) return MAX_16;
    return static_cast<int16_t>((num >> 1) / den);
}

/// The 11 autocorrelation values of a 180-sample block: block normalised to its peak, Hamming
/// window, energy with a 1025/1024 white-noise correction normalised to Q15, lags 1..10 with the
/// same normalisation and the binomial window. Returns the combined scale (norm + 2 x block shift),
/// 40 for a silent block (all outputs zero).
int16_t ownAutoCorr(const int16_t* src, int16_t* acf) {
    static constexpr int16_t kShift[16] = {1, 2, 4, 8, 16, 32, 64, 128, 256, 512, 1024, 2048, 4096, 8192, 16384, 32767};
    int16_t peak = 0;
    for (int i = 0; i < kLpcFrame; ++i) peak = std::max(peak, abs_s(src[i]));
    const int16_t rez = norm_s(peak);
    int16_t v[kLpcFrame];
    for (int i = 0; i < kLpcFrame; ++i)
        v[i] = mult_r(extract_l(L_shr(L_mult(kShift[rez], src[i]), 4)), kHamming[i]);
    const int16_t blockShift = sub(rez, 3);

    int32_t e = 0;
    for (int i = 0; i < kLpcFrame; ++i) e = L_add(e, L_shr(L_mult(v[i], v[i]), 1));
    e = L_add(e, L_shr(e, 10));
    const int16_t exp = norm_l(e);
    acf[0] = round_fx(L_shl(e, exp));
    if (acf[0] == 0) {
        std::fill_n(acf + 1, kOrder, int16_t{0});
        return 40;
    }
    for (int k = 1; k <= kOrder; ++k) {
        int32_t s = 0;
        for (int j = k; j < kLpcFrame; ++j) s = L_add(s, L_shr(L_mult(v[j], v[j - k]), 1));
        acf[k] = round_fx(ownMls(L_shl(s, exp), kBinomial[k - 1]));
    }
    return add(exp, shl(blockShift, 1));
}

/// P(w) or Q(w) (k = 0 or 1) at grid point i from the normalised coefficients.
int32_t ownEvalPoly(const int16_t* spq, int k, int i) {
    int32_t s = 0;
    for (int j = 0; j <= kOrder / 2; ++j) s = L_mac(s, spq[kOrder - 2 * j + k], kCosine[i * j % kCosSize]);
    return s;
}

/// LSP frequencies (0..32767 for 0..pi) of Q13 LPC coefficients after a 0.994 bandwidth
/// expansion; prev is copied when fewer than 10 sign changes are found.
void ownLpcToLsf(const int16_t* lpc, const int16_t* prev, int16_t* lsf) {
    int16_t a[kOrder];
    for (int i = 0; i < kOrder; ++i) a[i] = mult_r(lpc[i], kBandExp[i]);
    // Sum and difference polynomials without their roots at z = -1 and +1, interleaved p0 q0 p1 q1 ...
    int32_t pq[kOrder + 2];
    pq[0] = pq[1] = 0x02000000;
    for (int i = 0; i < kOrder / 2; ++i) {
        const int32_t x = L_shr(L_deposit_h(a[i]), 4), y = L_shr(L_deposit_h(a[kOrder - 1 - i]), 4);
        pq[2 * i + 2] = L_sub(L_sub(L_negate(pq[2 * i]), x), y);
        pq[2 * i + 3] = L_add(L_sub(pq[2 * i + 1], x), y);
    }
    pq[kOrder] = L_shr(pq[kOrder], 1);
    pq[kOrder + 1] = L_shr(pq[kOrder + 1], 1);
    int32_t big = L_abs(pq[0]);
    for (int i = 1; i < kOrder + 2; ++i) big = std::max(big, L_abs(pq[i]));
    const int16_t exp = norm_l(big);
    int16_t spq[kOrder + 2];
    for (int i = 0; i < kOrder + 2; ++i) spq[i] = round_fx(L_shl(pq[i], exp));

    int k = 0, count = 0;
    int32_t prevVal = 0;
    for (int j = 0; j <= kOrder / 2; ++j) prevVal = L_mac(prevVal, spq[2 * j], kCosine[0]);
    int16_t out[kOrder];
    for (int i = 1; i < kCosSize / 2; ++i) {
        int32_t cur = ownEvalPoly(spq, k, i);
        if ((cur ^ prevVal) < 0) {
            // The low 7 bits by linear interpolation between the two grid points.
            int32_t sum = L_add(L_abs(cur), L_abs(prevVal));
            const int16_t e = norm_l(sum);
            sum = L_shl(sum, e);
            const int32_t part = L_shr(L_shl(L_abs(prevVal), e), 8);
            out[count] = add(ownDivL(part, extract_h(sum)), shl(static_cast<int16_t>(i - 1), 7));
            if (++count == kOrder) break;
            k ^= 1;
            cur = ownEvalPoly(spq, k, i);
        }
        prevVal = cur;
    }
    std::copy_n(count == kOrder ? out : prev, kOrder, lsf);
}

}  // namespace

}  // namespace xvo::g723

using namespace xvo;

extern "C" {

XVOSC_API XvoStatus xvosAutoCorr_G723_16s(const Xvo16s* pSrc, Xvo16s* pDst) {
    XVO_CHECK(ownCheckPtrs(pSrc, pDst));
    g723::ownAutoCorr(pSrc, pDst);
    return xvoStsOk;
}

XVOSC_API XvoStatus xvosAutoCorr_NormE_G723_16s(const Xvo16s* pSrc, Xvo16s* pDst, Xvo32s* pNorm) {
    XVO_CHECK(ownCheckPtrs(pSrc, pDst, pNorm));
    *pNorm = g723::ownAutoCorr(pSrc, pDst);
    return xvoStsOk;
}

XVOSC_API XvoStatus xvosLPCToLSF_G723_16s(const Xvo16s* pSrcLPC, const Xvo16s* pSrcPrevLSF, Xvo16s* pDstLSF) {
    XVO_CHECK(ownCheckPtrs(pSrcLPC, pSrcPrevLSF, pDstLSF));
    g723::ownLpcToLsf(pSrcLPC, pSrcPrevLSF, pDstLSF);
    return xvoStsOk;
}

}  // extern "C"
