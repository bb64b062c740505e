// G.723.1 constant tables (ITU-T G.723.1 reference, tab_lbc.c).
#pragma once

#include <cstdint>

namespace xvo::g723 {

/// The 5-tap adaptive-codebook gain codebooks: per entry the 20 terms the search weighs (the 5
/// gains and the 15 distinct gain products), 85 and 170 entries (AcbkGainTable085/170).
extern const int16_t kAcbkGain085[85 * 20];
extern const int16_t kAcbkGain170[170 * 20];

/// Quantised fixed-codebook gains (FcbkGainTable), 24 levels.
extern const int16_t kFcbkGain[24];
/// Combinations of positions for the MP-MLQ position code: row = pulses placed so far relative to
/// 6, column = grid position (CombinatorialTable[6][30]).
extern const int32_t kCombinatorial[6 * 30];

}  // namespace xvo::g723
