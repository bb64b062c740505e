// The scalar steps of the per-sample G.726 recursion (G.726 4.2.1-4.2.8),
// shared by the scalar kernel and its SIMD twins. Everything here has
// internal linkage and is forced inline, so each kernel gets its own copy
// compiled for its instruction set.
//
// The Recommendation describes the recursion on modular words of 12 to 19
// bits. Written as plain signed arithmetic every intermediate lies in range,
// except the predictor sums, the reconstructed signal and the zero-predictor
// coefficients, which wrap at 16 bits exactly as the description's words do.
#pragma once

#include <cstdint>

#include "core/fixed.h"
#include "core/helpers.h"
#include "g726/g726_kernel.h"
#include "g726/g726_tables.h"

#define XVO_G726_INLINE __attribute__((always_inline)) inline

namespace xvo::g726 {
namespace {

XVO_G726_INLINE int lim(int x, int lo, int hi) { return x < lo ? lo : (x > hi ? hi : x); }
XVO_G726_INLINE int absv(int x) { return x < 0 ? -x : x; }

/// Floating product of a Q14 predictor coefficient and a delay-line value
/// (G.726 FMULT). The coefficient keeps 13 magnitude bits (Q12), is
/// normalised to a 6-bit mantissa, multiplied with rounding (+48 >> 4) and
/// scaled back by 2^(exponents - 19); the sign is the XOR of both signs.
XVO_G726_INLINE int fmult(int coef, int fl) {
    const int mag = absv(coef >> 2) & 0x1fff;
    const int e = bitLength(static_cast<uint32_t>(mag));
    const int m = mag ? (mag << 6) >> e : 32;
    const int pm = (m * (fl & 63) + 48) >> 4;
    const int sum = e + ((fl >> 6) & 15);                 // 0..28
    const int prod = ((pm << 9) >> (28 - sum)) & 0x7fff;  // pm * 2^(sum - 19)
    const int neg = ((fl >> 10) ^ (coef < 0)) & 1;
    return neg ? -prod : prod;
}

/// fmult with the coefficient normalised by one table lookup.
XVO_G726_INLINE int fmultLookup(int coef, int fl) {
    const int cf = kMagFloat[absv(coef >> 2) & 0x1fff];
    const int pm = ((cf & 63) * (fl & 63) + 48) >> 4;
    const int sum = (cf >> 6) + ((fl >> 6) & 15);
    const int prod = ((pm << 9) >> (28 - sum)) & 0x7fff;
    const int neg = ((fl >> 10) ^ (coef < 0)) & 1;
    return neg ? -prod : prod;
}

/// Quantiser scale y (G.726 LIMA, MIX): the magnitude of (yu - yl) is
/// weighted by al and the sign put back.
XVO_G726_INLINE int scaleFactor(const Work& w) {
    const int al = w.ap >= 256 ? 64 : w.ap >> 2;
    const int ylh = w.yl >> 6;
    const int dif = w.yu - ylh;
    const int prod = (absv(dif) * al) >> 6;
    return ylh + (dif < 0 ? -prod : prod);
}

/// Adaptive quantiser (G.726 SUBTA, LOG, SUBTB, QUAN) of the difference d of
/// the input and the estimate. The Recommendation's difference is a 16-bit
/// word saturated at both ends; here |d| may exceed 32767, which changes
/// nothing: 32767 already lies above every decision level (dl - y/4 >= 1919 -
/// 1280 = kDlnMax), and so does every larger magnitude.
template <int R>
XVO_G726_INLINE int quantise(int d, int y) {
    const int neg = d < 0;
    const int mag = absv(d);
    const int e = 31 - __builtin_clz(static_cast<uint32_t>(mag) | 1);  // bit length - 1, 0 for 0 and 1
    const int dl = (e << 7) + (((mag << 7) >> e) & 127);
    const int dln = lim(dl - (y >> 2), kDlnMin, kDlnMax);
    return kQuantTable.code[R][neg][dln - kDlnMin];
}

/// What the coefficient and delay-line updates need from the scalar part of
/// a sample.
struct SampleUpdate {
    int dqs;    // sign of dq (the code's upper half)
    int dqmag;  // magnitude of dq
    int sr;     // reconstructed signal, 16-bit
    int a1, a2; // updated pole coefficients
    bool tr;    // transition: clear the predictor
};

/// The scalar part of a sample once its code and the magnitude of its
/// quantised difference dq are known (G.726 4.2.4-4.2.7): transition
/// detector, scale-factor and speed-control adaptation, reconstruction,
/// pole-predictor update and tone detector. a1 and a2 are the pole
/// coefficients in use. Updates every scalar field of w; the caller updates
/// b1..b6, the coefficients' reset on a transition and the delay lines.
template <int R>
XVO_G726_INLINE SampleUpdate adaptScalar(Work& w, const CodeInfo& ci, int code, int dqmag, int y, int se, int sez,
                                         int a1, int a2) {
    SampleUpdate u;
    u.dqs = code >> (kBits[R] - 1);
    u.dqmag = dqmag;
    const int dq = u.dqs ? -dqmag : dqmag;

    // Transition detector, on the scale factor and tone flag of the last sample.
    u.tr = w.td && dqmag > kTransitionThreshold[w.yl >> 10];

    // Scale factors: the fast one limited to 544..5120, the slow one follows it.
    const int yu = lim(y + ((ci.w - y) >> 5), 544, 5120);
    w.yl += yu + ((-w.yl) >> 6);
    w.yu = yu;

    // Short- and long-term averages of F.
    w.dms += (ci.f - w.dms) >> 5;
    w.dml += ((ci.f << 2) - w.dml) >> 7;

    // Reconstruction and the sign of the partial reconstructed signal.
    const int dqsez = fx::wrap16(sez + dq);
    const int pk0 = dqsez < 0;
    const bool sigpk = dqsez == 0;
    u.sr = fx::wrap16(se + dq);

    // Pole predictor: a2 first (G.726 UPA2, LIMC), then a1 within 15360 - a2.
    const int pks1 = pk0 ^ w.pk1;
    int a2t = a2 - (a2 >> 7);
    int a1t = a1 - (a1 >> 8);
    if (!sigpk) {
        const int fa = lim(a1, -8191, 8191) << 2;
        a2t += (((pk0 ^ w.pk2) ? -16384 : 16384) + (pks1 ? fa : -fa)) >> 7;
        a1t += pks1 ? -192 : 192;
    }
    u.a2 = lim(a2t, -12288, 12288);
    u.a1 = lim(a1t, u.a2 - 15360, 15360 - u.a2);
    const int tdp = u.a2 < -11776;

    // Speed control: fast adaptation unless the averages agree on stationary speech.
    const int ax = y < 1536 || tdp || absv((w.dms << 2) - w.dml) >= (w.dml >> 3);
    if (u.tr) {
        w.td = 0;
        w.ap = 256;
    } else {
        w.td = tdp;
        w.ap += ((ax << 9) - w.ap) >> 4;
    }
    w.pk2 = w.pk1;
    w.pk1 = pk0;
    return u;
}

/// adaptScalar with the inverse quantiser (G.726 RECONST, ADDA, ANTILOG)
/// computed from the code.
template <int R>
XVO_G726_INLINE SampleUpdate adaptScalar(Work& w, int code, int y, int se, int sez, int a1, int a2) {
    const CodeInfo ci = kCodeTable.code[R][code];
    return adaptScalar<R>(w, ci, code, antilog(ci.dqln + (y >> 2)), y, se, sez, a1, a2);
}

/// The floating form of dq and of sr with their signs on top (bit 10).
XVO_G726_INLINE int dqFloat(const SampleUpdate& u) { return (u.dqs << 10) | toFloat(u.dqmag); }
XVO_G726_INLINE int srFloat(int sr) {
    const int mag = sr < 0 ? -sr & 0x7fff : sr;
    const int f = mag < 8192 ? kMagFloat[mag] : toFloat(mag);
    return sr < 0 ? (1 << 10) | f : f;
}

/// Mu-law byte of the reconstructed signal (see ownSampleToMuLaw).
XVO_G726_INLINE int muLaw(int sr) {
    const int mag = sr < 0 ? -sr & 0x7fff : sr;
    const int absno = (mag < 8158 ? mag : 8158) + 33;               // biased magnitude, 33..8191
    const int seg = bitLength(static_cast<uint32_t>(absno >> 6));  // 0..7
    const int out = ((7 - seg) << 4) | (15 - ((absno >> (seg + 1)) & 15));
    return sr >= 0 ? out | 0x80 : out;
}

/// Output stage of the decoder for G.711 output (G.726 4.2.8): compress the
/// reconstructed signal, then re-quantise the expanded byte and move it one
/// step when its code differs from the received one.
///
/// The compression follows G.726's own routine, which differs from the G.711
/// routines at two points that the conformance sequences exercise: a negative
/// mu-law sample keeps its two's-complement magnitude (-1 is the -1 level, not
/// -0), and a reconstruction that wrapped to -32768 has magnitude 0 (mu-law -0,
/// A-law the smallest negative level).
template <int R>
XVO_G726_INLINE int toLaw(int law, int sr, int se, int y, int code) {
    constexpr int kHalf = 1 << (kBits[R] - 1);
    int byte = law == XVO_PCM_MULAW
                   ? muLaw(sr)
                   : ownLinToALaw(static_cast<int16_t>(sr == -32768 ? -4 : lim(sr, -8192, 8191) * 4));
    const int recode = quantise<R>((kG711Expand[law][byte] >> 2) - se, y);
    if (recode != code)
        byte = (recode ^ kHalf) > (code ^ kHalf) ? kStepTable.down[law][byte] : kStepTable.up[law][byte];
    return byte;
}

}  // namespace
}  // namespace xvo::g726
