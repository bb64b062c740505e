// Vector twins of the GSM-AMR pitch search's hot loop and of the option-2 VAD's FFT stages: for every candidate lag, the energy of the
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

/// One stage (0..5) of the option-2 VAD's 64-point complex FFT on interleaved x[128], for inputs
/// below 13500 in magnitude (where no operator of the reference can saturate): x[k] and
/// x[k + (2 << stage)] become (a + t) >> 1 and (a - t) >> 1, t the second rotated by the stage's
/// twiddle and rounded as the reference rounds.
using OwnFftStageFn = void (*)(int16_t* x, int stage);

struct OwnGsmAmrKernels {
    OwnCpuLevel level;
    OwnAcbLagsFn acbLags;
    OwnFftStageFn fftStage;
};

const OwnGsmAmrKernels& ownGsmAmrKernelsFor(OwnCpuLevel level);
const OwnGsmAmrKernels& ownGsmAmrKernels();

}  // namespace xvo::gsmamr
