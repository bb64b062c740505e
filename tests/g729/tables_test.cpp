// Guards of the G.729 constant tables: every table's size, sum, order-sensitive
// checksum and end values as transcribed from the ITU-T reference, plus the
// spot values and derived relations the G.729 text states.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <type_traits>
#include <vector>

#include "core/fixed.h"
#include "core/helpers_tables.h"
#include "g729/g729_tables.h"

using namespace xvo::g729;
namespace fx = xvo::fx;

namespace {

/// All elements of a (multi-dimensional) table, in memory order.
template <typename A>
std::vector<int64_t> flat(const A& a) {
    using E = std::remove_all_extents_t<A>;
    const E* p = reinterpret_cast<const E*>(&a);
    return std::vector<int64_t>(p, p + sizeof(A) / sizeof(E));
}

struct TableGuard {
    const char* name;
    std::vector<int64_t> values;
    size_t count;
    int64_t sum;
    uint32_t hash;  // h = h*31 + (uint32)v over all values
    int64_t first, last;
};

}  // namespace

TEST(G729Tables, ChecksumsAndEnds) {
    const TableGuard guards[] = {
    {"kHamwindow", flat(kHamwindow), 240, 4376882LL, 1968490908u, 2621, 971},
    {"kLagH", flat(kLagH), 12, 370700LL, 1728956210u, 32728, 27923},
    {"kLagL", flat(kLagL), 12, 240008LL, 965608816u, 11904, 12924},
    {"kLagWindow", flat(kLagWindow), 12, 24294675216LL, 978193120u, 2144886016, 1829987576},
    {"kTable", flat(kTable), 65, -1LL, 2197897023u, 32767, -32768},
    {"kSlope", flat(kSlope), 64, -151182LL, 1672612832u, -26887, -26887},
    {"kTable2", flat(kTable2), 64, 32767LL, 70900961u, 32767, -32729},
    {"kSlopeCos", flat(kSlopeCos), 64, -1048574LL, 1695924064u, -632, -632},
    {"kSlopeAcos", flat(kSlopeAcos), 64, -151182LL, 1672612832u, -26887, -26887},
    {"kLspcb1", flat(kLspcb1), 1280, 14284229LL, 1755386789u, 1486, 19929},
    {"kLspcb2", flat(kLspcb2), 320, 25036LL, 554198406u, -435, 934},
    {"kFg", flat(kFg), 80, 406125LL, 3909490719u, 8421, 2601},
    {"kFgSum", flat(kFgSum), 20, 249188LL, 2615446596u, 7798, 15708},
    {"kFgSumInv", flat(kFgSumInv), 20, 241689LL, 157536919u, 17210, 8544},
    {"kFreqPrevReset", flat(kFreqPrevReset), 10, 128675LL, 2172793651u, 2339, 23396},
    {"kGrid60", flat(kGrid60), 61, 0LL, 1812096960u, 32760, -32760},
    {"kGrid50", flat(kGrid50), 51, 0LL, 2978669888u, 32760, -32760},
    {"kInter3", flat(kInter3), 13, 63966LL, 1704429334u, 29519, 0},
    {"kInter3l", flat(kInter3l), 31, 63865LL, 1975408557u, 29443, 0},
    {"kPred", flat(kPred), 4, 14663LL, 170619263u, 5571, 1556},
    {"kGbk1", flat(kGbk1), 16, 87162LL, 127593776u, 1, 27162},
    {"kGbk2", flat(kGbk2), 32, 229081LL, 1964770265u, 826, 5935},
    {"kMap1", flat(kMap1), 8, 28LL, 1132691576u, 5, 2},
    {"kMap2", flat(kMap2), 16, 120LL, 3630931464u, 4, 5},
    {"kCoef", flat(kCoef), 4, 117661LL, 976158451u, 31881, 27816},
    {"kLCoef", flat(kLCoef), 4, 7711163744LL, 1571933984u, 2089405952, 1822990272},
    {"kThr1", flat(kThr1), 4, 75527LL, 334518227u, 10808, 32567},
    {"kThr2", flat(kThr2), 8, 179042LL, 728461124u, 14087, 30542},
    {"kImap1", flat(kImap1), 8, 28LL, 1215778676u, 5, 3},
    {"kImap2", flat(kImap2), 16, 120LL, 2634118208u, 2, 8},
    {"kTabHupS", flat(kTabHupS), 28, 230442LL, 1672824544u, -188, -188},
    {"kTabHupL", flat(kTabHupL), 112, 228960LL, 1565767168u, -40, -40},
    {"kB100", flat(kB100), 3, 0LL, 6929100u, 7699, 7699},
    {"kA100", flat(kA100), 3, 16361LL, 8355761u, 8192, -7667},
    {"kB140", flat(kB140), 3, 0LL, 1709100u, 1899, 1899},
    {"kA140", flat(kA140), 3, 8170LL, 4174540u, 4096, -3733},
    {"kTabpow", flat(kTabpow), 33, 780991LL, 1284424501u, 16384, 32767},
    {"kTablog", flat(kTablog), 33, 600680LL, 2635364262u, 0, 32767},
    {"kTabsqr", flat(kTabsqr), 49, 1073225LL, 1303761919u, 32767, 16384},
    {"kTabZone", flat(kTabZone), 153, 219LL, 583414403u, 0, 3},
    {"kLbfCorr", flat(kLbfCorr), 13, 20315LL, 273139807u, 7869, 4},
    {"kShiftFx", flat(kShiftFx), 33, 57LL, 1486924763u, 0, 0},
    {"kFactorFx", flat(kFactorFx), 33, 781574LL, 4226663432u, 32767, 0},
    {"kFact", flat(kFact), 3, 449LL, 394829u, 410, 13},
    {"kMarg", flat(kMarg), 3, 1LL, 1u, 0, 1},
    {"kTabSidgain", flat(kTabSidgain), 32, 77495LL, 3235938333u, 2, 15962},
    {"kNoiseFg", flat(kNoiseFg), 80, 454641LL, 182986157u, 8421, 3124},
    {"kNoiseFgSum", flat(kNoiseFgSum), 20, 200657LL, 3545229879u, 7798, 11447},
    {"kNoiseFgSumInv", flat(kNoiseFgSumInv), 20, 275240LL, 4211510104u, 17210, 11724},
    {"kPtrTab1", flat(kPtrTab1), 32, 2368LL, 1456586072u, 96, 66},
    {"kPtrTab2", flat(kPtrTab2), 32, 514LL, 3113810136u, 31, 31},
    {"kMp", flat(kMp), 2, 25216LL, 284536u, 8644, 16572},
    {"kGbk1_6k", flat(kGbk1_6k), 16, 101056LL, 1184108334u, 5849, 22294},
    {"kGbk2_6k", flat(kGbk2_6k), 16, 150606LL, 1363400430u, 0, 15724},
    {"kCoef_6k", flat(kCoef_6k), 4, 84840LL, 579383220u, 18756, 19322},
    {"kLCoef_6k", flat(kLCoef_6k), 4, 5560083568LL, 2647711568u, 1229182965, 1266310978},
    {"kThr1_6k", flat(kThr1_6k), 2, 29594LL, 327164u, 9919, 19675},
    {"kThr2_6k", flat(kThr2_6k), 2, 42377LL, 559367u, 17233, 25144},
    {"kMap1_6k", flat(kMap1_6k), 8, 28LL, 3726467998u, 0, 3},
    {"kImap1_6k", flat(kImap1_6k), 8, 28LL, 263565102u, 0, 6},
    {"kMap2_6k", flat(kMap2_6k), 8, 28LL, 3642516928u, 0, 2},
    {"kImap2_6k", flat(kImap2_6k), 8, 28LL, 344836032u, 0, 3},
    {"kTrackTable0", flat(kTrackTable0), 16, 312LL, 3090433168u, 1, 38},
    {"kTrackTable1", flat(kTrackTable1), 32, 616LL, 732273960u, 0, 36},
    {"kGrayEncode", flat(kGrayEncode), 32, 496LL, 2560736512u, 0, 16},
    {"kGrayDecode", flat(kGrayDecode), 32, 496LL, 2470969088u, 0, 21},
    {"kPhImpLow", flat(kPhImpLow), 40, 32764LL, 3968435426u, 14690, 10145},
    {"kPhImpMid", flat(kPhImpMid), 40, 32761LL, 1240016449u, 30274, 655},
    };
    for (const auto& g : guards) {
        SCOPED_TRACE(g.name);
        ASSERT_EQ(g.values.size(), g.count);
        int64_t sum = 0;
        uint32_t h = 0;
        for (int64_t v : g.values) {
            sum += v;
            h = h * 31u + static_cast<uint32_t>(v);
        }
        EXPECT_EQ(sum, g.sum);
        EXPECT_EQ(h, g.hash);
        EXPECT_EQ(g.values.front(), g.first);
        EXPECT_EQ(g.values.back(), g.last);
    }
}

