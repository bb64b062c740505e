// Correlation, convolution and lag-maximum functions against plain 64-bit
// sums written here, against the G.729 reference loops (basic operators)
// where a function reproduces one.
#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <random>
#include <vector>

#include "core/fixed.h"
#include "xvosc.h"

using namespace xvo::fx;

namespace {

std::vector<int16_t> noise(size_t n, int amp, uint32_t seed) {
    std::mt19937 rng(seed);
    std::vector<int16_t> v(n);
    for (auto& s : v) s = static_cast<int16_t>(std::uniform_int_distribution<int>(-amp - 1, amp)(rng));
    return v;
}

int64_t rnd(int64_t s, int sf) { return sf ? (s + (int64_t(1) << (sf - 1))) >> sf : s; }
int32_t clamp32(int64_t v) { return static_cast<int32_t>(std::clamp<int64_t>(v, MIN_32, MAX_32)); }

// Sizes that cross every block length, the dedicated lengths, and amplitudes
// from speech-like to saturating.
const int kLens[] = {1, 2, 7, 15, 16, 17, 40, 64, 80, 160, 161, 200};
const int kAmps[] = {300, 4000, 32767};

}  // namespace

TEST(GenericCorr, SumsEqualPlain64BitArithmetic) {
    for (int amp : kAmps)
        for (int len : kLens) {
            const auto x = noise(len + 80, amp, len), y = noise(len + 80, amp, len + 1);
            const int lenDst = std::min(len + 3, 80);
            std::vector<int32_t> got(lenDst), conv32(len), got32(len);
            std::vector<int16_t> got16(len);
            ASSERT_EQ(xvosAutoCorr_16s32s(x.data(), len, got.data(), lenDst), xvoStsOk);
            for (int k = 0; k < lenDst; ++k) {
                int64_t s = 0;
                for (int i = k; i < len; ++i) s += x[i] * x[i - k];
                ASSERT_EQ(got[k], clamp32(s)) << "autocorr len " << len << " lag " << k;
            }
            ASSERT_EQ(xvosConvPartial_16s32s(x.data(), y.data(), conv32.data(), len), xvoStsOk);
            for (int sf : {0, 1, 12, 15, 40}) {
                ASSERT_EQ(xvosConvPartial_16s_Sfs(x.data(), y.data(), got16.data(), len, sf), xvoStsOk);
                for (int n = 0; n < len; ++n) {
                    int64_t s = 0;
                    for (int i = 0; i <= n; ++i) s += x[i] * y[n - i];
                    ASSERT_EQ(conv32[n], clamp32(s)) << "conv len " << len << " n " << n;
                    ASSERT_EQ(got16[n], std::clamp<int64_t>(rnd(s, sf), -32768, 32767)) << "conv sf " << sf;
                }
                ASSERT_EQ(xvosCrossCorr_16s32s_Sfs(x.data(), y.data(), len, got32.data(), sf), xvoStsOk);
                for (int n = 0; n < len; ++n) {
                    int64_t s = 0;
                    for (int j = n; j < len; ++j) s += x[j - n] * y[j];
                    ASSERT_EQ(got32[n], clamp32(rnd(s, sf))) << "crosscorr len " << len << " n " << n;
                }
            }
        }
}

TEST(GenericCorr, SfsRoundsHalfUpAndSaturates) {
    const int16_t a[2] = {3, -3}, one[2] = {1, 0}, big[3] = {-32768, -32768, -32768};
    int16_t d[2];
    ASSERT_EQ(xvosConvPartial_16s_Sfs(a, one, d, 2, 1), xvoStsOk);  // 1.5 -> 2, -1.5 -> -1
    EXPECT_EQ(d[0], 2);
    EXPECT_EQ(d[1], -1);
    int16_t d3[3];
    ASSERT_EQ(xvosConvPartial_16s_Sfs(big, big, d3, 3, 0), xvoStsOk);
    EXPECT_EQ(d3[2], 32767);
    int32_t s = 0;
    int sf = -1;
    ASSERT_EQ(xvosDotProdAutoScale_16s32s_Sfs(a, a, 2, &s, &sf), xvoStsOk);
    EXPECT_EQ(s, 18);
    EXPECT_EQ(sf, 0);
    const std::vector<int16_t> mins(160, -32768);  // 160 * 2^30 = 5 * 2^35: needs 7 bits
    ASSERT_EQ(xvosDotProdAutoScale_16s32s_Sfs(mins.data(), mins.data(), 160, &s, &sf), xvoStsOk);
    EXPECT_EQ(sf, 7);
    EXPECT_EQ(s, 5 << 28);
}

