// The internal real FFT against a double-precision reference transform, its
// record sizes and statuses, the SIMD twins against the scalar kernels, and
// the vector kernels beside it.
#include <gtest/gtest.h>
#include <xmmintrin.h>

#include <cfenv>
#include <cmath>
#include <complex>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <random>
#include <vector>

#include "core/cpu.h"
#include "vqe/fft.h"
#include "vqe/fft_kernels.h"
#include "xvocore.h"

using namespace xvo;

namespace {

using cd = std::complex<double>;

// Reference: iterative radix-2 complex FFT in double precision (sign -1
// forward, +1 inverse, unnormalised). Checked against the O(N^2) DFT below.
void refFft(std::vector<cd>& a, int sign) {
    const size_t n = a.size();
    for (size_t i = 1, j = 0; i < n; ++i) {
        size_t bit = n >> 1;
        for (; j & bit; bit >>= 1) j ^= bit;
        j ^= bit;
        if (i < j) std::swap(a[i], a[j]);
    }
    std::vector<cd> tw(n / 2);
    for (size_t k = 0; k < n / 2; ++k)
        tw[k] = std::polar(1.0, sign * 2.0 * M_PI * static_cast<double>(k) / static_cast<double>(n));
    for (size_t len = 2; len <= n; len <<= 1) {
        for (size_t i = 0; i < n; i += len)
            for (size_t k = 0; k < len / 2; ++k) {
                const cd u = a[i + k], v = a[i + k + len / 2] * tw[k * (n / len)];
                a[i + k] = u + v;
                a[i + k + len / 2] = u - v;
            }
    }
}

// Pack-format spectrum of x (double), times scale.
std::vector<double> refForward(const std::vector<float>& x, double scale) {
    const size_t n = x.size();
    std::vector<cd> a(x.begin(), x.end());
    refFft(a, -1);
    std::vector<double> p(n);
    p[0] = a[0].real() * scale;
    for (size_t k = 1; k < n / 2; ++k) {
        p[2 * k - 1] = a[k].real() * scale;
        p[2 * k] = a[k].imag() * scale;
    }
    if (n > 1) p[n - 1] = a[n / 2].real() * scale;
    return p;
}

// Real signal from a Pack-format spectrum (Hermitian completion), times scale.
std::vector<double> refInverse(const std::vector<float>& p, double scale) {
    const size_t n = p.size();
    std::vector<cd> a(n);
    a[0] = p[0];
    for (size_t k = 1; k < n / 2; ++k) {
        a[k] = cd(p[2 * k - 1], p[2 * k]);
        a[n - k] = std::conj(a[k]);
    }
    if (n > 1) a[n / 2] = p[n - 1];
    refFft(a, +1);
    std::vector<double> x(n);
    for (size_t i = 0; i < n; ++i) x[i] = a[i].real() * scale;
    return x;
}

std::vector<float> randomSignal(size_t n, unsigned seed) {
    std::mt19937 g(seed);
    std::uniform_real_distribution<float> d(-1.0f, 1.0f);
    std::vector<float> v(n);
    for (auto& e : v) e = d(g);
    return v;
}

double relError(const std::vector<float>& got, const std::vector<double>& want) {
    double e = 0.0, r = 0.0;
    for (size_t i = 0; i < want.size(); ++i) {
        e += (got[i] - want[i]) * (got[i] - want[i]);
        r += want[i] * want[i];
    }
    return std::sqrt(e / r);
}

// Caller memory whose usable part starts 1 byte past a 32-byte boundary (the
// worst case for the rounding up inside) and ends where the allocation ends,
// so the sanitizer build catches any use beyond the reported sizes.
struct Block {
    Xvo8u* raw = nullptr;
    Xvo8u* p = nullptr;
    explicit Block(int size) {
        void* r = nullptr;
        if (size > 0 && posix_memalign(&r, 32, static_cast<size_t>(size) + 1) == 0) {
            raw = static_cast<Xvo8u*>(r);
            p = raw + 1;
        }
    }
    Block(const Block&) = delete;
    Block& operator=(const Block&) = delete;
    ~Block() { std::free(raw); }
};

// A record in caller memory with a work buffer of xvoRealFFTGetBufSize bytes.
struct Fft {
    XvoRealFFTSpec_32f* rec = nullptr;
    std::unique_ptr<Block> mem, init, work;
    XvoStatus st;
    Fft(int order, int flag) {
        int s = 0, i = 0, w = 0, b = 0;
        st = xvoRealFFTGetSize(order, flag, 0, &s, &i, &w);
        if (st != xvoStsOk) return;
        mem = std::make_unique<Block>(s);
        init = std::make_unique<Block>(i);
        st = xvoRealFFTInit(&rec, order, flag, 0, mem->p, init->p);
        if (st == xvoStsOk) st = xvoRealFFTGetBufSize(rec, &b);
        work = std::make_unique<Block>(b);
    }
    Xvo8u* buf() { return work->p; }
};

double scaleOf(int flag, bool forward, double n) {
    switch (flag) {
        case 1: return forward ? 1.0 / n : 1.0;
        case 2: return forward ? 1.0 : 1.0 / n;
        case 4: return 1.0 / std::sqrt(n);
        default: return 1.0;
    }
}

// Relative RMS error bound of the float transform: 1e-7 + 1e-8 * log2 N
// (measured: at most 1.7e-7, at order 20).
double bound(int order) { return 1e-7 + 1e-8 * order; }

}  // namespace

