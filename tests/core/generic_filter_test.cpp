// Pitch sharpening (the saturating and the wrapping lag ranges, reading the
// caller's history and its own updates), pre-emphasis across calls, and the
// residual filter against the G.729 Residu loop.
#include <gtest/gtest.h>

#include <random>
#include <vector>

#include "core/fixed.h"
#include "xvosc.h"

using namespace xvo::fx;

TEST(GenericFilter, HarmonicFilterCases) {
    const struct {
        int16_t val;
        int lag;
        std::vector<int16_t> history, in, want;
    } cases[] = {
        {16384, 0, {}, {5, 6}, {5, 6}},
        {16384, -2, {}, {5, 6}, {5, 6}},                             // negative lag: unchanged
        {16384, 1, {1000}, {0, 0, 0}, {500, 250, 125}},              // reads its own updates
        {32767, 2, {32767, 32767}, {32767, 0}, {-3, 32766}},         // lag 1..3: wraps
        {32767, 4, {32767, 32767, 32767, 32767}, {32767, 0}, {32767, 32766}},  // lag 4: saturates
        {-32768, 3, {-32768, 0, 0}, {0, 1}, {-32768, 1}},            // product 32768 wraps to -32768
        {-32768, 5, {-32768, 0, 0, 0, 0}, {0, 1}, {32767, 1}},       // ... and saturates above lag 3
        {1, 4, {-1, 0, 0, 0}, {5}, {4}},                             // arithmetic shift of -1/32768
        {-16384, 4, {0, 0, 0, 0}, {100, 200, 300, 400, 500, 600}, {100, 200, 300, 400, 450, 500}},
    };
    for (size_t c = 0; c < sizeof(cases) / sizeof(cases[0]); ++c) {
        const auto& t = cases[c];
        std::vector<int16_t> buf = t.history;
        buf.insert(buf.end(), t.in.begin(), t.in.end());
        int16_t* x = buf.data() + t.history.size();
        ASSERT_EQ(xvosHarmonicFilter_16s_I(t.val, t.lag, x, static_cast<int>(t.in.size())), xvoStsOk);
        EXPECT_EQ(std::vector<int16_t>(x, x + t.in.size()), t.want) << "case " << c;
        EXPECT_EQ(std::vector<int16_t>(buf.data(), x), t.history) << "case " << c;
    }
}

TEST(GenericFilter, FloatHarmonicFilterAndPreemphasis) {
    float buf[5] = {2.0f, 1.0f, 0.0f, 0.0f, 3.0f};  // two samples of history
    ASSERT_EQ(xvosHarmonicFilter_32f_I(0.5f, 2, buf + 2, 3), xvoStsOk);
    EXPECT_EQ(buf[2], 1.0f);
    EXPECT_EQ(buf[3], 0.5f);
    EXPECT_EQ(buf[4], 3.5f);  // reads the updated buf[2]
    ASSERT_EQ(xvosHarmonicFilter_32f_I(0.5f, 0, buf + 2, 3), xvoStsOk);
    EXPECT_EQ(buf[4], 3.5f);

    std::mt19937 rng(3);
    std::vector<float> x(50);
    for (auto& v : x) v = std::uniform_real_distribution<float>(-1000, 1000)(rng);
    std::vector<float> whole = x, split = x;
    float m1 = 7.0f, m2 = 7.0f;
    ASSERT_EQ(xvosPreemphasize_32f_I(0.68f, whole.data(), 50, &m1), xvoStsOk);
    ASSERT_EQ(xvosPreemphasize_32f_I(0.68f, split.data(), 17, &m2), xvoStsOk);
    ASSERT_EQ(xvosPreemphasize_32f_I(0.68f, split.data() + 17, 33, &m2), xvoStsOk);
    EXPECT_EQ(whole, split);
    EXPECT_EQ(m1, x[49]);
    EXPECT_EQ(whole[0], x[0] - 0.68f * 7.0f);
    EXPECT_EQ(whole[1], x[1] - 0.68f * x[0]);
}

// G.729 Residu: L_mult/L_mac over a[0..10] (Q12), L_shl by 3, round.
TEST(GenericFilter, ResidualEqualsReferenceLoop) {
    std::mt19937 rng(11);
    for (int trial = 0; trial < 20; ++trial) {
        int16_t a[11];
        a[0] = 4096;
        for (int j = 1; j <= 10; ++j) a[j] = static_cast<int16_t>(std::uniform_int_distribution<int>(-3000, 3000)(rng));
        std::vector<int16_t> x(50);
        for (auto& v : x) v = static_cast<int16_t>(std::uniform_int_distribution<int>(-1200, 1200)(rng));
        std::vector<int16_t> y(40);
        ASSERT_EQ(xvosResidualFilter_Low_16s_Sfs(a, 10, x.data() + 10, y.data(), 40, 12), xvoStsOk);
        for (int i = 0; i < 40; ++i) {
            int32_t s = L_mult(x[10 + i], a[0]);
            for (int j = 1; j <= 10; ++j) s = L_mac(s, a[j], x[10 + i - j]);
            ASSERT_EQ(y[i], round_fx(L_shl(s, 3))) << trial << " " << i;
        }
    }
}
