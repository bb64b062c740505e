// The shared helpers against the reference programs' golden outputs, the
// G.711 regression sweep, and the tables' checksums.
#include <gtest/gtest.h>

#include <cmath>
#include <numeric>

#include "core/helpers.h"
#include "core/helpers_tables.h"
#include "vectors.h"

using namespace xvo;

TEST(CoreGolden, Norm32s) {
    XVO_REQUIRE_VECTOR(path, "golden/core/ownNorm_32s.txt");
    const auto g = xvotest::loadGolden(path);
    ASSERT_GT(g.rows.size(), 100u);
    for (const auto& r : g.rows)
        ASSERT_EQ(ownNorm_32s(static_cast<int32_t>(r[0])), r[1]) << "x=" << r[0];
}

TEST(CoreGolden, Log2) {
    XVO_REQUIRE_VECTOR(path, "golden/core/ownLog2_32s16s.txt");
    const auto g = xvotest::loadGolden(path);
    ASSERT_GT(g.rows.size(), 100u);
    for (const auto& r : g.rows) {
        int16_t e = -7, f = -7;
        ownLog2_32s16s(static_cast<int32_t>(r[0]), &e, &f);
        ASSERT_EQ(e, r[1]) << "x=" << r[0];
        ASSERT_EQ(f, r[2]) << "x=" << r[0];
    }
}

TEST(CoreGolden, InvSqrt) {
    XVO_REQUIRE_VECTOR(path, "golden/core/ownInvSqrt_32s.txt");
    const auto g = xvotest::loadGolden(path);
    ASSERT_GT(g.rows.size(), 100u);
    for (const auto& r : g.rows) {
        int32_t m = static_cast<int32_t>(r[0]);
        int16_t e = static_cast<int16_t>(r[1]);
        ownInvSqrt_32s(&m, &e);
        ASSERT_EQ(m, r[2]) << "mant=" << r[0] << " exp=" << r[1];
        ASSERT_EQ(e, r[3]) << "mant=" << r[0] << " exp=" << r[1];
    }
}

TEST(CoreGolden, ALawCompressionMatchesG711Sweep) {
    XVO_REQUIRE_VECTOR(src, "conformance/g711/sweep.src");
    XVO_REQUIRE_VECTOR(ref, "conformance/g711/sweep-r.a");
    const auto in = xvotest::readWords16(src);
    const auto want = xvotest::readWords16(ref);
    ASSERT_EQ(in.size(), want.size());
    std::vector<uint8_t> out(in.size());
    ASSERT_EQ(ownLinToALaw_16s8u(in.data(), out.data(), static_cast<int>(in.size())), xvoStsOk);
    for (size_t i = 0; i < in.size(); ++i) ASSERT_EQ(out[i], want[i]) << "sample " << in[i];
}

TEST(CoreHelpers, SpotValues) {
    int16_t e, f;
    ownLog2_32s16s(1, &e, &f);
    EXPECT_EQ(e, 0); EXPECT_EQ(f, 0);
    ownLog2_32s16s(0x7fffffff, &e, &f);
    EXPECT_EQ(e, 30); EXPECT_EQ(f, 32766);
    ownLog2_32s16s(-5, &e, &f);
    EXPECT_EQ(e, 0); EXPECT_EQ(f, 0);
    int32_t m = 0;
    e = 9;
    ownInvSqrt_32s(&m, &e);
    EXPECT_EQ(m, 0x7fffffff); EXPECT_EQ(e, 0);

    const uint8_t al[4] = {ownLinToALaw(0), ownLinToALaw(-1), ownLinToALaw(32767), ownLinToALaw(-32768)};
    EXPECT_EQ(al[0], 0xD5); EXPECT_EQ(al[1], 0x55); EXPECT_EQ(al[2], 0xAA); EXPECT_EQ(al[3], 0x2A);
}

TEST(CoreHelpers, ALawChecks) {
    int16_t s[1] = {0};
    uint8_t d[1] = {7};
    EXPECT_EQ(ownLinToALaw_16s8u(nullptr, d, 0), xvoStsNullPtr);
    EXPECT_EQ(ownLinToALaw_16s8u(s, nullptr, 1), xvoStsNullPtr);
    EXPECT_EQ(ownLinToALaw_16s8u(s, d, 0), xvoStsSize);
    EXPECT_EQ(d[0], 7);
}

TEST(CoreHelpers, LSFToLSPTable) {
    // A flat slope table isolates the index/offset split and the clamp to 63.
    int16_t slope[64];
    for (int k = 0; k < 64; ++k) slope[k] = static_cast<int16_t>(-(k + 1));
    const int16_t lsf[10] = {0, 255, 256, 0x7fff, 16128, 16383, 8192, 100, 4000, 12000};
    int16_t lsp[10];
    ASSERT_EQ(ownLSFToLSPTable_16s(slope, 0, lsf, lsp), xvoStsOk);
    EXPECT_EQ(lsp[0], 32767);
    EXPECT_EQ(lsp[1], 32767 - 255);
    EXPECT_EQ(lsp[2], 32729 - 0 * 2);
    EXPECT_EQ(lsp[3], -32768);  // index 63, offset 255: -32729 - 16320 saturates
    EXPECT_EQ(lsp[5], -32768);
    const int16_t bad[10] = {100, 200, -1, 300, 400, 500, 600, 700, 800, 900};
    int16_t out[10] = {};
    EXPECT_EQ(ownLSFToLSPTable_16s(slope, 0, bad, out), xvoStsDomain);
    EXPECT_NE(out[1], 0);  // earlier coefficients stay written
    EXPECT_EQ(out[2], 0);
}

TEST(CoreHelpers, TablesFollowTheirFormulas) {
    EXPECT_EQ(std::accumulate(std::begin(kLog2Table), std::end(kLog2Table), 0), 600680);
    EXPECT_EQ(kLog2Table[16], 19167);
    for (int k = 1; k < 49; ++k)
        EXPECT_EQ(kInvSqrtTable[k], std::lround(32768.0 / std::sqrt(1.0 + k / 16.0))) << k;
    for (int k = 1; k < 64; ++k)
        EXPECT_EQ(kCosTable64[k], std::lround(32768.0 * std::cos(k * M_PI / 64.0))) << k;
    EXPECT_EQ(kCosTable64[0], 32767);
    EXPECT_EQ(kInvSqrtTable[0], 32767);
}
