// The G.726 kernels for AVX2 machines, arranged for a short dependency chain
// from one sample's code to the next sample's signal estimate:
//  - the zero-predictor terms of dq2..dq6 run on eight 32-bit lanes (lanes 1..5
//    used), with the coefficient normalised through a float conversion and
//    the product scaled by a per-lane variable shift; their inputs (b1..b6
//    and the older delay-line values) are known shortly after the previous
//    code;
//  - the three terms whose inputs arrive last (b1 times the newest dq, and the
//    two pole terms) are scalar floating multiplies running alongside.
// Bit for bit the same as the scalar kernels (the sums wrap at 16 bits, so
// their order does not matter).
#include <immintrin.h>

#include "g726/g726_steps.h"

#define XVO_G726_TGT __attribute__((target("avx2,bmi,bmi2,lzcnt,popcnt")))

namespace xvo::g726 {
namespace {

/// The registers of the running recursion.
struct Lanes {
    __m128i coef;   // b1..b6 in 16-bit lanes 0..5, lanes 6 and 7 zero
    __m128i flt;    // dq1..dq6 (float with sign) in lanes 0..5, lanes 6 and 7 zero
    __m128i older;  // flt without lane 0: ready before the newest dq is
    int b1;         // lane 0 of coef
    int dq1;        // lane 0 of flt
    int a1, a2;     // pole coefficients
    int sr1, sr2;   // the last two reconstructed signals (float with sign)
};

/// Vector constants of the predictor, made once per block and kept in
/// registers (the empty asm hides their values, so the compiler does not
/// rebuild them inside the loop).
struct Consts {
    __m256i m13, bias, m5, one5, m6, m4, rnd, top, m15;
    XVO_G726_TGT XVO_G726_INLINE Consts()
        : m13(_mm256_set1_epi32(0x1fff)),
          bias(_mm256_set1_epi32(126)),
          m5(_mm256_set1_epi32(31)),
          one5(_mm256_set1_epi32(32)),
          m6(_mm256_set1_epi32(63)),
          m4(_mm256_set1_epi32(15)),
          rnd(_mm256_set1_epi32(48)),
          top(_mm256_set1_epi32(28)),
          m15(_mm256_set1_epi32(0x7fff)) {
        __asm__("" : "+x"(m13), "+x"(bias), "+x"(m5), "+x"(one5), "+x"(m6), "+x"(m4), "+x"(rnd), "+x"(top), "+x"(m15));
    }
};

/// Sum of the zero-predictor terms b(k) * dq(k) for k = 2..6, as a plain
/// (unwrapped) integer.
XVO_G726_TGT XVO_G726_INLINE int olderTerms(const Consts& k, __m128i coef, __m128i older) {
    const __m256i c = _mm256_cvtepi16_epi32(coef);
    const __m256i f = _mm256_cvtepu16_epi32(older);  // lanes 0, 6, 7 zero: they contribute nothing
    const __m256i mag = _mm256_and_si256(_mm256_abs_epi32(_mm256_srai_epi32(c, 2)), k.m13);
    const __m256i fb = _mm256_castps_si256(_mm256_cvtepi32_ps(mag));  // exact for 13 bits
    const __m256i e = _mm256_max_epi32(_mm256_sub_epi32(_mm256_srli_epi32(fb, 23), k.bias),
                                       _mm256_setzero_si256());  // bit length, 0 for 0
    const __m256i m = _mm256_or_si256(_mm256_and_si256(_mm256_srli_epi32(fb, 18), k.m5), k.one5);
    const __m256i fm = _mm256_and_si256(f, k.m6);
    const __m256i fe = _mm256_and_si256(_mm256_srli_epi32(f, 6), k.m4);
    const __m256i pm = _mm256_srli_epi32(_mm256_add_epi32(_mm256_mullo_epi16(m, fm), k.rnd), 4);
    const __m256i shift = _mm256_sub_epi32(k.top, _mm256_add_epi32(e, fe));
    const __m256i prod = _mm256_and_si256(_mm256_srlv_epi32(_mm256_slli_epi32(pm, 9), shift), k.m15);
    const __m256i neg = _mm256_srai_epi32(_mm256_xor_si256(c, _mm256_slli_epi32(f, 21)), 31);
    const __m256i w = _mm256_sub_epi32(_mm256_xor_si256(prod, neg), neg);
    __m128i s = _mm_add_epi32(_mm256_castsi256_si128(w), _mm256_extracti128_si256(w, 1));
    s = _mm_add_epi32(s, _mm_shuffle_epi32(s, 0x4e));
    s = _mm_add_epi32(s, _mm_shuffle_epi32(s, 0xb1));
    return _mm_cvtsi128_si32(s);
}

template <int R>
XVO_G726_TGT XVO_G726_INLINE int update(Work& w, Lanes& v, int code, int y, int se, int sez) {
    constexpr int kLeak = R == 3 ? 9 : 8;
    const CodeInfo ci = kCodeTable.code[R][code];
    const int dql = ci.dqln + (y >> 2);
    const uint32_t dq = kDqTable[dql < 0 ? 0 : dql + 1];  // magnitude, and its float above
    const SampleUpdate u = adaptScalar<R>(w, ci, code, static_cast<int>(dq & 0xffff), y, se, sez, v.a1, v.a2);
    // b(k): leak, and +-128 towards sign agreement of dq and dq(k) when dq is not
    // zero. The step of each code (0 for the codes whose dq is always 0, as y is
    // never below 544) comes straight from a table indexed by the code, so the
    // next estimate need not wait for dq.
    const __m128i stepLanes = _mm_load_si128(reinterpret_cast<const __m128i*>(kCodeTable.stepLanes[R][code]));
    const __m128i negative = _mm_srai_epi16(_mm_slli_epi16(v.flt, 5), 15);  // -1 where dq(k) < 0
    const __m128i delta = _mm_sub_epi16(_mm_xor_si128(stepLanes, negative), negative);
    const __m128i b = _mm_sub_epi16(_mm_add_epi16(v.coef, delta), _mm_srai_epi16(v.coef, kLeak));
    const int b1 = fx::wrap16(v.b1 + ((v.dq1 >> 10) & 1 ? -ci.step : ci.step) - (v.b1 >> kLeak));
    const int dqf = (u.dqs << 10) | static_cast<int>(dq >> 16);
    v.older = _mm_and_si128(_mm_slli_si128(v.flt, 2), _mm_set_epi16(0, 0, -1, -1, -1, -1, -1, 0));
    v.flt = _mm_insert_epi16(v.older, dqf, 0);
    v.dq1 = dqf;
    v.sr2 = v.sr1;
    v.sr1 = srFloat(u.sr);
    if (u.tr) {
        v.coef = _mm_setzero_si128();
        v.b1 = v.a1 = v.a2 = 0;
    } else {
        v.coef = b;
        v.b1 = b1;
        v.a1 = u.a1;
        v.a2 = u.a2;
    }
    return u.sr;
}

/// Signal estimate from the registers (G.726 ACCUM).
XVO_G726_TGT XVO_G726_INLINE int predict(const Consts& k, const Lanes& v, int& sez) {
    const int sezi = fx::wrap16(olderTerms(k, v.coef, v.older) + fmultLookup(v.b1, v.dq1));
    sez = sezi >> 1;
    return fx::wrap16(sezi + fmultLookup(v.a1, v.sr1) + fmultLookup(v.a2, v.sr2)) >> 1;
}

XVO_G726_TGT XVO_G726_INLINE Lanes loadLanes(const Work& w) {
    Lanes v;
    alignas(16) int16_t c[8] = {}, f[8] = {};
    for (int k = 0; k < 6; ++k) {
        c[k] = w.coef[k];
        f[k] = w.flt[k];
    }
    v.coef = _mm_load_si128(reinterpret_cast<const __m128i*>(c));
    v.flt = _mm_load_si128(reinterpret_cast<const __m128i*>(f));
    v.older = _mm_and_si128(v.flt, _mm_set_epi16(0, 0, -1, -1, -1, -1, -1, 0));
    v.b1 = w.coef[0];
    v.dq1 = w.flt[0];
    v.a1 = w.coef[6];
    v.a2 = w.coef[7];
    v.sr1 = w.flt[6];
    v.sr2 = w.flt[7];
    return v;
}

XVO_G726_TGT XVO_G726_INLINE void storeLanes(const Lanes& v, Work& w) {
    alignas(16) int16_t c[8], f[8];
    _mm_store_si128(reinterpret_cast<__m128i*>(c), v.coef);
    _mm_store_si128(reinterpret_cast<__m128i*>(f), v.flt);
    for (int k = 0; k < 6; ++k) {
        w.coef[k] = c[k];
        w.flt[k] = f[k];
    }
    w.coef[6] = static_cast<int16_t>(v.a1);
    w.coef[7] = static_cast<int16_t>(v.a2);
    w.flt[6] = static_cast<int16_t>(v.sr1);
    w.flt[7] = static_cast<int16_t>(v.sr2);
}

template <int R>
XVO_G726_TGT void encodeBlock(Work& state, const int16_t* src, uint8_t* dst, int len) {
    Work w = state;
    Lanes v = loadLanes(w);
    const Consts k;
    for (int i = 0; i < len; ++i) {
        int sez;
        const int se = predict(k, v, sez);
        const int y = scaleFactor(w);
        const int code = quantise<R>(src[i] - se, y);
        dst[i] = static_cast<uint8_t>(code);
        update<R>(w, v, code, y, se, sez);
    }
    storeLanes(v, w);
    state = w;
}

template <int R, bool kLinear>
XVO_G726_TGT XVO_G726_INLINE void decodeLoop(int law, Work& state, const uint8_t* src, int16_t* dst, int len) {
    constexpr int kMask = (1 << kBits[R]) - 1;
    Work w = state;
    Lanes v = loadLanes(w);
    const Consts k;
    for (int i = 0; i < len; ++i) {
        int sez;
        const int se = predict(k, v, sez);
        const int y = scaleFactor(w);
        const int code = src[i] & kMask;
        const int sr = update<R>(w, v, code, y, se, sez);
        dst[i] = static_cast<int16_t>(kLinear ? lim(sr, -8192, 8191) : toLaw<R>(law, sr, se, y, code));
    }
    storeLanes(v, w);
    state = w;
}

/// The output law is fixed for a block: one loop per kind.
template <int R>
XVO_G726_TGT void decodeBlock(int law, Work& state, const uint8_t* src, int16_t* dst, int len) {
    if (law == XVO_PCM_LINEAR)
        decodeLoop<R, true>(law, state, src, dst, len);
    else
        decodeLoop<R, false>(law, state, src, dst, len);
}

}  // namespace

extern const Kernels kAvx2Kernels;
const Kernels kAvx2Kernels = {
    {encodeBlock<0>, encodeBlock<1>, encodeBlock<2>, encodeBlock<3>},
    {decodeBlock<0>, decodeBlock<1>, decodeBlock<2>, decodeBlock<3>},
};

}  // namespace xvo::g726