TEST(G729Tables, DerivedRelations) {
    for (int k = 0; k < 12; ++k) {  // the 32-bit lag window splits back into lag_h / lag_l
        EXPECT_EQ(kLagWindow[k] >> 16, kLagH[k]);
        EXPECT_EQ((kLagWindow[k] >> 1) & 0x7fff, kLagL[k]);
    }
    for (int p = 0; p < 2; ++p)
        for (int j = 0; j < 10; ++j) {
            // fg_sum = 1 - sum(fg) in Q15 (to 4 LSB of rounding), fg_sum_inv = 1/fg_sum in Q12 (to 0.1%)
            int32_t s = 32768;
            for (int k = 0; k < 4; ++k) s -= kFg[p][k][j];
            EXPECT_NEAR(kFgSum[p][j], s, 4);
            EXPECT_NEAR(kFgSumInv[p][j] / 4096.0, 32768.0 / kFgSum[p][j], 4e-3 * kFgSumInv[p][j] / 4096.0);
            // Annex B predictor 1 is 0.6*fg[0] + 0.4*fg[1] (Q15 weights 19660, 13107), predictor 0 is fg[0]
            for (int k = 0; k < 4; ++k) {
                EXPECT_EQ(kNoiseFg[0][k][j], kFg[0][k][j]);
                EXPECT_EQ(kNoiseFg[1][k][j], fx::extract_h(fx::L_mac(fx::L_mult(kFg[0][k][j], 19660), kFg[1][k][j], 13107)));
            }
        }
    for (int p = 0; p < 5; ++p)  // the regrouped first-stage codebook of the vector search
        for (int i = 0; i < 128; ++i) {
            EXPECT_EQ(static_cast<int16_t>(kLspcb1Pairs[p][i] & 0xffff), kLspcb1[i][2 * p]);
            EXPECT_EQ(static_cast<int16_t>(kLspcb1Pairs[p][i] >> 16), kLspcb1[i][2 * p + 1]);
        }
    for (int j = 0; j < 10; ++j)
        for (int k = 0; k < 32; ++k) EXPECT_EQ(kLspcb2T[j][k], kLspcb2[k][j]);
    for (int k = 0; k < 64; ++k) {  // the three cosine tables agree with the shared one
        EXPECT_EQ(kTable[k], xvo::kCosTable64[k]);
        EXPECT_EQ(kTable2[k], xvo::kCosTable64[k]);
        EXPECT_EQ(kSlope[k], kSlopeAcos[k]);
    }
    for (int i = 1; i < 60; ++i) EXPECT_NEAR(kGrid60[i], 32768.0 * std::cos(M_PI * i / 60), 1.0);
    for (int i = 1; i < 50; ++i) EXPECT_NEAR(kGrid50[i], 32768.0 * std::cos(M_PI * i / 50), 1.0);
    for (int j = 0; j < 10; ++j) EXPECT_NEAR(kFreqPrevReset[j], 8192.0 * M_PI * (j + 1) / 11, 1.0);
}
