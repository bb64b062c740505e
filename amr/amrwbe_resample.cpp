// AMR-WB+ sampling-rate converters (TS 26.290 Decim_split_12k8, Decim_fs, Over_fs): the encoder's
// decimation of 44.1 / 48 kHz input to 25.6 kHz and its split into two 12.8 kHz bands, and the
// polyphase converters between 44.1 / 48 kHz and the lower output rates. Every converter keeps its
// input history and its phase position in caller memory, so a stream may be cut into calls anywhere.
#include <algorithm>

#include "amr/amrwbe_band.h"
#include "amr/amrwbe_tables.h"
#include "core/check.h"
#include "core/fixed.h"
#include "xvosc.h"

namespace xvo::amrwbe {
namespace {

using namespace fx;

constexpr int kMaxIn = 7680;              // two 48 kHz frames of 20 ms: the largest input of a call
constexpr int kSplitHist = 48;            // 25.6 kHz history of the band-split filter
constexpr int kDecimHist = 1560;          // input history of the 25.6 kHz decimator
constexpr int kFsDecimHist = 144, kFsOverHist = 24;
constexpr int kMaxSplitLen = 1024;

/// Low-pass prototype of the output-rate converters (Filter_LP12), Q14, centre tap first:
/// 12 phases of 12 taps per side.
constexpr int16_t kLp12[145] = {
    16384, 16196, 15638, 14735, 13524, 12054, 10386, 8585,  6723,  4870,  3092,  1451,  0,     -1221, -2183,
    -2872, -3285, -3435, -3344, -3047, -2583, -1999, -1342, -661,  0,     601,   1109,  1501,  1761,  1883,
    1871,  1735,  1496,  1175,  799,   399,   0,     -370,  -690,  -941,  -1113, -1199, -1199, -1119, -969,
    -765,  -523,  -262,  0,     245,   457,   626,   741,   800,   801,   749,   649,   513,   351,   176,
    0,     -164,  -307,  -420,  -497,  -536,  -536,  -500,  -433,  -342,  -233,  -117,  0,     109,   202,
    276,   325,   350,   349,   324,   280,   220,   150,   74,    0,     -69,   -127,  -173,  -203,  -217,
    -215,  -198,  -170,  -133,  -90,   -44,   0,     40,    74,    99,    116,   122,   120,   110,   93,
    72,    48,    23,    0,     -21,   -37,   -49,   -57,   -59,   -57,   -51,   -42,   -32,   -21,   -10,
    0,     8,     14,    19,    20,    20,    19,    16,    13,    9,     6,     2,     0,     -2,    -3,
    -3,    -3,    -3,    -2,    -1,    -1,    0,     0,     0,     0};

/// One polyphase converter: facDown / facUp input samples per output, the phase position frac
/// (0 .. facUp - 1) choosing the taps frac >> shift of a prototype whose phases lie stride apart.
struct OwnPolyphase {
    const int16_t* proto;
    int protoLen;  // taps beyond the prototype weigh 0
    int16_t facUp, facDown, gain;
    int stride, shift, ncoef;
};

/// Tap k of the prototype (0 past its end: the 44.1 kHz decimator's last phase reaches one past).
inline int16_t ownTap(const OwnPolyphase& f, int k) { return k < f.protoLen ? f.proto[k] : 0; }

constexpr int kMaxRows = 8192;  // phases x padded width: at most 4680 + 8 x 164 (split), 11 x 144, 12 x 24
constexpr int kPad = 8;         // samples past the data that a padded row may read (weighted 0)

/// The taps of every phase laid out as one contiguous row over x[pos - ncoef + 1 .. pos + ncoef],
/// zero-padded to a multiple of 8; returns the largest sum of |tap| over a row.
int32_t ownPhaseRows(const OwnPolyphase& f, int phases, int width, int16_t* rows) {
    int32_t absMax = 0;
    for (int fd = 0; fd < phases; ++fd) {
        int16_t* r = rows + fd * width;
        int32_t sum = 0;
        for (int t = 0; t < width; ++t) {
            int16_t c = 0;
            if (t < f.ncoef) c = ownTap(f, fd + (f.ncoef - 1 - t) * f.stride);
            else if (t < 2 * f.ncoef) c = ownTap(f, f.stride - fd + (t - f.ncoef) * f.stride);
            r[t] = c;
            sum += c < 0 ? -c : c;
        }
        absMax = std::max(absMax, sum);
    }
    return absMax;
}


/// count outputs; x[pos] is the newest sample of the left wing of an output at read position pos,
/// x[pos + 1] the oldest of the right wing. The phase position runs on through *pFrac. xEnd is one
/// past the last sample read; kPad samples after it must be readable (they are weighted 0).
void ownPolyphase(const OwnPolyphase& f, const int16_t* x, const int16_t* xEnd, int16_t* dst, int count,
                  int16_t* pFrac) {
    const int16_t posStep = static_cast<int16_t>(f.facDown / f.facUp);
    const int16_t fracStep = sub(f.facDown, static_cast<int16_t>(posStep * f.facUp));
    const int16_t wrap = sub(f.facUp, fracStep);
    const int phases = f.facUp >> f.shift, width = (2 * f.ncoef + 7) & ~7;
    alignas(16) int16_t rows[kMaxRows];
    const int32_t absMax = ownPhaseRows(f, phases, width, rows);
    int16_t peak = 0;
    for (const int16_t* p = x - f.ncoef + 1; p < xEnd; ++p) peak = std::max(peak, abs_s(*p));
    // Below this bound no partial sum of the doubled products, nor its rounding, can saturate:
    // the saturating sequence equals one exact sum in any order.
    const bool exact = int64_t(peak) * absMax < (int64_t(1) << 29);
    int pos = 0;
    int16_t frac = *pFrac;
    for (int i = 0; i < count; ++i) {
        const int fd = frac >> f.shift;
        int32_t s = 0;
        if (exact) {
            s = 2 * ownDot(rows + fd * width, x + pos - f.ncoef + 1, width);
        } else {
            const int16_t* left = x + pos;
            const int16_t* right = left + 1;
            for (int j = 0, c1 = fd, c2 = f.stride - fd; j < f.ncoef; ++j, c1 += f.stride, c2 += f.stride) {
                s = L_mac(s, left[-j], ownTap(f, c1));
                s = L_mac(s, right[j], ownTap(f, c2));
            }
        }
        dst[i] = shl(mult_r(round_fx(s), f.gain), 1);
        if (frac >= wrap) {
            pos += posStep + 1;
            frac = sub(frac, wrap);
        } else {
            pos += posStep;
            frac = add(frac, fracStep);
        }
    }
    *pFrac = frac;
}

/// Samples of the other side of a converter: (2 (n fac + frac) / 2) / 12 in the codec's division
/// steps, plus one when the quotient fell short (n fac counts in 1/12 samples).
int16_t ownCountBy12(int32_t t) {
    int16_t q = div_s(extract_h(L_shl(t, 11)), 24576);
    const int16_t q1 = add(q, 1);
    if (L_msu(t, q1, 12) >= 0) q = q1;
    return q;
}

}  // namespace
}  // namespace xvo::amrwbe