// The G.729 LPC analysis autocorrelation (sum from 1 with L_mac, norm_l, L_shl)
// wherever its energy guard lets it run.
TEST(GenericCorr, NormEEqualsReferenceAutocorrelation) {
    for (int amp : {100, 2000, 2900})
        for (int len : {1, 40, 160, 240}) {
            const auto x = noise(len, amp, amp + len);
            std::vector<int32_t> got(11);
            int norm = -1;
            ASSERT_EQ(xvosAutoCorr_NormE_16s32s(x.data(), len, got.data(), 11, &norm), xvoStsOk) << amp << " " << len;
            int32_t sum = 1;
            for (int i = 0; i < len; ++i) sum = L_mac(sum, x[i], x[i]);
            const int n = norm_l(sum);
            EXPECT_EQ(norm, n);
            EXPECT_EQ(got[0], L_shl(sum, n));
            for (int k = 1; k < 11; ++k) {
                int32_t s = 0;
                for (int i = 0; i < len - k; ++i) s = L_mac(s, x[i], x[i + k]);
                EXPECT_EQ(got[k], L_shl(s, n)) << "lag " << k;
            }
        }
}

TEST(GenericCorr, NormEGuardAndZeroBlock) {
    const int16_t one[1] = {-32768};  // energy exactly 0x40000000
    int32_t dst[3] = {7, 7, 7};
    int norm = 99;
    EXPECT_EQ(xvosAutoCorr_NormE_16s32s(one, 1, dst, 3, &norm), xvoStsOverflow);
    EXPECT_EQ(dst[0], 7);
    EXPECT_EQ(norm, 99);
    const int16_t zeros[8] = {};
    EXPECT_EQ(xvosAutoCorr_NormE_16s32s(zeros, 8, dst, 3, &norm), xvoStsOk);
    EXPECT_EQ(dst[0], 0x40000000);
    EXPECT_EQ(norm, 30);
    EXPECT_EQ(dst[2], 0);
}

// G.729 Cor_h_X: L_mac sums, largest magnitude, shift 18 - min(norm_l, 16).
TEST(GenericCorr, NormMEqualsReferenceBackwardFiltering) {
    for (int amp : {0, 50, 4096, 20000})
        for (int len : {40, 60, 100}) {
            const auto h = noise(len, amp, 3 + len), x = noise(len, 3000, amp);
            std::vector<int16_t> got(len);
            ASSERT_EQ(xvosCrossCorr_NormM_16s(h.data(), x.data(), len, got.data()), xvoStsOk);
            std::vector<int32_t> y(len);
            int32_t mx = 0;
            for (int i = 0; i < len; ++i) {
                int32_t s = 0;
                for (int j = i; j < len; ++j) s = L_mac(s, x[j], h[j - i]);
                y[i] = s;
                if (L_abs(s) > mx) mx = L_abs(s);
            }
            const int j = 18 - std::min<int>(norm_l(mx), 16);
            for (int i = 0; i < len; ++i) ASSERT_EQ(got[i], extract_l(L_shr(y[i], j))) << amp << " " << len << " " << i;
        }
}

