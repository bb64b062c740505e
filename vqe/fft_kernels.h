// Transform kernels of the real FFT, written once over a vector type V and
// instantiated per instruction set (fft.cpp: scalar and SSE2, fft_avx2.cpp:
// AVX2). Every instantiation performs the same IEEE operations in the same
// order (no fused multiply-add, no reassociation), so all twins give
// bit-identical results and a pass may fall back to a narrower twin freely.
//
// Method. The N reals are taken as M = N/2 complex values z[n] = x[2n] +
// i x[2n+1] and transformed by a split-format (separate real and imaginary
// arrays) Stockham autosort FFT: each pass of radix r over sub-length n with
// stride s reads a_j = in[q + s(p + j n/r)] and writes
// DFT_r(a)_j * w_n^(j p) to out[q + s(r p + j)]. Up to M = 64 two passes go
// through a second buffer on the stack; above, the passes ping-pong between
// the work area and the destination, an odd count of them, so that an
// in-place call never overwrites input it still has to read. The real
// spectrum is then recombined from Z[k] and Z[M-k]; the inverse runs the
// recombination first and the same forward complex passes on re/im-swapped
// data (IDFT(Z) = swap(DFT(swap(Z)))). The 1/2 of the recombination and the
// normalisation are folded into the recombination twiddles (built by
// fft.cpp).
//
// Everything here has internal linkage so that each translation unit keeps
// its own instantiations compiled for its own instruction set.
#pragma once

#include <immintrin.h>

#include "vqe/fft.h"

