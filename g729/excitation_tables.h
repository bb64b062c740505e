// Constant tables used only by the G.729 excitation kernels of this family
// (floating-point gain quantisers). The fixed-point tables live in
// g729_tables.h. tests/g729/gain_test.cpp guards each with spot values and
// a relation to its fixed-point twin.
#pragma once

namespace xvo::g729 {

/// gbk1 / gbk2 of the G.729 floating-point reference (design values):
/// {pitch gain, code gain correction}.
extern const float kGbk1F[8][2];
extern const float kGbk2F[16][2];
/// Pre-selection thresholds and coefficients of the floating-point reference.
extern const float kThr1F[4];
extern const float kThr2F[8];
extern const float kCoefF[2][2];

/// The 6.4 kbit/s (Annex D) gain tables in float: the fixed-point Q14
/// codebooks divided by 16384, thresholds and coefficients as the Annex D
/// tables state them in floating point.
extern const float kGbk1F_6k[8][2];
extern const float kGbk2F_6k[8][2];
extern const float kThr1F_6k[2];
extern const float kThr2F_6k[2];
extern const float kCoefF_6k[2][2];

/// inter_3l of the floating-point reference: the 1/3-resolution
/// interpolation filter of the adaptive codebook (the fixed-point kInter3l
/// in Q15, rounded).
extern const float kInter3lF[31];

}  // namespace xvo::g729
