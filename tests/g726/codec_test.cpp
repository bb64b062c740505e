// G.726 beyond the conformance sequences: the G.711 tables against the G.191
// regression sweep, the decoder's step rule, split calls, argument checks and
// the untouched-on-failure promise, the linear output range and quality.
#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <random>
#include <vector>

#include "g726/g726_kernel.h"
#include "g726/g726_tables.h"
#include "vectors.h"
#include "xvosc.h"

using namespace xvo::g726;

namespace {

constexpr XvoSpeechRate kRates[] = {XVO_BITRATE_16000, XVO_BITRATE_24000, XVO_BITRATE_32000, XVO_BITRATE_40000};
constexpr int kBitsOf[] = {2, 3, 4, 5};

XvoG726State* st(std::vector<uint8_t>& v) { return reinterpret_cast<XvoG726State*>(v.data()); }

/// A few seconds of a voiced, gliding, amplitude-modulated signal with noise.
std::vector<Xvo16s> speechLike(int n, uint32_t seed) {
    std::mt19937 rng(seed);
    std::normal_distribution<double> noise(0.0, 60.0);
    std::vector<Xvo16s> x(n);
    double ph = 0;
    for (int i = 0; i < n; ++i) {
        const double t = i / 8000.0;
        ph += 2 * M_PI * (120 + 40 * std::sin(2 * M_PI * 1.3 * t)) / 8000.0;
        const double env = 0.55 + 0.45 * std::sin(2 * M_PI * 3.0 * t);
        double v = 0;
        for (int h = 1; h <= 12; ++h) v += std::sin(h * ph) / h;
        x[i] = static_cast<Xvo16s>(std::clamp(2500.0 * env * v + noise(rng), -8192.0, 8191.0));
    }
    return x;
}

TEST(G711Tables, ExpansionMatchesG191Sweep) {
    for (auto [codes, linear, law] : {std::tuple{"sweep-r.u", "sweep-r.reu", 0}, std::tuple{"sweep-r.a", "sweep-r.rea", 1}}) {
        XVO_REQUIRE_VECTOR(cp, std::string("conformance/g711/") + codes);
        XVO_REQUIRE_VECTOR(lp, std::string("conformance/g711/") + linear);
        const auto c = xvotest::readWords16(cp), l = xvotest::readWords16(lp);
        ASSERT_EQ(c.size(), l.size());
        for (size_t i = 0; i < c.size(); ++i) ASSERT_EQ(kG711Expand[law][c[i] & 0xff], l[i]) << codes << " " << i;
    }
}

TEST(G726Tables, TranscribedValues) {
    // Weighted sums of the per-code tables and the decision levels, computed
    // separately from the G.726 tables.
    long w = 0, f = 0, l = 0, q = 0;
    for (int r = 0; r < 4; ++r)
        for (int c = 0; c < (1 << kBitsOf[r]); ++c) {
            w += kCodeTable.code[r][c].w * (c + 1);
            f += kCodeTable.code[r][c].f * (c + 1);
            l += kCodeTable.code[r][c].dqln * (c + 1);
        }
    for (const auto& qt : kQuantiser)
        for (int k = 0; k < qt.count; ++k) q += qt.level[k] * (k + 1) + qt.codePos[k] * 3 + qt.codeNeg[k] * 7;
    EXPECT_EQ(w, 4663424);
    EXPECT_EQ(f, 700928);
    EXPECT_EQ(l, 76651);
    EXPECT_EQ(q, 46585);
    EXPECT_EQ(kCodeTable.code[2][8].w, 35904);  // 32 kbit/s mirror
    EXPECT_EQ(kCodeTable.code[3][30].dqln, -66);
}

TEST(G726Tables, SynchronousStepsMoveOneLevel) {
    for (int law = 0; law < 2; ++law)
        for (int b = 0; b < 256; ++b) {
            const int v = kG711Expand[law][b];
            const int dn = kG711Expand[law][kStepTable.down[law][b]];
            const int up = kG711Expand[law][kStepTable.up[law][b]];
            EXPECT_LE(dn, v) << law << " " << b;
            EXPECT_GE(up, v) << law << " " << b;
            // No byte lies strictly between a byte and its step.
            for (int o = 0; o < 256; ++o) {
                const int x = kG711Expand[law][o];
                EXPECT_FALSE(x > dn && x < v) << law << " " << b << " " << o;
                EXPECT_FALSE(x < up && x > v) << law << " " << b << " " << o;
            }
        }
    EXPECT_EQ(kStepTable.down[0][0xff], 0x7e);  // mu-law +0 steps past -0
    EXPECT_EQ(kStepTable.up[0][0x7f], 0xff);
}

TEST(G726Api, StateSizes) {
    Xvo32s s = 0;
    EXPECT_EQ(xvosEncodeGetStateSize_G726_16s8u(&s), xvoStsOk);
    EXPECT_EQ(s, 88);
    EXPECT_EQ(xvosDecodeGetStateSize_G726_8u16s(&s), xvoStsOk);
    EXPECT_EQ(s, 92);
}

// Argument checks and the untouched state and outputs of failing calls are swept by the
// contract registry (tests/contract/registry_g726.cpp).

class G726Rate : public ::testing::TestWithParam<int> {};

TEST_P(G726Rate, SplitCallsEqualOneCall) {
    const int r = GetParam();
    const auto x = speechLike(4000, 7 + r);
    std::mt19937 rng(99 + r);
    for (int law = 0; law <= 3; ++law) {  // 0..2 decoder laws, 3 the encoder
        std::vector<uint8_t> one(92), split(92);
        std::vector<Xvo8u> codes(x.size());
        std::vector<Xvo16s> a(x.size()), b(x.size());
        {
            std::vector<uint8_t> enc(88);
            xvosEncodeInit_G726_16s8u(st(enc), kRates[r]);
            xvosEncode_G726_16s8u(st(enc), x.data(), codes.data(), static_cast<int>(x.size()));
        }
        auto init = [&](std::vector<uint8_t>& s) {
            return law == 3 ? xvosEncodeInit_G726_16s8u(st(s), kRates[r])
                            : xvosDecodeInit_G726_8u16s(st(s), kRates[r], XvoPCMLaw(law));
        };
        auto run = [&](std::vector<uint8_t>& s, std::vector<Xvo16s>& out, int at, int n) {
            if (law == 3) {
                std::vector<Xvo8u> c(n);
                const XvoStatus sts = xvosEncode_G726_16s8u(st(s), x.data() + at, c.data(), n);
                std::copy(c.begin(), c.end(), out.begin() + at);
                return sts;
            }
            return xvosDecode_G726_8u16s(st(s), codes.data() + at, out.data() + at, n);
        };
        ASSERT_EQ(init(one), xvoStsOk);
        ASSERT_EQ(init(split), xvoStsOk);
        ASSERT_EQ(run(one, a, 0, static_cast<int>(x.size())), xvoStsOk);
        for (int at = 0; at < static_cast<int>(x.size());) {
            const int n = std::min<int>(1 + static_cast<int>(rng() % 97), static_cast<int>(x.size()) - at);
            ASSERT_EQ(run(split, b, at, n), xvoStsOk);
            at += n;
        }
        EXPECT_EQ(a, b) << "law " << law;
        EXPECT_EQ(one, split) << "law " << law;
    }
}

TEST_P(G726Rate, RoundTripQualityAndRanges) {
    const int r = GetParam();
    const auto x = speechLike(16000, 3);
    const int n = static_cast<int>(x.size());
    std::vector<uint8_t> enc(88), lin(92), mu(92);
    xvosEncodeInit_G726_16s8u(st(enc), kRates[r]);
    xvosDecodeInit_G726_8u16s(st(lin), kRates[r], XVO_PCM_LINEAR);
    xvosDecodeInit_G726_8u16s(st(mu), kRates[r], XVO_PCM_MULAW);
    std::vector<Xvo8u> codes(n);
    std::vector<Xvo16s> y(n), m(n);
    ASSERT_EQ(xvosEncode_G726_16s8u(st(enc), x.data(), codes.data(), n), xvoStsOk);
    ASSERT_EQ(xvosDecode_G726_8u16s(st(lin), codes.data(), y.data(), n), xvoStsOk);
    ASSERT_EQ(xvosDecode_G726_8u16s(st(mu), codes.data(), m.data(), n), xvoStsOk);
    double sig = 0, err = 0;
    for (int i = 0; i < n; ++i) {
        ASSERT_LT(codes[i], 1 << kBitsOf[r]);
        sig += double(x[i]) * x[i];
        err += double(x[i] - y[i]) * (x[i] - y[i]);
        // The G.711 output is the compressed linear output or one step from it.
        const int c = ownSampleToMuLaw(y[i]);
        ASSERT_TRUE(m[i] == c || m[i] == kStepTable.up[0][c] || m[i] == kStepTable.down[0][c]) << i;
    }
    const double minSnr[] = {8, 14, 19, 24};  // dB, well below what each rate reaches
    EXPECT_GT(10 * std::log10(sig / err), minSnr[r]);
}

TEST_P(G726Rate, ExtremeInputsStayInRange) {
    const int r = GetParam();
    std::mt19937 rng(5);
    std::vector<Xvo16s> x(5000);
    for (auto& v : x) v = (rng() & 1) ? -32768 : 32767;  // far outside 14 bits
    std::vector<uint8_t> enc(88), lin(92);
    xvosEncodeInit_G726_16s8u(st(enc), kRates[r]);
    xvosDecodeInit_G726_8u16s(st(lin), kRates[r], XVO_PCM_LINEAR);
    std::vector<Xvo8u> codes(x.size());
    std::vector<Xvo16s> y(x.size());
    ASSERT_EQ(xvosEncode_G726_16s8u(st(enc), x.data(), codes.data(), 5000), xvoStsOk);
    for (auto& c : codes) c = static_cast<Xvo8u>(rng() & ((1 << kBitsOf[r]) - 1));  // random codes too
    ASSERT_EQ(xvosDecode_G726_8u16s(st(lin), codes.data(), y.data(), 5000), xvoStsOk);
    for (auto v : y) ASSERT_TRUE(v >= -8192 && v <= 8191) << v;
}

INSTANTIATE_TEST_SUITE_P(Rates, G726Rate, ::testing::Range(0, 4));

}  // namespace
