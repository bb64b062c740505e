// G.729 line-spectral functions against the golden vectors of the ITU-T
// reference (every line of every file), their argument checks and edge
// cases, and the vector twins against the scalar kernels.
#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <string>
#include <vector>

#include "g729/g729_tables.h"
#include "g729/lsp.h"
#include "vectors.h"
#include "xvosc.h"

using namespace xvo::g729;
using xvotest::as;

namespace {

std::string golden(const std::string& fn) { return "golden/g729/" + fn + ".txt"; }

std::vector<int16_t> resetMemory() {
    std::vector<int16_t> m(40);
    for (int k = 0; k < 4; ++k) std::copy(kFreqPrevReset, kFreqPrevReset + 10, m.begin() + 10 * k);
    return m;
}

}  // namespace

// ---- golden vectors ---------------------------------------------------------------

class LspGolden : public ::testing::Test {
protected:
    // Runs fn over every row; fn returns the outputs in the order of the `out:` line.
    template <typename Fn>
    void replay(const std::string& name, size_t minRows, Fn fn) {
        XVO_REQUIRE_VECTOR(path, golden(name));
        const auto g = xvotest::loadGolden(path);
        ASSERT_GE(g.rows.size(), minRows);
        size_t line = 0;
        for (const auto& row : g.rows) {
            ++line;
            std::vector<int64_t> want;
            for (const auto& f : g.out) {
                auto v = g.out_(row, f.name);
                want.insert(want.end(), v.begin(), v.end());
            }
            const std::vector<int64_t> got = fn(g, row);
            ASSERT_EQ(got, want) << name << " case " << line;
        }
    }
};

TEST_F(LspGolden, LPCToLSP) {
    for (const char* fn : {"xvosLPCToLSP_G729_16s", "xvosLPCToLSP_G729A_16s"}) {
        const bool annexA = std::string(fn).find("G729A") != std::string::npos;
        replay(fn, 1500, [&](const xvotest::Golden& g, const std::vector<int64_t>& r) {
            const auto lpc = as<int16_t>(g.in_(r, "lpc"));
            const auto prev = as<int16_t>(g.in_(r, "prevLsp"));
            std::vector<int16_t> lsp(10, -1);
            const XvoStatus st = annexA ? xvosLPCToLSP_G729A_16s(lpc.data(), prev.data(), lsp.data())
                                        : xvosLPCToLSP_G729_16s(lpc.data(), prev.data(), lsp.data());
            std::vector<int64_t> out{st};
            out.insert(out.end(), lsp.begin(), lsp.end());
            return out;
        });
    }
}

TEST_F(LspGolden, Conversions) {
    using Conv = XvoStatus (*)(const Xvo16s*, Xvo16s*);
    const struct { const char* name; Conv fn; const char* in; size_t rows; } cases[] = {
        {"xvosLSPToLSF_G729_16s", xvosLSPToLSF_G729_16s, "lsp", 1500},
        {"xvosLSPToLSF_Norm_G729_16s", xvosLSPToLSF_Norm_G729_16s, "lsp", 1500},
        {"xvosLSFToLSP_G729_16s", xvosLSFToLSP_G729_16s, "lsf", 1400},
    };
    for (const auto& c : cases)
        replay(c.name, c.rows, [&](const xvotest::Golden& g, const std::vector<int64_t>& r) {
            const auto src = as<int16_t>(g.in_(r, c.in));
            std::vector<int16_t> dst(10, -1);
            std::vector<int64_t> out{c.fn(src.data(), dst.data())};
            out.insert(out.end(), dst.begin(), dst.end());
            return out;
        });
}

TEST_F(LspGolden, LagWindow) {
    replay("xvosLagWindow_G729_32s_I", 1350, [](const xvotest::Golden& g, const std::vector<int64_t>& r) {
        auto x = as<int32_t>(g.in_(r, "srcDst"));
        std::vector<int64_t> out{xvosLagWindow_G729_32s_I(x.data(), static_cast<int>(g.in_(r, "len")[0]))};
        out.insert(out.end(), x.begin(), x.end());
        return out;
    });
}

