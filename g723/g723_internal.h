// Kernels shared between the G.723.1 exports of this family.
#pragma once

#include <cstdint>

#include "core/fixed.h"

namespace xvo::g723 {

inline constexpr int kMaxPulses = 6;  ///< most MP-MLQ pulses per subframe

/// Best MP-MLQ candidate of a search: score, grid, amplitude index, and the
/// pulses in the order they were placed (signed amplitudes, positions).
struct MlqBest {
    int32_t maxErr = fx::MIN_32;
    int16_t grid = 0, ampId = 0;
    int16_t amp[kMaxPulses] = {};
    int16_t loc[kMaxPulses] = {};
};

/// MP-MLQ pulse and amplitude search of np pulses over both grids with the
/// response imr (60) against the target tv (60); best is replaced by every
/// strictly better candidate.
void ownGainQuant_G723(MlqBest& best, const int16_t* tv, const int16_t* imr, int np);

// Restoring division of a non-negative 32-bit numerator by a positive 16-bit
// denominator placed in the high half; 32767 when the quotient reaches 1.
inline int16_t ownDivL(int32_t num, int16_t den) {
    using namespace fx;
    int32_t lden = L_deposit_h(den);
    if (num >= lden) return MAX_16;
    num = L_shr(num, 1);
    lden = L_shr(lden, 1);
    int16_t q = 0;
    for (int i = 0; i < 15; ++i) {
        q = shl(q, 1);
        num = L_shl(num, 1);
        if (num >= lden) {
            num = L_sub(num, lden);
            q = add(q, 1);
        }
    }
    return q;
}

/// Correlation matrix of the algebraic search (416 entries, layout of
/// xvosToeplizMatrix_G723_16s); T = int16_t high halves or int32_t full sums.
/// halve: the response is halved, else shifted left by half of norm_l(en).
template <typename T>
void ownToeplitz_G723(const int16_t* H, T* rr, bool halve, int32_t en);
extern template void ownToeplitz_G723<int16_t>(const int16_t*, int16_t*, bool, int32_t);
extern template void ownToeplitz_G723<int32_t>(const int16_t*, int32_t*, bool, int32_t);

}  // namespace xvo::g723
