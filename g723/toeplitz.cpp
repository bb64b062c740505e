// G.723.1 correlation matrix of the impulse response for the 5.3 kbit/s
// algebraic search (G.723.1 2.16): 4 tracks of 8 positions (track t holds
// samples 8p + 2t), the response padded with 4 leading zeros to 64 samples.
#include <cstdint>

#include "core/check.h"
#include "core/fixed.h"
#include "g723/g723_internal.h"
#include "g723/g723_tables.h"
#include "xvosc.h"

namespace xvo::g723 {

using namespace fx;

namespace {
constexpr int kLen = 64;  // padded response length
constexpr int kPos = 8;   // positions per track
}  // namespace

// Layout: the 4 track diagonals (8 values each, tracks 0..3), then the cross
// blocks of track pairs (0,1), (0,2), (0,3), (1,2), (1,3), (2,3), each 8 x 8
// indexed [pa * 8 + pb]. Entry (ma, mb) = high half of the L_mac sum over
// n = 0 .. 63 - max(ma, mb) of h[n] h[n + |ma - mb|].
// `halve` says whether the response is halved; otherwise it is shifted left
// by half its norm (the square doubles the shift). T is int16_t for the high
// halves or int32_t for the full sums.
template <typename T>
void ownToeplitz_G723(const int16_t* H, T* rr, bool halve, int32_t en) {
    int16_t h[kLen] = {};
    if (halve) {
        for (int i = 0; i < kSubFrLen; ++i) h[i + 4] = shr(H[i], 1);
    } else {
        const int16_t k = shr(norm_l(en), 1);
        for (int i = 0; i < kSubFrLen; ++i) h[i + 4] = shl(H[i], k);
    }
    // Each sum runs from n = 0 upwards, the order the reference accumulates
    // in, so one running sum per (even) lag difference serves every entry of
    // that difference: entry (ma, mb) is the running sum of difference
    // |ma - mb| stopped at n = 63 - max(ma, mb).
    int32_t run[kLen / 2][kLen];
    for (int d = 0; d < kLen; d += 2) {
        int32_t acc = 0;
        for (int n = 0; n + d < kLen; ++n) run[d / 2][n] = acc = L_mac(acc, h[n], h[n + d]);
    }
    auto entry = [&](int ma, int mb) {
        const int32_t acc = run[(ma > mb ? ma - mb : mb - ma) / 2][kLen - 1 - (ma > mb ? ma : mb)];
        if constexpr (sizeof(T) == 2)
            return extract_h(acc);
        else
            return acc;
    };
    T* p = rr;
    for (int t = 0; t < 4; ++t)
        for (int q = 0; q < kPos; ++q) *p++ = entry(8 * q + 2 * t, 8 * q + 2 * t);
    for (int a = 0; a < 4; ++a)
        for (int b = a + 1; b < 4; ++b)
            for (int qa = 0; qa < kPos; ++qa)
                for (int qb = 0; qb < kPos; ++qb) *p++ = entry(8 * qa + 2 * a, 8 * qb + 2 * b);
}

template void ownToeplitz_G723<int16_t>(const int16_t*, int16_t*, bool, int32_t);
template void ownToeplitz_G723<int32_t>(const int16_t*, int32_t*, bool, int32_t);

}  // namespace xvo::g723

extern "C" XVOSC_API XvoStatus xvosToeplizMatrix_G723_16s(const Xvo16s* pSrcImpulseResponse, Xvo16s* pDst) {
    XVO_CHECK(xvo::ownCheckPtrs(pSrcImpulseResponse, pDst));
    int32_t en = 0;
    for (int i = 0; i < xvo::g723::kSubFrLen; ++i) en = xvo::fx::L_mac(en, pSrcImpulseResponse[i], pSrcImpulseResponse[i]);
    xvo::g723::ownToeplitz_G723(pSrcImpulseResponse, pDst, xvo::fx::extract_h(en) > 32000, en);
    return xvoStsOk;
}

// The 32-bit form keeps the full sums, and compares the plain energy sum of
// squares with 0x3E800000.
extern "C" XVOSC_API XvoStatus xvosToeplizMatrix_G723_16s32s(const Xvo16s* pSrcImpulseResponse, Xvo32s* pDst) {
    XVO_CHECK(xvo::ownCheckPtrs(pSrcImpulseResponse, pDst));
    int64_t e = 0;
    for (int i = 0; i < xvo::g723::kSubFrLen; ++i) e += int32_t(pSrcImpulseResponse[i]) * pSrcImpulseResponse[i];
    int32_t en = 0;
    for (int i = 0; i < xvo::g723::kSubFrLen; ++i) en = xvo::fx::L_mac(en, pSrcImpulseResponse[i], pSrcImpulseResponse[i]);
    xvo::g723::ownToeplitz_G723(pSrcImpulseResponse, pDst, e > 0x3E800000, en);
    return xvoStsOk;
}
