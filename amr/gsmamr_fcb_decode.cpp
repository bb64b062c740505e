// GSM-AMR fixed (algebraic) codebook decoding: the pulse layouts of the
// eight modes (TS 26.073 d2_9pf, d2_11pf, d3_14pf, d4_17pf, d8_31pf, d1035pf).
#include <algorithm>

#include "amr/gsmamr_common.h"
#include "core/check.h"
#include "core/fixed.h"
#include "xvosc.h"

namespace xvo {
namespace {

using namespace fx;

constexpr int16_t kGray[8] = {0, 1, 3, 2, 5, 6, 4, 7};
/// First positions of the two 4.75/5.15 pulses per subframe and track pair (c2_9pf startPos).
constexpr int16_t kStartPos9[16] = {0, 2, 0, 3, 0, 2, 0, 3, 1, 3, 2, 4, 1, 4, 1, 4};
constexpr int16_t kPlus = 8191, kMinus = -8192;  // pulse values of the modes below 10.2

/// Places pulses of +8191 / -8192 at pos[0..n-1], signs from the low bits of `sign`.
void ownPlacePulses(const int* pos, int n, int sign, int16_t* cod) {
    std::fill(cod, cod + kGsmAmrSubframe, int16_t{0});
    for (int j = 0; j < n; ++j, sign >>= 1) cod[pos[j]] = (sign & 1) ? kPlus : kMinus;
}

// 4.75, 5.15: two pulses, 9 bits; the track pair depends on the subframe and bit 6.
void ownDecode2i40_9(int subframe, int sign, int index, int16_t* cod) {
    const int k = subframe * 2 + ((index & 64) >> 3);
    const int pos[2] = {(index & 7) * 5 + kStartPos9[k], ((index >> 3) & 7) * 5 + kStartPos9[k + 1]};
    ownPlacePulses(pos, 2, sign, cod);
}

// 5.9: two pulses, 11 bits.
void ownDecode2i40_11(int sign, int index, int16_t* cod) {
    const int t1 = (index >> 4) & 3;
    const int pos[2] = {((index >> 1) & 7) * 5 + (index & 1) * 2 + 1, ((index >> 6) & 7) * 5 + (t1 == 3 ? 4 : t1)};
    ownPlacePulses(pos, 2, sign, cod);
}

// 6.7: three pulses, 14 bits.
void ownDecode3i40_14(int sign, int index, int16_t* cod) {
    const int pos[3] = {(index & 7) * 5, ((index >> 4) & 7) * 5 + ((index >> 3) & 1) * 2 + 1,
                        ((index >> 8) & 7) * 5 + ((index >> 7) & 1) * 2 + 2};
    ownPlacePulses(pos, 3, sign, cod);
}

// 7.4, 7.95: four pulses, 17 bits, Gray-coded positions.
void ownDecode4i40_17(int sign, int index, int16_t* cod) {
    const int pos[4] = {kGray[index & 7] * 5, kGray[(index >> 3) & 7] * 5 + 1, kGray[(index >> 6) & 7] * 5 + 2,
                        kGray[(index >> 10) & 7] * 5 + 3 + ((index >> 9) & 1)};
    ownPlacePulses(pos, 4, sign, cod);
}

/// Splits a 10-bit joint index of three pulses (125 x 2 x 2 x 2) into their positions 0..9.
void ownDecompress10(int msbs, int lsbs, int i1, int i2, int i3, int* pos) {
    msbs = std::min(msbs, 124);
    const int q25 = mult(static_cast<int16_t>(msbs), 1311);  // msbs / 25
    const int r25 = msbs - q25 * 25;
    const int q5 = mult(static_cast<int16_t>(r25), 6554);    // r25 / 5
    pos[i1] = (r25 - q5 * 5) * 2 + (lsbs & 1);
    pos[i2] = q5 * 2 + ((lsbs & 3) >> 1);
    pos[i3] = (lsbs >> 2) + q25 * 2;
}

// 10.2: eight pulses, 31 bits: four sign words, two 10-bit and one 7-bit joint position words.
void ownDecode8i40_31(const int16_t* index, int16_t* cod) {
    int pos[8];
    const int w4 = index[4] & 1023, w5 = index[5] & 1023, w6 = index[6] & 127;
    ownDecompress10(w4 >> 3, w4 & 7, 0, 4, 1, pos);
    ownDecompress10(w5 >> 3, w5 & 7, 2, 6, 5, pos);
    // Third word: 25 x 2 x 2, the first position folded on odd rows.
    const int m = ((w6 >> 2) * 25 + 12) >> 5;
    const int q5 = mult(static_cast<int16_t>(m), 6554);
    const int r5 = m - q5 * 5;
    pos[3] = ((q5 & 1) ? 4 - r5 : r5) * 2 + (w6 & 1);
    pos[7] = q5 * 2 + ((w6 & 3) >> 1);
    std::fill(cod, cod + kGsmAmrSubframe, int16_t{0});
    for (int j = 0; j < 4; ++j) {
        const int p1 = pos[j] * 4 + j, p2 = pos[j + 4] * 4 + j;
        int16_t sign = index[j] == 0 ? int16_t{8191} : int16_t{-8191};
        cod[p1] = sign;
        if (p2 < p1) sign = negate(sign);
        cod[p2] = add(cod[p2], sign);
    }
}

// 12.2: ten pulses of +-4096 in five tracks, the second pulse of a track signed relative to the first.
void ownDecode10i40_35(const int16_t* index, int16_t* cod) {
    std::fill(cod, cod + kGsmAmrSubframe, int16_t{0});
    for (int j = 0; j < 5; ++j) {
        const int p1 = kGray[index[j] & 7] * 5 + j, p2 = kGray[index[j + 5] & 7] * 5 + j;
        int16_t sign = (index[j] >> 3) & 1 ? int16_t{-4096} : int16_t{4096};
        cod[p1] = sign;
        if (p2 < p1) sign = negate(sign);
        cod[p2] = add(cod[p2], sign);
    }
}

}  // namespace
}  // namespace xvo

using namespace xvo;

XVOSC_API XvoStatus xvosFixedCodebookDecode_GSMAMR_16s(const Xvo16s* pSrcIdxs, Xvo16s* pDstFixedCodebook,
                                                      Xvo16s subFrame, XvoSpeechRate mode) {
    XVO_CHECK(ownCheckPtrs(pSrcIdxs, pDstFixedCodebook));
    XVO_RETURN_IF(subFrame < 0 || subFrame > 3, xvoStsRange);
    const int row = ownGsmAmrRow(mode, true);
    XVO_RETURN_IF(row < 0, xvoStsRange);
    const int16_t* ix = pSrcIdxs;
    switch (row) {
        case 0:
        case 1: ownDecode2i40_9(subFrame, ix[1], ix[0], pDstFixedCodebook); break;
        case 2: ownDecode2i40_11(ix[1], ix[0], pDstFixedCodebook); break;
        case 3: ownDecode3i40_14(ix[1], ix[0], pDstFixedCodebook); break;
        case 4:
        case 5: ownDecode4i40_17(ix[1], ix[0], pDstFixedCodebook); break;
        case 6: ownDecode8i40_31(ix, pDstFixedCodebook); break;
        default: ownDecode10i40_35(ix, pDstFixedCodebook); break;
    }
    return xvoStsOk;
}
