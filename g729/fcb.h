// Internal kernels of the G.729 algebraic codebook searches.
#pragma once

#include <cstdint>

#include "core/cpu.h"

namespace xvo::g729 {

inline constexpr int kSubfr = 40;      // subframe length
inline constexpr int kMatrixSize = 616;  // packed correlation matrix entries
inline constexpr int kNbPos = 8;       // positions per track

// Offsets of the blocks of the packed matrix.
inline constexpr int kR00 = 0, kR11 = 8, kR22 = 16, kR33 = 24, kR44 = 32;
inline constexpr int kR01 = 40, kR02 = 104, kR03 = 168, kR04 = 232, kR12 = 296, kR13 = 360, kR14 = 424,
                     kR23 = 488, kR24 = 552;

/// Best candidate of the nested G.729 search and the budget left.
struct OwnFcbPick {
    int16_t pos[4];  // chosen positions, pulses 0..3
    int16_t time;    // budget left when the search ended
};

/// Nested four-pulse search on |d| (absD) and the sign-folded matrix: the
/// triples whose correlation exceeds `thres` try all 16 fourth pulses; each
/// passing triple costs one unit of `time`, and the search stops when it
/// reaches 0 or below. Twins of this kernel must give the same pick.
using OwnFcbNestedFn = OwnFcbPick (*)(const int16_t* absD, const int16_t* rr, int16_t thres, int16_t time);

OwnFcbPick ownFcbNested_G729_scalar(const int16_t* absD, const int16_t* rr, int16_t thres, int16_t time);
OwnFcbPick ownFcbNested_G729_sse41(const int16_t* absD, const int16_t* rr, int16_t thres, int16_t time);
OwnFcbPick ownFcbNested_G729_avx2(const int16_t* absD, const int16_t* rr, int16_t thres, int16_t time);

/// The twin for a CPU level (nullptr when the level has none of its own).
OwnFcbNestedFn ownFcbNestedFor(OwnCpuLevel level);

/// The whole G.729 search on a 16-bit matrix (folded in place), as the
/// exported forms run it. `time` is the starting budget (75 + extra).
void ownFcbSearch_G729(const int16_t* d, int16_t* rr, int16_t time, int16_t* cod, int16_t* code, int16_t* pTimeLeft,
                       OwnFcbNestedFn nested);

/// Prefix sums of the autocorrelation of the impulse response: v[L][n] is
/// the sum over k < n of h[k] h[k+L] (doubled and saturating, on the h
/// scaled as the G.729 matrix builder scales it, in the fixed form).
/// at(p, q) is the matrix entry of pulse positions p and q.
/// (Stored by prefix length, then lag: v[n][L].)
struct OwnCorrPrefixes {
    int32_t v[kSubfr + 1][kSubfr];
    int32_t at(int p, int q) const { return v[kSubfr - (p > q ? p : q)][p > q ? p - q : q - p]; }
};
struct OwnCorrPrefixesF {
    float v[kSubfr][kSubfr + 1];
    float at(int p, int q) const { return v[p > q ? p - q : q - p][kSubfr - (p > q ? p : q)]; }
};
void ownCorrPrefixes_16s(const int16_t* h, OwnCorrPrefixes& pre);
void ownCorrPrefixes_32f(const float* h, OwnCorrPrefixesF& pre);

/// Code words of four pulses (tracks 0, 1, 2, then 3 or 4): the sign word
/// (bit k set when pulse k is positive) and the 13-bit position word.
void ownFcbCodeWords4(const int16_t* pos, const bool* positive, int16_t* code);

/// Rescales a caller's 32-bit matrix (arithmetic shift by 15, saturated) into rr.
void ownFcbMatrixFrom32s(const int32_t* src, int16_t* rr);

}  // namespace xvo::g729
