// AMR-WB+ rate converters, low-band post-filter and mid-band FIR, by properties the code does not
// restate: a stream cut into calls anywhere gives the same samples as one call; tones keep their
// gain through the converters and land in the right band; a gainless post-filter is a pure delay
// and a strictly periodic signal passes it untouched while noise between harmonics is reduced;
// the FIR equals a wide-arithmetic model.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <random>
#include <string>
#include <tuple>
#include <vector>

#include "xvosc.h"

namespace {

using V = std::vector<int16_t>;

V tone(int n, double freq, double rate, double amp, double phase = 0.3) {
    V x(n);
    for (int i = 0; i < n; ++i) x[i] = int16_t(std::lround(amp * std::sin(2 * M_PI * freq / rate * i + phase)));
    return x;
}

V speechLike(int n, uint32_t seed) {  // low-passed noise with a slow envelope
    std::mt19937 g(seed);
    std::normal_distribution<double> d(0, 3000);
    V x(n);
    double y = 0;
    for (int i = 0; i < n; ++i) {
        y = 0.9 * y + d(g);
        x[i] = int16_t(std::clamp(y * (0.6 + 0.4 * std::sin(i * 0.001)), -32768.0, 32767.0));
    }
    return x;
}

/// Least-squares amplitude of a tone at freq/rate in x[from..], and the residual level in dB below it.
std::pair<double, double> fitTone(const V& x, size_t from, double freq, double rate) {
    double m[5] = {};  // cc, ss, cs, xc, xs
    auto cs = [&](size_t i) { const double w = 2 * M_PI * freq / rate * i; return std::pair{std::cos(w), std::sin(w)}; };
    for (size_t i = from; i < x.size(); ++i) {
        const auto [c, s] = cs(i);
        m[0] += c * c, m[1] += s * s, m[2] += c * s, m[3] += x[i] * c, m[4] += x[i] * s;
    }
    const double det = m[0] * m[1] - m[2] * m[2], a = (m[3] * m[1] - m[4] * m[2]) / det, b = (m[4] * m[0] - m[3] * m[2]) / det;
    double res = 0, sig = 0;
    for (size_t i = from; i < x.size(); ++i) {
        const auto [c, s] = cs(i);
        res += (x[i] - a * c - b * s) * (x[i] - a * c - b * s), sig += (a * c + b * s) * (a * c + b * s);
    }
    return {std::hypot(a, b), 10 * std::log10(sig / std::max(res, 1e-9))};
}

/// Runs the polyphase converter over x in calls of the given sizes (cycled); returns the output.
V resample(const V& x, int direction, int factor, std::vector<int> sizes, int outTotal = 0) {
    V mem(144, 0), out;
    int16_t frac = 0;
    size_t in = 0;
    for (size_t k = 0;; ++k) {
        const int n = sizes[k % sizes.size()];
        V y(7680);
        int32_t count = 0;
        if (direction == 0) {
            if (in + n > x.size()) break;
            EXPECT_EQ(xvosResamplePolyphase_AMRWBE_16s(x.data() + in, y.data(), n, 0, int16_t(factor), mem.data(), &frac,
                                                       &count), xvoStsOk);
            in += n;
            out.insert(out.end(), y.begin(), y.begin() + count);
        } else {
            if (int(out.size()) + n > outTotal) break;
            EXPECT_EQ(xvosResamplePolyphase_AMRWBE_16s(x.data() + in, y.data(), n, 1, int16_t(factor), mem.data(), &frac,
                                                       &count), xvoStsOk);
            in += count;
            out.insert(out.end(), y.begin(), y.begin() + n);
        }
    }
    return out;
}

TEST(AmrwbeResample, CallBoundariesDoNotMatter) {
    const V x = speechLike(24000, 5);
    for (int direction : {0, 1})
        for (int factor : {2, 3, 4, 6, 8, 11}) {
            SCOPED_TRACE(testing::Message() << "direction " << direction << " factor " << factor);
            const V whole = resample(x, direction, factor, {7200}, 7200 * 3);
            // Decimating, the phase carries over exactly when len * factor is a multiple of 12 (as
            // with the codec's frames); interpolating, any cut.
            const V cut = resample(x, direction, factor, direction ? std::vector<int>{1, 333, 960, 17, 2400}
                                                                   : std::vector<int>{12, 336, 960, 24, 2400},
                                   int(whole.size()));
            const size_t n = std::min(cut.size(), whole.size());
            ASSERT_GE(n, whole.size() * 9 / 10);
            EXPECT_TRUE(std::equal(cut.begin(), cut.begin() + n, whole.begin()));
        }
}

TEST(AmrwbeResample, TonesKeepTheirGainDownAndUp) {
    // 1 kHz at 48 kHz: down to 16 kHz (factor 4) and 24 kHz (6), and back up from 16 kHz.
    const V x = tone(19200, 1000, 48000, 8000);
    for (int factor : {4, 6}) {
        const V y = resample(x, 0, factor, {960});
        const auto [amp, snr] = fitTone(y, 400, 1000, 48000.0 * factor / 12);
        EXPECT_NEAR(20 * std::log10(amp / 8000), 0, 0.05) << factor;
        EXPECT_GT(snr, 45) << factor;  // measured 58..62 dB
    }
    const V low = tone(6400, 1000, 16000, 8000);
    const V up = resample(low, 1, 4, {960}, 18000);
    const auto [amp, snr] = fitTone(up, 400, 1000, 48000);
    EXPECT_NEAR(20 * std::log10(amp / 8000), 0, 0.05);
    EXPECT_GT(snr, 45);
    // Factor 12 is a copy.
    EXPECT_EQ(resample(x, 0, 12, {500}), V(x.begin(), x.begin() + 19000));
}

TEST(AmrwbeResample, SaturatingAndExactSumsAgree) {
    // A full-scale sample at the very end of a call's input moves the whole call onto the
    // saturating sums; every output it cannot reach must equal the exact-sum output (the rest of
    // the input is quiet enough for exact sums even at factor 2).
    V x = speechLike(8000, 21);
    for (auto& v : x) v = int16_t(v / 16);
    for (int factor : {2, 4, 6, 11}) {
        V loud(x);
        loud[7679] = -32768;
        V mem0(144, 0), mem1(144, 0), y0(7680), y1(7680);
        int16_t f0 = 0, f1 = 0;
        int32_t n0 = 0, n1 = 0;
        xvosResamplePolyphase_AMRWBE_16s(x.data(), y0.data(), 7680, 0, int16_t(factor), mem0.data(), &f0, &n0);
        xvosResamplePolyphase_AMRWBE_16s(loud.data(), y1.data(), 7680, 0, int16_t(factor), mem1.data(), &f1, &n1);
        ASSERT_EQ(n0, n1);
        EXPECT_TRUE(std::equal(y0.begin(), y0.begin() + n0 - 16, y1.begin())) << factor;
    }
}

/// Runs the band splitter over x from 48 or 44.1 kHz with the given band lengths (cycled).
std::pair<V, V> split(const V& x, int rate, int facFs, std::vector<int> lens) {
    V mem(1608, 0), lo, hi;
    int16_t frac = 0;
    size_t in = 0;
    for (size_t k = 0;; ++k) {
        const int n = lens[k % lens.size()];
        if (in + 7680 > x.size()) break;
        V l(n), h(n);
        int32_t used = 0;
        EXPECT_EQ(xvosBandSplitDownsample_AMRWBE_16s(x.data() + in, l.data(), h.data(), n, rate, int16_t(facFs),
                                                     mem.data(), &frac, &used), xvoStsOk);
        in += used;
        lo.insert(lo.end(), l.begin(), l.end());
        hi.insert(hi.end(), h.begin(), h.end());
    }
    return {lo, hi};
}

TEST(AmrwbeBandSplitDownsample, CallBoundariesAndBands) {
    for (int rate : {48000, 44100}) {
        SCOPED_TRACE(rate);
        const V x = speechLike(60000, 9);
        const auto whole = split(x, rate, 96, {1024});
        const auto cut = split(x, rate, 96, {256, 100, 668});
        const size_t n = std::min(whole.first.size(), cut.first.size());
        ASSERT_GT(n, 3000u);
        EXPECT_TRUE(std::equal(cut.first.begin(), cut.first.begin() + n, whole.first.begin()));
        EXPECT_TRUE(std::equal(cut.second.begin(), cut.second.begin() + n, whole.second.begin()));

        // 2 kHz stays in the low band at unit gain (165/180 at 44.1 kHz, as the codec scales it); 9 kHz (above 6.4 kHz) goes to the high band,
        // folded to 12.8 - 9 = 3.8 kHz. The input history delays the output by about 1560 samples.
        const auto [lo2, hi2] = split(tone(60000, 2000, rate, 8000), rate, 96, {1024});
        const auto [a2, snr2] = fitTone(lo2, 1500, 2000, 12800);
        const double level = rate == 48000 ? 0 : 20 * std::log10(165.0 / 180);
        EXPECT_NEAR(20 * std::log10(a2 / 8000), level, 0.1);
        EXPECT_GT(snr2, 40);
        EXPECT_LT(fitTone(hi2, 1500, 2000, 12800).first, 8000 * 0.01);
        const auto [lo9, hi9] = split(tone(60000, 9000, rate, 8000), rate, 96, {1024});
        EXPECT_NEAR(20 * std::log10(fitTone(hi9, 1500, 3800, 12800).first / 8000), level, 0.3);
        EXPECT_LT(fitTone(lo9, 1500, 3800, 12800).first, 8000 * 0.01);
    }
}

TEST(AmrwbePostFilterLowBand, DelayPeriodicityAndNoiseReduction) {
    for (int adjust : {0, 1}) {
        SCOPED_TRACE(adjust);
        const int delay = adjust ? 140 : 76;
        // A tone with an integer period T and a clean copy plus noise.
        const int T = 64;
        const V clean = tone(4 * 1024, 12800.0 / T, 12800, 6000);
        V noisy(clean);
        std::mt19937 g(3);
        std::normal_distribution<double> d(0, 100);
        double lp = 0;  // noise below about 300 Hz, where the filter works
        for (auto& v : noisy) v = int16_t(v + std::lround(lp = 0.95 * lp + d(g)));
        V lags(16, T), one(16, 16384), zero(16, 0);
        for (const auto& [in, gains, what] : {std::tuple{clean, zero, "gainless"}, std::tuple{clean, one, "periodic"},
                                              std::tuple{noisy, one, "noisy"}}) {
            XvoPostFilterLowBandState_AMRWBE st;
            ASSERT_EQ(xvosPostFilterLowBandInit_AMRWBE_16s(&st), xvoStsOk);
            V out(in.size());
            for (size_t f = 0; f < in.size(); f += 1024)
                ASSERT_EQ(xvosPostFilterLowBand_AMRWBE_16s(in.data() + f, lags.data(), gains.data(), out.data() + f, adjust,
                                                           &st), xvoStsOk);
            double before = 0, after = 0, moved = 0;
            for (size_t n = 1024 + delay; n < in.size(); ++n) {
                moved = std::max(moved, std::abs(double(out[n]) - in[n - delay]));
                before += std::pow(double(in[n - delay]) - clean[n - delay], 2);
                after += std::pow(double(out[n]) - clean[n - delay], 2);
            }
            if (std::string(what) == "noisy") {
                EXPECT_GT(10 * std::log10(before / after), 1.0) << what;  // measured 3.5 dB
            } else {
                EXPECT_LE(moved, std::string(what) == "gainless" ? 0 : 2) << what;
            }
        }
    }
}

TEST(AmrwbeFIRGenMidBand, EqualsWideModel) {
    std::mt19937 g(11);
    std::uniform_int_distribution<int> s(-4000, 4000), c(-6000, 6000);
    for (int order : {1, 2, 9, 64}) {
        V x(order - 1 + 500), a(order), y(500);
        for (auto& v : x) v = int16_t(s(g));
        for (auto& v : a) v = int16_t(c(g) / (order > 9 ? 4 : 1));
        ASSERT_EQ(xvosFIRGenMidBand_AMRWBE_16s(x.data(), y.data(), 500, a.data(), order), xvoStsOk);
        for (int n = 0; n < 500; ++n) {
            int64_t acc = 0;
            for (int j = 0; j < order; ++j) acc += int64_t(a[j]) * x[order - 1 + n - j];
            const int64_t want = std::clamp<int64_t>((acc * 8 + 0x8000) >> 16, -32768, 32767);
            if (std::abs(acc) < (int64_t(1) << 28)) {  // no partial sum can saturate
                ASSERT_EQ(y[n], want) << order << " " << n;
            }
        }
    }
}

}  // namespace
