// The per-sample G.726 recursion (G.726 4.2.1-4.2.8), bit for bit with the
// Recommendation's fixed-point description, written as plain signed
// arithmetic: every intermediate of the description's modular words lies in
// range here, except the predictor sums and the zero-predictor coefficients,
// which wrap at 16 bits exactly as the description's words do.
#include "g726/g726_kernel.h"

#include <algorithm>
#include <cstdlib>

#include "core/fixed.h"
#include "core/helpers.h"
#include "g726/g726_tables.h"

namespace xvo::g726 {

namespace {

using fx::wrap16;

/// Number of significant bits of x (0 for 0).
inline int bitLength(uint32_t x) { return x ? 32 - __builtin_clz(x) : 0; }

/// 11-bit floating form of a magnitude 0..32767 (G.726 FLOATA / FLOATB):
/// exponent = bit length, 6-bit mantissa with its leading one; 0 is 0 << 6 | 32.
inline int toFloat(int mag) {
    const int e = bitLength(static_cast<uint32_t>(mag));
    const int m = mag ? (mag << 6) >> e : 32;
    return (e << 6) | m;
}

/// Floating product of a Q14 predictor coefficient and a delay-line value
/// (G.726 FMULT). The coefficient keeps 13 magnitude bits (Q12), is
/// normalised to a 6-bit mantissa, multiplied with rounding (+48 >> 4) and
/// scaled back by 2^(exponents - 19); the sign is the XOR of both signs.
inline int fmult(int coef, int fl) {
    const int mag = std::abs(coef >> 2) & 0x1fff;
    const int e = bitLength(static_cast<uint32_t>(mag));
    const int m = mag ? (mag << 6) >> e : 32;
    const int pm = (m * (fl & 63) + 48) >> 4;
    const int sum = e + ((fl >> 6) & 15);                 // 0..28
    const int prod = ((pm << 9) >> (28 - sum)) & 0x7fff;  // pm * 2^(sum - 19)
    const int neg = ((fl >> 10) ^ (coef < 0)) & 1;
    return neg ? -prod : prod;
}

/// Signal estimate (G.726 ACCUM): se and the partial estimate sez, both as the
/// halves of 16-bit wrapped sums.
inline int predict(const Work& w, int& sez) {
    int acc = 0;
    for (int k = 0; k < 6; ++k) acc += fmult(w.coef[k], w.flt[k]);
    const int sezi = wrap16(acc);
    const int sei = wrap16(sezi + fmult(w.coef[6], w.flt[6]) + fmult(w.coef[7], w.flt[7]));
    sez = sezi >> 1;
    return sei >> 1;
}

/// Quantiser scale y (G.726 LIMA, MIX): the magnitude of (yu - yl) is
/// weighted by al and the sign put back.
inline int scaleFactor(const Work& w) {
    const int al = w.ap >= 256 ? 64 : w.ap >> 2;
    const int ylh = w.yl >> 6;
    const int dif = w.yu - ylh;
    const int prod = (std::abs(dif) * al) >> 6;
    return ylh + (dif < 0 ? -prod : prod);
}

/// Adaptive quantiser (G.726 LOG, SUBTB, QUAN) of a 16-bit difference d.
template <int R>
inline int quantise(int d, int y) {
    const int neg = d < 0;
    const int mag = neg ? std::min(-d, 32767) : d;
    const int e = bitLength(static_cast<uint32_t>(mag >> 1));  // bit length - 1, 0 for 0 and 1
    const int dl = (e << 7) + (((mag << 7) >> e) & 127);
    const int dln = std::clamp(dl - (y >> 2), kDlnMin, kDlnMax);
    return kQuantTable.code[R][neg][dln - kDlnMin];
}

/// Everything after the code of a sample is known: inverse quantiser, scale
/// factor and speed-control adaptation, reconstruction, tone and transition
/// detection, predictor adaptation and the delay lines (G.726 4.2.3-4.2.7).
/// Returns the reconstructed signal sr (16-bit).
template <int R>
inline int adapt(Work& w, int code, int y, int se, int sez) {
    constexpr int kSignShift = kBits[R] - 1;
    constexpr int kLeak = R == 3 ? 9 : 8;
    const CodeInfo ci = kCodeTable.code[R][code];
    const int dqs = code >> kSignShift;

    // Inverse quantiser: antilog of dqln + y/4 (negative logs give 0).
    const int dql = ci.dqln + (y >> 2);
    const int dqmag = dql < 0 ? 0 : (((dql & 127) + 128) << 7) >> (14 - ((dql >> 7) & 15));
    const int dq = dqs ? -dqmag : dqmag;

    // Transition detector, on the scale factor and tone flag of the last sample.
    const int ylint = w.yl >> 15;
    const int thr = ylint > 9 ? 31744 : (((w.yl >> 10) & 31) + 32) << ylint;
    const bool tr = w.td && dqmag > ((thr + (thr >> 1)) >> 1);

    // Scale factors: fast one limited to 544..5120, slow one follows it.
    const int yu = std::clamp(y + ((ci.w - y) >> 5), 544, 5120);
    w.yl += yu + ((-w.yl) >> 6);
    w.yu = yu;

    // Short- and long-term averages of F.
    w.dms += (ci.f - w.dms) >> 5;
    w.dml += ((ci.f << 2) - w.dml) >> 7;

    // Reconstruction and the sign of the partial reconstructed signal.
    const int dqsez = wrap16(sez + dq);
    const int pk0 = dqsez < 0;
    const bool sigpk = dqsez == 0;
    const int sr = wrap16(se + dq);

    // Pole predictor: a2 first (G.726 UPA2, LIMC), then a1 within 15360 - a2.
    const int a1 = w.coef[6], a2 = w.coef[7];
    const int pks1 = pk0 ^ w.pk1;
    int a2t = a2 - (a2 >> 7);
    int a1t = a1 - (a1 >> 8);
    if (!sigpk) {
        const int fa = std::clamp(a1, -8191, 8191) << 2;
        a2t += (((pk0 ^ w.pk2) ? -16384 : 16384) + (pks1 ? fa : -fa)) >> 7;
        a1t += pks1 ? -192 : 192;
    }
    const int a2p = std::clamp(a2t, -12288, 12288);
    const int a1p = std::clamp(a1t, a2p - 15360, 15360 - a2p);
    const int tdp = a2p < -11776;

    // Speed control: fast adaptation unless the averages agree on stationary speech.
    const int ax = y < 1536 || tdp || std::abs((w.dms << 2) - w.dml) >= (w.dml >> 3);
    const int ap = w.ap + (((ax << 9) - w.ap) >> 4);

    // Zero predictor: leak, and step towards sign agreement of dq and dq(k).
    const int step = dqmag ? 128 : 0;
    for (int k = 0; k < 6; ++k) {
        const int b = w.coef[k];
        const int agree = ((w.flt[k] >> 10) ^ dqs) & 1;
        w.coef[k] = wrap16(b + (agree ? -step : step) - (b >> kLeak));
    }
    w.coef[6] = static_cast<int16_t>(a1p);
    w.coef[7] = static_cast<int16_t>(a2p);
    if (tr) {
        std::fill(w.coef, w.coef + 8, int16_t{0});
        w.td = 0;
        w.ap = 256;
    } else {
        w.td = tdp;
        w.ap = ap;
    }

    // Delay lines.
    for (int k = 5; k > 0; --k) w.flt[k] = w.flt[k - 1];
    w.flt[0] = static_cast<int16_t>((dqs << 10) | toFloat(dqmag));
    w.flt[7] = w.flt[6];
    w.flt[6] = static_cast<int16_t>(sr < 0 ? (1 << 10) | toFloat(-sr & 0x7fff) : toFloat(sr));
    w.pk2 = w.pk1;
    w.pk1 = pk0;
    return sr;
}

template <int R>
void encodeBlock(Work& state, const int16_t* src, uint8_t* dst, int len) {
    Work w = state;
    for (int i = 0; i < len; ++i) {
        int sez;
        const int se = predict(w, sez);
        const int y = scaleFactor(w);
        const int code = quantise<R>(fx::sat16(src[i] - se), y);
        dst[i] = static_cast<uint8_t>(code);
        adapt<R>(w, code, y, se, sez);
    }
    state = w;
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
inline int toLaw(int law, int sr, int se, int y, int code) {
    constexpr int kHalf = 1 << (kBits[R] - 1);
    int byte = law == XVO_PCM_MULAW ? ownSampleToMuLaw(sr)
                                    : ownLinToALaw(static_cast<int16_t>(sr == -32768 ? -4 : std::clamp(sr, -8192, 8191) * 4));
    const int recode = quantise<R>((kG711Expand[law][byte] >> 2) - se, y);
    if (recode != code)
        byte = (recode ^ kHalf) > (code ^ kHalf) ? kStepTable.down[law][byte] : kStepTable.up[law][byte];
    return byte;
}

template <int R>
void decodeBlock(int law, Work& state, const uint8_t* src, int16_t* dst, int len) {
    constexpr int kMask = (1 << kBits[R]) - 1;
    Work w = state;
    for (int i = 0; i < len; ++i) {
        int sez;
        const int se = predict(w, sez);
        const int y = scaleFactor(w);
        const int code = src[i] & kMask;
        const int sr = adapt<R>(w, code, y, se, sez);
        dst[i] = static_cast<int16_t>(law == XVO_PCM_LINEAR ? std::clamp(sr, -8192, 8191)
                                                            : toLaw<R>(law, sr, se, y, code));
    }
    state = w;
}

}  // namespace

uint8_t ownSampleToMuLaw(int sr) {
    const int mag = sr < 0 ? -sr & 0x7fff : sr;
    const int absno = std::min(mag, 8158) + 33;                     // biased magnitude, 33..8191
    const int seg = bitLength(static_cast<uint32_t>(absno >> 6));  // 0..7
    const int out = ((7 - seg) << 4) | (15 - ((absno >> (seg + 1)) & 15));
    return static_cast<uint8_t>(sr >= 0 ? out | 0x80 : out);
}

void ownEncode(int rate, Work& w, const int16_t* src, uint8_t* dst, int len) {
    switch (rate & 3) {
        case 0: encodeBlock<0>(w, src, dst, len); break;
        case 1: encodeBlock<1>(w, src, dst, len); break;
        case 2: encodeBlock<2>(w, src, dst, len); break;
        default: encodeBlock<3>(w, src, dst, len); break;
    }
}

void ownDecode(int rate, int law, Work& w, const uint8_t* src, int16_t* dst, int len) {
    if (law != XVO_PCM_LINEAR) law &= 1;  // the state is trusted; keep table indices in range anyway
    switch (rate & 3) {
        case 0: decodeBlock<0>(law, w, src, dst, len); break;
        case 1: decodeBlock<1>(law, w, src, dst, len); break;
        case 2: decodeBlock<2>(law, w, src, dst, len); break;
        default: decodeBlock<3>(law, w, src, dst, len); break;
    }
}

}  // namespace xvo::g726
