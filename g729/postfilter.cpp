// Stages of the G.729 adaptive postfilter (G.729 4.2; Annex A A.4.2;
// Annex B's frame-type switch): the long-term (harmonic) filter, the
// short-term filter A(z/g2)/A(z/g1) with its gain normalisation, the tilt
// compensation, and the floating-point synthesis filter.
#include "core/check.h"
#include "core/fixed.h"
#include "g729/g729_tables.h"
#include "xvosc.h"

namespace xvo::g729 {

using namespace fx;

namespace {

constexpr int kSubfr = 40, kOrder = 10;
constexpr int kPitMax = 143;
constexpr int kFUp = 8;                       // fractional resolution of the delay
constexpr int kLh2S = 4, kLh2L = 16;          // short and long interpolation filter lengths
constexpr int kLhUpS = kLh2S / 2, kLhUpL = kLh2L / 2;
constexpr int kMemRes2 = kPitMax + 1 + kLhUpL;  // 152 past residual samples
// The G.729 pitch range. Below it the interpolation filters would read past
// the end of the subframe; the decoders never pass such delays.
constexpr int kPitMinPst = 20;
constexpr int kSubfrP1 = kSubfr + 1;
constexpr int16_t kMinGplt = 21845;
constexpr int kLongHSt = 20;

/// Outcome of the delay search: gain numerator/denominator with their
/// justification shifts; num == 0 switches the filter off.
struct LtpChoice {
    int16_t ltpdel = 0, phase = 0, num = 0, den = 1, shNum = 0, shDen = 0, offYup = 0;
};

LtpChoice off() { return LtpChoice{}; }

/// Integer delay among t0-1..t0+1, then the best of the 7 fractional phases
/// on both sides of it (the reference search_del). y_up receives the
/// interpolated signals of every phase (7 x 41).
LtpChoice searchDelay(int16_t t0, const int16_t* sig, int16_t* yUp) {
    int32_t acc = 0;
    for (int i = 0; i < kSubfr; ++i) acc = L_mac(acc, sig[i], sig[i]);
    if (acc == 0) return off();
    int16_t shEner = sub(16, norm_l(acc));
    int16_t ener;
    if (shEner > 0) {
        ener = extract_l(L_shr(acc, shEner));
    } else {
        shEner = 0;
        ener = extract_l(acc);
    }

    int16_t lambda = sub(t0, 1);
    int32_t numInt = -1;
    int iMax = 0;
    for (int i = 0; i < 3; ++i) {
        const int16_t* past = sig - lambda - i;
        acc = 0;
        for (int n = 0; n < kSubfr; ++n) acc = L_mac(acc, sig[n], past[n]);
        if (acc < 0) acc = 0;
        if (L_sub(acc, numInt) > 0) numInt = acc, iMax = i;
    }
    if (numInt == 0) return off();
    lambda = add(lambda, static_cast<int16_t>(iMax));
    acc = 0;
    for (int i = 0; i < kSubfr; ++i) acc = L_mac(acc, sig[i - lambda], sig[i - lambda]);
    if (acc == 0) return off();
    const int32_t denInt = acc;

    int32_t den0[kFUp - 1], den1[kFUp - 1], denMax = denInt;
    const int16_t* past0 = sig - (lambda - (kLhUpS - 1));
    for (int phi = 1; phi < kFUp; ++phi) {
        int16_t* y = yUp + (phi - 1) * kSubfrP1;
        const int16_t* h = kTabHupS + (phi - 1) * kLh2S;
        for (int n = 0; n <= kSubfr; ++n) {
            acc = 0;
            for (int i = 0; i < kLh2S; ++i) acc = L_mac(acc, h[i], past0[n - i]);
            y[n] = round_fx(acc);
        }
        acc = 0;
        for (int n = 1; n < kSubfr; ++n) acc = L_mac(acc, y[n], y[n]);
        den0[phi - 1] = L_mac(acc, y[0], y[0]);
        den1[phi - 1] = L_mac(acc, y[kSubfr], y[kSubfr]);
        const int32_t d = abs_s(y[0]) > abs_s(y[kSubfr]) ? den0[phi - 1] : den1[phi - 1];
        if (L_sub(d, denMax) > 0) denMax = d;
    }
    if (denMax == 0) return off();
    const int16_t shDen = sub(16, norm_l(denMax));
    if (shDen <= 0) return off();
    const int16_t shNum = shDen >= shEner ? shDen : shEner;

    int16_t denBest = extract_l(L_shr(denInt, shDen));
    int16_t numBest = extract_l(L_shr(numInt, shNum));
    int16_t hiMax, loMax;
    L_Extract(L_mult(numBest, numBest), hiMax, loMax);
    int16_t phiMax = 0, ioff = 1;
    // Candidate (num, den) replaces the best when num^2/den is larger.
    auto offer = [&](const int16_t* y, int32_t denL, int16_t side, int16_t phi) {
        int32_t a = 0;
        for (int n = 0; n < kSubfr; ++n) a = L_mac(a, sig[n], y[n]);
        a = L_shr(a, shNum);
        const int16_t num = a < 0 ? int16_t(0) : extract_l(a);
        int16_t hi, lo;
        L_Extract(L_mult(num, num), hi, lo);
        const int32_t t0v = Mpy_32_16(hi, lo, denBest);
        const int16_t den = extract_l(L_shr(denL, shDen));
        const int32_t t1v = Mpy_32_16(hiMax, loMax, den);
        if (L_sub(t0v, t1v) > 0) numBest = num, hiMax = hi, loMax = lo, denBest = den, ioff = side, phiMax = phi;
    };
    for (int phi = 1; phi < kFUp; ++phi) {
        const int16_t* y = yUp + (phi - 1) * kSubfrP1;
        offer(y, den0[phi - 1], 0, static_cast<int16_t>(phi));
        offer(y + 1, den1[phi - 1], 1, static_cast<int16_t>(phi));
    }
    if (numBest == 0 || denBest <= 1) return off();

    // Keep the filter only when num^2 >= 0.5 ener * den.
    int32_t t1 = L_mult(denBest, ener), t0v = L_Comp(hiMax, loMax);
    int16_t temp = add(sub(sub(shl(shNum, 1), shDen), shEner), 1);
    if (temp < 0) t0v = L_shr(t0v, negate(temp));
    else if (temp > 0) t1 = L_shr(t1, temp);
    if (L_sub(t0v, t1) < 0) return off();
    LtpChoice c;
    c.ltpdel = sub(add(lambda, 1), ioff);
    c.offYup = ioff;
    c.phase = phiMax;
    c.num = numBest;
    c.den = denBest;
    c.shDen = shDen;
    c.shNum = shNum;
    return c;
}

/// Delayed signal through the long interpolation filter, and its gain
/// numerator and denominator (the reference compute_ltp_l).
void longFilter(const int16_t* s, int16_t ltpdel, int16_t phase, int16_t* y, int16_t& num, int16_t& den,
                int16_t& shNum, int16_t& shDen) {
    const int16_t* h = kTabHupL + (phase - 1) * kLh2L;
    for (int n = 0; n < kSubfr; ++n) {
        const int16_t* p = s + kLhUpL - ltpdel + n;
        int32_t acc = 0;
        for (int i = 0; i < kLh2L; ++i) acc = L_mac(acc, h[i], p[-i]);
        y[n] = round_fx(acc);
    }
    int32_t acc = 0;
    for (int n = 0; n < kSubfr; ++n) acc = L_mac(acc, y[n], s[n]);
    if (acc < 0) {
        num = 0, shNum = 0;
    } else {
        int16_t t = sub(16, norm_l(acc));
        if (t < 0) t = 0;
        num = extract_l(L_shr(acc, t)), shNum = t;
    }
    acc = 0;
    for (int n = 0; n < kSubfr; ++n) acc = L_mac(acc, y[n], y[n]);
    int16_t t = sub(16, norm_l(acc));
    if (t < 0) t = 0;
    den = extract_l(L_shr(acc, t)), shDen = t;
}

/// True when gain 1 (num1/den1) is at least gain 2 (the reference select_ltp).
bool firstGainWins(int16_t num1, int16_t den1, int16_t shNum1, int16_t shDen1, int16_t num2, int16_t den2,
                   int16_t shNum2, int16_t shDen2) {
    if (den2 == 0) return true;
    int16_t hi, lo;
    L_Extract(L_mult(num1, num1), hi, lo);
    int32_t t1 = Mpy_32_16(hi, lo, den2);
    L_Extract(L_mult(num2, num2), hi, lo);
    int32_t t2 = Mpy_32_16(hi, lo, den1);
    const int16_t e1 = add(shl(shNum1, 1), shDen2), e2 = add(shl(shNum2, 1), shDen1);
    if (e2 > e1) t1 = L_shr(t1, sub(e2, e1));
    else if (e1 > e2) t2 = L_shr(t2, sub(e1, e2));
    return !(L_sub(t2, t1) > 0);
}

/// The main-body harmonic postfilter (pst_ltp) on the A(z/g2) residual;
/// sigIn has kMemRes2 past samples before it. Returns the voicing (delay or 0).
int16_t longTermPost(int16_t t0, const int16_t* sigIn, int16_t* out) {
    const int16_t* past = sigIn - kMemRes2;
    int16_t peak = 0;
    for (int i = 0; i < kMemRes2 + kSubfr; ++i) peak = static_cast<int16_t>(peak | abs_s(past[i]));
    const int16_t nbSh = sub(3, norm_s(peak));
    int16_t cadrBuf[kMemRes2 + kSubfr];
    for (int i = 0; i < kMemRes2 + kSubfr; ++i) cadrBuf[i] = shr(past[i], nbSh);
    const int16_t* cadr = cadrBuf + kMemRes2;

    int16_t yUp[(kFUp - 1) * kSubfrP1];
    LtpChoice c = searchDelay(t0, cadr, yUp);
    if (c.num == 0) {
        for (int i = 0; i < kSubfr; ++i) out[i] = sigIn[i];
        return c.ltpdel;
    }
    int16_t num = c.num, den = c.den, shNum = c.shNum, shDen = c.shDen;
    const int16_t* yLtp;
    int16_t yLong[kSubfr];
    if (c.phase == 0) {
        yLtp = sigIn - c.ltpdel;
    } else {
        int16_t num2, den2, shNum2, shDen2;
        longFilter(cadr, c.ltpdel, c.phase, yLong, num2, den2, shNum2, shDen2);
        int16_t* y;
        if (firstGainWins(num, den, shNum, shDen, num2, den2, shNum2, shDen2)) {
            y = yUp + (c.phase - 1) * kSubfrP1 + c.offYup;
        } else {
            num = num2, den = den2, shNum = shNum2, shDen = shDen2;
            y = yLong;
        }
        for (int i = 0; i < kSubfr; ++i) y[i] = shl(y[i], nbSh);
        yLtp = y;
    }
    const int16_t d = sub(shNum, shDen);
    if (d >= 0) den = shr(den, d);
    else num = shl(num, d);
    int16_t gain;
    if (num >= den) {
        gain = kMinGplt;  // beta bounded to 1
    } else {
        num = shr(num, 2);
        den = shr(den, 1);
        gain = div_s(den, add(den, num));
    }
    const int16_t gain1 = add(sub(32767, gain), 1);
    for (int n = 0; n < kSubfr; ++n) out[n] = round_fx(L_mac(L_mult(gain, sigIn[n]), gain1, yLtp[n]));
    return c.ltpdel;
}

/// The Annex A pitch postfilter (pit_pst_filt) with the delay searched in
/// t0-3..t0+3 (clipped to 143) on the residual scaled by 1/4.
void longTermPostA(int16_t t, const int16_t* sig, int16_t* out) {
    int16_t t0Min = sub(t, 3), t0Max = add(t0Min, 6);
    if (t0Max > kPitMax) t0Max = kPitMax, t0Min = sub(t0Max, 6);
    int16_t scalBuf[kPitMax + kSubfr];
    for (int i = 0; i < kPitMax + kSubfr; ++i) scalBuf[i] = shr(sig[i - kPitMax], 2);
    const int16_t* scal = scalBuf + kPitMax;
    int32_t corMax = MIN_32;
    int16_t t0 = t0Min;
    for (int i = t0Min; i <= t0Max; ++i) {
        int32_t corr = 0;
        for (int j = 0; j < kSubfr; ++j) corr = L_mac(corr, scal[j], scal[j - i]);
        if (L_sub(corr, corMax) > 0) corMax = corr, t0 = static_cast<int16_t>(i);
    }
    int32_t ener = 1, ener0 = 1;
    for (int i = 0; i < kSubfr; ++i) ener = L_mac(ener, scal[i - t0], scal[i - t0]);
    for (int i = 0; i < kSubfr; ++i) ener0 = L_mac(ener0, scal[i], scal[i]);
    if (corMax < 0) corMax = 0;
    int32_t top = corMax;
    if (ener > top) top = ener;
    if (ener0 > top) top = ener0;
    const int16_t j = norm_l(top);
    int16_t cmax = round_fx(L_shl(corMax, j)), en = round_fx(L_shl(ener, j));
    const int16_t en0 = round_fx(L_shl(ener0, j));
    if (L_sub(L_mult(cmax, cmax), L_shr(L_mult(en, en0), 1)) < 0) {  // prediction gain below 3 dB
        for (int i = 0; i < kSubfr; ++i) out[i] = sig[i];
        return;
    }
    int16_t g0, gain;
    if (cmax > en) {  // pitch gain above 1
        g0 = 21845, gain = 10923;
    } else {
        cmax = shr(mult(cmax, 16384), 1);
        en = shr(en, 1);
        const int16_t s = add(cmax, en);
        if (s > 0) {
            gain = div_s(cmax, s);
            g0 = sub(32767, gain);
        } else {
            g0 = 32767, gain = 0;
        }
    }
    for (int i = 0; i < kSubfr; ++i) out[i] = add(mult(g0, sig[i]), mult(gain, sig[i - t0]));
}

void weightAz(const int16_t* a, int16_t gamma, int16_t* ap) {
    ap[0] = a[0];
    int16_t fac = gamma;
    for (int i = 1; i < kOrder; ++i) {
        ap[i] = round_fx(L_mult(a[i], fac));
        fac = round_fx(L_mult(fac, gamma));
    }
    ap[kOrder] = round_fx(L_mult(a[kOrder], fac));
}

/// 1/A(z) filtering in Q12 (the reference Syn_filt); x and y may alias.
void synFilt(const int16_t* a, const int16_t* x, int16_t* y, int lg, int16_t* mem, bool update) {
    int16_t buf[kOrder + kSubfr];
    for (int i = 0; i < kOrder; ++i) buf[i] = mem[i];
    int16_t* yy = buf + kOrder;
    for (int i = 0; i < lg; ++i) {
        int32_t s = L_mult(x[i], a[0]);
        for (int k = 1; k <= kOrder; ++k) s = L_msu(s, a[k], yy[i - k]);
        yy[i] = round_fx(L_shl(s, 3));
    }
    for (int i = 0; i < lg; ++i) y[i] = yy[i];
    if (update)
        for (int i = 0; i < kOrder; ++i) mem[i] = y[lg - kOrder + i];
}

/// First reflection coefficient of the truncated impulse response (calc_rc0_h).
int16_t parcor0(const int16_t* h) {
    int32_t acc = 0;
    for (int i = 0; i < kLongHSt; ++i) acc = L_mac(acc, h[i], h[i]);
    const int16_t sh = norm_l(acc);
    const int16_t acf0 = extract_h(L_shl(acc, sh));
    acc = 0;
    for (int i = 0; i < kLongHSt - 1; ++i) acc = L_mac(acc, h[i], h[i + 1]);
    const int16_t acf1 = extract_h(L_shl(acc, sh));
    if (acf0 < abs_s(acf1)) return 0;
    const int16_t rc = div_s(abs_s(acf1), acf0);
    return acf1 > 0 ? negate(rc) : rc;
}

}  // namespace

}  // namespace xvo::g729