TEST(RealFFT, ReferenceMatchesDirectDft) {
    const int n = 64;
    const auto x = randomSignal(n, 1);
    const auto p = refForward(x, 1.0);
    for (int k = 0; k <= n / 2; ++k) {
        cd s = 0;
        for (int i = 0; i < n; ++i) s += double(x[i]) * std::polar(1.0, -2.0 * M_PI * k * i / n);
        EXPECT_NEAR(k == 0 ? p[0] : k == n / 2 ? p[n - 1] : p[2 * k - 1], s.real(), 1e-12);
        if (k > 0 && k < n / 2) {
            EXPECT_NEAR(p[2 * k], s.imag(), 1e-12);
        }
    }
}

std::vector<double> scaled(std::vector<double> v, double s) {
    for (auto& e : v) e *= s;
    return v;
}

// Every order 0..20 and every flag, both directions, out of place, in place
// and with a library-allocated work area. The inverse of every flag reads
// the same spectrum, so each order needs two reference transforms.
TEST(RealFFT, MatchesDoublePrecisionForEveryOrderAndFlag) {
    for (int order = 0; order <= 20; ++order) {
        const size_t n = size_t{1} << order;
        const auto x = randomSignal(n, 100 + order);
        const auto wantFwd = refForward(x, 1.0);
        const std::vector<float> spectrum(wantFwd.begin(), wantFwd.end());
        const auto wantInv = refInverse(spectrum, 1.0);
        for (int flag : {1, 2, 4, 8}) {
            Fft f(order, flag);
            ASSERT_EQ(f.st, xvoStsOk) << order;
            std::vector<float> y(n), z(n);
            ASSERT_EQ(xvoRealFFTFwd_RToPack_32f(x.data(), y.data(), f.rec, f.buf()), xvoStsOk);
            const double ef = relError(y, scaled(wantFwd, scaleOf(flag, true, double(n))));
            EXPECT_LT(ef, bound(order)) << "forward order " << order << " flag " << flag << " err " << ef;
            ASSERT_EQ(xvoRealFFTInv_PackToR_32f(spectrum.data(), z.data(), f.rec, f.buf()), xvoStsOk);
            const double ei = relError(z, scaled(wantInv, scaleOf(flag, false, double(n))));
            EXPECT_LT(ei, bound(order)) << "inverse order " << order << " flag " << flag << " err " << ei;
            if (order > 16 && flag != 8) continue;
            // In place and with a temporary work area: bit-identical.
            std::vector<float> ip = x;
            ASSERT_EQ(xvoRealFFTFwd_RToPack_32f(ip.data(), ip.data(), f.rec, nullptr), xvoStsOk);
            EXPECT_EQ(std::memcmp(ip.data(), y.data(), n * 4), 0) << order;
            ip = spectrum;
            ASSERT_EQ(xvoRealFFTInv_PackToR_32f(ip.data(), ip.data(), f.rec, nullptr), xvoStsOk);
            EXPECT_EQ(std::memcmp(ip.data(), z.data(), n * 4), 0) << order;
        }
    }
}

