// G.729 Annex B comfort-noise kernels: the windowed autocorrelation with its
// normalisation exponent and the Levinson recursion returning the residual
// energy (B.3, the reference Autocorr / Levinson of the Annex B coder), and
// the random excitation of SID and untransmitted frames (B.4.4, the
// reference Calc_exc_rand and its floating-point form).
#include <cmath>

#include "core/check.h"
#include "core/fixed.h"
#include "g729/excitation_tables.h"
#include "g729/g729_tables.h"
#include "g729/gain.h"
#include "xvosc.h"

namespace xvo::g729 {

using namespace fx;

namespace {

constexpr int kWindow = 240, kOrder = 10, kSubfr = 40, kFrame = 80;
constexpr int kExcHistory = 143 + 11;  // PIT_MAX + L_INTERPOL

/// The 32-bit form of a DPF pair, as the lag window takes it.
int32_t packDpf(int16_t hi, int16_t lo) { return int32_t(uint32_t(uint16_t(hi)) << 16 | uint32_t(lo) << 1); }

/// Levinson-Durbin on the DPF autocorrelation (the Annex B reference).
/// Returns false (and writes nothing but rc[1..i-1]) when a reflection
/// coefficient exceeds 32750 in magnitude.
bool levinson(const int16_t* Rh, const int16_t* Rl, int16_t* A, int16_t* rc, int16_t* err) {
    int16_t Ah[kOrder + 1], Al[kOrder + 1], Anh[kOrder + 1], Anl[kOrder + 1];
    int16_t Kh, Kl, hi, lo, alpH, alpL;
    int32_t t1 = L_Comp(Rh[1], Rl[1]);
    int32_t t0 = Div_32(L_abs(t1), Rh[0], Rl[0]);
    if (t1 > 0) t0 = L_negate(t0);
    L_Extract(t0, Kh, Kl);
    rc[0] = Kh;
    L_Extract(L_shr(t0, 4), Ah[1], Al[1]);
    auto shrinkAlpha = [&](int16_t h, int16_t l) {  // Alpha * (1 - K^2), normalised
        int32_t t = L_sub(MAX_32, L_abs(Mpy_32(Kh, Kl, Kh, Kl)));
        L_Extract(t, hi, lo);
        t = Mpy_32(h, l, hi, lo);
        const int16_t n = norm_l(t);
        L_Extract(L_shl(t, n), alpH, alpL);
        return n;
    };
    int16_t alpExp = shrinkAlpha(Rh[0], Rl[0]);
    for (int i = 2; i <= kOrder; ++i) {
        t0 = 0;
        for (int j = 1; j < i; ++j) t0 = L_add(t0, Mpy_32(Rh[j], Rl[j], Ah[i - j], Al[i - j]));
        t0 = L_add(L_shl(t0, 4), L_Comp(Rh[i], Rl[i]));
        int32_t t2 = Div_32(L_abs(t0), alpH, alpL);
        if (t0 > 0) t2 = L_negate(t2);
        t2 = L_shl(t2, alpExp);
        L_Extract(t2, Kh, Kl);
        rc[i - 1] = Kh;
        if (abs_s(Kh) > 32750) return false;
        for (int j = 1; j < i; ++j) L_Extract(L_add(Mpy_32(Kh, Kl, Ah[i - j], Al[i - j]), L_Comp(Ah[j], Al[j])), Anh[j], Anl[j]);
        L_Extract(L_shr(t2, 4), Anh[i], Anl[i]);
        alpExp = add(alpExp, shrinkAlpha(alpH, alpL));
        for (int j = 1; j <= i; ++j) Ah[j] = Anh[j], Al[j] = Anl[j];
    }
    *err = shr(alpH, alpExp);
    A[0] = 4096;
    for (int i = 1; i <= kOrder; ++i) A[i] = round_fx(L_shl(L_Comp(Ah[i], Al[i]), 1));
    return true;
}

int16_t random16(int16_t* seed) {
    *seed = extract_l(L_add(L_shr(L_mult(*seed, 31821), 1), 13849));
    return *seed;
}

/// Sum of 12 uniform values / 128: a Gaussian sample of about 512 per unit.
int16_t gauss16(int16_t* seed) {
    int32_t acc = 0;
    for (int i = 0; i < 12; ++i) acc = L_add(acc, random16(seed));
    return extract_l(L_shr(acc, 7));
}

/// sqrt(num/2) by bit-wise search (the Annex B Sqrt).
int16_t sqrtHalf(int32_t num) {
    int16_t rez = 0, e = 0x4000;
    for (int i = 0; i < 14; ++i) {
        const int16_t t = add(rez, e);
        if (L_sub(num, L_mult(t, t)) >= 0) rez = t;
        e = shr(e, 1);
    }
    return rez;
}

/// Adaptive-codebook vector with 1/3 interpolation (Pred_lt_3), in place.
void predLt3(int16_t* exc, int t0, int frac) {
    const int16_t* x0 = exc - t0;
    frac = -frac;
    if (frac < 0) frac += 3, --x0;
    for (int j = 0; j < kSubfr; ++j, ++x0) {
        const int16_t* x1 = x0;
        const int16_t* x2 = x0 + 1;
        int32_t s = 0;
        for (int i = 0, k = 0; i < 10; ++i, k += 3) {
            s = L_mac(s, x1[-i], kInter3l[frac + k]);
            s = L_mac(s, x2[i], kInter3l[3 - frac + k]);
        }
        exc[j] = round_fx(s);
    }
}

void predLt3F(float* exc, int t0, int frac) {
    const float* x0 = exc - t0;
    frac = -frac;
    if (frac < 0) frac += 3, --x0;
    for (int j = 0; j < kSubfr; ++j, ++x0) {
        const float* x1 = x0;
        const float* x2 = x0 + 1;
        float s = 0.0f;
        for (int i = 0, k = 0; i < 10; ++i, k += 3) s += x1[-i] * kInter3lF[frac + k] + x2[i] * kInter3lF[3 - frac + k];
        exc[j] = s;
    }
}

/// Random lag, fraction, 4 pulse positions and signs, and pitch gain of a
/// subframe. `secondOnTrack1` reproduces the floating-point reference,
/// which draws the third pulse on track 1 (5x + 1) instead of track 2.
struct RandomParams {
    int t0, frac, pos[4], sign[4];
    int16_t gp;  // Q14, below 0.5
};

RandomParams drawParams(int16_t* seed, bool thirdOnTrack1) {
    RandomParams p;
    int16_t t = random16(seed);
    p.frac = (t & 3) - 1;
    if (p.frac == 2) p.frac = 0;
    t = shr(t, 2);
    p.t0 = (t & 0x3f) + 40;
    t = shr(t, 6);
    p.pos[0] = 5 * (t & 7);
    t = shr(t, 3);
    p.sign[0] = t & 1;
    t = shr(t, 1);
    p.pos[1] = 5 * (t & 7) + 1;
    t = shr(t, 3);
    p.sign[1] = t & 1;
    t = random16(seed);
    p.pos[2] = 5 * (t & 7) + (thirdOnTrack1 ? 1 : 2);
    t = shr(t, 3);
    p.sign[2] = t & 1;
    t = shr(t, 1);
    const int q = t & 15;
    p.pos[3] = (q & 1) + 3 + 5 * ((q >> 1) & 7);
    t = shr(t, 4);
    p.sign[3] = t & 1;
    p.gp = static_cast<int16_t>(random16(seed) & 0x1fff);
    return p;
}

/// The fixed-point comfort-noise excitation of one frame (Calc_exc_rand).
void excRand16(int16_t curGain, int16_t* exc, int16_t* seed, int16_t* taming) {
    constexpr int16_t kFrac1 = 19043, kK0 = 24576, kGMax = 5000;
    if (curGain == 0) {
        for (int i = 0; i < kFrame; ++i) exc[i] = 0;
        if (taming)
            for (int s = 0; s < 2; ++s) taming[2 * s] = 0, taming[2 * s + 1] = kSubfr + 1;
        return;
    }
    for (int sf = 0; sf < 2; ++sf) {
        int16_t* cur = exc + sf * kSubfr;
        const RandomParams p = drawParams(seed, false);
        int16_t gp = p.gp;
        const int16_t gp2 = shl(gp, 1);
        int16_t excg[kSubfr], excs[kSubfr];
        int32_t acc = 0;
        for (int i = 0; i < kSubfr; ++i) {
            excg[i] = gauss16(seed);
            acc = L_mac(acc, excg[i], excg[i]);
        }
        // fact = alpha * curGain * sqrt(40 / Eg), alpha = 0.5.
        int16_t hi, lo;
        L_Extract(ownInvSqrt_G729(L_shr(acc, 1)), hi, lo);
        acc = Mpy_32_16(hi, lo, add(curGain, mult_r(curGain, kFrac1)));
        int16_t sh = norm_l(acc);
        const int16_t fact = extract_h(L_shl(acc, sh));
        sh = sub(sh, 14);
        for (int i = 0; i < kSubfr; ++i) excg[i] = shr_r(mult_r(excg[i], fact), sh);
        predLt3(cur, p.t0, p.frac);
        int16_t mx = 0;
        for (int i = 0; i < kSubfr; ++i) {
            cur[i] = add(mult_r(cur[i], gp2), excg[i]);
            const int16_t a = abs_s(cur[i]);
            if (a > mx) mx = a;
        }
        sh = mx == 0 ? int16_t(0) : sub(3, norm_s(mx));
        if (sh < 0) sh = 0;
        for (int i = 0; i < kSubfr; ++i) excs[i] = shr(cur[i], sh);
        // Fixed-codebook gain x: the root of 4x^2 + 2bx + c of least magnitude.
        int32_t ener = 0;
        for (int i = 0; i < kSubfr; ++i) ener = L_mac(ener, excs[i], excs[i]);
        int16_t b = 0;
        for (int i = 0; i < 4; ++i) b = p.sign[i] ? add(b, excs[p.pos[i]]) : sub(b, excs[p.pos[i]]);
        const int32_t k = L_mult(curGain, extract_l(L_shr(L_mult(curGain, kSubfr), 6)));
        acc = L_sub(L_shr(k, add(1, shl(sh, 1))), ener);
        b = shr(b, 1);
        acc = L_mac(acc, b, b);
        sh = add(sh, 1);
        if (acc < 0) {  // no real root: drop the adaptive part
            for (int i = 0; i < kSubfr; ++i) cur[i] = excg[i];
            const int16_t bits = static_cast<int16_t>(abs_s(excg[p.pos[0]]) | abs_s(excg[p.pos[1]]) |
                                                      abs_s(excg[p.pos[2]]) | abs_s(excg[p.pos[3]]));
            sh = (bits & 0x4000) == 0 ? 1 : 2;
            b = 0;
            for (int i = 0; i < 4; ++i) {
                const int16_t v = shr(excg[p.pos[i]], sh);
                b = p.sign[i] ? add(b, v) : sub(b, v);
            }
            L_Extract(k, hi, lo);
            acc = L_shr(Mpy_32_16(hi, lo, kK0), sub(shl(sh, 1), 1));
            acc = L_mac(acc, b, b);
            gp = 0;
        }
        const int16_t root = sqrtHalf(acc);
        int16_t x1 = sub(root, b);
        const int16_t x2 = negate(add(b, root));
        if (abs_s(x2) < abs_s(x1)) x1 = x2;
        int16_t g = shr_r(x1, sub(2, sh));
        if (g > kGMax) g = kGMax;
        if (g < -kGMax) g = -kGMax;
        for (int i = 0; i < 4; ++i) cur[p.pos[i]] = p.sign[i] ? add(cur[p.pos[i]], g) : sub(cur[p.pos[i]], g);
        if (taming) taming[2 * sf] = gp, taming[2 * sf + 1] = static_cast<int16_t>(p.t0);
    }
}

/// The floating-point comfort-noise excitation (calc_exc_rand of the
/// floating-point reference).
void excRandF(float curGain, float* exc, int16_t* seed, float* taming) {
    constexpr float kNormGauss = 3.16227766f, kK0 = 3.0f, kGMax = 5000.0f;
    if (curGain == 0.0f) {
        for (int i = 0; i < kFrame; ++i) exc[i] = 0.0f;
        if (taming)
            for (int s = 0; s < 2; ++s) taming[2 * s] = 0.0f, taming[2 * s + 1] = kSubfr + 1;
        return;
    }
    for (int sf = 0; sf < 2; ++sf) {
        float* cur = exc + sf * kSubfr;
        const RandomParams p = drawParams(seed, true);
        float gp = p.gp / 16384.0f, sign[4], excg[kSubfr], ener = 0.0f;
        for (int i = 0; i < 4; ++i) sign[i] = 2.0f * p.sign[i] - 1.0f;
        for (int i = 0; i < kSubfr; ++i) {
            excg[i] = gauss16(seed) * 0.001953125f;
            ener += excg[i] * excg[i];
        }
        const float fact = kNormGauss * curGain / std::sqrt(ener);
        for (float& v : excg) v *= fact;
        predLt3F(cur, p.t0, p.frac);
        ener = 0.0f;
        for (int i = 0; i < kSubfr; ++i) {
            cur[i] = cur[i] * gp + excg[i];
            ener += cur[i] * cur[i];
        }
        float b = 0.0f;
        for (int i = 0; i < 4; ++i) b += cur[p.pos[i]] * sign[i];
        const float k = curGain * curGain * kSubfr;
        float delta = b * b - 4.0f * (ener - k);
        if (delta < 0.0f) {
            for (int i = 0; i < kSubfr; ++i) cur[i] = excg[i];
            b = 0.0f;
            for (int i = 0; i < 4; ++i) b += cur[p.pos[i]] * sign[i];
            delta = b * b + kK0 * k;
            gp = 0.0f;
        }
        delta = std::sqrt(delta);
        const float x1 = (delta - b) * 0.25f, x2 = -(delta + b) * 0.25f;
        float g = std::fabs(x1) < std::fabs(x2) ? x1 : x2;
        g = std::fmin(std::fmax(g, -kGMax), kGMax);
        for (int i = 0; i < 4; ++i) cur[p.pos[i]] += g * sign[i];
        if (taming) taming[2 * sf] = gp, taming[2 * sf + 1] = static_cast<float>(p.t0);
    }
}

}  // namespace

}  // namespace xvo::g729

