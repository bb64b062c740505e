// Constant tables and frame geometry of the G.723.1 coder shared by the
// kernels of this family.
#pragma once

#include <cstdint>

namespace xvo::g723 {

inline constexpr int kSubFrLen = 60;   ///< samples per subframe
inline constexpr int kFrame = 240;     ///< samples per frame
inline constexpr int kPitchMax = 145;  ///< longest pitch lag (excitation history length)
inline constexpr int kPwRange = 3;     ///< harmonic search range around the open-loop lag

/// 5-tap adaptive gain codebooks: entry i holds 20 weights at [20 i].
extern const int16_t kAcbkGain085[85 * 20];
extern const int16_t kAcbkGain170[170 * 20];
/// MP-MLQ pulse amplitudes (24 levels).
extern const int16_t kFcbkGain[24];
/// Number of position codes per subframe (C(30, pulses)).
extern const int32_t kMaxPos[4];
/// Combinatorial position code weights, 6 rows of 30.
extern const int32_t kCombinatorial[6 * 30];
/// LPC analysis: Hamming window (180, Q15) and binomial lag window (lags 1..10, Q15).
extern const int16_t kHamming[180];
extern const int16_t kBinomialWindow[10];
/// LPC to LSP: bandwidth expansion factors (Q15) and the 512-point cosine (amplitude 16384).
extern const int16_t kBandExp[10];
extern const int16_t kCosine[512];

}  // namespace xvo::g723
