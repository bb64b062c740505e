// The G.726 encoder over eight independent channels at once, one channel per
// 32-bit lane (AVX2). Each lane runs the recursion of the scalar kernel
// (g726_scalar.cpp) step for step; the table lookups become gathers and the
// bit lengths of the floating multiplies come from a float conversion, which
// is exact for these magnitudes (below 2^16). The per-sample recursion of one
// channel is a long dependency chain, so one channel alone cannot fill the
// vector unit; eight channels side by side can.
// The helpers below pass vectors by value between inline functions of one
// instruction set; the note on the AVX calling convention does not apply.
#pragma GCC diagnostic ignored "-Wpsabi"

#include <immintrin.h>

#include <array>

#include "g726/g726_steps.h"

#define XVO_G726_MTGT __attribute__((target("avx2")))

namespace xvo::g726 {
namespace {

typedef int32_t V __attribute__((vector_size(32)));
typedef uint32_t UV __attribute__((vector_size(32)));
typedef int16_t V16 __attribute__((vector_size(16)));
typedef uint8_t V8 __attribute__((vector_size(8)));

/// The tables of the recursion widened to 32-bit entries, so that one gather
/// reads exactly one entry.
struct WideTables {
    int32_t quant[kRates][2][kDlnSpan];  // code per rate, sign, dln - kDlnMin
    int32_t trans[512];                  // transition threshold per yl >> 10
};
constexpr WideTables makeWideTables() {
    WideTables t{};
    for (int r = 0; r < kRates; ++r)
        for (int s = 0; s < 2; ++s)
            for (int i = 0; i < kDlnSpan; ++i) t.quant[r][s][i] = kQuantTable.code[r][s][i];
    for (int i = 0; i < 512; ++i) t.trans[i] = kTransitionThreshold[i];
    return t;
}
constexpr WideTables kWide = makeWideTables();

/// The code table as gathers read it: per code, w and (f | dqln << 16).
struct CodeWords {
    int32_t w[kRates][32];
    int32_t fdq[kRates][32];
};
constexpr CodeWords makeCodeWords() {
    CodeWords c{};
    for (int r = 0; r < kRates; ++r)
        for (int k = 0; k < 32; ++k) {
            const CodeInfo& ci = kCodeTable.code[r][k];
            c.w[r][k] = ci.w;
            c.fdq[r][k] = static_cast<int32_t>(static_cast<uint16_t>(ci.f) | static_cast<uint32_t>(static_cast<uint16_t>(ci.dqln)) << 16);
        }
    return c;
}
constexpr CodeWords kCodeWords = makeCodeWords();

#define XVO_MINLINE __attribute__((always_inline)) inline

XVO_G726_MTGT XVO_MINLINE V gather(const int32_t* base, V idx) {
    return (V)_mm256_i32gather_epi32(base, (__m256i)idx, 4);
}
XVO_G726_MTGT XVO_MINLINE V gatherU32(const uint32_t* base, V idx) {
    return (V)_mm256_i32gather_epi32(reinterpret_cast<const int*>(base), (__m256i)idx, 4);
}

XVO_G726_MTGT XVO_MINLINE V vmin(V a, V b) { return a < b ? a : b; }
XVO_G726_MTGT XVO_MINLINE V vmax(V a, V b) { return a > b ? a : b; }
XVO_G726_MTGT XVO_MINLINE V vlim(V x, int lo, int hi) { return vmin(vmax(x, V{} + lo), V{} + hi); }
XVO_G726_MTGT XVO_MINLINE V vabs(V x) { return x < 0 ? -x : x; }
XVO_G726_MTGT XVO_MINLINE V wrap16(V x) { return (V)((UV)x << 16) >> 16; }

/// The float bits of a non-negative x below 2^24.
XVO_G726_MTGT XVO_MINLINE V floatBits(V x) { return (V)_mm256_cvtepi32_ps((__m256i)x); }

/// bitLength and the 6-bit mantissa with its leading one (32 for 0): the
/// 11-bit floating form e << 6 | m of a magnitude below 2^16.
XVO_G726_MTGT XVO_MINLINE V toFloatV(V mag) {
    const V fb = floatBits(mag);
    const V e = vmax((fb >> 23) - 126, V{});
    return (e << 6) | ((fb >> 18) & 31) | 32;
}

/// fmult on lanes: the coefficient's 13 magnitude bits normalised through the
/// float conversion, the product scaled by a per-lane shift.
XVO_G726_MTGT XVO_MINLINE V fmultV(V coef, V fl) {
    const V mag = vabs(coef >> 2) & 0x1fff;
    const V cf = toFloatV(mag);
    const V pm = ((cf & 63) * (fl & 63) + 48) >> 4;
    const V sum = (cf >> 6) + ((fl >> 6) & 15);
    const V prod = ((pm << 9) >> (28 - sum)) & 0x7fff;
    const V neg = -(((fl >> 10) ^ (coef >> 31)) & 1);
    return (prod ^ neg) - neg;
}

/// Eight channels' recursion variables, one channel per lane.
struct LaneState {
    V yl, yu, ap, dms, dml, td, pk1, pk2;
    V coef[8];
    V flt[8];
};

template <int R>
XVO_G726_MTGT void encodeLanes(Work* w, const int16_t* src, uint8_t* dst, int stride, int len) {
    constexpr int kLeak = R == 3 ? 9 : 8;
    LaneState s;
    for (int l = 0; l < 8; ++l) {
        s.yl[l] = w[l].yl;
        s.yu[l] = w[l].yu;
        s.ap[l] = w[l].ap;
        s.dms[l] = w[l].dms;
        s.dml[l] = w[l].dml;
        s.td[l] = w[l].td;
        s.pk1[l] = w[l].pk1;
        s.pk2[l] = w[l].pk2;
        for (int k = 0; k < 8; ++k) {
            s.coef[k][l] = w[l].coef[k];
            s.flt[k][l] = w[l].flt[k];
        }
    }
    for (int i = 0; i < len; ++i) {
        // Signal estimate (ACCUM).
        V acc = fmultV(s.coef[0], s.flt[0]);
        for (int k = 1; k < 6; ++k) acc += fmultV(s.coef[k], s.flt[k]);
        const V sezi = wrap16(acc);
        const V sei = wrap16(sezi + fmultV(s.coef[6], s.flt[6]) + fmultV(s.coef[7], s.flt[7]));
        const V sez = sezi >> 1, se = sei >> 1;

        // Scale factor (LIMA, MIX).
        const V al = s.ap >= 256 ? V{} + 64 : s.ap >> 2;
        const V ylh = s.yl >> 6;
        const V dif = s.yu - ylh;
        const V pr = (vabs(dif) * al) >> 6;
        const V y = ylh + (dif < 0 ? -pr : pr);

        // Quantiser (SUBTA, LOG, SUBTB, QUAN).
        V16 x16;
        __builtin_memcpy(&x16, src + static_cast<size_t>(i) * stride, sizeof x16);
        const V d = __builtin_convertvector(x16, V) - se;
        const V neg = d < 0;  // -1 or 0
        const V mag = vabs(d);
        const V e = (floatBits(mag | 1) >> 23) - 127;
        const V dl = (e << 7) + (((mag << 7) >> e) & 127);
        const V dln = vlim(dl - (y >> 2), kDlnMin, kDlnMax);
        const V code = gather(&kWide.quant[R][0][0], (neg & kDlnSpan) + dln - kDlnMin);
        const V8 c8 = __builtin_convertvector(code, V8);
        __builtin_memcpy(dst + static_cast<size_t>(i) * stride, &c8, sizeof c8);

        // Inverse quantiser (RECONST, ADDA, ANTILOG) and the floating form of dq.
        const V wi = gather(kCodeWords.w[R], code);
        const V fdq = gather(kCodeWords.fdq[R], code);
        const V f = (fdq << 16) >> 16, dqln = fdq >> 16;
        const V dqw = gatherU32(kDqTable.data(), vmax(dqln + (y >> 2) + 1, V{}));
        const V dqmag = dqw & 0xffff;
        const V dqs = code >> (kBits[R] - 1);
        const V dq = dqs != 0 ? -dqmag : dqmag;

        // Transition detector, on the scale factor and tone flag of the last sample.
        const V tr = (s.td != 0) & (dqmag > gather(kWide.trans, s.yl >> 10));

        // Scale factors and the averages of F.
        const V yu = vlim(y + ((wi - y) >> 5), 544, 5120);
        s.yl += yu + ((-s.yl) >> 6);
        s.yu = yu;
        s.dms += (f - s.dms) >> 5;
        s.dml += ((f << 2) - s.dml) >> 7;

        // Reconstruction and the pole predictor (UPA2, LIMC, UPA1, LIMD).
        const V dqsez = wrap16(sez + dq);
        const V pk0 = (dqsez < 0) & 1;
        const V sigpk = dqsez == 0;
        const V sr = wrap16(se + dq);
        const V a1 = s.coef[6], a2 = s.coef[7];
        const V pks1 = pk0 ^ s.pk1;
        V a2t = a2 - (a2 >> 7);
        V a1t = a1 - (a1 >> 8);
        const V fa = vlim(a1, -8191, 8191) << 2;
        const V a2step = (((pk0 ^ s.pk2) != 0 ? V{} - 16384 : V{} + 16384) + (pks1 != 0 ? fa : -fa)) >> 7;
        const V a1step = pks1 != 0 ? V{} - 192 : V{} + 192;
        a2t += sigpk ? V{} : a2step;
        a1t += sigpk ? V{} : a1step;
        const V a2n = vlim(a2t, -12288, 12288);
        const V a1n = vmin(vmax(a1t, a2n - 15360), 15360 - a2n);
        const V tdp = (a2n < -11776) & 1;

        // Speed control and tone detector.
        const V ax = (y < 1536) | (tdp != 0) | (vabs((s.dms << 2) - s.dml) >= (s.dml >> 3));
        s.ap = tr ? V{} + 256 : s.ap + (((ax & 512) - s.ap) >> 4);
        s.td = tr ? V{} : tdp;
        s.pk2 = s.pk1;
        s.pk1 = pk0;

        // Zero predictor (UPB, with leak), the transition reset, the delay lines.
        const V step = dqmag != 0 ? V{} + 128 : V{};
        for (int k = 0; k < 6; ++k) {
            const V b = s.coef[k];
            const V differ = ((s.flt[k] >> 10) ^ dqs) & 1;
            s.coef[k] = tr ? V{} : wrap16(b + (differ != 0 ? -step : step) - (b >> kLeak));
        }
        s.coef[6] = tr ? V{} : a1n;
        s.coef[7] = tr ? V{} : a2n;
        for (int k = 5; k > 0; --k) s.flt[k] = s.flt[k - 1];
        s.flt[0] = (dqs << 10) | ((V)((UV)dqw >> 16));
        s.flt[7] = s.flt[6];
        const V srmag = sr < 0 ? (-sr) & 0x7fff : sr;
        s.flt[6] = ((sr < 0) & (1 << 10)) | toFloatV(srmag);
    }
    for (int l = 0; l < 8; ++l) {
        w[l].yl = s.yl[l];
        w[l].yu = s.yu[l];
        w[l].ap = s.ap[l];
        w[l].dms = s.dms[l];
        w[l].dml = s.dml[l];
        w[l].td = s.td[l];
        w[l].pk1 = s.pk1[l];
        w[l].pk2 = s.pk2[l];
        for (int k = 0; k < 8; ++k) {
            w[l].coef[k] = static_cast<int16_t>(s.coef[k][l]);
            w[l].flt[k] = static_cast<int16_t>(s.flt[k][l]);
        }
    }
}

}  // namespace

EncodeLanesFn ownEncodeLanes(int rate) {
    static const bool avx2 = ownCpuSupports(OwnCpuLevel::AVX2);
    if (!avx2) return nullptr;
    static constexpr EncodeLanesFn kFns[4] = {encodeLanes<0>, encodeLanes<1>, encodeLanes<2>, encodeLanes<3>};
    return kFns[rate & 3];
}

}  // namespace xvo::g726
