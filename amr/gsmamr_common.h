// Mode codes of the GSM-AMR family and the checks every GSM-AMR export shares.
#pragma once

#include <cstdint>

#include "xvosc.h"

namespace xvo {

/// Row of the per-mode tables for a GSM-AMR mode code (0..7 for 4.75..12.2),
/// or -1 when the code is not a GSM-AMR mode. The DTX code is accepted as
/// 12.2 only where `acceptDtx` is set.
constexpr int ownGsmAmrRow(int mode, bool acceptDtx) {
    switch (mode) {
        case XVO_BITRATE_4750: return 0;
        case XVO_BITRATE_5150: return 1;
        case XVO_BITRATE_5900: return 2;
        case XVO_BITRATE_6700: return 3;
        case XVO_BITRATE_7400: return 4;
        case XVO_BITRATE_7950: return 5;
        case XVO_BITRATE_10200: return 6;
        case XVO_BITRATE_12200: return 7;
        case XVO_BITRATE_DTX: return acceptDtx ? 7 : -1;
        default: return -1;
    }
}

/// Row index of the 12.2 kbit/s mode (also the DTX code's).
constexpr int kGsmAmrRow122 = 7;

/// Samples in a GSM-AMR frame and subframe.
constexpr int kGsmAmrFrame = 160;
constexpr int kGsmAmrSubframe = 40;

/// GSM-AMR LSF-to-LSP conversion (the shared table conversion with the GSM-AMR slopes, shift 8).
/// Returns xvoStsDomain at the first negative LSF.
XvoStatus ownLSFToLSP_GSMAMR_16s(const int16_t* lsf, int16_t* lsp);

}  // namespace xvo
