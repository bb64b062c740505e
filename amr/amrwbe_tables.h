// AMR-WB+ resampling filters (TS 26.290): the prototypes as the codec defines them, and the same
// coefficients regrouped by phase so that every output sample is one contiguous dot product.
#pragma once

#include <array>
#include <cstdint>

namespace xvo::amrwbe {

// Prototype half-filters, Q14, centre tap first.
extern const int16_t kDecimProto[321];   // 2 kHz band decimation, 5 phases (Filter_2k_fxQ14_5)
extern const int16_t kInterpProto[321];  // 2 kHz band interpolation, 32 phases (Filter_2k_fxQ14_32)
extern const int16_t kJoinHalfBand[12];  // 12.8 -> 25.6 kHz half-band interpolator (Inter2_coef)
extern const int16_t kUp48Proto[2341];   // 25.6 kHz -> 48 kHz, 180 phases x 13 (Filter_LP180)
extern const int16_t kUp44Proto[2146];   // 25.6 kHz -> 44.1 kHz, 165 phases x 13 (Filter_LP165)

template <int Rows, int Width>
using PhaseRows = std::array<std::array<int16_t, Width>, Rows>;

// Decimation row r (0..4), tap t weights src[p + 1 + t] for an output at read position p.
inline constexpr int kDecimTaps = 128;
extern const PhaseRows<5, kDecimTaps> kDecimRows;
// Interpolation row f (0..31), tap t weights low[base + 1 + t]; taps 20..23 are zero.
inline constexpr int kInterpTaps = 20, kInterpRow = 24;
extern const PhaseRows<32, kInterpRow> kInterpRows;
// Upsampling row d (the phase position >> 3), tap t weights x[pos - 11 + t].
inline constexpr int kUpTaps = 24;
extern const PhaseRows<180, kUpTaps> kUp48Rows;
extern const PhaseRows<166, kUpTaps> kUp44Rows;

// Largest sum of |tap| over the rows of each set (bounds every dot product).
inline constexpr int32_t kDecimAbsMax = 27778, kInterpAbsMax = 32908, kUpAbsMax = 37798;

}  // namespace xvo::amrwbe
