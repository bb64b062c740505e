// Internal gain helpers of the G.729 family: the MA energy predictor of the
// fixed-codebook gain and the G.729 forms of 2^x and 1/sqrt(x).
#pragma once

#include <cstdint>

namespace xvo::g729 {

/// 2^(exponent + fraction/32768) in Q0, rounded (G.729 Pow2; exponent 0..30).
int32_t ownPow2_G729(int16_t exponent, int16_t fraction);

/// 1/sqrt(x) in Q30 for x in Q0 (G.729 Inv_sqrt); x <= 0 gives 0x3fffffff.
int32_t ownInvSqrt_G729(int32_t x);

/// Predicted fixed-codebook gain gcode0 * 2^-exp from the code-vector energy
/// (sum of L_mac code[i]^2) and the four past quantised energies (Q10 dB).
void ownGainPredict_G729(int32_t energy, const int16_t* pastEnergy, int16_t* gcode0, int16_t* expGcode0);

/// Shifts the past energies and stores 20*log10 of the quantised gain
/// correction gbk12 (Q13) at the front.
void ownGainUpdate_G729(int16_t* pastEnergy, int32_t gbk12);

/// Erased frame: shifts in the mean of the four past energies minus 4 dB,
/// floored at -14 dB.
void ownGainUpdateErasure_G729(int16_t* pastEnergy);

}  // namespace xvo::g729
