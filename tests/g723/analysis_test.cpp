// G.723.1 LPC analysis: the transcribed tables against the formulas they come from; the
// autocorrelation against the windowed autocorrelation of tones computed in double precision
// (normalised lags and the reported scale); the LSP-frequency search against the roots of the
// bandwidth-expanded sum and difference polynomials found by a fine double-precision scan.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <functional>
#include <string>
#include <random>
#include <vector>

#include "g723/analysis_tables.h"
#include "xvosc.h"

using namespace xvo::g723;

namespace {

TEST(G723Analysis, TablesFollowTheirFormulas) {
    for (int i = 0; i < kCosSize; ++i) EXPECT_EQ(kCosine[i], std::lround(16384 * std::cos(2 * M_PI * i / kCosSize))) << i;
    for (int i = 0; i < kLpcFrame; ++i)
        EXPECT_EQ(kHamming[i], std::lround(32768 * (0.54 - 0.46 * std::cos(2 * M_PI * i / (kLpcFrame - 1))))) << i;
    for (int i = 0; i < kOrder; ++i) EXPECT_EQ(kBandExp[i], std::lround(32768 * std::pow(0.994, i + 1))) << i;
    int sum = 0;
    for (int16_t w : kBinomial) sum += w;
    EXPECT_EQ(sum, 320786);
    EXPECT_EQ(kBinomial[0], 32749);
    EXPECT_EQ(kBinomial[9], 30995);
}

TEST(G723Analysis, AutoCorrMatchesWindowedTones) {
    struct Case { double freq, amp; };
    for (const Case& c : {Case{300, 20000}, Case{1000, 3000}, Case{2500, 300}, Case{3700, 32000}, Case{150, 12}}) {
        std::vector<Xvo16s> x(180);
        for (int i = 0; i < 180; ++i) x[i] = Xvo16s(std::lround(c.amp * std::sin(2 * M_PI * c.freq / 8000 * i + 0.4)));
        Xvo16s acf[11], plain[11];
        Xvo32s norm = 0;
        ASSERT_EQ(xvosAutoCorr_NormE_G723_16s(x.data(), acf, &norm), xvoStsOk);
        ASSERT_EQ(xvosAutoCorr_G723_16s(x.data(), plain), xvoStsOk);
        EXPECT_TRUE(std::equal(acf, acf + 11, plain));
        std::vector<double> r(11, 0);
        for (int k = 0; k <= 10; ++k)
            for (int i = k; i < 180; ++i) r[k] += x[i] * kHamming[i] / 32768.0 * x[i - k] * kHamming[i - k] / 32768.0;
        // Energy: acf[0] 2^-norm 2^16 is the windowed energy raised by 1/1024.
        EXPECT_NEAR(acf[0] * std::ldexp(65536.0, -norm) / (r[0] * 1025 / 1024), 1.0, 0.01) << c.freq;
        for (int k = 1; k <= 10; ++k)
            EXPECT_NEAR(double(acf[k]) / acf[0], r[k] / (r[0] * 1025 / 1024) * kBinomial[k - 1] / 32768.0, 3e-3)
                << c.freq << " lag " << k;
    }
    Xvo16s silent[180] = {}, acf[11];
    Xvo32s norm = 0;
    ASSERT_EQ(xvosAutoCorr_NormE_G723_16s(silent, acf, &norm), xvoStsOk);
    EXPECT_EQ(norm, 40);
    EXPECT_TRUE(std::all_of(acf, acf + 11, [](Xvo16s v) { return v == 0; }));
}

/// Roots in (0, pi) of the expanded sum and difference polynomials, in units of pi / 32768.
std::vector<double> lsfRoots(const Xvo16s* lpcQ13) {
    double a[12] = {1};
    for (int i = 0; i < 10; ++i) a[i + 1] = -lpcQ13[i] / 8192.0 * kBandExp[i] / 32768.0;  // A(z) = 1 - sum a z^-i
    std::vector<double> roots;
    // P(z) = A(z) + z^-11 A(1/z), Q(z) = A(z) - z^-11 A(1/z), turned real by e^(j 5.5 w).
    auto p = [&](double w) { double s = 0; for (int k = 0; k <= 11; ++k) s += (a[k] + a[11 - k]) * std::cos((5.5 - k) * w); return s; };
    auto q = [&](double w) { double s = 0; for (int k = 0; k <= 11; ++k) s += (a[k] - a[11 - k]) * std::sin((5.5 - k) * w); return s; };
    for (auto f : {std::function<double(double)>(p), std::function<double(double)>(q)}) {
        const int n = 1 << 15;
        for (int i = 1; i < n; ++i) {
            const double w0 = M_PI * (i - 1) / n, w1 = M_PI * i / n;
            if ((f(w0) < 0) != (f(w1) < 0)) roots.push_back((w0 + w1) / 2 / M_PI * 32768);
        }
    }
    std::sort(roots.begin(), roots.end());
    return roots;
}

TEST(G723Analysis, LsfFrequenciesAreThePolynomialRoots) {
    // LPC sets of stable filters: from the autocorrelation of filtered noise (double Levinson).
    std::mt19937 g(4);
    std::normal_distribution<double> d(0, 1);
    Xvo16s prev[10];
    for (int i = 0; i < 10; ++i) prev[i] = Xvo16s(2978 * (i + 1));
    double worst = 0;
    for (int trial = 0; trial < 24; ++trial) {
        std::vector<double> x(2000);
        const double c1 = 1.8 * std::cos(0.2 + 0.11 * trial), c2 = 0.7 + 0.01 * trial;
        for (size_t n = 2; n < x.size(); ++n) x[n] = d(g) + c1 * x[n - 1] - c2 * x[n - 2];
        double r[11] = {}, a[11] = {1}, e;
        for (int k = 0; k <= 10; ++k)
            for (size_t n = k; n < x.size(); ++n) r[k] += x[n] * x[n - k];
        r[0] *= 1.0001;
        e = r[0];
        for (int i = 1; i <= 10; ++i) {
            double acc = r[i];
            for (int j = 1; j < i; ++j) acc -= a[j] * r[i - j];
            const double k = acc / e;
            double t[11];
            std::copy(a, a + 11, t);
            a[i] = k;
            for (int j = 1; j < i; ++j) a[j] = t[j] - k * t[i - j];
            e *= 1 - k * k;
        }
        Xvo16s lpc[10], lsf[10];
        for (int i = 0; i < 10; ++i) lpc[i] = Xvo16s(std::lround(std::clamp(a[i + 1] * 8192, -32768.0, 32767.0)));
        ASSERT_EQ(xvosLPCToLSF_G723_16s(lpc, prev, lsf), xvoStsOk);
        const auto want = lsfRoots(lpc);
        ASSERT_EQ(want.size(), 10u) << trial;
        for (int i = 0; i < 10; ++i) worst = std::max(worst, std::abs(lsf[i] - want[i]));
    }
    EXPECT_LT(worst, 12);  // interpolation on the 128-unit grid, in units of pi / 32768 (measured 7.8)

    // A filter with a root outside the unit circle has too few sign changes: previous kept.
    Xvo16s unstable[10] = {32767, 0, 0, 0, 0, 0, 0, 0, 0, 0}, lsf[10];
    ASSERT_EQ(xvosLPCToLSF_G723_16s(unstable, prev, lsf), xvoStsOk);
    EXPECT_TRUE(std::equal(lsf, lsf + 10, prev));
}

}  // namespace
