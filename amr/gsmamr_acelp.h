// GSM-AMR algebraic codebook search steps shared by the modes.
#pragma once

#include <cstdint>

namespace xvo::gsmamr {

/// dn[i] = correlation of the target x with h shifted by i, normalised over the tracks (cor_h_x2;
/// sf 2 for 12.2, 1 otherwise).
void ownCorHX(const int16_t* h, const int16_t* x, int16_t* dn, int sf, int nbTrack, int step);
/// Fixes each position's sign from dn (dn becomes |dn|); dn2 keeps the n largest per track.
void ownSetSign(int16_t* dn, int16_t* sign, int16_t* dn2, int n);
/// The signed correlation matrix of the impulse response, scaled to unit energy.
void ownCorH(const int16_t* h, const int16_t* sign, int16_t (*rr)[40]);
/// The 2-, 3- and 4-pulse searches (table rows 0..5) on an already sharpened h: code vector,
/// filtered code, and the two index words (positions, signs).
void ownSearchLowRate(int row, int subFrame, const int16_t* x, const int16_t* h, int16_t* code, int16_t* y,
                      int16_t* idx);

/// The 8-pulse (10.2) and 10-pulse (12.2) searches on an already sharpened h, with the long-term
/// residual cn: code vector, filtered code, and 7 or 10 index words.
void ownSearch102(const int16_t* x, const int16_t* cn, const int16_t* h, int16_t* code, int16_t* y, int16_t* idx);
void ownSearch122(const int16_t* x, const int16_t* cn, const int16_t* h, int16_t* code, int16_t* y, int16_t* idx);

}  // namespace xvo::gsmamr
