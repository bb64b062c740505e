// The 5.3 kbit/s algebraic search, the MP-MLQ gain/pulse search and the LPC
// analysis kernels against results of the ITU-T G.723.1 reference program
// (ACELP_LBC_code, Comp_Lpc, AtoLsp) on inputs taken from the golden files,
// and the MP-MLQ search against its golden file.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <string>
#include <vector>

#include "vectors.h"
#include "xvosc.h"

namespace {

using xvotest::as;

struct AcelpWant {
    int gainIndex, shift, sign, pos, extra;
};
// line: row of the MP-MLQ golden file giving target and response (negative:
// a synthetic pattern); rows come in frames of 4 with the budget carried.
struct AcelpRow {
    int line, lag, lagGain;
    AcelpWant want;
    int64_t codeSum;  // sum of (i + 1) code[i]
};
constexpr AcelpRow kAcelp[] = {
    {0, 83, 8895, {23, 1, 12, 3966, 176}, -423872},
    {1, 47, 7366, {8, 0, 8, 552, 212}, -1484},
    {2, 79, 9759, {22, 0, 6, 1730, 264}, -73312},
    {3, 41, 2058, {23, 0, 13, 219, 277}, 245102},
    {4, 56, 13669, {23, 0, 15, 3194, 167}, 953712},
    {5, 27, 2569, {23, 0, 15, 3323, 232}, 1168716},
    {6, 122, 2348, {23, 0, 13, 2648, 254}, 225182},
    {7, 31, 12992, {23, 0, 13, 902, 297}, 786488},
    {8, 139, 2002, {21, 0, 14, 4053, 124}, -69740},
    {9, 43, 5611, {23, 1, 11, 3835, 183}, 370888},
    {10, 21, 8561, {23, 0, 12, 2144, 252}, 138896},
    {11, 54, 1797, {23, 1, 8, 3855, 341}, -715284},
    {64, 105, 7270, {23, 1, 10, 3605, 120}, -185444},
    {65, 32, 1402, {3, 0, 12, 182, 137}, -288},
    {66, 119, 4798, {2, 0, 4, 2671, 188}, -402},
    {67, 30, 2165, {1, 0, 0, 2648, 0}, -307},
    {440, 146, 444, {2, 0, 15, 547, 0}, 240},
    {441, 49, 15206, {23, 0, 12, 4090, 67}, -503348},
    {442, 54, 8037, {23, 0, 12, 4095, 129}, -768268},
    {443, 56, 6299, {20, 0, 5, 2694, 175}, 18962},
    {1252, 26, 11855, {14, 1, 0, 3505, 0}, -44412},
    {1253, 45, 3229, {20, 0, 4, 521, 56}, -91880},
    {1254, 79, 1659, {12, 0, 5, 1489, 134}, -3795},
    {1255, 22, 10840, {0, 0, 15, 0, 254}, 16},
    {-1, 30, 20000, {0, 0, 15, 0, 240}, 16},
    {-1, 100, 20000, {0, 0, 15, 0, 240}, 16},
    {-2, 30, 20000, {20, 0, 15, 3515, 0}, 494646},
    {-2, 100, 20000, {19, 0, 15, 3512, 0}, 254856},
    {-3, 30, 20000, {20, 0, 0, 3515, 0}, -494701},
    {-3, 100, 20000, {19, 0, 0, 3512, 0}, -254856},
    {-4, 30, 20000, {19, 1, 0, 3323, 192}, -368340},
    {-4, 100, 20000, {22, 1, 8, 4031, 184}, -788104},
};

void pattern(int kind, Xvo16s* x, Xvo16s* h) {
    for (int i = 0; i < 60; ++i) {
        const bool odd = i & 1;
        switch (kind) {
            case 0: x[i] = 0, h[i] = i ? 0 : 8192; break;
            case 1: x[i] = 32767, h[i] = 32767; break;
            case 2: x[i] = odd ? 32767 : -32768, h[i] = odd ? -32768 : 32767; break;
            default: x[i] = odd ? -32768 : 32767, h[i] = Xvo16s(8192 - 136 * i); break;
        }
    }
}

TEST(G723Acelp, MatchesReferenceWithBudgetCarriedOverFrames) {
    XVO_REQUIRE_VECTOR(path, "golden/g723/xvosMPMLQFixedCodebookSearch_G723.txt");
    const auto g = xvotest::loadGolden(path);
    Xvo16s extra[2] = {120, 120};
    for (size_t k = 0; k < std::size(kAcelp); ++k) {
        const AcelpRow& r = kAcelp[k];
        std::vector<Xvo16s> x(60), h(60);
        if (r.line >= 0) {
            x = as<Xvo16s>(g.in_(g.rows[r.line], "pSrcTarget"));
            h = as<Xvo16s>(g.in_(g.rows[r.line], "pSrcImpulseResponse"));
        } else {
            pattern(-1 - r.line, x.data(), h.data());
        }
        if (r.line < 0 || k % 4 == 0) extra[0] = extra[1] = 120;
        const auto h0 = h;
        for (int wide = 0; wide < 2; ++wide) {
            Xvo16s code[60], gi, sh, sg, pos;
            const auto fn = wide ? xvosACELPFixedCodebookSearch_G723_32s16s : xvosACELPFixedCodebookSearch_G723_16s;
            ASSERT_EQ(fn(x.data(), h.data(), code, &gi, &sh, &sg, &pos, &extra[wide], Xvo16s(r.lag), Xvo16s(r.lagGain)),
                      xvoStsOk);
            int64_t sum = 0;
            for (int i = 0; i < 60; ++i) sum += (i + 1) * int64_t(code[i]);
            const AcelpWant got{gi, sh, sg, pos, extra[wide]};
            EXPECT_EQ(std::vector<int>({got.gainIndex, got.shift, got.sign, got.pos, got.extra}),
                      std::vector<int>({r.want.gainIndex, r.want.shift, r.want.sign, r.want.pos, r.want.extra}))
                << "row " << k << (wide ? " 32-bit" : " 16-bit");
            EXPECT_EQ(sum, r.codeSum) << "row " << k;
        }
        EXPECT_EQ(h, h0) << "the response is not modified";
    }
}

// Sharpening applies below lag 58 only: with a zero sharpening gain every lag
// gives the same result; with a gain, 57 changes the result and 58 does not.
TEST(G723Acelp, SharpeningOnlyBelowLag58) {
    Xvo16s x[60], h[60];
    pattern(1, x, h);
    auto run = [&](int lag, int gain) {
        std::vector<Xvo16s> out(65);
        Xvo16s extra = 120;
        xvosACELPFixedCodebookSearch_G723_16s(x, h, out.data(), &out[60], &out[61], &out[62], &out[63], &extra,
                                              Xvo16s(lag), Xvo16s(gain));
        out[64] = extra;
        return out;
    };
    EXPECT_EQ(run(57, 0), run(146, 0));
    EXPECT_NE(run(57, 16000), run(146, 16000));
    EXPECT_EQ(run(58, 16000), run(146, 16000));
    EXPECT_EQ(run(16, 0), run(58, 0));
}

// The pulse/gain search agrees with the MP-MLQ search's golden choice, on the
// plain response or, when the train won, on the response with its train.
TEST(G723GainQuant, AgreesWithMpmlqGolden) {
    XVO_REQUIRE_VECTOR(path, "golden/g723/xvosMPMLQFixedCodebookSearch_G723.txt");
    const auto g = xvotest::loadGolden(path);
    int checked[2] = {};
    for (const auto& r : g.rows) {
        auto h = as<Xvo16s>(g.in_(r, "pSrcImpulseResponse"));
        const auto t = as<Xvo16s>(g.in_(r, "pSrcTarget"));
        const int lag = int(g.in_(r, "valLag")[0]), np = (g.in_(r, "subFrame")[0] & 1) ? 5 : 6;
        const bool train = g.out_(r, "pDstTrainFlag")[0] == 1;
        if (train) {  // h[i] + h[i - lag] + h[i - 2 lag] ..., saturating
            const auto h0 = h;
            for (int i = 0; i < 60; ++i)
                for (int d = lag; d <= i; d += lag) h[i] = Xvo16s(std::clamp(h[i] + h0[i - d], -32768, 32767));
        }
        Xvo16s loc[6], amp[6], grid, sub[60], gi;
        Xvo32s score;
        ASSERT_EQ(xvosGainQuant_G723_16s(h.data(), t.data(), loc, amp, &grid, sub, &gi, np, &score), xvoStsOk);
        EXPECT_EQ(gi, g.out_(r, "pDstGainIndex")[0]);
        EXPECT_EQ(grid, g.out_(r, "grid")[0]);
        if (!train) {
            EXPECT_EQ(std::vector<int64_t>(sub, sub + 60), as<int64_t>(g.out_(r, "pDstFixedVector")));
        }
        for (int i = 0; i < np; ++i) EXPECT_EQ(sub[loc[i]], amp[i]);
        ++checked[train];
    }
    EXPECT_GT(checked[0], 500);
    EXPECT_GT(checked[1], 200);
}

struct LpcRow {
    int line;  // row of the pitch postfilter golden file; its pSrc[145..324] is the block
    Xvo16s acf[11];
    int norm;
    Xvo16s lpc[10], lsp[10];  // the reference's LPC of the block and their LSPs
};
constexpr LpcRow kLpc[] = {
    {49, {17859, 2306, -6782, -2265, -1011, 52, -787, -52, -106, -1321, -5949}, 3, {835, -5249, -40, -4254, -84, -3920, -177, -3695, -113, -4518}, {4797, 6085, 10186, 11321, 15583, 16751, 20948, 22490, 26371, 28136}},
    {99, {16832, -3094, 962, 194, -3786, 982, -3926, 2189, 1490, -2754, 1946}, 7, {-1384, 172, -228, -1808, -812, -1817, 595, 546, -1344, -333}, {3821, 6306, 8840, 11446, 15708, 18130, 21018, 24911, 26661, 29371}},
    {149, {29417, -2234, 3630, -282, 8908, 1186, 4810, 785, 7389, -2221, 2079}, 11, {-909, 261, 27, 2105, 1063, 1142, 517, 1311, -799, -506}, {1907, 5813, 9595, 12095, 15498, 17610, 20816, 24146, 26899, 30669}},
    {199, {29888, -694, 2691, -2646, 3620, -2421, 327, -453, 4970, 1126, 4890}, 7, {-134, 458, -592, 852, -421, -312, 180, 1104, 474, 1182}, {2602, 6338, 8415, 12217, 14957, 17751, 20533, 24181, 26978, 30449}},
    {249, {32123, 18, 2793, 11, 1911, 4, 3316, 4, 1244, 6, -4347}, 8, {5, 643, 2, 475, 0, 818, 0, 261, 2, -1254}, {2668, 5669, 9138, 11540, 15084, 17681, 21225, 23626, 27096, 30097}},
    {299, {27835, 698, -2801, 1030, -4108, 2489, 1989, 1325, -4227, 498, -440}, 5, {748, -1213, 857, -1745, 1348, -216, 920, -1704, 771, -620}, {3079, 5988, 9321, 11722, 14404, 18037, 21007, 23266, 26655, 28566}},
    {349, {27338, 3948, -90, -1318, -1947, -2047, -4011, -171, -3067, -4678, -1612}, 6, {895, -356, -563, -606, -468, -1256, 274, -926, -1335, -383}, {3771, 5582, 9035, 11416, 14815, 17708, 20230, 23989, 26785, 29439}},
    {399, {21330, 6243, -2374, -5553, -3803, -4022, -4442, 1329, 3758, 2989, 1329}, 4, {2179, -1513, -1980, -203, -1020, -2073, 816, -33, -297, 286}, {4044, 6628, 8438, 11367, 14569, 16927, 19522, 23751, 26863, 29475}},
};

TEST(G723Lpc, AutoCorrAndLspMatchReference) {
    XVO_REQUIRE_VECTOR(path, "golden/g723/xvosPitchPostFilter_G723_16s.txt");
    const auto g = xvotest::loadGolden(path);
    constexpr Xvo16s kDc[10] = {3131, 4721, 7690, 10806, 13872, 16495, 19752, 22260, 25484, 27718};
    for (const LpcRow& r : kLpc) {
        const auto blk = as<Xvo16s>(g.in_(g.rows[r.line], "pSrc").subspan(145, 180));
        Xvo16s acf[11], acf2[11], lsp[10];
        Xvo32s norm = -1;
        ASSERT_EQ(xvosAutoCorr_NormE_G723_16s(blk.data(), acf, &norm), xvoStsOk);
        ASSERT_EQ(xvosAutoCorr_G723_16s(blk.data(), acf2), xvoStsOk);
        EXPECT_EQ(std::vector<Xvo16s>(acf, acf + 11), std::vector<Xvo16s>(r.acf, r.acf + 11)) << r.line;
        EXPECT_EQ(std::vector<Xvo16s>(acf2, acf2 + 11), std::vector<Xvo16s>(r.acf, r.acf + 11)) << r.line;
        EXPECT_EQ(norm, r.norm) << r.line;
        ASSERT_EQ(xvosLPCToLSF_G723_16s(r.lpc, kDc, lsp), xvoStsOk);
        EXPECT_EQ(std::vector<Xvo16s>(lsp, lsp + 10), std::vector<Xvo16s>(r.lsp, r.lsp + 10)) << r.line;
    }
}

TEST(G723Lpc, ExtremeBlocksAndRootFallback) {
    struct {
        int kind;
        Xvo16s acf0, acf1;
        int norm;
    } const cases[] = {{0, 0, 0, 40}, {1, 18221, 18188, -6}, {2, 18225, -18192, -6}, {3, 16400, 0, 0}};
    for (const auto& c : cases) {
        Xvo16s blk[180], acf[11];
        for (int i = 0; i < 180; ++i)
            blk[i] = c.kind == 0 ? 0 : c.kind == 1 ? 32767 : c.kind == 2 ? ((i & 1) ? 32767 : -32768) : (i == 90 ? -32768 : 0);
        Xvo32s norm;
        xvosAutoCorr_NormE_G723_16s(blk, acf, &norm);
        EXPECT_EQ(acf[0], c.acf0) << c.kind;
        EXPECT_EQ(acf[1], c.acf1) << c.kind;
        EXPECT_EQ(norm, c.norm) << c.kind;
    }
    // A filter with roots outside the unit circle yields fewer than 10 crossings.
    Xvo16s lpc[10], prev[10], lsp[10];
    for (int i = 0; i < 10; ++i) lpc[i] = 16000, prev[i] = Xvo16s(1000 * (i + 1));
    xvosLPCToLSF_G723_16s(lpc, prev, lsp);
    EXPECT_EQ(std::vector<Xvo16s>(lsp, lsp + 10), std::vector<Xvo16s>(prev, prev + 10));
}

}  // namespace
