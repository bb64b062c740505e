// The G.726 kernels for SSE4.1. The coefficients and the delay line live in two
// 128-bit registers of eight 16-bit lanes (b1..b6, a1, a2 and dq1..dq6, sr1,
// sr2); the eight floating multiplies of the predictor and the update of
// b1..b6 run on all lanes at once, the rest of the recursion is the shared
// scalar code. Bit for bit the same as the scalar kernels.
#include <immintrin.h>

#include "g726/g726_steps.h"

#define XVO_G726_TGT __attribute__((target("sse4.1")))

namespace xvo::g726 {
namespace {

/// Signal estimate: the eight floating products of G.726 FMULT on all lanes.
/// The coefficient magnitude is normalised and the product scaled by
/// 2^(exponents - 19) through single-precision floats, both exact here.
XVO_G726_TGT XVO_G726_INLINE int predict(__m128i c, __m128i f, int& sez) {
    const __m128i zero = _mm_setzero_si128();
    const __m128i mag = _mm_and_si128(_mm_abs_epi16(_mm_srai_epi16(c, 2)), _mm_set1_epi16(0x1fff));
    // High halves of the float patterns: biased exponent << 7 | 7 fraction bits.
    const __m128i flo = _mm_castps_si128(_mm_cvtepi32_ps(_mm_unpacklo_epi16(mag, zero)));
    const __m128i fhi = _mm_castps_si128(_mm_cvtepi32_ps(_mm_unpackhi_epi16(mag, zero)));
    const __m128i hw = _mm_packus_epi32(_mm_srli_epi32(flo, 16), _mm_srli_epi32(fhi, 16));
    const __m128i e = _mm_subs_epu16(_mm_srli_epi16(hw, 7), _mm_set1_epi16(126));  // bit length, 0 for 0
    const __m128i m = _mm_or_si128(_mm_and_si128(_mm_srli_epi16(hw, 2), _mm_set1_epi16(31)), _mm_set1_epi16(32));

    const __m128i fm = _mm_and_si128(f, _mm_set1_epi16(63));
    const __m128i fe = _mm_and_si128(_mm_srli_epi16(f, 6), _mm_set1_epi16(15));
    const __m128i pm = _mm_srli_epi16(_mm_add_epi16(_mm_mullo_epi16(m, fm), _mm_set1_epi16(48)), 4);
    // 2^(e + fe - 19) as the high halves of float patterns.
    const __m128i sc = _mm_slli_epi16(_mm_add_epi16(_mm_add_epi16(e, fe), _mm_set1_epi16(127 - 19)), 7);
    const __m128 slo = _mm_castsi128_ps(_mm_unpacklo_epi16(zero, sc));
    const __m128 shi = _mm_castsi128_ps(_mm_unpackhi_epi16(zero, sc));
    const __m128i plo = _mm_cvttps_epi32(_mm_mul_ps(_mm_cvtepi32_ps(_mm_unpacklo_epi16(pm, zero)), slo));
    const __m128i phi = _mm_cvttps_epi32(_mm_mul_ps(_mm_cvtepi32_ps(_mm_unpackhi_epi16(pm, zero)), shi));
    const __m128i m15 = _mm_set1_epi32(0x7fff);
    const __m128i prod = _mm_packus_epi32(_mm_and_si128(plo, m15), _mm_and_si128(phi, m15));
    // Negate where the coefficient's sign (bit 15) and the value's (bit 10) differ.
    const __m128i neg = _mm_srai_epi16(_mm_xor_si128(c, _mm_slli_epi16(f, 5)), 15);
    const __m128i w = _mm_sub_epi16(_mm_xor_si128(prod, neg), neg);

    __m128i p = _mm_madd_epi16(w, _mm_set1_epi16(1));  // pair sums
    p = _mm_add_epi32(p, _mm_slli_si128(p, 4));
    p = _mm_add_epi32(p, _mm_slli_si128(p, 8));        // prefix sums: lane 2 = b terms, lane 3 = all
    sez = fx::wrap16(_mm_extract_epi32(p, 2)) >> 1;
    return fx::wrap16(_mm_extract_epi32(p, 3)) >> 1;
}

/// Registers of the running recursion.
struct Lanes {
    __m128i coef, flt;
    int a1, a2;
};

template <int R>
XVO_G726_TGT XVO_G726_INLINE int update(Work& w, Lanes& v, int code, int y, int se, int sez) {
    constexpr int kLeak = R == 3 ? 9 : 8;
    const SampleUpdate u = adaptScalar<R>(w, code, y, se, sez, v.a1, v.a2);
    // b(k): leak, and +-128 towards sign agreement of dq and dq(k) when dq is not zero.
    const __m128i differ =
        _mm_srai_epi16(_mm_xor_si128(_mm_slli_epi16(v.flt, 5), _mm_set1_epi16(static_cast<int16_t>(-u.dqs))), 15);
    const __m128i step = _mm_set1_epi16(static_cast<int16_t>(u.dqmag ? 128 : 0));
    const __m128i b = _mm_sub_epi16(_mm_add_epi16(v.coef, _mm_sub_epi16(_mm_xor_si128(step, differ), differ)),
                                    _mm_srai_epi16(v.coef, kLeak));
    if (u.tr) {
        v.coef = _mm_setzero_si128();
        v.a1 = v.a2 = 0;
    } else {
        v.coef = _mm_insert_epi16(_mm_insert_epi16(b, u.a1, 6), u.a2, 7);
        v.a1 = u.a1;
        v.a2 = u.a2;
    }
    v.flt = _mm_insert_epi16(_mm_insert_epi16(_mm_slli_si128(v.flt, 2), dqFloat(u), 0), srFloat(u.sr), 6);
    return u.sr;
}

XVO_G726_TGT XVO_G726_INLINE Lanes loadLanes(const Work& w) {
    return {_mm_load_si128(reinterpret_cast<const __m128i*>(w.coef)),
            _mm_load_si128(reinterpret_cast<const __m128i*>(w.flt)), w.coef[6], w.coef[7]};
}

XVO_G726_TGT XVO_G726_INLINE void storeLanes(const Lanes& v, Work& w) {
    _mm_store_si128(reinterpret_cast<__m128i*>(w.coef), v.coef);
    _mm_store_si128(reinterpret_cast<__m128i*>(w.flt), v.flt);
}

template <int R>
XVO_G726_TGT void encodeBlock(Work& state, const int16_t* src, uint8_t* dst, int len) {
    Work w = state;
    Lanes v = loadLanes(w);
    for (int i = 0; i < len; ++i) {
        int sez;
        const int se = predict(v.coef, v.flt, sez);
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
    for (int i = 0; i < len; ++i) {
        int sez;
        const int se = predict(v.coef, v.flt, sez);
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

extern const Kernels kSse41Kernels;
const Kernels kSse41Kernels = {
    {encodeBlock<0>, encodeBlock<1>, encodeBlock<2>, encodeBlock<3>},
    {decodeBlock<0>, decodeBlock<1>, decodeBlock<2>, decodeBlock<3>},
};

}  // namespace xvo::g726