TEST_F(LspGolden, LSFDecode) {
    replay("xvosLSFDecode_G729_16s", 1500, [](const xvotest::Golden& g, const std::vector<int64_t>& r) {
        const auto idx = as<int16_t>(g.in_(r, "indices"));
        auto mem = as<int16_t>(g.in_(r, "prevFreq"));
        std::vector<int16_t> lsf(10, -1);
        std::vector<int64_t> out{xvosLSFDecode_G729_16s(idx.data(), mem.data(), lsf.data())};
        out.insert(out.end(), lsf.begin(), lsf.end());
        out.insert(out.end(), mem.begin(), mem.end());
        return out;
    });
}

TEST_F(LspGolden, LSFDecodeErased) {
    replay("xvosLSFDecodeErased_G729_16s", 1500, [](const xvotest::Golden& g, const std::vector<int64_t>& r) {
        auto mem = as<int16_t>(g.in_(r, "prevFreq"));
        const auto lsf = as<int16_t>(g.in_(r, "lsf"));
        const auto lsfBefore = lsf;
        std::vector<int64_t> out{xvosLSFDecodeErased_G729_16s(static_cast<Xvo16s>(g.in_(r, "maIndex")[0]), mem.data(),
                                                              lsf.data())};
        EXPECT_EQ(lsf, lsfBefore);
        out.insert(out.end(), mem.begin(), mem.end());
        return out;
    });
}

TEST_F(LspGolden, LSFQuant) {
    replay("xvosLSFQuant_G729_16s", 1500, [](const xvotest::Golden& g, const std::vector<int64_t>& r) {
        const auto lsf = as<int16_t>(g.in_(r, "lsf"));
        auto mem = as<int16_t>(g.in_(r, "prevFreq"));
        std::vector<int16_t> q(10, -1), idx(4, -1);
        std::vector<int64_t> out{xvosLSFQuant_G729_16s(lsf.data(), mem.data(), q.data(), idx.data())};
        out.insert(out.end(), q.begin(), q.end());
        out.insert(out.end(), idx.begin(), idx.end());
        out.insert(out.end(), mem.begin(), mem.end());
        return out;
    });
}

TEST_F(LspGolden, LSPQuant) {
    replay("xvosLSPQuant_G729_16s", 1500, [](const xvotest::Golden& g, const std::vector<int64_t>& r) {
        const auto lsp = as<int16_t>(g.in_(r, "lsp"));
        auto mem = as<int16_t>(g.in_(r, "prevFreq"));
        std::vector<int16_t> q(10, -1), code(2, -1);
        std::vector<int64_t> out{xvosLSPQuant_G729_16s(lsp.data(), mem.data(), q.data(), code.data())};
        out.insert(out.end(), q.begin(), q.end());
        out.insert(out.end(), code.begin(), code.end());
        out.insert(out.end(), mem.begin(), mem.end());
        return out;
    });
}

// ---- argument checks and edge cases ------------------------------------------------

// Null pointers, lengths and ranges are swept by the contract registry; these are the
// value checks inside the arrays and the partial write of the LSF conversion.
// The predictor-index checks are swept by the contract registry; here the domain stop it cannot see.
TEST(LspChecks, NegativeLsfStopsTheConversion) {
    // A negative LSF stops the conversion at that coefficient with -12.
    const int16_t lsfNeg[10] = {1000, 2000, -5, 4000, 5000, 6000, 7000, 8000, 9000, 10000};
    int16_t lsp[10] = {0, 0, 0, 0, 0, 0, 0, 0, 0, 0};
    EXPECT_EQ(xvosLSFToLSP_G729_16s(lsfNeg, lsp), xvoStsDomain);
    EXPECT_NE(lsp[1], 0);
    EXPECT_EQ(lsp[2], 0);
}

