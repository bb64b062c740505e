// Vector twin of the GSM-AMR pitch search's hot loop: for every candidate lag, the energy of the
// filtered past excitation, its correlation with the target, and the update of the filtered
// excitation to the next lag. The scalar form defines the results (the reference's saturating
// operators); the vector forms give the same bits and are tested equal on random inputs.
#pragma once

#include <cstdint>

#include "core/cpu.h"

namespace xvo::gsmamr {

/// For lags t = tMin..tMin + nLags - 1 (excf holding the 40 filtered samples of lag tMin on entry):
///   energy[t - tMin] = sum L_mac(excf[j], excf[j]), dot[t - tMin] = sum L_mac(xn[j], excf[j]),
///   then, except after the last lag, excf[j] = add(extract_h(L_shl(L_mult(exc[-t-1], h[j]), hFac)),
///   excf[j - 1]) for j = 39..1 and excf[0] = shr(exc[-t-1], scaling).
/// exc points at the current subframe (history before it).
using OwnAcbLagsFn = void (*)(const int16_t* exc, const int16_t* xn, const int16_t* h, int tMin, int nLags, int hFac,
                              int scaling, int16_t* excf, int32_t* energy, int32_t* dot);

/// Signed correlation matrix of a scaled impulse response h2 whose doubled energy plus 0x8000 fits
/// in 32 bits (so no running sum can saturate): rr[i][i] = round(sum_{k <= 39 - i} 2 h2[k]^2) and,
/// for i > j, rr[i][j] = rr[j][i] = mult(round(sum_{k <= 39 - i} 2 h2[k] h2[k + i - j]),
/// mult(sign[i], sign[j])), signs being +-32767.
using OwnCorHFn = void (*)(const int16_t* h2, const int16_t* sign, int16_t (*rr)[40]);

struct OwnGsmAmrKernels {
    OwnCpuLevel level;
    OwnAcbLagsFn acbLags;
    OwnCorHFn corH;
};

const OwnGsmAmrKernels& ownGsmAmrKernelsFor(OwnCpuLevel level);
const OwnGsmAmrKernels& ownGsmAmrKernels();

}  // namespace xvo::gsmamr