using namespace xvo::g729;
using namespace xvo::fx;

extern "C" {

XVOSC_API XvoStatus xvosAutoCorr_G729B(const Xvo16s* pSrcSignal, Xvo32s* pDstAutoCorr, int order, Xvo16s* pDstNorm) {
    XVO_CHECK(xvo::ownCheckPtrs(pSrcSignal, pDstAutoCorr, pDstNorm));
    XVO_CHECK(xvo::ownCheckLens(order));
    XVO_RETURN_IF(order > 12, xvoStsRange);
    int16_t y[kWindow];
    for (int i = 0; i < kWindow; ++i) y[i] = mult_r(pSrcSignal[i], kHamwindow[i]);
    int16_t expR0 = 1;
    int32_t sum;
    for (;;) {
        bool ovf = false;
        sum = 1;  // avoids an all-zero sum
        for (int i = 0; i < kWindow; ++i) sum = L_mac(sum, y[i], y[i], ovf);
        if (!ovf) break;
        for (int i = 0; i < kWindow; ++i) y[i] = shr(y[i], 2);
        expR0 = add(expR0, 4);
    }
    const int16_t norm = norm_l(sum);
    int16_t hi, lo;
    L_Extract(L_shl(sum, norm), hi, lo);
    pDstAutoCorr[0] = packDpf(hi, lo);
    for (int i = 1; i <= order; ++i) {
        sum = 0;
        for (int j = 0; j < kWindow - i; ++j) sum = L_mac(sum, y[j], y[j + i]);
        L_Extract(L_shl(sum, norm), hi, lo);
        pDstAutoCorr[i] = packDpf(hi, lo);
    }
    *pDstNorm = sub(expR0, norm);
    return xvoStsOk;
}

XVOSC_API XvoStatus xvosLevinsonDurbin_G729B(const Xvo32s* pSrcAutoCorr, Xvo16s* pSrcDstPrevLPC, Xvo16s* pSrcDstPrevRc,
                                             Xvo16s* pDstLPC, Xvo16s* pDstRc, Xvo16s* pDstErr) {
    XVO_CHECK(xvo::ownCheckPtrs(pSrcAutoCorr, pSrcDstPrevLPC, pSrcDstPrevRc, pDstLPC, pDstRc, pDstErr));
    int16_t Rh[kOrder + 1], Rl[kOrder + 1];
    for (int i = 0; i <= kOrder; ++i) {
        Rh[i] = static_cast<int16_t>(pSrcAutoCorr[i] >> 16);
        Rl[i] = static_cast<int16_t>((pSrcAutoCorr[i] >> 1) & 0x7fff);
    }
    // The recursion writes the reflection coefficients as it goes.
    int16_t A[kOrder + 1], err = 0;
    if (!levinson(Rh, Rl, A, pDstRc, &err)) {
        // Unstable: keep the previous filter and its first two reflection
        // coefficients; the residual energy is not written.
        for (int j = 0; j <= kOrder; ++j) pDstLPC[j] = pSrcDstPrevLPC[j];
        pDstRc[0] = pSrcDstPrevRc[0];
        pDstRc[1] = pSrcDstPrevRc[1];
        return xvoStsOk;
    }
    for (int j = 0; j <= kOrder; ++j) pDstLPC[j] = pSrcDstPrevLPC[j] = A[j];
    pSrcDstPrevRc[0] = pDstRc[0];
    pSrcDstPrevRc[1] = pDstRc[1];
    *pDstErr = err;
    return xvoStsOk;
}

XVOSC_API XvoStatus xvosRandomNoiseExcitation_G729B_16s(Xvo16s curGain, Xvo16s* pSrcDstSeed, Xvo16s* pSrcDstExc,
                                                        Xvo16s* pDstTaming) {
    XVO_CHECK(xvo::ownCheckPtrs(pSrcDstSeed, pSrcDstExc));
    excRand16(curGain, pSrcDstExc + kExcHistory, pSrcDstSeed, pDstTaming);
    return xvoStsOk;
}

XVOSC_API XvoStatus xvosRandomNoiseExcitation_G729B_16s32f(Xvo32f curGain, Xvo16s* pSrcDstSeed, Xvo32f* pSrcDstExc,
                                                           Xvo32f* pDstTaming) {
    XVO_CHECK(xvo::ownCheckPtrs(pSrcDstSeed, pSrcDstExc));
    excRandF(curGain, pSrcDstExc + kExcHistory, pSrcDstSeed, pDstTaming);
    return xvoStsOk;
}

}  // extern "C"