using namespace xvo;
using namespace xvo::amrwbe;

extern "C" {

XVOSC_API XvoStatus xvosBandSplitDownsample_AMRWBE_16s(const Xvo16s* pSrc, Xvo16s* pDstLowBand, Xvo16s* pDstHighBand,
                                                      Xvo32s len, Xvo32s srcRate, Xvo16s facFs, Xvo16s* pSrcDstMem,
                                                      Xvo16s* pSrcDstFrac, Xvo32s* pDstConsumed) {
    using namespace fx;
    XVO_CHECK(ownCheckPtrs(pSrc, pDstLowBand, pDstHighBand));
    XVO_CHECK(ownCheckPtrs(pSrcDstMem, pSrcDstFrac, pDstConsumed));
    XVO_CHECK(ownCheckLens(len));
    XVO_RETURN_IF(len > kMaxSplitLen, xvoStsSize);
    XVO_RETURN_IF(srcRate != 48000 && srcRate != 44100, xvoStsRange);
    XVO_RETURN_IF(facFs < 48 || facFs > 164, xvoStsRange);
    const int16_t facUp = shl(facFs, 3);
    XVO_RETURN_IF(*pSrcDstFrac < 0 || *pSrcDstFrac >= facUp, xvoStsRange);

    const bool is48 = srcRate == 48000;
    const int16_t facDown = is48 ? 1440 : 1323;
    int16_t nFacDown = is48 ? 18720 : 17199;  // 2 facDown (taps per side + 1) / 8
    const int16_t expU = norm_s(facUp), mFu = shl(facUp, expU);
    int16_t ncoef;
    if (nFacDown > mFu) {
        nFacDown = shr(nFacDown, 1);
        ncoef = shr(div_s(nFacDown, mFu), sub(14, expU));
    } else {
        ncoef = shr(div_s(nFacDown, mFu), sub(15, expU));
    }
    const int16_t gain = div_s(shl(facFs, 7), 23040);  // facFs / 180, Q15

    // Input samples this call consumes: ceil-like (2 len facDown + frac) / facUp.
    const int16_t frameInt = static_cast<int16_t>(2 * len);
    int32_t t = L_mac(L_mult(frameInt, facDown), *pSrcDstFrac, 1);
    int16_t frame = div_s(extract_h(L_shl(t, expU)), mFu);
    const int16_t frame1 = add(frame, 1);
    if (L_msu(t, frame1, facUp) >= 0) frame = frame1;

    // in: decimator history, then the new input; lo: split-filter history, then 25.6 kHz samples.
    int16_t in[kDecimHist + kMaxIn + kPad];
    int16_t lo[kSplitHist + 2 * kMaxSplitLen];
    std::copy_n(pSrcDstMem + kSplitHist, kDecimHist, in);
    std::copy_n(pSrc, frame, in + kDecimHist);
    std::fill_n(in + kDecimHist + frame, kPad, int16_t{0});
    std::copy_n(pSrcDstMem, kSplitHist, lo);

    const OwnPolyphase f{is48 ? kUp48Proto : kUp44Proto, is48 ? 2341 : 2146, facUp, facDown, gain, facFs, 3, ncoef};
    int16_t fracOut = *pSrcDstFrac;
    ownPolyphase(f, in + ncoef, in + kDecimHist + frame, lo + kSplitHist, frameInt, &fracOut);

    // 25.6 kHz -> two 12.8 kHz bands: the half-band low pass on even samples, 24 samples late.
    const int16_t* sig = lo + kSplitHist / 2;
    for (int i = 0; i < len; ++i) {
        int32_t s = L_mult(sig[2 * i], 16384);
        for (int j = 0; j < 12; ++j) {
            s = L_mac(s, sig[2 * i - 1 - 2 * j], kJoinHalfBand[j]);
            s = L_mac(s, sig[2 * i + 1 + 2 * j], kJoinHalfBand[j]);
        }
        const int16_t low = round_fx(s);
        pDstLowBand[i] = low;
        pDstHighBand[i] = sub(sig[2 * i], low);
    }

    std::copy_n(lo + frameInt, kSplitHist, pSrcDstMem);
    std::copy_n(in + frame, kDecimHist, pSrcDstMem + kSplitHist);
    *pSrcDstFrac = fracOut;
    *pDstConsumed = frame;
    return xvoStsOk;
}

XVOSC_API XvoStatus xvosResamplePolyphase_AMRWBE_16s(const Xvo16s* pSrc, Xvo16s* pDst, Xvo32s len, Xvo32s direction,
                                                    Xvo16s factor, Xvo16s* pSrcDstMem, Xvo16s* pSrcDstFrac,
                                                    Xvo32s* pDstCount) {
    using namespace fx;
    XVO_CHECK(ownCheckPtrs(pSrc, pDst));
    XVO_CHECK(ownCheckPtrs(pSrcDstMem, pSrcDstFrac, pDstCount));
    XVO_CHECK(ownCheckLens(len));
    XVO_RETURN_IF(len > kMaxIn, xvoStsSize);
    XVO_RETURN_IF(direction != 0 && direction != 1, xvoStsRange);
    // Decimating, factor 7 is left out (its gain 7/12 does not fit the normalised division) and
    // factor 1 would need more history than the 144 samples kept.
    XVO_RETURN_IF(factor < 1 || factor > 12 || (direction == 0 && (factor == 1 || factor == 7)), xvoStsRange);
    // The phase counts in 1/factor input samples when decimating, 1/12 when interpolating.
    XVO_RETURN_IF(*pSrcDstFrac < 0 || *pSrcDstFrac >= (direction == 0 ? factor : 12), xvoStsRange);

    if (factor == 12) {  // same rate: the samples pass unchanged, histories untouched
        std::copy_n(pSrc, len, pDst);
        *pDstCount = len;
        return xvoStsOk;
    }
    int16_t x[kFsDecimHist + kMaxIn + kPad];
    int16_t frac = *pSrcDstFrac;
    if (direction == 0) {
        // 44.1 / 48 kHz -> factor / 12 of it: len inputs, as many outputs as the phase allows.
        const int16_t expU = norm_s(factor), mFu = shl(factor, expU);
        const int16_t ncoef = shr(div_s(static_cast<int16_t>((12 * 12) << 6), mFu), sub(21, expU));
        const int16_t gain = shl(div_s(mFu, 24576), sub(11, expU));  // factor / 12, Q15
        const int32_t t = L_mac(L_mult(static_cast<int16_t>(len), factor), sub(12, add(1, frac)), 1);
        const int16_t count = ownCountBy12(t);
        std::copy_n(pSrcDstMem, kFsDecimHist, x);
        std::copy_n(pSrc, len, x + kFsDecimHist);
        std::fill_n(x + kFsDecimHist + len, kPad, int16_t{0});
        const OwnPolyphase f{kLp12, 145, factor, 12, gain, factor, 0, ncoef};
        ownPolyphase(f, x + ncoef - 1, x + kFsDecimHist + len, pDst, count, &frac);
        std::copy_n(x + len, kFsDecimHist, pSrcDstMem);
        *pDstCount = count;
    } else {
        // 12 / factor of the rate -> 44.1 / 48 kHz: len outputs, as many inputs as they need.
        const int32_t t = L_mac(L_mult(static_cast<int16_t>(len), factor), frac, 1);
        const int16_t consumed = ownCountBy12(t);
        std::copy_n(pSrcDstMem, kFsOverHist, x);
        std::copy_n(pSrc, consumed, x + kFsOverHist);
        std::fill_n(x + kFsOverHist + consumed, kPad, int16_t{0});
        const OwnPolyphase f{kLp12, 145, 12, factor, 32767, 12, 0, 12};
        ownPolyphase(f, x + 11, x + kFsOverHist + consumed, pDst, len, &frac);
        std::copy_n(x + consumed, kFsOverHist, pSrcDstMem);
        *pDstCount = consumed;
    }
    *pSrcDstFrac = frac;
    return xvoStsOk;
}

}  // extern "C"
