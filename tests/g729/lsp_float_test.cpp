// Float forms of the G.729 line-spectral functions (after the floating-point
// reference, Annex C) on the golden inputs converted to float, against the
// fixed-point golden outputs within stated tolerances, plus their own edges.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <vector>

#include "g729/g729_tables.h"
#include "vectors.h"
#include "xvosc.h"

using namespace xvo::g729;

namespace {

std::vector<float> scaled(std::span<const int64_t> v, float q) {
    std::vector<float> f(v.size());
    for (size_t i = 0; i < v.size(); ++i) f[i] = static_cast<float>(v[i]) / q;
    return f;
}

}  // namespace

// Roots within 0.004 in the cosine domain (130 Q15 steps) on at least 99.5% of
// the lines where both forms find 10 roots: the float search brackets the same
// grid intervals without the fixed-point rounding. Lines where only one form
// finds all roots, or where they bracket different intervals (a close root pair,
// the Q10 overflow form), must stay under 5% and 0.5%. Measured: 11 and 1 of
// 1500 lines for the main body, 16 and 3 for Annex A.
TEST(LspFloat, LPCToLSPMatchesFixedPoint) {
    for (bool annexA : {false, true}) {
        XVO_REQUIRE_VECTOR(path, annexA ? "golden/g729/xvosLPCToLSP_G729A_16s.txt" : "golden/g729/xvosLPCToLSP_G729_16s.txt");
        const auto g = xvotest::loadGolden(path);
        size_t compared = 0, differentCount = 0, far = 0;
        for (const auto& r : g.rows) {
            const auto a = scaled(g.in_(r, "lpc"), 4096.0f);
            const auto prev = scaled(g.in_(r, "prevLsp"), 32768.0f);
            const auto want = g.out_(r, "lsp");
            std::vector<float> lsp(10);
            ASSERT_EQ((annexA ? xvosLPCToLSP_G729A_32f : xvosLPCToLSP_G729_32f)(a.data(), prev.data(), lsp.data()), xvoStsOk);
            const bool fixedFell = std::equal(want.begin(), want.end(), g.in_(r, "prevLsp").begin());
            const bool floatFell = std::equal(lsp.begin(), lsp.end(), prev.begin());
            if (fixedFell != floatFell) {
                ++differentCount;
                continue;
            }
            ++compared;
            float worst = 0;
            for (int j = 0; j < 10; ++j) worst = std::max(worst, std::fabs(lsp[j] - want[j] / 32768.0f));
            if (worst > 0.004f) ++far;
        }
        EXPECT_GT(compared, g.rows.size() * 95 / 100);
        EXPECT_LT(differentCount, g.rows.size() / 20);
        EXPECT_LE(far, compared / 200);
    }
}

// Decoded LSF within 2 Q13 steps and memory within 1 step: the float decoder
// composes the same codebook sums with unrounded predictor products.
TEST(LspFloat, LSFDecodeMatchesFixedPoint) {
    XVO_REQUIRE_VECTOR(path, "golden/g729/xvosLSFDecode_G729_16s.txt");
    const auto g = xvotest::loadGolden(path);
    for (const auto& r : g.rows) {
        const auto idx = xvotest::as<int16_t>(g.in_(r, "indices"));
        auto mem = scaled(g.in_(r, "prevFreq"), 8192.0f);
        std::vector<float> lsf(10);
        ASSERT_EQ(xvosLSFDecode_G729_32f(idx.data(), mem.data(), lsf.data()), xvoStsOk);
        const auto want = g.out_(r, "lsf");
        const auto wantMem = g.out_(r, "prevFreq");
        for (int j = 0; j < 10; ++j) ASSERT_NEAR(lsf[j] * 8192.0f, want[j], 2.0f) << j;
        for (int j = 0; j < 40; ++j) ASSERT_NEAR(mem[j] * 8192.0f, wantMem[j], 1.0f) << j;
    }
}

// The residual pushed for an erased frame within 8 Q13 steps (the fixed-point
// rounding before the 1/fg_sum gain of up to 4.2 is amplified) of the
// fixed-point one, except where the fixed-point residual saturates at 16 bits.
TEST(LspFloat, LSFDecodeErasedMatchesFixedPoint) {
    XVO_REQUIRE_VECTOR(path, "golden/g729/xvosLSFDecodeErased_G729_16s.txt");
    const auto g = xvotest::loadGolden(path);
    size_t checked = 0;
    for (const auto& r : g.rows) {
        const int ma = static_cast<int>(g.in_(r, "maIndex")[0]);
        auto mem = scaled(g.in_(r, "prevFreq"), 8192.0f);
        auto lsf = scaled(g.in_(r, "lsf"), 8192.0f);
        const auto lsfBefore = lsf;
        ASSERT_EQ(xvosLSFDecodeErased_G729_32f(ma, mem.data(), lsf.data()), xvoStsOk);
        EXPECT_EQ(lsf, lsfBefore);
        const auto want = g.out_(r, "prevFreq");
        for (int j = 0; j < 40; ++j) {
            if (std::abs(want[j]) >= 32767) continue;
            ASSERT_NEAR(mem[j] * 8192.0f, want[j], 8.0f) << j;
            ++checked;
        }
    }
    EXPECT_GT(checked, g.rows.size() * 30);
}

TEST(LspFloat, Edges) {
    // Stabiliser limits: a memory far below or above the codebook range.
    for (float m : {-3.0f, 4.0f}) {
        std::vector<float> mem(40, m);
        const int16_t idx[4] = {0, 5, 3, 7};
        float lsf[10];
        ASSERT_EQ(xvosLSFDecode_G729_32f(idx, mem.data(), lsf), xvoStsOk);
        if (m < 0) {
            EXPECT_FLOAT_EQ(lsf[0], 0.005f);
            for (int j = 0; j < 9; ++j) EXPECT_GE(lsf[j + 1] - lsf[j], 0.0392f - 1e-6f);
        } else {
            EXPECT_FLOAT_EQ(lsf[9], 3.135f);  // set last, after the spacing pass
        }
    }
    // Fewer than 10 roots: the previous LSP comes back, also when aliased.
    const float lost[11] = {1.0f, 2.0f, 0, 0, 0, 0, 0, 0, 0, 0, 0};
    float prev[10] = {0.9f, 0.8f, 0.6f, 0.4f, 0.2f, 0.0f, -0.2f, -0.4f, -0.6f, -0.9f};
    const std::vector<float> keep(prev, prev + 10);
    ASSERT_EQ(xvosLPCToLSP_G729_32f(lost, prev, prev), xvoStsOk);
    EXPECT_TRUE(std::equal(prev, prev + 10, keep.begin()));
    // A(z) = 1: ten roots at cos(pi*k/11) with k = 1..10 (F1, F2 alternate).
    const float flat[11] = {1.0f};
    float lsp[10];
    for (auto fn : {xvosLPCToLSP_G729_32f, xvosLPCToLSP_G729A_32f}) {
        ASSERT_EQ(fn(flat, prev, lsp), xvoStsOk);
        for (int k = 0; k < 10; ++k) EXPECT_NEAR(lsp[k], std::cos(M_PI * (k + 1) / 11), 2e-3) << k;
    }
}
