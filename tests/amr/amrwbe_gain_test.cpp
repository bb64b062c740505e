// AMR-WB+ segmental SNR against a model of its formula on speech and edge signals, and TCX gain
// decoding against the floating-point gain it approximates.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <random>
#include <vector>

#include "vectors.h"
#include "xvosc.h"

namespace {

int32_t sat32(int64_t v) { return int32_t(std::clamp<int64_t>(v, INT32_MIN, INT32_MAX)); }

int norm(int32_t v) { return __builtin_clz(uint32_t(v)) - 1; }

// Per segment: 10 log10(E_signal / E_error) in Q13 from exact log2 (the library's log2 is a
// 32-entry interpolation, good to about 1e-4), summed; then the documented normalisation: the
// sum shifted left by norm(len) - norm(segLen) + 12 into a saturated 32-bit word, its rounded
// high half times the Q15 ratio of the normalised counts.
double modelSnrQ8(const std::vector<int16_t>& x, const std::vector<int16_t>& y, int seg) {
    double sum = 0;
    for (size_t i = 0; i < x.size(); i += seg) {
        int32_t es = 1, en = 1;
        for (size_t j = i; j < i + seg; ++j) {
            const int32_t a = x[j] >> 3, r = int32_t(((int64_t(x[j]) - y[j]) * 8192 + 32768) >> 16);
            es = sat32(int64_t(es) + 2 * int64_t(a) * a);
            en = sat32(int64_t(en) + 2 * int64_t(r) * r);
        }
        sum += 24660.0 * (std::log2(double(es)) - std::log2(double(en)));  // 2 x 12330, Q13
    }
    const int n = int(x.size()), nn = norm(n), ns = norm(seg);
    const double scl = std::floor(32768.0 * ((int64_t(seg) << ns) >> 17) / ((int64_t(n) << nn) >> 16));
    const double w = std::clamp(sum * std::ldexp(1.0, nn - ns + 12), -2147483648.0, 2147483647.0);
    const double hi = std::min(std::floor((w + 32768) / 65536), 32767.0);
    return std::max(hi * scl / 32768, -25348.0);
}

int16_t snr(const std::vector<int16_t>& x, const std::vector<int16_t>& y, int seg) {
    int16_t out = 0;
    EXPECT_EQ(xvosSNR_AMRWBE_16s(x.data(), y.data(), int(x.size()), seg, &out), xvoStsOk);
    return out;
}

}  // namespace

TEST(AmrwbeSnr, SpeechAndEdgeSignalsMatchFormula) {
    auto f = xvotest::findVector("conformance/amrwb/tst.inp");
    if (!f && !xvotest::vectorsRequired()) GTEST_SKIP() << "SKIPPED: conformance/amrwb/tst.inp";
    ASSERT_TRUE(f);
    const auto sp = xvotest::readWords16(*f);
    std::mt19937 rng(12330);
    for (int seg : {8, 16, 40, 64, 80, 256}) {
        for (int segs : {1, 4, 16, 17}) {
            const int n = seg * segs;
            for (int k = 0; k < 6; ++k) {
                const size_t at = (rng() % (sp.size() - n));
                std::vector<int16_t> x(sp.begin() + at, sp.begin() + at + n), y(x);
                const int noise = k == 0 ? 0 : 16 << (2 * k);  // identical signals, then SNR falling
                for (auto& v : y) v = int16_t(std::clamp<int>(v + int(rng() % (2 * noise + 1)) - noise, -32768, 32767));
                const double want = modelSnrQ8(x, y, seg);
                EXPECT_NEAR(snr(x, y, seg), want, 3 + std::fabs(want) * 2e-4) << "seg " << seg << " segs " << segs;
            }
        }
    }
    // Edges: silence gives 0 dB; full scale against itself or silence saturates the 32-bit sums
    // and then the normalisation (64 dB at 1 segment).
    const std::vector<int16_t> zero(64, 0), full(64, 32767), neg(64, -32767);
    EXPECT_EQ(snr(zero, zero, 64), 0);
    EXPECT_EQ(snr(full, full, 64), 16383);
    EXPECT_EQ(snr(zero, full, 64), -16384);
    EXPECT_NEAR(snr(full, zero, 64), modelSnrQ8(full, zero, 64), 2);
    EXPECT_NEAR(snr(full, neg, 64), 0, 2);
}

TEST(AmrwbeGainTcx, FollowsFloatingPointGain) {
    std::mt19937 rng(28);
    for (int len : {288, 576, 1152, 100})
        for (int level : {20, 300, 5000, 32767})
            for (int index : {0, 17, 64, 100, 127}) {
                std::vector<int16_t> y(len);
                // The energy sum drops 2 bits of each value and 5 of each block of 16.
                double e = 0;
                for (int j = 0; j < len; j += 16) {
                    int64_t blk = 0;
                    for (int i = j; i < std::min(len, j + 16); ++i) {
                        y[i] = int16_t(int(rng() % (2 * level + 1)) - level);
                        blk += 2 * int64_t(y[i] >> 2) * (y[i] >> 2);
                    }
                    e += double(blk >> 5) * 256;
                }
                const double rms = std::sqrt(e / len), want = std::pow(10.0, index / 28.0) / (4 * rms);
                Xvo16s old = 0;
                Xvo32s g = 0;
                ASSERT_EQ(xvosGainDecodeTCX_AMRWBE_16s(y.data(), len, index, 0, &old, &g), xvoStsOk);
                if (want * 65536 < 30000 || want * 65536 > 2e9) continue;  // Q16 too coarse or saturated
                EXPECT_NEAR(g / 65536.0, want, want * 0.01) << len << " " << level << " " << index;
                if (level >= 300) {  // the stored rms passes through a Q0 rms and a 16-bit product
                    EXPECT_NEAR(old, want * rms, 0.03 * want * rms + 1);
                }
                // A lost frame: the stored rms decays by 0.7 and the gain continues that level.
                const Xvo16s before = old;
                ASSERT_EQ(xvosGainDecodeTCX_AMRWBE_16s(y.data(), len, index, 1, &old, &g), xvoStsOk);
                EXPECT_EQ(old, std::max<int>(1, (before * 22938 + 0x4000) >> 15));
                EXPECT_NEAR(g / 65536.0, old / rms, old / rms * 0.01 + 2.0 / 65536);
            }
}
