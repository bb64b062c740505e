// AVX2 twins of the generic kernels: 16 samples per vector.
#include <immintrin.h>

#include <cstdint>

#define XVO_SIMD_TARGET __attribute__((target("avx2")))
#include "generic_simd.h"

namespace xvo::generic {
namespace {

alignas(32) constexpr int16_t kTailMask[32] = {0,  0,  0,  0,  0,  0,  0,  0,  0,  0,  0,  0,  0,  0,  0,  0,
                                               -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1};

/// Vector traits of the kernel bodies in generic_simd.h (members as VSse2).
struct VAvx2 {
    using I = __m256i;
    static constexpr int W = 16;
    XVO_SIMD_TARGET static I zero() { return _mm256_setzero_si256(); }
    XVO_SIMD_TARGET static I set32(int32_t v) { return _mm256_set1_epi32(v); }
    XVO_SIMD_TARGET static I loadu(const int16_t* p) { return _mm256_loadu_si256(reinterpret_cast<const I*>(p)); }
    XVO_SIMD_TARGET static void storeu(int16_t* p, I v) { _mm256_storeu_si256(reinterpret_cast<I*>(p), v); }
    XVO_SIMD_TARGET static I madd(I a, I b) { return _mm256_madd_epi16(a, b); }
    XVO_SIMD_TARGET static I add32(I a, I b) { return _mm256_add_epi32(a, b); }
    XVO_SIMD_TARGET static I andv(I a, I b) { return _mm256_and_si256(a, b); }
    XVO_SIMD_TARGET static I tailMask(int rem) { return loadu(kTailMask + rem); }
    XVO_SIMD_TARGET static I addWide64(I acc, I p) {
        const I z = _mm256_setzero_si256();
        return _mm256_add_epi64(acc, _mm256_add_epi64(_mm256_unpacklo_epi32(p, z), _mm256_unpackhi_epi32(p, z)));
    }
    XVO_SIMD_TARGET static __m128i lo(I v) { return _mm256_castsi256_si128(v); }
    XVO_SIMD_TARGET static __m128i hi(I v) { return _mm256_extracti128_si256(v, 1); }
    XVO_SIMD_TARGET static __m128i fold(I v) { return _mm_add_epi32(lo(v), hi(v)); }
    XVO_SIMD_TARGET static int32_t hsum32(I v) { return hsum32x4(fold(v)); }
    XVO_SIMD_TARGET static int64_t hsum64(I v) { return hsum64x2(_mm_add_epi64(lo(v), hi(v))); }
    XVO_SIMD_TARGET static I pairOf(const int16_t* p) {
        int32_t v;
        __builtin_memcpy(&v, p, 4);
        return _mm256_set1_epi32(v);
    }
    XVO_SIMD_TARGET static I unpackLo16(I a, I b) { return _mm256_unpacklo_epi16(a, b); }
    XVO_SIMD_TARGET static I unpackHi16(I a, I b) { return _mm256_unpackhi_epi16(a, b); }
    // Per 128-bit half, lo holds elements 0-3 | 8-11 and hi 4-7 | 12-15.
    XVO_SIMD_TARGET static void storeLags(I lo, I hi, int32_t* dst) {
        _mm256_store_si256(reinterpret_cast<I*>(dst), _mm256_permute2x128_si256(lo, hi, 0x20));
        _mm256_store_si256(reinterpret_cast<I*>(dst + 8), _mm256_permute2x128_si256(lo, hi, 0x31));
    }
    XVO_SIMD_TARGET static I rev(I v) {
        const I words = _mm256_setr_epi8(14, 15, 12, 13, 10, 11, 8, 9, 6, 7, 4, 5, 2, 3, 0, 1,
                                         14, 15, 12, 13, 10, 11, 8, 9, 6, 7, 4, 5, 2, 3, 0, 1);
        return _mm256_shuffle_epi8(_mm256_permute4x64_epi64(v, 0x4E), words);
    }
    XVO_SIMD_TARGET static I max16(I a, I b) { return _mm256_max_epi16(a, b); }
    XVO_SIMD_TARGET static I min16(I a, I b) { return _mm256_min_epi16(a, b); }
    XVO_SIMD_TARGET static int hmax16(I v) { return hmax16x8(_mm_max_epi16(lo(v), hi(v))); }
    XVO_SIMD_TARGET static int hmin16(I v) { return hmin16x8(_mm_min_epi16(lo(v), hi(v))); }
    XVO_SIMD_TARGET static I sll16(I v, int n) { return _mm256_sll_epi16(v, _mm_cvtsi32_si128(n)); }
    XVO_SIMD_TARGET static I sra16(I v, int n) { return _mm256_sra_epi16(v, _mm_cvtsi32_si128(n)); }
};

}  // namespace

const OwnGenericKernels kGenericAvx2 = makeTable<VAvx2>(OwnCpuLevel::AVX2);

}  // namespace xvo::generic
