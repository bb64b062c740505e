// The transcribed GSM-AMR tables: size, sum and a few values checked against
// the TS 26.073 sources, so a damaged transcription cannot pass silently
// where no golden line reaches a row.
#include <gtest/gtest.h>

#include <numeric>
#include <span>

#include "amr/gsmamr_tables.h"

using namespace xvo::gsmamr;

TEST(GsmAmrTables, SizesSumsAndSpotValues) {
    struct Row {
        const char* name;
        std::span<const int16_t> t;
        long sum;
        int first, last;
    };
    const Row rows[] = {
        {"window_200_40", kWindow200_40, 4376882, 2621, 971}, {"window_160_80", kWindow160_80, 4246725, 2621, 2621},
        {"window_232_8", kWindow232_8, 4275757, 2621, 4962},  {"mean_lsf_3", kMeanLsf3, 76194, 1546, 13714},
        {"pred_fac_3", kPredFac3, 107652, 9556, 6484},         {"dico1_lsf_3", kDico1Lsf3, 381220, 6, 446},
        {"dico2_lsf_3", kDico2Lsf3, 44865, 0, 0},              {"dico3_lsf_3", kDico3Lsf3, -28932, 0, 0},
        {"mr515_3_lsf", kMr515Lsf3, -34788, 0, 0},             {"mr795_1_lsf", kMr795Lsf1, 71737, 0, 0},
        {"mean_lsf_5", kMeanLsf5, 74223, 1384, 13701},         {"dico1_lsf_5", kDico1Lsf5, 142291, 0, 0},
        {"dico2_lsf_5", kDico2Lsf5, 194273, 0, 0},             {"dico3_lsf_5", kDico3Lsf5, -82706, 0, 0},
        {"dico4_lsf_5", kDico4Lsf5, -97234, 0, 0},             {"dico5_lsf_5", kDico5Lsf5, -6167, 0, 0},
    };
    for (const auto& r : rows) {
        EXPECT_EQ(std::accumulate(r.t.begin(), r.t.end(), 0L), r.sum) << r.name;
        if (r.first || r.last) {
            EXPECT_EQ(r.t.front(), r.first) << r.name;
            EXPECT_EQ(r.t.back(), r.last) << r.name;
        }
    }
    EXPECT_EQ(std::size(kDico1Lsf3), 768u);
    EXPECT_EQ(std::size(kDico3Lsf3), 2048u);
    EXPECT_EQ(std::size(kDico5Lsf5), 256u);
}
