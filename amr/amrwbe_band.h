// AMR-WB+ 2 kHz band split and join kernels (the stereo coder's low band, TS 26.290) and the
// 12.8 kHz band join with upsampling to 48 or 44.1 kHz.
#pragma once

#include <cstdint>

#include <emmintrin.h>

#include "core/cpu.h"

namespace xvo::amrwbe {

/// One 16-bit value from a Q14 dot product: (sum + 8192) >> 14, with sums from 0x1FFFE000 on
/// clamped to 32767 and the low 16 bits kept below (negative sums are not clamped).
constexpr int16_t ownRound14(int32_t sum) {
    if (sum >= 0x1FFFE000) return 32767;
    return static_cast<int16_t>(static_cast<uint16_t>(static_cast<uint32_t>((sum + 8192) >> 14)));
}

/// Exact dot product of width (a multiple of 8) samples of a phase row and a signal, for callers
/// whose bounds keep the sum inside 32 bits.
inline int32_t ownDot(const int16_t* row, const int16_t* x, int width) {
    __m128i a = _mm_setzero_si128();
    for (int t = 0; t < width; t += 8)
        a = _mm_add_epi32(a, _mm_madd_epi16(_mm_loadu_si128(reinterpret_cast<const __m128i*>(row + t)),
                                            _mm_loadu_si128(reinterpret_cast<const __m128i*>(x + t))));
    a = _mm_add_epi32(a, _mm_shuffle_epi32(a, _MM_SHUFFLE(1, 0, 3, 2)));
    a = _mm_add_epi32(a, _mm_shuffle_epi32(a, _MM_SHUFFLE(2, 3, 0, 1)));
    return _mm_cvtsi128_si32(a);
}

/// The decimator's phases run 0, 2, 4, 1, 3, 5, 2, 4, 1, 3, 5, ... with read positions 0, 6, 12,
/// 19, 25, 31, 38, ...: below 4 a phase moves on by 2 and the position by 6, otherwise it drops by
/// 3 and the position moves by 7. Phase 5 at p is phase 0 at p + 1 (the prototype's last tap is
/// zero), so output 5m + q uses row kDecimRow[q] at position 32m + kDecimPos[q].
inline constexpr int kDecimRow[5] = {0, 2, 4, 1, 3};
inline constexpr int kDecimPos[5] = {0, 6, 12, 19, 25};

/// Decimation by 32/5: count outputs from src (read from src[1]) into dst.
using OwnDecimFn = void (*)(const int16_t* src, int16_t* dst, int count);
/// Interpolation by 5/32: dst[j] from low[(5j >> 5) + 1 ...] for j < len.
using OwnInterpFn = void (*)(const int16_t* low, int16_t* dst, int len);

struct OwnBandKernels {
    OwnCpuLevel level;
    OwnDecimFn decim;
    OwnInterpFn interp;
};

void ownDecimSSE2(const int16_t* src, int16_t* dst, int count);
void ownInterpSSE2(const int16_t* low, int16_t* dst, int len);
void ownDecimAVX2(const int16_t* src, int16_t* dst, int count);

const OwnBandKernels& ownBandKernelsFor(OwnCpuLevel level);
const OwnBandKernels& ownBandKernels();

}  // namespace xvo::amrwbe
