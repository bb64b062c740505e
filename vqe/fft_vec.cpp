// Vector kernels of the spectral code: Pack-format conjugate product, the
// double-precision reciprocal (the library's one parallel region), a double
// copy, and the allocation wrappers over xvocore.
#include <emmintrin.h>
#include <omp.h>

#include <climits>
#include <cstdint>
#include <cstring>

#include "vqe/fft.h"
#include "xvocore.h"

namespace xvo {

namespace {

constexpr int kParallelMin = 2048;  // shorter arrays always run serially

// dst[i] = num / src[i] for n elements with every floating-point exception
// masked (MXCSR restored afterwards, flags included). Heads up to a 16-byte
// boundary of dst element by element, the body two doubles at a time.
// Returns true when a divisor was 0.
bool divCRevWorker(const Xvo64f* src, Xvo64f* dst, int n, Xvo64f num) {
    const unsigned int saved = _mm_getcsr();
    _mm_setcsr(saved | 0x1F80u);  // mask invalid, denormal, divide-by-zero, overflow, underflow, precision
    bool zero = false;
    int i = 0;
    for (; i < n && (reinterpret_cast<std::uintptr_t>(dst + i) & 15u) != 0; ++i) {
        zero |= src[i] == 0.0;
        dst[i] = num / src[i];
    }
    const __m128d vn = _mm_set1_pd(num), vz = _mm_setzero_pd();
    __m128d anyZero = _mm_setzero_pd();
    for (; i + 2 <= n; i += 2) {
        const __m128d d = _mm_loadu_pd(src + i);
        anyZero = _mm_or_pd(anyZero, _mm_cmpeq_pd(d, vz));
        _mm_store_pd(dst + i, _mm_div_pd(vn, d));
    }
    for (; i < n; ++i) {
        zero |= src[i] == 0.0;
        dst[i] = num / src[i];
    }
    zero |= _mm_movemask_pd(anyZero) != 0;
    _mm_setcsr(saved);
    return zero;
}

XvoStatus divCRev(const Xvo64f* src, Xvo64f* dst, int len, Xvo64f numerator) {
    // A zero numerator is taken as 1: the result is then the plain reciprocal.
    const Xvo64f num = numerator == 0.0 ? 1.0 : numerator;
    if (len < kParallelMin) return divCRevWorker(src, dst, len, num) ? xvoStsDivByZero : xvoStsOk;
    const int threads = ownGetNumThreads();
    if (threads < 2 || len < threads) return divCRevWorker(src, dst, len, num) ? xvoStsDivByZero : xvoStsOk;

    // Exactly two threads; a runtime that may not start a region runs the body
    // once as a serialised team of one.
    int failures = 0, team = 1, chunk = 0, rest = 0;
#pragma omp parallel num_threads(2) shared(failures, team, chunk, rest)
    {
#pragma omp single nowait
        {
            team = omp_get_num_threads();
            chunk = len / team;
            rest = len % team;
        }
#pragma omp barrier
        const int t = omp_get_thread_num();
        const int count = chunk + (t == team - 1 ? rest : 0);
        if (divCRevWorker(src + t * chunk, dst + t * chunk, count, num)) {
#pragma omp atomic
            ++failures;
        }
    }
    return failures > 0 ? xvoStsDivByZeroMT : xvoStsOk;
}

}  // namespace

XvoStatus xvoMulPackConj_32f(const Xvo32f* pSrc, Xvo32f* pSrcDst, int len) {
    if (pSrc == nullptr || pSrcDst == nullptr) return xvoStsNullPtr;
    if (len < 1) return xvoStsOk;
    pSrcDst[0] *= pSrc[0];
    const bool even = (len & 1) == 0;  // even: the last element is the real Nyquist term
    if (even) pSrcDst[len - 1] *= pSrc[len - 1];
    const int end = even ? len - 1 : len;
    for (int i = 1; i + 1 < end; i += 2) {
        const Xvo32f a = pSrc[i], b = pSrc[i + 1], c = pSrcDst[i], d = pSrcDst[i + 1];
        pSrcDst[i] = a * c + b * d;
        pSrcDst[i + 1] = b * c - a * d;
    }
    return xvoStsOk;
}

XvoStatus xvoDivCRev_64f(const Xvo64f* pSrc, Xvo64f* pDst, int len, Xvo64f numerator) {
    if (pSrc == nullptr || pDst == nullptr) return xvoStsNullPtr;
    if (len < 1) return xvoStsSize;
    if (numerator < 0.0) return xvoStsNegNumerator;
    return divCRev(pSrc, pDst, len, numerator);
}

XvoStatus xvoDivCRev_64f_I(Xvo64f* pSrcDst, int len, Xvo64f numerator) {
    return xvoDivCRev_64f(pSrcDst, pSrcDst, len, numerator);
}

XvoStatus xvoCopy_64f(const Xvo64f* pSrc, Xvo64f* pDst, int len) {
    if (pSrc == nullptr || pDst == nullptr) return xvoStsNullPtr;
    if (len < 1) return xvoStsSize;
    std::memmove(pDst, pSrc, static_cast<std::size_t>(len) * sizeof(Xvo64f));
    return xvoStsOk;
}

void* xvoAllocBytes(int n) { return n < 1 ? nullptr : xvoMalloc(n); }

Xvo32f* xvoAlloc_32f(int n) {
    if (n < 1 || n > INT_MAX / 4) return nullptr;
    return static_cast<Xvo32f*>(xvoMalloc(4 * n));
}

void xvoFreeMem(void* p) { xvoFree(p); }

}  // namespace xvo
