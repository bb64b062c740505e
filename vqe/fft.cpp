// Real FFT records: sizes, initialisation, allocation and the transform entry
// points. The transform kernels are in fft_kernels.h.
#include "vqe/fft.h"

#include <cmath>
#include <cstdint>
#include <cstring>

#include "core/check.h"
#include "core/cpu.h"
#include "vqe/fft_kernels.h"
#include "xvocore.h"

namespace xvo {

namespace {

constexpr int kTinyOrders = 5;     // orders below this use the fixed kernels
constexpr int kTableOrder = 10;    // order of the shared read-only sine table
constexpr int kGenOrder = 11;      // from here the sine table is generated at init
constexpr int kHeaderBytes = 160;  // record header, padded (192 = header + alignment room)

// The record header fits the fixed 168-byte record of the small orders after
// 32-byte alignment, and the 160 bytes kept before the tables of the others.
static_assert(sizeof(XvoRealFFTSpec_32f) <= 168 - 32);
static_assert(sizeof(XvoRealFFTSpec_32f) <= kHeaderBytes);

constexpr std::int64_t align32(std::int64_t x) { return (x + 31) & ~std::int64_t{31}; }

template <class T>
T* alignUp32(T* p) {
    const auto a = reinterpret_cast<std::uintptr_t>(p);
    return reinterpret_cast<T*>((a + 31u) & ~std::uintptr_t{31u});
}

bool orderOk(int order) { return order >= 0 && order <= XVO_FFT_MAX_ORDER; }
bool flagOk(int flag) {
    return flag == XVO_FFT_DIV_FWD_BY_N || flag == XVO_FFT_DIV_INV_BY_N || flag == XVO_FFT_DIV_BY_SQRTN ||
           flag == XVO_FFT_NODIV_BY_ANY;
}

struct Sizes {
    std::int64_t rec, init, work;
    std::int64_t recomb;  // bytes of one recombination table
    std::int64_t twiddle; // bytes of the complex-pass twiddles
    std::int64_t index;   // bytes kept for an index table (the autosort passes need none)
};

// Byte sizes for order k (k >= kTinyOrders): N = 2^k reals, M = N/2 complex.
Sizes sizesFor(int k) {
    Sizes z{};
    if (k < kTinyOrders) {
        z.rec = 168;
        return z;
    }
    const std::int64_t N = std::int64_t{1} << k, M = N / 2;
    const int m = k - 1;
    if (m >= 6) {  // the radix kernel (and, from m = 18, the same autosort plan)
        z.twiddle = align32(8 * M + 8);
        z.work = align32(8 * M);
    }
    z.index = align32(4 * (M / 4) + 4);
    z.recomb = align32(8 * (N / 4));
    z.rec = 2 * z.recomb + z.twiddle + z.index + 192;
    z.init = k < kGenOrder ? 0 : align32(4 * (N / 4) + 4) + 32;
    if (z.work > 0) z.work += 32;
    return z;
}

// sin(2 pi t / 2^order) for t = 0..2^order/4, as float, in double precision.
void fillSineQuarter(Xvo32f* dst, int order) {
    const std::int64_t n = std::int64_t{1} << order, q = n / 4;
    const double step = 2.0 * 3.14159265358979323846 / static_cast<double>(n);
    for (std::int64_t t = 0; t <= q; ++t) {
        // Use the shorter way round for accuracy near the quarter point.
        dst[t] = t <= q / 2 ? static_cast<Xvo32f>(std::sin(step * static_cast<double>(t)))
                            : static_cast<Xvo32f>(std::cos(step * static_cast<double>(q - t)));
    }
}

// The shared quarter-wave sine table of order 10 in read-only data.
const Xvo32f* sharedSineTable() {
    struct Table {
        Xvo32f v[(1 << kTableOrder) / 4 + 1];
        Table() { fillSineQuarter(v, kTableOrder); }
    };
    static const Table table;
    return table.v;
}

// cos and sin of 2 pi t / N from a quarter-wave sine table whose entry u
// holds sin(2 pi u stride / N).
struct Trig {
    const Xvo32f* q;
    std::int64_t stride, n;
    void at(std::int64_t t, Xvo32f& c, Xvo32f& s) const {
        const std::int64_t quarter = n / 4;
        t &= n - 1;
        const std::int64_t u = t % quarter;
        const Xvo32f su = q[u * stride], cu = q[(quarter - u) * stride];
        switch (t / quarter) {
            case 0: c = cu; s = su; break;
            case 1: c = -su; s = cu; break;
            case 2: c = -cu; s = -su; break;
            default: c = su; s = -cu; break;
        }
    }
};

// Radices of the complex passes for M = 2^m, m >= 4. Up to M = 64 two passes
// (16 = 4 * 4, 32 = 8 * 4, 64 = 8 * 8) with a second buffer on the stack.
// Above, an odd count (the passes alternate between the work area and the
// destination): radix 8 first (so later passes have stride >= 8), then
// radix 4, with radix 8 or 2 where the bit count or the parity needs them.
int planPasses(int m, Xvo8u* radix) {
    int bits[16], n = 0;
    int rest = m;
    if (m <= 6) {
        bits[n++] = m == 4 ? 2 : 3;
        bits[n++] = m - bits[0];
    } else {
        bits[n++] = 3;
        rest -= 3;
        const int fours = rest / 2;
        const bool two = (rest & 1) != 0;
        int total = 1 + fours + (two ? 1 : 0);
        if (total % 2 == 1) {
            for (int i = 0; i < fours; ++i) bits[n++] = 2;
            if (two) bits[n++] = 1;
        } else if (two) {  // 4 + 2 -> 8 (one pass fewer)
            for (int i = 0; i < fours - 1; ++i) bits[n++] = 2;
            bits[n++] = 3;
        } else if (fours >= 3) {  // 4 + 4 + 4 -> 8 + 8
            bits[n++] = 3;
            bits[n++] = 3;
            for (int i = 0; i < fours - 3; ++i) bits[n++] = 2;
        } else {  // one 4 -> 2 + 2
            for (int i = 0; i < fours - 1; ++i) bits[n++] = 2;
            bits[n++] = 1;
            bits[n++] = 1;
        }
    }
    for (int i = 0; i < n; ++i) radix[i] = static_cast<Xvo8u>(1 << bits[i]);
    return n;
}

// Complex-pass twiddles w_n^(j p) = exp(-2 pi i j p / n), per pass and per
// j = 1..r-1 as re[n/r] then im[n/r]; 2(M-1) floats in all.
void fillPassTwiddles(Xvo32f* out, const XvoRealFFTSpec_32f* rec, int k, const Trig& trig) {
    const std::int64_t N = std::int64_t{1} << k;
    std::int64_t n = N / 2;
    for (int i = 0; i < rec->nPass; ++i) {
        const int r = rec->radix[i];
        const std::int64_t m = n / r;
        for (int j = 1; j < r; ++j) {
            for (std::int64_t q = 0; q < m; ++q) {
                Xvo32f c, s;
                trig.at(j * q * (N / n), c, s);
                out[(j - 1) * 2 * m + q] = c;
                out[(j - 1) * 2 * m + m + q] = -s;
            }
        }
        out += 2 * (n - m);
        n = m;
    }
}

// Read-only pass twiddles of orders 5 and 6 (M = 16 and 32).
const Xvo32f* smallTwiddles(int k) {
    struct Tables {
        Xvo32f t5[2 * 15], t6[2 * 31];
        Tables() {
            XvoRealFFTSpec_32f s{};
            s.nPass = planPasses(4, s.radix);
            fillPassTwiddles(t5, &s, 5, {sharedSineTable(), 1 << (kTableOrder - 5), 32});
            s.nPass = planPasses(5, s.radix);
            fillPassTwiddles(t6, &s, 6, {sharedSineTable(), 1 << (kTableOrder - 6), 64});
        }
    };
    static const Tables tables;
    return k == 5 ? tables.t5 : tables.t6;
}

// Lays out the tables of order k >= kTinyOrders after the record header.
void buildTables(XvoRealFFTSpec_32f* rec, int k, const Sizes& z, Xvo8u* initBuf) {
    const std::int64_t N = std::int64_t{1} << k, M = N / 2;
    Xvo8u* p = reinterpret_cast<Xvo8u*>(rec) + kHeaderBytes;
    auto* recF = reinterpret_cast<Xvo32f*>(p);
    auto* recI = reinterpret_cast<Xvo32f*>(p + z.recomb);
    Xvo8u* after = p + 2 * z.recomb;
    Xvo32f* tw = reinterpret_cast<Xvo32f*>(after);

    Trig trig{};
    if (k < kGenOrder) {
        trig = {sharedSineTable(), std::int64_t{1} << (kTableOrder - k), N};
        rec->trig = sharedSineTable();
    } else {
        auto* gen = alignUp32(reinterpret_cast<Xvo32f*>(initBuf));
        fillSineQuarter(gen, k);
        trig = {gen, 1, N};
        rec->trig = nullptr;  // lived in the caller's init buffer only
    }

    // Recombination twiddles for k = 0..M/2-1 as (re[M/2], im[M/2]):
    // forward C_k = s/2 * (-sin, -cos), inverse C'_k = s * (-sin, cos) of 2 pi k / N.
    for (std::int64_t t = 0; t < M / 2; ++t) {
        Xvo32f c, s;
        trig.at(t, c, s);
        recF[t] = static_cast<Xvo32f>(-0.5 * rec->fwdScale * s);
        recF[M / 2 + t] = static_cast<Xvo32f>(-0.5 * rec->fwdScale * c);
        recI[t] = static_cast<Xvo32f>(-1.0 * rec->invScale * s);
        recI[M / 2 + t] = static_cast<Xvo32f>(1.0 * rec->invScale * c);
    }

    // Complex-pass twiddles: orders 5 and 6 have no table of their own and
    // share read-only ones.
    rec->nPass = planPasses(k - 1, rec->radix);
    if (z.twiddle == 0) {
        rec->twiddle = smallTwiddles(k);
    } else {
        fillPassTwiddles(tw, rec, k, trig);
        rec->twiddle = tw;
    }
    rec->bitRev = nullptr;  // no reordering pass: its room stays unused
    rec->recombFwd = recF;
    rec->recombInv = recI;
}
const OwnRealFFTKernels& activeKernels() {
    static const OwnRealFFTKernels k = ownCpuSupports(OwnCpuLevel::AVX2) ? ownRealFFTKernelsAVX2()
                                       : ownCpuSupports(OwnCpuLevel::SSE2) ? ownRealFFTKernelsSSE2()
                                                                             : ownRealFFTKernelsScalar();
    return k;
}

// ---------------------------------------------------------------------------
// Fixed straight-line kernels of orders 2..4 (N = 4, 8, 16): the M = N/2
// point complex DFT as one radix-M butterfly, and the recombination with
// constant twiddles; all loops have constant bounds and unroll.
constexpr double kSin16[5] = {0.0, 0.38268343236508977, 0.70710678118654752, 0.92387953251128674, 1.0};

template <int M>
void tinyFwd(const Xvo32f* src, Xvo32f* dst, Xvo32f scale) {
    using fftk::VS;
    fftk::C<VS> z[M];
    for (int n = 0; n < M; ++n) z[n] = {src[2 * n], src[2 * n + 1]};
    fftk::butterfly<VS, M>(z);
    const Xvo32f a = 0.5f * scale;
    for (int k = 1; k < M / 2; ++k) {  // sin and cos of 2 pi k / (2M)
        const auto sn = static_cast<Xvo32f>(kSin16[k * 8 / M]), cs = static_cast<Xvo32f>(kSin16[4 - k * 8 / M]);
        fftk::C<VS> yk, ykr;
        fftk::recombPair<VS>(z[k], z[M - k], a, {-(a * sn), -(a * cs)}, yk, ykr);
        dst[2 * k - 1] = yk.re;
        dst[2 * k] = yk.im;
        dst[2 * (M - k) - 1] = ykr.re;
        dst[2 * (M - k)] = ykr.im;
    }
    const fftk::C<VS> z0 = z[0], zm = z[M / 2];
    dst[0] = scale * (z0.re + z0.im);
    dst[2 * M - 1] = scale * (z0.re - z0.im);
    dst[M - 1] = scale * zm.re;
    dst[M] = -(scale * zm.im);
}

template <int M>
void tinyInv(const Xvo32f* src, Xvo32f* dst, Xvo32f scale) {
    using fftk::VS;
    fftk::C<VS> z[M];  // the half-length spectrum, re/im swapped
    for (int k = 1; k < M / 2; ++k) {
        const auto sn = static_cast<Xvo32f>(kSin16[k * 8 / M]), cs = static_cast<Xvo32f>(kSin16[4 - k * 8 / M]);
        fftk::C<VS> yk, ykr;
        fftk::recombPair<VS>({src[2 * k - 1], src[2 * k]}, {src[2 * (M - k) - 1], src[2 * (M - k)]}, scale,
                             {-(scale * sn), scale * cs}, yk, ykr);
        z[k] = {yk.im, yk.re};
        z[M - k] = {ykr.im, ykr.re};
    }
    const Xvo32f x0 = src[0], xn = src[2 * M - 1], s2 = 2.0f * scale;
    z[M / 2] = {-(s2 * src[M]), s2 * src[M - 1]};
    z[0] = {scale * (x0 - xn), scale * (x0 + xn)};
    fftk::butterfly<VS, M>(z);
    for (int n = 0; n < M; ++n) {
        dst[2 * n] = z[n].im;
        dst[2 * n + 1] = z[n].re;
    }
}

using TinyFn = void (*)(const Xvo32f*, Xvo32f*, Xvo32f);

void tinyFwd2(const Xvo32f* src, Xvo32f* dst, Xvo32f scale) {
    const Xvo32f a = src[0], b = src[1];
    dst[0] = scale * (a + b);
    dst[1] = scale * (a - b);
}
void tinyOne(const Xvo32f* src, Xvo32f* dst, Xvo32f scale) { dst[0] = scale * src[0]; }

constexpr TinyFn kTinyFwd[kTinyOrders] = {tinyOne, tinyFwd2, tinyFwd<2>, tinyFwd<4>, tinyFwd<8>};
constexpr TinyFn kTinyInv[kTinyOrders] = {tinyOne, tinyFwd2, tinyInv<2>, tinyInv<4>, tinyInv<8>};

// Checks, work memory and dispatch shared by both directions.
XvoStatus transform(const Xvo32f* src, Xvo32f* dst, const XvoRealFFTSpec_32f* rec, Xvo8u* buffer, bool forward) {
    if (rec == nullptr) return xvoStsNullPtr;
    if (rec->tag != XVO_FFT_TAG_REAL) return xvoStsContextMatch;
    if (src == nullptr || dst == nullptr) return xvoStsNullPtr;
    const int k = rec->order;
    if (k < kTinyOrders) {
        (forward ? kTinyFwd : kTinyInv)[k](src, dst, forward ? rec->fwdScale : rec->invScale);
        return xvoStsOk;
    }
    alignas(32) Xvo32f stackWork[64];  // orders 5 and 6 need 2M <= 64 floats and no work area
    Xvo32f* work = stackWork;
    void* owned = nullptr;
    if (rec->workSize > 0) {
        if (buffer == nullptr) {
            owned = xvoMalloc(rec->workSize);
            if (owned == nullptr) return xvoStsMemAlloc;
            buffer = static_cast<Xvo8u*>(owned);
        }
        work = reinterpret_cast<Xvo32f*>(alignUp32(buffer));
    }
    const OwnRealFFTKernels& kern = activeKernels();
    (forward ? kern.fwd : kern.inv)(rec, src, dst, work);
    if (owned != nullptr) xvoFree(owned);
    return xvoStsOk;
}

}  // namespace

// ---------------------------------------------------------------------------
XvoStatus xvoRealFFTGetSize(int order, int flag, int /*hint*/, int* pSpecSize, int* pInitBufSize, int* pWorkSize) {
    if (!orderOk(order)) return xvoStsFftOrder;
    if (pSpecSize == nullptr || pInitBufSize == nullptr || pWorkSize == nullptr) return xvoStsNullPtr;
    if (!flagOk(flag)) return xvoStsFftFlag;
    const Sizes z = sizesFor(order);
    *pSpecSize = static_cast<int>(z.rec);
    *pInitBufSize = static_cast<int>(z.init);
    *pWorkSize = static_cast<int>(z.work);
    return xvoStsOk;
}

XvoStatus xvoRealFFTInit(XvoRealFFTSpec_32f** ppSpec, int order, int flag, int hint, Xvo8u* pSpecMemory,
                         Xvo8u* pInitBuffer) {
    if (ppSpec == nullptr) return xvoStsNullPtr;
    if (!orderOk(order)) return xvoStsFftOrder;
    if (pSpecMemory == nullptr) return xvoStsNullPtr;
    auto* rec = reinterpret_cast<XvoRealFFTSpec_32f*>(alignUp32(pSpecMemory));
    if (!flagOk(flag)) {
        rec->tag = 0;
        return xvoStsFftFlag;
    }
    if (order >= kGenOrder && pInitBuffer == nullptr) return xvoStsNullPtr;

    const Sizes z = sizesFor(order);
    std::memset(static_cast<void*>(rec), 0, sizeof(XvoRealFFTSpec_32f));
    const double n = std::ldexp(1.0, order);
    const auto inverseN = static_cast<Xvo32f>(1.0 / n);
    const auto inverseRoot = static_cast<Xvo32f>(1.0 / std::sqrt(n));
    rec->order = order;
    rec->hint = hint;
    rec->fwdScaled = flag == XVO_FFT_DIV_FWD_BY_N || flag == XVO_FFT_DIV_BY_SQRTN;
    rec->invScaled = flag == XVO_FFT_DIV_INV_BY_N || flag == XVO_FFT_DIV_BY_SQRTN;
    rec->scale = flag == XVO_FFT_DIV_BY_SQRTN ? inverseRoot : flag == XVO_FFT_NODIV_BY_ANY ? 1.0f : inverseN;
    rec->fwdScale = rec->fwdScaled ? rec->scale : 1.0f;
    rec->invScale = rec->invScaled ? rec->scale : 1.0f;
    rec->workSize = static_cast<Xvo32s>(z.work);
    rec->memBase = pSpecMemory;
    if (order >= kTinyOrders) buildTables(rec, order, z, pInitBuffer);
    rec->tag = XVO_FFT_TAG_REAL;
    *ppSpec = rec;
    return xvoStsOk;
}

XvoStatus xvoRealFFTInitAlloc(XvoRealFFTSpec_32f** ppSpec, int order, int flag, int hint) {
    if (ppSpec == nullptr) return xvoStsNullPtr;
    int specSize = 0, initSize = 0, workSize = 0;
    XVO_CHECK(xvoRealFFTGetSize(order, flag, hint, &specSize, &initSize, &workSize));
    auto* mem = static_cast<Xvo8u*>(xvoMalloc(specSize));
    if (mem == nullptr) return xvoStsMemAlloc;
    Xvo8u* init = nullptr;
    if (initSize > 0) {
        init = static_cast<Xvo8u*>(xvoMalloc(initSize));
        if (init == nullptr) {
            xvoFree(mem);
            return xvoStsMemAlloc;
        }
    }
    XvoRealFFTSpec_32f* rec = nullptr;
    const XvoStatus st = xvoRealFFTInit(&rec, order, flag, hint, mem, init);
    if (init != nullptr) xvoFree(init);
    if (st != xvoStsOk) {
        xvoFree(mem);
        return st;
    }
    rec->allocated = 1;
    *ppSpec = rec;
    return xvoStsOk;
}

XvoStatus xvoRealFFTFree(XvoRealFFTSpec_32f* pSpec) {
    if (pSpec == nullptr) return xvoStsNullPtr;
    if (pSpec->tag != XVO_FFT_TAG_REAL) return xvoStsContextMatch;
    pSpec->tag = 0;
    if (pSpec->allocated == 1) xvoFree(pSpec->memBase);
    return xvoStsOk;
}

XvoStatus xvoRealFFTGetBufSize(const XvoRealFFTSpec_32f* pSpec, int* pSize) {
    if (pSpec == nullptr || pSize == nullptr) return xvoStsNullPtr;
    if (pSpec->tag != XVO_FFT_TAG_REAL) return xvoStsContextMatch;
    *pSize = pSpec->workSize > 0 ? pSpec->workSize + 32 : 0;
    return xvoStsOk;
}

XvoStatus xvoRealFFTFwd_RToPack_32f(const Xvo32f* pSrc, Xvo32f* pDst, const XvoRealFFTSpec_32f* pSpec,
                                    Xvo8u* pBuffer) {
    return transform(pSrc, pDst, pSpec, pBuffer, true);
}

XvoStatus xvoRealFFTInv_PackToR_32f(const Xvo32f* pSrc, Xvo32f* pDst, const XvoRealFFTSpec_32f* pSpec,
                                    Xvo8u* pBuffer) {
    return transform(pSrc, pDst, pSpec, pBuffer, false);
}

// Scalar and SSE2 instantiations (SSE2 is part of x86-64).
OwnRealFFTKernels ownRealFFTKernelsScalar() { return {fftk::realFwd<fftk::VS>, fftk::realInv<fftk::VS>}; }
OwnRealFFTKernels ownRealFFTKernelsSSE2() { return {fftk::realFwd<fftk::VSse>, fftk::realInv<fftk::VSse>}; }

}  // namespace xvo