TEST(RealFFT, RoundTripRestoresTheSignal) {
    // Order 22 runs the large-order path beyond the reference comparison.
    for (int order : {0, 1, 3, 5, 6, 7, 9, 12, 22}) {
        const size_t n = size_t{1} << order;
        const auto x = randomSignal(n, order);
        for (int flag : {1, 2, 4, 8}) {
            if (order > 20 && flag != 1) continue;
            Fft f(order, flag);
            std::vector<float> y(n);
            xvoRealFFTFwd_RToPack_32f(x.data(), y.data(), f.rec, f.buf());
            xvoRealFFTInv_PackToR_32f(y.data(), y.data(), f.rec, f.buf());
            const double back = flag == 8 ? double(n) : 1.0;
            for (size_t i = 0; i < n; ++i) ASSERT_NEAR(y[i], x[i] * back, 1e-5 * back) << order << " " << flag;
        }
    }
}

TEST(RealFFT, PackLayoutOfSmallOrders) {
    struct Case {
        std::vector<float> x, pack;
    };
    const Case cases[] = {
        {{3}, {3}},
        {{1, 2}, {3, -1}},
        {{1, 2, 3, 4}, {10, -2, 2, -2}},
        {{0, 1, 0, 0, 0, 0, 0, 0},
         {1, float(M_SQRT1_2), -float(M_SQRT1_2), 0, -1, -float(M_SQRT1_2), -float(M_SQRT1_2), -1}},
    };
    for (const auto& c : cases) {
        int order = 0;
        while ((size_t{1} << order) < c.x.size()) ++order;
        Fft f(order, 8);
        std::vector<float> y(c.x.size());
        ASSERT_EQ(xvoRealFFTFwd_RToPack_32f(c.x.data(), y.data(), f.rec, nullptr), xvoStsOk);
        for (size_t i = 0; i < y.size(); ++i) EXPECT_NEAR(y[i], c.pack[i], 1e-6) << order << " @" << i;
    }
    // A 128-point cosine at bin 5 puts N/2 into element 2*5-1 only.
    Fft f(7, 8);
    std::vector<float> x(128), y(128);
    for (int i = 0; i < 128; ++i) x[i] = float(std::cos(2 * M_PI * 5 * i / 128));
    xvoRealFFTFwd_RToPack_32f(x.data(), y.data(), f.rec, f.buf());
    for (int i = 0; i < 128; ++i) EXPECT_NEAR(y[i], i == 9 ? 64.0f : 0.0f, 2e-5) << i;
}

// Sizes at the orders the suppressor and the small transforms use.
TEST(RealFFT, SizesAtSpotOrders) {
    int s, i, w, b;
    ASSERT_EQ(xvoRealFFTGetSize(7, 1, 0, &s, &i, &w), xvoStsOk);
    EXPECT_EQ(s, 1344);
    EXPECT_EQ(i, 0);
    EXPECT_EQ(w, 544);
    Fft f(7, 1);
    ASSERT_EQ(xvoRealFFTGetBufSize(f.rec, &b), xvoStsOk);
    EXPECT_EQ(b, 576);
    Fft g(4, 1);
    ASSERT_EQ(xvoRealFFTGetBufSize(g.rec, &b), xvoStsOk);
    EXPECT_EQ(b, 0);
}