namespace xvo {

/// Kernels of one instruction-set level.
struct OwnRealFFTKernels {
    void (*fwd)(const XvoRealFFTSpec_32f* rec, const Xvo32f* src, Xvo32f* dst, Xvo32f* work);
    void (*inv)(const XvoRealFFTSpec_32f* rec, const Xvo32f* src, Xvo32f* dst, Xvo32f* work);
};

OwnRealFFTKernels ownRealFFTKernelsScalar();
OwnRealFFTKernels ownRealFFTKernelsSSE2();
OwnRealFFTKernels ownRealFFTKernelsAVX2();

namespace {
namespace fftk {

// Scalar "vector" of one lane.
struct VS {
    using R = float;
    static constexpr int W = 1;
    static R load(const Xvo32f* p) { return *p; }
    static void store(Xvo32f* p, R v) { *p = v; }
    static R set1(Xvo32f x) { return x; }
    static R add(R a, R b) { return a + b; }
    static R sub(R a, R b) { return a - b; }
    static R mul(R a, R b) { return a * b; }
    static R neg(R a) { return -a; }
    static R rev(R a) { return a; }
    static void loadDeint(const Xvo32f* p, R& re, R& im) {
        re = p[0];
        im = p[1];
    }
    static void storeInt(Xvo32f* p, R a, R b) {
        p[0] = a;
        p[1] = b;
    }
    template <int r>
    static void storeT(Xvo32f* p, const R* v) {
        for (int j = 0; j < r; ++j) p[j] = v[j];
    }
    static R lane0(R, R b) { return b; }
    static R revShift(R, R prev) { return prev; }
    // Interleaved streams missing their first (Tail) or last (Head) element.
    static void loadDeintTail(const Xvo32f* q, R& re, R& im) {
        re = 0.0f;
        im = q[0];
    }
    static void loadDeintHead(const Xvo32f* p, R& re, R& im) {
        re = p[0];
        im = 0.0f;
    }
    static void storeIntTail(Xvo32f* q, R, R b) { q[0] = b; }
    static void storeIntHead(Xvo32f* p, R a, R) { p[0] = a; }
};

// Four lanes of SSE (baseline on x86-64).
struct VSse {
    using R = __m128;
    using Narrow = VS;
    static constexpr int W = 4;
    static R load(const Xvo32f* p) { return _mm_loadu_ps(p); }
    static void store(Xvo32f* p, R v) { _mm_storeu_ps(p, v); }
    static R set1(Xvo32f x) { return _mm_set1_ps(x); }
    static R add(R a, R b) { return _mm_add_ps(a, b); }
    static R sub(R a, R b) { return _mm_sub_ps(a, b); }
    static R mul(R a, R b) { return _mm_mul_ps(a, b); }
    static R neg(R a) { return _mm_xor_ps(a, _mm_set1_ps(-0.0f)); }
    static R rev(R a) { return _mm_shuffle_ps(a, a, _MM_SHUFFLE(0, 1, 2, 3)); }
    static void deint(R a, R b, R& re, R& im) {
        re = _mm_shuffle_ps(a, b, _MM_SHUFFLE(2, 0, 2, 0));
        im = _mm_shuffle_ps(a, b, _MM_SHUFFLE(3, 1, 3, 1));
    }
    static void loadDeint(const Xvo32f* p, R& re, R& im) { deint(_mm_loadu_ps(p), _mm_loadu_ps(p + 4), re, im); }
    static void storeInt(Xvo32f* p, R a, R b) {
        _mm_storeu_ps(p, _mm_unpacklo_ps(a, b));
        _mm_storeu_ps(p + 4, _mm_unpackhi_ps(a, b));
    }
    // a with lane 0 taken from b
    static R lane0(R a, R b) { return _mm_move_ss(a, b); }
    // (prev[0], cur[3], cur[2], cur[1])
    static R revShift(R cur, R prev) { return _mm_move_ss(_mm_shuffle_ps(cur, cur, _MM_SHUFFLE(1, 2, 3, 0)), prev); }
    // (0, q[0], q[1], q[2]) and (p[0], p[1], p[2], 0): no access outside the three floats.
    static R load3Tail(const Xvo32f* q) {
        const R z = _mm_setzero_ps();
        return _mm_movelh_ps(_mm_unpacklo_ps(z, _mm_load_ss(q)),
                             _mm_loadl_pi(z, reinterpret_cast<const __m64*>(q + 1)));
    }
    static R load3Head(const Xvo32f* p) {
        return _mm_movelh_ps(_mm_loadl_pi(_mm_setzero_ps(), reinterpret_cast<const __m64*>(p)), _mm_load_ss(p + 2));
    }
    // q[0..2] = v[1..3]; p[0..2] = v[0..2]
    static void store3Tail(Xvo32f* q, R v) {
        _mm_store_ss(q, _mm_shuffle_ps(v, v, _MM_SHUFFLE(1, 1, 1, 1)));
        _mm_storeh_pi(reinterpret_cast<__m64*>(q + 1), v);
    }
    static void store3Head(Xvo32f* p, R v) {
        _mm_storel_pi(reinterpret_cast<__m64*>(p), v);
        _mm_store_ss(p + 2, _mm_movehl_ps(v, v));
    }
    static void loadDeintTail(const Xvo32f* q, R& re, R& im) { deint(load3Tail(q), _mm_loadu_ps(q + 3), re, im); }
    static void loadDeintHead(const Xvo32f* p, R& re, R& im) { deint(_mm_loadu_ps(p), load3Head(p + 4), re, im); }
    static void storeIntTail(Xvo32f* q, R a, R b) {
        store3Tail(q, _mm_unpacklo_ps(a, b));
        _mm_storeu_ps(q + 3, _mm_unpackhi_ps(a, b));
    }
    static void storeIntHead(Xvo32f* p, R a, R b) {
        _mm_storeu_ps(p, _mm_unpacklo_ps(a, b));
        store3Head(p + 4, _mm_unpackhi_ps(a, b));
    }
    // p[r*l + j] = v[j][l]
    template <int r>
    static void storeT(Xvo32f* p, const R* v) {
        if constexpr (r == 2) {
            storeInt(p, v[0], v[1]);
        } else {
            for (int h = 0; h < r; h += 4) {
                R a = v[h], b = v[h + 1], c = v[h + 2], d = v[h + 3];
                _MM_TRANSPOSE4_PS(a, b, c, d);
                _mm_storeu_ps(p + h, a);
                _mm_storeu_ps(p + r + h, b);
                _mm_storeu_ps(p + 2 * r + h, c);
                _mm_storeu_ps(p + 3 * r + h, d);
            }
        }
    }
};


#define XVO_FFT_INLINE inline __attribute__((always_inline))

// ---------------------------------------------------------------------------
// Split complex vector helpers.
template <class V>
struct C {
    typename V::R re, im;
};

template <class V>
XVO_FFT_INLINE C<V> cadd(C<V> a, C<V> b) { return {V::add(a.re, b.re), V::add(a.im, b.im)}; }
template <class V>
XVO_FFT_INLINE C<V> csub(C<V> a, C<V> b) { return {V::sub(a.re, b.re), V::sub(a.im, b.im)}; }
// a * w
template <class V>
XVO_FFT_INLINE C<V> cmul(C<V> a, C<V> w) {
    return {V::sub(V::mul(a.re, w.re), V::mul(a.im, w.im)), V::add(V::mul(a.re, w.im), V::mul(a.im, w.re))};
}
// -i * a
template <class V>
XVO_FFT_INLINE C<V> cmi(C<V> a) { return {a.im, V::neg(a.re)}; }

// Forward DFT of radix r on a[0..r-1], result in natural order.
template <class V, int r>
XVO_FFT_INLINE void butterfly(C<V>* a) {
    if constexpr (r == 2) {
        const C<V> t = a[0];
        a[0] = cadd<V>(t, a[1]);
        a[1] = csub<V>(t, a[1]);
    } else if constexpr (r == 4) {
        const C<V> t0 = cadd<V>(a[0], a[2]), t1 = csub<V>(a[0], a[2]);
        const C<V> t2 = cadd<V>(a[1], a[3]), t3 = cmi<V>(csub<V>(a[1], a[3]));
        a[0] = cadd<V>(t0, t2);
        a[2] = csub<V>(t0, t2);
        a[1] = cadd<V>(t1, t3);
        a[3] = csub<V>(t1, t3);
    } else {
        static_assert(r == 8);
        const typename V::R h = V::set1(0.70710678118654752f);
        C<V> u[4], v[4];
        for (int j = 0; j < 4; ++j) {
            u[j] = cadd<V>(a[j], a[j + 4]);
            v[j] = csub<V>(a[j], a[j + 4]);
        }
        // v_j *= w8^j, w8 = exp(-i pi/4)
        v[1] = {V::mul(V::add(v[1].re, v[1].im), h), V::mul(V::sub(v[1].im, v[1].re), h)};
        v[2] = cmi<V>(v[2]);
        v[3] = {V::mul(V::sub(v[3].im, v[3].re), h), V::neg(V::mul(V::add(v[3].re, v[3].im), h))};
        butterfly<V, 4>(u);
        butterfly<V, 4>(v);
        for (int l = 0; l < 4; ++l) {
            a[2 * l] = u[l];
            a[2 * l + 1] = v[l];
        }
    }
}

// ---------------------------------------------------------------------------
// A buffer of M complex values: split (re[M], im[M]) or, when the pass's
// Inter flag is set, interleaved (re, im, re, im, ...) at re. An interleaved
// output is written re/im swapped (the inverse transform's last pass).
struct Buf {
    Xvo32f* re;
    Xvo32f* im;
};

template <class V, bool Inter>
XVO_FFT_INLINE C<V> loadC(const Buf& b, int i) {
    C<V> c;
    if constexpr (Inter) {
        V::loadDeint(b.re + 2 * i, c.re, c.im);
    } else {
        c.re = V::load(b.re + i);
        c.im = V::load(b.im + i);
    }
    return c;
}

template <class V, bool Inter>
XVO_FFT_INLINE void storeC(const Buf& b, int i, C<V> c) {
    if constexpr (Inter) {
        V::storeInt(b.re + 2 * i, c.im, c.re);
    } else {
        V::store(b.re + i, c.re);
        V::store(b.im + i, c.im);
    }
}

// One pass vectorised over q (needs s >= W): twiddles broadcast per p; the
// twiddles of p = 0 are 1 and skipped.
template <class V, int r, bool InI, bool OutI>
XVO_FFT_INLINE void passQ(int n, int s, const Buf& in, const Buf& out, const Xvo32f* tw) {
    const int m = n / r;
    for (int q = 0; q < s; q += V::W) {
        C<V> a[r];
        for (int j = 0; j < r; ++j) a[j] = loadC<V, InI>(in, q + s * j * m);
        butterfly<V, r>(a);
        for (int j = 0; j < r; ++j) storeC<V, OutI>(out, q + s * j, a[j]);
    }
    for (int p = 1; p < m; ++p) {
        C<V> w[r];
        for (int j = 1; j < r; ++j) {
            w[j].re = V::set1(tw[(j - 1) * 2 * m + p]);
            w[j].im = V::set1(tw[(j - 1) * 2 * m + m + p]);
        }
        for (int q = 0; q < s; q += V::W) {
            C<V> a[r];
            for (int j = 0; j < r; ++j) a[j] = loadC<V, InI>(in, q + s * (p + j * m));
            butterfly<V, r>(a);
            storeC<V, OutI>(out, q + s * r * p, a[0]);
            for (int j = 1; j < r; ++j) storeC<V, OutI>(out, q + s * (r * p + j), cmul<V>(a[j], w[j]));
        }
    }
}

// First pass (s == 1) vectorised over p (needs n/r >= W and a split output):
// twiddles loaded per lane, outputs transposed into place.
template <class V, int r, bool InI>
XVO_FFT_INLINE void passP(int n, const Buf& in, const Buf& out, const Xvo32f* tw) {
    const int m = n / r;
    for (int p = 0; p < m; p += V::W) {
        C<V> a[r];
        for (int j = 0; j < r; ++j) a[j] = loadC<V, InI>(in, p + j * m);
        butterfly<V, r>(a);
        typename V::R re[r], im[r];
        re[0] = a[0].re;
        im[0] = a[0].im;
        for (int j = 1; j < r; ++j) {
            const C<V> w{V::load(tw + (j - 1) * 2 * m + p), V::load(tw + (j - 1) * 2 * m + m + p)};
            const C<V> b = cmul<V>(a[j], w);
            re[j] = b.re;
            im[j] = b.im;
        }
        V::template storeT<r>(out.re + r * p, re);
        V::template storeT<r>(out.im + r * p, im);
    }
}

// One pass with the widest twin its shape allows.
template <class V, int r, bool InI, bool OutI>
XVO_FFT_INLINE void passAny(int n, int s, const Buf& in, const Buf& out, const Xvo32f* tw) {
    if (s >= V::W) {
        passQ<V, r, InI, OutI>(n, s, in, out, tw);
    } else if (!OutI && s == 1 && n / r >= V::W) {
        passP<V, r, InI>(n, in, out, tw);
    } else if constexpr (V::W > 1) {
        passAny<typename V::Narrow, r, InI, OutI>(n, s, in, out, tw);
    }
}

template <class V, bool InI, bool OutI>
void passRadix(int r, int n, int s, const Buf& in, const Buf& out, const Xvo32f* tw) {
    if (r == 8)
        passAny<V, 8, InI, OutI>(n, s, in, out, tw);
    else if (r == 4)
        passAny<V, 4, InI, OutI>(n, s, in, out, tw);
    else
        passAny<V, 2, InI, OutI>(n, s, in, out, tw);
}

// The complex passes of the record's plan (three or more, an odd count):
// first reads `first` (interleaved when FirstI), then they alternate between
// a and b, and the last writes `last` (interleaved when LastI).
template <class V, bool FirstI, bool LastI>
void complexPasses(const XvoRealFFTSpec_32f* rec, int M, const Buf& first, const Buf& a, const Buf& b,
                   const Buf& last) {
    const Xvo32f* tw = rec->twiddle;
    const int P = rec->nPass;
    int n = M, s = 1;
    passRadix<V, FirstI, false>(rec->radix[0], n, s, first, a, tw);
    for (int i = 1; i < P; ++i) {
        const int r0 = rec->radix[i - 1], r = rec->radix[i];
        tw += 2 * (n - n / r0);
        n /= r0;
        s *= r0;
        const Buf& in = (i & 1) ? a : b;
        if (i + 1 < P)
            passRadix<V, false, false>(r, n, s, in, (i & 1) ? b : a, tw);
        else
            passRadix<V, false, LastI>(r, n, s, in, last, tw);
    }
}

// The fixed plans of the small orders, unrolled by the compiler: two passes
// up to M = 64, three (8 * 4 * 4) at M = 128.
template <class V, bool FirstI, bool LastI, int M, int R0>
XVO_FFT_INLINE void complexPasses2(const Xvo32f* tw, const Buf& first, const Buf& a, const Buf& last) {
    constexpr int n1 = M / R0;
    passAny<V, R0, FirstI, false>(M, 1, first, a, tw);
    passAny<V, n1, false, LastI>(n1, R0, a, last, tw + 2 * (M - n1));
}

template <class V, bool FirstI, bool LastI>
XVO_FFT_INLINE void complexPasses128(const Xvo32f* tw, const Buf& first, const Buf& a, const Buf& b,
                                     const Buf& last) {
    passAny<V, 8, FirstI, false>(128, 1, first, a, tw);
    passAny<V, 4, false, false>(16, 8, a, b, tw + 2 * (128 - 16));
    passAny<V, 4, false, LastI>(4, 32, b, last, tw + 2 * (128 - 4));
}

// Passes from `first` to `last` through a and b (M <= 64: through a only).
template <class V, bool FirstI, bool LastI>
XVO_FFT_INLINE void runPasses(const XvoRealFFTSpec_32f* rec, int M, const Buf& first, const Buf& a, const Buf& b,
                              const Buf& last) {
    switch (M) {  // the plans planPasses gives these sizes
        case 16: complexPasses2<V, FirstI, LastI, 16, 4>(rec->twiddle, first, a, last); break;
        case 32: complexPasses2<V, FirstI, LastI, 32, 8>(rec->twiddle, first, a, last); break;
        case 64: complexPasses2<V, FirstI, LastI, 64, 8>(rec->twiddle, first, a, last); break;
        case 128: complexPasses128<V, FirstI, LastI>(rec->twiddle, first, a, b, last); break;
        default: complexPasses<V, FirstI, LastI>(rec, M, first, a, b, last); break;
    }
}

// ---------------------------------------------------------------------------
// Real recombination. Forward: from Z (split, work) to Pack (dst); inverse:
// from Pack (src) to swapped Z (split, work). For k in 0..M/2-1:
//   P = U_k + conj(U_{M-k}), Q = U_k - conj(U_{M-k}),
//   Y_k = a P + C_k Q,  Y_{M-k} = conj(a P - C_k Q),
// with U_M = U_0: k = 0 yields the DC and Nyquist terms. The middle bin M/2
// is done apart. Blocks of W bins k0.. read and write the split arrays only
// at multiples of W, as the passes do (a load that spans two earlier stores
// cannot take its data from them and waits); the mirrored bins M-k come
// from the aligned block below with one lane carried over (revShift).
template <class V>
XVO_FFT_INLINE void recombPair(C<V> uk, C<V> ukr, typename V::R a, C<V> ck, C<V>& yk, C<V>& ykr) {
    const C<V> P{V::add(uk.re, ukr.re), V::sub(uk.im, ukr.im)};
    const C<V> Q{V::sub(uk.re, ukr.re), V::add(uk.im, ukr.im)};
    const C<V> cq = cmul<V>(Q, ck);
    const C<V> ap{V::mul(a, P.re), V::mul(a, P.im)};
    yk = cadd<V>(ap, cq);
    ykr = {V::sub(ap.re, cq.re), V::sub(cq.im, ap.im)};
}

template <class V>
void recombFwd(const Xvo32f* zr, const Xvo32f* zi, Xvo32f* dst, const Xvo32f* cr, const Xvo32f* ci, int M,
               Xvo32f s) {
    const typename V::R a = V::set1(0.5f * s);
    C<V> prev{};  // lane 0: Z[M - k0]
    for (int k0 = 0; k0 < M / 2; k0 += V::W) {
        const int ka = M - k0 - V::W;  // aligned block holding Z[M - k0 - W + 1 .. M - k0 - 1]
        const C<V> uk{V::load(zr + k0), V::load(zi + k0)};
        const C<V> A{V::load(zr + ka), V::load(zi + ka)};
        if (k0 == 0) prev = uk;  // Z[M] = Z[0]
        const C<V> ukr{V::revShift(A.re, prev.re), V::revShift(A.im, prev.im)};
        prev = A;
        C<V> yk, ykr;
        recombPair<V>(uk, ukr, a, C<V>{V::load(cr + k0), V::load(ci + k0)}, yk, ykr);
        // Bins k0.. at 2 k0 - 1; bins ka + 1 .. M - k0 (ykr reversed) at 2 ka + 1.
        const typename V::R rr = V::rev(ykr.re), ri = V::rev(ykr.im);
        if (k0 == 0) {
            V::storeIntTail(dst, yk.re, V::lane0(yk.im, yk.re));  // the DC term goes to element 0
            V::storeIntHead(dst + 2 * ka + 1, rr, ri);           // the Nyquist term to element N - 1
        } else {
            V::storeInt(dst + 2 * k0 - 1, yk.re, yk.im);
            V::storeInt(dst + 2 * ka + 1, rr, ri);
        }
    }
    dst[M - 1] = s * zr[M / 2];
    dst[M] = -(s * zi[M / 2]);
}

template <class V>
void recombInv(const Xvo32f* src, Xvo32f* zr, Xvo32f* zi, const Xvo32f* cr, const Xvo32f* ci, int M, Xvo32f s) {
    using R = typename V::R;
    const R a = V::set1(s);
    const Xvo32f s2 = 2.0f * s;
    const Xvo32f midR = -(s2 * src[M]), midI = s2 * src[M - 1];  // 2 s conj(X[M/2]), swapped
    C<V> prev{};  // Y_{M-k} of the previous block
    for (int k0 = 0; k0 < M / 2; k0 += V::W) {
        const int ka = M - k0 - V::W;
        C<V> uk, ukr;
        if (k0 == 0) {
            V::loadDeintTail(src, uk.re, uk.im);  // lane 0: (-, X0) -> (X0, 0)
            uk.re = V::lane0(uk.re, uk.im);
            uk.im = V::lane0(uk.im, V::set1(0.0f));
            V::loadDeintHead(src + 2 * ka + 1, ukr.re, ukr.im);  // last lane: (X[N/2], 0)
        } else {
            V::loadDeint(src + 2 * k0 - 1, uk.re, uk.im);
            V::loadDeint(src + 2 * ka + 1, ukr.re, ukr.im);
        }
        ukr.re = V::rev(ukr.re);
        ukr.im = V::rev(ukr.im);
        C<V> yk, ykr;
        recombPair<V>(uk, ukr, a, C<V>{V::load(cr + k0), V::load(ci + k0)}, yk, ykr);
        V::store(zr + k0, yk.im);
        V::store(zi + k0, yk.re);
        // The aligned block above this one's mirror is complete now.
        if (k0 > 0) {
            V::store(zr + ka + V::W, V::revShift(prev.im, ykr.im));
            V::store(zi + ka + V::W, V::revShift(prev.re, ykr.re));
        }
        prev = ykr;
    }
    V::store(zr + M / 2, V::revShift(prev.im, V::set1(midR)));
    V::store(zi + M / 2, V::revShift(prev.re, V::set1(midI)));
}

// ---------------------------------------------------------------------------
// Whole transforms for order >= 5 (M >= 16). work holds 2M floats, dst N.
template <class V>
void realFwd(const XvoRealFFTSpec_32f* rec, const Xvo32f* src, Xvo32f* dst, Xvo32f* work) {
    const int N = 1 << rec->order, M = N / 2;
    if constexpr (V::W > 4) {
        // Below 64 points the first pass and the recombination cannot fill
        // eight lanes; one width throughout keeps stores forwarding to loads.
        if (M < 64) return realFwd<typename V::Narrow>(rec, src, dst, work);
    }
    const Xvo32f s = rec->fwdScale;
    const Buf in{const_cast<Xvo32f*>(src), nullptr};
    const Buf w{work, work + M}, d{dst, dst + M};
    if (M <= 64) {  // two passes: work, then a stack buffer
        alignas(32) Xvo32f second[128];
        const Buf b{second, second + M};
        runPasses<V, true, false>(rec, M, in, w, b, b);
        recombFwd<V>(second, second + M, dst, rec->recombFwd, rec->recombFwd + M / 2, M, s);
        return;
    }
    // Odd pass count: pass 1 writes work, pass 2 dst, ..., the last work.
    runPasses<V, true, false>(rec, M, in, w, d, w);
    recombFwd<V>(work, work + M, dst, rec->recombFwd, rec->recombFwd + M / 2, M, s);
}

template <class V>
void realInv(const XvoRealFFTSpec_32f* rec, const Xvo32f* src, Xvo32f* dst, Xvo32f* work) {
    const int N = 1 << rec->order, M = N / 2;
    if constexpr (V::W > 4) {
        if (M < 64) return realInv<typename V::Narrow>(rec, src, dst, work);
    }
    const Xvo32f s = rec->invScale;
    recombInv<V>(src, work, work + M, rec->recombInv, rec->recombInv + M / 2, M, s);

    const Buf w{work, work + M}, d{dst, dst + M}, out{dst, nullptr};
    if (M <= 64) {  // two passes: a stack buffer, then dst interleaved
        alignas(32) Xvo32f second[128];
        const Buf b{second, second + M};
        runPasses<V, false, true>(rec, M, w, b, b, out);
        return;
    }
    // Pass 1 writes dst, pass 2 work, ..., the last (odd) one dst, interleaved.
    runPasses<V, false, true>(rec, M, w, d, w, out);
}

}  // namespace fftk
}  // namespace

}  // namespace xvo

#undef XVO_FFT_INLINE
