// GSM-AMR constant tables (TS 26.073).
#pragma once

#include <cstdint>

namespace xvo::gsmamr {

extern const int16_t kWindow200_40[240];  // LP analysis window of the modes below 12.2 (window_200_40)
extern const int16_t kWindow160_80[240];  // first 12.2 LP analysis window (window_160_80)
extern const int16_t kWindow232_8[240];  // second 12.2 LP analysis window (window_232_8)
extern const int16_t kMeanLsf3[10];  // mean LSF of the modes below 12.2 (mean_lsf_3)
extern const int16_t kPredFac3[10];  // MA prediction factors of the modes below 12.2 (pred_fac_3)
extern const int16_t kDico1Lsf3[768];  // first split, 256 x 3 (dico1_lsf_3)
extern const int16_t kDico2Lsf3[1536];  // second split, 512 x 3 (dico2_lsf_3)
extern const int16_t kDico3Lsf3[2048];  // third split, 512 x 4 (dico3_lsf_3)
extern const int16_t kMr515Lsf3[512];  // third split of 4.75/5.15, 128 x 4 (mr515_3_lsf)
extern const int16_t kMr795Lsf1[1536];  // first split of 7.95, 512 x 3 (mr795_1_lsf)
extern const int16_t kMeanLsf5[10];  // mean LSF of 12.2 (mean_lsf_5)
extern const int16_t kDico1Lsf5[512];  // 12.2 split 1, 128 x 4 (dico1_lsf_5)
extern const int16_t kDico2Lsf5[1024];  // 12.2 split 2, 256 x 4 (dico2_lsf_5)
extern const int16_t kDico3Lsf5[1024];  // 12.2 split 3, 256 x 4, signed (dico3_lsf_5)
extern const int16_t kDico4Lsf5[1024];  // 12.2 split 4, 256 x 4 (dico4_lsf_5)
extern const int16_t kDico5Lsf5[256];  // 12.2 split 5, 64 x 4 (dico5_lsf_5)
extern const int16_t kPastRqInit[80];  // the 8 initial LSF residual predictions of the SID quantiser (past_rq_init)

}  // namespace xvo::gsmamr
