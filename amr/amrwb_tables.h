// AMR-WB ISF codebooks (TS 26.173).
#pragma once

#include <cstdint>

#include "amr/amrwb_simd.h"

namespace xvo::amrwb {

extern const int16_t kMeanIsf[16];  // ISF mean (mean_isf)
extern const int16_t kDico1Isf[2304];  // stage 1, ISF 1-9, 256 x 9 (dico1_isf)
extern const int16_t kDico2Isf[1792];  // stage 1, ISF 10-16, 256 x 7 (dico2_isf)
extern const int16_t kDico21Isf[192];  // 46-bit stage 2, 64 x 3 (dico21_isf)
extern const int16_t kDico22Isf[384];  // 46-bit stage 2, 128 x 3 (dico22_isf)
extern const int16_t kDico23Isf[384];  // 46-bit stage 2, 128 x 3 (dico23_isf)
extern const int16_t kDico24Isf[96];  // 46-bit stage 2, 32 x 3 (dico24_isf)
extern const int16_t kDico25Isf[128];  // 46-bit stage 2, 32 x 4 (dico25_isf)
extern const int16_t kDico21Isf36b[640];  // 36-bit stage 2, 128 x 5 (dico21_isf_36b)
extern const int16_t kDico22Isf36b[512];  // 36-bit stage 2, 128 x 4 (dico22_isf_36b)
extern const int16_t kDico23Isf36b[448];  // 36-bit stage 2, 64 x 7 (dico23_isf_36b)
extern const int16_t kMeanIsfNoise[16];  // silence-descriptor ISF mean (mean_isf_noise)
extern const int16_t kDico1IsfNoise[128];  // SID, 64 x 2 (dico1_isf_noise)
extern const int16_t kDico2IsfNoise[192];  // SID, 64 x 3 (dico2_isf_noise)
extern const int16_t kDico3IsfNoise[192];  // SID, 64 x 3 (dico3_isf_noise)
extern const int16_t kDico4IsfNoise[128];  // SID, 32 x 4 (dico4_isf_noise)
extern const int16_t kDico5IsfNoise[128];  // SID, 32 x 4 (dico5_isf_noise)

extern const int16_t kCosIsp[129];  // cos(x) in Q15 on a 129-point grid over 0..pi (isp_isf table)
extern const int16_t kSlopeIsp[128];  // acos slope between grid points, Q11 (isp_isf slope)
extern const int16_t kMeanIsfHfLow[8];  // AMR-WB+ high-band ISF mean, low-rate set (Mean_isf_hf_low_rate)
extern const int16_t kDico1IsfHfLow[32];  // AMR-WB+ high-band first codebook 4 x 8, low-rate set
extern const int16_t kMeanIsfHf12k8[8];  // AMR-WB+ high-band ISF mean, 12.8 kHz set (Mean_isf_hf_12k8)
extern const int16_t kDico1IsfHf12k8[32];  // AMR-WB+ high-band first codebook 4 x 8, 12.8 kHz set
extern const int16_t kDico2IsfHf[1024];  // AMR-WB+ high-band second codebook 128 x 8 (Dico2_isf_hf)
extern const int16_t kCorrWeight[199];  // open-loop pitch lag weighting, Q14 (corrweight)

// The ISF codebooks by column pairs for the vector distance searches (see OwnVqPairs).
extern const OwnVqPairs kDico1IsfP, kDico2IsfP, kDico21IsfP, kDico22IsfP, kDico23IsfP, kDico24IsfP, kDico25IsfP,
    kDico21Isf36bP, kDico22Isf36bP, kDico23Isf36bP;

}  // namespace xvo::amrwb
