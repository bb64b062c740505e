// Internal view of the noise suppressor's state, for the family's own code
// and its white-box tests. Callers see only the opaque type of xvosc.h.
#pragma once

#include <cstddef>

#include "vqe/fft.h"
#include "xvosc.h"

namespace xvo {
inline constexpr int kBlock = 16;        // samples per call
inline constexpr int kFrame = 128;       // analysis length
inline constexpr int kOla = 64;          // overlap-add span (4 blocks)
inline constexpr int kBins = 65;         // bins 0..64 of the 128-point real FFT
inline constexpr int kDelay = 32;        // output delay line: two blocks
inline constexpr int kSmoothSets = 9;    // smoothing half-widths d = 0..8
inline constexpr int kSmoothTaps = 81;   // sum of 2d+1 over d = 0..8
}  // namespace xvo

// The fixed part of the state. Each 32-byte-aligned array is followed by
// scalar fields that fill the padding up to the next 32-byte boundary, so
// that the fixed part fits the 4960 bytes the size formula grants it
// (4928 + up to 31 bytes of alignment of the caller's block).
struct XvoFilterNoiseState_EC_32f {
    // FFT record and work area, input history (all inside the block).
    xvo::XvoRealFFTSpec_32f* fftSpec;
    Xvo8u* fftWork;
    Xvo32f* history;  // ring of L2 samples; histPos is the slot of the next sample
    // Counters.
    Xvo32s required;      // consecutive stable candidates needed to confirm (3)
    Xvo32s confirmCount;  // stable candidates seen in a row
    Xvo32s edge1, edge2;  // band edges, bins 14 and 48
    Xvo32s histCount;     // samples held, up to L2
    Xvo32s histPos;
    Xvo32s stationary;    // a stationary signal has been confirmed
    Xvo32s lastDetect;    // result of the last detector call
    Xvo32s rate;
    Xvo32s rampCount;     // ramp countdown (samples)
    Xvo32s startCount;    // start-up countdown (samples)
    Xvo32s levelActive;   // 1 for levels 1..4, 0 for level 5
    Xvo32s firstBlock;    // set by the first processed block
    Xvo32s len1, len2;    // L1 = rate*128/8000, L2 = rate*1024/8000
    Xvo32s level, mode;
    // Smoothing sets: set d (2d+1 taps) is smoothCoef[smoothSet[d] ...].
    Xvo32s smoothSet[xvo::kSmoothSets];

    alignas(32) Xvo64f noise[xvo::kBins];  // noise power estimate N
    Xvo64f refEnergy;    // energy of the confirmed stationary signal
    Xvo64f candEnergy;   // energy of the last detector candidate
    Xvo64f scaleFactor;  // scales refEnergy into the extra confirmations k (0: none)

    alignas(32) Xvo64f bandSum[xvo::kBins];  // sums of N over 7 neighbouring bins
    Xvo64f delayEst;  // smoothed output-smoothing half-width D
    Xvo32f lowFloor, highFloor;  // gain floors: bins 0..2, bins 3..64
    Xvo32f blockAtt;             // level-3 block attenuation
    Xvo32f energyPole;

    alignas(32) Xvo64f invNoise[xvo::kBins];  // 1/N
    Xvo32f energyWeight;
    Xvo32f stabilityRatio;  // candidate-to-candidate energy ratio still called stable
    Xvo32f suppressWeight;  // w of the gain rule g = w * ratio (0: suppression off)
    Xvo32f energyIn, energyOut;  // level-3 smoothed energies
    Xvo32f rampLength;

    alignas(32) Xvo64f power[xvo::kBins];  // power spectrum of the newest analysis
    Xvo32f startAtt, rampAtt, rampGain;
    Xvo32f statistic;  // smoothed detection statistic (updated at confirmations)
    Xvo32f detLevel;   // smoothed input energy seen by the detector
    Xvo32f confirmRatio;

    alignas(32) Xvo64f ratio[xvo::kBins];  // smoothed a-posteriori ratio xi
    Xvo32f gainStat[4];  // minimum gain of bins 3..63, oldest first
    Xvo32f invLow, invMid;

    alignas(32) Xvo32f gains[xvo::kBins];  // gains of the last synthesis
    Xvo32f invHigh;
    Xvo32s nLow, nMid, nHigh;  // bins below edge 1, between the edges, from edge 2 up
    Xvo32s detBlocks;          // detector candidate length in blocks (rate*3/8000)
    Xvo32s detA, detB;         // periodicity test: decimation, lag step

    alignas(32) Xvo32f spectrum[xvo::kFrame];  // newest spectrum, Pack format
    alignas(32) Xvo32f frame[xvo::kFrame];     // synthesis frame; warm-up input delay line in [0, 64)
    alignas(32) Xvo32f acc[xvo::kOla];         // overlap-add accumulator
    alignas(32) Xvo32f delay[xvo::kDelay];     // output delay line: older block, newer block
    alignas(32) Xvo32f smoothCoef[xvo::kSmoothTaps];
    Xvo32s detC;       // periodicity test: lag half-range
    Xvo32s bandWidth;  // band-sum width (7)
    Xvo32s detLag;     // periodicity test: centre lag
};

static_assert(sizeof(XvoFilterNoiseState_EC_32f) % 32 == 0 && sizeof(XvoFilterNoiseState_EC_32f) + 31 <= 4960,
              "the fixed fields must fit the 4960 bytes of the size formula");

namespace xvo {

/// The state inside a caller's block: the block's first 32-byte boundary.
XvoFilterNoiseState_EC_32f* ownNoiseState(void* pBlock);

/// Synthesis windows, 64 points: 0 = window A (levels 1, 2, 5), 1 = window B (levels 3, 4).
const Xvo32f* ownNoiseWindow(int b);

/// Bytes of a state for a valid rate (the size formula).
size_t ownFilterNoiseStateSize(int rate);

}  // namespace xvo
