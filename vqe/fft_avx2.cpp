// AVX2 twin of the real FFT kernels: the templates of fft_kernels.h with
// eight-lane vectors (falling back to four lanes or one for small shapes).
// Standard headers come before the target switch so that none of their
// inline code is compiled for AVX2.
#include <immintrin.h>

#include <cstdint>

#if defined(__clang__)
#pragma clang attribute push(__attribute__((target("avx2"))), apply_to = function)
#else
#pragma GCC push_options
#pragma GCC target("avx2")
#endif

#include "vqe/fft_kernels.h"

namespace xvo {
namespace {
namespace fftk {

struct VAvx {
    using R = __m256;
    using Narrow = VSse;
    static constexpr int W = 8;
    static R load(const Xvo32f* p) { return _mm256_loadu_ps(p); }
    static void store(Xvo32f* p, R v) { _mm256_storeu_ps(p, v); }
    static R set1(Xvo32f x) { return _mm256_set1_ps(x); }
    static R add(R a, R b) { return _mm256_add_ps(a, b); }
    static R sub(R a, R b) { return _mm256_sub_ps(a, b); }
    static R mul(R a, R b) { return _mm256_mul_ps(a, b); }
    static R neg(R a) { return _mm256_xor_ps(a, _mm256_set1_ps(-0.0f)); }
    static R rev(R a) { return _mm256_permutevar8x32_ps(a, _mm256_setr_epi32(7, 6, 5, 4, 3, 2, 1, 0)); }
    static R fix(R a) {  // 64-bit chunks 0,2,1,3 -> 0,1,2,3
        return _mm256_castpd_ps(_mm256_permute4x64_pd(_mm256_castps_pd(a), _MM_SHUFFLE(3, 1, 2, 0)));
    }
    static void deint(R a, R b, R& re, R& im) {
        re = fix(_mm256_shuffle_ps(a, b, _MM_SHUFFLE(2, 0, 2, 0)));
        im = fix(_mm256_shuffle_ps(a, b, _MM_SHUFFLE(3, 1, 3, 1)));
    }
    static void inter(R a, R b, R& v0, R& v1) {
        const R lo = _mm256_unpacklo_ps(a, b), hi = _mm256_unpackhi_ps(a, b);
        v0 = _mm256_permute2f128_ps(lo, hi, 0x20);
        v1 = _mm256_permute2f128_ps(lo, hi, 0x31);
    }
    static void loadDeint(const Xvo32f* p, R& re, R& im) { deint(_mm256_loadu_ps(p), _mm256_loadu_ps(p + 8), re, im); }
    static void storeInt(Xvo32f* p, R a, R b) {
        R v0, v1;
        inter(a, b, v0, v1);
        _mm256_storeu_ps(p, v0);
        _mm256_storeu_ps(p + 8, v1);
    }
    static R lane0(R a, R b) { return _mm256_blend_ps(a, b, 1); }
    // (prev[0], cur[7], cur[6], ..., cur[1])
    static R revShift(R cur, R prev) {
        return _mm256_blend_ps(_mm256_permutevar8x32_ps(cur, _mm256_setr_epi32(0, 7, 6, 5, 4, 3, 2, 1)), prev, 1);
    }
    // Interleaved streams of 16 missing their first (Tail) or last (Head) element.
    static void loadDeintTail(const Xvo32f* q, R& re, R& im) {
        const R v0 = _mm256_insertf128_ps(_mm256_castps128_ps256(VSse::load3Tail(q)), _mm_loadu_ps(q + 3), 1);
        deint(v0, _mm256_loadu_ps(q + 7), re, im);
    }
    static void loadDeintHead(const Xvo32f* p, R& re, R& im) {
        const R v1 = _mm256_insertf128_ps(_mm256_castps128_ps256(_mm_loadu_ps(p + 8)), VSse::load3Head(p + 12), 1);
        deint(_mm256_loadu_ps(p), v1, re, im);
    }
    static void storeIntTail(Xvo32f* q, R a, R b) {
        R v0, v1;
        inter(a, b, v0, v1);
        VSse::store3Tail(q, _mm256_castps256_ps128(v0));
        _mm_storeu_ps(q + 3, _mm256_extractf128_ps(v0, 1));
        _mm256_storeu_ps(q + 7, v1);
    }
    static void storeIntHead(Xvo32f* p, R a, R b) {
        R v0, v1;
        inter(a, b, v0, v1);
        _mm256_storeu_ps(p, v0);
        _mm_storeu_ps(p + 8, _mm256_castps256_ps128(v1));
        VSse::store3Head(p + 12, _mm256_extractf128_ps(v1, 1));
    }
    // p[r*l + j] = v[j][l]
    template <int r>
    static void storeT(Xvo32f* p, const R* v) {
        if constexpr (r == 2) {
            storeInt(p, v[0], v[1]);
        } else if constexpr (r == 4) {
            R a = v[0], b = v[1], c = v[2], d = v[3];
            const R t0 = _mm256_unpacklo_ps(a, b), t1 = _mm256_unpackhi_ps(a, b);
            const R t2 = _mm256_unpacklo_ps(c, d), t3 = _mm256_unpackhi_ps(c, d);
            a = _mm256_shuffle_ps(t0, t2, _MM_SHUFFLE(1, 0, 1, 0));
            b = _mm256_shuffle_ps(t0, t2, _MM_SHUFFLE(3, 2, 3, 2));
            c = _mm256_shuffle_ps(t1, t3, _MM_SHUFFLE(1, 0, 1, 0));
            d = _mm256_shuffle_ps(t1, t3, _MM_SHUFFLE(3, 2, 3, 2));
            _mm256_storeu_ps(p, _mm256_permute2f128_ps(a, b, 0x20));
            _mm256_storeu_ps(p + 8, _mm256_permute2f128_ps(c, d, 0x20));
            _mm256_storeu_ps(p + 16, _mm256_permute2f128_ps(a, b, 0x31));
            _mm256_storeu_ps(p + 24, _mm256_permute2f128_ps(c, d, 0x31));
        } else {
            R t[8], u[8];
            for (int i = 0; i < 8; i += 2) {
                t[i] = _mm256_unpacklo_ps(v[i], v[i + 1]);
                t[i + 1] = _mm256_unpackhi_ps(v[i], v[i + 1]);
            }
            for (int i = 0; i < 8; i += 4) {
                u[i] = _mm256_shuffle_ps(t[i], t[i + 2], _MM_SHUFFLE(1, 0, 1, 0));
                u[i + 1] = _mm256_shuffle_ps(t[i], t[i + 2], _MM_SHUFFLE(3, 2, 3, 2));
                u[i + 2] = _mm256_shuffle_ps(t[i + 1], t[i + 3], _MM_SHUFFLE(1, 0, 1, 0));
                u[i + 3] = _mm256_shuffle_ps(t[i + 1], t[i + 3], _MM_SHUFFLE(3, 2, 3, 2));
            }
            for (int i = 0; i < 4; ++i) {
                _mm256_storeu_ps(p + 8 * i, _mm256_permute2f128_ps(u[i], u[i + 4], 0x20));
                _mm256_storeu_ps(p + 8 * (i + 4), _mm256_permute2f128_ps(u[i], u[i + 4], 0x31));
            }
        }
    }
};

}  // namespace fftk
}  // namespace

OwnRealFFTKernels ownRealFFTKernelsAVX2() { return {fftk::realFwd<fftk::VAvx>, fftk::realInv<fftk::VAvx>}; }

}  // namespace xvo

#if defined(__clang__)
#pragma clang attribute pop
#else
#pragma GCC pop_options
#endif