TEST(LspEdges, RootFinderFallbackGivesPreviousLsp) {
    // A(z) = 1 has 10 roots; the others are not minimum-phase and lose roots.
    const int16_t ok[11] = {4096, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0};
    const int16_t lost[][11] = {{4096, 32767, 32767, 32767, 32767, 32767, 32767, 32767, 32767, 32767, 32767},
                                {4096, -32768, 0, 0, 0, 0, 0, 0, 0, 0, 32767},
                                {4096, 8192, 0, 0, 0, 0, 0, 0, 0, 0, 0}};
    const int16_t prev[10] = {30000, 26000, 21000, 15000, 8000, 0, -8000, -15000, -21000, -30000};
    using Fn = XvoStatus (*)(const Xvo16s*, const Xvo16s*, Xvo16s*);
    for (Fn fn : {xvosLPCToLSP_G729_16s, xvosLPCToLSP_G729A_16s}) {
        int16_t out[10];
        ASSERT_EQ(fn(ok, prev, out), xvoStsOk);
        EXPECT_FALSE(std::equal(out, out + 10, prev));
        for (const auto& a : lost) {
            ASSERT_EQ(fn(a, prev, out), xvoStsOk);
            EXPECT_TRUE(std::equal(out, out + 10, prev));
            int16_t io[10];  // the output may alias the previous LSP
            std::copy(prev, prev + 10, io);
            ASSERT_EQ(fn(a, io, io), xvoStsOk);
            EXPECT_TRUE(std::equal(io, io + 10, prev));
        }
    }
    int16_t roots[10];
    for (const auto& a : lost) EXPECT_LT(ownLPCToLSP_16s(a, roots, kLpcToLspGsmAmr), 10);
    EXPECT_EQ(ownLPCToLSP_16s(ok, roots, kLpcToLspGsmAmr), 10);
}

TEST(LspEdges, DecodeWarnings) {
    // Memories far below / above the codebook range force the stabiliser's corrections.
    struct Case { int16_t mem; int16_t l1; XvoStatus want; } cases[] = {
        {-20000, 0, xvoStsLSFLow}, {32767, 0, xvoStsLSFHigh}, {0, 0, xvoStsOk},
    };
    for (const auto& c : cases) {
        std::vector<int16_t> mem = c.mem == 0 ? resetMemory() : std::vector<int16_t>(40, c.mem);
        const int16_t idx[4] = {0, c.l1, 0, 0};
        int16_t lsf[10];
        const XvoStatus st = xvosLSFDecode_G729_16s(idx, mem.data(), lsf);
        EXPECT_EQ(st, c.want) << "memory " << c.mem;
        if (c.want == xvoStsLSFLow) {
            EXPECT_EQ(lsf[0], 40);
        }
        if (c.want == xvoStsLSFHigh) {
            EXPECT_EQ(lsf[9], 25681);
        }
    }
    // Both ends: a memory whose rows pull the low end under 40 and the high end over 25681.
    std::vector<int16_t> mem(40);
    for (int k = 0; k < 4; ++k)
        for (int j = 0; j < 10; ++j) mem[k * 10 + j] = j < 5 ? -30000 : 32767;
    const int16_t idx[4] = {1, 0, 0, 0};
    int16_t lsf[10];
    EXPECT_EQ(xvosLSFDecode_G729_16s(idx, mem.data(), lsf), xvoStsLSFLowHigh);
    EXPECT_EQ(lsf[0], 40);
    EXPECT_EQ(lsf[9], 25681);
    for (int j = 0; j < 8; ++j) EXPECT_GE(lsf[j + 1] - lsf[j], 321);
}

TEST(LspEdges, ErasedResidualSaturates) {
    // A full-scale memory against the most negative LSF drives the L_msu chain
    // into saturation: the residual is pinned at -32768 in every position.
    for (int16_t ma : {0, 1}) {
        std::vector<int16_t> mem(40, 32767);
        const std::vector<int16_t> lsf(10, -32768);
        ASSERT_EQ(xvosLSFDecodeErased_G729_16s(ma, mem.data(), lsf.data()), xvoStsOk);
        for (int j = 0; j < 10; ++j) EXPECT_EQ(mem[j], -32768) << j;
        for (int j = 10; j < 40; ++j) EXPECT_EQ(mem[j], 32767) << j;
    }
}

TEST(LspEdges, LagWindowLengths) {
    for (int len = 1; len <= 12; ++len) {
        int32_t r[12];
        for (int k = 0; k < 12; ++k) r[k] = 0x40000000;
        ASSERT_EQ(xvosLagWindow_G729_32s_I(r, len), xvoStsOk);
        for (int k = 0; k < 12; ++k) {
            if (k < len) {
                EXPECT_EQ(r[k] >> 16, (kLagH[k] >> 1)) << "k=" << k;  // half of the window
            } else {
                EXPECT_EQ(r[k], 0x40000000);
            }
        }
    }
}

