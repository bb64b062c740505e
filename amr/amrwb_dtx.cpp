// AMR-WB discontinuous transmission histories (TS 26.173 dtx.c): the ISF
// vectors and frame log energies from which silence descriptors and comfort
// noise are built.
#include <algorithm>
#include <cstdint>

#include "core/check.h"
#include "core/fixed.h"
#include "core/helpers.h"
#include "xvosc.h"

namespace xvo {
namespace {

using namespace fx;

constexpr int kIsf = 16, kHistory = 8, kFrame = 256;

/// Energy offset (Q7) the encoder subtracts per mode; -1 for codes AMR-WB does not accept.
/// The SID code takes the offset of the highest rates.
int ownAmrWbEnAdjust(int mode) {
    switch (mode) {
        case XVO_BITRATE_6600: return 230;
        case XVO_BITRATE_8850: return 179;
        case XVO_BITRATE_12650: return 141;
        case XVO_BITRATE_14250: return 128;
        case XVO_BITRATE_15850: return 122;
        case XVO_BITRATE_18250:
        case XVO_BITRATE_19850:
        case XVO_BITRATE_23050:
        case XVO_BITRATE_23850:
        case XVO_BITRATE_DTX: return 115;
        default: return -1;
    }
}

/// Advances the write index, stores the ISFs and the frame's log energy per sample
/// (128 e + (f >> 8) - 1024 - adjust, Q7, from log2 of the saturated sum of squares).
XvoStatus ownDTXBuffer(const Xvo16s* speech, const Xvo16s* isf, Xvo16s* index, Xvo16s* isfHist, Xvo16s* logEnHist,
                       int adjust) {
    XVO_RETURN_IF(*index < 0 || *index >= kHistory, xvoStsBadCodecParam);
    const int16_t next = *index == kHistory - 1 ? 0 : static_cast<int16_t>(*index + 1);
    int64_t e = 0;
    for (int i = 0; i < kFrame; ++i) e += int32_t(speech[i]) * speech[i];
    int16_t ex, fr;
    ownLog2_32s16s(static_cast<int32_t>(std::min<int64_t>(e, MAX_32)), &ex, &fr);
    const int16_t logEn = sub(add(shl(ex, 7), shr(fr, 8)), add(1024, static_cast<int16_t>(adjust)));
    *index = next;
    std::copy(isf, isf + kIsf, isfHist + next * kIsf);
    logEnHist[next] = logEn;
    return xvoStsOk;
}

}  // namespace
}  // namespace xvo

using namespace xvo;

XVOSC_API XvoStatus xvosEncDTXBuffer_AMRWB_16s(const Xvo16s* pSrcSpch, const Xvo16s* pSrcIsf, Xvo16s* pUpdateIdx,
                                              Xvo16s* pSrcDstIsfHist, Xvo16s* pSrcDstLogEnerHist, XvoSpeechRate mode) {
    XVO_CHECK(ownCheckPtrs(pSrcSpch, pSrcIsf, pUpdateIdx, pSrcDstIsfHist, pSrcDstLogEnerHist));
    const int adjust = ownAmrWbEnAdjust(mode);
    XVO_RETURN_IF(adjust < 0, xvoStsRange);
    return ownDTXBuffer(pSrcSpch, pSrcIsf, pUpdateIdx, pSrcDstIsfHist, pSrcDstLogEnerHist, adjust);
}

XVOSC_API XvoStatus xvosDecDTXBuffer_AMRWB_16s(const Xvo16s* pSrcSpch, const Xvo16s* pSrcIsf, Xvo16s* pUpdateIdx,
                                              Xvo16s* pSrcDstIsfHist, Xvo16s* pSrcDstLogEnerHist) {
    XVO_CHECK(ownCheckPtrs(pSrcSpch, pSrcIsf, pUpdateIdx, pSrcDstIsfHist, pSrcDstLogEnerHist));
    return ownDTXBuffer(pSrcSpch, pSrcIsf, pUpdateIdx, pSrcDstIsfHist, pSrcDstLogEnerHist, 0);
}
