// GSM-AMR discontinuous transmission: the encoder's DTX handler, the encoder
// and decoder histories of LSPs and frame log energies from which silence
// descriptors and comfort noise are built (TS 26.093 / TS 26.073 dtx_enc.c,
// dtx_dec.c), and the GSM-AMR LSF-to-LSP conversion.
#include <array>

#include "amr/gsmamr_common.h"
#include "core/check.h"
#include "core/fixed.h"
#include "core/helpers.h"
#include "core/helpers_tables.h"
#include "xvosc.h"

namespace xvo {
namespace {

using namespace fx;

constexpr int kOrder = 10;
constexpr int kHistory = 8;            // frames kept in the DTX histories
constexpr int16_t kHangover = 7;       // frames of speech kept after the VAD falls
constexpr int16_t kElapsedThresh = 30; // hangover + elapsed below this still codes DTX frames

/// Advances a history write index (0..7, wrapping 7 -> 0).
inline int16_t ownNextIndex(int16_t index) { return index == kHistory - 1 ? 0 : static_cast<int16_t>(index + 1); }

/// Frame log energy in Q10 per sample: 1024 e + (f >> 5) - 8521, where e and f are the
/// exponent and fraction of log2 of the doubled, saturated sum of squares.
int16_t ownFrameLogEnergy(const int16_t* speech) {
    int32_t energy = 0;
    for (int i = 0; i < kGsmAmrFrame; ++i) energy = L_mac(energy, speech[i], speech[i]);
    int16_t e, f;
    ownLog2_32s16s(energy, &e, &f);
    return sub(add(shl(e, 10), shr(f, 5)), 8521);
}

/// Stores one frame into the histories; `halve` selects the encoder's scale.
XvoStatus ownDTXBuffer(const Xvo16s* speech, const Xvo16s* lsp, Xvo16s* index, Xvo16s* lspHist,
                       Xvo16s* logEnHist, bool halve) {
    XVO_CHECK(ownCheckPtrs(speech, lsp, index, lspHist, logEnHist));
    XVO_RETURN_IF(*index < 0 || *index >= kHistory, xvoStsBadCodecParam);
    const int16_t next = ownNextIndex(*index);
    const int16_t logEn = ownFrameLogEnergy(speech);
    for (int i = 0; i < kOrder; ++i) lspHist[next * kOrder + i] = lsp[i];
    logEnHist[next] = halve ? shr(logEn, 1) : logEn;
    *index = next;
    return xvoStsOk;
}

}  // namespace

/// Slopes of the cosine table for the GSM-AMR conversion: C[k+1] - C[k],
/// with C[64] = cos(pi) = -32768 (TS 26.073 Lsf_lsp computes them on the fly).
static constexpr std::array<int16_t, 64> kSlopeAmr = [] {
    std::array<int16_t, 64> s{};
    for (int k = 0; k < 64; ++k) {
        const int next = k < 63 ? kCosTable64[k + 1] : -32768;
        s[k] = static_cast<int16_t>(next - kCosTable64[k]);
    }
    return s;
}();

XvoStatus ownLSFToLSP_GSMAMR_16s(const int16_t* lsf, int16_t* lsp) {
    return ownLSFToLSPTable_16s(kSlopeAmr.data(), 8, lsf, lsp);
}

}  // namespace xvo

using namespace xvo;
using namespace xvo::fx;

XVOSC_API XvoStatus xvosEncDTXHandler_GSMAMR_16s(Xvo16s* pHangoverCount, Xvo16s* pElapsedCount, Xvo16s* pUsedMode,
                                                Xvo16s* pComputeSid, Xvo16s vadFlag) {
    XVO_CHECK(ownCheckPtrs(pHangoverCount, pElapsedCount, pUsedMode, pComputeSid));
    const int16_t elapsed = add(*pElapsedCount, 1);  // stays at 32767 once there
    int16_t hangover = *pHangoverCount;
    int16_t computeSid = 0;
    if (vadFlag != 0) {
        hangover = kHangover;
        *pElapsedCount = elapsed;
    } else if (hangover == 0) {
        *pElapsedCount = 0;
        *pUsedMode = XVO_BITRATE_DTX;
        computeSid = 1;
    } else {
        hangover = sub(hangover, 1);
        if (add(elapsed, hangover) < kElapsedThresh) *pUsedMode = XVO_BITRATE_DTX;
        *pElapsedCount = elapsed;
    }
    *pHangoverCount = hangover;
    *pComputeSid = computeSid;
    return xvoStsOk;
}

XVOSC_API XvoStatus xvosEncDTXBuffer_GSMAMR_16s(const Xvo16s* pSrcSpeech, const Xvo16s* pSrcLSP, Xvo16s* pSrcDstIndex,
                                               Xvo16s* pSrcDstLSPHist, Xvo16s* pSrcDstLogEnHist) {
    return ownDTXBuffer(pSrcSpeech, pSrcLSP, pSrcDstIndex, pSrcDstLSPHist, pSrcDstLogEnHist, true);
}

XVOSC_API XvoStatus xvosDecDTXBuffer_GSMAMR_16s(const Xvo16s* pSrcSpeech, const Xvo16s* pSrcLSF, Xvo16s* pSrcDstIndex,
                                               Xvo16s* pSrcDstLSFHist, Xvo16s* pSrcDstLogEnHist) {
    return ownDTXBuffer(pSrcSpeech, pSrcLSF, pSrcDstIndex, pSrcDstLSFHist, pSrcDstLogEnHist, false);
}

XVOSC_API XvoStatus xvosLSFToLSP_GSMAMR_16s(const Xvo16s* pSrcLSF, Xvo16s* pDstLSP) {
    XVO_CHECK(ownCheckPtrs(pSrcLSF, pDstLSP));
    return ownLSFToLSP_GSMAMR_16s(pSrcLSF, pDstLSP);
}
