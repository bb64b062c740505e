// Shared fixed-point helpers used by several codec families.
#pragma once

#include <cstdint>

#include "xvosc.h"

namespace xvo {

/// Normalisation count of a 32-bit value: the left shifts that bring x (or ~x
/// for negative x) into 0x40000000..0x7fffffff; 0 for 0 and 31 for -1.
constexpr int ownNorm_32s(int32_t x) {
    if (x == 0) return 0;
    const uint32_t y = static_cast<uint32_t>(x < 0 ? ~x : x);
    return y == 0 ? 31 : __builtin_clz(y) - 1;
}

/// Base-2 logarithm: log2(x) = *pExp + *pFrac/32768 (fraction Q15, 0..32767).
/// x <= 0 gives 0 and 0.
void ownLog2_32s16s(int32_t x, int16_t* pExp, int16_t* pFrac);

/// Inverse square root in mantissa/exponent form:
/// 1/sqrt(*pMant * 2^*pExp) = *pMant' * 2^*pExp' (mantissa Q31, normalised on input).
/// A mantissa <= 0 gives 0x7fffffff and exponent 0.
void ownInvSqrt_32s(int32_t* pMant, int16_t* pExp);

/// Table-driven LSF-to-LSP conversion of 10 coefficients. pLSF holds
/// frequencies on the 16384-for-pi scale (8 bits of index, 8 bits of offset);
/// pSlope is the caller's 64-entry slope table, shift its right shift.
/// Returns xvoStsDomain at the first negative frequency (earlier LSPs stay written).
XvoStatus ownLSFToLSPTable_16s(const int16_t* pSlope, int shift, const int16_t* pLSF, int16_t* pLSP);

/// G.711 A-law compression of 16-bit linear samples, one byte per sample.
XvoStatus ownLinToALaw_16s8u(const int16_t* pSrc, uint8_t* pDst, int len);

/// One sample of ownLinToALaw_16s8u.
uint8_t ownLinToALaw(int16_t sample);

}  // namespace xvo