TEST(RealFFT, StatusesInOrder) {
    int s, i, w;
    EXPECT_EQ(xvoRealFFTGetSize(-1, 3, 0, nullptr, &i, &w), xvoStsFftOrder);
    EXPECT_EQ(xvoRealFFTGetSize(28, 1, 0, &s, &i, &w), xvoStsFftOrder);
    EXPECT_EQ(xvoRealFFTGetSize(31, 1, 0, &s, &i, &w), xvoStsFftOrder);
    EXPECT_EQ(xvoRealFFTGetSize(5, 3, 0, &s, nullptr, &w), xvoStsNullPtr);
    EXPECT_EQ(xvoRealFFTGetSize(5, 3, 0, &s, &i, &w), xvoStsFftFlag);
    EXPECT_EQ(xvoRealFFTGetSize(5, 0, 0, &s, &i, &w), xvoStsFftFlag);

    std::vector<Xvo8u> mem(4096, 0xAB);
    XvoRealFFTSpec_32f* rec = nullptr;
    EXPECT_EQ(xvoRealFFTInit(nullptr, 99, 3, 0, nullptr, nullptr), xvoStsNullPtr);
    EXPECT_EQ(xvoRealFFTInit(&rec, 99, 3, 0, nullptr, nullptr), xvoStsFftOrder);
    EXPECT_EQ(xvoRealFFTInit(&rec, 5, 3, 0, nullptr, nullptr), xvoStsNullPtr);
    EXPECT_EQ(xvoRealFFTInit(&rec, 11, 2, 0, mem.data(), nullptr), xvoStsNullPtr);
    EXPECT_EQ(rec, nullptr);
    // A bad flag leaves the tag 0: the memory is then no record.
    ASSERT_EQ(xvoRealFFTInit(&rec, 5, 4, 0, mem.data(), nullptr), xvoStsOk);
    EXPECT_EQ(xvoRealFFTInit(&rec, 5, 3, 0, mem.data(), nullptr), xvoStsFftFlag);
    float x[32] = {}, y[32];
    EXPECT_EQ(xvoRealFFTFwd_RToPack_32f(x, y, rec, nullptr), xvoStsContextMatch);
    EXPECT_EQ(xvoRealFFTInv_PackToR_32f(x, y, rec, nullptr), xvoStsContextMatch);
    EXPECT_EQ(xvoRealFFTGetBufSize(rec, &s), xvoStsContextMatch);
    EXPECT_EQ(xvoRealFFTFree(rec), xvoStsContextMatch);

    Fft f(5, 1);
    // Tag before the data pointers, the record pointer before the tag.
    EXPECT_EQ(xvoRealFFTFwd_RToPack_32f(nullptr, y, nullptr, nullptr), xvoStsNullPtr);
    EXPECT_EQ(xvoRealFFTFwd_RToPack_32f(nullptr, y, rec, nullptr), xvoStsContextMatch);
    EXPECT_EQ(xvoRealFFTFwd_RToPack_32f(nullptr, y, f.rec, nullptr), xvoStsNullPtr);
    EXPECT_EQ(xvoRealFFTInv_PackToR_32f(x, nullptr, f.rec, nullptr), xvoStsNullPtr);
    EXPECT_EQ(xvoRealFFTGetBufSize(f.rec, nullptr), xvoStsNullPtr);
    EXPECT_EQ(xvoRealFFTGetBufSize(nullptr, &s), xvoStsNullPtr);
    EXPECT_EQ(xvoRealFFTFree(nullptr), xvoStsNullPtr);
    // Free invalidates a caller-owned record without releasing it.
    EXPECT_EQ(xvoRealFFTFree(f.rec), xvoStsOk);
    EXPECT_EQ(xvoRealFFTFwd_RToPack_32f(x, y, f.rec, nullptr), xvoStsContextMatch);
    EXPECT_EQ(xvoRealFFTInitAlloc(nullptr, 5, 1, 0), xvoStsNullPtr);
    EXPECT_EQ(xvoRealFFTInitAlloc(&rec, 40, 1, 0), xvoStsFftOrder);
    EXPECT_EQ(xvoRealFFTInitAlloc(&rec, 5, 9, 0), xvoStsFftFlag);
}