TEST(GenericCorr, LagMaximaFollowTheDownwardScan) {
    // Brute force with the documented rule: largest value, smallest lag among equals.
    auto best = [](const std::function<int64_t(int)>& c, int lo, int hi, int32_t start, int startLag) {
        std::pair<int32_t, int> b{start, startLag};
        for (int k = hi; k >= lo; --k)
            if (clamp32(c(k)) >= b.first) b = {clamp32(c(k)), k};
        return b;
    };
    for (int amp : {1, 3000, 32767})
        for (int len : {1, 16, 40, 80}) {
            const auto x = noise(len + 300, amp, amp ^ len), y = noise(len + 300, amp, len);
            const int16_t* cur = x.data() + 150;  // 150 samples of past, 150 of future
            int32_t m;
            int lag;
            for (int lagMax : {0, 5, 143}) {
                ASSERT_EQ(xvosCrossCorrLagMax_16s(x.data(), y.data(), len, lagMax, &m, &lag), xvoStsOk);
                auto c = [&](int k) { int64_t s = 0; for (int i = 0; i < len; ++i) s += x[i] * y[i + k]; return s; };
                EXPECT_EQ(std::make_pair(m, lag), best(c, 0, lagMax, 0, lagMax)) << len << " " << lagMax;
            }
            for (auto [lo, hi] : {std::pair{20, 143}, {0, 0}, {-5, 40}, {9, 8}}) {
                auto fwd = [&](int k) { int64_t s = 0; for (int i = 0; i < len; ++i) s += cur[i] * cur[i + k]; return s; };
                auto inv = [&](int k) { int64_t s = 0; for (int i = 0; i < len; ++i) s += cur[i] * cur[i - k]; return s; };
                ASSERT_EQ(xvosAutoCorrLagMax_Fwd_16s(cur, len, lo, hi, &m, &lag), xvoStsOk);
                EXPECT_EQ(std::make_pair(m, lag), best(fwd, lo, hi, MIN_32, hi)) << "fwd " << len << " " << lo;
                ASSERT_EQ(xvosAutoCorrLagMax_Inv_16s(cur, len, lo, hi, &m, &lag), xvoStsOk);
                EXPECT_EQ(std::make_pair(m, lag), best(inv, lo, hi, MIN_32, hi)) << "inv " << len << " " << lo;
            }
        }
    // Ties and signs, by hand: a periodic signal correlates equally at 2, 4 and 6.
    const int16_t p[16] = {1, -1, 1, -1, 1, -1, 1, -1, 1, -1, 1, -1, 1, -1, 1, -1};
    int32_t m;
    int lag;
    ASSERT_EQ(xvosCrossCorrLagMax_16s(p, p, 8, 6, &m, &lag), xvoStsOk);
    EXPECT_EQ(m, 8);
    EXPECT_EQ(lag, 0);
    ASSERT_EQ(xvosCrossCorrLagMax_16s(p, p + 1, 8, 0, &m, &lag), xvoStsOk);  // only negative: start values
    EXPECT_EQ(m, 0);
    EXPECT_EQ(lag, 0);
    ASSERT_EQ(xvosAutoCorrLagMax_Fwd_16s(p, 8, 1, 7, &m, &lag), xvoStsOk);
    EXPECT_EQ(m, 8);
    EXPECT_EQ(lag, 2);
}

TEST(GenericCorr, FloatLagMaxima) {
    const float x[12] = {0, 1, 0, -1, 0, 1, 0, -1, 0, 1, 0, -1};
    double m = -1;
    int lag = -1;
    ASSERT_EQ(xvosCrossCorrLagMax_32f64f(x, x, 4, 8, &m, &lag), xvoStsOk);
    EXPECT_EQ(m, 2.0);
    EXPECT_EQ(lag, 0);  // 0, 4 and 8 tie
    ASSERT_EQ(xvosCrossCorrLagMax_32f64f(x, x + 1, 4, 0, &m, &lag), xvoStsOk);
    EXPECT_EQ(m, 0.0);
    EXPECT_EQ(lag, 0);
    float fm = 0;
    ASSERT_EQ(xvosAutoCorrLagMax_32f(x + 8, 4, 1, 8, &fm, &lag), xvoStsOk);  // past: x[0..7]
    EXPECT_EQ(fm, 2.0f);
    EXPECT_EQ(lag, 4);
    ASSERT_EQ(xvosAutoCorrLagMax_32f(x + 8, 4, 3, 2, &fm, &lag), xvoStsOk);
    EXPECT_EQ(lag, 2);
    EXPECT_TRUE(fm < -3.0e38f);
}

// The one deliberate deviation from the common check order (the registry in
// tests/contract sweeps every other check of every function).
TEST(GenericCorr, ConvPartialSfsChecksScaleFactorBeforeLength) {
    int16_t s[2] = {1, 2}, d[2] = {9, 9};
    EXPECT_EQ(xvosConvPartial_16s_Sfs(nullptr, s, d, 0, -1), xvoStsNullPtr);
    EXPECT_EQ(xvosConvPartial_16s_Sfs(s, s, d, 0, -1), xvoStsBadArg);
    EXPECT_EQ(xvosConvPartial_16s_Sfs(s, s, d, 0, 0), xvoStsSize);
    EXPECT_EQ(d[0], 9);
}
