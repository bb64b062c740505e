// G.723.1 LPC analysis kernels of the encoder (G.723.1 2.4, 2.5): the
// windowed, lag-windowed autocorrelation of a 180-sample block and the
// LPC-to-LSP conversion by a zero-crossing search on a 256-point grid.
#include <cstdint>

#include "core/check.h"
#include "core/fixed.h"
#include "g723/g723_internal.h"
#include "g723/g723_tables.h"
#include "xvosc.h"

namespace xvo::g723 {

using namespace fx;

namespace {

constexpr int kLpcFrame = 180;
constexpr int kOrder = 10;
constexpr int16_t kRidgeShift = 10;  // white-noise correction 1 + 1/1024
constexpr int16_t kZeroEnergyShift = 40;

// 32 x 16 product of a Q31 value and a Q15 factor, the low half truncated.
int32_t ownMulLo(int32_t v, int16_t f) {
    const int32_t lo = L_shr((v & 0xffff) * int32_t(f), 15);
    return L_mac(lo, f, extract_h(v));
}

}  // namespace

// Writes the 11 normalised autocorrelations and returns the combined scale:
// the energy's norm_l plus twice the block's pre-shift, or 40 when the
// windowed energy rounds to zero (then every value is 0).
int16_t ownAutoCorr_G723(const int16_t* src, int16_t* acf) {
    // Block normalisation: the largest magnitude is brought to 12 bits.
    int16_t mx = 0;
    for (int i = 0; i < kLpcFrame; ++i) {
        const int16_t a = abs_s(src[i]);
        if (a > mx) mx = a;
    }
    const int16_t rez = norm_s(mx);  // 0..14 for a non-negative maximum
    const int16_t scale = static_cast<int16_t>(1 << rez);
    int16_t v[kLpcFrame];
    for (int i = 0; i < kLpcFrame; ++i)
        v[i] = mult_r(extract_l(L_shr(L_mult(scale, src[i]), 4)), kHamming[i]);
    int16_t sh = static_cast<int16_t>(rez - 3);

    int32_t acc = 0;
    for (int i = 0; i < kLpcFrame; ++i) acc = L_add(acc, L_shr(L_mult(v[i], v[i]), 1));
    acc = L_add(acc, L_shr(acc, kRidgeShift));
    const int16_t e = norm_l(acc);
    acf[0] = round_fx(L_shl(acc, e));
    if (acf[0] == 0) {
        for (int i = 1; i <= kOrder; ++i) acf[i] = 0;
        return kZeroEnergyShift;
    }
    for (int k = 1; k <= kOrder; ++k) {
        acc = 0;
        for (int j = k; j < kLpcFrame; ++j) acc = L_add(acc, L_shr(L_mult(v[j], v[j - k]), 1));
        acf[k] = round_fx(ownMulLo(L_shl(acc, e), kBinomialWindow[k - 1]));
    }
    return add(e, shl(sh, 1));
}

// lpc: 10 coefficients in Q13 (bandwidth-expanded here); lsp: 10 frequencies
// on the scale 0..32767 = 0..pi; prev replaces the result when fewer than 10
// roots are found.
void ownLpcToLsp_G723(const int16_t* lpc, const int16_t* prev, int16_t* lsp) {
    int16_t a[kOrder];
    for (int i = 0; i < kOrder; ++i) a[i] = mult_r(lpc[i], kBandExp[i]);

    // Sum (even slots) and difference (odd slots) polynomials, their real
    // roots at z = -1 and z = +1 divided out, scaled by 1/64 overall.
    int32_t lpq[kOrder + 2];
    lpq[0] = lpq[1] = 0x02000000;
    for (int i = 0; i < kOrder / 2; ++i) {
        const int32_t lo = L_shr(L_deposit_h(a[i]), 4), hi = L_shr(L_deposit_h(a[kOrder - 1 - i]), 4);
        lpq[2 * i + 2] = L_sub(L_sub(L_negate(lpq[2 * i]), lo), hi);
        lpq[2 * i + 3] = L_add(L_sub(lpq[2 * i + 1], lo), hi);
    }
    lpq[kOrder] = L_shr(lpq[kOrder], 1);
    lpq[kOrder + 1] = L_shr(lpq[kOrder + 1], 1);
    int32_t mx = L_abs(lpq[0]);
    for (int i = 1; i < kOrder + 2; ++i)
        if (L_abs(lpq[i]) > mx) mx = L_abs(lpq[i]);
    const int16_t e = norm_l(mx);
    int16_t spq[kOrder + 2];
    for (int i = 0; i < kOrder + 2; ++i) spq[i] = round_fx(L_shl(lpq[i], e));

    // Polynomial k (0 sum, 1 difference) at grid point i (frequency i pi / 256).
    auto eval = [&](int i, int k) {
        int32_t s = 0;
        for (int j = 0; j <= kOrder / 2; ++j) s = L_mac(s, spq[kOrder - 2 * j + k], kCosine[(i * j) % 512]);
        return s;
    };
    int32_t prevVal = 0;
    for (int j = 0; j <= kOrder / 2; ++j) prevVal = L_mac(prevVal, spq[2 * j], kCosine[0]);
    int16_t out[kOrder];
    int cnt = 0, k = 0;
    for (int i = 1; i < 256; ++i) {
        int32_t cur = eval(i, k);
        if ((cur ^ prevVal) < 0) {
            // Linear interpolation gives the 7 low bits of the crossing.
            int32_t sum = L_add(L_abs(cur), L_abs(prevVal));
            const int16_t n = norm_l(sum);
            sum = L_shl(sum, n);
            const int32_t part = L_shr(L_shl(L_abs(prevVal), n), 8);
            out[cnt++] = add(ownDivL(part, extract_h(sum)), shl(static_cast<int16_t>(i - 1), 7));
            if (cnt == kOrder) break;
            k ^= 1;  // the roots of the two polynomials alternate
            cur = eval(i, k);
        }
        prevVal = cur;
    }
    for (int i = 0; i < kOrder; ++i) lsp[i] = cnt == kOrder ? out[i] : prev[i];
}

}  // namespace xvo::g723

using namespace xvo;

extern "C" {

XVOSC_API XvoStatus xvosAutoCorr_G723_16s(const Xvo16s* pSrc, Xvo16s* pDst) {
    XVO_CHECK(ownCheckPtrs(pSrc, pDst));
    g723::ownAutoCorr_G723(pSrc, pDst);
    return xvoStsOk;
}

XVOSC_API XvoStatus xvosAutoCorr_NormE_G723_16s(const Xvo16s* pSrc, Xvo16s* pDst, Xvo32s* pNorm) {
    XVO_CHECK(ownCheckPtrs(pSrc, pDst, pNorm));
    *pNorm = g723::ownAutoCorr_G723(pSrc, pDst);
    return xvoStsOk;
}

XVOSC_API XvoStatus xvosLPCToLSF_G723_16s(const Xvo16s* pSrcLPC, const Xvo16s* pSrcPrevLSF, Xvo16s* pDstLSF) {
    XVO_CHECK(ownCheckPtrs(pSrcLPC, pSrcPrevLSF, pDstLSF));
    g723::ownLpcToLsp_G723(pSrcLPC, pSrcPrevLSF, pDstLSF);
    return xvoStsOk;
}

}  // extern "C"