TEST(LspEdges, QuantRoundTripFromReset) {
    // Quantising the reset vector itself from a reset memory must stay close to it.
    auto mem = resetMemory();
    int16_t q[10], idx[4];
    const XvoStatus st = xvosLSFQuant_G729_16s(kFreqPrevReset, mem.data(), q, idx);
    EXPECT_EQ(st, xvoStsOk);
    for (int j = 0; j < 10; ++j) EXPECT_NEAR(q[j], kFreqPrevReset[j], 400) << j;
    // The decoder given the same indices and the same starting memory agrees.
    auto mem2 = resetMemory();
    int16_t d[10];
    EXPECT_EQ(xvosLSFDecode_G729_16s(idx, mem2.data(), d), st);
    EXPECT_TRUE(std::equal(d, d + 10, q));
    EXPECT_EQ(mem, mem2);
}

// ---- fast paths and vector twins ------------------------------------------------------

TEST(LspSimd, TableWalkShortcutEqualsStepwiseWalk) {
    // The conversions start their downward walk from a per-byte table; the step
    // by step walk of the reference must end at the same index for every value.
    auto stepwise = [](const int16_t* lsp, int16_t* ind) {
        int k = 63;
        for (int i = 9; i >= 0; --i) {
            while (kTable2[k] < lsp[i]) {
                if (--k <= 0) break;
            }
            ind[i] = static_cast<int16_t>(k);
        }
    };
    std::mt19937 rng(3);
    std::uniform_int_distribution<int> any(-32767, 32767);  // -32768 saturates the Q13 result
    for (int t = 0; t < 70000; ++t) {
        int16_t lsp[10];
        if (t < 65535) {
            for (auto& v : lsp) v = static_cast<int16_t>(t - 32767);  // every value, repeated
        } else {
            for (auto& v : lsp) v = static_cast<int16_t>(any(rng));
            std::sort(lsp, lsp + 10, std::greater<int16_t>());
        }
        int16_t ind[10], lsf[10], want[10];
        stepwise(lsp, ind);
        for (int i = 0; i < 10; ++i) {  // Lsp_lsf2 from the stepwise indices
            const int32_t off = lsp[i] - kTable2[ind[i]];
            const int32_t freq = std::min<int32_t>(32767, (ind[i] << 9) + ((2 * off * kSlopeAcos[ind[i]]) >> 12));
            want[i] = static_cast<int16_t>((freq * 25736) >> 15);
        }
        ASSERT_EQ(xvosLSPToLSF_G729_16s(lsp, lsf), xvoStsOk);
        ASSERT_TRUE(std::equal(lsf, lsf + 10, want)) << "lsp[0]=" << lsp[0];
    }
}

TEST(LspSimd, FastChebyshevEqualsOperatorForm) {
    // Random, small, and saturating coefficients and points (including -32768).
    std::mt19937 rng(11);
    std::uniform_int_distribution<int> any(-32768, 32767);
    for (int t = 0; t < 200000; ++t) {
        int16_t f[6];
        const int sh = t % 3 == 0 ? 0 : t % 3 == 1 ? 3 : 6;
        for (auto& v : f) v = static_cast<int16_t>(any(rng) >> sh);
        if (t % 7 == 0) f[t % 6] = -32768;
        // x = -32768 in half the cases: the point where the products can saturate.
        const int16_t x = static_cast<int16_t>(t & 1 ? -32768 : t % 5 == 0 ? 32767 : any(rng));
        for (int shift : {12, 13})
            for (bool q23 : {false, true})
                ASSERT_EQ(ownChebps_16s(x, f, shift, q23), ownChebpsExact_16s(x, f, shift, q23))
                    << "x=" << x << " shift=" << shift << " q23=" << q23;
    }
}