TEST(RealFFT, InitAllocMatchesCallerMemory) {
    for (int order : {3, 6, 7, 11, 13}) {
        XvoRealFFTSpec_32f* rec = nullptr;
        ASSERT_EQ(xvoRealFFTInitAlloc(&rec, order, 4, 0), xvoStsOk);
        EXPECT_EQ(rec->allocated, 1);
        Fft f(order, 4);
        const size_t n = size_t{1} << order;
        const auto x = randomSignal(n, 9);
        std::vector<float> a(n), b(n);
        xvoRealFFTFwd_RToPack_32f(x.data(), a.data(), rec, nullptr);
        xvoRealFFTFwd_RToPack_32f(x.data(), b.data(), f.rec, f.buf());
        EXPECT_EQ(a, b);
        EXPECT_EQ(xvoRealFFTFree(rec), xvoStsOk);
    }
}

// Every SIMD twin the machine runs gives the scalar kernels' bits.
TEST(RealFFT, SimdTwinsAreBitIdenticalToScalar) {
    std::vector<OwnRealFFTKernels> twins;
    if (ownCpuSupports(OwnCpuLevel::SSE2)) twins.push_back(ownRealFFTKernelsSSE2());
    if (ownCpuSupports(OwnCpuLevel::AVX2)) twins.push_back(ownRealFFTKernelsAVX2());
    const OwnRealFFTKernels ref = ownRealFFTKernelsScalar();
    for (int order = 5; order <= 16; ++order) {
        const size_t n = size_t{1} << order;
        Fft f(order, order % 2 ? 4 : 1);
        std::vector<float> work(n + 16);
        for (int kind = 0; kind < 2; ++kind) {
            auto x = randomSignal(n, order);
            if (kind == 1)  // extremes: huge (no overflow), subnormal and signed zeros
                for (size_t i = 0; i < n; ++i) x[i] = (i % 3 == 0) ? 1e30f : (i % 3 == 1) ? -1e-38f : -0.0f;
            std::vector<float> want(n), wantInv(n);
            ref.fwd(f.rec, x.data(), want.data(), work.data());
            ref.inv(f.rec, x.data(), wantInv.data(), work.data());
            for (const auto& t : twins) {
                std::vector<float> got(n), gotInv(n);
                t.fwd(f.rec, x.data(), got.data(), work.data());
                t.inv(f.rec, x.data(), gotInv.data(), work.data());
                EXPECT_EQ(std::memcmp(got.data(), want.data(), n * 4), 0) << order << " kind " << kind;
                EXPECT_EQ(std::memcmp(gotInv.data(), wantInv.data(), n * 4), 0) << order;
            }
        }
    }
}

TEST(MulPackConj, PairsAndRealEnds) {
    const float a[6] = {2, 1, 2, 3, -1, 5};
    float even[6] = {3, 4, 5, 1, 1, 7};  // len 6: pairs (1,2), (3,4), Nyquist 5
    ASSERT_EQ(xvoMulPackConj_32f(a, even, 6), xvoStsOk);
    const float wantEven[6] = {6, 1 * 4 + 2 * 5, 2 * 4 - 1 * 5, 3 * 1 + -1 * 1, -1 * 1 - 3 * 1, 35};
    for (int i = 0; i < 6; ++i) EXPECT_EQ(even[i], wantEven[i]) << i;
    float odd[5] = {3, 4, 5, 1, 1};  // len 5: pairs (1,2), (3,4)
    ASSERT_EQ(xvoMulPackConj_32f(a, odd, 5), xvoStsOk);
    const float wantOdd[5] = {6, 14, 3, 2, -4};
    for (int i = 0; i < 5; ++i) EXPECT_EQ(odd[i], wantOdd[i]) << i;
    EXPECT_EQ(xvoMulPackConj_32f(nullptr, odd, 5), xvoStsNullPtr);
    EXPECT_EQ(xvoMulPackConj_32f(a, odd, 0), xvoStsOk);
}

