// AMR-WB vector kernels (see amrwb_simd.h).
#pragma GCC diagnostic ignored "-Wpsabi"

#include "amr/amrwb_simd.h"

#include <immintrin.h>

#include "core/fixed.h"

namespace xvo::amrwb {
namespace {

constexpr uint32_t kCap = 1u << 30;  // a sum of squares from here on makes the reference sum saturate

int16_t lo16(uint32_t w) { return static_cast<int16_t>(static_cast<uint16_t>(w)); }
int16_t hi16(uint32_t w) { return static_cast<int16_t>(static_cast<uint16_t>(w >> 16)); }

void vqDistScalar(const uint32_t* xp, const OwnVqPairs& cb, int32_t* d) {
    for (int i = 0; i < cb.rows; ++i) {
        int32_t s = 0;
        for (int p = 0; p < cb.pairs; ++p) {
            const uint32_t c = cb.v[p * cb.rows + i];
            const int16_t t0 = fx::sub(lo16(xp[p]), lo16(c)), t1 = fx::sub(hi16(xp[p]), hi16(c));
            s = fx::L_mac(fx::L_mac(s, t0, t0), t1, t1);
        }
        d[i] = s;
    }
}

void olCorrScalar(const int16_t* wsp, int lmin, int lmax, int len, int32_t* r) {
    for (int lag = lmax, k = 0; lag > lmin; --lag, ++k) {
        int32_t s = 0;
        for (int j = 0; j < len; ++j) s = fx::L_mac(s, wsp[j], wsp[j - lag]);
        r[k] = s;
    }
}

// The saturating sum of 2 t^2 terms is 2 S while the exact S = sum t^2 stays below 2^30 and
// MAX_32 from there on; each multiply-add lane gives t0^2 + t1^2 <= 2^31 (read unsigned), and the
// sum capped at 2^30 after every step stays below 2^32.
#define XVO_SSE41 __attribute__((target("sse4.1")))
#define XVO_AVX2 __attribute__((target("avx2")))

XVO_SSE41 void vqDistSse41(const uint32_t* xp, const OwnVqPairs& cb, int32_t* d) {
    const __m128i cap = _mm_set1_epi32(static_cast<int32_t>(kCap)), sat = _mm_set1_epi32(fx::MAX_32);
    for (int i = 0; i < cb.rows; i += 4) {
        __m128i s = _mm_setzero_si128();
        for (int p = 0; p < cb.pairs; ++p) {
            const __m128i c = _mm_load_si128(reinterpret_cast<const __m128i*>(cb.v + p * cb.rows + i));
            const __m128i t = _mm_subs_epi16(_mm_set1_epi32(static_cast<int32_t>(xp[p])), c);
            s = _mm_min_epu32(_mm_add_epi32(s, _mm_madd_epi16(t, t)), cap);
        }
        const __m128i full = _mm_cmpeq_epi32(s, cap);
        _mm_storeu_si128(reinterpret_cast<__m128i*>(d + i), _mm_blendv_epi8(_mm_slli_epi32(s, 1), sat, full));
    }
}

XVO_AVX2 void vqDistAvx2(const uint32_t* xp, const OwnVqPairs& cb, int32_t* d) {
    const __m256i cap = _mm256_set1_epi32(static_cast<int32_t>(kCap)), sat = _mm256_set1_epi32(fx::MAX_32);
    for (int i = 0; i < cb.rows; i += 8) {
        __m256i s = _mm256_setzero_si256();
        for (int p = 0; p < cb.pairs; ++p) {
            const __m256i c = _mm256_load_si256(reinterpret_cast<const __m256i*>(cb.v + p * cb.rows + i));
            const __m256i t = _mm256_subs_epi16(_mm256_set1_epi32(static_cast<int32_t>(xp[p])), c);
            s = _mm256_min_epu32(_mm256_add_epi32(s, _mm256_madd_epi16(t, t)), cap);
        }
        const __m256i full = _mm256_cmpeq_epi32(s, cap);
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(d + i), _mm256_blendv_epi8(_mm256_slli_epi32(s, 1), sat, full));
    }
}

// Open-loop correlations without saturation (the caller has bounded the inputs): plain 32-bit
// multiply-adds, 8 or 16 products per step, the tail of len below a whole vector in scalar.
XVO_SSE41 void olCorrSse41(const int16_t* wsp, int lmin, int lmax, int len, int32_t* r) {
    const int n8 = len & ~7;
    for (int lag = lmax, k = 0; lag > lmin; --lag, ++k) {
        __m128i s = _mm_setzero_si128();
        for (int j = 0; j < n8; j += 8)
            s = _mm_add_epi32(s, _mm_madd_epi16(_mm_loadu_si128(reinterpret_cast<const __m128i*>(wsp + j)),
                                                _mm_loadu_si128(reinterpret_cast<const __m128i*>(wsp + j - lag))));
        s = _mm_add_epi32(s, _mm_shuffle_epi32(s, 0x4e));
        s = _mm_add_epi32(s, _mm_shuffle_epi32(s, 0xb1));
        int32_t t = _mm_cvtsi128_si32(s);
        for (int j = n8; j < len; ++j) t += wsp[j] * wsp[j - lag];
        r[k] = 2 * t;
    }
}

XVO_AVX2 void olCorrAvx2(const int16_t* wsp, int lmin, int lmax, int len, int32_t* r) {
    const int n16 = len & ~15;
    for (int lag = lmax, k = 0; lag > lmin; --lag, ++k) {
        __m256i s = _mm256_setzero_si256();
        for (int j = 0; j < n16; j += 16)
            s = _mm256_add_epi32(
                s, _mm256_madd_epi16(_mm256_loadu_si256(reinterpret_cast<const __m256i*>(wsp + j)),
                                     _mm256_loadu_si256(reinterpret_cast<const __m256i*>(wsp + j - lag))));
        __m128i h = _mm_add_epi32(_mm256_castsi256_si128(s), _mm256_extracti128_si256(s, 1));
        h = _mm_add_epi32(h, _mm_shuffle_epi32(h, 0x4e));
        h = _mm_add_epi32(h, _mm_shuffle_epi32(h, 0xb1));
        int32_t t = _mm_cvtsi128_si32(h);
        for (int j = n16; j < len; ++j) t += wsp[j] * wsp[j - lag];
        r[k] = 2 * t;
    }
}

#undef XVO_AVX2
#undef XVO_SSE41

constexpr OwnAmrwbKernels kScalar{OwnCpuLevel::Scalar, vqDistScalar, olCorrScalar};
constexpr OwnAmrwbKernels kSse41{OwnCpuLevel::SSE41, vqDistSse41, olCorrSse41};
constexpr OwnAmrwbKernels kAvx2{OwnCpuLevel::AVX2, vqDistAvx2, olCorrAvx2};

}  // namespace

const OwnAmrwbKernels& ownAmrwbKernelsFor(OwnCpuLevel level) {
    switch (level) {
        case OwnCpuLevel::AVX2: return kAvx2;
        case OwnCpuLevel::SSE41: return kSse41;
        default: return kScalar;  // SSE2 lacks the unsigned minimum
    }
}

const OwnAmrwbKernels& ownAmrwbKernels() {
    static const OwnAmrwbKernels& k = ownAmrwbKernelsFor(ownCpuLevel());
    return k;
}

}  // namespace xvo::amrwb
