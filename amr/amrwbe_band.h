// AMR-WB+ 2 kHz band split and join kernels (the stereo coder's low band, TS 26.290) and the
// 12.8 kHz band join with upsampling to 48 or 44.1 kHz.
#pragma once

#include <cstdint>

#include "core/cpu.h"

namespace xvo::amrwbe {

/// One 16-bit value from a Q14 dot product: (sum + 8192) >> 14, with sums from 0x1FFFE000 on
/// clamped to 32767 and the low 16 bits kept below (negative sums are not clamped).
constexpr int16_t ownRound14(int32_t sum) {
    if (sum >= 0x1FFFE000) return 32767;
    return static_cast<int16_t>(static_cast<uint16_t>(static_cast<uint32_t>((sum + 8192) >> 14)));
}

/// Decimation by 32/5: count outputs from src (read from src[1]) into dst.
using OwnDecimFn = void (*)(const int16_t* src, int16_t* dst, int count);
/// Interpolation by 5/32: dst[j] from low[(5j >> 5) + 1 ...] for j < len.
using OwnInterpFn = void (*)(const int16_t* low, int16_t* dst, int len);

struct OwnBandKernels {
    OwnCpuLevel level;
    OwnDecimFn decim;
    OwnInterpFn interp;
};

const OwnBandKernels& ownBandKernelsFor(OwnCpuLevel level);
const OwnBandKernels& ownBandKernels();

}  // namespace xvo::amrwbe
