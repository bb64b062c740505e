// The transcribed GSM-AMR and AMR-WB tables: size, sum and a few values checked against
// the TS 26.073 sources, so a damaged transcription cannot pass silently
// where no golden line reaches a row.
#include <gtest/gtest.h>

#include <numeric>
#include <span>

#include "amr/amrwb_tables.h"
#include "amr/gsmamr_tables.h"

using namespace xvo::gsmamr;
using namespace xvo::amrwb;

TEST(AmrTables, SizesSumsAndSpotValues) {
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
        {"mean_lsf_5", kMeanLsf5, 74223, 1384, 13701},         {"past_rq_init", kPastRqInit, -17243, -258, 515},         {"dico1_lsf_5", kDico1Lsf5, 142291, 0, 0},
        {"dico2_lsf_5", kDico2Lsf5, 194273, 0, 0},             {"dico3_lsf_5", kDico3Lsf5, -82706, 0, 0},
        {"dico4_lsf_5", kDico4Lsf5, -97234, 0, 0},             {"dico5_lsf_5", kDico5Lsf5, -6167, 0, 0},
        {"mean_isf", kMeanIsf, 119497, 738, 4037},             {"dico1_isf", kDico1Isf, 126081, 579, 364},
        {"dico2_isf", kDico2Isf, -75376, 1357, -332},          {"dico21_isf", kDico21Isf, 1674, 329, -98},
        {"dico22_isf", kDico22Isf, -273, -127, -260},          {"dico23_isf", kDico23Isf, 834, -10, -325},
        {"dico24_isf", kDico24Isf, -392, -79, 55},             {"dico25_isf", kDico25Isf, 104, 169, -262},
        {"dico21_isf_36b", kDico21Isf36b, 1244, -52, 263},     {"dico22_isf_36b", kDico22Isf36b, -907, -298, -38},
        {"dico23_isf_36b", kDico23Isf36b, -237, 81, -109},     {"mean_isf_noise", kMeanIsfNoise, 111821, 478, 3803},
        {"dico1_isf_noise", kDico1IsfNoise, 28274, -269, 1123}, {"dico2_isf_noise", kDico2IsfNoise, 14156, -824, 1063},
        {"dico3_isf_noise", kDico3IsfNoise, 54961, -805, 1876}, {"dico4_isf_noise", kDico4IsfNoise, 59928, -776, 1513},
        {"dico5_isf_noise", kDico5IsfNoise, 84238, -810, 326},  {"isp_isf cos", kCosIsp, -1, 32767, -32768},
        {"isp_isf slope", kSlopeIsp, -168582, -26214, -26214},   {"corrweight", kCorrWeight, 2518854, 10772, 10728},
        {"mean_isf_hf_low", kMeanIsfHfLow, 71706, 5631, 3212},   {"dico1_isf_hf_low", kDico1IsfHfLow, -155, 109, -78},
        {"mean_isf_hf_12k8", kMeanIsfHf12k8, 64144, 2481, 3960}, {"dico1_isf_hf_12k8", kDico1IsfHf12k8, -2762, 450, 409},
        {"dico2_isf_hf", kDico2IsfHf, -7035, -2927, 195},
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
