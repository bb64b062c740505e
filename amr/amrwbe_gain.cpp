// AMR-WB+ TCX gain decoding (TS 26.290 D_gain_tcx) and the encoder's segmental SNR (segsnr), in
// the codec's fixed-point steps.
#include <algorithm>

#include "core/check.h"
#include "core/fixed.h"
#include "core/helpers.h"
#include "g729/gain.h"
#include "xvosc.h"

namespace xvo::amrwbe {
namespace {

using namespace fx;

/// x = mant * 2^(exp - 15) with mant the normalised high half of x; for x below 2^15 this is the
/// 16-bit norm_s form (mant = x << norm_s(x), exp = 15 - norm_s(x)).
void ownMant16(int32_t x, int16_t& mant, int& exp) {
    const int n = norm_l(x);
    mant = extract_h(L_shl(x, n));
    exp = 31 - n;
}

int32_t ownGainTcx(const int16_t* y, int len, int16_t index, bool bad, int16_t* oldRms) {
    int16_t lgFrac;
    int eLg;
    ownMant16(len, lgFrac, eLg);

    // Spectrum energy / 2^... in blocks of 16 (the last block may be short).
    int32_t energy = 0;
    for (int j = 0; j < len; j += 16) {
        int32_t blk = 0;
        for (int i = j; i < std::min(len, j + 16); ++i) {
            const int16_t t = mult(y[i], 8192);
            blk = L_mac(blk, t, t);
        }
        energy = L_add(energy, L_shr(blk, 5));
    }
    if (energy == 0) energy = 1;
    int16_t eTmp = norm_l(energy);
    const int16_t tmpFrac = extract_h(L_shl(energy, eTmp));
    eTmp = static_cast<int16_t>(30 - (eTmp - 9));
    if (lgFrac > tmpFrac) {
        lgFrac = shr(lgFrac, 1);
        ++eLg;
    }
    // rms = 1 / sqrt(energy / len), mantissa and exponent.
    int16_t rms = div_s(lgFrac, tmpFrac);
    int16_t rmsE = static_cast<int16_t>(eLg - eTmp);
    eTmp = norm_s(rms);
    int32_t lRms = L_shl(rms, eTmp + 16);
    rmsE = add(rmsE, eTmp);
    ownInvSqrt_32s(&lRms, &rmsE);

    if (!bad) {
        // gain = 10^(index / 28) / (4 rms), Q16.
        int16_t expG0 = add(rmsE, 2);
        const int16_t gcode0 = round_fx(lRms);
        int16_t ent, frac;
        L_Extract(L_mult(index, 3888), ent, frac);  // index / (28 log10 2)
        const int32_t p = g729::ownPow2_G729(14, frac);
        int16_t e = norm_l(p);
        frac = extract_h(L_shl(p, e));
        e = add(e, sub(ent, 14));
        ent = sub(31, e);
        if (frac > gcode0) {
            frac = shr(frac, 1);
            ent = sub(ent, 1);
        }
        const int16_t g = div_s(frac, gcode0);
        expG0 = sub(31, add(ent, expG0));
        rms = extract_h(L_shr(lRms, sub(31 - 15, rmsE)));
        *oldRms = shl(mult(g, rms), expG0);  // rms of gain * spectrum
        return L_shl(g, expG0);
    }
    // Bad frame: the previous rms decays by 0.7 and sets the gain.
    int16_t old = mult_r(*oldRms, 22938);
    if (old == 0) old = 1;
    *oldRms = old;
    int16_t e = norm_s(old);
    int16_t frac = shl(old, e);
    e = sub(15, e);
    rms = round_fx(lRms);
    if (frac > rms) {
        frac = shr(frac, 1);
        e = add(e, 1);
    }
    rmsE = sub(e, rmsE);
    return L_shl(div_s(frac, rms), add(rmsE, 1));
}

int16_t ownSegSnr(const int16_t* x, const int16_t* y, int n, int nseg) {
    int32_t snr = 0;
    for (int i = 0; i < n; i += nseg) {
        int32_t sig = 1, noise = 1;
        for (int j = i; j < i + nseg; ++j) {
            const int16_t t = mult(x[j], 4096);
            sig = L_mac(sig, t, t);
            const int16_t r = round_fx(L_msu(L_mult(x[j], 4096), y[j], 4096));
            noise = L_mac(noise, r, r);
        }
        int16_t e, m;
        ownLog2_32s16s(sig, &e, &m);
        const int32_t ls = Mpy_32_16(e, m, 12330);  // 10 log10(2), Q12
        ownLog2_32s16s(noise, &e, &m);
        snr = L_add(snr, L_sub(ls, Mpy_32_16(e, m, 12330)));
    }
    // Average over the segments: snr * nseg / n in Q8 dB, floored at -99 dB. The counts are
    // normalised as 16-bit mantissas (n to 16384..32767, nseg one bit lower).
    const int nn = norm_l(n), ns = norm_l(nseg);
    const int16_t scl = div_s(extract_h(L_shl(nseg, ns - 1)), extract_h(L_shl(n, nn)));
    snr = L_shl(snr, nn - ns + 12);
    const int16_t out = mult(round_fx(snr), scl);
    return std::max<int16_t>(out, -25348);
}

}  // namespace
}  // namespace xvo::amrwbe

using namespace xvo;

extern "C" {

XVOSC_API XvoStatus xvosGainDecodeTCX_AMRWBE_16s(const Xvo16s* pSrcSpectrum, Xvo32s len, Xvo32s index, Xvo32s badFrame,
                                                Xvo16s* pSrcDstRms, Xvo32s* pDstGain) {
    XVO_CHECK(ownCheckPtrs(pSrcSpectrum, pSrcDstRms, pDstGain));
    XVO_CHECK(ownCheckLens(len));
    XVO_RETURN_IF(index < 0 || index > 127 || badFrame < 0 || badFrame > 1, xvoStsRange);
    *pDstGain = amrwbe::ownGainTcx(pSrcSpectrum, len, static_cast<int16_t>(index), badFrame != 0, pSrcDstRms);
    return xvoStsOk;
}

XVOSC_API XvoStatus xvosSNR_AMRWBE_16s(const Xvo16s* pSrcSignal, const Xvo16s* pSrcEstimate, Xvo32s len,
                                      Xvo32s segLen, Xvo16s* pDstSNR) {
    XVO_CHECK(ownCheckPtrs(pSrcSignal, pSrcEstimate, pDstSNR));
    XVO_CHECK(ownCheckLens(len, segLen));
    XVO_RETURN_IF(len % segLen != 0, xvoStsSize);
    *pDstSNR = amrwbe::ownSegSnr(pSrcSignal, pSrcEstimate, len, segLen);
    return xvoStsOk;
}

}  // extern "C"
