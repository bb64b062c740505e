// GSM-AMR constant tables (TS 26.073).
#pragma once

#include <cstdint>

namespace xvo::gsmamr {

/// Twiddles of the option-2 VAD's 64-point complex FFT: cos and -sin of 2 pi k / 128, interleaved.
inline constexpr int16_t kFftPhase[128] = {
    32767,  0,      32729,  -1608,  32610,  -3212,  32413,  -4808,  32138,  -6393,  31786,  -7962,  31357,  -9512,
    30853,  -11039, 30274,  -12540, 29622,  -14010, 28899,  -15447, 28106,  -16846, 27246,  -18205, 26320,  -19520,
    25330,  -20788, 24279,  -22006, 23170,  -23170, 22006,  -24279, 20788,  -25330, 19520,  -26320, 18205,  -27246,
    16846,  -28106, 15447,  -28899, 14010,  -29622, 12540,  -30274, 11039,  -30853, 9512,   -31357, 7962,   -31786,
    6393,   -32138, 4808,   -32413, 3212,   -32610, 1608,   -32729, 0,      -32768, -1608,  -32729, -3212,  -32610,
    -4808,  -32413, -6393,  -32138, -7962,  -31786, -9512,  -31357, -11039, -30853, -12540, -30274, -14010, -29622,
    -15447, -28899, -16846, -28106, -18205, -27246, -19520, -26320, -20788, -25330, -22006, -24279, -23170, -23170,
    -24279, -22006, -25330, -20788, -26320, -19520, -27246, -18205, -28106, -16846, -28899, -15447, -29622, -14010,
    -30274, -12540, -30853, -11039, -31357, -9512,  -31786, -7962,  -32138, -6393,  -32413, -4808,  -32610, -3212,
    -32729, -1608};

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