using namespace xvo::g729;
using namespace xvo::fx;

extern "C" {

XVOSC_API XvoStatus xvosLongTermPostFilter_G729_16s(Xvo16s delay, const Xvo16s* pSrcResidual, Xvo16s* pDstFltResidual,
                                                    Xvo16s* pDstVoicing) {
    XVO_CHECK(xvo::ownCheckPtrs(pSrcResidual, pDstFltResidual, pDstVoicing));
    XVO_RETURN_IF(delay < kPitMinPst || delay > kPitMax, xvoStsRange);
    *pDstVoicing = longTermPost(delay, pSrcResidual + kMemRes2, pDstFltResidual);
    return xvoStsOk;
}

XVOSC_API XvoStatus xvosLongTermPostFilter_G729B_16s(Xvo16s delay, const Xvo16s* pSrcResidual,
                                                     Xvo16s* pDstFltResidual, Xvo16s* pDstVoicing, Xvo16s frameType) {
    XVO_CHECK(xvo::ownCheckPtrs(pSrcResidual, pDstFltResidual, pDstVoicing));
    XVO_RETURN_IF(delay < kPitMinPst || delay > kPitMax, xvoStsRange);
    if (frameType == 1) {
        *pDstVoicing = longTermPost(delay, pSrcResidual + kMemRes2, pDstFltResidual);
    } else {
        for (int i = 0; i < kSubfr; ++i) pDstFltResidual[i] = pSrcResidual[kMemRes2 + i];
        *pDstVoicing = 0;
    }
    return xvoStsOk;
}

XVOSC_API XvoStatus xvosLongTermPostFilter_G729A_16s(Xvo16s delay, const Xvo16s* pSrcResidual,
                                                     Xvo16s* pDstFltResidual) {
    XVO_CHECK(xvo::ownCheckPtrs(pSrcResidual, pDstFltResidual));
    XVO_RETURN_IF(delay < 3 || delay > kPitMax + 3, xvoStsRange);
    longTermPostA(delay, pSrcResidual + kPitMax, pDstFltResidual);
    return xvoStsOk;
}

XVOSC_API XvoStatus xvosShortTermPostFilter_G729_16s(const Xvo16s* pSrcLPC, const Xvo16s* pSrcFltResidual,
                                                     Xvo16s* pSrcDstMemory, Xvo16s* pDstParcor0,
                                                     Xvo16s* pDstSignal) {
    XVO_CHECK(xvo::ownCheckPtrs(pSrcLPC, pSrcFltResidual, pSrcDstMemory, pDstParcor0, pDstSignal));
    int16_t ap1[kOrder + 1], ap2[kLongHSt] = {}, h[kLongHSt], zero[kOrder] = {};
    weightAz(pSrcLPC, 22938, ap1);  // A(z/0.7)
    weightAz(pSrcLPC, 18022, ap2);  // A(z/0.55), zero-padded to 20
    synFilt(ap1, ap2, h, kLongHSt, zero, false);
    const int16_t k1 = parcor0(h);
    int32_t g = 0;
    for (int i = 0; i < kLongHSt; ++i) g = L_add(g, abs_s(h[i]));
    const int16_t g0 = extract_h(L_shl(g, 14));
    int16_t sig[kSubfr];
    for (int i = 0; i < kSubfr; ++i) sig[i] = pSrcFltResidual[i];
    if (g0 > 1024) {
        const int16_t inv = div_s(1024, g0);
        for (int i = 0; i < kSubfr; ++i) sig[i] = mult_r(sig[i], inv);
    }
    synFilt(ap1, sig, pDstSignal, kSubfr, pSrcDstMemory, true);
    *pDstParcor0 = k1;
    return xvoStsOk;
}

XVOSC_API XvoStatus xvosTiltCompensation_G729_16s(Xvo16s parcor0, const Xvo16s* pSrc, Xvo16s* pDst) {
    XVO_CHECK(xvo::ownCheckPtrs(pSrc, pDst));
    int16_t mu, fact, shFact1;
    int32_t lFact;
    if (parcor0 > 0) {
        mu = mult_r(parcor0, 6554), shFact1 = 15, fact = 0x4000, lFact = 0x4000;
    } else {
        mu = mult_r(parcor0, 29491), shFact1 = 12, fact = 0x0800, lFact = 0x0800;
    }
    const int16_t mu2 = add(32767, sub(1, abs_s(mu)));  // 2^15 (1 - |mu|)
    const int16_t ga = div_s(fact, mu2);
    mu = shr(mu, 1);
    // pSrc[0] is the sample before the subframe; pDst may alias pSrc + 1.
    int16_t prev = pSrc[0];
    for (int n = 0; n < kSubfr; ++n) {
        const int16_t cur = pSrc[n + 1];
        int32_t t = L_add(L_mac(L_shl(L_deposit_l(cur), 15), mu, prev), 0x4000);
        const int16_t v = extract_l(L_shr(t, 15));
        t = L_shr(L_add(L_mult(v, ga), lFact), shFact1);
        pDst[n] = sat16(t);
        prev = cur;
    }
    return xvoStsOk;
}

XVOSC_API XvoStatus xvosSynthesisFilter_G729_32f(const Xvo32f* pSrcLPC, const Xvo32f* pSrc, Xvo32f* pDst, int len,
                                                 Xvo32f* pSrcDstMemory) {
    XVO_CHECK(xvo::ownCheckPtrs(pSrcLPC, pSrc, pDst, pSrcDstMemory));
    XVO_CHECK(xvo::ownCheckLens(len));
    float hist[kOrder];  // hist[k] = y[n-10+k]
    for (int k = 0; k < kOrder; ++k) hist[k] = pSrcDstMemory[k];
    for (int n = 0; n < len; ++n) {
        float s = pSrc[n];
        for (int j = 1; j <= kOrder; ++j) s -= pSrcLPC[j] * hist[kOrder - j];
        for (int k = 0; k < kOrder - 1; ++k) hist[k] = hist[k + 1];
        hist[kOrder - 1] = s;
        pDst[n] = s;
    }
    for (int k = 0; k < kOrder; ++k) pSrcDstMemory[k] = hist[k];
    return xvoStsOk;
}

}  // extern "C"
