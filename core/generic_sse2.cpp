// SSE2 twins of the generic kernels: 8 samples per vector.
#include <emmintrin.h>

#include <cstdint>

#define XVO_SIMD_TARGET __attribute__((target("sse2")))
#include "generic_simd.h"

namespace xvo::generic {
namespace {

alignas(16) constexpr int16_t kTailMask[16] = {0, 0, 0, 0, 0, 0, 0, 0, -1, -1, -1, -1, -1, -1, -1, -1};

/// Vector traits of the kernel bodies in generic_simd.h.
struct VSse2 {
    using I = __m128i;
    static constexpr int W = 8;
    XVO_SIMD_TARGET static I zero() { return _mm_setzero_si128(); }
    XVO_SIMD_TARGET static I set32(int32_t v) { return _mm_set1_epi32(v); }
    XVO_SIMD_TARGET static I loadu(const int16_t* p) { return _mm_loadu_si128(reinterpret_cast<const I*>(p)); }
    XVO_SIMD_TARGET static void storeu(int16_t* p, I v) { _mm_storeu_si128(reinterpret_cast<I*>(p), v); }
    XVO_SIMD_TARGET static I madd(I a, I b) { return _mm_madd_epi16(a, b); }
    XVO_SIMD_TARGET static I add32(I a, I b) { return _mm_add_epi32(a, b); }
    XVO_SIMD_TARGET static I andv(I a, I b) { return _mm_and_si128(a, b); }
    /// Keeps the last `rem` (1..W-1) lanes.
    XVO_SIMD_TARGET static I tailMask(int rem) { return loadu(kTailMask + rem); }
    /// acc (64-bit lanes) + the four 32-bit lanes of p taken as unsigned.
    XVO_SIMD_TARGET static I addWide64(I acc, I p) {
        const I z = _mm_setzero_si128();
        return _mm_add_epi64(acc, _mm_add_epi64(_mm_unpacklo_epi32(p, z), _mm_unpackhi_epi32(p, z)));
    }
    /// The vector folded to four 32-bit lanes with the same wrapping sum.
    XVO_SIMD_TARGET static __m128i fold(I v) { return v; }
    XVO_SIMD_TARGET static int32_t hsum32(I v) { return hsum32x4(v); }
    XVO_SIMD_TARGET static int64_t hsum64(I v) { return hsum64x2(v); }
    /// The 32-bit pair p[0], p[1] in every lane.
    XVO_SIMD_TARGET static I pairOf(const int16_t* p) {
        int32_t v;
        __builtin_memcpy(&v, p, 4);
        return _mm_set1_epi32(v);
    }
    XVO_SIMD_TARGET static I unpackLo16(I a, I b) { return _mm_unpacklo_epi16(a, b); }
    XVO_SIMD_TARGET static I unpackHi16(I a, I b) { return _mm_unpackhi_epi16(a, b); }
    /// The W lanes of madd(unpackLo16(a, b), .) and madd(unpackHi16(a, b), .) in element order of a.
    XVO_SIMD_TARGET static void storeLags(I lo, I hi, int32_t* dst) {
        _mm_store_si128(reinterpret_cast<I*>(dst), lo);
        _mm_store_si128(reinterpret_cast<I*>(dst + 4), hi);
    }
    XVO_SIMD_TARGET static I rev(I v) {
        v = _mm_shuffle_epi32(v, 0x4E);
        return _mm_shufflehi_epi16(_mm_shufflelo_epi16(v, 0x1B), 0x1B);
    }
    XVO_SIMD_TARGET static I max16(I a, I b) { return _mm_max_epi16(a, b); }
    XVO_SIMD_TARGET static I min16(I a, I b) { return _mm_min_epi16(a, b); }
    XVO_SIMD_TARGET static int hmax16(I v) { return hmax16x8(v); }
    XVO_SIMD_TARGET static int hmin16(I v) { return hmin16x8(v); }
    XVO_SIMD_TARGET static I sll16(I v, int n) { return _mm_sll_epi16(v, _mm_cvtsi32_si128(n)); }
    XVO_SIMD_TARGET static I sra16(I v, int n) { return _mm_sra_epi16(v, _mm_cvtsi32_si128(n)); }
};

}  // namespace

const OwnGenericKernels kGenericSse2 = makeTable<VSse2>(OwnCpuLevel::SSE2);

}  // namespace xvo::generic
