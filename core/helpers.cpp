#include "helpers.h"

#include "check.h"
#include "fixed.h"
#include "helpers_tables.h"

namespace xvo {

using namespace fx;

void ownLog2_32s16s(int32_t x, int16_t* pExp, int16_t* pFrac) {
    if (x <= 0) {
        *pExp = 0;
        *pFrac = 0;
        return;
    }
    const int n = ownNorm_32s(x);
    const int32_t y = x << n;  // normalised: no bit leaves the value
    *pExp = static_cast<int16_t>(30 - n);
    const int i = (y >> 25) - 32;            // 0..31
    const int32_t a = (y >> 10) & 0x7fff;    // interpolation weight Q15
    const int32_t t0 = kLog2Table[i];
    const int32_t diff = t0 - kLog2Table[i + 1];
    // ((t0 << 16) - 2*diff*a) >> 16: one multiply-subtract and the high half.
    const int32_t L = L_msu(L_deposit_h(static_cast<int16_t>(t0)), static_cast<int16_t>(diff), static_cast<int16_t>(a));
    *pFrac = extract_h(L);
}

void ownInvSqrt_32s(int32_t* pMant, int16_t* pExp) {
    int32_t m = *pMant;
    if (m <= 0) {
        *pExp = 0;
        *pMant = MAX_32;
        return;
    }
    const int16_t e = *pExp;
    if (e & 1) m >>= 1;
    *pExp = negate(shr(sub(e, 1), 1));
    const int i = (m >> 25) - 16;            // 0..47 for a normalised mantissa
    const int16_t a = static_cast<int16_t>((m >> 10) & 0x7fff);
    const int16_t tmp = static_cast<int16_t>(kInvSqrtTable[i] - kInvSqrtTable[i + 1]);
    *pMant = L_msu(L_deposit_h(kInvSqrtTable[i]), tmp, a);
}

XvoStatus ownLSFToLSPTable_16s(const int16_t* pSlope, int shift, const int16_t* pLSF, int16_t* pLSP) {
    for (int i = 0; i < 10; ++i) {
        const int16_t f = pLSF[i];
        int k = f >> 8;
        if (k < 0) return xvoStsDomain;
        if (k > 63) k = 63;
        const int32_t offset = f & 0xff;
        const int32_t prod = offset * pSlope[k];
        pLSP[i] = add(kCosTable64[k], extract_l(prod >> shift));
    }
    return xvoStsOk;
}

uint8_t ownLinToALaw(int16_t sample) {
    static constexpr int16_t kSegEnd[8] = {0xFF, 0x1FF, 0x3FF, 0x7FF, 0xFFF, 0x1FFF, 0x3FFF, 0x7FFF};
    int32_t v = sample >> 3;
    int32_t mask = 0xD5;
    if (v < 0) {
        v = ~v;
        mask = 0x55;
    }
    int s = 0;
    while (s < 8 && v > (kSegEnd[s] >> 3)) ++s;
    const int32_t code = (s << 4) | ((s < 2 ? (v >> 1) : (v >> s)) & 15);
    return static_cast<uint8_t>(code ^ mask);
}

XvoStatus ownLinToALaw_16s8u(const int16_t* pSrc, uint8_t* pDst, int len) {
    XVO_CHECK(ownCheckPtrs(pSrc, pDst));
    XVO_CHECK(ownCheckLens(len));
    for (int i = 0; i < len; ++i) pDst[i] = ownLinToALaw(pSrc[i]);
    return xvoStsOk;
}

}  // namespace xvo
