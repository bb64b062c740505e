// Auto-scaling edge cases and the inverse square root against its worked
// values, the golden-tested mantissa/exponent helper and floating point.
#include <gtest/gtest.h>

#include <cmath>
#include <random>
#include <vector>

#include "core/helpers.h"
#include "xvosc.h"

TEST(GenericScale, AutoScaleEdges) {
    const struct {
        std::vector<int16_t> in;
        int scale, wantScale;
        std::vector<int16_t> want;
    } cases[] = {
        {{0, 0, 0}, 0, 16, {0, 0, 0}},
        {{0, 0, 0}, 2, 14, {0, 0, 0}},
        {{0x4000, -5, 3}, 0, 0, {0x4000, -5, 3}},           // already normalised: copied
        {{0x4000, -5, 3}, 1, -1, {0x2000, -3, 1}},          // one bit of headroom: halved (arithmetic)
        {{-32768, 100, -7}, 0, 0, {-32768, 100, -7}},        // -32768 counts as 32767
        {{1, -1, 0, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, -1}, 0, 14,
         {16384, -16384, 0, 16384, 16384, 16384, 16384, 16384, 16384, 16384, 16384, 16384, 16384, 16384, 16384,
          16384, 16384, -16384}},
        {{-16383, 8191}, 3, -2, {-4096, 2047}},              // m = 16383: n = 1, shifted right by 2
        {{300, -300, 299}, 40, 6 - 40, {0, -1, 0}},          // right shift far beyond 15
    };
    for (size_t c = 0; c < sizeof(cases) / sizeof(cases[0]); ++c) {
        const auto& t = cases[c];
        const int len = static_cast<int>(t.in.size());
        std::vector<int16_t> out(len, 123), inPlace = t.in;
        int s1 = t.scale, s2 = t.scale;
        ASSERT_EQ(xvosAutoScale_16s(t.in.data(), out.data(), len, &s1), xvoStsOk);
        ASSERT_EQ(xvosAutoScale_16s_I(inPlace.data(), len, &s2), xvoStsOk);
        EXPECT_EQ(out, t.want) << "case " << c;
        EXPECT_EQ(inPlace, t.want) << "case " << c;
        EXPECT_EQ(s1, t.wantScale) << "case " << c;
        EXPECT_EQ(s2, t.wantScale) << "case " << c;
    }
}

TEST(GenericScale, InvSqrtWorkedValuesAndNonPositives) {
    int32_t v[] = {1, 4, 2, 0, -1, INT32_MIN};
    ASSERT_EQ(xvosInvSqrt_32s_I(v, 6), xvoStsOk);
    EXPECT_EQ(v[0], 0x3FFF8000);
    EXPECT_EQ(v[1], 0x1FFFC000);
    EXPECT_EQ(v[2], 759234560);
    for (int i = 3; i < 6; ++i) EXPECT_EQ(v[i], 0x3FFFFFFF);
}

// For x = m * 2^(e-31) with m normalised, the element result is the helper's
// mantissa shifted right by (32 - norm)/2; and both approximate 2^30/sqrt(x).
TEST(GenericScale, InvSqrtAgreesWithHelperAndFloat) {
    std::mt19937 rng(7);
    std::vector<int32_t> xs = {3, 5, 0x3fffffff, 0x40000000, 0x7fffffff};
    for (int i = 0; i < 3000; ++i) xs.push_back(static_cast<int32_t>(rng() >> (rng() % 31 + 1)) | 1);
    std::vector<int32_t> ys = xs;
    ASSERT_EQ(xvosInvSqrt_32s_I(ys.data(), static_cast<int>(ys.size())), xvoStsOk);
    for (size_t i = 0; i < xs.size(); ++i) {
        const int n = xvo::ownNorm_32s(xs[i]);
        int32_t m = xs[i] << n;
        int16_t e = static_cast<int16_t>(31 - n);
        xvo::ownInvSqrt_32s(&m, &e);
        ASSERT_EQ(ys[i], m >> ((32 - n) / 2)) << xs[i];
        ASSERT_NEAR(ys[i] / (1073741824.0 / std::sqrt(double(xs[i]))), 1.0, 2e-3) << xs[i];
    }
}