TEST(DivCRev, SerialAndParallelResultsAndWarnings) {
    for (int len : {1, 3, 65, 2047, 2048, 5001}) {
        std::vector<double> src(len), dst(len, 7.0);
        for (int i = 0; i < len; ++i) src[i] = 0.25 + i;
        ASSERT_EQ(xvoDivCRev_64f(src.data() + 0, dst.data(), len, 3.0), xvoStsOk);
        for (int i = 0; i < len; ++i) ASSERT_EQ(dst[i], 3.0 / src[i]) << len;
        // Numerator 0 is taken as 1.
        ASSERT_EQ(xvoDivCRev_64f(src.data(), dst.data(), len, 0.0), xvoStsOk);
        for (int i = 0; i < len; ++i) ASSERT_EQ(dst[i], 1.0 / src[i]);
        // A zero divisor in the last element: +4 serial, +6 on two threads.
        src[len - 1] = 0.0;
        const bool parallel = len >= 2048 && ownGetNumThreads() >= 2;
        EXPECT_EQ(xvoDivCRev_64f_I(src.data(), len, 2.0), parallel ? xvoStsDivByZeroMT : xvoStsDivByZero) << len;
        EXPECT_TRUE(std::isinf(src[len - 1]));
    }
}

TEST(DivCRev, ChecksAndMaskedExceptions) {
    double a[4] = {1, 2, 0, 4}, b[4] = {9, 9, 9, 9};
    EXPECT_EQ(xvoDivCRev_64f(nullptr, b, 0, -1.0), xvoStsNullPtr);
    EXPECT_EQ(xvoDivCRev_64f(a, b, 0, -1.0), xvoStsSize);
    EXPECT_EQ(xvoDivCRev_64f(a, b, 4, -1.0), xvoStsNegNumerator);
    EXPECT_EQ(xvoDivCRev_64f_I(nullptr, 4, 1.0), xvoStsNullPtr);
    EXPECT_EQ(b[0], 9.0);
    // A caller that traps division by zero is not trapped, and its MXCSR
    // (flags included) comes back as it was.
    std::feclearexcept(FE_ALL_EXCEPT);
    const unsigned int before = _mm_getcsr();
    _mm_setcsr(before & ~_MM_MASK_DIV_ZERO);
    const unsigned int trapping = _mm_getcsr();
    const XvoStatus st = xvoDivCRev_64f(a, b, 4, 1.0);
    const unsigned int after = _mm_getcsr();
    _mm_setcsr(before);
    EXPECT_EQ(st, xvoStsDivByZero);
    EXPECT_EQ(after, trapping);
    EXPECT_TRUE(std::isinf(b[2]));
}

TEST(Copy64f, CopiesAndChecks) {
    const double a[3] = {1, -2, 3.5};
    double b[3] = {};
    EXPECT_EQ(xvoCopy_64f(a, b, 3), xvoStsOk);
    EXPECT_EQ(std::memcmp(a, b, sizeof a), 0);
    EXPECT_EQ(xvoCopy_64f(a, nullptr, 3), xvoStsNullPtr);
    EXPECT_EQ(xvoCopy_64f(a, b, 0), xvoStsSize);
}

TEST(Alloc, WrappersRejectEmptyAndOversizedRequests) {
    EXPECT_EQ(xvoAllocBytes(0), nullptr);
    EXPECT_EQ(xvoAlloc_32f(-3), nullptr);
    EXPECT_EQ(xvoAlloc_32f(0x40000000), nullptr);
    void* p = xvoAllocBytes(100);
    Xvo32f* q = xvoAlloc_32f(100);
    ASSERT_NE(p, nullptr);
    ASSERT_NE(q, nullptr);
    EXPECT_EQ(reinterpret_cast<uintptr_t>(q) % 32, 0u);
    q[99] = 1.0f;
    xvoFreeMem(p);
    xvoFreeMem(q);
}