TEST(LspSimd, TwinsEqualScalar) {
    std::mt19937 rng(729);
    const auto& ref = ownLspKernelsFor(xvo::OwnCpuLevel::Scalar);
    for (auto level : {xvo::OwnCpuLevel::SSE2, xvo::OwnCpuLevel::SSE41, xvo::OwnCpuLevel::AVX2}) {
        if (!xvo::ownCpuSupports(level)) continue;
        const auto& k = ownLspKernelsFor(level);
        std::uniform_int_distribution<int> any(-32768, 32767), small(-3000, 3000);
        for (int t = 0; t < 3000; ++t) {
            alignas(32) int16_t r[16] = {};
            const int mode = t % 4;  // random, extremes, small, codebook rows
            for (int j = 0; j < 10; ++j)
                r[j] = static_cast<int16_t>(mode == 0 ? any(rng)
                                            : mode == 1 ? (any(rng) & 1 ? 32767 : -32768)
                                            : mode == 2 ? small(rng)
                                                        : kLspcb1[t % 128][j] + small(rng) / 64);
            alignas(32) int32_t d0[128], d1[128];
            ref.dist1(r, d0);
            k.dist1(r, d1);
            ASSERT_TRUE(std::equal(d0, d0 + 128, d1)) << "dist1, case " << t;

            alignas(32) int16_t w[10];  // the perceptual weights are 1..32767
            std::uniform_int_distribution<int> weight(1, 32767);
            for (auto& v : w) v = static_cast<int16_t>(mode == 1 ? 32767 : weight(rng));
            for (int from : {0, 5}) {
                alignas(32) int32_t e0[32], e1[32];
                ref.dist2(r, w, from, e0);
                k.dist2(r, w, from, e1);
                ASSERT_TRUE(std::equal(e0, e0 + 32, e1)) << "dist2, case " << t;
            }
            int16_t s0[16], s1[16];  // SID second stage
            ref.sidDist2(r, w, s0);
            k.sidDist2(r, w, s1);
            ASSERT_TRUE(std::equal(s0, s0 + 16, s1)) << "sidDist2, case " << t;

            int16_t f[6];
            for (int j = 0; j < 6; ++j) f[j] = static_cast<int16_t>(mode == 1 ? (any(rng) & 1 ? 32767 : -32768) : any(rng) >> (mode == 2 ? 4 : 0));
            alignas(32) int16_t x[64], y0[64], y1[64];
            for (int j = 0; j < 64; ++j) x[j] = static_cast<int16_t>(j < 61 ? kGrid60[j] : any(rng));
            if (mode == 1) x[5] = -32768, x[6] = 32767;
            const int shift = t & 1 ? 12 : 13;
            const bool q23 = (t & 2) != 0;
            ref.chebGrid(x, 64, f, shift, q23, y0);
            k.chebGrid(x, 64, f, shift, q23, y1);
            ASSERT_TRUE(std::equal(y0, y0 + 64, y1)) << "chebGrid, case " << t;
        }
    }
}

TEST(LspSimd, RootFinderTwinsAgree) {
    // Random and scaled-down coefficient sets reach every path: full root sets,
    // lost roots, the Q10 recomputation and grid points beyond the plain range.
    std::mt19937 rng(2026);
    std::uniform_int_distribution<int> any(-32768, 32767);
    const auto& ref = ownLspKernelsFor(xvo::OwnCpuLevel::Scalar);
    for (auto level : {xvo::OwnCpuLevel::SSE41, xvo::OwnCpuLevel::AVX2}) {
        if (!xvo::ownCpuSupports(level)) continue;
        const auto& k = ownLspKernelsFor(level);
        for (int t = 0; t < 20000; ++t) {
            int16_t a[11];
            for (auto& v : a) v = static_cast<int16_t>(any(rng) >> (t % 5));
            for (const auto* p : {&kLpcToLspG729, &kLpcToLspG729A, &kLpcToLspGsmAmr}) {
                int16_t r0[10] = {}, r1[10] = {};
                const int n0 = ownLPCToLSP_16s(a, r0, *p, ref), n1 = ownLPCToLSP_16s(a, r1, *p, k);
                ASSERT_EQ(n0, n1) << "case " << t;
                ASSERT_TRUE(std::equal(r0, r0 + n0, r1)) << "case " << t;
            }
        }
    }
}
