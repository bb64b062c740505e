// GSM-AMR adaptive-codebook helpers shared by the pitch search and decoder.
#pragma once

#include <cstdint>

namespace xvo {

/// Longest pitch lag the 154-sample excitation history can interpolate.
constexpr int kGsmAmrPitMax = 143;

/// Long-term prediction with fractional interpolation (TS 26.073 Pred_lt_3or6):
/// writes exc[0..39] from the past excitation at lag t0 and fraction frac
/// (in 1/3 units when flag3 is set, else 1/6). exc points at the current
/// subframe of a buffer holding at least t0 + 10 samples of history before it;
/// t0 must be at least 10 (the filter reads 10 samples ahead of the lag).
void ownPredLt3or6_16s(int16_t* exc, int t0, int frac, bool flag3);

}  // namespace xvo
