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

/// Best pair of a joint two-pulse search: its sq, alp and ps, and the candidates' indices.
struct OwnPairBest {
    int16_t sq = -1, alp = 1, ps = 0;
    int a = 0, b = 0;
};

/// Joint search of two pulses over na x nb candidates (1..16 each), scanned a-major: for pair
/// (a, b), ps = psA[a] + dnB[b], alp = alpA[a] + rvB[b] + w rAB[a][b], sq = ps^2 >> 15 and
/// alp16 = (alp + 0x8000) >> 16, each sum plain (the caller has bounded them inside 32 bits and
/// ps inside 0..32767); the pair is kept when 2 best.alp sq - 2 best.sq alp16 > 0, from
/// (sq, alp) = (-1, 1).
using OwnPairSearchFn = OwnPairBest (*)(int na, int nb, const int32_t* psA, const int32_t* alpA, const int32_t* dnB,
                                        const int32_t* rvB, const int16_t (*rAB)[16], int32_t w);

/// One radix-2 stage (partners 2 << stage values apart) of the 64-point complex FFT on plain
/// integers, for inputs all below 13500 in magnitude (where no operator can saturate): with the
/// twiddle (c, s) = (phs[ji], phs[ji + 1]), tr = (2 (br c - bi s) + 0x8000) >> 16, ti = (2 (bi c +
/// br s) + 0x8000) >> 16, b = (a - t) >> 1, a = (a + t) >> 1. phs: cos and -sin of 2 pi k / 128.
using OwnFftStageFn = void (*)(int16_t* x, int stage, const int16_t* phs);

/// First two stages of the option-1 VAD filter bank (5th-order half-band pairs, coefficients
/// 21955 and 6390): stage one on in[160] scaled by 1/4 (memories d[0][0..1]) gives b[160], stage
/// two splits b in place as two filters (memories d[1] and d[2]), outputs halved.
using OwnVadBank5Fn = void (*)(const int16_t* in, int16_t* b, int16_t (*d)[2]);

/// Third stage of the option-1 VAD filter bank: three 3rd-order half-band pairs (coefficient
/// 13363) on b[8i] / b[8i + 4], b[8i + 2] / b[8i + 6] and b[8i + 3] / b[8i + 7], i < 20, in place,
/// outputs halved; memories m[0], m[1], m[2].
using OwnVadBank3Fn = void (*)(int16_t* b, int16_t* m);

struct OwnGsmAmrKernels {
    OwnCpuLevel level;
    OwnAcbLagsFn acbLags;
    OwnCorHFn corH;
    OwnPairSearchFn pairSearch;
    OwnFftStageFn fftStage;
    OwnVadBank5Fn vadBank5;
    OwnVadBank3Fn vadBank3;
};

const OwnGsmAmrKernels& ownGsmAmrKernelsFor(OwnCpuLevel level);
const OwnGsmAmrKernels& ownGsmAmrKernels();

}  // namespace xvo::gsmamr
